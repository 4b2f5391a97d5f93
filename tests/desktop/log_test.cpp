#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <thread>
#include <vector>

#include "platform/Log.h"
#include "platform/VLogger.h"
#include "platform/desktop/Device.h"

namespace {

using desktop::Device;
using desktop::LogMessage;
using ::testing::ElementsAre;
using VCam::Utils::VLog::VLogger;

class Log : public ::testing::Test {
 protected:
  void SetUp() override { device.Reset(); }
  void TearDown() override { device.Reset(); }  // a listener must not outlive what it refers to

  Device& device = Device::Get();
};

TEST_F(Log, RecordHoldsWhatCameWhileItWasOnAndOnlyTheGivenLength) {
  __android_log_print(4, "Tag", "before %d", 1);
  device.RecordLog(true);
  __android_log_print(6, "Tag", "%s:%d", "line", 12);
  VLogger::logNormalDetails(128, "Other", VCam::Utils::VLog::kVLogDebug, "cut off here", 3);
  device.RecordLog(false);
  __android_log_print(4, "Tag", "after");
  std::vector<std::string> texts;
  for (LogMessage const& message : device.TakeLog()) texts.push_back(message.text);
  EXPECT_THAT(texts, ElementsAre("line:12", "cut"));
  EXPECT_TRUE(device.TakeLog().empty());
}

// 511 characters are the most that fit the first buffer.
TEST_F(Log, LongMessageArrivesWhole) {
  device.RecordLog(true);
  for (std::size_t const size : {511U, 512U, 100'000U}) {
    std::string const text(size, 'x');
    __android_log_print(4, "Tag", "%s!", text.substr(1).c_str());
    std::vector<LogMessage> const log = device.TakeLog();
    ASSERT_EQ(log.size(), 1U);
    EXPECT_EQ(log[0].text, text.substr(1) + "!") << size;
  }
}

TEST_F(Log, ListenerIsCalledOneAtATimeOnTheThreadThatLogs) {
  constexpr int kEach = 200;
  int heard = 0;  // without a lock, as the calls come one at a time
  std::set<std::thread::id> threads;
  device.ListenToLog([&](LogMessage const&) {
    ++heard;
    threads.insert(std::this_thread::get_id());
  });
  auto const write = [] {
    for (int i = 0; i < kEach; ++i) __android_log_print(4, "Tag", "%d", i);
  };
  std::thread other(write);
  std::set<std::thread::id> const expected = {std::this_thread::get_id(), other.get_id()};
  write();
  other.join();
  EXPECT_EQ(heard, 2 * kEach);
  EXPECT_EQ(threads, expected);
  device.RecordLog(true);
  __android_log_print(4, "Tag", "heard and kept");
  EXPECT_EQ(heard, 2 * kEach + 1);
  EXPECT_EQ(device.TakeLog().size(), 1U);
  device.Reset();
  __android_log_print(4, "Tag", "unheard");
  EXPECT_EQ(heard, 2 * kEach + 1);
}

}  // namespace
