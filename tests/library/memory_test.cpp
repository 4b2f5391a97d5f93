// The heap memory that the library holds, as counted by the C library. Sanitizers replace the heap: skipped there.

#include <malloc.h>

#include <cstddef>

#include "platform/desktop/Device.h"
#include "tests/library/HostView.h"

namespace {

constexpr char kProvider[] = "OIS_MONITOR-0-3";
constexpr std::int64_t kFrameNs = 16'000'000;
constexpr std::size_t kUsualSamples = 16;
constexpr std::size_t kGiantSamples = 200'000;
constexpr std::size_t kSampleSize = sizeof(NSCam::Utils::SensorData);

std::size_t HeapBytes() {
  struct mallinfo2 const info = mallinfo2();
  return info.uordblks + info.hblkhd;
}

class Heap : public testing::Test {
 protected:
  Heap() {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    mIsCounted = false;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
    mIsCounted = false;
#endif
#endif
  }
  void SetUp() override {
    if (!mIsCounted) GTEST_SKIP() << "the sanitizer's heap is not counted";
    shading.RegisterAndStart(0, 3);
  }
  void TearDown() override { shading.Stop(0, 3); }

  // `count` samples, evenly from `firstNs` on, within one frame's time.
  void Deliver(std::int64_t firstNs, std::size_t count) {
    std::vector<NSCam::Utils::SensorData> samples(count);
    std::int64_t const stepNs = kFrameNs / static_cast<std::int64_t>(count);
    for (std::size_t i = 0; i < count; ++i) samples[i].timestamp = firstNs + static_cast<std::int64_t>(i) * stepNs;
    device.QueueSamples(kProvider, samples);
    shading.Update(0, ++frame, static_cast<unsigned long>(firstNs));
  }
  void DeliverFrames(int count) {
    for (; count > 0; --count, nextNs += kFrameNs) Deliver(nextNs, kUsualSamples);
  }

  desktop::Device& device = desktop::Device::Get();
  SharedObject library;
  ShadingTable& shading = *library.Create();
  unsigned int frame = 0;
  std::int64_t nextNs = 1'000'000'000'000;

 private:
  bool mIsCounted = true;
};

// The played device keeps the memory of its largest batch, so it gets a giant one before anything is counted.
TEST_F(Heap, MemoryOfAGiantBatchIsGivenBackWithItsFrame) {
  struct {
    char const* what;
    std::int64_t beginsBeforeNextNs;
  } const rows[] = {{"discarded", 2 * kFrameNs}, {"a frame of its own", 0}, {"split with the newest", kFrameNs / 4}};
  Deliver(nextNs, kGiantSamples);
  nextNs += kFrameNs;
  DeliverFrames(100);
  std::size_t const settled = HeapBytes();
  for (auto const& row : rows) {
    Deliver(nextNs - row.beginsBeforeNextNs, kGiantSamples);
    nextNs += kFrameNs;
    if (row.beginsBeforeNextNs == 2 * kFrameNs) {
      EXPECT_LT(HeapBytes(), settled + 1'000 * kSampleSize) << row.what << ", at once";
    }
    DeliverFrames(40);
    EXPECT_LT(HeapBytes(), settled + 1'000 * kSampleSize) << row.what << ", 40 frames later";
  }
}

// A session with batches of usual sizes allocates only at its beginning.
TEST_F(Heap, UnevenBatchesSettle) {
  auto const deliverUneven = [this](int frames) {
    for (int i = 0; i < frames; ++i, nextNs += kFrameNs) Deliver(nextNs, i % 7 == 0 ? 40 : i % 3 == 0 ? 1 : 17);
  };
  deliverUneven(2'000);  // until every slot has held the largest batch
  std::size_t const settled = HeapBytes();
  deliverUneven(1'000);
  EXPECT_EQ(HeapBytes(), settled);
}

// While the sensor is disabled and while its provider is given up the history is still there; the message comes last.
std::vector<std::string> callsOfStop;

TEST_F(Heap, AStopDisablesGivesTheProviderUpClearsAndThenTells) {
  *library.Find<int*>("gLogLevel") = 1;
  Deliver(nextNs, kGiantSamples);
  static std::size_t heapBefore = 0;
  heapBefore = HeapBytes();
  callsOfStop.clear();
  device.RecordCalls(true, true);
  device.WatchCalls([](char const* call) {
    bool const isHeld = HeapBytes() + kGiantSamples * kSampleSize / 2 > heapBefore;
    callsOfStop.push_back(std::string(call) + (isHeld ? ", history held" : ""));
  });
  shading.Stop(0, 3);
  device.WatchCalls(nullptr);
  device.RecordCalls(false);
  callsOfStop.resize(3);
  EXPECT_EQ(callsOfStop,
            (std::vector<std::string>{"disableSensor OIS_MONITOR-0-3 3, history held",
                                      "~SensorProvider OIS_MONITOR-0-3, history held", "isLogDetailsEnabled 128 3"}));
}

// The sensor map's memory is freed before the monitors are destroyed, when their sensors are disabled.
std::size_t heapAtDisable = 0;

TEST(Destruction, ReleasesTheSensorMapBeforeTheMonitors) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "the sanitizer's heap is not counted";
#endif
  constexpr std::size_t kPairs = 100'000;
  desktop::Device& device = desktop::Device::Get();
  desktop::DeviceSettings settings = device.Settings();
  auto& map = settings.configuration["FeatureOisCompensationSupport"]["sensorMaps"];
  for (std::size_t i = 1; i < kPairs; ++i) map.insert(map.end(), {100, 100});
  device.Configure(settings);
  SharedObject const library;
  auto const construct = library.Find<void (*)(void*)>("_ZN16VeyraShadingUtilC1Ev");
  void* const memory = ::operator new(4096);
  construct(memory);
  auto& shading = *static_cast<ShadingTable*>(memory);
  shading.RegisterAndStart(0, 3);
  std::size_t const before = HeapBytes();
  device.WatchCalls([](char const* call) {
    if (std::string(call).rfind("disableSensor", 0) == 0) heapAtDisable = HeapBytes();
  });
  shading.~ShadingTable();
  device.WatchCalls(nullptr);
  ::operator delete(memory);
  EXPECT_LT(heapAtDisable + kPairs * 8, before + 1'000);
}

}  // namespace
