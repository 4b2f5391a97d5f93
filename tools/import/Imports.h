// The forms of an import, and what they have in common.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "recording/FrameSession.h"
#include "tools/shadingctl/commands/import/ImportOptions.h"

namespace shadingctl {

constexpr std::int64_t kNsPerUs = 1000;

// The end of the first line's exposure, which is the frame's timestamp for the library. nullopt beyond 63 bits.
std::optional<std::uint64_t> EndOfExposureNs(std::int64_t timeNs, std::int64_t exposureNs, bool timeIsStart);

// A position times the scale of its axis, as the nearest single-precision number; may be infinite.
float Scaled(float position, double scale);

// Whether frames and samples belong together, judged by their times.
class TimeCheck {
 public:
  void AddFrame(recording::SessionFrame const& frame);
  void AddSample(std::int64_t timeNs, bool isDelivered);

  // At the end. Throws UnusableInput, with `file` as that of the samples, where there are no samples, none comes with a
  // frame, none lies within the times of the frames, or their times run backwards or in another unit than the frames'.
  // `unit`: of the samples, where --hall-time-unit can change it.
  void Finish(std::string const& file, std::optional<TimeUnit> unit) const;

 private:
  struct Range {
    std::uint64_t count = 0;
    std::int64_t leastNs = 0;
    std::int64_t mostNs = 0;

    void Add(std::int64_t fromNs, std::int64_t toNs);
    double SpanNs() const { return static_cast<double>(mostNs) - static_cast<double>(leastNs); }
  };

  std::string Problem() const;                                   // empty where there is none
  std::string LikelyFactor(std::optional<TimeUnit> unit) const;  // empty where there is none

  Range mFrames;  // from the start of the first exposure to the end of the last readout
  Range mSamples;
  std::uint64_t mDelivered = 0;
  std::int64_t mLastNs = 0;  // of the sample before
  std::uint64_t mRises = 0;  // of the samples' times, from one to the next
  std::uint64_t mFalls = 0;
};

// All throw UnusableInput where a file cannot be read or used; the session does where it comes to that place.
std::unique_ptr<recording::Session> OpenCsv(ImportArguments const& arguments);
std::unique_ptr<recording::Session> OpenVideo(ImportArguments const& arguments);
std::unique_ptr<recording::Session> OpenLog(ImportArguments const& arguments);

}  // namespace shadingctl
