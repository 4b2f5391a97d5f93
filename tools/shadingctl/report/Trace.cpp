// A replay on the timeline of a trace viewer.
#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tools/shadingctl/report/Page.h"
#include "tools/shadingctl/report/WrappingTime.h"

namespace shadingctl {
namespace {

// A camera is a process of the trace; these are its threads, in the order in which they are shown. Slices of a thread
// may nest but not cross, so those that do go to further threads of the same name.
enum class Track { kFrames = 1, kExposure = 100, kReadout = 200, kSpan = 300 };

// Those that have slices.
constexpr std::pair<Track, char const*> kTracks[] = {
    {Track::kExposure, "exposure"}, {Track::kReadout, "readout"}, {Track::kSpan, "span"}};

struct Slice {
  std::int64_t startNs = 0;
  std::int64_t endNs = 0;
  std::string name;
  std::string arguments;  // JSON
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

  void Name(std::int64_t camera) { Meta(camera, 0, "process_name", fmt::format(R"({{"name":"camera {}"}})", camera)); }

  void NameTrack(std::int64_t camera, int thread, std::string const& name) {
    Meta(camera, thread, "thread_name", fmt::format(R"({{"name":"{}"}})", name));
    Meta(camera, thread, "thread_sort_index", fmt::format(R"({{"sort_index":{}}})", thread));
  }

  void AddCounter(std::int64_t camera, char const* name, std::int64_t ns, std::optional<double> const& value) {
    if (!value) return;
    Add(fmt::format(R"({{"ph":"C","pid":{},"tid":0,"name":"{}","ts":{},"args":{{"value":{}}}}})", camera, name,
                    TimeText(ns), PositionText(*value)));
  }

  void AddInstant(std::int64_t camera, std::string const& name, std::int64_t ns, std::string const& arguments) {
    Add(fmt::format(R"({{"ph":"i","s":"t","pid":{},"tid":{},"name":{},"ts":{},"args":{}}})", camera,
                    static_cast<int>(Track::kFrames), Dump(name), TimeText(ns), arguments));
  }

  void AddSlice(std::int64_t camera, int thread, Slice const& slice) {
    Add(fmt::format(R"({{"ph":"X","pid":{},"tid":{},"name":{},"ts":{},"dur":{},"args":{}}})", camera, thread,
                    Dump(slice.name), TimeText(slice.startNs), TimeText(WrappingDifference(slice.endNs, slice.startNs)),
                    slice.arguments));
  }

 private:
  void Meta(std::int64_t camera, int thread, char const* name, std::string const& arguments) {
    Add(fmt::format(R"({{"ph":"M","pid":{},"tid":{},"name":"{}","args":{}}})", camera, thread, name, arguments));
  }

  void Add(std::string const& event) {
    mOutput.Write((mFirst ? "\n" : ",\n") + event);
    mFirst = false;
  }

  OutputFile& mOutput;
  bool mFirst = true;
};

// Without those that are null.
std::string CellsThere(ResultRow const& row) {
  Json cells = Json::object();
  for (auto const& [name, value] : row.cells.items()) {
    if (!value.is_null()) cells[name] = value;
  }
  return Dump(cells);
}

using TrackSlices = std::map<Track, std::vector<Slice>>;

// The exposure and the readout of the frame's lines, and the samples of its span as they were stamped.
void AddSlices(ResultRow const& row, std::int64_t timeNs, TrackSlices& slices) {
  std::string const name = fmt::format("frame {}", *row.Get<std::uint64_t>(Column::kFrame));
  if (auto const* const us = row.Get<std::uint64_t>(Column::kExposureUs)) {
    slices[Track::kExposure].push_back(
        {WrappingDifference(timeNs, WrappingNsOf(static_cast<std::int64_t>(*us))), timeNs, name, "{}"});
  }
  if (auto const* const us = row.Get<std::uint64_t>(Column::kReadoutUs)) {
    slices[Track::kReadout].push_back(
        {timeNs, WrappingSum(timeNs, WrappingNsOf(static_cast<std::int64_t>(*us))), name, "{}"});
  }
  Json const& span = row.Of(Column::kSpanUs);
  auto const* const offsetUs = row.Get<std::int64_t>(Column::kOffsetUs);
  if (span.is_null() || offsetUs == nullptr) return;
  auto const stampedNs = [&](std::int64_t alignedUs) { return WrappingNsOf(WrappingSum(alignedUs, *offsetUs)); };
  slices[Track::kSpan].push_back({stampedNs(span[0].get<std::int64_t>()), stampedNs(span[1].get<std::int64_t>()),
                                  fmt::format("{} {}", name, *row.Get<std::string>(Column::kMatch)), CellsThere(row)});
}

// Each slice goes to the first thread of its track that is free by then.
void WriteSlices(TraceWriter& writer, std::int64_t camera, Track track, char const* name, std::vector<Slice> slices) {
  std::stable_sort(slices.begin(), slices.end(),
                   [](Slice const& one, Slice const& other) { return one.startNs < other.startNs; });
  std::vector<std::int64_t> freeFromNs;
  for (Slice const& slice : slices) {
    auto const lane =
        std::find_if(freeFromNs.begin(), freeFromNs.end(), [&](std::int64_t ns) { return ns <= slice.startNs; });
    int const thread = static_cast<int>(track) + static_cast<int>(lane - freeFromNs.begin());
    if (lane == freeFromNs.end()) {
      freeFromNs.push_back(slice.endNs);
      writer.NameTrack(camera, thread, name);
    } else {
      *lane = slice.endNs;
    }
    writer.AddSlice(camera, thread, slice);
  }
}

}  // namespace

ResultHead WriteTrace(std::string const& path, OutputFile& output) {
  TraceWriter writer(output);
  std::map<std::int64_t, TrackSlices> cameras;
  ResultSink sink;
  sink.needed = {Column::kFrame, Column::kTimestampNs, Column::kMatch};
  sink.onRow = [&](ResultRow const& row) {
    auto const* const named = row.Get<std::int64_t>(Column::kCamera);
    std::int64_t const camera = named == nullptr ? 0 : *named;
    auto const [place, isNew] = cameras.try_emplace(camera);
    if (isNew) {
      writer.Name(camera);
      writer.NameTrack(camera, static_cast<int>(Track::kFrames), "frames");
    }
    auto const timeNs = static_cast<std::int64_t>(*row.Get<std::uint64_t>(Column::kTimestampNs));
    AddSlices(row, timeNs, place->second);
    std::string const& match = *row.Get<std::string>(Column::kMatch);
    if (match != Name(Match::kStart) && match != Name(Match::kCarried)) {
      writer.AddInstant(camera, fmt::format("frame {} {}", *row.Get<std::uint64_t>(Column::kFrame), match), timeNs,
                        CellsThere(row));
      return;
    }
    writer.AddCounter(camera, "position x", timeNs, NumberOf(row.Of(Column::kHallX)));
    writer.AddCounter(camera, "position y", timeNs, NumberOf(row.Of(Column::kHallY)));
  };
  sink.onSample = [&](DeliveredSample const& sample) {
    writer.AddCounter(sample.camera, "hall x", sample.timeNs, sample.x);
    writer.AddCounter(sample.camera, "hall y", sample.timeNs, sample.y);
  };
  ResultHead const head = ReadResult(path, {kReplaySchema}, sink);
  if (head.isCsv) RefuseValue(head.name, "JSON", "CSV");
  for (auto& [camera, slices] : cameras) {
    for (auto const& [track, name] : kTracks) WriteSlices(writer, camera, track, name, std::move(slices[track]));
  }
  writer.Finish();
  return head;
}

}  // namespace shadingctl
