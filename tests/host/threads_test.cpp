// Several of the host's threads at once. What this shows, it shows under a thread sanitizer; elsewhere it must merely
// give each camera its own positions.

#include <atomic>
#include <thread>

#include "platform/desktop/Device.h"
#include "tests/host/HostView.h"

namespace {

constexpr std::int64_t kFrameNs = 16'000'000;
constexpr unsigned int kFrames = 200;

// One camera's frames: 16 samples each, 1 ms apart, whose X is the camera's own number.
void RunCamera(ShadingTable& shading, int sensorId, int sensorType, unsigned int& matchedFrames) {
  std::string const provider = "OIS_MONITOR-" + std::to_string(sensorId) + "-" + std::to_string(sensorType);
  shading.RegisterAndStart(sensorId, sensorType);
  shading.StoreRollingShutter(sensorId, 0);
  int matched = 0;
  std::vector<double> x, y;
  for (unsigned int frame = 1; frame <= kFrames; ++frame) {
    std::int64_t const beginsNs = 1'000'000'000'000 + frame * kFrameNs;
    std::vector<NSCam::Utils::SensorData> samples(16);
    for (std::size_t i = 0; i < samples.size(); ++i) {
      samples[i].timestamp = beginsNs + static_cast<std::int64_t>(i) * 1'000'000;
      samples[i].oisHallX = static_cast<float>(sensorId + 1);
    }
    desktop::Device::Get().QueueSamples(provider, samples);
    auto const timestampNs = static_cast<std::uint64_t>(beginsNs);
    shading.Update(sensorId, frame, timestampNs);
    FrameInput input = {{timestampNs, 0, 0}, {4'000'000, 0, 0}};
    x.clear();
    shading.Calc(0, input, &x, &y, frame, sensorId, matched);
    if (x == std::vector<double>{sensorId + 1.0, 0.0}) ++matchedFrames;
  }
  shading.Stop(sensorId, sensorType);
}

TEST(Threads, TwoCamerasAndTheCalibrationAtOnce) {
  SharedObject const library;
  ShadingTable& shading = *library.Create();
  unsigned int matchedFrames[2] = {0, 0};
  std::atomic<bool> done{false};
  std::thread calibration([&] {
    while (!done) {
      for (int const mask : {1, 2, 1}) {
        int index = 0;
        shading.MultiTableIndex(index, mask);
        std::vector<unsigned char> block(4096);
        shading.PncCalibration(block.data(), mask);
      }
    }
  });
  std::thread sameCalibration([&] {
    while (!done) {
      int index = 0;
      shading.MultiTableIndex(index, 1);
    }
  });
  std::thread first([&] { RunCamera(shading, 0, 3, matchedFrames[0]); });
  std::thread second([&] { RunCamera(shading, 2, 5, matchedFrames[1]); });
  first.join();
  second.join();
  done = true;
  calibration.join();
  sameCalibration.join();
  // The first 6 frames have less than 100 samples behind them.
  EXPECT_EQ(matchedFrames[0], kFrames - 6);
  EXPECT_EQ(matchedFrames[1], kFrames - 6);
}

}  // namespace
