// What happens to a synthetic session from a time on: faults, and what a healthy phone does.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace shadingctl {

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

// The amount of an event that has begun; nullopt of others.
inline std::optional<double> AmountOf(std::vector<Event> const& events, EventKind kind,
                                      std::int64_t sinceFirstFrameNs) {
  auto const event = std::find_if(events.begin(), events.end(), [&](Event const& one) { return one.kind == kind; });
  if (event == events.end() || sinceFirstFrameNs < event->fromNs) return std::nullopt;
  return event->amount;
}

}  // namespace shadingctl
