#include "tests/library/HostThreads.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "platform/SensorProvider.h"
#include "platform/desktop/Device.h"

namespace stress {
namespace {

using Samples = std::vector<NSCam::Utils::SensorData>;

constexpr std::int64_t kStartNs = 1'000'000'000'000;
constexpr std::int64_t kFrameNs = 16'000'000;
constexpr std::int64_t kSampleNs = 1'000'000;
constexpr std::size_t kSamplesPerFrame = 16;
constexpr std::uint32_t kModes = 3;
constexpr std::chrono::seconds kPatience{60};  // the longest call takes microseconds, under a sanitizer milliseconds

struct Camera {
  int sensorId;
  int sensorType;
  std::atomic<unsigned int> frame{0};
};

std::uint32_t RollingShutterNs(int sensorId, std::uint32_t mode) {
  return 10'000'000 + static_cast<std::uint32_t>(sensorId) * 1'000'000 + mode;
}

desktop::DeviceSettings ThreeCameras() {
  desktop::DeviceSettings settings = desktop::BuiltInDevice();
  settings.configuration["FeatureOisCompensationSupport"]["sensorMaps"] = {0, 3, 1, 4, 2, 5};
  settings.log = {true, true, 5};
  for (auto& sensor : settings.sensors) {
    for (std::uint32_t mode = 0; mode < kModes; ++mode) {
      sensor.rollingShutterNs[mode] = RollingShutterNs(sensor.sensorId, mode);
    }
  }
  return settings;
}

// One thread's calls. Answers depend on the other threads, so the checks hold for every order of the calls.
class HostThread {
 public:
  HostThread(SharedObject const& library, std::array<Camera, 3>& cameras, unsigned int seed, Counts& counts)
      : mTable(*library.Create()),
        mQuery(library.Find<Query>(kQuerySensorData)),
        mIsEnabled(library.Find<IsEnabled>("_ZN16VeyraShadingUtil9IsEnabledEi")),
        mCameras(cameras),
        mChance(seed),
        mCounts(counts) {}

  void Step() {
    Camera& camera = mCameras[mChance() % mCameras.size()];
    // Now and then with the sensor type of another camera, so that two cameras claim one sensor.
    int const type = mChance() % 8 == 0 ? mCameras[mChance() % mCameras.size()].sensorType : camera.sensorType;
    switch (mChance() % 24) {
      case 0:
        return Count(mTable.RegisterAndStart(camera.sensorId, type));
      case 1:
        return Count(mTable.Register(camera.sensorId, type));
      case 2:
        return Count(mTable.Start(camera.sensorId, type));
      case 3:  // rarely, so that histories grow long enough for positions
        if (mChance() % 4 == 0) mTable.Stop(camera.sensorId, type);
        return;
      case 4:
        return StoreRollingShutter(camera);
      case 5:
        return QueryRollingShutter(camera);
      case 6:
      case 7:
        return AskSamples(camera);
      case 8:
        return AskCalibration();
      case 9:
        Expect(mTable.IsSupported(camera.sensorId) && !mTable.IsSupported(6));
        mIsEnabled(&mTable, camera.sensorId);
        return;
      default:
        return mChance() % 2 == 0 ? Update(camera) : Calc(camera);
    }
  }

 private:
  using Query = void (*)(ShadingTable*, Samples&, int, unsigned int, unsigned long);
  using IsEnabled = bool (*)(ShadingTable*, int);

  void Expect(bool isRight) {
    if (!isRight) ++mCounts.wrongAnswers;
  }

  void Count(bool isAccepted) { ++(isAccepted ? mCounts.registered : mCounts.refused); }

  // The newest frame at which the host may be.
  static std::uint64_t TimeOf(unsigned int frame) { return static_cast<std::uint64_t>(kStartNs + frame * kFrameNs); }

  void Update(Camera& camera) {
    unsigned int const frame = ++camera.frame;
    Samples samples(kSamplesPerFrame);
    for (std::size_t i = 0; i < samples.size(); ++i) {
      samples[i].timestamp = static_cast<std::int64_t>(TimeOf(frame)) + static_cast<std::int64_t>(i) * kSampleNs;
      samples[i].oisHallX = static_cast<float>(camera.sensorId + 1);
      samples[i].oisHallY = static_cast<float>(-camera.sensorId);
    }
    std::string const provider =
        "OIS_MONITOR-" + std::to_string(camera.sensorId) + "-" + std::to_string(camera.sensorType);
    desktop::Device::Get().QueueSamples(provider, samples);
    mTable.Update(camera.sensorId, frame, TimeOf(frame));
  }

  void Calc(Camera const& camera) {
    FrameInput input = {{TimeOf(camera.frame), 0, 0}, {4'000'000, 0, 0}};
    std::vector<double> x = {-7.0}, y = {-7.0};
    int matched = 0;
    mTable.Calc(0, input, &x, &y, camera.frame, camera.sensorId, matched);
    bool const isUntouched = x == std::vector<double>{-7.0} && y == x;  // matched or not: a span of one entry
    bool const isAnswered = x == std::vector<double>{camera.sensorId + 1.0, 0.0} && y.size() == 2 &&
                            y[0] == -camera.sensorId && matched == 1;
    Expect(isUntouched || isAnswered);
    if (isAnswered) ++mCounts.positions;
  }

  void AskSamples(Camera const& camera) {
    Samples samples;
    bool const byTime = mChance() % 2 == 0;
    unsigned int const frame = camera.frame;
    mQuery(&mTable, samples, camera.sensorId, frame, byTime ? TimeOf(frame) : 0);
    for (std::size_t i = 0; i < samples.size(); ++i) {
      Expect(samples[i].oisHallX == static_cast<float>(camera.sensorId + 1));
      Expect(i == 0 || samples[i - 1].timestamp <= samples[i].timestamp);
    }
    if (!samples.empty()) ++mCounts.samples;
  }

  void StoreRollingShutter(Camera const& camera) {
    auto const mode = static_cast<std::uint32_t>(mChance() % kModes);
    Expect(mTable.StoreRollingShutter(camera.sensorId, mode) == RollingShutterNs(camera.sensorId, mode));
  }

  void QueryRollingShutter(Camera const& camera) {
    std::uint32_t const found = mTable.QueryRollingShutter(camera.sensorId);
    std::uint32_t const first = RollingShutterNs(camera.sensorId, 0);
    Expect(found == 0 || (found >= first && found < first + kModes));
    if (found != 0) ++mCounts.rollingShutters;
  }

  void AskCalibration() {
    constexpr int kTables[] = {1, 2, 3, 4, 1, 5, 1};                             // of the built-in cameras
    constexpr int kValues[] = {3862, 4457, 3549, 0x2000, 3334, 0x2000, 0xEEEE};  // value 1 of each block
    std::size_t const camera = mChance() % std::size(kTables);
    int index = 0;
    mTable.MultiTableIndex(index, 1 << camera);
    std::vector<unsigned char> block(2340, 0xEE);
    mTable.PncCalibration(block.data(), 1 << camera);
    Expect(index == kTables[camera] && block[2] + 256 * block[3] == kValues[camera]);
    ++mCounts.calibrations;
  }

  ShadingTable& mTable;
  Query mQuery;
  IsEnabled mIsEnabled;
  std::array<Camera, 3>& mCameras;
  std::mt19937 mChance;
  Counts& mCounts;
};

// Ends the process when `steps` stands still while threads are at work.
void WatchForDeadlock(std::atomic<unsigned int> const& steps, std::atomic<std::size_t> const& running) {
  unsigned int last = steps;
  auto since = std::chrono::steady_clock::now();
  while (running > 0) {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    if (steps != last) {
      last = steps;
      since = std::chrono::steady_clock::now();
    } else if (std::chrono::steady_clock::now() - since > kPatience) {
      std::fprintf(stderr, "deadlock: %zu threads are inside a call that does not end, after %u calls\n",
                   running.load(), last);
      std::abort();
    }
  }
}

}  // namespace

void RunHostThreads(SharedObject const& library, unsigned int rounds, Counts& counts) {
  desktop::Device::Get().Configure(ThreeCameras());
  library.Create();
  *library.Find<int*>("gLogLevel") = 4;
  std::array<Camera, 3> cameras = {{{0, 3}, {1, 4}, {2, 5}}};
  std::atomic<unsigned int> steps{0};
  std::atomic<std::size_t> running{kThreads};
  std::vector<std::thread> threads;
  for (unsigned int seed = 0; seed < kThreads; ++seed) {
    threads.emplace_back([&, seed] {
      HostThread host(library, cameras, seed, counts);
      for (unsigned int round = 0; round < rounds; ++round, ++steps) host.Step();
      --running;
    });
  }
  WatchForDeadlock(steps, running);
  for (std::thread& thread : threads) thread.join();
  for (Camera const& camera : cameras) library.Create()->Stop(camera.sensorId, camera.sensorType);
}

}  // namespace stress
