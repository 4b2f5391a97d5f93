#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>

#include "tools/shadingctl/replay/Summary.h"

namespace shadingctl {
namespace {

template <class Number>
std::string OrUntold(std::optional<Number> const& number) {
  return number ? fmt::format("{}", *number) : "not told at this log level";
}

std::string RangeText(Range const& range) {
  if (!range.lowest) return "none";
  return fmt::format("{} to {}", PositionText(*range.lowest), PositionText(*range.highest));
}

std::string SamplesText(SampleHealth::Report const& health, BatchCounts const& batches) {
  std::string text = fmt::format("Samples    {} in {} batches\n", health.delivered, health.batches);
  if (health.rateHz) {
    text +=
        fmt::format("           {:.1f} a second, interval {:.1f} us (median), jitter {:.1f} us, longest {:.1f} us\n",
                    *health.rateHz, *health.intervalUs, *health.jitterUs, *health.longestUs);
  }
  text += fmt::format("           gaps {}, backward steps {}, repeated {} ({} with the same time)\n", health.gaps,
                      health.backwardSteps, health.repeated, health.duplicates);
  text += fmt::format("           batches split by the library: {}, dropped: {}\n", OrUntold(batches.split),
                      OrUntold(batches.dropped));
  return text;
}

std::string OddityText(hosting::Oddity const& oddity, char const* what) {
  if (oddity.count == 0) return {};
  return fmt::format("Found      {}: {}, first at {}\n", what, oddity.count, oddity.firstPlace);
}

}  // namespace

std::string Summary::Text() const {
  double const recordedNs = RecordedNs();
  std::string text = fmt::format("Frames     {}", mFrames);
  if (mFrames > 0) text += fmt::format(" ({} to {}), {:.3f} s", mFirstFrame, mLastFrame, recordedNs / 1e9);
  text += mFrames == 0 ? "\nMatched    none" : "\nMatched    ";
  char const* separator = "";
  for (Match const match : kMatches) {
    if (CountOf(match) == 0) continue;
    text += fmt::format("{}{} {} ({:.1f} %)", separator, Name(match), CountOf(match), Percent(CountOf(match)));
    separator = ", ";
  }
  text += fmt::format("\nMatch rate {:.1f} % of the frames have a sample at their start\n",
                      Percent(CountOf(Match::kStart)));
  text += fmt::format("Position   x {}, y {}\n", RangeText(mHallX), RangeText(mHallY));
  if (CountOf(Match::kCarried) > 0) {
    text += "Carried    position from the oldest end of the window; its age: ";
    text += mCarriedAgeUs.Median()
                ? fmt::format("{:.1f} ms (median), {:.1f} ms at most\n", *mCarriedAgeUs.Median() / 1e3,
                              static_cast<double>(mCarriedAgeUs.largest()) / 1e3)
                : "not told at this log level\n";
  }
  auto const frames = static_cast<double>(std::max<std::uint64_t>(mFrames, 1));
  text += fmt::format(
      "Library    update {:.1f} ms, calculation {:.1f} ms; {:.1f} us and {:.1f} us a frame, at log level {}\n",
      static_cast<double>(mUpdateNs) / 1e6, static_cast<double>(mCalculateNs) / 1e6,
      static_cast<double>(mUpdateNs) / 1e3 / frames, static_cast<double>(mCalculateNs) / 1e3 / frames, mLogLevel);
  text += fmt::format("Replay     {:.3f} s, {:.0f} times real time\n", static_cast<double>(mReplayNs) / 1e9,
                      recordedNs / static_cast<double>(std::max<std::int64_t>(mReplayNs, 1)));
  text += SamplesText(mHealth.Summarize(), mBatches);
  if (mRecordedAnswers > 0) {
    text += fmt::format("Answers    {} recorded, {} given again, {} different\n", mRecordedAnswers,
                        mRecordedAnswers - mDifferentAnswers, mDifferentAnswers);
  }
  text += OddityText(mOddities.frameTimesBackward, "frames earlier than the frame before");
  text += OddityText(mOddities.framesWithoutSamples, "frames without samples");
  text += OddityText(mOddities.sampleTimesBackward, "samples earlier than the sample before");
  text += OddityText(mOddities.unlistedSamples, "samples of frames that are not listed (delivered with the next one)");
  text += OddityText(mOddities.undeliveredSamples, "samples after the last listed frame (not delivered)");
  text += OddityText(mOddities.lostCalls, "calls that the recording lost");
  text += OddityText(mOddities.lostSamples, "samples that the recording lost");
  return text;
}

namespace {

template <class Number>
nlohmann::ordered_json OrNull(std::optional<Number> const& number) {
  return number ? nlohmann::ordered_json(*number) : nlohmann::ordered_json(nullptr);
}

nlohmann::ordered_json OddityJson(hosting::Oddity const& oddity) {
  return {{"count", oddity.count},
          {"first", oddity.count == 0 ? nlohmann::ordered_json(nullptr) : nlohmann::ordered_json(oddity.firstPlace)}};
}

nlohmann::ordered_json RangeJson(Range const& range) {
  auto const json = [](std::optional<double> const& position) {
    return position ? nlohmann::ordered_json(std::strtod(PositionText(*position).c_str(), nullptr))
                    : nlohmann::ordered_json(nullptr);
  };
  return {{"lowest", json(range.lowest)}, {"highest", json(range.highest)}};
}

}  // namespace

nlohmann::ordered_json Summary::Json() const {
  nlohmann::ordered_json matches;
  for (Match const match : kMatches) matches[Name(match)] = CountOf(match);
  auto const ages = mCarriedAgeUs.count();
  SampleHealth::Report const health = mHealth.Summarize();
  return {
      {"frames", mFrames},
      {"recorded_ns", mLatestNs - mEarliestNs},
      {"matches", matches},
      {"match_rate", Percent(CountOf(Match::kStart)) / 100.0},
      {"hall_x", RangeJson(mHallX)},
      {"hall_y", RangeJson(mHallY)},
      {"carried_age_us",
       {{"median", OrNull(mCarriedAgeUs.Median())},
        {"largest", ages == 0 ? nlohmann::ordered_json(nullptr) : nlohmann::ordered_json(mCarriedAgeUs.largest())}}},
      {"library", {{"log_level", mLogLevel}, {"update_ns", mUpdateNs}, {"calculate_ns", mCalculateNs}}},
      {"replay_ns", mReplayNs},
      {"samples",
       {{"delivered", health.delivered},
        {"batches", health.batches},
        {"repeated", health.repeated},
        {"rate_hz", OrNull(health.rateHz)},
        {"interval_us", OrNull(health.intervalUs)},
        {"jitter_us", OrNull(health.jitterUs)},
        {"longest_us", OrNull(health.longestUs)},
        {"gaps", health.gaps},
        {"duplicates", health.duplicates},
        {"backward_steps", health.backwardSteps},
        {"batches_split", OrNull(mBatches.split)},
        {"batches_dropped", OrNull(mBatches.dropped)}}},
      {"found",
       {{"frame_times_backward", OddityJson(mOddities.frameTimesBackward)},
        {"frames_without_samples", OddityJson(mOddities.framesWithoutSamples)},
        {"sample_times_backward", OddityJson(mOddities.sampleTimesBackward)},
        {"unlisted_samples", OddityJson(mOddities.unlistedSamples)},
        {"undelivered_samples", OddityJson(mOddities.undeliveredSamples)},
        {"lost_calls", OddityJson(mOddities.lostCalls)},
        {"lost_samples", OddityJson(mOddities.lostSamples)}}},
      {"answers", {{"recorded", mRecordedAnswers}, {"different", mDifferentAnswers}}}};
}

}  // namespace shadingctl
