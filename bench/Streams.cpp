#include <algorithm>
#include <cstdio>
#include <memory>
#include <vector>

#include "bench/Groups.h"
#include "bench/Rounds.h"
#include "bench/Variants.h"
#include "model/ReferenceModel.h"
#include "platform/desktop/Device.h"

namespace bench {

namespace {

constexpr std::size_t kCalcs = 256;     // of one block
constexpr std::size_t kLookedBack = 4;  // newest frames that are asked for in turn

using Named = std::pair<std::string, std::unique_ptr<Variant>>;

// Plays the stream on and compares all answers, frame by frame.
bool AnswersAgree(Stream& stream, std::vector<Named> const& variants) {
  std::vector<Answer> answers(variants.size());
  std::size_t answered = 0;
  for (int block = 0; block < 4; ++block) {
    stream.Advance();
    for (Frame const& frame : stream.Frames()) {
      for (std::size_t i = 0; i < variants.size(); ++i) {
        variants[i].second->Update(frame);
        variants[i].second->Calc(frame, answers[i]);
        if (answers[i].x == answers[0].x && answers[i].y == answers[0].y && answers[i].matched == answers[0].matched) {
          continue;
        }
        std::fprintf(stderr, "%s, frame %u: %s answers %g, %s answers %g\n", stream.Name().c_str(), frame.number,
                     variants[i].first.c_str(), answers[i].x.empty() ? 0.0 : answers[i].x[0], variants[0].first.c_str(),
                     answers[0].x.empty() ? 0.0 : answers[0].x[0]);
        return false;
      }
      answered += static_cast<std::size_t>(!answers[0].x.empty());
    }
  }
  if (answered > 2 * stream.Frames().size()) return true;
  std::fprintf(stderr, "%s: most frames have no answer\n", stream.Name().c_str());
  return false;
}

// Plays the stream on at log level 4 and compares the texts of all messages with the reference model's.
bool MessagesAgree(Library& library, Stream& stream) {
  library.Start(0);
  library.SetLevel(4);
  Library::SetSinks(false, true);
  desktop::Device& device = desktop::Device::Get();
  auto const shipped = ShippedLibrary(library, 0);
  model::ReferenceModel model(0, SensorType(0));
  model.StoreRollingShutter(kRollingShutterNs, 0);
  model.logLevel = 4;
  model.keepsMessages = true;
  device.RecordLog(true);
  Answer answers[2];
  bool agree = true;
  std::size_t compared = 0;
  stream.Advance();
  for (Frame const& frame : stream.Frames()) {
    shipped->Update(frame);
    shipped->Calc(frame, answers[0]);
    Samples batch = frame.batch;
    if (!batch.empty()) model.UpdateSensorData(frame.number, frame.input.timestamp0, batch);
    model.CalcOISValue(kShadingPreview, frame.input, &answers[1].x, &answers[1].y, frame.number, answers[1].matched);
    std::vector<desktop::LogMessage> const messages = device.TakeLog();
    compared += messages.size();
    agree =
        agree && std::equal(messages.begin(), messages.end(), model.messages.begin(), model.messages.end(),
                            [](auto const& written, auto const& expected) { return written.text == expected.text; });
    model.messages.clear();
  }
  device.RecordLog(false);
  library.SetLevel(0);
  Library::SetSinks(false, false);
  library.Stop(0);
  if (agree && compared > stream.Frames().size()) return true;
  std::fprintf(stderr, "%s: the library's messages are not those of the reference model\n", stream.Name().c_str());
  return false;
}

void AddVariant(Rounds& rounds, Stream& stream, Variant& variant, std::string const& name, Answer& answer) {
  auto const advance = [&stream] { stream.Advance(); };
  std::size_t const frames = stream.Frames().size();
  rounds.Add(name + "/update", frames, advance, [&] {
    for (Frame const& frame : stream.Frames()) variant.Update(frame);
  });
  rounds.Add(name + "/both", frames, advance, [&] {
    for (Frame const& frame : stream.Frames()) {
      variant.Update(frame);
      variant.Calc(frame, answer);
    }
  });
  rounds.Add(
      name + "/calc", kCalcs, [] {},
      [&, frames] {
        for (std::size_t i = 0; i < kCalcs; ++i) variant.Calc(stream.Frames()[frames - 1 - i % kLookedBack], answer);
      });
}

// Copying every batch to memory that stays near the processor, or to that of a history.
void AddMoves(Rounds& rounds, Stream const& stream, std::string const& name, std::vector<Samples>& memories) {
  rounds.Add(
      name, stream.Frames().size(), [] {},
      [&] {
        std::size_t next = 0;
        for (Frame const& frame : stream.Frames()) {
          Samples& moved = memories[next];
          if (++next == memories.size()) next = 0;
          moved.assign(frame.batch.begin(), frame.batch.end());
          asm volatile("" : : "r"(moved.data()) : "memory");
        }
      });
}

void AddPlatform(Rounds& rounds, Stream& stream, std::string const& name, Variant& platform) {
  rounds.Add(
      name, stream.Frames().size(), [&] { stream.Advance(); },
      [&] {
        for (Frame const& frame : stream.Frames()) platform.Update(frame);
      });
}

void AddFloors(Rounds& rounds, Stream const& stream, Floor& floor, Answer& answer) {
  std::size_t const frames = stream.Frames().size();
  rounds.Add(
      "in place/calc", kCalcs, [] {},
      [&, frames] {
        for (std::size_t i = 0; i < kCalcs; ++i) floor.InPlace(frames / 2 - i % kLookedBack, answer);
      });
  rounds.Add(
      "copy/calc", kCalcs, [] {},
      [&, frames] {
        for (std::size_t i = 0; i < kCalcs; ++i) floor.Copy(frames / 2 - i % kLookedBack, answer);
      });
  rounds.Add(
      "copy into kept memory/calc", kCalcs, [] {},
      [&, frames] {
        for (std::size_t i = 0; i < kCalcs; ++i) floor.CopyIntoKeptMemory(frames / 2 - i % kLookedBack, answer);
      });
}

// The targets for a stream; 0 for none.
struct Targets {
  double timesFaster = 0;
  bool overlapping = false;
};

void Report(Rounds const& rounds, Stream const& stream, std::vector<std::string> const& names, Targets const& targets,
            Table& table) {
  std::string const& group = stream.Name();
  auto const net = [](std::string const& name) {
    return [=](Rounds::Round const& round) { return round.at(name) - round.at("platform/update"); };
  };
  table.Add(group, "samples a frame", stream.SamplesPerFrame(), "");
  table.Add(group, "platform: deliver and pull", rounds.Median("platform/update"), "ns");
  table.Add(group, "platform: the same into a history", rounds.Median("platform, history/update"), "ns");
  table.Add(group, "in-place floor", rounds.Median("in place/calc"), "ns");
  table.Add(group, "copy floor", rounds.Median("copy/calc"), "ns");
  table.Add(group, "copy floor, memory kept from call to call", rounds.Median("copy into kept memory/calc"), "ns");
  table.Add(group, "moving the batch", rounds.Median("move"), "ns");
  table.Add(group, "moving the batch into a history", rounds.Median("move, history"), "ns");
  for (std::string const& name : names) {
    table.Add(group, name + ": update", rounds.Median(net(name + "/update")), "ns");
    table.Add(group, name + ": calc", rounds.Median(name + "/calc"), "ns");
    table.Add(group, name + ": update + calc", rounds.Median(net(name + "/both")), "ns");
  }
  table.Add(group, "calc / copy floor",
            rounds.Median([](Rounds::Round const& round) { return round.at("library/calc") / round.at("copy/calc"); }),
            "", {1.1, {}});
  double const allowance = targets.overlapping ? 2 : 1;
  table.Add(group, "update / (60 ns + 1.2 x moving the batch)", rounds.Median([&](Rounds::Round const& round) {
    return net("library/update")(round) / (60 + 1.2 * round.at("move"));
  }),
            "", {allowance, {}});
  table.Add(group, "the same with moves into a history", rounds.Median([&](Rounds::Round const& round) {
    return net("library/update")(round) / (60 + 1.2 * round.at("move, history"));
  }),
            "");
  table.Add(group, "library: update, beside a platform that fills a history",
            rounds.Median([](Rounds::Round const& round) {
              return round.at("library/update") - round.at("platform, history/update");
            }),
            "ns");
  Table::Target faster;
  if (targets.timesFaster > 0) faster.atLeast = targets.timesFaster;
  table.Add(group, "reference model / library, update + calc", rounds.Median([&](Rounds::Round const& round) {
    return net("reference model/both")(round) / net("library/both")(round);
  }),
            "", faster);
}

bool MeasureStream(Library& library, Stream& stream, bool isRegular, Targets const& targets, std::size_t count,
                   Table& table) {
  if (!MessagesAgree(library, stream)) return false;
  library.Start(0);
  std::vector<Named> variants;
  variants.emplace_back("library", ShippedLibrary(library, 0));
  variants.emplace_back("reference model", Reference());
  if (isRegular) {  // they lack the rules for irregular streams
    variants.emplace_back("ring", Ring());
    variants.emplace_back("map", TimeOrderedMap());
  }
  if (!AnswersAgree(stream, variants)) return false;

  Rounds rounds;
  Answer answer;
  answer.x = answer.y = {0.0, 0.0};
  auto const platform = PlatformOnly(1);
  auto const platformOfHistory = PlatformOnly(kHistoryFrames);
  Floor floor(stream);
  std::vector<Samples> moved(1);
  std::vector<Samples> movedToHistory(kHistoryFrames);
  std::vector<std::string> names;
  AddPlatform(rounds, stream, "platform/update", *platform);
  AddPlatform(rounds, stream, "platform, history/update", *platformOfHistory);
  AddFloors(rounds, stream, floor, answer);
  AddMoves(rounds, stream, "move", moved);
  AddMoves(rounds, stream, "move, history", movedToHistory);
  for (auto const& [name, variant] : variants) {
    AddVariant(rounds, stream, *variant, name, answer);
    names.push_back(name);
  }
  rounds.Run(count);
  Report(rounds, stream, names, targets, table);
  library.Stop(0);
  return true;
}

// Two rates side by side, each on a camera of its own; the fast one once more with a readout of as few samples as the
// slow one has.
void MeasureFlatness(Library& library, std::size_t count, Table& table) {
  struct Side {
    char const* name;
    Stream stream;
    unsigned int sensorMode;
    std::unique_ptr<Variant> variant;
  };
  Side sides[] = {{"slow", {"200 Hz", 214, false}, 0, nullptr},
                  {"fast", {"8 kHz", 8533, false}, 0, nullptr},
                  {"fast, short readout", {"8 kHz", 8533, false}, 1, nullptr}};
  Rounds rounds;
  Answer answer;
  int camera = 0;
  for (Side& side : sides) {
    library.Start(camera, side.sensorMode);
    side.variant = ShippedLibrary(library, camera++);
    AddVariant(rounds, side.stream, *side.variant, side.name, answer);
  }
  rounds.Run(count);
  auto const ratio = [&](std::string const& name) {
    return rounds.Median([&](Rounds::Round const& round) { return round.at(name + "/calc") / round.at("slow/calc"); });
  };
  table.Add("8 kHz beside 200 Hz", "calc / calc", ratio("fast"), "", {1.25, {}});
  table.Add("8 kHz beside 200 Hz", "the same, readouts of as many samples", ratio("fast, short readout"), "",
            {1.25, {}});
  while (camera > 0) library.Stop(--camera);
}

}  // namespace

bool MeasureStreams(Library& library, std::string const& recording, std::size_t rounds, Table& table) {
  struct Rate {
    char const* name;
    std::uint32_t samplesPerBlock;  // so many that 30 frames hold 100 even at the lowest rate
    double timesFaster;
  };
  for (Rate const& rate :
       {Rate{"200 Hz", 214, 4}, Rate{"1 kHz", 1067, 10}, Rate{"4 kHz", 4267, 0}, Rate{"8 kHz", 8533, 40}}) {
    for (bool const overlapping : {false, true}) {
      Stream stream(std::string(rate.name) + (overlapping ? " overlapping" : ""), rate.samplesPerBlock, overlapping);
      if (!MeasureStream(library, stream, true, {rate.timesFaster, overlapping}, rounds, table)) return false;
    }
  }
  if (!recording.empty()) {
    Stream stream("recording", recording);
    if (!MeasureStream(library, stream, false, {0, true}, rounds, table)) return false;
  }
  MeasureFlatness(library, rounds, table);
  return true;
}

}  // namespace bench
