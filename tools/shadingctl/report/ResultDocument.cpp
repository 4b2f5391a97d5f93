#include "tools/shadingctl/report/ResultDocument.h"

#include <fmt/format.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <system_error>
#include <utility>

#include "hosting/Interruption.h"
#include "hosting/UnusableInput.h"
#include "recording/InputFile.h"
#include "tools/shadingctl/fit/FitFormats.h"
#include "tools/shadingctl/output/FileIdentity.h"
#include "tools/shadingctl/result/ResultWriter.h"

namespace shadingctl {
namespace {

using Json = nlohmann::ordered_json;

struct KnownResult {
  ResultDocument::Kind kind;
  char const* name;
  char const* schema;
  int version;
};

constexpr KnownResult kKnown[] = {
    {ResultDocument::Kind::kReplay, "replay", kReplaySchema, kReplayVersion},
    {ResultDocument::Kind::kCalibration, "calibration", "shadingctl-calibration", 1},
    {ResultDocument::Kind::kFit, "fit", kFitSchema, kFitVersion},
};

std::string Shown(Json const& json) {
  constexpr std::size_t kEnough = 60;
  std::string text = json.dump(-1, ' ', true, Json::error_handler_t::replace);
  return text.size() > kEnough ? text.substr(0, kEnough) + "..." : text;
}

// A place in a document, for messages.
class Checked {
 public:
  Checked(std::string const& file, std::string place, Json const& json) : mFile(file), mPlace(place), mJson(json) {}

  [[noreturn]] void Refuse(std::string const& expected) const {
    throw hosting::UnusableInput(fmt::format("{}: {}expected {}, found {}", mFile,
                                             mPlace.empty() ? std::string() : mPlace + ": ", expected, Shown(mJson)));
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
  // Two whole numbers, or null.
  Checked const& RangeIfAny() const {
    bool const isRange =
        mJson.is_array() && mJson.size() == 2 && mJson[0].is_number_integer() && mJson[1].is_number_integer();
    if (!isRange && !mJson.is_null()) Refuse("a list of two whole numbers or null");
    return *this;
  }

  std::size_t size() const { return mJson.size(); }
  Json const& Value() const { return mJson; }

 private:
  std::string const& mFile;
  std::string mPlace;
  Json const& mJson;
};

void CheckFrame(Checked const& frame) {
  frame.Object();
  frame.At("frame").WholeNumber();
  frame.At("timestamp_ns").WholeNumber();
  if (!frame.At("match").Value().is_string()) frame.At("match").Refuse("a text");
  for (char const* const key : {"message", "end"}) frame.At(key).TextIfAny();
  for (char const* const key : {"window_us", "span_us"}) frame.At(key).RangeIfAny();
  for (char const* const key :
       {"camera", "type", "samples", "start_index", "end_index", "offset_us", "start_distance_us", "span_age_us",
        "hall_x", "hall_y", "end_distance_us", "coverage", "repeated_samples", "readout_distance", "start_of_frame_us",
        "exposure_us", "readout_us"}) {
    frame.At(key).NumberIfAny();
  }
}

void CheckBatch(Checked const& batch) {
  batch.Object();
  batch.At("camera").WholeNumber();
  Checked const samples = batch.At("samples").List();
  for (std::size_t i = 0; i < samples.size(); ++i) {
    Checked const sample = samples.At(i).List();
    if (sample.size() != 3) sample.Refuse("a time and two positions");
    sample.At(std::size_t{0}).WholeNumber();
    sample.At(1).NumberIfAny();
    sample.At(2).NumberIfAny();
  }
}

void CheckReplay(Checked const& result) {
  Checked const frames = result.At("frames").List();
  for (std::size_t i = 0; i < frames.size(); ++i) CheckFrame(frames.At(i));
  for (char const* const key : {"settings", "summary"}) {
    if (result.Find(key) != nullptr) result.At(key).Object();
  }
  if (result.Find("findings") != nullptr) {
    Checked const findings = result.At("findings").List();
    for (std::size_t i = 0; i < findings.size(); ++i) findings.At(i).Object();
  }
  if (result.Find("batches") == nullptr) return;
  Checked const batches = result.At("batches").List();
  for (std::size_t i = 0; i < batches.size(); ++i) CheckBatch(batches.At(i));
}

void CheckCalibration(Checked const& result) {
  Checked const cameras = result.At("cameras").List();
  for (std::size_t i = 0; i < cameras.size(); ++i) {
    Checked const camera = cameras.At(i).Object();
    camera.At("camera").WholeNumber();
    camera.At("table").Object();
    camera.At("block").Object();
  }
}

// A row of numbers; the last `lists` of them are a value with its interval, or null.
void CheckRow(Checked const& row, std::size_t numbers, std::size_t lists) {
  row.List();
  if (row.size() != numbers + lists) row.Refuse(fmt::format("a list of {}", numbers + lists));
  for (std::size_t i = 0; i < numbers; ++i) row.At(i).Number();
  for (std::size_t i = numbers; i < row.size(); ++i) {
    if (!row.At(i).Value().is_null()) CheckRow(row.At(i), 3, 0);
  }
}

void CheckFit(Checked const& result) {
  for (char const* const key : {"frames", "left_out"}) result.At(key).WholeNumber();
  result.At("shorter_us").Number();
  for (char const* const key : {"recording", "reference"}) result.At(key).TextIfAny();
  for (char const* const name : {"x", "y"}) {
    Checked const axis = result.At("axes").Object().At(name).Object();
    for (char const* const key :
         {"lag_us", "lag_slope", "lag_intercept_us", "gain", "cross_talk", "residual", "residual_share"}) {
      Checked const quantity = axis.At(key).Object();
      quantity.At("value").NumberIfAny();
      quantity.At("library").NumberIfAny();
      if (quantity.Find("interval") != nullptr) CheckRow(quantity.At("interval"), 2, 0);
    }
  }
  struct {
    char const* key;
    std::size_t numbers;
    std::size_t lists;
  } const rows[] = {{"search", 3, 0}, {"groups", 1, 2}, {"images", 5, 0}};
  for (auto const& [key, numbers, lists] : rows) {
    Checked const list = result.At(key).List();
    for (std::size_t i = 0; i < list.size(); ++i) CheckRow(list.At(i), numbers, lists);
  }
}

ResultDocument::Kind KindOf(Checked const& result) {
  result.Object();
  for (KnownResult const& known : kKnown) {
    if (result.At("schema").Value() != known.schema) continue;
    if (result.At("version").Value() != known.version) result.At("version").Refuse(std::to_string(known.version));
    return known.kind;
  }
  result.At("schema").Refuse(
      fmt::format("\"{}\", \"{}\" or \"{}\"", kKnown[0].schema, kKnown[1].schema, kKnown[2].schema));
}

}  // namespace

char const* Name(ResultDocument::Kind kind) {
  for (KnownResult const& known : kKnown) {
    if (known.kind == kind) return known.name;
  }
  return "";
}

ResultDocument ParseResult(std::string const& name, std::string const& text) {
  ResultDocument document;
  document.name = name;
  try {
    document.json = Json::parse(text);
  } catch (Json::exception const& error) {
    std::string const reason = error.what();
    std::size_t const place = reason.find("parse error at ");
    throw hosting::UnusableInput(
        fmt::format("{}: expected JSON: {}", name, place == std::string::npos ? reason : reason.substr(place)));
  }
  Checked const result(document.name, "", document.json);
  document.kind = KindOf(result);
  switch (document.kind) {
    case ResultDocument::Kind::kReplay:
      CheckReplay(result);
      break;
    case ResultDocument::Kind::kCalibration:
      CheckCalibration(result);
      break;
    case ResultDocument::Kind::kFit:
      CheckFit(result);
      break;
  }
  return document;
}

ResultDocument ReadResultDocument(std::string const& path) {
  bool const isStandardInput = path == kStandardInput;
  recording::InputStream const file = recording::OpenInput(path);
  std::string text;
  std::array<char, 65536> buffer{};
  while (file != nullptr) {
    std::size_t const size = std::fread(buffer.data(), 1, buffer.size(), file.get());
    text.append(buffer.data(), size);
    if (size < buffer.size()) break;
  }
  if (file == nullptr || std::ferror(file.get()) != 0) {
    if (hosting::InterruptedBy() != 0) throw hosting::Interrupted();
    throw hosting::UnusableInput(fmt::format("{}: cannot be read: {}", path, std::generic_category().message(errno)));
  }
  return ParseResult(isStandardInput ? "standard input" : path, text);
}

}  // namespace shadingctl
