// Many results put together, on results that are written by hand and on those of the program.
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "tests/shadingctl/Program.h"
#include "tools/shadingctl/output/Json.h"
#include "tools/shadingctl/summary/Percentiles.h"

namespace shadingctl {
namespace {

TEST(PercentilesOfMany, AreWithinTheStatedErrorOfTheSortedValues) {
  // A skewed set over five orders of magnitude, in an order that is no help.
  Percentiles quantities(Scale::kQuantity);
  Percentiles shares(Scale::kShare);
  std::vector<double> sorted;
  for (int i = 0; i < 9973; ++i) {
    double const value = std::pow(10.0, 5.0 * ((i * 3571) % 9973) / 9973.0);
    quantities.Add(value);
    shares.Add(value / 1e5);
    sorted.push_back(value);
  }
  std::sort(sorted.begin(), sorted.end());
  for (double const percent : {0.0, 1.0, 5.0, 37.0, 50.0, 95.0, 99.9, 100.0}) {
    auto const rank = static_cast<std::size_t>(std::ceil(percent / 100 * 9973));
    double const exact = sorted[std::max<std::size_t>(rank, 1) - 1];
    EXPECT_NEAR(*quantities.At(percent), exact, std::max(1.0, exact * Percentiles::kQuantityError)) << percent;
    EXPECT_NEAR(*shares.At(percent), exact / 1e5, Percentiles::kShareError) << percent;
  }
  EXPECT_EQ(quantities.Least(), sorted.front());
  EXPECT_EQ(quantities.Largest(), sorted.back());
}

TEST(PercentilesOfMany, NoneOfNothingAndTheOneOfOne) {
  Percentiles shares(Scale::kShare);
  EXPECT_FALSE(shares.At(50));
  shares.Add(0.99973);
  EXPECT_EQ(shares.At(0), 0.99973);  // never outside of the values, whatever the step
  EXPECT_EQ(shares.At(100), 0.99973);
}

// A result of one camera with `start` of `frames` frames matched, the first ten of which are a warm-up.
std::string Result(std::string const& session, int frames, int start, double rateHz,
                   std::string const& severity = "lost") {
  return fmt::format(R"({{"schema": "shadingctl-replay", "version": 1, "settings": {{"session": "{}"}},
    "frames": [{{"frame": 1, "timestamp_ns": 7}}, {{"frame": 2, "timestamp_ns": 9}}],
    "complete": true, "error": null,
    "summary": {{"cameras": [{{"camera": 2, "frames": {}, "warm_up_frames": 10, "recorded_ns": 1500000000,
      "matches": {{"start": {}, "no_start": {}, "warm_up": 10}},
      "coverage": {{"median": 0.5}}, "carried_age_us": {{"largest": null}},
      "samples": {{"delivered": 700, "rate_hz": {}, "jitter_us": 10.0, "longest_us": 2000.0}},
      "answers": {{"recorded": 0, "different": 0}}}}],
      "capture": {{"complete": true, "state": "complete", "lost_calls": 0, "lost_samples": 0}}}},
    "findings": [{{"code": "window", "camera": 2, "severity": "{}", "frames": {{"count": 3, "first": [1]}}}}]}})",
                     session, frames, start, frames - 10 - start, rateHz, severity);
}

class Summarize : public testing::Test {
 protected:
  std::string Path(std::string const& name) const { return mDirectory.Path() + "/" + name; }

  TemporaryDirectory const mDirectory;
};

// With figures off their scales, findings of a camera that is not in it, and different answers.
std::string EveningResult() {
  std::string text = Result("evening", 60, 50, 800, "wrong");
  text = Replaced(text, "\"median\": 0.5", "\"median\": 1.5");
  text = Replaced(text, "\"jitter_us\": 10.0", "\"jitter_us\": -1.0");
  text = Replaced(text, "\"largest\": null", "\"largest\": 1234.5");
  text = Replaced(text, "\"recorded\": 0, \"different\": 0", "\"recorded\": 40, \"different\": 3");
  return Replaced(text, "\"findings\": [", R"("findings": [
    {"code": "aging", "camera": 2, "severity": "lost", "frames": {"count": 4, "first": [1]}},
    {"code": "bunched", "camera": 2, "severity": "lost", "frames": {"count": 40, "first": [1]}},
    {"code": "twice", "camera": 2, "severity": "wrong", "frames": {"count": 0, "first": []}},
    {"code": "elsewhere", "camera": 3, "severity": "wrong", "frames": {"count": 50, "first": [1]}},)");
}

TEST_F(Summarize, CountsAddUpAndTheWorstComesFirst) {
  mDirectory.Write("a.json", Result("morning", 110, 80, 200));
  mDirectory.Write("b.json", Result("noon", 110, 20, 400));
  mDirectory.Write("c.json", EveningResult());
  Outcome const outcome =
      RunTool("summarize " + Path("a.json") + " " + Path("b.json") + " " + Path("c.json") + " --format json --worst 2");
  EXPECT_EQ(outcome.exitCode, 1) << outcome.err;
  auto const totals = Json::parse(outcome.out);
  EXPECT_EQ(totals["results"], Json::parse(R"({"read": 3, "ended_early": 0, "unusable": 0})"));
  EXPECT_EQ(totals["frames"], 280);
  EXPECT_EQ(totals["warm_up_frames"], 30);
  EXPECT_EQ(totals["recorded_ns"], 4500000000);
  EXPECT_EQ(totals["matches"], Json::parse(R"({"start": 150, "no_start": 100, "warm_up": 30})"));
  EXPECT_EQ(totals["answers"], Json::parse(R"({"recorded": 40, "different": 3})"));
  std::vector<std::string> codes;
  for (auto const& finding : totals["findings"].items()) codes.push_back(finding.key());
  EXPECT_EQ(codes, (std::vector<std::string>{"window", "twice", "bunched", "aging"})) << "by severity, then by frames";
  auto const& window = totals["findings"]["window"];
  EXPECT_EQ(window["severity"], "wrong");
  EXPECT_EQ(window["cameras"], 3);
  EXPECT_EQ(window["frames"], 9);
  ASSERT_EQ(window["worst"].size(), 2U);
  EXPECT_EQ(window["worst"][0]["session"], "evening");
  auto const& rates = totals["measures"]["match_rate"];
  EXPECT_EQ(rates["least"], 0.2);
  EXPECT_EQ(rates["percentiles"]["50"], 0.8);
  EXPECT_EQ(rates["largest"], 1.0);
  EXPECT_EQ(totals["measures"]["carried_age_us"]["cameras"], 1);
  EXPECT_EQ(totals["measures"]["carried_age_us"]["percentiles"]["50"], 1234.5);
  EXPECT_EQ(totals["measures"]["coverage"]["cameras"], 2) << "1.5 is no share";
  EXPECT_EQ(totals["measures"]["jitter_us"]["cameras"], 2) << "-1 us is no jitter";
  ASSERT_EQ(totals["worst"].size(), 2U);
  EXPECT_EQ(totals["worst"][0]["session"], "evening") << "by severity, then by frames, then by the match rate";
  EXPECT_EQ(totals["worst"][0]["frames"], 3) << "of its wrong findings alone";
  EXPECT_EQ(totals["worst"][0]["match_rate"], 1);
  EXPECT_EQ(totals["worst"][1]["session"], "noon");
}

TEST_F(Summarize, ListOnStandardInputGivesTheSame) {
  mDirectory.Write("a.json", Result("morning", 110, 80, 200));
  mDirectory.Write("c.json", EveningResult());
  std::string const named = RunTool("summarize " + Path("a.json") + " " + Path("c.json")).out;
  Outcome const listed =
      RunScript("printf '%s\\n\\n%s' " + Path("a.json") + " " + Path("c.json") + " | shadingctl summarize");
  EXPECT_EQ(listed.exitCode, 1) << listed.err;
  EXPECT_EQ(listed.out, named);
  ExpectGolden(Replaced(named, mDirectory.Path(), "DIR"), "summarized.txt");
}

TEST_F(Summarize, UnusableResultsAreToldAndLeftOut) {
  std::string const whole = Result("morning", 110, 80, 200);
  std::pair<char const*, std::string> const rows[] = {
      {"cut", whole.substr(0, whole.size() / 2)},
      {"other", R"({"schema": "shadingctl-budget", "version": 1})"},
      {"newer", R"({"schema": "shadingctl-replay", "version": 2})"},
      {"negative", Replaced(whole, "\"frames\": 110", "\"frames\": -1")},
      {"warm", Replaced(whole, "\"warm_up_frames\": 10", "\"warm_up_frames\": 111")},
      {"severe", Replaced(whole, "\"severity\": \"lost\"", "\"severity\": \"bad\"")},
      {"list", "[]"},
      {"short", Replaced(whole, "\"cameras\"", "\"lenses\"")}};
  std::string told;
  mDirectory.Write("whole.json", whole);
  for (auto const& [name, text] : rows) {
    mDirectory.Write(name, text);
    Outcome const outcome = RunTool("summarize --format json " + Path(name) + " " + Path("whole.json"));
    EXPECT_EQ(outcome.exitCode, 3) << name;
    told += outcome.err;
    auto const totals = Json::parse(outcome.out);
    EXPECT_EQ(totals["results"], Json::parse(R"({"read": 1, "ended_early": 0, "unusable": 1})")) << name;
    EXPECT_EQ(totals["frames"], 110) << name;
  }
  ExpectGolden(Replaced(told, Path(""), ""), "refused-summaries.txt");
  EXPECT_EQ(RunScript("shadingctl summarize </dev/null").exitCode, 3);
  Outcome const none = RunTool("summarize " + Path("absent"));
  EXPECT_NE(none.err.find("absent: cannot be read: No such file"), std::string::npos) << none.err;
  EXPECT_EQ(none.out.find("Percentiles"), std::string::npos) << none.out;
}

TEST_F(Summarize, ReadsWhatReplayWrites) {
  ASSERT_EQ(RunTool("replay --format json -o " + Path("whole.json")).exitCode, 0);
  Outcome const outcome = RunTool("summarize --format json " + Path("whole.json"));
  EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
  auto const totals = Json::parse(outcome.out);
  auto const whole = Json::parse(ReadFile(Path("whole.json")))["summary"]["cameras"][0];
  EXPECT_EQ(totals["frames"], whole["frames"]);
  EXPECT_EQ(totals["warm_up_frames"], whole["warm_up_frames"]);
  EXPECT_EQ(totals["recorded_ns"], whole["recorded_ns"]);
  EXPECT_EQ(totals["matches"], whole["matches"]);
  EXPECT_EQ(totals["samples"], whole["samples"]["delivered"]);
  // A replay that ended early counts, and is told.
  mDirectory.Write("early.json", Replaced(Result("evening", 60, 50, 800), "\"complete\": true, \"error\": null",
                                          "\"complete\": false, \"error\": \"hall.csv:7: cut\""));
  Outcome const early = RunTool("summarize " + Path("early.json"));
  EXPECT_EQ(early.exitCode, 3);
  EXPECT_NE(early.err.find("ended early: hall.csv:7: cut\n"), std::string::npos) << early.err;
}

}  // namespace
}  // namespace shadingctl
