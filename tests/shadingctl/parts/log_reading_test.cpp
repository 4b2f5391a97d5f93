// Lines of a log, and the calls that they are put together to.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "hosting/UnusableInput.h"
#include "tools/shadingctl/log/LogLine.h"
#include "tools/shadingctl/log/LoggedCalls.h"

namespace shadingctl {
namespace {

constexpr char const* kMessage = "[CalcOISValue] activeNum:100";

TEST(LogLines, EveryFormatOfALogIsRead) {
  struct {
    char const* line;
    char const* format;
    std::optional<std::int64_t> process;
    std::int64_t thread;
    std::optional<std::int64_t> milliseconds;  // of the minute
  } const rows[] = {
      {"01-02 03:04:05.678  1234  5678 I VeyraShadingUtil: ", "threadtime", 1234, 5678, 5678},
      {"2024-01-02 03:04:05.678901  1234  5678 W VeyraShadingUtil: ", "threadtime", 1234, 5678, 5678},
      {"01-02 03:04:05.678 +0200  1234  5678 D VeyraShadingUtil: ", "threadtime", 1234, 5678, 5678},
      {"01-02 03:04:05.678  1047  1234  5678 I VeyraShadingUtil: ", "threadtime", 1234, 5678, 5678},
      {"1704164645.678  1234  5678 I VeyraShadingUtil: ", "threadtime", 1234, 5678, 5678},
      {"  65.678  1234  5678 I VeyraShadingUtil : ", "threadtime", 1234, 5678, 5678},
      {"01-02 03:04:05.678 I/VeyraShadingUtil( 1234): ", "time", {}, 0, 5678},
      {"I/VeyraShadingUtil( 1234): ", "brief", {}, 0, {}},
      {"I/VeyraShadingUtil: ", "tag", {}, 0, {}},
      {"17: ", "replay --log", {}, 0, {}},
      {"-: ", "replay --log", {}, 0, {}},
      {"", "raw", {}, 0, {}},
  };
  for (auto const& row : rows) {
    for (char const* const end : {"", "\r"}) {
      LogParser parser;
      std::string const line = row.line + std::string(kMessage) + end;
      auto const entry = parser.Add(line);
      ASSERT_TRUE(entry) << row.line;
      EXPECT_STREQ(Name(entry->format), row.format) << row.line;
      EXPECT_EQ(entry->message, kMessage) << row.line;
      EXPECT_EQ(entry->thread.has_value(), row.process.has_value()) << row.line;
      LogThread const thread = entry->thread.value_or(LogThread{});
      EXPECT_EQ(thread.process, row.process.value_or(0)) << row.line;
      EXPECT_EQ(thread.thread, row.thread) << row.line;
      auto const timeUs = entry->timeUs;
      EXPECT_EQ(timeUs ? std::optional(*timeUs % 60000000 / 1000) : std::nullopt, row.milliseconds) << row.line;
    }
  }
}

std::optional<std::int64_t> TimeOf(std::string const& time) {
  LogParser parser;
  std::string const line = time + "  1  2 I VeyraShadingUtil: x";
  auto const entry = parser.Add(line);
  return entry ? entry->timeUs : std::nullopt;
}

TEST(LogLines, TimesGrowFromLineToLineAndThoseOfNoClockAreRefused) {
  struct {
    char const* earlier;
    char const* later;
    std::int64_t passedUs;
  } const rows[] = {
      {"01-02 03:04:05.678", "01-02 03:04:05.679", 1000},
      {"01-02 03:59:59.999999", "01-02 04:00:00.000", 1},
      {"01-02 23:59:59.000", "01-03 00:00:00.000", 1000000},
      {"2024-12-31 23:59:00.000", "2025-01-01 00:00:00.000", 60000000},
      {"1704164645.678", "1704164646.000001", 322001},
      {"12-31 24:60:60.000", "12-31 24:60:61.000", 1000000},
  };
  for (auto const& row : rows) {
    auto const earlierUs = TimeOf(row.earlier);
    auto const laterUs = TimeOf(row.later);
    ASSERT_TRUE(earlierUs && laterUs) << row.later;
    EXPECT_EQ(*laterUs - *earlierUs, row.passedUs) << row.later;
  }
  for (char const* const time : {"13-02 03:04:05.678", "12-32 03:04:05.678", "12-02 25:04:05.678", "12-02 03:61:05.678",
                                 "12-02 03:04:62.678", "10000-12-02 03:04:05.678", "2024-13-02 03:04:05.678",
                                 "2024-12-32 03:04:05.678", "12-02 03:04:05", "12-02 -3:04:05.678"}) {
    EXPECT_FALSE(TimeOf(time)) << time;
  }
}

TEST(LogLines, TheLongFormatHasItsHeadOnALineOfItsOwn) {
  LogParser parser;
  EXPECT_FALSE(parser.Add("[ 01-02 03:04:05.678  1234: 5678 I/VeyraShadingUtil ]\r"));
  std::string const line = std::string(kMessage) + "\r";
  auto const entry = parser.Add(line);
  ASSERT_TRUE(entry);
  EXPECT_STREQ(Name(entry->format), "long");
  EXPECT_EQ(entry->message, kMessage);
  EXPECT_EQ(entry->thread->thread, 5678);
  EXPECT_EQ(entry->line, 2U);
  EXPECT_FALSE(parser.Add("\r"));
  EXPECT_FALSE(parser.Add("[ 01-02 03:04:05.679  1234: 5678 I/Other ]"));
  EXPECT_FALSE(parser.Add(kMessage)) << "of another tag, whatever its text";
  EXPECT_EQ(parser.Counts().otherTags, 1U);
}

TEST(LogLines, WhatIsNoMessageOfTheLibraryIsCounted) {
  LogParser parser;
  for (char const* const line :
       {"--------- beginning of main", "01-02 03:04:05.678  1  2 I Other: [CalcOISValue] activeNum:100",
        "01-02 03:04:05.678  1  2 I chatty: uid=1047(cameraserver) expire 25 lines",
        "01-02 03:04:05.678  1  2 I chatty: uid=1047(cameraserver) identical 1 line", "what is this",
        "01-02 03:04:05.678  1  2 I VeyraShading", "99999999999999999999.1  1  2 I VeyraShadingUtil: x"}) {
    EXPECT_FALSE(parser.Add(line)) << line;
  }
  EXPECT_EQ(parser.Counts().lines, 7U);
  EXPECT_EQ(parser.Counts().otherTags, 3U);
  EXPECT_EQ(parser.Counts().droppedByLog, 26U);
  EXPECT_EQ(parser.Counts().unreadable, 3U);
  EXPECT_EQ(parser.Counts().firstUnreadable, 5U);
  EXPECT_FALSE(parser.Add("[a] " + std::string(1018, 'x'))->isCut) << "1022 characters";
  EXPECT_TRUE(parser.Add("[a] " + std::string(1019, 'x'))->isCut);
}

// One frame of a session, as text: four samples instead of 100 are enough to see how lines are put together.
std::vector<std::string> LoggedFrame(int camera, int frame, int timeUs) {
  auto const number = [](long value) { return std::to_string(value); };
  std::vector<std::string> lines = {
      "[IsEnabled] sensor:" + number(camera) + " enabled",
      "[QueryRollingShutter] query rolling shutter:2000000",
      "[getDataByTimestamp]  total data size:4",
      "[getDataByTimestamp] match data offset:0 timestamp:1",
      "[getSensorData]  get sensor data F:(0) TS:(" + number(timeUs) + "000) data size:4",
      "[QuerySensorData]  get sensor data size:4",
      "[CalcOISValue] camera_id = " + number(camera) + ", type = 0, oisCount = 4, sof_timestamp = " + number(timeUs) +
          ", exposure_time = 0, shutter_time = 2000, timeDiff = -166",
  };
  for (int i = 0; i < 4; ++i) {
    lines.push_back("[CalcOISValue] get source ois data index = " + number(i) + ", timestamp = " +
                    number(timeUs - 166 + 1000 * i) + ", oisHall_x = " + number(i) + ".000000, oisHall_y = -1.500000");
  }
  for (std::string const& line : {
           std::string("activeNum:4"),
           std::string("startIndex, index = 0, timestamp Difference = 0"),
           std::string("stamp_up = 0, i = 0, stamp_down = 1000, i+1 = 1"),
           std::string("endIndex, i = 0, timestamp Difference = 2000"),
           std::string("endIndex, i = 1, timestamp Difference = 1000"),
           std::string("startIndex = 0, endIndex = 2"),
           "Match OIS data, sof_timestamp = " + number(timeUs) +
               ", activeNum = 3, hall = (0.000000, -1.500000), timestamp = " + number(timeUs),
           "Match OIS data, sof_timestamp = " + number(timeUs) +
               ", activeNum = 3, hall = (1.000000, -1.500000), timestamp = " + number(timeUs + 1000),
           "Match OIS data, sof_timestamp = " + number(timeUs) +
               ", activeNum = 3, hall = (2.000000, -1.500000), timestamp = " + number(timeUs + 2000),
           "camera_id = " + number(camera) + ", frame_id = " + number(frame) +
               ", g_oisDebug = 1, out_frame_ois_size(2, 2), out_frame_ois0(x = 1.000000, y=-1.500000), "
               "out_frame_ois1(x = 0.000000, y=0.000000)",
       }) {
    lines.push_back("[CalcOISValue] " + line);
  }
  return lines;
}

constexpr std::size_t kFrameLines = 21;

std::vector<LoggedCall> CallsIn(std::vector<std::string> const& lines, std::uint64_t* damaged = nullptr) {
  std::vector<LoggedCall> calls;
  CallAssembler assembler("log", [&](LoggedCall&& call) { calls.push_back(std::move(call)); });
  for (std::string const& line : lines) assembler.Add(line);
  assembler.Finish();
  if (damaged != nullptr) *damaged = assembler.Counts().damaged;
  return calls;
}

std::string InThread(int thread, std::string const& message, int millisecond = 0) {
  return "01-02 03:04:05." + std::to_string(100 + millisecond) + "  77  " + std::to_string(thread) +
         " I VeyraShadingUtil: " + message;
}

TEST(LoggedCalls, TwoFramesWithAnyOneLineMissingAreStillTwoFrames) {
  auto const first = LoggedFrame(0, 5, 1000000);
  auto const second = LoggedFrame(0, 6, 1016667);
  ASSERT_EQ(first.size(), kFrameLines);
  for (std::size_t missing = 0; missing <= 2 * kFrameLines; ++missing) {
    std::vector<std::string> lines = first;
    lines.insert(lines.end(), second.begin(), second.end());
    bool const isWhole = missing == 2 * kFrameLines;
    std::string const lost = isWhole ? "nothing" : lines[missing];
    if (!isWhole) lines.erase(lines.begin() + static_cast<std::ptrdiff_t>(missing));
    auto const calls = CallsIn(lines);
    ASSERT_EQ(calls.size(), 2U) << lost;
    EXPECT_EQ(calls[0].frame.value_or(5), 5U) << lost;
    EXPECT_EQ(calls[1].frame.value_or(6), 6U) << lost;
    EXPECT_EQ(calls[0].timestampNs, 1000000000U) << lost;
    EXPECT_EQ(calls[1].timestampNs, 1016667000U) << lost;
    EXPECT_EQ(calls[0].lost + calls[1].lost, isWhole ? 0U : 1U) << lost;
    bool const costsWindow = lost.find("source") != std::string::npos || lost.find("oisCount") != std::string::npos ||
                             lost.find("frame_id") != std::string::npos;
    EXPECT_EQ(calls[0].IsWhole() && calls[1].IsWhole(), !costsWindow) << lost;
  }
}

TEST(LoggedCalls, ALineThatIsCutOrOfAnotherTagCostsItselfOnly) {
  for (std::size_t at = 0; at < kFrameLines; ++at) {
    auto const frame = LoggedFrame(0, 5, 1000000);
    std::vector<std::string> lines;
    for (auto const& message : frame) lines.push_back(InThread(9, message));
    lines[at].resize(lines[at].size() - 2);  // in the decimals, or in front of a single digit
    lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(at),
                 "01-02 03:04:05.100  77  9 I Other: [CalcOISValue] activeNum:7");
    std::uint64_t damaged = 0;
    auto const calls = CallsIn(lines, &damaged);
    ASSERT_EQ(calls.size(), 1U) << frame[at];
    EXPECT_LE(damaged, 1U);
    EXPECT_EQ(calls[0].lost, damaged) << frame[at];
  }
}

TEST(LoggedCalls, ThreadsThatMingleAreToldApart) {
  auto const first = LoggedFrame(0, 5, 1000000);
  auto const second = LoggedFrame(2, 8, 1000100);
  std::vector<std::string> lines;
  std::vector<std::string> plain;
  for (std::size_t i = 0; i < kFrameLines; ++i) {
    lines.push_back(InThread(9, first[i]));
    lines.push_back(InThread(10, second[i]));
    plain.push_back("I/VeyraShadingUtil( 77): " + first[i]);
    plain.push_back("I/VeyraShadingUtil( 77): " + second[i]);
  }
  auto const calls = CallsIn(lines);
  ASSERT_EQ(calls.size(), 2U);
  EXPECT_EQ(calls[0].camera, 0);
  EXPECT_EQ(calls[1].camera, 2);
  EXPECT_EQ(calls[0].lost + calls[1].lost, 0U);
  EXPECT_TRUE(calls[0].IsWhole() && calls[1].IsWhole());
  try {
    CallsIn(plain);
    ADD_FAILURE() << "lines of two cameras without thread ids were accepted";
  } catch (hosting::UnusableInput const& unusable) {
    EXPECT_STREQ(
        unusable.what(),
        "log:2: expected thread ids, as in the formats threadtime and long, where the lines of two cameras mingle; "
        "found the format brief, with camera 2 inside a call of camera 0 that began at line 1");
  }
}

// The end of one frame and the beginning of the next are lost, and what is left fits together line by line.
TEST(LoggedCalls, APauseSeparatesWhatIsLeftOfTwoFrames) {
  auto const first = LoggedFrame(0, 5, 1000000);
  auto const second = LoggedFrame(0, 6, 1016667);
  std::vector<std::string> lines;
  for (std::size_t i = 0; i < 9; ++i) lines.push_back(InThread(9, first[i], 0));
  for (std::size_t i = 9; i < kFrameLines; ++i) lines.push_back(InThread(9, second[i], 16));
  auto const calls = CallsIn(lines);
  ASSERT_EQ(calls.size(), 2U);
  EXPECT_FALSE(calls[0].frame);
  EXPECT_EQ(calls[1].frame, 6U);
  EXPECT_FALSE(calls[0].IsWhole() || calls[1].IsWhole());
}

TEST(LoggedCalls, AFrameWithoutSamplesHasTheNumberOfItsBatch) {
  std::vector<std::string> const lines = {
      "[pushValue]  split data frameNumber: 7 lastData:4 data:5 splitTime:4999",
      "[updateSensorData] update sensor data F:(7) TS:(5000) size:5, queue size:3, timestamp interv:4999 - 9000",
      "[IsEnabled] sensor:0 enabled",
      "[QueryRollingShutter] query rolling shutter:2000000",
      "[getDataByTimestamp]  total data size:14",
      "[getDataByTimestamp] no data matched (getDataByTimestamp){#160:lsc/sensor/SampleBuffer.cpp}",
      "[getSensorData]  get sensor data F:(0) TS:(5000) data size:0",
      "[QuerySensorData]  get sensor data size:0",
      "[CalcOISValue] camera_id = 0, type = 0, oisCount = 0, sof_timestamp = 5, exposure_time = 0, shutter_time = "
      "2000, "
      "timeDiff = -166",
  };
  auto const calls = CallsIn(lines);
  ASSERT_EQ(calls.size(), 1U);
  EXPECT_EQ(calls[0].frame, 7U);
  EXPECT_EQ(calls[0].timestampNs, 5000U);
  EXPECT_EQ(calls[0].lost, 0U);
  EXPECT_TRUE(calls[0].messages.split);
  EXPECT_EQ(calls[0].messages.batch->lastNs, 9000U);
  EXPECT_TRUE(calls[0].messages.nothingMatched);
}

}  // namespace
}  // namespace shadingctl
