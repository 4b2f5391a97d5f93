#include "tools/shadingctl/summary/Summaries.h"

#include <algorithm>

namespace shadingctl {

void Summaries::Add(PlayedCall const& call) {
  if (call.update) Of(call.camera).Add(*call.update);
  if (call.frame) Of(call.camera).Add(*call.frame);
}

void Summaries::Close(recording::SessionOddities const& oddities, std::int64_t replayNs) {
  if (mByCamera.empty()) Of(0);
  mOddities = oddities;
  mReplayNs = replayNs;
}

std::vector<SessionFinding> Summaries::FindingsOfCamera(SessionFacts const& facts) const {
  std::vector<SessionFacts const*> all;
  for (auto const& entry : mByCamera) all.push_back(&entry.second.Facts());
  return FindingsOf(facts, all);
}

std::uint64_t Summaries::Frames() const {
  std::uint64_t count = 0;
  for (auto const& entry : mByCamera) count += entry.second.Frames();
  return count;
}

std::uint64_t Summaries::CountOf(Match match) const {
  std::uint64_t count = 0;
  for (auto const& entry : mByCamera) count += entry.second.CountOf(match);
  return count;
}

std::uint64_t Summaries::DifferentAnswers() const {
  std::uint64_t count = 0;
  for (auto const& entry : mByCamera) count += entry.second.DifferentAnswers();
  return count;
}

}  // namespace shadingctl
