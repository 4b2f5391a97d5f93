// Costs besides the time of a frame: heap, lock, calibration, size and start. Allocations are counted and locks are
// timed by interposing the C library's functions.
#include <fcntl.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "bench/Hooks.h"
#include "bench/Library.h"
#include "bench/Table.h"
#include "hosting/HostLibrary.h"
#include "hosting/UnusableInput.h"
#include "platform/HalSensor.h"
#include "platform/HwConfiguration.h"
#include "platform/desktop/CalibrationMount.h"
#include "platform/desktop/Device.h"

namespace {

using Clock = std::chrono::steady_clock;
using hosting::UnusableInput;

double Ns(Clock::duration duration) { return std::chrono::duration<double, std::nano>(duration).count(); }

double MedianOf(std::vector<double> values) {
  auto const middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

// Median over short blocks of the ns for one call.
template <typename Call>
double NsPerCall(Call call, int calls = 200, int blocks = 101) {
  std::vector<double> ns;
  for (int block = 0; block < blocks; ++block) {
    auto const begin = Clock::now();
    for (int i = 0; i < calls; ++i) call();
    ns.push_back(Ns(Clock::now() - begin) / calls);
  }
  return MedianOf(std::move(ns));
}

// Cost of a stream's settled frames at log level 0.
struct Settled {
  std::uint64_t frames = 0;
  std::uint64_t updateAllocations = 0;
  std::uint64_t calcAllocations = 0;
  double heldShare = 0;  // of a calculation, with the lock held
};

Settled PlaySettled(bench::Library& library, bench::Stream& stream) {
  constexpr int kBlocks = 60;
  constexpr int kBlocksUntilSettled = 10;
  bench::Pull pull(bench::ProviderName(0));
  std::vector<double> x;
  std::vector<double> y;
  int const camera = 0;
  int matched = 0;
  Settled settled;
  std::vector<double> heldShare;
  library.Start(camera);
  for (int block = 0; block < kBlocks; ++block) {
    stream.Advance();
    for (bench::Frame const& frame : stream.Frames()) {
      CalcOISValueInput input = frame.input;
      pull.Deliver(frame.batch);
      bench::CountAllocations count;
      library.Object().UpdateSensorData(camera, frame.number, input.timestamp0);
      std::uint64_t const updated = count.SoFar();
      library.Object().CalcOISValue(kShadingPreview, input, &x, &y, frame.number, camera, matched);
      if (block < kBlocksUntilSettled) continue;
      ++settled.frames;
      settled.updateAllocations += updated;
      settled.calcAllocations += count.SoFar() - updated;
    }
    // The answer for the newest frame once more, with the locks timed.
    bench::Frame const& frame = stream.Frames().back();
    CalcOISValueInput input = frame.input;
    bench::TimeLocks const locks;
    for (int i = 0; i < 200; ++i) {
      library.Object().CalcOISValue(kShadingPreview, input, &x, &y, frame.number, camera, matched);
    }
    heldShare.push_back(locks.HeldShare());
    if (!bench::TimeLocks::sawLock()) throw UnusableInput("a calculation takes no lock that bench/Hooks.cpp watches");
  }
  library.Stop(camera);
  settled.heldShare = MedianOf(std::move(heldShare));
  return settled;
}

// Plays every stream and calls use(cost of its settled frames).
template <typename Use>
void ForEachStream(bench::Library& library, Use use) {
  for (bool const overlapping : {false, true}) {
    for (auto const& [rate, samples] :
         {std::pair{"200 Hz", 214U}, {"1 kHz", 1067U}, {"4 kHz", 4267U}, {"8 kHz", 8533U}}) {
      bench::Stream stream(std::string(rate) + (overlapping ? " overlapping" : ""), samples, overlapping);
      use(stream.Name(), PlaySettled(library, stream));
    }
  }
}

void MeasureFrames(bench::Library& library, bench::Table& table) {
  ForEachStream(library, [&table](std::string const& name, Settled const& settled) {
    auto const frames = static_cast<double>(settled.frames);
    table.Add(name, "heap allocations of an update", static_cast<double>(settled.updateAllocations) / frames, "",
              {0.0, {}});
    table.Add(name, "heap allocations of a calc", static_cast<double>(settled.calcAllocations) / frames, "", {0.0, {}});
    table.Add(name, "share of calc with the lock held", settled.heldShare, "", {0.5, {}});
  });
}

// What --heap prints: the allocations of the settled frames of all streams.
int PrintAllocations(std::string const& path) {
  bench::Library library(path);
  std::uint64_t allocations = 0;
  ForEachStream(library, [&allocations](std::string const& /*name*/, Settled const& settled) {
    allocations += settled.updateAllocations + settled.calcAllocations;
  });
  std::printf("%llu\n", static_cast<unsigned long long>(allocations));
  return 0;
}

constexpr int kBlockOffset = 8192;
constexpr int kBlockLength = 2341;

// The platform calls of a calibration call.
void AskPlatform() {
  std::array<int, 2> place{};
  GetKeyCount("FeatureShading");
  GetIntegerListConfiguration("FeatureShading", "PNCCaliData[0]", place.data(), 2);
  NSCam::IHalSensorList* const list = NSCam::IHalSensorList::get();
  static NSCam::SensorStaticInformation information;
  information = {};
  list->staticInformation(list->sensorDevice(0), information);
}

void MeasureCalibration(bench::Library& library, std::string const& directory, bench::Table& table) {
  std::string const file = "/rear_camera_eeprom_data.bin";
  std::string content(16384, '\1');
  content[4096] = 1;
  std::ofstream(directory + file) << content;
  std::string const refusal = desktop::MountCalibration(directory);
  if (!refusal.empty()) {
    std::fprintf(stderr, "calibration is not measured: %s\n", refusal.c_str());
    return;
  }
  desktop::DeviceSettings settings = desktop::Device::Get().Settings();
  settings.configuration["FeatureShading"]["multiGolden[0]"] = {4096};
  settings.configuration["FeatureShading"]["PNCCaliData[0]"] = {kBlockOffset, kBlockLength};
  desktop::Device::Get().Configure(settings);

  std::array<char, kBlockLength> out{};
  library.Object().VeyraGetPNCCaliData(out.data(), 1);
  if (out[0] != 1) throw UnusableInput("the calibration block is not handed out");
  std::string const path = desktop::kCalibrationDirectory + file;
  double const platformNs = NsPerCall(AskPlatform);
  double const callNs = NsPerCall([&] { library.Object().VeyraGetPNCCaliData(out.data(), 1); }) - platformNs;
  double const readNs = NsPerCall([&] {
    int const descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (pread(descriptor, out.data(), out.size(), kBlockOffset) != kBlockLength) std::abort();
    close(descriptor);
  });
  table.Add("calibration", "call, without the platform", callNs, "ns");
  table.Add("calibration", "open, pread, close", readNs, "ns");
  table.Add("calibration", "call / open, pread, close", callNs / readNs, "");
  int index = 0;
  library.Object().VeyraGetMultiTableIndex(index, 1);
  table.Add("calibration", "settled multi-table index",
            NsPerCall([&] { library.Object().VeyraGetMultiTableIndex(index, 1); }, 20000), "ns", {5.0, {}});
}

// What --start prints: ns to load the library and to create its object, in a process that has the platform already.
int PrintStart(std::string const& path) {
  auto const begin = Clock::now();
  bench::LoadUnchecked(path);
  std::printf("%.0f\n", Ns(Clock::now() - begin));
  return 0;
}

// The output of a command's only line, as a number.
double NumberFrom(std::string const& command) {
  FILE* const output = popen(command.c_str(), "r");
  double number = 0;
  bool const isNumber = output != nullptr && std::fscanf(output, "%lf", &number) == 1;
  if (output == nullptr || pclose(output) != 0 || !isNumber) throw UnusableInput(command + ": failed");
  return number;
}

void MeasureFile(std::string const& program, std::string const& path, std::string const& directory,
                 bench::Table& table) {
  std::vector<double> startNs;
  for (int i = 0; i < 21; ++i) startNs.push_back(NumberFrom("'" + program + "' --start --library '" + path + "'"));
  table.Add("start", "load + createInstance", MedianOf(startNs) / 1000, "us", {1000.0, {}});
  std::string const stripped = directory + "/stripped";
  double const bytes = NumberFrom("strip -o '" + stripped + "' '" + path + "' && stat -c %s '" + stripped + "'");
  table.Add("size", "stripped library", bytes / 1024, "KiB", {40.0, {}});
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app("Measures heap, lock, calibration, size and start of the shading library.");
  std::string path;
  std::string jsonPath;
  bool start = false;
  bool heap = false;
  app.add_option("--library", path, "the library (default: lib/libvcam_shadingutil.so beside this program)");
  app.add_option("--json", jsonPath, "a file for the figures");
  app.add_flag("--start", start, "only print the ns that loading and creating take");
  app.add_flag("--heap", heap, "only print how often settled frames take memory");
  try {
    app.parse(argc, argv);
  } catch (CLI::ParseError const& error) {
    return app.exit(error) == 0 ? 0 : 2;
  }
  try {
    if (path.empty()) path = hosting::DefaultLibraryPath();
    if (start) return PrintStart(path);
    if (heap) return PrintAllocations(path);
    std::string directory = (std::filesystem::temp_directory_path() / "call_costs.XXXXXX").string();
    if (mkdtemp(directory.data()) == nullptr) throw UnusableInput(directory + ": cannot be made");
    bench::Table table;
    MeasureFile(std::filesystem::read_symlink("/proc/self/exe").string(), path, directory, table);
    bench::Library library(path);
    MeasureFrames(library, table);
    MeasureCalibration(library, directory, table);
    std::filesystem::remove_all(directory);
    table.Print();
    nlohmann::json document = bench::Circumstances(argc, argv);
    document["rows"] = table.Json();
    if (!jsonPath.empty()) bench::WriteJson(jsonPath, document);
  } catch (std::exception const& unusable) {
    std::fprintf(stderr, "%s\n", unusable.what());
    return 3;
  }
  return 0;
}
