// What is written as a recording is read as the same calls.
#include <gtest/gtest.h>

#include <cfloat>
#include <filesystem>
#include <fstream>
#include <limits>
#include <string>

#include "recording/Recording.h"

namespace recording {
namespace {

Call CallAt(std::uint64_t timeNs, std::int32_t camera, decltype(Call::operation) operation) {
  Call call;
  call.timeNs = timeNs;
  call.camera = camera;
  call.operation = std::move(operation);
  return call;
}

NSCam::Utils::SensorData SampleAt(std::int64_t timeNs, float x, float y) {
  NSCam::Utils::SensorData sample;
  sample.timestamp = timeNs;
  sample.oisHallX = x;
  sample.oisHallY = y;
  return sample;
}

// Every value that can be left out is there in one call and missing in another; numbers are at the ends of their
// ranges.
std::vector<Call> CallsOfAllKinds() {
  constexpr std::uint64_t kMost = std::numeric_limits<std::uint64_t>::max();
  constexpr std::uint32_t kMost32 = std::numeric_limits<std::uint32_t>::max();
  CalcOisValue full;
  full.frame = kMost32;
  full.type = -7;
  full.pairs = {{{1, 2}, {kMost, 4}, {5, kMost}}};
  full.matched = true;
  full.answer = {false, FLT_TRUE_MIN, -FLT_MAX};
  CalcOisValue bare;
  bare.answer = CalcOisValue::Answer{true, std::nullopt, std::nullopt};
  return {
      CallAt(1, 0, StartMonitor{StartMonitor::Operation::kRegister, 3, true}),
      CallAt(2, 0, StartMonitor{StartMonitor::Operation::kStart, std::nullopt, false}),
      CallAt(kMost, -2147483648, StartMonitor{StartMonitor::Operation::kRegisterAndStart, -1, std::nullopt}),
      CallAt(4, 0, StoreRollingShutter{kMost32, kMost32 - 1}),
      CallAt(
          5, 0,
          UpdateSensorData{8, 9, {SampleAt(INT64_MIN, 0.1F, -16777216.0F), SampleAt(INT64_MAX, 1.0F / 3.0F, -0.0F)}}),
      CallAt(6, 0, UpdateSensorData{9, 10, {}}),
      CallAt(7, 2, full),
      {std::nullopt, std::nullopt, bare},
      CallAt(8, 0, StopMonitor{3}),
      CallAt(9, 0, StopMonitor{}),
  };
}

// Everything that a call holds, its floating-point numbers bit by bit.
std::string Told(Call const& call) {
  std::string text;
  AppendCall(text, 1, call);
  if (auto const* const update = std::get_if<UpdateSensorData>(&call.operation)) {
    for (auto const& sample : update->batch) {
      char line[128];
      std::snprintf(line, sizeof line, "%ld %a %a\n", sample.timestamp, static_cast<double>(sample.oisHallX),
                    static_cast<double>(sample.oisHallY));
      text += line;
    }
  } else if (auto const* const calc = std::get_if<CalcOisValue>(&call.operation); calc != nullptr && calc->answer) {
    char line[128];
    std::snprintf(line, sizeof line, "%a %a\n", static_cast<double>(calc->answer->hallX.value_or(0)),
                  static_cast<double>(calc->answer->hallY.value_or(0)));
    text += line;
  }
  return text;
}

TEST(RecordingRows, AreReadAsTheCallsThatWereWritten) {
  std::string directory = (std::filesystem::temp_directory_path() / "recording-XXXXXX").string();
  ASSERT_NE(mkdtemp(directory.data()), nullptr);
  std::vector<Call> const calls = CallsOfAllKinds();
  SessionSettings settings;
  settings.cameras = {{0, -2147483648, 2}};
  settings.calculationMode = 4;
  settings.batches = Batches::kFiled;
  std::string callRows = CallsHeader();
  std::string sampleRows = SamplesHeader();
  for (std::size_t i = 0; i < calls.size(); ++i) {
    auto const* const update = std::get_if<UpdateSensorData>(&calls[i].operation);
    std::optional<std::uint64_t> samples;
    if (update != nullptr) samples = update->batch.size() + 3;  // three of each were lost
    AppendCall(callRows, 2 * i + 1, calls[i], samples);         // so was every second call
    if (update != nullptr) AppendSamples(sampleRows, 2 * i + 1, update->batch);
  }
  std::ofstream(directory + "/recording.csv") << SettingsText(settings);
  std::ofstream(directory + "/calls.csv") << callRows;
  std::ofstream(directory + "/hall.csv") << sampleRows;

  auto const session = OpenRecording(directory);
  EXPECT_EQ(SettingsText(session->Settings()), SettingsText(settings));
  EXPECT_EQ(session->Settings().cameras, settings.cameras);
  EXPECT_EQ(session->FrameCount(), 2U);
  Call call;
  for (Call const& written : calls) {
    ASSERT_TRUE(session->Next(call));
    EXPECT_EQ(Told(call), Told(written));
  }
  EXPECT_FALSE(session->Next(call));
  EXPECT_EQ(session->Oddities().lostCalls.count, calls.size() - 1);
  EXPECT_EQ(session->Oddities().lostSamples.count, 6U);
  std::filesystem::remove_all(directory);
}

}  // namespace
}  // namespace recording
