// The slowest frames, not the median one: update and calculation of one camera, call by call, alone, beside other
// threads, with cold caches and in the first frames after a start, and what the slowest calls spent their time on.
// docs/reliability.md has the figures of the last long run. Exit code 1: the library faulted a page in, or allocated,
// after the first second.
#include <fmt/format.h>
#include <malloc.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <atomic>
#include <cstdio>
#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <thread>
#include <vector>

#include "bench/CallTimes.h"
#include "bench/Hooks.h"
#include "bench/Host.h"
#include "bench/Table.h"
#include "hosting/HostLibrary.h"
#include "hosting/UnusableInput.h"

namespace {

using bench::CallTimes;
using bench::Host;

constexpr int kCamera = 0;
constexpr int kOtherCamera = 1;
constexpr std::uint32_t kSamplesPerBlock = 1067;               // 1 kHz
constexpr std::size_t kEvictedBytes = std::size_t{96} << 20U;  // three times the caches of a large server
constexpr std::size_t kCacheLine = 64;
constexpr std::size_t kFirstFrames = 40;
constexpr std::size_t kColdShare = 1000;  // one cold frame, or start, for so many others: each takes milliseconds

// The next frame of a host, whose samples the platform has.
bench::Frame const& NextDelivered(Host& host) {
  bench::Frame const& frame = host.Next();
  host.Deliver(frame);
  return frame;
}

struct Situation {
  char const* name;
  CallTimes::Summary update;
  CallTimes::Summary calculation;
  bool isSettled = true;  // neither faults pages in nor allocates
};

// Plays `frames` frames after a first second that does not count.
Situation PlaySettled(bench::Library& library, char const* name, std::size_t frames,
                      std::function<void()> const& beforeCall) {
  constexpr std::size_t kFirstSecond = 2 * bench::Stream::kBlockFrames;
  bench::CountWaits const waits;
  library.Start(kCamera);
  Host host(library, kCamera, kSamplesPerBlock);
  CallTimes updates(frames), calculations(frames), first(2 * kFirstSecond);
  for (std::size_t i = 0; i < kFirstSecond + frames; ++i) {
    bool const counts = i >= kFirstSecond;
    bench::Frame const& frame = NextDelivered(host);
    beforeCall();
    (counts ? updates : first).Measure([&] { host.Update(frame); });
    beforeCall();
    (counts ? calculations : first).Measure([&] { host.Calculate(frame); });
  }
  library.Stop(kCamera);
  if (host.Matched() < frames) throw hosting::UnusableInput(std::string(name) + ": not every frame matched");
  return {name, updates.Summarise(), calculations.Summarise()};
}

// The same beside a thread that repeats `other` without a pause.
Situation PlayBeside(bench::Library& library, char const* name, std::size_t frames,
                     std::function<void()> const& other) {
  std::atomic<bool> done{false};
  std::thread thread([&] {
    while (!done) other();
  });
  Situation const situation = PlaySettled(library, name, frames, [] {});
  done = true;
  thread.join();
  return situation;
}

Situation PlayStarts(bench::Library& library, std::size_t starts) {
  bench::CountWaits const waits;
  CallTimes updates(starts * kFirstFrames), calculations(starts * kFirstFrames);
  for (std::size_t i = 0; i < starts; ++i) {
    library.Start(kCamera);
    Host host(library, kCamera, kSamplesPerBlock);
    for (std::size_t n = 0; n < kFirstFrames; ++n) {
      bench::Frame const& frame = NextDelivered(host);
      updates.Measure([&] { host.Update(frame); });
      calculations.Measure([&] { host.Calculate(frame); });
    }
    library.Stop(kCamera);
  }
  return {"first 40 frames", updates.Summarise(), calculations.Summarise(), false};
}

std::vector<Situation> PlayAll(bench::Library& library, std::size_t frames) {
  auto const nothing = [] {};
  std::vector<Situation> situations = {PlaySettled(library, "alone", frames, nothing)};

  library.Start(kOtherCamera);
  Host other(library, kOtherCamera, kSamplesPerBlock);
  situations.push_back(
      PlayBeside(library, "beside updates of another camera", frames, [&] { other.Update(NextDelivered(other)); }));
  library.Stop(kOtherCamera);

  Host reader(library, kCamera, kSamplesPerBlock);
  bench::Stream const stream("1 kHz", kSamplesPerBlock, false);
  situations.push_back(PlayBeside(library, "beside calculations of the same camera", frames,
                                  [&] { reader.Calculate(stream.Frames().back()); }));

  std::size_t const few = std::max(frames / kColdShare, std::size_t{10});
  std::vector<unsigned char> memory(kEvictedBytes, 1);
  situations.push_back(PlaySettled(library, "after a silence: caches evicted", few, [&] {
    for (std::size_t at = 0; at < memory.size(); at += kCacheLine) ++memory[at];
  }));
  situations.push_back(PlayStarts(library, few));
  return situations;
}

constexpr char const* kCauseNames[] = {"page fault", "lock", "preempted", "platform", "elsewhere"};
static_assert(std::size(kCauseNames) == bench::kCauseCount);

void PrintRow(std::string const& situation, char const* call, CallTimes::Summary const& times) {
  fmt::print("| {:<38} | {:<11} | {:>8} | {:>7} | {:>7} | {:>7} | {:>8} |", situation, call, times.calls, times.p50Ns,
             times.p99Ns, times.p999Ns, times.maximumNs);
  for (std::size_t const calls : times.slow) fmt::print(" {:>10} |", calls);
  fmt::print(" {:>6} | {:>6} |\n", times.pageFaults, times.allocations);
}

void Print(std::vector<Situation> const& situations) {
  fmt::print("| {:<38} | {:<11} | {:>8} | {:>7} | {:>7} | {:>7} | {:>8} |", "times in ns", "call", "calls", "p50",
             "p99", "p99.9", "maximum");
  for (char const* const cause : kCauseNames) fmt::print(" {:>10} |", cause);
  fmt::print(" {:>6} | {:>6} |\n", "faults", "allocs");
  for (Situation const& situation : situations) {
    PrintRow(situation.name, "update", situation.update);
    PrintRow(situation.name, "calculation", situation.calculation);
  }
  fmt::print(
      "\nPage fault, lock (of the library), preempted, platform, elsewhere: on what the calls of {} us and more spent "
      "their time.\n",
      bench::kSlowNs / 1000);
}

nlohmann::json Json(char const* situation, char const* call, CallTimes::Summary const& times) {
  nlohmann::json json = {{"situation", situation},
                         {"call", call},
                         {"calls", times.calls},
                         {"p50Ns", times.p50Ns},
                         {"p99Ns", times.p99Ns},
                         {"p99.9Ns", times.p999Ns},
                         {"maximumNs", times.maximumNs},
                         {"pageFaults", times.pageFaults},
                         {"allocations", times.allocations}};
  for (std::size_t i = 0; i < bench::kCauseCount; ++i) json["slow"][kCauseNames[i]] = times.slow[i];
  return json;
}

bool StaysInItsMemory(CallTimes::Summary const& times) { return times.pageFaults == 0 && times.allocations == 0; }

}  // namespace

int main(int argc, char** argv) {
  // Memory that the played platform gives back would have to be fetched again.
  mallopt(M_TRIM_THRESHOLD, 1 << 30);
  mallopt(M_MMAP_THRESHOLD, 1 << 30);

  CLI::App app("Measures the slowest frames in the shading library.");
  std::string libraryPath;
  std::string jsonPath;
  std::size_t frames = 1'000'000;
  app.add_option("--library", libraryPath, "the library (default: lib/libvcam_shadingutil.so beside this program)");
  app.add_option("--frames", frames, "frames alone and beside each thread")
      ->check(CLI::Range(1000, 100'000'000))
      ->capture_default_str();
  app.add_option("--json", jsonPath, "a file for the figures");
  try {
    app.parse(argc, argv);
  } catch (CLI::ParseError const& error) {
    return app.exit(error) == 0 ? 0 : 2;
  }
  try {
    bench::Library library(libraryPath.empty() ? hosting::DefaultLibraryPath() : libraryPath);
    std::vector<Situation> const situations = PlayAll(library, frames);
    nlohmann::json document = bench::Circumstances(argc, argv);
    bool isSettled = true;
    for (Situation const& situation : situations) {
      document["rows"].push_back(Json(situation.name, "update", situation.update));
      document["rows"].push_back(Json(situation.name, "calculation", situation.calculation));
      if (situation.isSettled)
        isSettled &= StaysInItsMemory(situation.update) && StaysInItsMemory(situation.calculation);
    }
    fmt::print("{}, {}\n{}\n\n", document["machine"].get<std::string>(), document["date"].get<std::string>(),
               document["command"].get<std::string>());
    Print(situations);
    if (!jsonPath.empty()) bench::WriteJson(jsonPath, document);
    return isSettled ? 0 : 1;
  } catch (hosting::UnusableInput const& unusable) {
    fmt::print(stderr, "{}\n", unusable.what());
    return 3;
  }
}
