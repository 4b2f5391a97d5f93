// A short text that tells whether two results have the same rows.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "tools/shadingctl/frame/FrameResult.h"

namespace shadingctl {

// The 128-bit XXH3 of a result's CSV text: what `replay --format csv | xxh128sum` prints.
class RowDigest {
 public:
  RowDigest();
  ~RowDigest();

  void Add(FrameResult const& row);

  // 32 hexadecimal digits of the rows so far.
  std::string Text() const;

 private:
  struct State;

  void AddText(std::string_view text);

  std::unique_ptr<State> mState;
};

}  // namespace shadingctl
