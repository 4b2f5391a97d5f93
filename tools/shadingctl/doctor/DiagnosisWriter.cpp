#include "tools/shadingctl/doctor/DiagnosisWriter.h"

#include <fmt/format.h>

#include <algorithm>

#include "tools/shadingctl/output/Json.h"

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
  Json json = {{"schema", "shadingctl-doctor"},
               {"version", 1},
               {"library", library},
               {"sound", IsSound(findings)},
               {"findings", Json::array()}};
  for (Finding const& finding : findings) {
    json["findings"].push_back(
        {{"check", finding.check}, {"verdict", Name(finding.judgement)}, {"text", finding.text}});
  }
  output.Write(Dump(json, 2) + "\n");
}

}  // namespace shadingctl
