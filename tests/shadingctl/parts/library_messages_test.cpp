#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tools/shadingctl/frame/Frame.h"
#include "tools/shadingctl/log/FrameMessages.h"

namespace shadingctl {
namespace {

FrameMessages Read(std::string const& message) {
  FrameMessages frame;
  frame.Add(message);
  return frame;
}

TEST(LibraryMessages, OnlyTheCalculationsOwnQuestionTellsThatThereIsNoMonitor) {
  std::string const warning = "Sensor Monitor not registered sensorId:0 (IsEnabled){#12:file}";
  FrameResult const asked = Judge({true, false, false}, Read("[IsEnabled] " + warning), {});
  EXPECT_EQ(Name(asked.match) + (", " + asked.message), "off, camera without a monitor");
  EXPECT_FALSE(Read("[UpdateSensorData] " + warning).notRegistered);
}

// A message cut anywhere gives no values and counts as damaged; only a cut inside an integer at its very end cannot be
// noticed.
TEST(LibraryMessages, MessagesThatAreCutAreDamaged) {
  for (std::string const message : {
           "[updateSensorData] update sensor data F:(9) TS:(5000) size:16, queue size:3, timestamp interv:60 - 7",
           "[getDataByTimestamp]  total data size:1",
           "[getDataByTimestamp] match data offset:6 timestamp:7",
           "[getSensorData]  get sensor data F:(0) TS:(5000) data size:1",
           "[CalcOISValue] camera_id = 0, type = 0, oisCount = 4, sof_timestamp = 10000, exposure_time = 9, "
           "shutter_time = 8, timeDiff = -3",
           "[CalcOISValue] get source ois data index = 0, timestamp = 5, oisHall_x = 1.500000, oisHall_y = -2.250000",
           "[CalcOISValue] startIndex, index = 0, timestamp Difference = 1",
           "[CalcOISValue] stamp_up = 200, i = 1, stamp_down = 3, i+1 = 2",
           "[CalcOISValue] endIndex, i = 4, timestamp Difference = 1",
           "[CalcOISValue] startIndex = 1, endIndex = 1",
           "[CalcOISValue] Match OIS data, sof_timestamp = 12, activeNum = 3, hall = (1.000000, -2.000000), timestamp "
           "= 4",
           "[CalcOISValue] camera_id = 0, frame_id = -1, g_oisDebug = 1, out_frame_ois_size(2, 2), "
           "out_frame_ois0(x = 1.000000, y=2.000000), out_frame_ois1(x = 0.000000, y=0.000000)",
       }) {
    std::size_t const operation = message.find("] ") + 2;
    for (std::size_t length = operation; length < message.size(); ++length) {
      FrameMessages const frame = Read(message.substr(0, length));
      EXPECT_EQ(frame.damaged, 1U) << message.substr(0, length);
      EXPECT_FALSE(frame.batch || frame.buffered || frame.matched || frame.query || frame.times || frame.span ||
                   frame.Done() || !frame.source.empty() || frame.firstCandidate || frame.start ||
                   frame.firstEndCandidate || frame.spanEntries > 0)
          << message.substr(0, length);
    }
    EXPECT_EQ(Read(message).damaged, 0U) << message;
    EXPECT_EQ(Read(message + "x").damaged, 1U) << message;
  }
}

}  // namespace
}  // namespace shadingctl
