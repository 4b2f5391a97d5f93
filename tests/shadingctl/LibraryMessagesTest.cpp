#include "tools/shadingctl/LibraryMessages.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace shadingctl {
namespace {

std::vector<std::string> const kFrame = {
    "[pushValue]  split data frameNumber: 9 lastData:4 data:16 splitTime:1234",
    "[updateSensorData] update sensor data F:(9) TS:(5000) size:16, queue size:3, timestamp "
    "interv:18446744073709551606 - "
    "7000",
    "[getDataByTimestamp]  total data size:117",
    "[CalcOISValue] camera_id = 0, type = 0, oisCount = 4, sof_timestamp = 10000, exposure_time = 9, shutter_time = 8, "
    "timeDiff = -300",
    "[CalcOISValue] get source ois data index = 0, timestamp = 0, oisHall_x = 1.000000, oisHall_y = 1.000000",
    "[CalcOISValue] get source ois data index = 1, timestamp = 8000, oisHall_x = 1.000000, oisHall_y = 1.000000",
    "[CalcOISValue] get source ois data index = 2, timestamp = 8000, oisHall_x = 1.000000, oisHall_y = 1.000000",
    "[CalcOISValue] get source ois data index = 3, timestamp = 9900, oisHall_x = 1.000000, oisHall_y = 1.000000",
    "[CalcOISValue] activeNum:2",
    "[CalcOISValue] startIndex, index = 0, timestamp Difference = 1700",
    "[CalcOISValue] startIndex, index = 1, timestamp Difference = 200",
    "[CalcOISValue] stamp_up = 200, i = 1, stamp_down = 300, i+1 = 2",
    "[CalcOISValue] startIndex = 1, endIndex = 1",
};

FrameMessages Read(std::vector<std::string> const& messages) {
  LibraryMessages reader;
  reader.BeginFrame();
  for (std::string const& message : messages) reader.Read(message);
  return reader.Frame();
}

TEST(LibraryMessages, TellAFrame) {
  FrameMessages const frame = Read(kFrame);
  EXPECT_TRUE(frame.split);
  ASSERT_TRUE(frame.batch.has_value());
  EXPECT_EQ(frame.batch->firstNs, -10);
  EXPECT_EQ(frame.batch->lastNs, 7000);
  EXPECT_EQ(frame.buffered, 117U);
  EXPECT_EQ(frame.samples, 4U);
  EXPECT_EQ(frame.startOfFrameUs, 10000);
  EXPECT_EQ(frame.offsetUs, -300);
  ASSERT_TRUE(frame.firstCandidate && frame.nearestCandidate && frame.start && frame.span);
  EXPECT_EQ(frame.firstCandidate->distanceUs, 1700);
  EXPECT_EQ(frame.nearestCandidate->index, 1);
  EXPECT_EQ(frame.start->distanceUs, 200);
  EXPECT_EQ(frame.start->index, 1);
  EXPECT_EQ(frame.start->nextDistanceUs, 300);
  EXPECT_EQ(frame.span->first, 1);
  EXPECT_EQ(frame.span->last, 1);
  // The first sample has time 0 and the third the time of the second: entry 1 is sample 3, at 9900 + 300.
  EXPECT_EQ(frame.spanStartUs, 10200);
  EXPECT_FALSE(frame.done || frame.nothingMatched || frame.notRegistered || frame.zeroTime);
}

TEST(LibraryMessages, TheLibrarysOwnWordOnTheSpanComesFirst) {
  auto messages = kFrame;
  messages.emplace_back(
      "[CalcOISValue] Match OIS data, sof_timestamp = 10000, activeNum = 2, hall = (1.0, 1.0), timestamp = 77");
  messages.emplace_back(
      "[CalcOISValue] Match OIS data, sof_timestamp = 10000, activeNum = 2, hall = (1.0, 1.0), timestamp = 88");
  messages.emplace_back(
      "[CalcOISValue] camera_id = 0, frame_id = 9, g_oisDebug = 0, out_frame_ois_size(0, 0) (CalcOISValue){#1:file}");
  FrameMessages const frame = Read(messages);
  EXPECT_EQ(frame.spanStartUs, 77);
  EXPECT_TRUE(frame.done);
}

TEST(LibraryMessages, WarningsAreKnownWithTheirPlace) {
  EXPECT_TRUE(Read({"[getDataByTimestamp] no data matched (getDataByTimestamp){#12:file}"}).nothingMatched);
  EXPECT_TRUE(Read({"[IsEnabled] Sensor Monitor not registered sensorId:0 (IsEnabled){#12:file}"}).notRegistered);
  EXPECT_TRUE(Read({"[getSensorData] timestamp or frameNumber should not be zero (getSensorData){#1:file}"}).zeroTime);
  EXPECT_FALSE(Read({"[UpdateSensorData] Sensor Monitor not registered sensorId:0 (f){#1:file}"}).notRegistered);
}

// A message that ends early tells what it still tells, and nothing else.
TEST(LibraryMessages, MessagesThatEndEarlyAreHarmless) {
  for (std::string const& message : kFrame) {
    std::size_t const lastNumber = message.find_last_not_of("0123456789") + 1;
    for (std::size_t length = 0; length < lastNumber; ++length) {
      FrameMessages const frame = Read({message.substr(0, length)});
      EXPECT_FALSE(frame.batch || frame.buffered || frame.samples || frame.span || frame.done || frame.spanStartUs)
          << message.substr(0, length);
    }
  }
}

}  // namespace
}  // namespace shadingctl
