#include "tools/shadingctl/commands/SyntheticArguments.h"

#include <fmt/format.h>

#include <cmath>
#include <limits>
#include <map>

#include "tools/shadingctl/commands/Options.h"

namespace shadingctl {
namespace {

constexpr std::int64_t kLongestTimeUs =
    4000000;  // of exposures and readouts: what a driver can report has 32 bits of ns
constexpr std::int64_t kMostDelayUs = 1000000;
constexpr std::int64_t kMostClockUs = 10000000000;  // hours: any clock that was taken for another one
constexpr double kMostHall = 1e6;

constexpr SyntheticCamera kCameras[] = {{0, 3}, {2, 5}};  // those of the built-in device
std::map<std::string, std::int64_t> const kClockUnits = {{"ns", 1}, {"us", 1000}, {"ms", 1000000}};

std::int64_t IntervalNs(double rateHz) { return std::llround(1e9 / rateHz); }

Sweep NanosecondsOf(SweepUs const& sweep) { return {sweep.fromUs * 1000, sweep.toUs * 1000}; }

std::optional<Sweep> NanosecondsOf(std::optional<SweepUs> const& sweep) {
  return sweep ? std::optional(NanosecondsOf(*sweep)) : std::nullopt;
}

template <class Target>
CLI::Option* AddSweep(CLI::App& command, std::string const& name, Target& target, std::string const& description) {
  return command
      .add_option_function<std::string>(
          name,
          [&target, name](std::string const& text) {
            std::size_t const colon = text.find(':');
            auto const from = ParseNumber<std::int64_t>(text.substr(0, colon), 0, kLongestTimeUs);
            auto const to = colon == std::string::npos
                                ? from
                                : ParseNumber<std::int64_t>(text.substr(colon + 1), 0, kLongestTimeUs);
            if (!from || !to) {
              throw CLI::ValidationError(
                  name, fmt::format("expected one or, with a colon between, two whole numbers from 0 to {}, found '{}'",
                                    kLongestTimeUs, text));
            }
            target = SweepUs{*from, *to};
          },
          description)
      ->type_name("US[:US]");
}

// Refuses a fault that would last for too much of a short session.
template <class Number>
void RefuseMoreThan(Number most, Number found, char const* option) {
  if (found <= most) return;
  throw CLI::ValidationError(option, fmt::format("expected at most {}, a fifth of the session, found {}", most, found));
}

}  // namespace

void SyntheticArguments::AddTo(CLI::App& command) {
  AddFrames(command);
  AddSamples(command);
  AddTroubles(command);
  AddHost(command);
  AddNumber(command, "--seed", mSession.seed, std::uint64_t{0}, std::numeric_limits<std::uint64_t>::max(),
            "Another seed, another session");
}

void SyntheticArguments::AddFrames(CLI::App& command) {
  AddNumber(command, "--frames", mSession.frames, 1U, 100000000U, "Number of frames, the dropped ones included");
  AddNumber(command, "--frame-rate", mFrameRateHz, 1.0, 1000.0, "Frames a second");
  AddNumber(command, "--drop", mSession.drop, 0.0, 0.5, "Share of the frames that are missing");
  AddSweep(command, "--exposure-us", mExposureUs,
           "Exposure time; with two values it goes from the first to the second and back, once in 600 frames")
      ->default_str("10000:4000");
  AddSweep(command, "--exposure1-us", mExposure1Us, "The same for pair 1, which follows pair 0; otherwise as pair 0");
  AddSweep(command, "--exposure2-us", mExposure2Us, "The same for pair 2, which follows pair 1; otherwise as pair 0");
  AddSweep(command, "--readout-us", mReadoutUs,
           "Readout time, or two values; by default 15980, or 96 % of the time between two frames if that is less");
}

void SyntheticArguments::AddSamples(CLI::App& command) {
  AddNumber(command, "--hall-rate", mHallRateHz, 1.0, 100000.0, "Hall samples a second");
  AddNumber(command, "--hall-phase-us", mPhaseUs, std::int64_t{0}, kMostDelayUs, "The samples are later by so much");
  AddNumber(command, "--jitter-us", mJitterUs, std::int64_t{0}, std::int64_t{1000000},
            "A sample's time is off by at most so many us");
  AddNumber(command, "--delivery-delay-us", mDeliveryDelayUs, std::int64_t{0}, kMostDelayUs,
            "From the end of a frame's readout to the delivery of its batch");
  AddNumber(command, "--overlap", mSession.overlap, 0.0, 1.0,
            "Share of the batches that repeat the end of the one before");
}

void SyntheticArguments::AddTroubles(CLI::App& command) {
  AddNumber(
      command, "--late", mLateFrames, 0U, 20000000U,
      "So many frames in a row get their samples only afterwards; at most a fifth of the frames. By default 8, or "
      "as many as that allows");
  AddNumber(command, "--pause-us", mPauseUs, std::int64_t{0}, std::int64_t{20000000000000},
            "Once, there is no sample for so many us; at most a fifth of the session. By default 20000, or as many as "
            "that allows");
  AddNumber(command, "--lost", mSession.lost, 0.0, 1.0, "Share of the batches that never come");
  AddNumber(command, "--discarded", mSession.discarded, 0.0, 1.0,
            "Share of the batches that repeat all of the one before, which the library discards");
  AddNumber(command, "--clock-offset-us", mClockOffsetUs, -kMostClockUs, kMostClockUs,
            "The times of the samples are later by so much");
  AddNumber(command, "--clock-jump-us", mClockJumpUs, -kMostClockUs, kMostClockUs,
            "The same from the middle of the session on");
  command.add_option("--clock-unit", mClockUnit, "Unit of the samples' times, which should be ns")
      ->capture_default_str()
      ->check(CLI::IsMember({"ns", "us", "ms"}));
  command.add_flag("--constant", mSession.lens.constant, "The lens does not move");
  command.add_option("--dead-axis", mDeadAxis, "The lens does not move on this axis")->check(CLI::IsMember({"x", "y"}));
  AddNumber(command, "--end-stop", mSession.lens.endStop, 0.0, kMostHall, "The lens goes no further than this");
  AddNumber(command, "--step", mSession.lens.step, -kMostHall, kMostHall,
            "In every second half of a second positions are off by this");
  AddNumber(command, "--grain", mSession.lens.grain, 0.0, kMostHall, "Positions are multiples of this");
}

void SyntheticArguments::AddHost(CLI::App& command) {
  AddNumber(command, "--cameras", mCameras, 1, 2, "One camera, or two at once: those of the built-in device");
  command.add_option("--types", mTypes, "Kinds of frames, with commas between: one computation each for every frame")
      ->delimiter(',')
      ->allow_extra_args(false)
      ->default_str("0")
      ->check(CLI::IsMember({"0", "1", "4", "5", "6"}));
  command.add_flag("--calculate-first", mSession.calculateFirst, "Compute every frame before its update");
  AddNumber(command, "--restarts", mSession.restarts, 0U, 1000U, "Stop and start the monitor so often, evenly spread");
  AddNumber(command, "--switch-every", mSession.modes.everyFrames, 0U, 100000000U,
            "Switch between the sensor's modes 0 and 1 every so many frames");
  AddNumber(command, "--switch-readout-us", mSwitchReadoutUs, std::int64_t{0}, kLongestTimeUs,
            "Readout time of mode 1");
  AddNumber(command, "--switch-late", mSession.modes.lateFrames, 0U, 100000000U,
            "So many frames after each switch are computed before the library knows of it");
}

SyntheticOptions SyntheticArguments::Session() const {
  SyntheticOptions options = mSession;
  options.frameIntervalNs = IntervalNs(mFrameRateHz);
  options.exposureNs = NanosecondsOf(mExposureUs);
  options.laterExposuresNs = {NanosecondsOf(mExposure1Us), NanosecondsOf(mExposure2Us)};
  options.readoutNs = NanosecondsOf(mReadoutUs);
  options.modes.readoutNs = mSwitchReadoutUs * 1000;
  options.hallIntervalNs = IntervalNs(mHallRateHz);
  options.hallPhaseNs = mPhaseUs * 1000;
  options.jitterNs = mJitterUs * 1000;
  options.deliveryDelayNs = mDeliveryDelayUs * 1000;
  options.lens.xIsDead = mDeadAxis == "x";
  options.lens.yIsDead = mDeadAxis == "y";
  options.clock = {mClockOffsetUs * 1000, mClockJumpUs * 1000, kClockUnits.at(mClockUnit)};
  options.cameras.assign(kCameras, kCameras + mCameras);
  for (std::string const& digit : mTypes) options.types.push_back(digit[0] - '0');
  if (mLateFrames) {
    options.lateFrames = *mLateFrames;
    RefuseMoreThan(options.MostLateFrames(), options.lateFrames, "--late");
  }
  if (mPauseUs) {
    options.pauseNs = *mPauseUs * 1000;
    RefuseMoreThan(options.MostPauseNs() / 1000, *mPauseUs, "--pause-us");
  }
  return options;
}

}  // namespace shadingctl
