// The calling order of a host, through the table alone. The process has one object, so this is one test from the load
// of the library on.

#include <thread>

#include "platform/desktop/Device.h"
#include "platform/desktop/Memory.h"
#include "tests/library/HostView.h"

namespace {

TEST(Host, AHostWorksFromLoadToStopThroughTheTableAlone) {
  SharedObject const library;
  EXPECT_EQ(*library.Find<int*>("gLogLevel"), 1);
  EXPECT_EQ(*library.Find<int*>("g_oisDebug"), 1);
  EXPECT_EQ(*library.Find<int*>("g_preOisDump"), 0);
  EXPECT_EQ(*library.Find<int*>("g_capOisDump"), 0);

  auto& device = desktop::Device::Get();
  device.RecordCalls(true);
  auto* const* const single = library.Find<ShadingTable**>("_ZN16VeyraShadingUtil15mSingleInstanceE");
  desktop::FailAllocations(1);
  EXPECT_EQ(library.Create(), nullptr);
  EXPECT_EQ(desktop::FailedAllocations(), 1);
  EXPECT_EQ(*single, nullptr);
  EXPECT_TRUE(device.TakeCalls().empty()) << "nothing is constructed without memory";

  ShadingTable* instances[8] = {};
  std::vector<std::thread> threads;
  for (auto*& instance : instances) threads.emplace_back([&] { instance = library.Create(); });
  for (auto& thread : threads) thread.join();
  for (auto* const instance : instances) EXPECT_EQ(instance, *single);
  auto const calls = device.TakeCalls();
  EXPECT_EQ(std::count(calls.begin(), calls.end(), "property_get_int32 vendor.debug.ois.hall.calculation 1"), 1);
  EXPECT_EQ(*library.Find<int*>("gLogLevel"), 0);

  ShadingTable& shading = **single;
  EXPECT_TRUE(shading.IsSupported(0));
  EXPECT_FALSE(shading.IsSupported(1));
  EXPECT_FALSE(shading.Register(1, 4));
  EXPECT_TRUE(shading.Register(2, 5));
  EXPECT_TRUE(shading.Start(2, 5));
  shading.Stop(2, 5);
  EXPECT_FALSE(shading.Start(2, 5));
  EXPECT_TRUE(shading.RegisterAndStart(0, 3));
  device.SetRollingShutter(0, 9, 20'000'000);
  EXPECT_EQ(shading.StoreRollingShutter(0, 9), 20'000'000U);
  EXPECT_EQ(shading.QueryRollingShutter(0), 20'000'000U);

  // 100 samples 1 ms apart, of which number 50 is aligned with the start of the frame and 70 with the end of its
  // readout.
  std::vector<NSCam::Utils::SensorData> samples(100);
  for (int i = 0; i < 100; ++i) {
    samples[static_cast<std::size_t>(i)].timestamp = 999'934'402'000 + i * 1'000'000;
    samples[static_cast<std::size_t>(i)].oisHallX = static_cast<float>(i);
  }
  device.QueueSamples("OIS_MONITOR-0-3", samples);
  shading.Update(0, 1, 1'000'000'000'000);
  FrameInput input = {{1'000'000'000'000, 0, 0}, {10'000'000, 0, 0}};
  std::vector<double> x, y;
  int matched = 0;
  shading.Calc(0, input, &x, &y, 1U, 0, matched);
  EXPECT_EQ(x, (std::vector<double>{60.0, 0.0}));
  EXPECT_EQ(y, (std::vector<double>{0.0, 0.0}));
  EXPECT_EQ(matched, 1);

  int index = 0;
  shading.MultiTableIndex(index, 0x2000);
  EXPECT_EQ(index, 1);
  unsigned char out = 0xEE;
  shading.PncCalibration(&out, 0);
  EXPECT_EQ(out, 0xEE);
  shading.Stop(0, 3);
}

}  // namespace
