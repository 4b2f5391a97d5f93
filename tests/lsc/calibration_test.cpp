// Calibration data, from an EEPROM dump file, of which nothing is trusted, to the caller.

#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "lsc/calibration/EepromFile.h"
#include "platform/desktop/CalibrationMount.h"
#include "platform/desktop/Memory.h"
#include "tests/support/PlayedDevice.h"

namespace {

namespace fs = std::filesystem;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;
using Bytes = std::vector<unsigned char>;

// How the system serves a read: at most so many bytes at once, and interrupted each time before.
struct Reading {
  std::size_t bytesAtOnce = ~std::size_t{0};
  bool isInterrupted = false;
};
Reading reading;
bool wasInterrupted = false;

constexpr char kRearFile[] = "rear_camera_eeprom_data.bin";
constexpr int kRear = 0x01;
constexpr int kFront = 0x02;

}  // namespace

// Stands in for the C library's pread and serves reads as `reading` says.
extern "C" ssize_t pread(int descriptor, void* bytes, std::size_t count, off_t offset) {
  wasInterrupted = reading.isInterrupted && !wasInterrupted;
  if (wasInterrupted) {
    errno = EINTR;
    return -1;
  }
  return syscall(SYS_pread64, descriptor, bytes, std::min(count, reading.bytesAtOnce), offset);
}

namespace {

// A directory that stands for the phone's, mounted once where this system allows it; the tests fill it.
struct MountedDirectory {
  fs::path path;
  std::string refusal;  // of the mount; else empty
};

MountedDirectory const& Mounted() {
  static MountedDirectory const mounted = [] {
    std::string name = (fs::temp_directory_path() / "calibrationXXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) std::abort();
    return MountedDirectory{name, desktop::MountCalibration(name)};
  }();
  return mounted;
}

fs::path const& CalibrationDirectory() { return Mounted().path; }

class Calibration : public PlayedDevice {
 protected:
  void SetUp() override {
    if (!Mounted().refusal.empty()) GTEST_SKIP() << Mounted().refusal;
  }

  Calibration() {
    for (auto const& entry : fs::directory_iterator(CalibrationDirectory())) fs::remove_all(entry);
    UseFileSinkOnly();
    ForgetConfiguration();
  }
  ~Calibration() override {
    for (auto const& entry : fs::directory_iterator(CalibrationDirectory())) fs::remove_all(entry);
  }

  void Configure(std::string const& key, std::vector<std::int32_t> const& values) {
    auto settings = device.Settings();
    settings.configuration["FeatureShading"][key] = values;
    device.Configure(settings);
  }

  void ForgetConfiguration() {
    auto settings = device.Settings();
    settings.configuration.erase("FeatureShading");
    device.Configure(settings);
  }

  static void WriteFile(std::string const& name, Bytes const& bytes) {
    std::ofstream file(CalibrationDirectory() / name, std::ios::binary);
    file.write(reinterpret_cast<char const*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  }

  // The index that a fresh library answers.
  int Index(int mask) {
    library = NewLibrary(0);
    return IndexAgain(mask);
  }
  int IndexAgain(int mask) {
    int index = 77;
    library->VeyraGetMultiTableIndex(index, mask);
    return index;
  }

  // The first `size` bytes of a caller's buffer of 0xEE after the call; checks that nothing beyond is written.
  Bytes Block(int mask, std::size_t size) {
    Bytes out(size + 64, 0xEE);
    library->VeyraGetPNCCaliData(out.data(), mask);
    EXPECT_THAT(Bytes(out.begin() + static_cast<std::ptrdiff_t>(size), out.end()), Each(0xEE)) << "beyond the data";
    out.resize(size);
    return out;
  }

  std::unique_ptr<VeyraShadingUtil> library = NewLibrary(0);
};

// ---- Multi-table index

class MultiTable : public Calibration {
 protected:
  MultiTable() { Configure("multiGolden[0]", {16}); }

  static Bytes Record(int valid, int magnitude, int sign) {
    Bytes file(16 + 11, 0xAA);
    file[16 + 0] = static_cast<unsigned char>(valid);
    file[16 + 5] = static_cast<unsigned char>(magnitude);
    file[16 + 6] = static_cast<unsigned char>(sign);
    file[16 + 10] = 200;
    return file;
  }
};

TEST_F(MultiTable, TheSignedGradientChoosesTheTable) {
  struct {
    int valid, magnitude, sign, index, gradient, flag;
  } const rows[] = {{1, 0, 0, 1, 0, 0},       {1, 4, 0, 1, 4, 0},         {1, 5, 0, 2, 5, 0},
                    {1, 8, 128, 2, 8, 128},   {1, 9, 128, 4, 9, 128},     {1, 255, 0, 4, 255, 0},
                    {1, 4, 129, 1, -4, -127}, {1, 5, 255, 3, -5, -1},     {1, 8, 200, 3, -8, -56},
                    {1, 9, 129, 5, -9, -127}, {1, 255, 255, 5, -255, -1}, {0, 9, 129, 1, 0, 129},
                    {2, 9, 0, 1, 0, 0},       {255, 9, 255, 1, 0, 255}};
  for (auto const& row : rows) {
    WriteFile(kRearFile, Record(row.valid, row.magnitude, row.sign));
    EXPECT_EQ(Index(kRear), row.index) << row.valid << ' ' << row.magnitude << ' ' << row.sign;
    EXPECT_THAT(Logged(),
                ElementsAre("[VeyraGetMultiTableIndex] multi_tbl_idx:" + std::to_string(row.index) +
                            " otpValid:" + std::to_string(row.valid) + " gradient:" + std::to_string(row.gradient) +
                            " flag:" + std::to_string(row.flag) + " flag_f:200"));
  }
}

TEST_F(MultiTable, ARecordCutAtAnyLengthReadsAsZerosAndEveryByteButTwoIsIgnored) {
  Bytes const whole = Record(1, 9, 129);
  for (std::size_t size = 0; size <= whole.size(); ++size) {
    WriteFile(kRearFile, Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)));
    int const expected = size <= 16 + 5 ? 1 : size <= 16 + 6 ? 4 : 5;  // invalid or no gradient; no sign; all
    EXPECT_EQ(Index(kRear), expected) << size;
  }
  for (std::size_t at = 0; at < whole.size(); ++at) {
    Bytes flipped = whole;
    flipped[at] ^= 0xFF;
    WriteFile(kRearFile, flipped);
    int const expected = at == 16 ? 1 : at == 16 + 6 ? 4 : 5;
    EXPECT_EQ(Index(kRear), expected) << at;
  }
}

TEST_F(MultiTable, OffsetsThatCannotBeReadGiveAnInvalidRecord) {
  WriteFile(kRearFile, Record(1, 9, 0));
  for (std::int32_t const offset : {-1, -2'147'483'647 - 1, 27, 28, 2'147'483'647}) {
    Configure("multiGolden[0]", {offset});
    EXPECT_EQ(Index(kRear), 1) << offset;
    EXPECT_THAT(Logged(),
                ElementsAre("[VeyraGetMultiTableIndex] multi_tbl_idx:1 otpValid:0 gradient:0 flag:0 flag_f:0"));
  }
}

TEST_F(MultiTable, ASettledAnswerTouchesNothingAndAFailedOpenIsTriedAgain) {
  for (int attempt = 0; attempt < 2; ++attempt) {
    EXPECT_EQ(IndexAgain(kRear), 1);
    EXPECT_THAT(Logged(),
                ElementsAre(MatchesRegex("\\( *[0-9]+\\) \\[VeyraGetMultiTableIndex\\] Error opening file\\.")));
  }
  WriteFile(kRearFile, Record(1, 9, 0));
  EXPECT_EQ(IndexAgain(kRear), 4);
  WriteFile(kRearFile, Record(1, 0, 0));
  Logged();
  device.RecordCalls(true);
  EXPECT_EQ(IndexAgain(kRear), 4);
  EXPECT_THAT(Logged(), IsEmpty());
  EXPECT_THAT(device.TakeCalls(), IsEmpty());
}

TEST_F(MultiTable, WithoutConfigurationTheDefaultIsSettledInSilence) {
  WriteFile(kRearFile, Record(1, 9, 0));
  WriteFile("front_camera_eeprom_data.bin", Record(1, 9, 0));
  EXPECT_EQ(Index(kFront), 1);  // the feature is there, the camera's key is not
  Configure("multiGolden[1]", {16});
  EXPECT_EQ(IndexAgain(kFront), 1);
  EXPECT_EQ(Index(kFront), 4);
  EXPECT_EQ(IndexAgain(0x06), 4) << "the lowest bit counts";
  ForgetConfiguration();
  Logged();
  EXPECT_EQ(Index(kRear), 1);
  Configure("multiGolden[0]", {16});
  EXPECT_EQ(IndexAgain(kRear), 1);
  EXPECT_THAT(Logged(), IsEmpty());
}

TEST_F(MultiTable, CamerasWithoutADumpFileReportItAndMasksWithoutACameraDoNothing) {
  Configure("multiGolden[13]", {0});
  for (int attempt = 0; attempt < 2; ++attempt) {
    EXPECT_EQ(IndexAgain(0x2000), 1);
    EXPECT_EQ(Logged().size(), 1U);
  }
  device.RecordCalls(true);
  for (int const mask : {0, 0x4000, std::numeric_limits<int>::min()}) {
    EXPECT_EQ(IndexAgain(mask), 1) << mask;
    Bytes const untouched(8, 0xEE);
    EXPECT_EQ(Block(mask, 8), untouched) << mask;
  }
  EXPECT_THAT(Logged(), IsEmpty());
  EXPECT_THAT(device.TakeCalls(), IsEmpty());
}

// ---- PNC block

class Pnc : public Calibration {
 protected:
  static constexpr int kOffset = 100;

  Pnc() {
    Configure("PNCCaliData[0]", {kOffset, 2341});
    SetRowOrder(0);
  }

  void SetRowOrder(std::int32_t order) {
    auto settings = device.Settings();
    for (auto& sensor : settings.sensors) sensor.calibrationRowOrder = order;
    device.Configure(settings);
  }

  // A file with a block of `length` bytes whose byte k is k mod 251, but for the valid byte at its end.
  static Bytes FileWithBlock(std::size_t length, unsigned char valid) {
    Bytes file(kOffset + length);
    for (std::size_t i = 0; i < length; ++i) file[kOffset + i] = static_cast<unsigned char>(i % 251);
    if (length > 0) file.back() = valid;
    return file;
  }
  static Bytes DataOf(Bytes const& file) { return Bytes(file.begin() + kOffset, file.end() - 1); }
  static Bytes DefaultFill(std::size_t size) {
    Bytes fill(size);
    for (std::size_t i = 0; i < size; ++i) fill[i] = i % 2 == 0 ? 0x00 : 0x20;
    return fill;
  }
};

// Each camera has its own file, its own places in it and its own settled answer.
TEST_F(Pnc, CamerasDoNotAnswerForEachOther) {
  struct {
    char const* file;
    int mask;
    unsigned char magnitude, sign;
    int index;
  } const rows[] = {
      {"rear_camera_eeprom_data.bin", 0x01, 4, 0, 1},          {"front_camera_eeprom_data.bin", 0x02, 8, 0, 2},
      {"rear_second_camera_eeprom_data.bin", 0x04, 8, 200, 3}, {"front_second_camera_eeprom_data.bin", 0x08, 9, 0, 4},
      {"rear_third_camera_eeprom_data.bin", 0x10, 9, 200, 5},  {"front_third_camera_eeprom_data.bin", 0x20, 5, 0, 2},
      {"rear_fourth_camera_eeprom_data.bin", 0x40, 5, 200, 3}};
  for (std::size_t camera = 0; camera < std::size(rows); ++camera) {
    auto const& row = rows[camera];
    auto const record = static_cast<std::int32_t>(10 + 20 * camera);
    std::int32_t const block = record + 11;
    std::string const number = "[" + std::to_string(camera) + "]";
    Configure("multiGolden" + number, {record});
    Configure("PNCCaliData" + number, {block, 5});
    Bytes file(200, 0);
    auto* const bytes = file.data() + record;
    bytes[0] = 1;
    bytes[5] = row.magnitude;
    bytes[6] = row.sign;
    std::fill(bytes + 11, bytes + 15, static_cast<unsigned char>(0x10 + camera));
    bytes[15] = 1;
    WriteFile(row.file, file);
  }
  for (std::size_t camera = 0; camera < std::size(rows); ++camera) {
    EXPECT_EQ(IndexAgain(rows[camera].mask), rows[camera].index) << rows[camera].file;
    EXPECT_EQ(Block(rows[camera].mask, 4), Bytes(4, static_cast<unsigned char>(0x10 + camera))) << rows[camera].file;
  }
  for (auto const& row : rows) fs::remove(CalibrationDirectory() / row.file);
  for (auto const& row : rows) EXPECT_EQ(IndexAgain(row.mask), row.index) << row.file << ", settled";
}

TEST_F(Pnc, AValidBlockIsHandedOutAsStoredAndReadAnewEachTime) {
  Bytes file = FileWithBlock(2341, 1);
  WriteFile(kRearFile, file);
  EXPECT_EQ(Block(kRear, 2340), DataOf(file));
  EXPECT_THAT(Logged(), ElementsAre("[VeyraGetPNCCaliData] otpValid 0x1",
                                    "[VeyraGetPNCCaliData] [0]:0x3020100, [END]:0x504f4e4d "));  // 2336 mod 251 is 77
  file[kOffset] = 99;
  WriteFile(kRearFile, file);
  EXPECT_EQ(Block(kRear, 2340)[0], 99);
}

TEST_F(Pnc, AnInvalidOrIncompleteBlockGivesTheDefaultFill) {
  struct {
    char const* what;
    Bytes file;
  } const rows[] = {{"valid byte 0", FileWithBlock(2341, 0)},
                    {"valid byte 2", FileWithBlock(2341, 2)},
                    {"valid byte 255", FileWithBlock(2341, 255)},
                    {"one byte short, ending in 1", FileWithBlock(2340, 1)},
                    {"nothing of the block", FileWithBlock(0, 0)},
                    {"shorter than the offset", Bytes(kOffset - 1, 1)},
                    {"empty", {}}};
  for (auto const& row : rows) {
    WriteFile(kRearFile, row.file);
    EXPECT_EQ(Block(kRear, 2340), DefaultFill(2340)) << row.what;
    EXPECT_EQ(Logged().back(), "[VeyraGetPNCCaliData] [0]:0x20002000, [END]:0x20002000 ") << row.what;
  }
}

TEST_F(Pnc, OnlyLengthsOfWholeWordsAreHandedOut) {
  Bytes const file = FileWithBlock(6000, 1);
  struct {
    std::int32_t length;
    bool usable;
    char const* last;  // of the message, for a usable length
  } const rows[] = {{-2'147'483'647 - 1, false, ""},
                    {-1, false, ""},
                    {0, false, ""},
                    {1, false, ""},
                    {2, false, ""},
                    {3, false, ""},
                    {4, true, "0x20100"},  // the byte that no data byte fills stays 0
                    {5, true, "0x3020100"},
                    {6, false, ""},
                    {7, false, ""},
                    {8, true, "0x60504"},
                    {9, true, "0x7060504"},
                    {2'147'483'647, false, ""}};
  for (auto const& row : rows) {
    Configure("PNCCaliData[0]", {kOffset, row.length});
    Bytes bytes = file;
    if (row.length > 0 && row.length < 6000) bytes[static_cast<std::size_t>(kOffset + row.length - 1)] = 1;
    WriteFile(kRearFile, bytes);
    Bytes const block = Block(kRear, row.usable ? static_cast<std::size_t>(row.length - 1) : 100);
    auto const log = Logged();
    if (row.usable) {
      EXPECT_TRUE(std::equal(block.begin(), block.end(), bytes.begin() + kOffset)) << row.length;
      EXPECT_THAT(log.back(), testing::HasSubstr(std::string("[END]:") + row.last + " ")) << row.length;
      auto const size = static_cast<std::size_t>(row.length - 1);
      bytes[kOffset + size] = 0;
      WriteFile(kRearFile, bytes);
      EXPECT_EQ(Block(kRear, size), DefaultFill(size)) << row.length;
      Logged();
    } else {
      EXPECT_THAT(block, Each(0xEE)) << row.length;
      EXPECT_THAT(log, IsEmpty()) << row.length;
    }
  }
}

TEST_F(Pnc, RowsAreMirroredWhenTheSensorAsksForIt) {
  Bytes const file = FileWithBlock(2345, 1);
  WriteFile(kRearFile, file);
  Configure("PNCCaliData[0]", {kOffset, 2345});
  for (int const order : {0, 1, 3, -2}) {
    SetRowOrder(order);
    EXPECT_EQ(Block(kRear, 2344), DataOf(file)) << order;
  }
  // Sensor index 0 is the camera with sensorId 2 and device 0x40, the only one with mirrored rows.
  auto settings = device.Settings();
  settings.sensors[0].sensorIndex = 2;
  settings.sensors[2].sensorIndex = 0;
  settings.sensors[2].device = 0x40;
  settings.sensors[6].device = 4;
  settings.sensors[2].calibrationRowOrder = 2;
  device.Configure(settings);
  device.SetFault(desktop::Fault::kNoSensorList, true);
  EXPECT_EQ(Block(kRear, 2344), DataOf(file)) << "no sensor list";
  device.SetFault(desktop::Fault::kNoSensorList, false);

  Logged();
  device.RecordCalls(true);
  Bytes const mirrored = Block(kRear, 2344);
  EXPECT_THAT(device.TakeCalls(),
              ElementsAre("GetKeyCount FeatureShading", "GetIntegerListConfiguration FeatureShading PNCCaliData[0] 2",
                          "IHalSensorList::get", "sensorDevice 0", "staticInformation 64"));
  EXPECT_THAT(Logged(), ElementsAre("[VeyraGetPNCCaliData] otpValid 0x1", "[VeyraSwapPNCCaliData] dataLen:2344",
                                    "[VeyraGetPNCCaliData] [0]:0x8070100, [END]:0x54535251 "));  // 2340 mod 251 is 81
  Bytes const data = DataOf(file);
  auto const value = [](Bytes const& bytes, std::size_t row, std::size_t k) {
    std::size_t const at = 260 * row + 2 * k;
    return bytes[at] | bytes[at + 1] << 8;
  };
  for (std::size_t row = 0; row < 9; ++row) {
    EXPECT_EQ(value(mirrored, row, 0), value(data, row, 0));
    for (std::size_t k = 1; k <= 129; ++k)
      EXPECT_EQ(value(mirrored, row, k), value(data, row, 130 - k)) << row << ' ' << k;
  }
  EXPECT_TRUE(std::equal(mirrored.begin() + 2340, mirrored.end(), data.begin() + 2340));

  // One byte short of nine rows: nothing is handed out at all.
  Configure("PNCCaliData[0]", {kOffset, 2340});
  WriteFile(kRearFile, FileWithBlock(2340, 1));
  EXPECT_THAT(Block(kRear, 2339), Each(0xEE));
}

TEST_F(Pnc, TheMirrorIsItsOwnInverseAndRefusesWhatIsTooShort) {
  Bytes const data = DataOf(FileWithBlock(2345, 1));
  Bytes bytes = data;
  auto* const chars = reinterpret_cast<char*>(bytes.data());
  library->VeyraSwapPNCCaliData(chars, 2340);
  EXPECT_NE(bytes, data);
  library->VeyraSwapPNCCaliData(chars, 2344);
  EXPECT_EQ(bytes, data);
  for (int const length : {-1, 0, 2339}) library->VeyraSwapPNCCaliData(chars, length);
  library->VeyraSwapPNCCaliData(nullptr, 2340);
  EXPECT_EQ(bytes, data);
}

TEST_F(Pnc, AMissingFeatureOrFileIsReportedAMissingKeyOrBufferIsNot) {
  auto const silent = [this] { EXPECT_THAT(Block(kRear, 2340), Each(0xEE)); };
  silent();
  EXPECT_THAT(Logged(), ElementsAre(MatchesRegex("\\( *[0-9]+\\) \\[VeyraGetPNCCaliData\\] Error opening file\\.")));
  WriteFile(kRearFile, FileWithBlock(2341, 1));
  EXPECT_THAT(Block(kFront, 2340), Each(0xEE)) << "no key for this camera";
  EXPECT_THAT(Logged(), IsEmpty());
  desktop::FailAllocations(1);
  silent();
  desktop::FailAllocations(0);
  library->VeyraGetPNCCaliData(nullptr, kRear);
  EXPECT_THAT(Logged(), IsEmpty());
  ForgetConfiguration();
  silent();
  EXPECT_THAT(Logged(),
              ElementsAre(MatchesRegex("\\( *[0-9]+\\) \\[VeyraGetPNCCaliData\\] \\[VeyraGetPNCCaliData\\] no match "
                                       "CameraHWConfiguration.config Shading\n")));
}

TEST_F(Pnc, AnythingButARegularFileSuppliesNoBytes) {
  Configure("multiGolden[0]", {0});
  struct {
    char const* what;
    void (*make)(fs::path const&);
  } const rows[] = {{"a directory", [](fs::path const& place) { fs::create_directory(place); }},
                    {"a pipe without a writer", [](fs::path const& place) { mkfifo(place.c_str(), 0644); }},
                    {"a device", [](fs::path const& place) { fs::create_symlink("/dev/urandom", place); }}};
  for (auto const& row : rows) {
    SCOPED_TRACE(row.what);
    fs::path const place = CalibrationDirectory() / kRearFile;
    row.make(place);
    ASSERT_TRUE(fs::exists(place));
    EXPECT_EQ(Index(kRear), 1);
    EXPECT_EQ(Block(kRear, 2340), DefaultFill(2340));
    EXPECT_THAT(Logged(), ElementsAre("[VeyraGetMultiTableIndex] multi_tbl_idx:1 otpValid:0 gradient:0 flag:0 flag_f:0",
                                      "[VeyraGetPNCCaliData] otpValid 0x0",
                                      "[VeyraGetPNCCaliData] [0]:0x20002000, [END]:0x20002000 "));
    fs::remove_all(place);
  }
}

TEST_F(Pnc, ReadsThatAreShortOrInterruptedGiveTheWholeOfTheBytes) {
  Bytes file = FileWithBlock(2341, 1);
  file[0] = 1;  // a record at the very beginning
  file[5] = 9;
  WriteFile(kRearFile, file);
  Configure("multiGolden[0]", {0});
  for (Reading const& served : {Reading{}, Reading{1, false}, Reading{7, true}, Reading{~std::size_t{0}, true}}) {
    reading = served;
    EXPECT_EQ(Index(kRear), 4) << served.bytesAtOnce << served.isInterrupted;
    EXPECT_EQ(Block(kRear, 2340), DataOf(file)) << served.bytesAtOnce << served.isInterrupted;
  }
  reading = {};
}

// The process's own memory is a regular file whose size is reported as 0 and whose offsets are addresses.
TEST_F(Pnc, AFileThatReportsNoSizeIsReadAllTheSame) {
  if (!fs::exists("/proc/self/mem")) GTEST_SKIP() << "/proc is not mounted";
  constexpr std::int32_t kAddress = 0x10000000;
  constexpr std::size_t kMapped = 8192;
  Bytes const block = FileWithBlock(2341, 1);
  // NOLINTNEXTLINE(performance-no-int-to-ptr)
  void* const memory = mmap(reinterpret_cast<void*>(std::uintptr_t{kAddress}), kMapped, PROT_READ | PROT_WRITE,
                            MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED_NOREPLACE, -1, 0);
  ASSERT_NE(memory, MAP_FAILED);
  std::memcpy(memory, block.data(), block.size());
  fs::create_symlink("/proc/self/mem", CalibrationDirectory() / kRearFile);
  static_cast<unsigned char*>(memory)[0] = 1;
  static_cast<unsigned char*>(memory)[5] = 9;
  Configure("multiGolden[0]", {kAddress});
  Configure("PNCCaliData[0]", {kAddress + kOffset, 2341});
  EXPECT_EQ(Index(kRear), 4);
  EXPECT_EQ(Block(kRear, 2340), DataOf(block));

  auto settings = device.Settings();
  settings.log = {false, false, 5};
  device.Configure(settings);
  desktop::FailAllocations(100);  // no memory is taken for bytes that are not supplied
  Configure("PNCCaliData[0]", {kAddress + static_cast<std::int32_t>(kMapped) - 8, 9});
  EXPECT_EQ(Block(kRear, 8), DefaultFill(8));
  EXPECT_EQ(desktop::FailedAllocations(), 0);
  desktop::FailAllocations(0);
  munmap(memory, kMapped);
}

TEST_F(Pnc, AFileThatShrinksWhileItIsReadSuppliesZeros) {
  WriteFile(kRearFile, FileWithBlock(200, 1));
  lsc::EepromFile const file(0);
  ASSERT_TRUE(file.holds(kOffset, 200));
  fs::resize_file(CalibrationDirectory() / kRearFile, kOffset + 3);
  Bytes bytes(200, 0xEE);
  reading.isInterrupted = true;  // just before the end, too
  file.read(kOffset, bytes.data(), bytes.size());
  reading = {};
  Bytes expected(200);  // of bytes 0, 1 and 2, and what is gone
  expected[1] = 1;
  expected[2] = 2;
  EXPECT_EQ(bytes, expected);
}

TEST_F(Pnc, NoMemoryIsTakenForBytesThatTheFileDoesNotHold) {
  WriteFile(kRearFile, FileWithBlock(2341, 1));
  auto settings = device.Settings();
  settings.log = {false, false, 5};  // a message would take memory of its own
  device.Configure(settings);
  desktop::FailAllocations(100);
  for (std::int32_t const offset : {2'147'483'647, -1, kOffset + 2333}) {
    Configure("PNCCaliData[0]", {offset, 9});
    EXPECT_EQ(Block(kRear, 8), DefaultFill(8)) << offset;
  }
  EXPECT_EQ(desktop::FailedAllocations(), 0);
  desktop::FailAllocations(0);
}

}  // namespace
