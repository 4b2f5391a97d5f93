#include <algorithm>
#include <atomic>
#include <chrono>
#include <memory>
#include <thread>

#include "bench/Groups.h"
#include "bench/Rounds.h"
#include "bench/Variants.h"

namespace bench {

namespace {

constexpr std::size_t kLookUps = 256;  // of one block

Stream OneKilohertz() { return {"1 kHz", 1067, false}; }

void Play(Variant& variant, Stream const& stream, Answer& answer) {
  for (Frame const& frame : stream.Frames()) {
    variant.Update(frame);
    variant.Calc(frame, answer);
  }
}

void MeasureLevels(Library& library, std::size_t count, Table& table) {
  struct Sinks {
    char const* name;
    bool systemLog;
    bool file;
  };
  Stream stream = OneKilohertz();
  Rounds rounds;
  Answer answer;
  auto const variant = ShippedLibrary(library, 0);
  library.Start(0);
  std::vector<std::string> names;
  for (int const level : {0, 1, 4}) {
    for (Sinks const& sinks : {Sinks{"no sink", false, false}, Sinks{"system log", true, false},
                               Sinks{"file", false, true}, Sinks{"both sinks", true, true}}) {
      names.push_back("level " + std::to_string(level) + ", " + sinks.name);
      auto const prepare = [&library, &stream, level, sinks] {
        Library::SetSinks(sinks.systemLog, sinks.file);
        library.SetLevel(level);
        stream.Advance();
      };
      rounds.Add(names.back(), Stream::kBlockFrames, prepare, [&] { Play(*variant, stream, answer); });
    }
  }
  rounds.Run(count);
  Library::SetSinks(false, false);
  library.SetLevel(0);
  for (std::string const& name : names) {
    table.Add("log, 1 kHz", name + ": update + calc / level 0",
              rounds.Median([&](Rounds::Round const& round) { return round.at(name) / round.at(names.front()); }), "");
  }
  library.Stop(0);
}

void MeasureLookUps(Library& library, std::size_t count, Table& table) {
  Stream stream = OneKilohertz();
  Rounds rounds;
  Answer answer;
  Samples samples;
  auto const variant = ShippedLibrary(library, 0);
  library.Start(0);
  Play(*variant, stream, answer);
  auto const newest = [&stream](std::size_t i) -> Frame const& {
    return stream.Frames()[Stream::kBlockFrames - 2 - i % 4];
  };
  rounds.Add(
      "time", kLookUps, [] {},
      [&] {
        for (std::size_t i = 0; i < kLookUps; ++i) library.QuerySensorData(samples, 0, 0, newest(i).input.timestamp0);
      });
  rounds.Add(
      "frame", kLookUps, [] {},
      [&] {
        for (std::size_t i = 0; i < kLookUps; ++i) library.QuerySensorData(samples, 0, newest(i).number, 0);
      });
  rounds.Run(count);
  table.Add("look-ups, 1 kHz", "100 samples around a time", rounds.Median("time"), "ns");
  table.Add("look-ups, 1 kHz", "samples of a frame", rounds.Median("frame"), "ns");
  library.Stop(0);
}

void MeasureFirstFrame(Library& library, std::size_t count, Table& table) {
  using Clock = std::chrono::steady_clock;
  Stream stream = OneKilohertz();
  Rounds rounds;
  Answer answer;
  auto const variant = ShippedLibrary(library, 0);
  auto const platform = PlatformOnly(1);
  auto const timed = [&](Variant& update) {
    auto const begin = Clock::now();
    update.Update(stream.Frames().front());
    return std::chrono::duration<double, std::nano>(Clock::now() - begin).count();
  };
  rounds.AddTimed("first", 16, [&] {
    double totalNs = 0;
    for (int i = 0; i < 16; ++i) {
      library.Start(0);
      totalNs += timed(*variant);
      library.Stop(0);
    }
    return totalNs;
  });
  rounds.AddTimed("platform", 16, [&] {
    double totalNs = 0;
    for (int i = 0; i < 16; ++i) totalNs += timed(*platform);
    return totalNs;
  });
  rounds.Run(count);
  table.Add("first frame, 1 kHz", "update",
            rounds.Median([](Rounds::Round const& round) { return round.at("first") - round.at("platform"); }), "ns");
}

// Runs both at the same time and answers the ns until both are done.
template <typename First, typename Second>
double Together(First first, Second second) {
  std::atomic<int> ready{0};
  std::chrono::steady_clock::time_point begins[2];
  std::chrono::steady_clock::time_point ends[2];
  auto const run = [&](int i, auto& work) {
    ++ready;
    while (ready < 2) {
    }
    begins[i] = std::chrono::steady_clock::now();
    work();
    ends[i] = std::chrono::steady_clock::now();
  };
  std::thread other([&] { run(1, second); });
  run(0, first);
  other.join();
  return std::chrono::duration<double, std::nano>(std::max(ends[0], ends[1]) - std::min(begins[0], begins[1])).count();
}

void MeasureCameras(Library& library, std::size_t count, Table& table) {
  Stream stream = OneKilohertz();
  Rounds rounds;
  Answer answers[kCameras];
  std::vector<std::unique_ptr<Variant>> variants;
  for (int camera = 0; camera < kCameras; ++camera) {
    library.Start(camera);
    variants.push_back(ShippedLibrary(library, camera));
  }
  auto const play = [&](std::size_t camera) { Play(*variants[camera], stream, answers[camera]); };
  auto const advance = [&stream] { stream.Advance(); };
  rounds.Add("one", Stream::kBlockFrames, advance, [&] { play(0); });
  rounds.Add("four", Stream::kBlockFrames * kCameras, advance, [&] {
    for (Frame const& frame : stream.Frames()) {
      for (std::size_t camera = 0; camera < kCameras; ++camera) {
        variants[camera]->Update(frame);
        variants[camera]->Calc(frame, answers[camera]);
      }
    }
  });
  rounds.AddTimed("two threads, two cameras", Stream::kBlockFrames * 2, [&] {
    stream.Advance();
    return Together([&] { play(0); }, [&] { play(1); });
  });
  rounds.AddTimed("two threads, one camera", Stream::kBlockFrames, [&] {
    stream.Advance();
    return Together(
        [&] {
          for (Frame const& frame : stream.Frames()) variants[0]->Update(frame);
        },
        [&] {
          for (Frame const& frame : stream.Frames()) variants[0]->Calc(frame, answers[0]);
        });
  });
  rounds.Run(count);
  auto const ratio = [&](char const* name) {
    return rounds.Median([&](Rounds::Round const& round) { return round.at(name) / round.at("one"); });
  };
  table.Add("cameras, 1 kHz", "one camera: frame, platform included", rounds.Median("one"), "ns");
  table.Add("cameras, 1 kHz", "four cameras / one", ratio("four"), "");
  table.Add("cameras, 1 kHz", "two threads on two cameras / one", ratio("two threads, two cameras"), "");
  table.Add("cameras, 1 kHz", "update and calc threads on one camera / one", ratio("two threads, one camera"), "");
  for (int camera = kCameras; camera-- > 0;) library.Stop(camera);
}

}  // namespace

void MeasureSurroundings(Library& library, std::size_t rounds, Table& table) {
  MeasureLevels(library, rounds, table);
  MeasureLookUps(library, rounds, table);
  MeasureFirstFrame(library, rounds, table);
  MeasureCameras(library, rounds, table);
}

}  // namespace bench
