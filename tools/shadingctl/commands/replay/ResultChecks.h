// What `shadingctl replay` checks its rows against.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tools/shadingctl/result/ResultDiff.h"
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
  ~ResultChecks();

  void Add(FrameResult const& row);

  // All rows were added, or the replay ended early and only the digest of those that were is of any use.
  void Finish(Summaries const& summaries, bool isComplete);

  // "xxh128:" and the 128-bit XXH3 of the rows' CSV text, header included: what `replay --format csv | xxh128sum`
  // prints.
  std::optional<std::string> const& Digest() const { return mDigest; }
  std::vector<std::string> const& Complaints() const { return mComplaints; }

 private:
  Gates mGates;
  std::optional<Comparison> mGolden;
  struct Digester;
  std::unique_ptr<Digester> mDigester;
  std::optional<std::string> mDigest;
  std::vector<std::string> mComplaints;
};

}  // namespace shadingctl
