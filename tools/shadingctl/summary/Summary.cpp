#include "tools/shadingctl/summary/Summary.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "tools/shadingctl/output/Console.h"

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

// To six decimals; 0 and 1 only where it is nothing or all.
double Share(std::uint64_t part, std::uint64_t all) {
  constexpr double kSteps = 1e6;
  double const rounded = std::round(kSteps * static_cast<double>(part) / static_cast<double>(all));
  return (part == 0 || part == all ? rounded : std::clamp(rounded, 1.0, kSteps - 1)) / kSteps;
}

// To the four decimals of the rows.
Json Rounded(std::optional<double> const& number, double steps = 1e4) {
  return number ? Json(std::round(*number * steps) / steps) : Json(nullptr);
}

// What the text shows too: more digits would say more than is known.
Json Tenths(std::optional<double> const& number) { return Rounded(number, 10); }

Json RangeJson(Range const& range) {
  auto const shown = [](std::optional<double> const& position) {
    return position ? Json(std::strtod(PositionText(*position).c_str(), nullptr)) : Json(nullptr);
  };
  return {{"lowest", shown(range.lowest)}, {"highest", shown(range.highest)}};
}

}  // namespace

void Summary::Add(PlayedUpdate const& update) {
  if (update.beginsHistory) mFacts.BeginHistory();
  mFacts.AddBatch(update.frame, update.batch.size(), update.stored, update.split, update.callNs);
  mFacts.AddSamples(update.frame, update.batch);
  mUpdateNs += update.updateNs;
}

void Summary::Add(PlayedFrame const& frame) {
  Add(frame.frame, frame.callNs);
  mCalculateNs += frame.calculateNs;
  if (frame.silentNs) mSilentCalculateNs.Add(*frame.silentNs);
  if (!frame.isAsRecorded) return;
  ++mRecordedAnswers;
  if (!*frame.isAsRecorded) ++mDifferentAnswers;
}

void Summary::AddComplete(FrameResult const& row) {
  if (row.readoutDistance) mFacts.AddReadoutDistance(row.match, *row.readoutDistance);
}

void Summary::Add(Frame const& frame, std::optional<std::uint64_t> callNs) {
  FrameResult const& result = frame.row;
  mFacts.AddFrame(frame, callNs);
  if (mFrames == 0) {
    mFirstFrame = result.frame;
    mEarliestNs = mLatestNs = result.timestampNs;
  }
  ++mFrames;
  mLastFrame = result.frame;
  mEarliestNs = std::min(mEarliestNs, result.timestampNs);
  mLatestNs = std::max(mLatestNs, result.timestampNs);
  ++mMatches[static_cast<std::size_t>(result.match)];
  bool const gotPosition = result.match == Match::kStart || result.match == Match::kCarried;
  if (gotPosition && result.hallX) mHallX.Add(*result.hallX);
  if (gotPosition && result.hallY) mHallY.Add(*result.hallY);
  if (result.match == Match::kCarried && result.spanAgeUs) {
    if (*result.spanAgeUs < 0) ++mCarriedLater;
    if (*result.spanAgeUs >= 0) mCarriedAgeUs.Add(*result.spanAgeUs);
  }
  if (result.match == Match::kNoWindow && result.historySamples && *result.historySamples < kWindowSize) {
    ++mShortHistory;
    mLongestShortHistory = std::max(mLongestShortHistory, *result.historySamples);
  }
}

double Summary::RecordedNs() const { return static_cast<double>(mLatestNs - mEarliestNs); }

std::string Summary::Text() const {
  std::string text = fmt::format("Frames     {}", mFrames);
  if (mFrames > 0) text += fmt::format(" ({} to {}), {:.3f} s", mFirstFrame, mLastFrame, RecordedNs() / 1e9);
  text += "\n" + MatchText() + EndsText();
  text += fmt::format("Position   x {}, y {}\n", RangeText(mHallX), RangeText(mHallY));
  text += CarriedText() + HistoryText() + LibraryText();
  text += SamplesText();
  if (mRecordedAnswers > 0) {
    text += fmt::format("Answers    {} recorded, {} given again, {} different\n", mRecordedAnswers,
                        mRecordedAnswers - mDifferentAnswers, mDifferentAnswers);
  }
  return text;
}

std::string Summary::MatchText() const {
  std::uint64_t const warmUp = CountOf(Match::kWarmUp);
  std::string text;
  if (warmUp > 0) {
    text += fmt::format("Warm-up    {} of the first {} frames, before the history held {} samples: counted apart\n",
                        warmUp, kHistoryFrames, kWindowSize);
  }
  text += "Matched    ";
  std::string counts;
  for (Match const match : kMatches) {
    if (CountOf(match) == 0 || match == Match::kWarmUp) continue;
    counts += fmt::format("{}{} {} ({})", counts.empty() ? "" : ", ", Name(match), CountOf(match),
                          PercentText(CountOf(match), WarmFrames()));
  }
  text += (counts.empty() ? "none" : counts) + "\nMatch rate ";
  if (WarmFrames() == 0) return text + "none, as there is no frame after the warm-up\n";
  std::uint64_t const starts = CountOf(Match::kStart);
  text += fmt::format("{} of the {} frames {}have a sample at their start", PercentText(starts, WarmFrames()),
                      WarmFrames(), warmUp > 0 ? "after the warm-up " : "");
  return text + (warmUp > 0 ? fmt::format(" ({} of all {})\n", PercentText(starts, mFrames), mFrames) : "\n");
}

std::string Summary::EndsText() const {
  MatchFacts const& match = mFacts.Matches();
  auto const median = match.coverage.Median();
  if (!median) return {};
  return fmt::format(
      "Both ends  near a sample in {} of the {} frames; a span covers {} of its readout (median), {} at worst\n",
      PercentText(match.bothNear, match.Settled()), match.Settled(), PercentText(*median / 1e4),
      PercentText(100 * match.worstCoverage));
}

std::string Summary::CarriedText() const {
  if (CountOf(Match::kCarried) == 0) return {};
  std::string const text = "Carried    position from the oldest end of the window; its age: ";
  if (mCarriedAgeUs.Count() == 0 && mCarriedLater == 0) return text + "not told at this log level\n";
  std::string ages;
  if (auto const medianUs = mCarriedAgeUs.Median()) {
    ages = fmt::format("median {:.1f} ms (within {:.1f} %), largest {:.1f} ms", *medianUs / 1e3,
                       100 * Histogram::kMedianError, static_cast<double>(mCarriedAgeUs.Largest()) / 1e3);
  }
  if (mCarriedLater > 0) {
    ages += fmt::format("{}{} are later than their frame", ages.empty() ? "none; " : "; ", mCarriedLater);
  }
  return text + ages + "\n";
}

std::string Summary::HistoryText() const {
  if (mShortHistory == 0) return {};
  return fmt::format(
      "History    TOO SHORT for {} frames after the warm-up: its {} frames hold {} of {} samples at most.\n"
      "           No position can be computed then, however long the session is: too few samples a frame.\n",
      mShortHistory, kHistoryFrames, mLongestShortHistory, kWindowSize);
}

std::string Summary::LibraryText() const {
  auto const perFrameUs = [&](std::int64_t ns) {
    return static_cast<double>(ns) / 1e3 / static_cast<double>(std::max<std::uint64_t>(mFrames, 1));
  };
  std::string text = fmt::format("Library    at log level {}: update {:.1f} us, calculation {:.1f} us a frame{}\n",
                                 mLogLevel, perFrameUs(mUpdateNs), perFrameUs(mCalculateNs),
                                 mLogLevel == 0 ? "" : ", the forming and reading of its messages included");
  if (auto const silentNs = mSilentCalculateNs.Median()) {
    text += fmt::format("           at log level 0: calculation {:.1f} us (median of {} that were asked twice)\n",
                        *silentNs / 1e3, mSilentCalculateNs.Count());
  }
  return text;
}

std::string Summary::SamplesText() const {
  SampleHealth::Report const health = mFacts.Samples();
  std::string text = fmt::format("Samples    {} in {} batches\n", health.delivered, health.batches);
  if (health.rateHz) {
    text += fmt::format(
        "           {:.1f} a second, interval {:.1f} us (median, within {:.1f} %), jitter {:.1f} us, longest {:.1f} "
        "us\n",
        *health.rateHz, *health.intervalUs, 100 * Histogram::kMedianError, *health.jitterUs, *health.longestUs);
  }
  text += fmt::format("           gaps {}, backward steps {}, repeated {} ({} with the same time)\n", health.gaps,
                      health.backwardSteps, health.repeated, health.duplicates);
  text += fmt::format("           batches split by the library: {}, dropped: {}\n",
                      OrUntold(ToldFrom(1, mFacts.Batches().split)),
                      OrUntold(ToldFrom(4, mFacts.Batches().discarded.count)));
  return text;
}

Json Summary::ToJson() const {
  Json matches;
  for (Match const match : kMatches) matches[Name(match)] = CountOf(match);
  auto const rate = [&](std::uint64_t frames) {
    return frames == 0 ? Json(nullptr) : Json(Share(CountOf(Match::kStart), frames));
  };
  auto const distances = [&](Match match) -> Json {
    SessionFacts::Distances const told = mFacts.ReadoutDistances(match);
    return {{"median", Rounded(told.median)}, {"largest", Rounded(told.largest)}};
  };
  auto const coverage = mFacts.Matches().coverage.Median();
  auto const ages = mCarriedAgeUs.Count();
  SampleHealth::Report const health = mFacts.Samples();
  return {{"frames", mFrames},
          {"warm_up_frames", CountOf(Match::kWarmUp)},
          {"recorded_ns", mLatestNs - mEarliestNs},
          {"matches", matches},
          {"match_rate", rate(WarmFrames())},
          {"match_rate_of_all", rate(mFrames)},
          {"both_ends_near", coverage ? Json(mFacts.Matches().bothNear) : nullptr},
          {"coverage",
           {{"median", coverage ? Rounded(*coverage / 1e6) : nullptr},
            {"worst", coverage ? Rounded(mFacts.Matches().worstCoverage) : nullptr}}},
          {"readout_distance", {{"start", distances(Match::kStart)}, {"carried", distances(Match::kCarried)}}},
          {"hall_x", RangeJson(mHallX)},
          {"hall_y", RangeJson(mHallY)},
          {"carried_age_us",
           {{"median", Tenths(mCarriedAgeUs.Median())},
            {"median_error", Histogram::kMedianError},
            {"largest", ages == 0 ? Json(nullptr) : Json(mCarriedAgeUs.Largest())},
            {"later", mCarriedLater}}},
          {"history",
           {{"needed_samples", kWindowSize},
            {"frames", kHistoryFrames},
            {"too_short", OrNull(ToldFrom(1, mShortHistory))},
            {"longest_too_short", mShortHistory > 0 ? Json(mLongestShortHistory) : nullptr}}},
          {"library",
           {{"log_level", mLogLevel},
            {"update_ns", mUpdateNs},
            {"calculate_ns", mCalculateNs},
            {"silent_calculate_ns",
             {{"median", Tenths(mSilentCalculateNs.Median())},
              {"median_error", Histogram::kMedianError},
              {"frames", mSilentCalculateNs.Count()}}}}},
          {"samples",
           {{"delivered", health.delivered},
            {"batches", health.batches},
            {"repeated", health.repeated},
            {"rate_hz", Tenths(health.rateHz)},
            {"interval_us", Tenths(health.intervalUs)},
            {"interval_error", Histogram::kMedianError},
            {"jitter_us", Tenths(health.jitterUs)},
            {"longest_us", Tenths(health.longestUs)},
            {"gaps", health.gaps},
            {"duplicates", health.duplicates},
            {"backward_steps", health.backwardSteps},
            {"batches_split", OrNull(ToldFrom(1, mFacts.Batches().split))},
            {"batches_dropped", OrNull(ToldFrom(4, mFacts.Batches().discarded.count))}}},
          {"answers", {{"recorded", mRecordedAnswers}, {"different", mDifferentAnswers}}}};
}

}  // namespace shadingctl
