// The options of a synthetic session on the command line.
#pragma once

#include <CLI/CLI.hpp>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/shadingctl/synthetic/SyntheticOptions.h"

namespace shadingctl {

// A time in us, or one that goes from a first to a second value and back: "FROM:TO".
struct SweepUs {
  std::int64_t fromUs = 0;
  std::int64_t toUs = 0;
};

// As on the command line; Session() makes a session's options of them.
class SyntheticArguments {
 public:
  // The arguments must outlive `command`.
  void AddTo(CLI::App& command);

  // Throws CLI::ValidationError when a trouble would take more than its part of the session.
  SyntheticOptions Session() const;

 private:
  void AddFrames(CLI::App& command);
  void AddSamples(CLI::App& command);
  void AddTroubles(CLI::App& command);
  void AddHost(CLI::App& command);

  SyntheticOptions mSession;  // what needs no conversion
  double mFrameRateHz = 60;
  SweepUs mExposureUs = {10000, 4000};
  std::optional<SweepUs> mExposure1Us;
  std::optional<SweepUs> mExposure2Us;
  std::optional<SweepUs> mReadoutUs;
  std::int64_t mSwitchReadoutUs = 33000;
  double mHallRateHz = 1000;
  std::int64_t mPhaseUs = 0;
  std::int64_t mJitterUs = 80;
  std::optional<std::int64_t> mPauseUs;
  std::int64_t mDeliveryDelayUs = 1000;
  std::optional<std::uint32_t> mLateFrames;
  std::string mDeadAxis;
  std::int64_t mClockOffsetUs = 0;
  std::int64_t mClockJumpUs = 0;
  std::string mClockUnit = "ns";
  std::vector<std::string> mTypes = {"0"};
  int mCameras = 1;
};

}  // namespace shadingctl
