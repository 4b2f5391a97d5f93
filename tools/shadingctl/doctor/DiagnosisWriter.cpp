#include "tools/shadingctl/doctor/DiagnosisWriter.h"

#include <fmt/format.h>

#include <algorithm>
#include <nlohmann/json.hpp>

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

void WriteDiagnosisTable(OutputFile& output, std::vector<Finding> const& findings) {
  for (Finding const& finding : findings) {
    output.Write(fmt::format("{:<5}  {:<17}  {}\n", Name(finding.judgement), finding.check, finding.text));
  }
}

void WriteDiagnosisJson(OutputFile& output, std::string const& library, std::vector<Finding> const& findings) {
  nlohmann::ordered_json json = {{"schema", "shadingctl-doctor"},
                                 {"version", 1},
                                 {"library", library},
                                 {"sound", IsSound(findings)},
                                 {"findings", nlohmann::ordered_json::array()}};
  for (Finding const& finding : findings) {
    json["findings"].push_back(
        {{"check", finding.check}, {"verdict", Name(finding.judgement)}, {"text", finding.text}});
  }
  output.Write(json.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n");
}

}  // namespace shadingctl
