#include "tools/shadingctl/findings/RuleWords.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace shadingctl::rules {

double Share(std::uint64_t part, std::uint64_t whole) {
  return whole == 0 ? 0 : static_cast<double>(part) / static_cast<double>(whole);
}

bool IsWorthTelling(std::uint64_t frames, SessionFacts const& facts) {
  return frames > 0 && Share(frames, facts.Matches().Settled()) >= kWorthTelling;
}

FrameList Together(FrameList const& one, FrameList const& other) {
  std::vector<std::uint32_t> named;
  for (FrameList const* const list : {&one, &other}) {
    for (std::size_t i = 0; i < list->Named(); ++i) named.push_back(list->first[i]);
  }
  std::sort(named.begin(), named.end());
  FrameList all;
  for (std::size_t i = 0; i < std::min(named.size(), FrameList::kNamed); ++i) all.first[i] = named[i];
  all.count = one.count + other.count;
  std::vector<Interval> intervals = one.intervals.All();
  intervals.insert(intervals.end(), other.intervals.All().begin(), other.intervals.All().end());
  std::sort(intervals.begin(), intervals.end(),
            [](Interval const& a, Interval const& b) { return a.fromNs < b.fromNs; });
  for (Interval const& interval : intervals) all.intervals.Add(interval);
  return all;
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
