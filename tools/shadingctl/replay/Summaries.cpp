#include "tools/shadingctl/replay/Summaries.h"

#include <algorithm>

namespace shadingctl {

void Summaries::Close(hosting::Oddities const& oddities, std::int64_t replayNs) {
  if (mByCamera.empty()) Of(0);
  mOddities = oddities;
  mReplayNs = replayNs;
}

std::uint64_t Summaries::frames() const {
  std::uint64_t count = 0;
  for (auto const& entry : mByCamera) count += entry.second.frames();
  return count;
}

std::uint64_t Summaries::CountOf(Match match) const {
  std::uint64_t count = 0;
  for (auto const& entry : mByCamera) count += entry.second.CountOf(match);
  return count;
}

std::uint64_t Summaries::differentAnswers() const {
  std::uint64_t count = 0;
  for (auto const& entry : mByCamera) count += entry.second.differentAnswers();
  return count;
}

}  // namespace shadingctl
