#include "tools/shadingctl/result/ResultWriter.h"

#include <fmt/format.h>

#include <cmath>
#include <iterator>

#include "tools/shadingctl/result/ResultColumns.h"
#include "tools/shadingctl/result/ResultReader.h"
#include "tools/shadingctl/result/Spool.h"

namespace shadingctl {
namespace {

class CsvWriter : public ResultWriter {
 public:
  explicit CsvWriter(OutputFile& output) : mOutput(output) {}

  void Begin(ReplaySettings const& settings) override {
    if (!settings.rows.none) mOutput.Write(CsvHeader());
  }

  void Add(FrameResult const& row) override { mOutput.Write(CsvRow(row)); }

  void End(ResultEnd const& /*end*/) override {}

 private:
  OutputFile& mOutput;
};

// JSON has no infinity.
std::string PositionJson(float position) {
  return std::isfinite(position) ? PositionText(static_cast<double>(position)) : std::string("null");
}

std::string BatchJson(DeliveredBatch const& batch) {
  std::string text = fmt::format("{{\"camera\":{},\"frame\":{},\"samples\":[", batch.camera, batch.frame);
  char const* separator = "";
  for (auto const& sample : batch.samples) {
    fmt::format_to(std::back_inserter(text), "{}[{},{},{}]", separator, sample.timestamp, PositionJson(sample.oisHallX),
                   PositionJson(sample.oisHallY));
    separator = ",";
  }
  return text + "]}";
}

// One object, a line for every frame, so that a long result can be written as it comes.
class JsonWriter : public ResultWriter {
 public:
  explicit JsonWriter(OutputFile& output) : mOutput(output) {}

  void Begin(ReplaySettings const& settings) override {
    if (settings.samples) mBatches.emplace();
    mOutput.Write(fmt::format("{{\"schema\": \"{}\", \"version\": {},\n\"settings\": {},\n\"frames\": [",
                              kReplaySchema.name, kReplaySchema.version, Dump(SettingsJson(settings))));
  }

  void Add(FrameResult const& frame) override { AddItem(Dump(RowOf(frame).cells)); }

  void AddBatch(DeliveredBatch const& batch) override {
    if (mBatches) mBatches->Append(BatchJson(batch));
  }

  void AddExtra(std::string const& key, Json const& value) override { mExtras[key] = value; }

  void End(ResultEnd const& end) override {
    mOutput.Write(fmt::format("\n],\n\"complete\": {},\n\"error\": {},\n\"summary\": {},\n\"findings\": {}",
                              end.error.empty(), Dump(OrNull(end.error)), Dump(end.summary), Dump(end.findings)));
    for (auto const& [key, value] : mExtras.items()) mOutput.Write(fmt::format(",\n\"{}\": {}", key, Dump(value)));
    if (mBatches) {
      mOutput.Write(",\n\"batches\": [");
      mIsFirst = true;
      for (std::string batch; mBatches->Next(batch);) AddItem(batch);
      mOutput.Write("\n]");
    }
    mOutput.Write("}\n");
  }

 private:
  void AddItem(std::string const& item) {
    mOutput.Write((mIsFirst ? "\n" : ",\n") + item);
    mIsFirst = false;
  }

  OutputFile& mOutput;
  bool mIsFirst = true;  // of a list
  Json mExtras = Json::object();
  std::optional<Spool> mBatches;
};

}  // namespace

Json SettingsJson(ReplaySettings const& settings) {
  RowSelection const& rows = settings.rows;
  Json only = rows.only.empty() ? Json(nullptr) : Json::array();
  for (Match const match : rows.only) only.push_back(Name(match));
  Json const range = rows.range ? Json({rows.range->first, rows.range->last}) : Json(nullptr);
  return {{"session", settings.session},
          {"library", settings.library},
          {"camera", OrNull(settings.camera)},
          {"sensor_type", OrNull(settings.sensorType)},
          {"type", OrNull(settings.type)},
          {"mode", settings.mode},
          {"log_level", settings.logLevel},
          {"reset_matched", settings.resetMatched},
          {"only", only},
          {"range", range},
          {"summary_only", rows.none},
          {"tolerance_us", kToleranceUs},
          {"samples", settings.samples}};
}

std::unique_ptr<ResultWriter> MakeResultWriter(Format format, OutputFile& output, TableStyle const& style) {
  if (format == Format::kTable) return MakeTableWriter(output, style);
  if (format == Format::kCsv) return std::make_unique<CsvWriter>(output);
  return std::make_unique<JsonWriter>(output);
}

}  // namespace shadingctl
