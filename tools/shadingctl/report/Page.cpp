#include "tools/shadingctl/report/Page.h"

#include <fmt/format.h>

#include <nlohmann/json.hpp>

#include "hosting/UnusableInput.h"
#include "tools/shadingctl/report/PageData.h"
#include "tools/shadingctl/report/PageText.h"

namespace shadingctl {

std::string MakePage(std::vector<ResultDocument> const& documents) {
  nlohmann::ordered_json results = nlohmann::ordered_json::array();
  for (ResultDocument const& document : documents) {
    if (documents.size() > 1 && document.kind != ResultDocument::Kind::kReplay) {
      throw hosting::UnusableInput(fmt::format("{}: expected the result of a replay beside another one, found {}",
                                               document.name, Name(document.kind)));
    }
    results.push_back(PageDataOf(document));
  }
  std::string page = kPageBeforeData;
  // No text of the data may end the element that holds them.
  for (char const c : results.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace)) {
    if (c == '<') page += "\\u003c";
    if (c != '<') page += c;
  }
  return page + kPageAfterData;
}

}  // namespace shadingctl
