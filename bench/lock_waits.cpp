// How often threads wait for the library's lock at the pace of real frames: two cameras, each with a thread that
// updates and one that computes a phase later. In step, both cameras' threads wake at the same moments; apart, those of
// the second camera wake half a phase after those of the first. docs/reliability.md has the figures of the last run.
#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <cstring>
#include <nlohmann/json.hpp>
#include <string>
#include <thread>
#include <vector>

#include "bench/Hooks.h"
#include "bench/Host.h"
#include "bench/Table.h"
#include "hosting/HostLibrary.h"
#include "hosting/UnusableInput.h"
#include "platform/desktop/Device.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kTwoCameras = 2;
constexpr std::uint32_t kSamplesPerSecond = 1000;
constexpr std::chrono::milliseconds kSlowPull{5};

struct Setting {
  int framesPerSecond;
  bool isPullSlow;  // the platform takes kSlowPull to hand out samples
  bool isApart;
  int phaseMs;  // from an update to its computation
};

// On the thread that pulls, with the library's lock held.
void PullSlowly(char const* call) {
  if (std::strncmp(call, "getAllSensorData", 16) == 0) std::this_thread::sleep_for(kSlowPull);
}

// A thread that makes a call at each of the moments and leaves its waits in `waits`. Moments that have passed are not
// left out.
template <typename Call>
std::thread Paced(Clock::time_point first, Clock::duration period, int count, bench::Waits& waits, Call call) {
  return std::thread([=, &waits] {
    bench::CountWaits const counting;
    for (int i = 0; i < count; ++i) {
      std::this_thread::sleep_until(first + i * period);
      call();
    }
    waits = bench::CountWaits::SoFar();
  });
}

bench::Waits Play(bench::Library& library, Setting const& setting, int seconds) {
  std::uint32_t const samplesPerBlock =
      kSamplesPerSecond * bench::Stream::kBlockFrames / static_cast<std::uint32_t>(setting.framesPerSecond);
  std::vector<bench::Host> updating;
  std::vector<bench::Host> computing;
  for (int camera = 0; camera < kTwoCameras; ++camera) {
    library.Start(camera);
    updating.emplace_back(library, camera, samplesPerBlock);
    computing.emplace_back(library, camera, samplesPerBlock);
  }
  desktop::Device::Get().WatchCalls(setting.isPullSlow ? PullSlowly : nullptr);

  int const frames = setting.framesPerSecond * seconds;
  auto const period = std::chrono::nanoseconds(std::chrono::seconds(1)) / setting.framesPerSecond;
  auto const first = Clock::now() + std::chrono::milliseconds(50);
  Clock::duration const phase = std::chrono::milliseconds(setting.phaseMs);
  std::vector<bench::Waits> waits(2 * kTwoCameras);
  std::vector<std::thread> threads;
  for (std::size_t camera = 0; camera < kTwoCameras; ++camera) {
    auto const moment = first + (camera == 1 && setting.isApart ? phase / 2 : Clock::duration());
    threads.push_back(Paced(moment, period, frames, waits[2 * camera], [&host = updating[camera]] {
      bench::Frame const& frame = host.Next();
      host.Deliver(frame);
      host.Update(frame);
    }));
    threads.push_back(Paced(moment + phase, period, frames, waits[2 * camera + 1],
                            [&host = computing[camera]] { host.Calculate(host.Next()); }));
  }
  for (std::thread& thread : threads) thread.join();

  desktop::Device::Get().WatchCalls(nullptr);
  for (int camera = 0; camera < kTwoCameras; ++camera) library.Stop(camera);
  bench::Waits total;
  for (bench::Waits const& ofThread : waits) {
    total.acquisitions += ofThread.acquisitions;
    total.contended += ofThread.contended;
    total.ns += ofThread.ns;
    total.longestNs = std::max(total.longestNs, ofThread.longestNs);
  }
  return total;
}

nlohmann::json Report(Setting const& setting, bench::Waits const& waits) {
  double const meanUs =
      waits.contended == 0 ? 0 : static_cast<double>(waits.ns) / static_cast<double>(waits.contended) / 1000;
  double const longestUs = static_cast<double>(waits.longestNs) / 1000;
  double const percent = 100 * static_cast<double>(waits.contended) / static_cast<double>(waits.acquisitions);
  fmt::print("| {:>8} | {:>7} | {:>7} | {:>8} | {:>12} | {:>9} | {:>6.2f} % | {:>12.1f} | {:>15.1f} |\n",
             setting.framesPerSecond, setting.isPullSlow ? kSlowPull.count() : 0, setting.isApart ? "apart" : "in step",
             setting.phaseMs, waits.acquisitions, waits.contended, percent, meanUs, longestUs);
  return {{"framesPerSecond", setting.framesPerSecond},
          {"pullMs", setting.isPullSlow ? kSlowPull.count() : 0},
          {"cameras", setting.isApart ? "apart" : "in step"},
          {"phaseMs", setting.phaseMs},
          {"acquisitions", waits.acquisitions},
          {"contended", waits.contended},
          {"meanWaitUs", meanUs},
          {"longestWaitUs", longestUs}};
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app("Counts how often threads wait for the shading library's lock at the pace of real frames.");
  std::string libraryPath;
  std::string jsonPath;
  int seconds = 10;
  app.add_option("--library", libraryPath, "the library (default: lib/libvcam_shadingutil.so beside this program)");
  app.add_option("--seconds", seconds, "of each setting")->check(CLI::Range(1, 3600))->capture_default_str();
  app.add_option("--json", jsonPath, "a file for the figures");
  try {
    app.parse(argc, argv);
  } catch (CLI::ParseError const& error) {
    return app.exit(error) == 0 ? 0 : 2;
  }
  try {
    bench::Library library(libraryPath.empty() ? hosting::DefaultLibraryPath() : libraryPath);
    nlohmann::json document = bench::Circumstances(argc, argv);
    fmt::print("{}, {}\n{}\n\n", document["machine"].get<std::string>(), document["date"].get<std::string>(),
               document["command"].get<std::string>());
    fmt::print(
        "| frames/s | pull ms | cameras | phase ms | acquisitions | contended | share    | mean wait us | longest wait "
        "us |\n");
    for (bool const isPullSlow : {false, true}) {
      for (int const framesPerSecond : {30, 60, 240}) {
        for (bool const isApart : {false, true}) {
          for (int phaseMs = isApart ? 1 : 0; phaseMs <= 5; ++phaseMs) {
            Setting const setting = {framesPerSecond, isPullSlow, isApart, phaseMs};
            document["rows"].push_back(Report(setting, Play(library, setting, seconds)));
          }
        }
      }
    }
    if (!jsonPath.empty()) bench::WriteJson(jsonPath, document);
    return 0;
  } catch (hosting::UnusableInput const& unusable) {
    fmt::print(stderr, "{}\n", unusable.what());
    return 3;
  }
}
