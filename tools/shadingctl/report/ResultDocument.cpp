#include <fmt/format.h>

#include <algorithm>
#include <string_view>

#include "tools/shadingctl/fit/BenchSession.h"
#include "tools/shadingctl/report/Page.h"

namespace shadingctl {
namespace {

// ResultHead::schema of a document.
enum Kind : std::size_t { kReplayKind, kCalibrationKind, kFitKind };
constexpr Schema kSchemas[] = {kReplaySchema, {"shadingctl-calibration", 1}, {kFitSchema, kFitVersion}};
constexpr std::string_view kSchemaPrefix = "shadingctl-";

struct Type {
  char const* expected;
  bool (*holds)(Json const&);
};
constexpr Type kText = {"a text", [](Json const& json) { return json.is_string(); }};
constexpr Type kTextOrNull = {"a text or null", [](Json const& json) { return json.is_string() || json.is_null(); }};
constexpr Type kWhole = {"a whole number", [](Json const& json) { return json.is_number_integer(); }};
constexpr Type kNumber = {"a number", [](Json const& json) { return json.is_number(); }};
constexpr Type kNumberOrNull = {"a number or null",
                                [](Json const& json) { return json.is_number() || json.is_null(); }};
constexpr Type kFromZero = {"a number from 0 or null",
                            [](Json const& json) { return json.is_null() || (json.is_number() && json >= 0); }};
constexpr Type kPlain = {"a plain value", [](Json const& json) { return !json.is_structured(); }};
constexpr Type kObject = {"an object", [](Json const& json) { return json.is_object(); }};
constexpr Type kList = {"a list", [](Json const& json) { return json.is_array(); }};
template <std::size_t kSize>
bool IsListOf(Json const& json) {
  return json.is_array() && json.size() == kSize;
}
constexpr Type kThree = {"a list of 3", IsListOf<3>};
constexpr Type kTen = {"a list of 10", IsListOf<10>};
constexpr Type kPairOrNull = {"a list of 2 or null",
                              [](Json const& json) { return json.is_null() || IsListOf<2>(json); }};

// Members that a page reads, with blanks between, and their type; "*" stands for each entry of a list or each object in
// an object. Nothing is asked of members of what is null.
struct Rule {
  Kind kind;
  char const* place;
  Type type;
  char const* members;
};
constexpr Rule kRules[] = {
    {kReplayKind, "", kTextOrNull, "error"},
    {kReplayKind, "settings", kFromZero, "tolerance_us"},
    {kReplayKind, "settings", kPlain, "session library mode log_level"},
    {kReplayKind, "findings *", kText, "code text"},
    {kReplayKind, "findings *", kTextOrNull, "severity advice explained_by"},
    {kReplayKind, "findings *", kNumberOrNull, "camera"},
    {kReplayKind, "findings * frames first", kWhole, "*"},
    {kReplayKind, "findings * intervals *", kNumberOrNull, "from_s to_s first_frame last_frame"},
    {kReplayKind, "summary capture", kPlain, "complete state lost_calls lost_samples"},
    {kReplayKind, "summary cameras *", kWhole, "camera"},
    {kReplayKind, "summary cameras *", kNumberOrNull, "frames warm_up_frames both_ends_near match_rate"},
    {kReplayKind, "summary cameras * coverage", kNumberOrNull, "median"},
    {kReplayKind, "summary cameras * carried_age_us", kNumberOrNull, "median"},
    {kReplayKind, "summary cameras * matches", kNumberOrNull, "carried"},
    {kReplayKind, "summary cameras * samples", kNumberOrNull,
     "delivered batches rate_hz interval_us jitter_us gaps longest_us repeated"},
    {kCalibrationKind, "", kTextOrNull, "device"},
    {kCalibrationKind, "tables *", kWhole, "index"},
    {kCalibrationKind, "tables *", kNumberOrNull, "from to"},
    {kCalibrationKind, "", kList, "cameras"},
    {kCalibrationKind, "cameras *", kWhole, "camera"},
    {kCalibrationKind, "cameras *", kObject, "table block"},
    {kCalibrationKind, "cameras *", kTextOrNull, "file file_problem"},
    {kCalibrationKind, "cameras *", kNumberOrNull, "file_bytes"},
    {kCalibrationKind, "cameras * table", kPlain, "index sound reason default"},
    {kCalibrationKind, "cameras * table", kNumberOrNull, "gradient record_offset"},
    {kCalibrationKind, "cameras * table record_parts *", kPlain, "bytes hex meaning"},
    {kCalibrationKind, "cameras * block", kPlain, "kind sound reason default"},
    {kCalibrationKind, "cameras * block stored *", kNumber, "*"},
    {kCalibrationKind, "cameras * block values *", kNumber, "*"},
    {kFitKind, "", kWhole, "frames left_out clipped"},
    {kFitKind, "", kNumber, "shorter_us readout_us"},
    {kFitKind, "", kObject, "axes"},
    {kFitKind, "axes", kObject, "x y"},
    {kFitKind, "axes *", kTextOrNull, "hall"},
    {kFitKind, "axes *", kObject,
     "lag_us lag_slope lag_intercept_us gain cross_talk curvature trend trend_bend drift_ppm residual residual_share "
     "correlation"},
    {kFitKind, "axes * *", kNumberOrNull, "value library"},
    {kFitKind, "axes * *", kPairOrNull, "interval"},
    {kFitKind, "axes * * interval", kNumber, "*"},
    {kFitKind, "", kText, "verdict"},
    {kFitKind, "", kTextOrNull, "recording reference reason lag_follows"},
    {kFitKind, "", kList, "diagnosis advice outliers search images"},
    {kFitKind, "diagnosis", kTextOrNull, "*"},
    {kFitKind, "advice", kTextOrNull, "*"},
    {kFitKind, "refused", kTextOrNull, "text"},
    {kFitKind, "difference", kObject, "x y"},
    {kFitKind, "difference *", kNumber, "lag_us position"},
    {kFitKind, "outliers *", kWhole, "frame"},
    {kFitKind, "search", kThree, "*"},
    {kFitKind, "search *", kNumber, "*"},
    {kFitKind, "images", kTen, "*"},
    {kFitKind, "images *", kNumber, "*"},
};

// Checks what is reached from `json`, which `place` names for messages, by these steps.
void Check(Type const& type, Json const& json, std::string const& place, std::string_view steps) {
  auto const expect = [&](bool isSo, char const* expected) {
    if (!isSo) RefuseValue(place, expected, ShownValue(json));
  };
  if (steps.empty()) return expect(type.holds(json), type.expected);
  if (json.is_null()) return;
  std::size_t const length = std::min(steps.find(' '), steps.size());
  std::string const step(steps.substr(0, length));
  std::string_view const further = steps.substr(std::min(length + 1, steps.size()));
  std::string const below = place.back() == ' ' ? place : place + ".";
  if (step != "*") {
    expect(json.is_object(), "an object");
    auto const member = json.find(step);
    return Check(type, member == json.end() ? Json() : *member, below + step, further);
  }
  expect(json.is_structured(), "a list");
  std::size_t i = 0;
  for (auto const& [key, value] : json.items()) {
    if (json.is_array()) Check(type, value, fmt::format("{}[{}]", place, i++), further);
    if (json.is_object() && value.is_object()) Check(type, value, below + key, further);
  }
}

void CheckDocument(ResultHead const& head) {
  for (Rule const& rule : kRules) {
    if (rule.kind != head.schema) continue;
    std::string_view members = rule.members;
    while (!members.empty()) {
      std::size_t const length = std::min(members.find(' '), members.size());
      std::string const place = *rule.place == '\0' ? "" : std::string(rule.place) + " ";
      Check(rule.type, head.members, head.name + ": ", place + std::string(members.substr(0, length)));
      members.remove_prefix(std::min(length + 1, members.size()));
    }
  }
}

}  // namespace

char const* KindName(ResultHead const& head) { return kSchemas[head.schema].name + kSchemaPrefix.size(); }

bool IsReplay(ResultHead const& head) { return head.schema == kReplayKind; }

ResultHead ReadDocument(std::string const& path, ResultSink const& sink) {
  ResultHead head = ReadResult(path, {std::begin(kSchemas), std::end(kSchemas)}, sink);
  if (head.isCsv) RefuseValue(head.name, "JSON", "CSV");
  CheckDocument(head);
  return head;
}

}  // namespace shadingctl
