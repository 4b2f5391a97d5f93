#include "tools/shadingctl/report/Trace.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "hosting/UnusableInput.h"
#include "tools/shadingctl/report/WrappingTime.h"

namespace shadingctl {
namespace {

using Json = nlohmann::ordered_json;

// A camera is a process of the trace; these are its threads, in the order in which they are shown. Slices of a thread
// may nest but not cross, so those that do go to further threads of the same name.
enum class Track { kFrames = 1, kExposure = 100, kReadout = 200, kSpan = 300 };

struct TrackName {
  Track track;
  char const* name;
};
constexpr TrackName kTracks[] = {
    {Track::kFrames, "frames"}, {Track::kExposure, "exposure"}, {Track::kReadout, "readout"}, {Track::kSpan, "span"}};

struct Slice {
  std::int64_t startNs = 0;
  std::int64_t endNs = 0;
  std::string name;
  Json arguments;
};

// us with all digits of the ns, which a double would not hold.
std::string TimeText(std::int64_t ns) {
  std::uint64_t const size = ns < 0 ? 0 - static_cast<std::uint64_t>(ns) : static_cast<std::uint64_t>(ns);
  return fmt::format("{}{}.{:03}", ns < 0 ? "-" : "", size / 1000, size % 1000);
}

class TraceWriter {
 public:
  explicit TraceWriter(OutputFile& output) : mOutput(output) {
    mOutput.Write("{\"displayTimeUnit\": \"ms\", \"traceEvents\": [");
  }

  void Finish() { mOutput.Write("\n]}\n"); }

  void Name(std::int64_t camera) { Meta(camera, 0, "process_name", {{"name", fmt::format("camera {}", camera)}}); }

  void NameTrack(std::int64_t camera, int thread, std::string const& name) {
    Meta(camera, thread, "thread_name", {{"name", name}});
    Meta(camera, thread, "thread_sort_index", {{"sort_index", thread}});
  }

  void AddCounter(std::int64_t camera, char const* name, std::int64_t ns, Json const& value) {
    if (!value.is_number()) return;
    Add(fmt::format(R"({{"ph":"C","pid":{},"tid":0,"name":"{}","ts":{},"args":{{"value":{}}}}})", camera, name,
                    TimeText(ns), value.dump()));
  }

  void AddInstant(std::int64_t camera, std::string const& name, std::int64_t ns, Json const& arguments) {
    Add(fmt::format(R"({{"ph":"i","s":"t","pid":{},"tid":{},"name":{},"ts":{},"args":{}}})", camera,
                    static_cast<int>(Track::kFrames), Text(name), TimeText(ns), Text(arguments)));
  }

  void AddSlice(std::int64_t camera, int thread, Slice const& slice) {
    Add(fmt::format(R"({{"ph":"X","pid":{},"tid":{},"name":{},"ts":{},"dur":{},"args":{}}})", camera, thread,
                    Text(slice.name), TimeText(slice.startNs), TimeText(WrappingDifference(slice.endNs, slice.startNs)),
                    Text(slice.arguments)));
  }

 private:
  static std::string Text(Json const& json) { return json.dump(-1, ' ', false, Json::error_handler_t::replace); }

  void Meta(std::int64_t camera, int thread, char const* name, Json const& arguments) {
    Add(fmt::format(R"({{"ph":"M","pid":{},"tid":{},"name":"{}","args":{}}})", camera, thread, name, Text(arguments)));
  }

  void Add(std::string const& event) {
    mOutput.Write((mFirst ? "\n" : ",\n") + event);
    mFirst = false;
  }

  OutputFile& mOutput;
  bool mFirst = true;
};

using TrackSlices = std::map<Track, std::vector<Slice>>;

bool HasNumber(Json const& frame, char const* key) { return frame.contains(key) && frame[key].is_number_integer(); }

Json ArgumentsOf(Json const& frame) {
  Json arguments = Json::object();
  for (auto const& [key, value] : frame.items()) {
    if (!value.is_null()) arguments[key] = value;
  }
  return arguments;
}

// The exposure and the readout of the frame's lines, and the samples of its span as they were stamped.
void AddSlices(Json const& frame, TrackSlices& slices) {
  auto const timeNs = frame["timestamp_ns"].get<std::int64_t>();
  std::string const name = fmt::format("frame {}", frame["frame"].get<std::int64_t>());
  if (HasNumber(frame, "exposure_us")) {
    std::int64_t const exposureNs = WrappingNsOf(frame["exposure_us"].get<std::int64_t>());
    slices[Track::kExposure].push_back({WrappingDifference(timeNs, exposureNs), timeNs, name, Json::object()});
  }
  if (HasNumber(frame, "readout_us")) {
    std::int64_t const readoutNs = WrappingNsOf(frame["readout_us"].get<std::int64_t>());
    slices[Track::kReadout].push_back({timeNs, WrappingSum(timeNs, readoutNs), name, Json::object()});
  }
  bool const hasSpan = frame.contains("span_us") && frame["span_us"].is_array() && HasNumber(frame, "offset_us");
  if (!hasSpan) return;
  auto const offsetUs = frame["offset_us"].get<std::int64_t>();
  std::int64_t const firstNs = WrappingNsOf(WrappingSum(frame["span_us"][0].get<std::int64_t>(), offsetUs));
  std::int64_t const lastNs = WrappingNsOf(WrappingSum(frame["span_us"][1].get<std::int64_t>(), offsetUs));
  slices[Track::kSpan].push_back(
      {firstNs, lastNs, fmt::format("{} {}", name, frame["match"].get<std::string>()), ArgumentsOf(frame)});
}

// Each slice goes to the first thread of its track that is free by then.
void WriteSlices(TraceWriter& writer, std::int64_t camera, TrackName const& track, std::vector<Slice> slices) {
  std::stable_sort(slices.begin(), slices.end(),
                   [](Slice const& one, Slice const& other) { return one.startNs < other.startNs; });
  std::vector<std::int64_t> freeFromNs;
  for (Slice const& slice : slices) {
    auto const lane =
        std::find_if(freeFromNs.begin(), freeFromNs.end(), [&](std::int64_t ns) { return ns <= slice.startNs; });
    int const thread = static_cast<int>(track.track) + static_cast<int>(lane - freeFromNs.begin());
    if (lane == freeFromNs.end()) {
      freeFromNs.push_back(slice.endNs);
      writer.NameTrack(camera, thread, track.name);
    } else {
      *lane = slice.endNs;
    }
    writer.AddSlice(camera, thread, slice);
  }
}

}  // namespace

void WriteTrace(ResultDocument const& document, OutputFile& output) {
  if (document.kind != ResultDocument::Kind::kReplay) {
    throw hosting::UnusableInput(fmt::format("{}: expected the result of a replay, found {}, which has no times",
                                             document.name, Name(document.kind)));
  }
  TraceWriter writer(output);
  std::map<std::int64_t, TrackSlices> cameras;
  for (Json const& frame : document.json["frames"]) {
    auto const camera = HasNumber(frame, "camera") ? frame["camera"].get<std::int64_t>() : 0;
    auto const [place, isNew] = cameras.try_emplace(camera);
    if (isNew) {
      writer.Name(camera);
      writer.NameTrack(camera, static_cast<int>(Track::kFrames), kTracks[0].name);
    }
    AddSlices(frame, place->second);
    auto const timeNs = frame["timestamp_ns"].get<std::int64_t>();
    std::string const match = frame["match"].get<std::string>();
    bool const hasPosition = match == "start" || match == "carried";
    if (!hasPosition) {
      writer.AddInstant(camera, fmt::format("frame {} {}", frame["frame"].get<std::int64_t>(), match), timeNs,
                        ArgumentsOf(frame));
      continue;
    }
    writer.AddCounter(camera, "position x", timeNs, frame.value("hall_x", Json()));
    writer.AddCounter(camera, "position y", timeNs, frame.value("hall_y", Json()));
  }
  for (auto& [camera, slices] : cameras) {
    for (TrackName const& track : kTracks) WriteSlices(writer, camera, track, std::move(slices[track.track]));
  }
  if (document.json.contains("batches")) {
    for (Json const& batch : document.json["batches"]) {
      auto const camera = batch["camera"].get<std::int64_t>();
      for (Json const& sample : batch["samples"]) {
        writer.AddCounter(camera, "hall x", sample[0].get<std::int64_t>(), sample[1]);
        writer.AddCounter(camera, "hall y", sample[0].get<std::int64_t>(), sample[2]);
      }
    }
  }
  writer.Finish();
}

}  // namespace shadingctl
