#include "tools/shadingctl/replay/FrameResult.h"

#include <fmt/format.h>

namespace shadingctl {
namespace {

Match MatchOf(CallOutcome const& outcome, FrameMessages const& messages) {
  if (!outcome.supported || messages.notRegistered) return Match::kOff;
  if (messages.nothingMatched || messages.zeroTime || (messages.times && messages.times->samples == 0))
    return Match::kNoSamples;
  if (messages.done()) return outcome.startFound ? Match::kStart : Match::kCarried;
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

std::string Explain(Match match, CallOutcome const& outcome, FrameMessages const& messages) {
  std::string nearest = "no sample within the tolerance of the frame's start";
  if (messages.nearestCandidate) {
    nearest = fmt::format("the nearest sample is {} us from the frame's start", messages.nearestCandidate->distanceUs);
  }
  switch (match) {
    case Match::kStart:
      return {};
    case Match::kCarried:
    case Match::kNoStart:
      return nearest;
    case Match::kSingle:
      return outcome.startFound ? "the span has one entry" : "the span has one entry; " + nearest;
    case Match::kNoSamples:
      if (messages.zeroTime) return "the frame's time is 0";
      if (!messages.buffered) return "nothing at or after the frame's time or too little history";
      if (*messages.buffered >= kWindowSize) return "nothing at or after the frame's time";
      return fmt::format("too little history: {} of {} samples", *messages.buffered, kWindowSize);
    case Match::kOff:
      return outcome.supported ? "the camera has no monitor" : "the camera is not in the device's sensor map";
  }
  return {};
}

}  // namespace

char const* Name(Match match) {
  switch (match) {
    case Match::kStart:
      return "start";
    case Match::kCarried:
      return "carried";
    case Match::kNoStart:
      return "no_start";
    case Match::kSingle:
      return "single";
    case Match::kNoSamples:
      return "no_samples";
    case Match::kOff:
      return "off";
  }
  return "";
}

char const* Name(SpanEnd end) { return end == SpanEnd::kNear ? "near" : "last"; }

std::string PositionText(double position) { return fmt::format("{:.9g}", position); }

FrameResult Judge(CallOutcome const& outcome, FrameMessages const& messages) {
  FrameResult result;
  result.match = MatchOf(outcome, messages);
  result.message = Explain(result.match, outcome, messages);
  if (!messages.times) return result;
  FrameTimesTold const& times = *messages.times;
  result.samples = times.samples;
  result.offsetUs = times.offsetUs;
  // Without a start the library reports a span of entries 0 to 0, which says nothing.
  bool const hasSpan =
      result.match == Match::kStart || result.match == Match::kCarried || result.match == Match::kSingle;
  if (!hasSpan || !messages.span) return result;
  result.startIndex = messages.span->first;
  result.endIndex = messages.span->last;
  result.startDistanceUs = StartDistanceUs(outcome, messages);
  auto const timing = TimeSpan(AlignedTable(messages.source, times.offsetUs), *messages.span,
                               {static_cast<std::int64_t>(times.startOfFrameUs), times.readoutUs});
  if (!timing) return result;
  result.spanAgeUs = timing->ageUs;
  result.end = timing->endIsNear() ? SpanEnd::kNear : SpanEnd::kLast;
  result.endDistanceUs = timing->endDistanceUs;
  result.coverage = timing->coverage;
  result.repeatedSamples = timing->repeated;
  return result;
}

}  // namespace shadingctl
