#include "tools/shadingctl/frame/Frame.h"

#include <algorithm>

namespace shadingctl {
namespace {

constexpr std::int64_t kWindowBefore = hosting::kSamplesBefore;

// Samples of the history after the window, as far as its place is told.
std::optional<std::int64_t> SamplesAfterWindow(FrameMessages const& messages) {
  if (!messages.matched || !messages.buffered) return std::nullopt;
  std::int64_t const index = messages.matched->index;
  if (index < 0 || *messages.buffered > INT64_MAX) return std::nullopt;
  std::int64_t const following = static_cast<std::int64_t>(*messages.buffered) - index;
  std::int64_t const inWindow = static_cast<std::int64_t>(kWindowSize) - std::min(index, kWindowBefore);
  return std::max<std::int64_t>(following - inWindow, 0);
}

StartCause CauseOfStart(Match match, FrameMessages const& messages, std::optional<FrameFacts::Window> const& window) {
  if (match == Match::kOff) return StartCause::kOff;
  if (messages.zeroTime) return StartCause::kNoTime;
  if (messages.nothingMatched) {
    if (!messages.buffered) return StartCause::kUntold;
    return *messages.buffered < kWindowSize ? StartCause::kTooLittleHistory : StartCause::kNothingAfter;
  }
  if (match == Match::kStart || messages.start) return StartCause::kNear;
  if (!window) return StartCause::kUntold;
  if (window->firstUs >= kToleranceUs) {
    bool const atFirstSample = messages.matched && messages.matched->index <= kWindowBefore;
    return atFirstSample ? StartCause::kHistoryBeginsLate : StartCause::kWindowBeginsLate;
  }
  return window->lastUs < kToleranceUs ? StartCause::kWindowEndsEarly : StartCause::kBetweenSamples;
}

EndCause CauseOfEnd(FrameResult const& result, FrameMessages const& messages, FrameFacts::Window const& window) {
  if (result.end == SpanEnd::kNear) return EndCause::kNear;
  std::int64_t const targetUs = TimeDifference(result.times->readoutUs, result.spanAgeUs.value_or(0));
  // Within an interval of the end no sample is missing.
  std::int64_t const reachUs = std::max<std::int64_t>(kToleranceUs, window.intervalUs);
  if (window.lastUs > TimeDifference(targetUs, reachUs)) return EndCause::kBetweenSamples;
  return SamplesAfterWindow(messages).value_or(0) > 0 ? EndCause::kWindowEndsEarly : EndCause::kNotDelivered;
}

FrameFacts FactsOf(FrameResult const& result, FrameMessages const& messages, std::vector<AlignedSample> const& table) {
  FrameFacts facts;
  if (auto const& times = result.times) {
    facts.readoutEndUs = TimeDifference(TimeDifference(times->offsetUs, static_cast<std::int64_t>(times->exposureUs)),
                                        -std::int64_t{times->readoutUs});
    auto const startUs = static_cast<std::int64_t>(times->startOfFrameUs);
    facts.nearestUs = NearestUs(table, startUs);
    if (!table.empty()) {
      facts.window = {TimeDifference(table.front().timeUs, startUs), TimeDifference(table.back().timeUs, startUs),
                      MedianIntervalUs(table).value_or(0), table.size()};
    }
  }
  if (result.spanTime) {
    facts.spanEntries = static_cast<std::size_t>(*result.endIndex - *result.startIndex) + 1;
    if (result.times->readoutUs > 0) {
      facts.lengthShare = static_cast<double>(TimeDifference(result.spanTime->lastUs, result.spanTime->firstUs)) /
                          static_cast<double>(result.times->readoutUs);
    }
  }
  facts.start = CauseOfStart(result.match, messages, facts.window);
  if (result.end && facts.window) facts.end = CauseOfEnd(result, messages, *facts.window);
  return facts;
}

}  // namespace

Frame MakeFrame(FrameHead const& head, CallOutcome const& outcome, FrameMessages const& messages) {
  auto const table =
      messages.times ? AlignedTable(messages.source, messages.times->offsetUs) : std::vector<AlignedSample>();
  Frame frame;
  frame.row = Judge(outcome, messages, table);
  static_cast<FrameHead&>(frame.row) = head;
  frame.facts = FactsOf(frame.row, messages, table);
  return frame;
}

}  // namespace shadingctl
