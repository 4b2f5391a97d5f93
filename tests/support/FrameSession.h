// One frame from end to end, in a session that can be computed by hand: 100 samples 1 ms apart, of which
// number 50 lies exactly at the start of the frame and number 70 at the end of its readout.
#pragma once

#include <memory>
#include <vector>

#include "tests/support/PlayedDevice.h"

constexpr char kProvider[] = "OIS_MONITOR-0-3";
constexpr std::uint64_t kTimestampNs = 1'000'000'000'000;
constexpr std::uint64_t kExposureNs = 10'000'000;
constexpr std::int64_t kFirstSampleNs = 999'934'402'000;
constexpr std::int64_t kMillisecondNs = 1'000'000;

class FrameSession : public PlayedDevice {
 protected:
  FrameSession() { UseFileSinkOnly(); }

  void Start(int logLevel, Samples const& samples = EvenSamples(100, kFirstSampleNs, kMillisecondNs)) {
    library = NewLibrary(logLevel);
    library->RegisterAndStartSensorMonitor(0, 3);
    SetReadout(20'000'000);
    device.QueueSamples(kProvider, samples);
    library->UpdateSensorData(0, 1, kTimestampNs);
    device.TakeLog();
  }

  void SetReadout(std::uint32_t rollingShutterNs) {
    device.SetRollingShutter(0, 0, rollingShutterNs);
    library->StoreRollingShutter(0, 0);
    device.TakeLog();
  }

  void Run(int type = kShadingCapture, int sensorId = 0) {
    library->CalcOISValue(static_cast<CustShadingType>(type), input, &x, &y, frameId, sensorId, matched);
  }

  std::unique_ptr<VeyraShadingUtil> library;
  CalcOISValueInput input = {kTimestampNs, kTimestampNs, kTimestampNs, kExposureNs, kExposureNs, kExposureNs};
  std::vector<double> x = {7.0};
  std::vector<double> y = {8.0, 9.0, 10.0};
  unsigned int frameId = 42;
  int matched = 0;
};
