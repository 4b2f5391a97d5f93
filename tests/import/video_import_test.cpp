// Recordings of VideoIMUCapture: whole, in pieces, cut and damaged.
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <limits>
#include <ostream>
#include <string>

#include "hosting/UnusableInput.h"
#include "recording/Recording.h"
#include "tests/import/VideoBytes.h"
#include "tests/shadingctl/Program.h"
#include "tools/import/Imports.h"

namespace shadingctl {
namespace {

struct Imported {
  std::size_t frames = 0;
  std::string samples;  // the lines of hall.csv
  std::string refusal;
};

class VideoImport : public testing::Test {
 protected:
  Imported Import(std::string const& bytes, bool salvage = false) const {
    mDirectory.Write("meta.pb3", bytes);
    ImportArguments arguments;
    arguments.file = mDirectory.Path() + "/meta.pb3";
    arguments.salvage = salvage;
    Imported imported;
    try {
      auto const source = OpenVideo(arguments);
      std::uint64_t number = 0;
      for (recording::Call call; source->Next(call);) {
        ++number;
        if (std::holds_alternative<recording::CalcOisValue>(call.operation)) ++imported.frames;
        if (auto const* update = std::get_if<recording::UpdateSensorData>(&call.operation)) {
          recording::AppendSamples(imported.samples, number, update->batch);
        }
      }
    } catch (hosting::UnusableInput const& refused) {
      imported.refusal = refused.what();
    }
    return imported;
  }

  TemporaryDirectory const mDirectory;
};

TEST_F(VideoImport, AddsTheExposureAndDeliversSamplesWithTheirFrames) {
  mDirectory.Write("meta.pb3", Piece(FirstFrame()) + Piece(SecondFrame()));
  Outcome const outcome =
      RunScript("cd '" + mDirectory.Path() + "' && shadingctl import meta.pb3 -o r --scale-x -2 --scale-y 0.5");
  EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
  EXPECT_EQ(outcome.out, "r: 2 frames, 3 samples\n");
  std::string const made = mDirectory.Path() + "/r/";
  EXPECT_EQ(
      Columns(ReadFile(made + "calls.csv"), "call,kind,rolling_shutter_ns,frame,timestamp_ns,samples,exposure_ns"),
      "1,register_start,,,,,\n2,readout,300,,,,\n3,update,,41,1500,2,\n4,calculate,,41,1500,,500\n"
      "5,update,,43,2500,1,\n6,calculate,,43,2500,,500\n7,stop,,,,,\n");
  EXPECT_EQ(Columns(ReadFile(made + "hall.csv"), "call,timestamp_ns,hall_x,hall_y"),
            "3,900,-3,-0.125\n3,1400,-5,0\n5,1900,6,4\n");
  EXPECT_NE(LineOf(ReadFile(made + "recording.csv"), "batches,rebuilt"), "");
  ExpectGolden(outcome.err, "video.txt");
}

TEST_F(VideoImport, PassesOverOtherFieldsWhereverTheyStand) {
  std::string bytes;
  std::string const inner = Piece(FirstFrame()).substr(2) + OtherFields()[2] + OtherFields()[3];
  for (std::string const& other : OtherFields()) bytes += other;
  bytes += "\x2A" + std::string(1, static_cast<char>(inner.size())) + inner;
  for (std::string const& other : OtherFields()) bytes += other;
  bytes += std::string("\x32\xFF\xFF\x03", 4) + std::string(65535, 'x') + Piece(SecondFrame());
  Imported const imported = Import(bytes);
  EXPECT_EQ(imported.refusal, "");
  EXPECT_EQ(imported.frames, 2U);
  EXPECT_EQ(imported.samples, "3,900,1.5,-0.25\n3,1400,2.5,0\n5,1900,-3,8\n");
}

TEST_F(VideoImport, OfAFileCutBehindAnyByteIsRefusedWithWhatIsWhole) {
  std::string const first = Piece(FirstFrame());
  std::string const other = OtherFields()[0] + OtherFields()[2];
  std::string const whole = first + other + Piece(SecondFrame());
  std::size_t const afterNumber = first.size() + OtherFields()[0].size();
  std::size_t const beforeSecond = first.size() + other.size();
  for (std::size_t size = 1; size <= whole.size(); ++size) {
    std::size_t const frames = size == whole.size() ? 2 : size >= first.size() ? 1 : 0;
    std::size_t const begin = size < first.size()   ? 0
                              : size < afterNumber  ? first.size()
                              : size < beforeSecond ? afterNumber
                                                    : beforeSecond;
    bool const isWhole = size == begin || size == first.size() || size == whole.size();
    std::string const bytes = whole.substr(0, size);
    Imported const refused = Import(bytes);
    EXPECT_EQ(refused.refusal.empty(), isWhole) << size << refused.refusal;
    if (!isWhole) {
      EXPECT_NE(refused.refusal.find(fmt::format("meta.pb3: byte {}: expected a whole field, found the end of the file "
                                                 "after {} bytes, so it is cut; the {} frames with {} samples before",
                                                 begin, size, frames, 2 * frames)),
                std::string::npos)
          << refused.refusal;
    }
    Imported const salvaged = Import(bytes, true);
    EXPECT_EQ(salvaged.frames, frames) << size;
    EXPECT_EQ(salvaged.refusal.empty(), frames > 0) << size << salvaged.refusal;
  }
}

TEST_F(VideoImport, WithAnyByteChangedIsReadOrRefused) {
  std::string const whole = Piece(FirstFrame()) + OtherFields()[2] + Piece(SecondFrame());
  for (std::size_t at = 0; at < whole.size(); ++at) {
    for (int const mask : {0x01, 0x04, 0x80, 0xFF}) {
      std::string bytes = whole;
      bytes[at] = static_cast<char>(bytes[at] ^ mask);
      Imported const imported = Import(bytes);
      EXPECT_LE(imported.frames, 2U) << at;
    }
  }
}

struct Damage {
  std::string bytes;
  std::size_t salvaged;  // frames
};

TEST_F(VideoImport, OfADamagedFileSaysWhereAndWhatWasExpected) {
  using namespace std::string_literals;
  std::string const first = Piece(FirstFrame());
  Damage const damages[] = {
      {"", 0},
      {OtherFields()[2], 0},
      {first + "\0\0\0\0"s, 1},
      {first + "\x2B"s, 1},
      {first + "\x2A\xFF\xFF\xFF\xFF\x0F"s, 1},
      {first + "\x2A\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\x01"s, 1},
      {first + "\x32\xFF\xFF\xFF\xFF\xFF\x01"s, 1},
      {first + "\x32\xFF\xFF\xFF\x7F"s, 1},
      {first + "\x08"s + std::string(11, '\xFF'), 1},
      {first + "\x2A\x81\x80\x80\x02"s, 1},
      {first + "\x2A\x02\x08\xFF"s, 1},
      {"a text\n", 0},
  };
  ASSERT_EQ(first.size(), 41U);
  std::string told;
  for (Damage const& damage : damages) {
    std::string const refusal = Import(damage.bytes).refusal;
    EXPECT_EQ(Import(damage.bytes, true).frames, damage.salvaged) << refusal;
    told += refusal + "\n";
  }
  ExpectGolden(Replaced(told, mDirectory.Path(), "DIR"), "video-damages.txt");
}

TEST_F(VideoImport, OfAFrameThatCannotBeIsRefusedByFieldAlsoWhenSalvaging) {
  using Frame = videoimu::VideoFrameMetaData;
  using Change = void (*)(Frame&);
  Change const changes[] = {
      [](Frame& frame) { frame.set_frame_number(41); },
      [](Frame& frame) { frame.set_frame_number(1LL << 32); },
      [](Frame& frame) { frame.set_exposure_time_ns(0); },
      [](Frame& frame) { frame.set_frame_readout_ns(0); },
      [](Frame& frame) { frame.set_frame_readout_ns(1LL << 32); },
      [](Frame& frame) { frame.set_time_ns(-1); },
      [](Frame& frame) { frame.set_time_ns(std::numeric_limits<std::int64_t>::max()); },
      [](Frame& frame) { frame.mutable_ois_samples(0)->set_x_shift(std::numeric_limits<float>::quiet_NaN()); },
  };
  std::string told;
  for (Change const change : changes) {
    Frame second = SecondFrame();
    change(second);
    told += Import(Piece(FirstFrame()) + Piece(second), true).refusal + "\n";
  }
  ExpectGolden(Replaced(told, mDirectory.Path(), "DIR"), "video-frames.txt");
}

TEST_F(VideoImport, OfACutFileLeavesNothingBehindOrTakesWhatIsWhole) {
  mDirectory.Write("meta.pb3", Piece(FirstFrame()) + "\x2A\x05");
  std::string const in = "cd '" + mDirectory.Path() + "' && shadingctl import meta.pb3 -o new/r; echo $?; ls new; ";
  EXPECT_EQ(RunScript(in).out, "3\n");
  Outcome const salvaged = RunScript("cd '" + mDirectory.Path() + "' && shadingctl import meta.pb3 -o new/r --salvage");
  EXPECT_EQ(salvaged.out, "new/r: 1 frames, 2 samples\n");
  EXPECT_NE(salvaged.err.find("byte 41: "), std::string::npos) << salvaged.err;
}

}  // namespace
}  // namespace shadingctl
