#include "tools/shadingctl/output/ResultWriter.h"

#include <fmt/format.h>

#include <cstdlib>
#include <iterator>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "tools/shadingctl/output/RowCsv.h"
#include "tools/shadingctl/output/TableWriter.h"

namespace shadingctl {
namespace {

class CsvWriter : public ResultWriter {
 public:
  explicit CsvWriter(OutputFile& output) : mOutput(output) {}

  void Begin(ReplaySettings const& settings) override {
    if (!settings.rows.none) mOutput.Write(CsvHeader());
  }

  void Add(FrameResult const& row) override { mOutput.Write(CsvRow(row)); }

  void End(Summaries const& /*summaries*/, std::string const& /*error*/) override {}

 private:
  OutputFile& mOutput;
};

// One object, a line for every frame, so that a long result can be written as it comes.
class JsonWriter : public ResultWriter {
 public:
  explicit JsonWriter(OutputFile& output) : mOutput(output) {}

  void Begin(ReplaySettings const& settings) override {
    nlohmann::ordered_json const head = {
        {"session", settings.session},       {"library", settings.library},
        {"camera", OrNull(settings.camera)}, {"sensor_type", OrNull(settings.sensorType)},
        {"type", OrNull(settings.type)},     {"mode", settings.mode},
        {"log_level", settings.logLevel},    {"reset_matched", settings.resetMatched},
        {"only", Kinds(settings.rows)},      {"range", RangeOf(settings.rows)},
        {"summary_only", settings.rows.none}};
    mOutput.Write(fmt::format("{{\"schema\": \"{}\", \"version\": {},\n\"settings\": {},\n\"frames\": [", kReplaySchema,
                              kReplayVersion, Dump(head)));
  }

  void Add(FrameResult const& r) override {
    nlohmann::ordered_json const row = {
        {"frame", r.frame},
        {"timestamp_ns", r.timestampNs},
        {"type", r.type},
        {"match", Name(r.match)},
        {"samples", OrNull(r.samples)},
        {"start_index", OrNull(r.startIndex)},
        {"end_index", OrNull(r.endIndex)},
        {"offset_us", OrNull(r.offsetUs)},
        {"start_distance_us", OrNull(r.startDistanceUs)},
        {"span_age_us", OrNull(r.spanAgeUs)},
        {"hall_x", Number(r.hallX, PositionText)},
        {"hall_y", Number(r.hallY, PositionText)},
        {"message", r.message.empty() ? nlohmann::ordered_json(nullptr) : nlohmann::ordered_json(r.message)},
        {"camera", r.camera},
        {"end", r.end ? nlohmann::ordered_json(Name(*r.end)) : nlohmann::ordered_json(nullptr)},
        {"end_distance_us", OrNull(r.endDistanceUs)},
        {"coverage", Number(r.coverage, ShareText)},
        {"repeated_samples", OrNull(r.repeatedSamples)},
        {"readout_distance", Number(r.readoutDistance, DistanceText)}};
    mOutput.Write((mFirst ? "\n" : ",\n") + Dump(row));
    mFirst = false;
  }

  void End(Summaries const& summaries, std::string const& error) override {
    nlohmann::ordered_json const problem =
        error.empty() ? nlohmann::ordered_json(nullptr) : nlohmann::ordered_json(error);
    mOutput.Write(fmt::format("\n],\n\"complete\": {},\n\"error\": {},\n\"summary\": {},\n\"findings\": {}}}\n",
                              error.empty(), Dump(problem), Dump(summaries.Json()), Dump(summaries.FindingsJson())));
  }

 private:
  // Paths may hold any bytes; those that are no UTF-8 are replaced.
  static std::string Dump(nlohmann::ordered_json const& json) {
    return json.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
  }

  static nlohmann::ordered_json Kinds(RowSelection const& rows) {
    if (rows.only.empty()) return nullptr;
    nlohmann::ordered_json kinds = nlohmann::ordered_json::array();
    for (Match const match : rows.only) kinds.push_back(Name(match));
    return kinds;
  }

  static nlohmann::ordered_json RangeOf(RowSelection const& rows) {
    if (!rows.range) return nullptr;
    return {rows.range->first, rows.range->last};
  }

  template <class Number>
  static nlohmann::ordered_json OrNull(std::optional<Number> const& number) {
    return number ? nlohmann::ordered_json(*number) : nlohmann::ordered_json(nullptr);
  }

  // With the digits of the other formats.
  static nlohmann::ordered_json Number(std::optional<double> const& number, std::string (*text)(double)) {
    return number ? nlohmann::ordered_json(std::strtod(text(*number).c_str(), nullptr))
                  : nlohmann::ordered_json(nullptr);
  }

  OutputFile& mOutput;
  bool mFirst = true;
};

}  // namespace

std::unique_ptr<ResultWriter> MakeResultWriter(Format format, OutputFile& output, TableStyle const& style) {
  switch (format) {
    case Format::kTable:
      return MakeTableWriter(output, style);
    case Format::kCsv:
      return std::make_unique<CsvWriter>(output);
    case Format::kJson:
      return std::make_unique<JsonWriter>(output);
  }
  return nullptr;
}

}  // namespace shadingctl
