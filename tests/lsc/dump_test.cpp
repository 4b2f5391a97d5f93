// Dump files: written where, when and how.

#include <unistd.h>

#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <limits>
#include <map>
#include <sstream>

#include "tests/support/FrameSession.h"

namespace {

namespace fs = std::filesystem;

constexpr char kDirectory[] = "data/vendor/camera_dump";
constexpr std::uint32_t kShortReadoutNs = 1'400'000;  // the span is entry 49 or 50 and the next

// In a working directory of its own.
class Dump : public FrameSession {
 protected:
  Dump() : home(fs::current_path()) {
    std::string name = (fs::temp_directory_path() / "dumpXXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) std::abort();
    place = name;
    fs::current_path(place);
    fs::create_directories(kDirectory);
  }
  ~Dump() override {
    fs::current_path(home);
    fs::remove_all(place);
  }

  void StartDumping(Samples const& samples) {
    Start(0, samples);
    SetReadout(kShortReadoutNs);
    g_preOisDump = g_capOisDump = 1;
  }

  // Every file below the working directory with its content; they are removed.
  static std::map<std::string, std::string> TakeFiles() {
    std::map<std::string, std::string> files;
    for (auto const& entry : fs::recursive_directory_iterator(".")) {
      if (!entry.is_regular_file()) continue;
      std::stringstream content;
      content << std::ifstream(entry.path()).rdbuf();
      files[entry.path().lexically_relative(".").string()] = content.str();
    }
    for (auto const& file : files) fs::remove(file.first);
    return files;
  }

  fs::path home, place;
};

// With an offset of -926 us (0.5432 x 1400 us and 166) entry 55 lies 328 us after the start of the frame.
Samples ShortSession() {
  Samples samples = EvenSamples(100, kFirstSampleNs, kMillisecondNs);
  samples[55].oisHallX = -0.5F;
  samples[55].oisHallY = 1234.125F;
  samples[56].oisHallX = -2.25F;
  samples[56].oisHallY = 1e10F;
  return samples;
}

TEST_F(Dump, EveryKindOfFrameHasItsFileAndItsSwitch) {
  StartDumping(ShortSession());
  std::string const preview = std::string(kDirectory) + "/preview_camera_0_frame_42_oishall.txt";
  std::string const capture = std::string(kDirectory) + "/capture_camera_0_frame_42_999990000_oishall.txt";
  for (int const type : {0, 1, 4, 5, 6}) {
    bool const isPreview = type == 0 || type == 4;
    for (auto const& [previewSwitch, captureSwitch] :
         {std::pair{0, 0}, {1, 0}, {-1, 0}, {0, 1}, {0, -1}, {-1, -1}, {2, 2}}) {
      g_preOisDump = previewSwitch;
      g_capOisDump = captureSwitch;
      Run(type);
      auto const files = TakeFiles();
      bool const isOn = (isPreview ? previewSwitch : captureSwitch) != 0;
      ASSERT_EQ(files.size(), isOn ? 1U : 0U) << type << ' ' << previewSwitch << ' ' << captureSwitch;
      EXPECT_TRUE(!isOn || files.count(isPreview ? preview : capture) == 1) << type;
    }
  }
}

TEST_F(Dump, TheTextIsTheSameInEveryLocaleAndReplacesALongerOne) {
  setenv("LOCPATH", LOCALE_DIRECTORY, 1);  // de_DE writes a comma where others write a point
  StartDumping(ShortSession());
  frameId = 2'147'483'648U;
  for (char const* locale : {"C", "de_DE.UTF-8"}) {
    std::ofstream(std::string(kDirectory) + "/preview_camera_0_frame_-2147483648_oishall.txt")
        << std::string(1'000, 'x');
    ASSERT_NE(std::setlocale(LC_ALL, locale), nullptr) << locale;
    Run(0);
    auto const files = TakeFiles();
    std::setlocale(LC_ALL, "C");
    ASSERT_EQ(files.size(), 1U);
    EXPECT_EQ(files.begin()->first, "data/vendor/camera_dump/preview_camera_0_frame_-2147483648_oishall.txt");
    EXPECT_EQ(files.begin()->second,
              "frame: -2147483648\n"
              "\t\"OIS hall X\": -0.500000\n"
              "\t\"OIS hall Y\": 1234.125000\n"
              "\t\"OIS hall X\": -2.250000\n"
              "\t\"OIS hall Y\": 10000000000.000000\n"
              "\t\"match ois hall0 X\": -1.375000\n"
              "\t\"match ois hall0 y\": 5000000512.000000\n"
              "\t\"match ois hall1 X\": 0.000000\n"
              "\t\"match ois hall1 y\": 0.000000\n"
              "\t\"exposure_time\": 10000\n"
              "\t\"shutter_time\": 1400\n");
  }
}

TEST_F(Dump, TheCallersElementsAreWrittenAndThoseThatItLacksAreZero) {
  StartDumping(ShortSession());
  g_oisDebug = 0;
  struct {
    std::vector<double> x, y;
    char const* lines;
  } const rows[] = {{{1.5, 2.5},
                     {3.5, 4.5, 5.5},
                     "\t\"match ois hall0 X\": 1.500000\n"
                     "\t\"match ois hall0 y\": 3.500000\n"
                     "\t\"match ois hall1 X\": 2.500000\n"
                     "\t\"match ois hall1 y\": 4.500000\n"},
                    {{3.5},
                     {},
                     "\t\"match ois hall0 X\": 3.500000\n"
                     "\t\"match ois hall0 y\": 0.000000\n"
                     "\t\"match ois hall1 X\": 0.000000\n"
                     "\t\"match ois hall1 y\": 0.000000\n"}};
  for (auto const& row : rows) {
    x = row.x;
    y = row.y;
    Run(1);
    auto const files = TakeFiles();
    ASSERT_EQ(files.size(), 1U);
    EXPECT_THAT(files.begin()->second, testing::HasSubstr(row.lines));
  }
}

TEST_F(Dump, NothingIsWrittenWithoutASpanOrWithoutTheDirectory) {
  StartDumping(ShortSession());
  SetReadout(0);
  Run(0);
  EXPECT_TRUE(TakeFiles().empty()) << "no span";

  SetReadout(kShortReadoutNs);
  fs::remove_all("data");
  Logged();
  x.clear();
  Run(0);
  EXPECT_TRUE(TakeFiles().empty());
  EXPECT_FALSE(fs::exists("data"));
  EXPECT_EQ(x.size(), 2U) << "the position is handed out all the same";
  EXPECT_EQ(Logged().size(), 1U) << "the final message only";
}

}  // namespace
