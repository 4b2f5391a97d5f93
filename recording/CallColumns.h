// The columns of calls.csv and hall.csv in a recording of version 2, for its reader and its writer.
// docs/recording-format.md describes them.
#pragma once

#include <array>

#include "recording/CsvFile.h"

namespace recording {

constexpr int kRecordingVersion = 2;

// In the order in which they are written.
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
constexpr std::array<CsvFile::Column, 20> kCallColumns = {{{"call"},
                                                           {"time_ns", false},
                                                           {"kind"},
                                                           {"camera", false},
                                                           {"sensor_type", false},
                                                           {"sensor_mode", false},
                                                           {"rolling_shutter_ns", false},
                                                           {"frame", false},
                                                           {"timestamp_ns", false},
                                                           {"samples", false},
                                                           {"type", false},
                                                           {"exposure_ns", false},
                                                           {"timestamp1_ns", false},
                                                           {"exposure1_ns", false},
                                                           {"timestamp2_ns", false},
                                                           {"exposure2_ns", false},
                                                           {"matched", false},
                                                           {"answer", false},
                                                           {"hall_x", false},
                                                           {"hall_y", false}}};

enum CallSampleColumn : std::size_t { kSampleCall, kSampleTimestamp, kSampleHallX, kSampleHallY };
constexpr std::array<CsvFile::Column, 4> kCallSampleColumns = {{{"call"}, {"timestamp_ns"}, {"hall_x"}, {"hall_y"}}};

constexpr char const* kRegisterKind = "register";
constexpr char const* kStartKind = "start";
constexpr char const* kRegisterAndStartKind = "register_start";
constexpr char const* kStopKind = "stop";
constexpr char const* kReadoutKind = "readout";
constexpr char const* kUpdateKind = "update";
constexpr char const* kCalculateKind = "calculate";

}  // namespace recording
