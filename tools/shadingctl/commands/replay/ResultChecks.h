// What `shadingctl replay` checks its rows against.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/shadingctl/result/ResultDiff.h"
#include "tools/shadingctl/result/RowDigest.h"
#include "tools/shadingctl/summary/Gates.h"

namespace shadingctl {

struct CheckArguments {
  std::string golden;  // a result, CSV or JSON; empty: none
  bool digest = false;
  Gates gates;
};

class ResultChecks {
 public:
  // Throws UnusableInput when the golden file cannot be used.
  explicit ResultChecks(CheckArguments const& arguments);

  void Add(FrameResult const& row);

  // All rows were added, or the replay ended early and only the digest of those that were is of any use.
  void Finish(Summaries const& summaries, bool isComplete);

  std::optional<std::string> const& Digest() const { return mDigestText; }  // "xxh128:..."
  std::vector<std::string> const& Complaints() const { return mComplaints; }

 private:
  Gates mGates;
  std::optional<Comparison> mGolden;
  std::optional<RowDigest> mDigest;
  std::optional<std::string> mDigestText;
  std::vector<std::string> mComplaints;
};

}  // namespace shadingctl
