#include <fmt/format.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "hosting/QuotedText.h"
#include "tools/shadingctl/doctor/Diagnosis.h"

namespace shadingctl {
namespace {

char const* Name(Judgement judgement) {
  switch (judgement) {
    case Judgement::kSound:
      return "ok";
    case Judgement::kNote:
      return "note";
    case Judgement::kFault:
      return "FAULT";
  }
  return "";
}

}  // namespace

bool IsSound(std::vector<Finding> const& findings) {
  return std::none_of(findings.begin(), findings.end(),
                      [](Finding const& finding) { return finding.judgement == Judgement::kFault; });
}

nlohmann::ordered_json DiagnosisJson(std::string const& library, std::vector<Finding> const& findings) {
  nlohmann::ordered_json json = {{"schema", "shadingctl-doctor"},
                                 {"version", 1},
                                 {"library", library},
                                 {"sound", IsSound(findings)},
                                 {"findings", nlohmann::ordered_json::array()}};
  for (Finding const& finding : findings) {
    json["findings"].push_back(
        {{"check", finding.check}, {"verdict", Name(finding.judgement)}, {"text", finding.text}});
  }
  return json;
}

std::string DiagnosisText(nlohmann::ordered_json const& diagnosis) {
  std::string text;
  for (auto const& finding : diagnosis["findings"]) {
    auto const escaped = [&](char const* key) { return hosting::Escaped(finding[key].get_ref<std::string const&>()); };
    text += fmt::format("{:<5}  {:<17}  {}\n", escaped("verdict"), escaped("check"), escaped("text"));
  }
  return text;
}

}  // namespace shadingctl
