#include "tools/shadingctl/explain/ExplainWriter.h"

#include <fmt/format.h>

#include <cmath>

namespace shadingctl {
namespace {

std::string Milliseconds(double us) { return fmt::format("{:.{}f} ms", us / 1e3, std::abs(us) < 1e4 ? 3 : 1); }
std::string Milliseconds(std::int64_t us) { return Milliseconds(static_cast<double>(us)); }

// "3.2 ms before the search interval's start", or after it.
std::string AgainstStart(std::int64_t us) {
  if (us == 0) return "exactly at the search interval's start";
  return fmt::format("{} {} the search interval's start", Milliseconds(DistanceUs(us, 0)), us < 0 ? "before" : "after");
}

std::string PositionWords(FrameResult const& result) {
  if (!result.hallX || !result.hallY) return "none";
  return fmt::format("({}, {})", PositionText(*result.hallX), PositionText(*result.hallY));
}

std::string WhyNoStart(FrameResult const& result, FrameFacts const& facts) {
  switch (facts.start) {
    case StartCause::kNear:
      return "a sample lies near the start of the search interval";
    case StartCause::kBetweenSamples:
      return fmt::format("no sample lies within {} us of the start of the search interval{}", kToleranceUs,
                         facts.nearestUs ? fmt::format(" (the nearest one is {} us away)", *facts.nearestUs) : "");
    case StartCause::kWindowBeginsLate:
      return fmt::format("the window reaches {} samples back, and its oldest one was taken {}", hosting::kSamplesBefore,
                         facts.window ? AgainstStart(facts.window->firstUs) : "too late");
    case StartCause::kHistoryBeginsLate:
      return fmt::format("the library's oldest sample was taken {}",
                         facts.window ? AgainstStart(facts.window->firstUs) : "after the search interval's start");
    case StartCause::kWindowEndsEarly:
      return fmt::format("the newest sample, with which no span can begin, was taken {}",
                         facts.window ? AgainstStart(facts.window->lastUs) : "before the search interval's start");
    case StartCause::kTooLittleHistory:
      return fmt::format("the library held {} samples and answers from {} on", result.historySamples.value_or(0),
                         kWindowSize);
    case StartCause::kNothingAfter:
      return "no sample at or after the frame's timestamp had been delivered";
    case StartCause::kNoTime:
      return "the frame's timestamp is 0";
    case StartCause::kOff:
      return "the camera is not enabled";
    case StartCause::kUntold:
      return "the messages do not tell why there is no start";
  }
  return {};
}

std::string WhyNoEnd(FrameFacts const& facts) {
  switch (facts.end.value_or(EndCause::kNear)) {
    case EndCause::kNear:
      return "near a sample";
    case EndCause::kBetweenSamples:
      return fmt::format("not within {} us of any sample", kToleranceUs);
    case EndCause::kWindowEndsEarly:
      return fmt::format("beyond the window, which ends {} samples after the timestamp", hosting::kSamplesAfter);
    case EndCause::kNotDelivered:
      return "beyond the newest sample that had been delivered";
  }
  return {};
}

std::string Percent(std::optional<double> const& share) {
  return share ? fmt::format("{:.0f} %", 100 * *share) : std::string("an unknown part");
}

}  // namespace

std::string Headline(FrameResult const& result, FrameFacts const& facts) {
  switch (result.match) {
    case Match::kStart:
      if (!facts.end) return "followed the lens";
      if (facts.end == EndCause::kNear)
        return fmt::format("followed the lens over {} of the search interval", Percent(result.coverage));
      return fmt::format("followed the lens over {} of the search interval, whose end is {}", Percent(result.coverage),
                         WhyNoEnd(facts));
    case Match::kCarried:
      return fmt::format("took a position from {} before, as {}",
                         result.spanAgeUs ? Milliseconds(*result.spanAgeUs) : "some time", WhyNoStart(result, facts));
    case Match::kSingle:
      return "kept the last position, as the span has one entry and two are needed";
    default:
      return "kept the last position, as " + WhyNoStart(result, facts);
  }
}

std::vector<std::string> Story(FrameResult const& result, FrameFacts const& facts) {
  std::vector<std::string> story;
  if (result.times && facts.readoutEndUs) {
    story.push_back(fmt::format(
        "Exposed for {} and read out in {}: the search interval begins {} before the frame's timestamp of {} "
        "ns, on the samples' own clock.",
        Milliseconds(static_cast<double>(result.times->exposureUs)),
        Milliseconds(std::int64_t{result.times->readoutUs}),
        Milliseconds(TimeDifference(result.times->readoutUs, *facts.readoutEndUs)), result.timestampNs));
  }
  if (facts.window) {
    story.push_back(fmt::format(
        "The library held {}; its window of {} entries, {} apart, reaches from {} to {}.",
        result.historySamples ? fmt::format("{} samples", *result.historySamples) : "an untold number of samples",
        facts.window->entries, Milliseconds(facts.window->intervalUs), AgainstStart(facts.window->firstUs),
        AgainstStart(facts.window->lastUs)));
  }
  if (facts.start == StartCause::kNear) {
    story.push_back(fmt::format(
        "Its start was found{}.",
        result.spanAgeUs ? fmt::format(": the span begins {}", AgainstStart(TimeDifference(0, *result.spanAgeUs)))
                         : ""));
  } else {
    story.push_back(fmt::format("Its start was not found: {}.", WhyNoStart(result, facts)));
    if (result.match == Match::kCarried) {
      story.push_back(
          fmt::format("The flag of an earlier frame was set, so the span begins with the oldest entry, {}.",
                      result.spanAgeUs ? AgainstStart(TimeDifference(0, *result.spanAgeUs)) : "whenever that was"));
    }
  }
  if (facts.end && result.endDistanceUs && result.startIndex && result.endIndex) {
    story.push_back(
        fmt::format("The span is entries {} to {}. The end, one readout after its first entry, is {}; its last entry "
                    "is {} us from there.",
                    *result.startIndex, *result.endIndex, WhyNoEnd(facts), *result.endDistanceUs));
    story.push_back(fmt::format("It covers {} of the search interval{}.", Percent(result.coverage),
                                result.repeatedSamples > 0U
                                    ? fmt::format(", and {} of its {} samples are repeats, which weigh twice",
                                                  *result.repeatedSamples, facts.spanEntries)
                                    : ""));
  }
  story.push_back(fmt::format("The position is {}{}.", PositionWords(result),
                              result.HasNewPosition() ? "" : ", that of an earlier frame"));
  if (result.readoutDistance && result.HasNewPosition()) {
    story.push_back(fmt::format("That is {:.3g} units from the mean of all samples of the search interval.",
                                *result.readoutDistance));
  }
  return story;
}

}  // namespace shadingctl
