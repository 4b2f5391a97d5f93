// What a replay plays: the calls of a host to the library, in order, with the samples that the platform delivers.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "platform/SensorProvider.h"

namespace recording {

// RegisterSensorMonitor, StartSensorMonitor, or both in one call.
struct StartMonitor {
  enum class Operation { kRegister, kStart, kRegisterAndStart };
  Operation operation = Operation::kRegisterAndStart;
  std::optional<std::int32_t> sensorType;  // nullopt: the type that the device's sensor map gives the camera
  std::optional<bool> answer;              // of the recorded call
};

// StopSensorMonitor.
struct StopMonitor {
  std::optional<std::int32_t> sensorType;  // as in StartMonitor
};

// StoreRollingShutter, and the readout time that the sensor driver reports in it.
struct StoreRollingShutter {
  std::uint32_t sensorMode = 0;
  std::uint32_t rollingShutterNs = 0;
};

// UpdateSensorData, and the batch that the platform delivers in it.
struct UpdateSensorData {
  std::uint32_t frame = 0;
  std::uint64_t timestampNs = 0;
  std::vector<NSCam::Utils::SensorData> batch;  // in the order of delivery
};

struct ExposurePair {
  std::uint64_t timestampNs = 0;
  std::uint64_t exposureNs = 0;
};

// What a recorded call of CalcOISValue left behind.
struct CalcOisAnswer {
  bool matched = false;        // the flag
  std::optional<float> hallX;  // the first element of each vector; nullopt where the vector was empty
  std::optional<float> hallY;
};

// CalcOISValue.
struct CalcOisValue {
  using Answer = CalcOisAnswer;  // not nested: clang would not let an optional make one

  std::uint32_t frame = 0;
  std::optional<std::int32_t> type;  // nullopt: whichever the replay is asked for
  std::array<ExposurePair, 3> pairs;
  std::optional<bool> matched;  // the flag that the host handed in; nullopt: as the call before left it
  std::optional<Answer> answer;
};

struct Call {
  std::optional<std::uint64_t> timeNs;  // when the host called, on the clock of the frames
  std::optional<std::int32_t> camera;   // nullopt: whichever the replay is asked for
  std::variant<StartMonitor, StopMonitor, StoreRollingShutter, UpdateSensorData, CalcOisValue> operation;
};

// An irregularity that does not end the replay: how often it occurs, and where first ("FILE:LINE" or "frame N").
struct Oddity {
  std::uint64_t count = 0;
  std::string firstPlace;

  // Counts `more` at the current place of a file.
  template <class File>
  void CountAt(File const& file, std::uint64_t more = 1) {
    if (count == 0) firstPlace = file.Place();
    count += more;
  }

  // Raises the count to `total` where it is less.
  void RaiseTo(std::uint64_t total, std::string const& place) {
    if (total <= count) return;
    if (count == 0) firstPlace = place;
    count = total;
  }
};

// How a capture ended. `recording.csv` names these in this order.
enum class CaptureState {
  kComplete,
  kRunning,  // no end is recorded
  kBroken,   // a file could not be written
};

// What a recording says of its capture as a whole.
struct Capture {
  CaptureState state = CaptureState::kComplete;
  std::uint64_t lostCalls = 0;    // made by the host and not recorded
  std::uint64_t lostSamples = 0;  // delivered and not recorded

  bool IsComplete() const { return *this == Capture(); }
  bool operator==(Capture const& other) const {
    return state == other.state && lostCalls == other.lostCalls && lostSamples == other.lostSamples;
  }
};

struct SessionOddities {
  Oddity frameTimesBackward;   // frames that are earlier than the frame before
  Oddity sampleTimesBackward;  // samples that are earlier than the sample delivered before
  Oddity emptyBatches;         // frames with which no sample is delivered
  Oddity unlistedSamples;      // samples of frames that are not listed: they come with the next listed frame
  Oddity undeliveredSamples;   // samples of frames or calls that are not listed: they never come
  Oddity lostCalls;            // calls that the recording left out
  Oddity lostSamples;          // samples that were delivered and that the recording left out
  CaptureState captureState = CaptureState::kComplete;

  Capture Captured() const { return {captureState, lostCalls.count, lostSamples.count}; }
};

// Where the batches of a recording come from.
enum class Batches {
  kDelivered,  // from the platform: a replay gives the phone's answers
  kFiled,      // from the library's history: batches that it discarded are missing
  kRebuilt,    // from samples whose batches are not known: by their times, or by the frames that tell them
};

// How the library was configured during the session, as far as the recording says.
struct SessionSettings {
  std::optional<std::vector<std::int32_t>> cameras;  // those of the sensor map
  std::optional<std::int32_t> calculationMode;       // the property "vendor.debug.ois.hall.calculation"
  bool recordsCalls = false;                         // the calls name their cameras and types
  Batches batches = Batches::kDelivered;
};

// A source of calls, read once from front to back.
class Session {
 public:
  virtual ~Session() = default;

  // The name of the session in a result.
  std::string const& Name() const { return mName; }

  SessionSettings const& Settings() const { return mSettings; }

  // Replaces `call` by the next one; false at the end. Throws UnusableInput where the session is broken.
  virtual bool Next(Call& call) = 0;

  // What was odd so far; complete once Next has answered false.
  SessionOddities const& Oddities() const { return mOddities; }

  // What whoever uses the session must know, in sentences: whether its batches are others than the delivered ones, and
  // what its capture lacks. Complete once Next has answered false.
  virtual std::vector<std::string> Remarks() const;

  // How many positions are computed in all, where that can be said before everything is read.
  virtual std::optional<std::uint64_t> FrameCount() const { return std::nullopt; }

 protected:
  explicit Session(std::string name) : mName(std::move(name)) {}

  std::string mName;
  SessionSettings mSettings;
  SessionOddities mOddities;
};

}  // namespace recording
