// What a synthetic session is made of. docs/recording-format.md describes every option.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace shadingctl {

// What happens from a time on: faults, and what a healthy phone does.
enum class EventKind {
  kFreeze,
  kFreezeX,
  kFreezeY,
  kNoise,
  kNoiseX,
  kZeros,
  kSpikes,
  kFlips,
  kHeld,
  kHand,
  kTurns,
  kRate,
  kJump,
  kDrift,
  kPlatform,
  kHost,
  kJitter,
  kOutage,
  kOrder,
  kNoExposure,
  kNoReadout,
  kSameTimes,
  kBackTimes,
  kShared,
};

// In the order of EventKind; docs/recording-format.md says what each does. The amount is the one when none is given.
struct EventName {
  std::string_view name;
  double amount;
};
constexpr std::array<EventName, 24> kEventNames = {
    {{"freeze", 0},   {"freeze_x", 0},    {"freeze_y", 0},     {"noise", 0},      {"noise_x", 0},    {"zeros", 0},
     {"spikes", 100}, {"flips", 100},     {"held", 4},         {"hand", 0.02},    {"turns", 0},      {"rate", 2},
     {"jump", 20000}, {"drift", 1000},    {"platform", 60000}, {"host", 30000},   {"jitter", 15000}, {"outage", 100000},
     {"order", 0},    {"no_exposure", 0}, {"no_readout", 0},   {"same_times", 0}, {"back_times", 0}, {"shared", 0}}};

struct Event {
  EventKind kind = EventKind::kFreeze;
  std::int64_t fromNs = 0;  // since the first frame
  double amount = 0;
};

// The first event of that kind; null where there is none.
inline Event const* EventOf(std::vector<Event> const& events, EventKind kind) {
  auto const event = std::find_if(events.begin(), events.end(), [&](Event const& one) { return one.kind == kind; });
  return event == events.end() ? nullptr : &*event;
}

// The amount of an event that has begun; nullopt of others.
inline std::optional<double> AmountOf(std::vector<Event> const& events, EventKind kind,
                                      std::int64_t sinceFirstFrameNs) {
  Event const* const event = EventOf(events, kind);
  return event == nullptr || sinceFirstFrameNs < event->fromNs ? std::nullopt : std::optional(event->amount);
}

// A time that varies from one value to the other and back with a period of kFramesOfASweep frames.
struct Sweep {
  std::int64_t fromNs = 0;
  std::int64_t toNs = 0;
};
constexpr std::uint32_t kFramesOfASweep = 600;

// Faults of the stabiliser.
struct LensTrouble {
  std::optional<double> endStop;  // positions end at plus and minus this, noise aside
  double grain = 0;               // positions are multiples of this
};

// Faults of the samples' clock relative to that of the frames.
struct ClockTrouble {
  std::int64_t offsetNs = 0;  // they say a time that is later by this
  std::int64_t unitNs = 1;    // times are multiples of this unit, and say how many
};

// The sensor switches from mode 0 to mode 1 and back.
struct ModeSwitches {
  std::uint32_t everyFrames = 0;  // 0: never
  std::int64_t readoutNs = 0;     // of mode 1
  std::uint32_t lateFrames = 0;   // so many frames are computed before the host tells the library
};

struct SyntheticCamera {
  std::optional<std::int32_t> sensorId;  // nullopt: whichever the replay is asked for
  std::optional<std::int32_t> sensorType;
};

struct SyntheticOptions {
  std::uint32_t frames = 300;               // of each camera, numbered from 1, the dropped ones included
  std::int64_t frameIntervalNs = 16666667;  // 60 frames a second
  double drop = 0.01;                       // share of the frames that are missing
  Sweep exposureNs = {10000000, 4000000};
  std::array<std::optional<Sweep>, 2> laterExposuresNs;  // of pairs 1 and 2; nullopt: the pair is the same as pair 0
  std::optional<Sweep> readoutNs;                        // of mode 0; nullopt: as that of a 60 Hz mode, or shorter
  ModeSwitches modes;

  std::int64_t hallIntervalNs = 1000000;  // 1 kHz
  std::int64_t hallPhaseNs = 0;           // the first sample is later by this
  std::int64_t jitterNs = 80000;          // a sample's time is off by at most this
  std::int64_t pauseNs = 20000000;        // once, the stabiliser takes no sample for so long; at most 1/5
  LensTrouble lens;
  ClockTrouble clock;
  std::vector<Event> events;

  std::int64_t deliveryDelayNs = 1000000;  // from the end of a frame's readout to its batch
  double overlap = 0.5;                    // share of the batches that repeat the end of the batch before
  std::uint32_t lateFrames = 8;            // so many frames in a row get their samples only afterwards; at most 1/5
  double lost = 0;                         // share of the batches that never come
  double discarded = 0;  // share of the batches that repeat all of the batch before, so the library discards them

  std::vector<SyntheticCamera> cameras = {{}};  // one at least
  std::vector<std::int32_t> types;              // a computation of each for every frame; empty: one that names no type
  std::uint32_t restarts = 0;                   // the monitor is stopped and started so often, evenly spread

  std::uint64_t seed = 1;

  // Each seed has a part of the motion of its own.
  std::int64_t MotionFromNs() const { return static_cast<std::int64_t>((seed - 1) % 1000) * 7300000000; }

  // What the two troubles are reduced to, lest they swallow a short session.
  std::uint32_t MostLateFrames() const { return frames / 5; }
  std::int64_t MostPauseNs() const { return frames / 5 * frameIntervalNs; }
};

}  // namespace shadingctl
