// The reference model: what the library does with one camera's samples and frames, in the most straightforward way. The
// whole history is joined, sorted and scanned for every answer. Tests compare the library with it, benchmarks time it.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <utility>
#include <vector>

#include "lsc/VeyraShadingUtil.h"

namespace model {

using Sample = NSCam::Utils::SensorData;
using Samples = std::vector<Sample>;

// A message as the file sink receives it; `level` is a VLogLevel.
struct Message {
  int level;
  std::string text;
};

// One camera whose monitor is registered and started. Samples that bear the same time keep the order in which they
// came; the library may order them otherwise. No dump is written.
class ReferenceModel {
 public:
  ReferenceModel(int sensorId, int sensorType) : mSensorId(sensorId), mSensorType(sensorType) {}

  // The library's globals of the like names.
  int logLevel = 0;
  int oisDebug = 1;

  // Whether messages are written, as far as logLevel allows; without it none is even formatted.
  bool keepsMessages = false;
  std::vector<Message> messages;

  // `batch` is what the platform hands out; afterwards it is what the monitor reports on.
  void UpdateSensorData(std::uint32_t frameNumber, std::uint64_t timestampNs, Samples& batch);
  void StoreRollingShutter(std::uint32_t rollingShutterNs, std::uint32_t sensorMode);
  std::uint32_t QueryRollingShutter();
  void QuerySensorData(Samples& out, std::uint32_t frameNumber, std::uint64_t timestampNs);
  bool IsEnabled();
  void CalcOISValue(std::int32_t type, CalcOISValueInput const& input, std::vector<double>* outOisX,
                    std::vector<double>* outOisY, std::uint32_t frameId, int& oisMatched);

  // Oldest first.
  std::deque<std::pair<std::uint32_t, Samples>> const& frames() const { return mFrameQueue; }

 private:
  // The operations of the buffer and of the monitor.
  void pushValue(std::uint32_t frameNumber, Samples& batch);
  void getDataByFrame(std::uint32_t frameNumber, Samples& out);
  void getDataByTimestamp(std::uint64_t timeNs, Samples& out);
  void updateSensorData(std::uint32_t frameNumber, std::uint64_t timestampNs, Samples& batch);
  void getSensorData(Samples& out, std::uint32_t frameNumber, std::uint64_t timestampNs);

  void Info(char const* format, ...) __attribute__((format(printf, 2, 3)));
  void Warning(char const* format, ...) __attribute__((format(printf, 2, 3)));
  void Write(int level, char const* format, std::va_list arguments) __attribute__((format(printf, 3, 0)));

  int mSensorId;
  int mSensorType;
  std::uint32_t mRollingShutterNs = 0;
  std::deque<std::pair<std::uint32_t, Samples>> mFrameQueue;
};

}  // namespace model
