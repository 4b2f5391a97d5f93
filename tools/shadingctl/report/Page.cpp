#include "tools/shadingctl/report/Page.h"

#include <fmt/format.h>

#include <string_view>

#include "hosting/UnusableInput.h"
#include "tools/shadingctl/report/ResultDocument.h"
#include "tools/shadingctl/report/WrappingTime.h"

namespace shadingctl {
namespace {

// No text of the data may end the element that holds it.
void WriteData(std::string_view text, OutputFile& output) {
  for (std::size_t at = 0; (at = text.find('<')) != std::string_view::npos;) {
    output.Write(text.substr(0, at));
    output.Write("\\u003c");
    text.remove_prefix(at + 1);
  }
  output.Write(text);
}

bool IsTimeUs(Column column) {
  return column == Column::kStartOfFrameUs || column == Column::kWindowUs || column == Column::kSpanUs;
}

// The value with its times counted from the origin.
Json SinceOrigin(Column column, Json const& value, std::int64_t originNs) {
  if (value.is_null()) return value;
  auto const since = [](Json const& time, std::int64_t origin) {
    return Json(WrappingDifference(time.get<std::int64_t>(), origin));
  };
  if (column == Column::kTimestampNs) return since(value, originNs);
  if (!IsTimeUs(column)) return value;
  if (!value.is_array()) return since(value, originNs / 1000);
  return {since(value[0], originNs / 1000), since(value[1], originNs / 1000)};
}

}  // namespace

void PageData::Add(ResultRow const& row) {
  if (mRows == 0) {
    mOriginNs = static_cast<std::int64_t>(*row.Get<std::uint64_t>(Column::kTimestampNs)) / 1000 * 1000;
  }
  for (std::size_t i = 0; i < kColumnCount; ++i) {
    auto const column = static_cast<Column>(i);
    std::string& text = mColumns[i];
    if (text.empty() && !row.Has(column)) continue;
    if (text.empty()) {
      for (std::uint64_t before = 0; before < mRows; ++before) text += before == 0 ? "null" : ",null";
    }
    if (mRows > 0) text += ',';
    text += Dump(SinceOrigin(column, row.Of(column), mOriginNs));
  }
  ++mRows;
}

void PageData::Add(DeliveredSample const& sample) {
  auto const [place, isNew] = mSamples.try_emplace(sample.camera);
  Samples& samples = place->second;
  if (isNew) {
    samples.firstNs = sample.timeNs;
  } else {
    samples.stepsNs += fmt::format(",{}", WrappingDifference(sample.timeNs, samples.latestNs));
  }
  samples.latestNs = sample.timeNs;
  samples.x += (isNew ? "" : ",") + Dump(OrNull(sample.x));
  samples.y += (isNew ? "" : ",") + Dump(OrNull(sample.y));
}

void PageData::Write(std::function<void(std::string_view)> const& take) const {
  take(fmt::format(R"("origin_ns":"{}","frames":{{)", mOriginNs));
  char const* separator = "";
  for (std::size_t i = 0; i < kColumnCount; ++i) {
    if (mColumns[i].empty()) continue;
    bool const isTimestamp = i == static_cast<std::size_t>(Column::kTimestampNs);
    take(fmt::format("{}\"{}\":[", separator, isTimestamp ? "time_ns" : kResultColumns[i].name));
    take(mColumns[i]);
    take("]");
    separator = ",";
  }
  take("}");
  if (mSamples.empty()) return;
  separator = ",\"samples\":[";
  for (auto const& [camera, samples] : mSamples) {
    take(fmt::format(R"({}{{"camera":{},"time_steps_ns":[{})", separator, camera,
                     WrappingDifference(samples.firstNs, mOriginNs)));
    take(samples.stepsNs);
    take("],\"hall_x\":[");
    take(samples.x);
    take("],\"hall_y\":[");
    take(samples.y);
    take("]}");
    separator = ",";
  }
  take("]");
}

PageResult ReadPageResult(std::string const& path) {
  PageResult result;
  ResultSink sink;
  sink.needed = {Column::kFrame, Column::kTimestampNs, Column::kMatch};
  sink.onRow = [&](ResultRow const& row) { result.data.Add(row); };
  sink.onSample = [&](DeliveredSample const& sample) { result.data.Add(sample); };
  result.head = ReadDocument(path, sink);
  return result;
}

void WritePage(std::vector<PageResult> const& results, OutputFile& output) {
  for (PageResult const& result : results) {
    if (results.size() == 1 || IsReplay(result.head)) continue;
    throw hosting::UnusableInput(fmt::format("{}: expected the result of a replay beside another one, found {}",
                                             result.head.name, KindName(result.head)));
  }
  output.Write(kPageBeforeData);
  char const* separator = "[";
  for (auto const& [head, data] : results) {
    Json members = Json::object();
    if (IsReplay(head)) {
      for (char const* const key : {"settings", "complete", "error", "findings", "summary"}) {
        members[key] = head.members.value(key, Json());
      }
    } else {
      members = head.members;
    }
    members["kind"] = KindName(head);
    members["name"] = head.name;
    std::string text = Dump(members);
    if (IsReplay(head)) text.back() = ',';
    output.Write(separator);
    WriteData(text, output);
    if (IsReplay(head)) {
      data.Write([&](std::string_view piece) { WriteData(piece, output); });
      output.Write("}");
    }
    separator = ",";
  }
  output.Write("]");
  output.Write(kPageAfterData);
}

}  // namespace shadingctl
