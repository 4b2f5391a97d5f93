#include "tools/shadingctl/commands/replay/ResultChecks.h"

#include <fmt/format.h>

#include "hosting/UnusableInput.h"

namespace shadingctl {
namespace {

constexpr DiffOptions kCheckOptions = {0, 5};

}  // namespace

ResultChecks::ResultChecks(CheckArguments const& arguments) : mGates(arguments.gates) {
  if (!arguments.golden.empty()) {
    mGolden.emplace(arguments.golden, kCheckOptions);
    ResultHead const& head = mGolden->HeadOfA();
    // A column that is left out would not be checked.
    if (!head.firstLeftOut.empty()) throw hosting::UnusableInput(LeftOutText(head));
  }
  if (arguments.digest) mDigest.emplace();
}

void ResultChecks::Add(FrameResult const& row) {
  if (mGolden) mGolden->Add(RowOf(row));
  if (mDigest) mDigest->Add(row);
}

void ResultChecks::Finish(Summaries const& summaries, bool isComplete) {
  if (mDigest) mDigestText = "xxh128:" + mDigest->Text();
  if (!isComplete) return;
  if (mGolden) mComplaints = ComplaintsOf(mGolden->Finish());
  for (std::string& reason : FailedGates(mGates, summaries)) mComplaints.push_back(std::move(reason));
}

}  // namespace shadingctl
