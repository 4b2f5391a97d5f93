#include "tools/shadingctl/commands/replay/ResultChecks.h"

namespace shadingctl {

ResultChecks::ResultChecks(CheckArguments const& arguments) : mGates(arguments.gates) {
  if (!arguments.golden.empty()) mGolden.emplace(arguments.golden);
  if (arguments.digest) mDigest.emplace();
}

void ResultChecks::Add(FrameResult const& row) {
  if (mGolden) mGolden->Add(row);
  if (mDigest) mDigest->Add(row);
}

void ResultChecks::Finish(Summaries const& summaries, bool isComplete) {
  if (mDigest) mDigestText = "xxh128:" + mDigest->Text();
  if (!isComplete) return;
  if (mGolden) {
    mGolden->Finish();
    mComplaints = mGolden->Complaints();
  }
  for (std::string& reason : FailedGates(mGates, summaries)) mComplaints.push_back(std::move(reason));
}

}  // namespace shadingctl
