#include "tools/import/Imports.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "hosting/UnusableInput.h"

namespace shadingctl {
namespace {

// Spans of samples and frames that differ by so much, each of at least so many rows, are in different units.
constexpr double kOtherUnit = 300;
constexpr std::uint64_t kEnoughRows = 10;

// The power of 1000 near the ratio; 0 where it is not near any other.
int NearestPower(double ratio) {
  constexpr double kNear = 0.5;  // in decimal digits
  double const digits = ratio > 0 ? std::log10(ratio) : 0;
  double const power = std::round(digits / 3);
  return std::abs(digits - 3 * power) < kNear ? static_cast<int>(power) : 0;
}

}  // namespace

std::optional<std::uint64_t> EndOfExposureNs(std::int64_t timeNs, std::int64_t exposureNs, bool timeIsStart) {
  std::int64_t endNs = timeNs;
  bool const isTooLate = timeIsStart && __builtin_add_overflow(timeNs, exposureNs, &endNs);
  if (isTooLate || timeNs < 0 || exposureNs < 0) return std::nullopt;
  return static_cast<std::uint64_t>(endNs);
}

float Scaled(float position, double scale) { return static_cast<float>(static_cast<double>(position) * scale); }

void TimeCheck::Range::Add(std::int64_t fromNs, std::int64_t toNs) {
  leastNs = count == 0 ? fromNs : std::min(leastNs, fromNs);
  mostNs = count == 0 ? toNs : std::max(mostNs, toNs);
  ++count;
}

void TimeCheck::AddFrame(recording::SessionFrame const& frame) {
  auto const timeNs = static_cast<std::int64_t>(frame.exposure.timestampNs);
  std::int64_t endNs = 0;
  if (__builtin_add_overflow(timeNs, frame.rollingShutterNs, &endNs)) endNs = std::numeric_limits<std::int64_t>::max();
  mFrames.Add(timeNs - static_cast<std::int64_t>(frame.exposure.exposureNs), endNs);
}

void TimeCheck::AddSample(std::int64_t timeNs, bool isDelivered) {
  if (mSamples.count > 0 && timeNs > mLastNs) ++mRises;
  if (mSamples.count > 0 && timeNs < mLastNs) ++mFalls;
  if (isDelivered) ++mDelivered;
  mLastNs = timeNs;
  mSamples.Add(timeNs, timeNs);
}

void TimeCheck::Finish(std::string const& file, std::optional<TimeUnit> unit) const {
  if (mSamples.count == 0) throw hosting::UnusableInput(file + ": expected samples, found none");
  std::string const problem = Problem();
  if (problem.empty()) return;
  throw hosting::UnusableInput(fmt::format("{}: {}: the samples are from {} to {} ns, the frames from {} to {} ns{}",
                                           file, problem, mSamples.leastNs, mSamples.mostNs, mFrames.leastNs,
                                           mFrames.mostNs, LikelyFactor(unit)));
}

std::string TimeCheck::Problem() const {
  if (mFalls > mRises) return "expected samples in the order of delivery, found times that run backwards";
  if (mSamples.mostNs < mFrames.leastNs || mSamples.leastNs > mFrames.mostNs) {
    return fmt::format("expected samples within the times of the frames, found none among {}", mSamples.count);
  }
  if (mDelivered == 0) return fmt::format("expected samples of the frames, found none among {}", mSamples.count);
  if (std::min(mSamples.count, mFrames.count) < kEnoughRows) return {};
  bool const areTooClose = mSamples.SpanNs() * kOtherUnit < mFrames.SpanNs();
  // Samples that were taken for much longer than the frames are nevertheless closer to each other than those.
  bool const areTooFarApart =
      mSamples.SpanNs() > mFrames.SpanNs() * kOtherUnit &&
      mSamples.SpanNs() / static_cast<double>(mSamples.count) > mFrames.SpanNs() / static_cast<double>(mFrames.count);
  return areTooClose || areTooFarApart ? "expected samples in the unit of the frames, found another one" : "";
}

std::string TimeCheck::LikelyFactor(std::optional<TimeUnit> unit) const {
  int power = mFrames.SpanNs() > 0 ? NearestPower(mSamples.SpanNs() / mFrames.SpanNs()) : 0;
  if (power == 0) power = NearestPower(static_cast<double>(mSamples.mostNs) / static_cast<double>(mFrames.mostNs));
  if (power == 0) return {};
  std::string const factor = fmt::format("; the samples' times are likely 1e{} times too {}", 3 * std::abs(power),
                                         power > 0 ? "large" : "small");
  int const exponent = unit ? static_cast<int>(*unit) - 3 * power : -1;
  bool const isUnit = exponent >= 0 && exponent <= static_cast<int>(TimeUnit::kSeconds);
  std::string const option =
      isUnit ? fmt::format(" (--hall-time-unit {})", Name(static_cast<TimeUnit>(exponent))) : std::string();
  return fmt::format("{}{}, or the frames' too {}", factor, option, power > 0 ? "small" : "large");
}

}  // namespace shadingctl
