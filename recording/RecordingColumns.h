// The names in a recording of version 2, for its reader and its writer. docs/recording-format.md describes them.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <string_view>

namespace recording {

constexpr int kRecordingVersion = 2;

// The index of a name among them.
template <std::size_t N>
std::optional<std::size_t> IndexOf(std::array<std::string_view, N> const& names, std::string_view name) {
  auto const* const found = std::find(names.begin(), names.end(), name);
  if (found == names.end()) return std::nullopt;
  return static_cast<std::size_t>(found - names.begin());
}

// Keys of recording.csv, and the values of those that are names, in the order of their enumerators.
constexpr char const* kVersionKey = "version";
constexpr char const* kCamerasKey = "cameras";
constexpr char const* kCalculationModeKey = "calculation_mode";
constexpr char const* kBatchesKey = "batches";
constexpr std::array<std::string_view, 3> kBatchesNames = {"delivered", "filed", "rebuilt"};
constexpr char const* kLostCallsKey = "lost_calls";
constexpr char const* kLostSamplesKey = "lost_samples";
constexpr char const* kStateKey = "state";
constexpr std::array<std::string_view, 3> kStateNames = {"complete", "running", "broken"};

// Columns of calls.csv, in the order in which they are written.
enum CallColumn : std::size_t {
  kCallNumber,
  kCallTime,
  kCallKind,
  kCallCamera,
  kCallSensorType,
  kCallSensorMode,
  kCallRollingShutter,
  kCallFrame,
  kCallTimestamp,  // of a calculation: that of pair 0
  kCallSamples,
  kCallType,
  kCallExposure,
  kCallTimestamp1,
  kCallExposure1,
  kCallTimestamp2,
  kCallExposure2,
  kCallMatched,
  kCallAnswer,
  kCallHallX,
  kCallHallY,
};
constexpr std::array<char const*, 20> kCallColumns = {
    "call",          "time_ns",      "kind",    "camera", "sensor_type", "sensor_mode",   "rolling_shutter_ns",
    "frame",         "timestamp_ns", "samples", "type",   "exposure_ns", "timestamp1_ns", "exposure1_ns",
    "timestamp2_ns", "exposure2_ns", "matched", "answer", "hall_x",      "hall_y"};

struct PairColumns {
  CallColumn timestamp;
  CallColumn exposure;
};
constexpr std::array<PairColumns, 3> kPairColumns = {
    {{kCallTimestamp, kCallExposure}, {kCallTimestamp1, kCallExposure1}, {kCallTimestamp2, kCallExposure2}}};

// Kinds of calls; the first ones are those of StartMonitor::Operation.
enum CallKind : std::size_t { kRegister, kStart, kRegisterAndStart, kStop, kReadout, kUpdate, kCalculate };
constexpr std::array<std::string_view, 7> kCallKinds = {"register", "start",  "register_start", "stop",
                                                        "readout",  "update", "calculate"};

// Columns of hall.csv, in the order in which they are written; the first one is "frame" in a recording of version 1.
enum SampleColumn : std::size_t { kSampleOwner, kSampleTimestamp, kSampleHallX, kSampleHallY };
constexpr std::array<char const*, 4> kSampleColumns = {"call", "timestamp_ns", "hall_x", "hall_y"};

}  // namespace recording
