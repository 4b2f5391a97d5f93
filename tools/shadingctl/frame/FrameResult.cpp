#include "tools/shadingctl/frame/Frame.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "tools/shadingctl/statistics/Median.h"

namespace shadingctl {
namespace {

constexpr std::int64_t kRepeatPart = 4;  // of the median interval: far above the difference of a repeated time

Match MatchOf(CallOutcome const& outcome, FrameMessages const& messages) {
  if (!outcome.supported || messages.notRegistered) return Match::kOff;
  if (messages.nothingMatched || messages.zeroTime || (messages.times && messages.times->samples == 0)) {
    bool const isWarmUp = !outcome.hasBeenWarm && outcome.updates <= kHistoryFrames && !messages.zeroTime &&
                          HistoryOf(outcome, messages) < kWindowSize;
    return isWarmUp ? Match::kWarmUp : Match::kNoWindow;
  }
  if (messages.Done()) return outcome.startFound ? Match::kStart : Match::kCarried;
  return outcome.startFound || outcome.flagHanded ? Match::kSingle : Match::kNoStart;
}

// The distance of the entry that became the start.
std::optional<std::int64_t> StartDistanceUs(CallOutcome const& outcome, FrameMessages const& messages) {
  if (outcome.startFound) {
    if (!messages.start || !messages.span) return std::nullopt;
    StartFound const& start = *messages.start;
    return messages.span->first == start.index ? start.distanceUs : start.nextDistanceUs;
  }
  auto const& first = messages.firstCandidate;
  if (first && messages.span && first->index == messages.span->first) return first->distanceUs;
  return std::nullopt;
}

// Of a frame with a window, but without a start. The window may be far from the frame although nearer samples were
// delivered, so it is named.
std::string ExplainNoStart(CallOutcome const& outcome, FrameMessages const& messages,
                           std::vector<AlignedSample> const& table) {
  constexpr std::int64_t kLongUs = 1000000;  // told in ms from here on
  if (outcome.startsBeforeTime) return "exposure longer than the frame's time";
  if (table.empty()) return fmt::format("none within {} us of the start", kToleranceUs);
  auto const us = NearestUs(table, static_cast<std::int64_t>(messages.times->startOfFrameUs)).value_or(0);
  if (us < kToleranceUs) return "only the window's last is near enough";  // no span can begin there
  return us < kLongUs ? fmt::format("nearest in window {} us from start", us)
                      : fmt::format("nearest in window {} ms from start", us / 1000);
}

std::string ExplainNoWindow(FrameMessages const& messages) {
  if (messages.zeroTime) return "the frame's time is 0";
  if (!messages.buffered) return "no sample at its time or too few";
  if (*messages.buffered >= kWindowSize) return "nothing at or after its time";
  return fmt::format("{} frames hold {} of {} samples", kHistoryFrames, *messages.buffered, kWindowSize);
}

// In few enough characters for a line of the table on a terminal of 80.
std::string Explain(Match match, CallOutcome const& outcome, FrameMessages const& messages,
                    std::vector<AlignedSample> const& table) {
  switch (match) {
    case Match::kStart:
      return {};
    case Match::kCarried:
    case Match::kNoStart:
      return ExplainNoStart(outcome, messages, table);
    case Match::kSingle:
      return outcome.startFound ? "only one entry" : fmt::format("one entry; none within {} us", kToleranceUs);
    case Match::kNoWindow:
      return ExplainNoWindow(messages);
    case Match::kWarmUp:
      return fmt::format("{} of {} samples so far", HistoryOf(outcome, messages), kWindowSize);
    case Match::kOff:
      return outcome.supported ? "camera without a monitor" : "camera not in the sensor map";
  }
  return {};
}

// How many samples from `first` to `last` repeat an earlier one: at the same position, and later by less than a quarter
// of the median interval.
std::size_t CountRepeated(std::vector<AlignedSample> const& table, std::size_t first, std::size_t last) {
  auto const intervalUs = MedianIntervalUs(table);
  if (!intervalUs) return 0;
  std::size_t repeated = 0;
  for (std::size_t i = std::max<std::size_t>(first, 1); i <= last; ++i) {
    AlignedSample const& before = table[i - 1];
    bool const isNear = TimeDifference(table[i].timeUs, before.timeUs) < *intervalUs / kRepeatPart;
    if (isNear && table[i].hallX == before.hallX && table[i].hallY == before.hallY) ++repeated;
  }
  return repeated;
}

// Both ends of the span as the library looks for them: the end one readout time after the first entry, wherever that
// is. Fills nothing where the table does not hold the span.
void JudgeSpan(std::vector<AlignedSample> const& table, SpanFound const& span, FrameTimesTold const& times,
               FrameResult& result) {
  bool const isHeld = span.first >= 0 && span.first <= span.last && static_cast<std::size_t>(span.last) < table.size();
  if (!isHeld) return;
  auto const first = static_cast<std::size_t>(span.first);
  auto const last = static_cast<std::size_t>(span.last);
  result.spanTime = AlignedRange{table[first].timeUs, table[last].timeUs};
  auto const startUs = static_cast<std::int64_t>(times.startOfFrameUs);
  std::int64_t const firstUs = TimeDifference(table[first].timeUs, startUs);  // both since the interval's start
  std::int64_t const lastUs = TimeDifference(table[last].timeUs, startUs);
  std::int64_t const lengthUs = times.readoutUs;
  result.spanAgeUs = TimeDifference(0, firstUs);
  result.endDistanceUs = DistanceUs(TimeDifference(lastUs, firstUs), lengthUs);
  result.end = *result.endDistanceUs < kToleranceUs ? SpanEnd::kNear : SpanEnd::kLast;
  if (lengthUs > 0) result.coverage = CoverageOf(firstUs, lastUs, lengthUs);
  result.repeatedSamples = CountRepeated(table, first, last);
}

}  // namespace

std::int64_t TimeDifference(std::int64_t later, std::int64_t earlier) {
  return static_cast<std::int64_t>(static_cast<std::uint64_t>(later) - static_cast<std::uint64_t>(earlier));
}

std::int64_t DistanceUs(std::int64_t oneUs, std::int64_t otherUs) {
  std::int64_t const differenceUs = TimeDifference(oneUs, otherUs);
  if (differenceUs >= 0) return differenceUs;
  return differenceUs == INT64_MIN ? INT64_MAX : -differenceUs;
}

double CoverageOf(std::int64_t first, std::int64_t last, std::int64_t length) {
  std::int64_t const covered = std::clamp<std::int64_t>(last, 0, length) - std::clamp<std::int64_t>(first, 0, length);
  return static_cast<double>(std::max<std::int64_t>(covered, 0)) / static_cast<double>(length);
}

std::vector<AlignedSample> AlignedTable(std::vector<SourceSample> const& window, std::int64_t offsetUs) {
  std::vector<AlignedSample> table;
  std::int64_t takenUs = 0;
  for (SourceSample const& sample : window) {
    if (table.size() == kWindowSize) break;
    if (sample.timeUs == takenUs) continue;
    table.push_back({TimeDifference(sample.timeUs, offsetUs), sample.hallX, sample.hallY});
    takenUs = sample.timeUs;
  }
  return table;
}

std::optional<std::int64_t> NearestUs(std::vector<AlignedSample> const& table, std::int64_t timeUs) {
  std::optional<std::int64_t> nearestUs;
  for (AlignedSample const& entry : table) {
    nearestUs = std::min(nearestUs.value_or(INT64_MAX), DistanceUs(entry.timeUs, timeUs));
  }
  return nearestUs;
}

std::optional<std::int64_t> MedianIntervalUs(std::vector<AlignedSample> const& table) {
  std::vector<std::int64_t> intervalsUs;
  for (std::size_t i = 1; i < table.size(); ++i)
    intervalsUs.push_back(TimeDifference(table[i].timeUs, table[i - 1].timeUs));
  return Median(std::move(intervalsUs));
}

char const* Name(Match match) {
  constexpr char const* kNames[kMatchCount] = {"start", "carried", "no_start", "single", "no_window", "warm_up", "off"};
  return kNames[static_cast<std::size_t>(match)];
}

char const* Name(SpanEnd end) { return end == SpanEnd::kNear ? "near" : "last"; }

std::string PositionText(double position) { return fmt::format("{:.9g}", position); }
std::string ShareText(double share) { return fmt::format("{:.4f}", share); }
std::string DistanceText(double distance) { return fmt::format("{:.4f}", distance); }

std::uint64_t HistoryOf(CallOutcome const& outcome, FrameMessages const& messages) {
  return messages.buffered.value_or(outcome.delivered);
}

FrameResult Judge(CallOutcome const& outcome, FrameMessages const& messages, std::vector<AlignedSample> const& table) {
  FrameResult result;
  result.match = MatchOf(outcome, messages);
  result.message = Explain(result.match, outcome, messages, table);
  result.startFound = outcome.startFound;
  result.historySamples = messages.buffered;
  if (!messages.times) return result;
  FrameTimesTold const& times = *messages.times;
  result.times = times;
  result.samples = times.samples;
  result.offsetUs = times.offsetUs;
  if (!table.empty()) result.window = AlignedRange{table.front().timeUs, table.back().timeUs};
  // Without a start the library reports a span of entries 0 to 0, which says nothing.
  bool const hasSpan = result.HasNewPosition() || result.match == Match::kSingle;
  if (!hasSpan || !messages.span) return result;
  result.startIndex = messages.span->first;
  result.endIndex = messages.span->last;
  if (outcome.startsBeforeTime) return result;  // nothing can be far from what has no time
  result.startDistanceUs = StartDistanceUs(outcome, messages);
  JudgeSpan(table, *messages.span, times, result);
  return result;
}

}  // namespace shadingctl
