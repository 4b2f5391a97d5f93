// Any dump file and any configuration through both calibration operations, also while the file changes under them.
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <thread>
#include <vector>

#include "fuzz/ByteSource.h"
#include "fuzz/Target.h"
#include "fuzz/WorkDirectory.h"
#include "lsc/VeyraShadingUtil.h"
#include "platform/desktop/BuiltInCalibration.h"
#include "platform/desktop/CalibrationMount.h"
#include "platform/desktop/Device.h"

namespace {

using fuzz::ByteSource;
using fuzz::Expect;
using Bytes = std::vector<unsigned char>;

constexpr std::size_t kRowBytes = 260;
constexpr std::size_t kMirroredBytes = 9 * kRowBytes;
constexpr unsigned char kUntouched = 0xEE;

struct Camera {
  int index = 0;
  std::string file;
  bool isMissing = false;
  bool changes = false;
  std::int32_t recordOffset = 0;
  std::int32_t blockOffset = 0;
  std::int32_t blockLength = 0;
  std::int32_t rowOrder = 0;
};

Camera TakeCamera(ByteSource& source) {
  Camera camera;
  camera.index = static_cast<int>(source.TakeBelow(7));
  std::uint32_t const flags = source.Take<std::uint8_t>();
  camera.isMissing = flags % 16 == 15;
  camera.changes = flags % 16 == 14;
  camera.rowOrder = source.TakeOneOf({0, 1, 2, 2});
  // Near the file mostly; now and then anywhere.
  auto const takeOffset = [&] {
    return source.TakeBelow(8) == 0 ? source.Take<std::int32_t>() : static_cast<std::int32_t>(source.TakeBelow(64));
  };
  camera.recordOffset = takeOffset();
  camera.blockOffset = takeOffset();
  // Usable lengths get an output buffer; longer ones would exhaust the fuzzer's memory.
  std::int32_t const length = source.TakeOneOf({2341, 2340, 2345, 5, 4, 1, 0});
  camera.blockLength = source.TakeBelow(4) == 0 ? source.Take<std::int16_t>() : length;
  bool const isLong = source.TakeBelow(2) == 0;
  camera.file = source.TakeRest();
  if (isLong && !camera.file.empty()) {
    while (camera.file.size() < 2600) camera.file += camera.file.substr(0, 2600 - camera.file.size());
  }
  return camera;
}

// ---- The expected answers

unsigned char ByteAt(Camera const& camera, std::int64_t offset) {
  bool const isThere = !camera.isMissing && offset >= 0 && offset < static_cast<std::int64_t>(camera.file.size());
  return isThere ? static_cast<unsigned char>(camera.file[static_cast<std::size_t>(offset)]) : 0;
}

int RightTable(Camera const& camera) {
  std::int64_t const at = camera.recordOffset;
  if (at < 0 || ByteAt(camera, at) != 1) return 1;
  int const magnitude = ByteAt(camera, at + 5);
  bool const isNegative = ByteAt(camera, at + 6) > 128;
  if (magnitude <= 4) return 1;
  if (magnitude <= 8) return isNegative ? 3 : 2;
  return isNegative ? 5 : 4;
}

bool IsUsable(std::int32_t length) { return length >= 4 && length % 4 <= 1; }

Bytes RightBlock(Camera const& camera, std::size_t size) {
  Bytes block(size, kUntouched);
  if (camera.isMissing || !IsUsable(camera.blockLength)) return block;
  std::int64_t const at = camera.blockOffset;
  bool const isValid = at >= 0 && ByteAt(camera, at + camera.blockLength - 1) == 1;
  if (!isValid) {
    for (std::size_t i = 0; i < size; ++i) block[i] = i % 2 == 0 ? 0x00 : 0x20;
    return block;
  }
  bool const isMirrored = camera.rowOrder == 2;
  if (isMirrored && size < kMirroredBytes) return block;
  for (std::size_t i = 0; i < size; ++i) block[i] = ByteAt(camera, at + static_cast<std::int64_t>(i));
  if (!isMirrored) return block;
  Bytes const stored = block;
  for (std::size_t i = 0; i < kMirroredBytes; ++i) {
    std::size_t const value = i % kRowBytes / 2;
    if (value > 0) block[i] = stored[i - i % kRowBytes + (130 - value) * 2 + i % 2];
  }
  return block;
}

// ---- The library

std::string const& Directory() {
  static fuzz::WorkDirectory const work;
  static std::string const directory = [] {
    std::string const problem = desktop::MountCalibration(work.Path());
    if (!problem.empty()) {
      std::fprintf(stderr, "skipped: %s\n", problem.c_str());
      std::exit(77);
    }
    return std::string(desktop::kCalibrationDirectory);
  }();
  return directory;
}

void WriteFile(std::string const& path, std::string const& content) {
  std::ofstream(path, std::ios::binary | std::ios::trunc) << content;
}

void Configure(Camera const& camera) {
  desktop::DeviceSettings settings = desktop::BuiltInDevice();
  std::string const number = "[" + std::to_string(camera.index) + "]";
  settings.configuration["FeatureShading"] = {{"multiGolden" + number, {camera.recordOffset}},
                                              {"PNCCaliData" + number, {camera.blockOffset, camera.blockLength}}};
  for (auto& sensor : settings.sensors) sensor.calibrationRowOrder = camera.rowOrder;
  desktop::Device::Get().Configure(settings);
}

void Ask(Camera const& camera) {
  auto const library = std::make_unique<VeyraShadingUtil>();
  int table = -1;
  library->VeyraGetMultiTableIndex(table, 1 << camera.index);
  Expect(table >= 1 && table <= 5, "a table index that is not 1 to 5");
  std::size_t const size = camera.blockLength > 1 ? static_cast<std::size_t>(camera.blockLength) - 1 : 0;
  Bytes block(size, kUntouched);
  library->VeyraGetPNCCaliData(block.data(), 1 << camera.index);
  if (camera.changes) return;
  Expect(table == RightTable(camera), "table " + std::to_string(table));
  Expect(block == RightBlock(camera, size), "the block differs");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* bytes, std::size_t count) {
  ByteSource source(bytes, count);
  Camera const camera = TakeCamera(source);
  Configure(camera);
  std::string const path = Directory() + "/" + desktop::CalibrationFileName(camera.index);
  unlink(path.c_str());
  if (!camera.isMissing) WriteFile(path, camera.file);
  std::atomic<bool> done{false};
  std::thread changer;
  if (camera.changes) {
    changer = std::thread([&] {
      while (!done) {
        WriteFile(path, camera.file.substr(0, camera.file.size() / 2));
        WriteFile(path, camera.file + camera.file);
      }
    });
  }
  Ask(camera);
  done = true;
  if (changer.joinable()) changer.join();
  return 0;
}
