// Several host threads at once. Data races show under a thread sanitizer; in other builds the test checks that each
// camera gets its own positions.

#include <atomic>
#include <thread>

#include "platform/desktop/Device.h"
#include "tests/library/HostView.h"
#include "tests/support/MountedCalibration.h"

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

// Asks for every camera's table and block until `done`; counts the rounds in which all answers are right.
void AskCalibration(ShadingTable& shading, std::atomic<bool> const& done, unsigned int& rounds, bool& right) {
  constexpr int kTables[] = {1, 2, 3, 4, 1, 5, 1};  // of the built-in cameras, in their order
  constexpr int kValues[] = {3862, 4457, 3549, 0x2000, 3334, 0x2000, 0xEEEE};  // value 1 of each block
  std::vector<unsigned char> block(2340);
  do {
    for (int camera = 0; camera < 7; ++camera) {
      int index = 0;
      shading.MultiTableIndex(index, 1 << camera);
      block.assign(block.size(), 0xEE);
      shading.PncCalibration(block.data(), 1 << camera);
      right = right && index == kTables[camera] && block[2] + 256 * block[3] == kValues[camera];
    }
    ++rounds;
  } while (!done);
}

TEST(Threads, TwoCamerasAndTheCalibrationAnswerRightAtOnce) {
  MountedCalibration const calibrationFiles;
  if (testing::Test::IsSkipped()) return;
  SharedObject const library;
  ShadingTable& shading = *library.Create();
  unsigned int matchedFrames[2] = {0, 0};
  std::atomic<bool> done{false};
  unsigned int rounds[2] = {0, 0};
  bool right[2] = {true, true};
  std::thread calibration([&] { AskCalibration(shading, done, rounds[0], right[0]); });
  std::thread sameCalibration([&] { AskCalibration(shading, done, rounds[1], right[1]); });
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
  EXPECT_TRUE(right[0] && right[1]);
  EXPECT_TRUE(rounds[0] > 0 && rounds[1] > 0);
}

// One camera: one thread feeds it, one computes, one stops it and starts it again.
TEST(Threads, OneCameraIsUpdatedComputedAndRestartedAtOnce) {
  SharedObject const library;
  ShadingTable& shading = *library.Create();
  constexpr int kRestarts = 200;
  std::atomic<bool> done{false};
  std::atomic<std::uint64_t> newestNs{1'000'000'000'000};
  std::thread updating([&] {
    for (unsigned int frame = 1; !done; ++frame, newestNs += kFrameNs) {
      std::vector<NSCam::Utils::SensorData> samples(100);
      for (std::size_t i = 0; i < samples.size(); ++i) {
        samples[i].timestamp = static_cast<std::int64_t>(newestNs + i * 160'000);
        samples[i].oisHallX = 5.0F;
      }
      desktop::Device::Get().QueueSamples("OIS_MONITOR-0-3", samples);
      shading.Update(0, frame, newestNs);
    }
  });
  std::atomic<unsigned int> positions{0};
  unsigned int wrong = 0;
  std::thread computing([&] {
    std::vector<double> x, y;
    for (unsigned int frame = 1; !done; ++frame) {
      FrameInput input = {{newestNs, 0, 0}, {4'000'000, 0, 0}};
      int matched = 0;
      x.assign(1, -1.0);
      shading.Calc(0, input, &x, &y, frame, 0, matched);
      if (x == std::vector<double>{5.0, 0.0})
        ++positions;
      else if (x != std::vector<double>{-1.0})
        ++wrong;
    }
  });
  // A busy machine may let the computing thread run late.
  for (int i = 0; i < kRestarts || (positions == 0 && i < 100 * kRestarts); ++i) {
    EXPECT_TRUE(shading.RegisterAndStart(0, 3));
    EXPECT_EQ(shading.StoreRollingShutter(0, 0), 15'980'096U);
    for (std::uint64_t const seenNs = newestNs; newestNs < seenNs + 3 * kFrameNs;) std::this_thread::yield();
    shading.Stop(0, 3);
  }
  done = true;
  updating.join();
  computing.join();
  EXPECT_EQ(wrong, 0U);
  EXPECT_GT(positions, 0U);
}

}  // namespace
