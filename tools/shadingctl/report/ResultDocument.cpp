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

  std::size_t Size() const { return mJson.size(); }
  Json const& Value() const { return mJson; }

 private:
  std::string const& mFile;
  std::string mPlace;
  Json const& mJson;
};

void CheckCalibration(Checked const& result) {
  Checked const cameras = result.At("cameras").List();
  for (std::size_t i = 0; i < cameras.Size(); ++i) {
    Checked const camera = cameras.At(i).Object();
    camera.At("camera").WholeNumber();
    camera.At("table").Object();
    camera.At("block").Object();
  }
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
    Checked const list = result.At(key).List();
    for (std::size_t i = 0; i < list.Size(); ++i) list.At(i).TextIfAny();
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
  Checked const outliers = result.At("outliers").List();
  for (std::size_t i = 0; i < outliers.Size(); ++i) {
    outliers.At(i).Object().At("frame").WholeNumber();
    CheckRow(outliers.At(i).At("residual"), 2);
  }
  struct {
    char const* key;
    std::size_t numbers;
  } const rows[] = {{"search", 3}, {"images", 10}};
  for (auto const& [key, numbers] : rows) {
    Checked const list = result.At(key).List();
    for (std::size_t i = 0; i < list.Size(); ++i) CheckRow(list.At(i), numbers);
  }
}

}  // namespace

char const* KindName(ResultHead const& head) { return kKinds[head.schema].name; }

bool IsReplay(ResultHead const& head) { return head.schema == kReplayKind; }

ResultHead ReadDocument(std::string const& path, ResultSink const& sink) {
  ResultHead head = ReadResult(path, {kReplaySchema, kKinds[kCalibrationKind].schema, kKinds[kFitKind].schema}, sink);
  if (head.isCsv) RefuseValue(head.name, "JSON", "CSV");
  Checked const document(head.name, "", head.members);
  if (head.schema == kCalibrationKind) CheckCalibration(document);
  if (head.schema == kFitKind) CheckFit(document);
  return head;
}

}  // namespace shadingctl
