#include "tools/shadingctl/report/Page.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "hosting/UnusableInput.h"
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

// The value with its times counted from the origin.
Json SinceOrigin(Column column, Json const& value, std::int64_t originNs) {
  if (value.is_null()) return value;
  auto const since = [](Json const& time, std::int64_t origin) {
    return Json(WrappingDifference(time.get<std::int64_t>(), origin));
  };
  if (column == Column::kTimestampNs) return since(value, originNs);
  bool const isTimeUs = column == Column::kStartOfFrameUs || column == Column::kWindowUs || column == Column::kSpanUs;
  if (!isTimeUs) return value;
  if (!value.is_array()) return since(value, originNs / 1000);
  return {since(value[0], originNs / 1000), since(value[1], originNs / 1000)};
}

template <class Number>
void AppendBytes(Number number, std::string& bytes) {
  char text[sizeof number];
  std::memcpy(text, &number, sizeof number);
  bytes.append(text, sizeof number);
}

// No number where single precision holds none.
float Position(std::optional<double> const& position) {
  bool const isHeld = position && std::abs(*position) <= std::numeric_limits<float>::max();
  return isHeld ? static_cast<float>(*position) : std::numeric_limits<float>::quiet_NaN();
}

std::string Base64(std::string_view bytes) {
  constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  auto const at = [&](std::size_t i) { return i < bytes.size() ? static_cast<unsigned char>(bytes[i]) : 0U; };
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    std::uint32_t const three = at(i) << 16 | at(i + 1) << 8 | at(i + 2);
    for (int shift = 18; shift >= 0; shift -= 6) text += kDigits[three >> shift & 63];
  }
  for (std::size_t i = bytes.size(); i % 3 != 0; ++i) text[text.size() - 3 + i % 3] = '=';
  return text;
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
  if (isNew) samples.firstNs = samples.latestNs = sample.timeNs;
  std::int64_t const stepNs = WrappingDifference(sample.timeNs, samples.latestNs);
  auto const held = static_cast<std::int32_t>(stepNs);
  if (held != stepNs) samples.jumps += fmt::format(",[{},{}]", samples.steps.size() / sizeof held, stepNs);
  AppendBytes(held, samples.steps);
  AppendBytes(Position(sample.x), samples.x);
  AppendBytes(Position(sample.y), samples.y);
  samples.latestNs = sample.timeNs;
  if (isNew || samples.frame != sample.frame) {
    samples.batches += fmt::format(",{},{}", samples.inBatch, Dump(OrNull(sample.frame)));
    samples.frame = sample.frame;
    samples.inBatch = 0;
  }
  ++samples.inBatch;
}

void PageData::AddExplained(Json const& words, std::string const& place) {
  Json const steps = words.value("steps", Json());
  bool const isTexts = steps.is_array() && std::all_of(steps.begin(), steps.end(), std::mem_fn(&Json::is_string));
  if (!isTexts) RefuseValue(place + ": explained: steps", "a list of texts", ShownValue(steps));
  mExplained += ',' + Dump(steps);
}

void PageData::Write(OutputFile& output) const {
  auto const take = [&](std::string_view piece) { WriteData(piece, output); };
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
  if (!mExplained.empty()) {
    take(",\"explained\":[");
    take(std::string_view(mExplained).substr(1));
    take("]");
  }
  if (mSamples.empty()) return;
  separator = ",\"samples\":[";
  for (auto const& [camera, samples] : mSamples) {
    take(fmt::format(R"({}{{"camera":{},"first_ns":{},"jumps":[{}],"batches":[{}],"steps_ns":")", separator, camera,
                     WrappingDifference(samples.firstNs, mOriginNs),
                     std::string_view(samples.jumps).substr(samples.jumps.empty() ? 0 : 1),
                     std::string_view(samples.batches).substr(1)));
    take(Base64(samples.steps));
    take(R"(","hall_x":")");
    take(Base64(samples.x));
    take(R"(","hall_y":")");
    take(Base64(samples.y));
    take("\"}");
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
  sink.onExplained = [&](Json const& words) { result.data.AddExplained(words, path); };
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
    bool const isReplay = IsReplay(head);
    Json members = isReplay ? Json::object() : head.members;
    if (isReplay) {
      for (char const* const key : {"settings", "complete", "error", "findings", "summary"}) {
        members[key] = head.members.value(key, Json());
      }
    }
    members["kind"] = KindName(head);
    members["name"] = head.name;
    std::string text = Dump(members);
    text.back() = isReplay ? ',' : '}';
    output.Write(separator);
    WriteData(text, output);
    if (isReplay) {
      data.Write(output);
      output.Write("}");
    }
    separator = ",";
  }
  output.Write("]");
  output.Write(kPageAfterData);
}

}  // namespace shadingctl
