#include "tools/shadingctl/replay/LibraryMessages.h"

#include <gtest/gtest.h>

#include <string>

#include "tools/shadingctl/replay/FrameResult.h"

namespace shadingctl {
namespace {

FrameMessages Read(std::string const& message) {
  LibraryMessages reader;
  reader.BeginFrame();
  reader.Read(message);
  return reader.Frame();
}

TEST(LibraryMessages, OnlyTheCalculationsOwnQuestionTellsThatThereIsNoMonitor) {
  std::string const warning = "Sensor Monitor not registered sensorId:0 (f){#12:file}";
  FrameResult const asked = Judge({true, false, false}, Read("[IsEnabled] " + warning));
  EXPECT_EQ(Name(asked.match) + (", " + asked.message), "off, the camera has no monitor");
  EXPECT_FALSE(Read("[UpdateSensorData] " + warning).notRegistered);
}

// A message that ends early tells what it still tells, and nothing else.
TEST(LibraryMessages, MessagesThatEndEarlyAreHarmless) {
  for (std::string const message : {
           "[updateSensorData] update sensor data F:(9) TS:(5000) size:16, queue size:3, timestamp interv:60 - 7",
           "[getDataByTimestamp]  total data size:1",
           "[CalcOISValue] camera_id = 0, type = 0, oisCount = 4, sof_timestamp = 10000, exposure_time = 9, "
           "shutter_time = 8, timeDiff = -3",
           "[CalcOISValue] get source ois data index = 0, timestamp = 5",
           "[CalcOISValue] startIndex, index = 0, timestamp Difference = 1",
           "[CalcOISValue] stamp_up = 200, i = 1, stamp_down = 3",
           "[CalcOISValue] startIndex = 1, endIndex = 1",
       }) {
    for (std::size_t length = 0; length < message.size(); ++length) {
      FrameMessages const frame = Read(message.substr(0, length));
      EXPECT_FALSE(frame.batch || frame.buffered || frame.samples || frame.span || frame.done || frame.spanStartUs ||
                   frame.firstCandidate || frame.start)
          << message.substr(0, length);
    }
  }
}

}  // namespace
}  // namespace shadingctl
