#include "tools/shadingctl/commands/replay/ReplayReport.h"

#include <utility>

#include "tools/shadingctl/report/Page.h"
#include "tools/shadingctl/report/ResultDocument.h"

namespace shadingctl {

ReplayReport::ReplayReport(std::string const& path)
    : mFile(path), mWriter(MakeJsonWriter([this](std::string_view text) { mResult += text; })) {}

void ReplayReport::Begin(ReplaySettings settings) {
  settings.rows = {};
  settings.samples = true;
  mName = settings.session;
  mWriter->Begin(settings);
}

void ReplayReport::End(ResultEnd const& end) {
  mWriter->End(end);
  mFile.Write(MakePage({ParseResult(mName, mResult)}));
}

}  // namespace shadingctl
