#include "tools/shadingctl/report/ResultDocument.h"

#include <fmt/format.h>

#include "tools/shadingctl/fit/FitFormats.h"
#include "tools/shadingctl/result/JsonReader.h"

namespace shadingctl {
namespace {

struct Kind {
  char const* name;
  Schema schema;
};
// In the order in which ReadDocument accepts them: the index is ResultHead::schema.
enum KindIndex : std::size_t { kReplayKind, kCalibrationKind, kFitKind };
constexpr Kind kKinds[] = {
    {"replay", kReplaySchema}, {"calibration", {"shadingctl-calibration", 1}}, {"fit", {kFitSchema, kFitVersion}}};

// A place in a document, for messages.
class Checked {
 public:
  Checked(std::string const& file, std::string place, Json const& json) : mFile(file), mPlace(place), mJson(json) {}

  [[noreturn]] void Refuse(std::string const& expected) const {
    RefuseValue(fmt::format("{}: {}", mFile, mPlace), expected, ShownValue(mJson));
  }

  Json const* Find(std::string const& key) const {
    auto const member = mJson.find(key);
    return member == mJson.end() ? nullptr : &*member;
  }

  Checked At(std::string const& key) const {
    static Json const none;
    Json const* const member = Find(key);
    return {mFile, mPlace.empty() ? key : mPlace + "." + key, member == nullptr ? none : *member};
  }

  Checked At(std::size_t index) const { return {mFile, fmt::format("{}[{}]", mPlace, index), mJson[index]}; }

  Checked const& Object() const {
    if (!mJson.is_object()) Refuse("an object");
    return *this;
  }
  Checked const& List() const {
    if (!mJson.is_array()) Refuse("a list");
    return *this;
  }
  Checked const& WholeNumber() const {
    if (!mJson.is_number_integer()) Refuse("a whole number");
    return *this;
  }
  Checked const& Number() const {
    if (!mJson.is_number()) Refuse("a number");
    return *this;
  }
  // A number, or null.
  Checked const& NumberIfAny() const {
    if (!mJson.is_number() && !mJson.is_null()) Refuse("a number or null");
    return *this;
  }
  Checked const& TextIfAny() const {
    if (!mJson.is_string() && !mJson.is_null()) Refuse("a text or null");
    return *this;
  }
  // A text, a number or a truth value, or null.
  Checked const& PlainIfAny() const {
    if (mJson.is_structured()) Refuse("a plain value or null");
    return *this;
  }

  // An object with these members, or null.
  using Check = Checked const& (Checked::*)() const;
  Checked const& Members(Check check, std::initializer_list<char const*> keys) const {
    if (!mJson.is_null()) Object();
    for (char const* const key : keys) (At(key).*check)();
    return *this;
  }

  // Calls take(entry) for each entry of a list; null has none.
  template <class Take>
  void Each(Take const& take) const {
    if (!mJson.is_null()) List();
    for (std::size_t i = 0; i < mJson.size(); ++i) take(At(i));
  }

  std::size_t Size() const { return mJson.size(); }
  Json const& Value() const { return mJson; }

 private:
  std::string const& mFile;
  std::string mPlace;
  Json const& mJson;
};

void CheckFinding(Checked const& finding) {
  finding.Object().Members(&Checked::TextIfAny, {"severity"});
  if (!finding.At("code").Value().is_string()) finding.At("code").Refuse("a text");
  if (!finding.At("text").Value().is_string()) finding.At("text").Refuse("a text");
  finding.Members(&Checked::TextIfAny, {"advice"}).Members(&Checked::NumberIfAny, {"camera"});
  finding.At("explained_by").PlainIfAny();
  Checked const frames = finding.At("frames").Members(&Checked::NumberIfAny, {"count"});
  frames.At("first").Each([](Checked const& frame) { frame.WholeNumber(); });
  finding.At("intervals").Each([](Checked const& interval) {
    interval.Object().Members(&Checked::NumberIfAny, {"from_s", "to_s", "first_frame", "last_frame"});
  });
}

void CheckReplay(Checked const& result) {
  result.At("error").TextIfAny();
  Checked const settings = result.At("settings").Members(&Checked::NumberIfAny, {"tolerance_us"});
  Json const& toleranceUs = settings.At("tolerance_us").Value();
  if (toleranceUs.is_number() && toleranceUs < 0) settings.At("tolerance_us").Refuse("a number from 0");
  if (!settings.Value().is_null()) {
    for (auto const& [key, value] : settings.Value().items()) {
      Checked const setting = settings.At(key);
      if (value.is_array()) {
        setting.Each([](Checked const& entry) { entry.PlainIfAny(); });
      } else {
        setting.PlainIfAny();
      }
    }
  }
  result.At("findings").Each(CheckFinding);
  Checked const summary = result.At("summary").Members(&Checked::PlainIfAny, {"replay_ns"});
  summary.At("capture").Members(&Checked::PlainIfAny, {"complete", "state", "lost_calls", "lost_samples"});
  summary.At("cameras").Each([](Checked const& camera) {
    camera.Object().At("camera").WholeNumber();
    camera.Members(&Checked::NumberIfAny, {"frames", "warm_up_frames", "both_ends_near", "match_rate"});
    for (char const* const key : {"coverage", "carried_age_us"}) {
      camera.At(key).Members(&Checked::NumberIfAny, {"median"});
    }
    camera.At("matches").Members(&Checked::NumberIfAny, {"carried"});
    camera.At("samples").Members(&Checked::NumberIfAny, {"delivered", "batches", "rate_hz", "interval_us", "jitter_us",
                                                         "gaps", "longest_us", "repeated"});
  });
}

void CheckCalibration(Checked const& result) {
  result.At("device").TextIfAny();
  result.At("tables").Each([](Checked const& table) {
    table.Object().At("index").WholeNumber();
    table.Members(&Checked::NumberIfAny, {"from", "to"});
  });
  result.At("cameras").List().Each([](Checked const& camera) {
    camera.Object().At("camera").WholeNumber();
    camera.Members(&Checked::TextIfAny, {"file", "file_problem"}).At("file_bytes").NumberIfAny();
    Checked const table = camera.At("table").Object();
    table.Members(&Checked::PlainIfAny, {"index", "sound", "reason", "default"});
    table.Members(&Checked::NumberIfAny, {"gradient", "record_offset"});
    table.At("record_parts").Each([](Checked const& part) {
      part.Object().Members(&Checked::PlainIfAny, {"bytes", "hex", "meaning"});
    });
    Checked const block = camera.At("block").Object();
    block.Members(&Checked::PlainIfAny, {"kind", "sound", "reason", "default"});
    for (char const* const key : {"stored", "values"}) {
      block.At(key).Each([](Checked const& row) { row.List().Each([](Checked const& value) { value.Number(); }); });
    }
  });
}

void CheckRow(Checked const& row, std::size_t numbers) {
  row.List();
  if (row.Size() != numbers) row.Refuse(fmt::format("a list of {}", numbers));
  for (std::size_t i = 0; i < numbers; ++i) row.At(i).Number();
}

void CheckFit(Checked const& result) {
  for (char const* const key : {"frames", "left_out", "clipped"}) result.At(key).WholeNumber();
  for (char const* const key : {"shorter_us", "readout_us"}) result.At(key).Number();
  result.At("p").NumberIfAny();
  for (char const* const key : {"recording", "reference", "verdict", "reason", "lag_follows", "slope"})
    result.At(key).TextIfAny();
  for (char const* const key : {"diagnosis", "advice"}) {
    result.At(key).List().Each([](Checked const& text) { text.TextIfAny(); });
  }
  if (!result.At("refused").Value().is_null()) result.At("refused").Object().At("text").TextIfAny();
  for (char const* const name : {"x", "y"}) {
    Checked const axis = result.At("axes").Object().At(name).Object();
    axis.At("hall").TextIfAny();
    for (char const* const key : {"lag_us", "lag_slope", "lag_intercept_us", "gain", "cross_talk", "curvature", "trend",
                                  "trend_bend", "drift_ppm", "residual", "residual_share", "correlation"}) {
      Checked const quantity = axis.At(key).Object();
      quantity.At("value").NumberIfAny();
      quantity.At("library").NumberIfAny();
      if (quantity.Find("interval") != nullptr) CheckRow(quantity.At("interval"), 2);
    }
    if (result.At("difference").Value().is_null()) continue;
    Checked const difference = result.At("difference").Object().At(name).Object();
    for (char const* const key : {"lag_us", "position"}) difference.At(key).Number();
  }
  result.At("outliers").List().Each([](Checked const& outlier) {
    outlier.Object().At("frame").WholeNumber();
    CheckRow(outlier.At("residual"), 2);
  });
  struct {
    char const* key;
    std::size_t numbers;
  } const rows[] = {{"search", 3}, {"images", 10}};
  for (auto const& row : rows) {
    result.At(row.key).List().Each([&](Checked const& entry) { CheckRow(entry, row.numbers); });
  }
}

}  // namespace

char const* KindName(ResultHead const& head) { return kKinds[head.schema].name; }

bool IsReplay(ResultHead const& head) { return head.schema == kReplayKind; }

ResultHead ReadDocument(std::string const& path, ResultSink const& sink) {
  ResultHead head = ReadResult(path, {kReplaySchema, kKinds[kCalibrationKind].schema, kKinds[kFitKind].schema}, sink);
  if (head.isCsv) RefuseValue(head.name, "JSON", "CSV");
  Checked const document(head.name, "", head.members);
  if (head.schema == kReplayKind) CheckReplay(document);
  if (head.schema == kCalibrationKind) CheckCalibration(document);
  if (head.schema == kFitKind) CheckFit(document);
  return head;
}

}  // namespace shadingctl
