#include "tools/shadingctl/findings/Rules.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace shadingctl::rules {

double Share(std::uint64_t part, std::uint64_t whole) {
  return whole == 0 ? 0 : static_cast<double>(part) / static_cast<double>(whole);
}

bool IsWorthTelling(FrameList const& frames, SessionFacts const& facts) {
  return frames.count > 0 && Share(frames.count, facts.Matches().Settled()) >= kWorthTelling;
}

FrameList Together(FrameList const& one, FrameList const& other) {
  FrameList all = one;
  all.count += other.count;
  all.first.insert(all.first.end(), other.first.begin(), other.first.end());
  std::sort(all.first.begin(), all.first.end());
  all.first.resize(std::min(all.first.size(), FrameList::kNamed));
  all.intervals.insert(all.intervals.end(), other.intervals.begin(), other.intervals.end());
  all.intervals = Joined(std::move(all.intervals));
  return all;
}

SessionFinding AboutFrames(FrameList const& frames, SessionFacts const& facts, char const* text, char const* advice) {
  return {fmt::format(fmt::runtime(text), FramesText(frames, facts)), advice, {}, frames};
}

std::string FramesText(FrameList const& frames, SessionFacts const& facts) {
  return fmt::format("{} of {} frames", frames.count, facts.Matches().Settled());
}

std::string Milliseconds(double us) { return fmt::format("{:.{}f} ms", us / 1e3, std::abs(us) < 1e5 ? 1 : 0); }

std::string FromTo(double leastUs, double greatestUs) {
  std::string const least = Milliseconds(leastUs);
  std::string const greatest = Milliseconds(greatestUs);
  return least == greatest ? least : least + " to " + greatest;
}

std::string Times(std::uint64_t count) { return count == 1 ? "once" : fmt::format("{} times", count); }

std::string Units(double distance) { return fmt::format("{:.{}f}", distance, distance < 9.95 ? 1 : 0); }

}  // namespace shadingctl::rules
