#include <fmt/format.h>

#include <cstdlib>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <utility>

#include "tools/shadingctl/result/BatchSpool.h"
#include "tools/shadingctl/result/ResultWriter.h"

namespace shadingctl {
namespace {

// One object, a line for every frame, so that a long result can be written as it comes.
class JsonWriter : public ResultWriter {
 public:
  explicit JsonWriter(std::function<void(std::string_view)> write) : mWrite(std::move(write)) {}

  void Begin(ReplaySettings const& settings) override {
    nlohmann::ordered_json const head = {
        {"session", settings.session},        {"library", settings.library},
        {"camera", OrNull(settings.camera)},  {"sensor_type", OrNull(settings.sensorType)},
        {"type", OrNull(settings.type)},      {"mode", settings.mode},
        {"log_level", settings.logLevel},     {"reset_matched", settings.resetMatched},
        {"only", Kinds(settings.rows)},       {"range", RangeOf(settings.rows)},
        {"summary_only", settings.rows.none}, {"tolerance_us", kToleranceUs},
        {"samples", settings.samples}};
    if (settings.samples) mBatches.emplace();
    mWrite(fmt::format("{{\"schema\": \"{}\", \"version\": {},\n\"settings\": {},\n\"frames\": [", kReplaySchema,
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
        {"readout_distance", Number(r.readoutDistance, DistanceText)},
        {"start_of_frame_us", StartOfFrame(r)},
        {"exposure_us", r.times ? nlohmann::ordered_json(r.times->exposureUs) : nlohmann::ordered_json(nullptr)},
        {"readout_us", r.times ? nlohmann::ordered_json(r.times->readoutUs) : nlohmann::ordered_json(nullptr)},
        {"window_us", Range(r.window)},
        {"span_us", Range(r.spanTime)}};
    mWrite((mFirst ? "\n" : ",\n") + Dump(row));
    mFirst = false;
  }

  void AddBatch(DeliveredBatch const& batch) override {
    if (mBatches) mBatches->Add(batch);
  }

  void AddExtra(std::string const& key, nlohmann::ordered_json const& value) override { mExtras[key] = value; }

  void End(ResultEnd const& end) override {
    bool const isComplete = end.error.empty();
    nlohmann::ordered_json const problem =
        isComplete ? nlohmann::ordered_json(nullptr) : nlohmann::ordered_json(end.error);
    mWrite(fmt::format("\n],\n\"complete\": {},\n\"error\": {},\n\"summary\": {},\n\"findings\": {}", isComplete,
                       Dump(problem), Dump(end.summary), Dump(end.findings)));
    for (auto const& [key, value] : mExtras.items()) mWrite(fmt::format(",\n\"{}\": {}", key, Dump(value)));
    if (mBatches) {
      mWrite(",\n\"batches\": [");
      mBatches->Read(mWrite);
      mWrite("\n]");
    }
    mWrite("}\n");
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

  // A frame that is exposed for longer than its time has none.
  static nlohmann::ordered_json StartOfFrame(FrameResult const& r) {
    if (!r.times || r.times->exposureUs > r.timestampNs / 1000) return nullptr;
    return r.times->startOfFrameUs;
  }

  static nlohmann::ordered_json Range(std::optional<AlignedRange> const& range) {
    if (!range) return nullptr;
    return {range->firstUs, range->lastUs};
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

  std::function<void(std::string_view)> mWrite;
  bool mFirst = true;
  nlohmann::ordered_json mExtras = nlohmann::ordered_json::object();
  std::optional<BatchSpool> mBatches;
};

}  // namespace

std::unique_ptr<ResultWriter> MakeJsonWriter(std::function<void(std::string_view)> write) {
  return std::make_unique<JsonWriter>(std::move(write));
}

}  // namespace shadingctl
