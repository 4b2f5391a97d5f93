// `shadingctl fit` as its users run it.
#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <string>

#include "tests/shadingctl/Program.h"

namespace shadingctl {
namespace {

// A reference that shows each frame 1 unit for 2 of the position that the replay found, upside down; frame 100 is 50
// units off in x.
constexpr char const* kMakeReference =
    "replay session --format csv | awk -F, 'BEGIN {print \"y,frame,x\"} $4 == \"start\" {print -$12 / 2 \",\" $1 \",\" "
    "$11 / 2 + ($1 == 100 ? 50 : 0)}' >target.csv";

TEST(FitCommand, FindsHowTheImageFollowsTheLens) {
  TemporaryDirectory const place;
  std::string const in = "cd " + place.Path() + " && ";
  ASSERT_EQ(RunScript(in + "shadingctl generate session --frames 400 && shadingctl " + kMakeReference).exitCode, 0);
  Outcome const json = RunScript(in + "shadingctl fit session --reference target.csv --format json");
  ASSERT_EQ(json.exitCode, 0) << json.err;
  auto const fit = nlohmann::json::parse(json.out);
  EXPECT_EQ(fit["schema"], "shadingctl-fit");
  EXPECT_EQ(fit["version"], 2);
  EXPECT_EQ(fit["axes"]["y"]["hall"], "hall_y");
  for (char const* const axis : {"x", "y"}) EXPECT_EQ(fit["axes"][axis].size(), 1U + 12) << "its hall axis, quantities";
  EXPECT_NEAR(fit["axes"]["x"]["gain"]["value"].get<double>(), 0.5, 0.01);
  EXPECT_NEAR(fit["axes"]["y"]["gain"]["value"].get<double>(), -0.5, 0.01);
  EXPECT_EQ(fit["axes"]["x"]["lag_slope"]["library"], 0.5432);
  EXPECT_EQ(fit["images"].size(), fit["frames"]);
  EXPECT_GE(fit["search"].size(), 74U) << "from -73.3 ms to 73.3 ms in steps of 2 ms, and the best lags";
  EXPECT_NEAR(fit["search"][0][0].get<double>(), -73333, 1) << "the lag, before the shares of both axes";
  EXPECT_EQ(fit["refused"], nullptr);
  auto const off = std::find_if(fit["outliers"].begin(), fit["outliers"].end(),
                                [](auto const& outlier) { return outlier["frame"] == 100; });
  ASSERT_NE(off, fit["outliers"].end());
  EXPECT_NEAR((*off)["residual"][0].get<double>(), 50, 1);
  EXPECT_NEAR((*off)["residual"][1].get<double>(), 0, 1);
  EXPECT_EQ(fit["diagnosis"].size(), fit["advice"].size());
  double const offUs =
      fit["axes"]["y"]["lag_us"]["value"].get<double>() - fit["axes"]["y"]["lag_us"]["library"].get<double>();
  EXPECT_NEAR(fit["difference"]["y"]["lag_us"].get<double>(), offUs, 1e-6);
}

// What pictures would show of a synthetic session depends on its lens alone.
TEST(FitCommand, FindsByHowMuchTheClockOfTheSamplesIsOff) {
  struct Row {
    char const* session;
    double laterUs;  // the samples say a time that is later by this
  };
  Row const table[] = {
      {"", 0},
      {"--clock-offset-us 12000", 12000},
      {"--clock-offset-us -12000 --hall-phase-us 300 --hall-rate 500", -12000},
      // The first readout begins before the first sample.
      {"--frame-rate 15 --exposure-us 60000:2000 --readout-us 20000 --seed 5 --types 0,5", 0},
  };
  for (Row const& row : table) {
    TemporaryDirectory const place;
    Outcome const outcome =
        RunScript("cd " + place.Path() + " && shadingctl generate session --frames 900 --reference target.csv " +
                  row.session + " >/dev/null && shadingctl fit session --reference target.csv --format json");
    ASSERT_EQ(outcome.exitCode, 0) << row.session << outcome.err;
    auto const fit = nlohmann::json::parse(outcome.out);
    for (char const* const axis : {"x", "y"}) {
      auto const& lag = fit["axes"][axis]["lag_us"];
      EXPECT_NEAR(lag["library"].get<double>() - lag["value"].get<double>(), row.laterUs, 10) << row.session;
    }
    EXPECT_GT(fit["frames"].get<int>(), 850) << row.session;
    EXPECT_EQ(fit["verdict"], row.laterUs == 0 ? "agrees" : "differs") << row.session;
    EXPECT_EQ(fit["diagnosis"], row.laterUs == 0 ? nlohmann::json::array() : nlohmann::json::array({"clock_constant"}));
  }
}

// A verdict ends with 0, with --check that of another one than agrees with 1, a refusal with 3 and a result.
TEST(FitCommand, AlwaysAnswers) {
  TemporaryDirectory const place;
  std::string const in = "cd " + place.Path() + " && ";
  ASSERT_EQ(
      RunScript(in + "shadingctl generate session --frames 300 --reference target.csv && shadingctl generate late "
                     "--frames 300 --clock-offset-us 12000 --reference late.csv && head -50 target.csv >few.csv && "
                     "sed -E '1s/.*/image,u,v/; 20s/,[^,]*/,lost/; 21s/,[^,]*$/,nan/; 23s/^[0-9]*/18/' target.csv "
                     ">bad.csv && printf 'frame,x,y\n70001,2,3\n' >other.csv")
          .exitCode,
      0);
  struct Row {
    char const* arguments;
    int exitCode;
    char const* verdict;
    char const* code;
    int skipped;
  };
  Row const table[] = {
      {"session --reference target.csv --check", 0, "agrees", "", 0},
      {"late --reference late.csv", 0, "differs", "", 0},
      {"late --reference late.csv --check", 1, "differs", "", 0},
      {"session --reference few.csv --check", 3, "cannot_tell", "too_few_frames", 0},
      {"session --reference other.csv", 3, "cannot_tell", "not_this_recording", 0},
      {"session --reference bad.csv --skip-bad --map frame=image --map x=u --map y=v", 0, "agrees", "", 3},
  };
  std::string told;
  for (Row const& row : table) {
    Outcome const outcome = RunScript(in + "shadingctl fit --format json -o fit.json " + row.arguments);
    EXPECT_EQ(outcome.exitCode, row.exitCode) << row.arguments << outcome.err;
    auto const fit = nlohmann::json::parse(ReadFile(place.Path() + "/fit.json"));
    EXPECT_EQ(fit["verdict"], row.verdict) << row.arguments;
    EXPECT_EQ(fit["skipped"], row.skipped) << row.arguments;
    EXPECT_EQ(fit["refused"].is_null() ? "" : fit["refused"]["code"], row.code) << row.arguments;
    EXPECT_EQ(RunScript(in + "shadingctl report fit.json -o fit.html").exitCode, 0) << row.arguments;
    Outcome const text = RunScript(in + "shadingctl fit " + row.arguments);
    EXPECT_EQ(text.exitCode, row.exitCode) << row.arguments;
    if (row.exitCode == 1) continue;  // the same text as without --check
    told += row.arguments + ("\n" + WithoutNumbers(text.out + text.err)) + "\n";
  }
  ExpectGolden(told, "fits.txt");
}

TEST(FitCommand, RefusesWhatItCannotUse) {
  TemporaryDirectory const place;
  std::string const in = "cd " + place.Path() + " && ";
  ASSERT_EQ(RunScript(in + "shadingctl generate session --frames 20 && shadingctl generate pair --cameras 2").exitCode,
            0);
  place.Write("twice.csv", "frame,x,y\n1,2,3\n2,2,3\n1,4,4\n");
  place.Write("word.csv", "frame,x,y\n1,2,far\n");
  place.Write("few.csv", "frame,x,y\n5,2,3\n6,3,3\n");
  struct Row {
    char const* arguments;
    int exitCode;
    char const* told;
  };
  Row const table[] = {
      {"session --reference twice.csv", 3, "twice.csv:4: frame: expected each frame once, found '1'"},
      {"session --reference word.csv", 3, "word.csv:2: y: expected a decimal number, found 'far'"},
      {"session --reference twice.csv --map x=u", 3, "twice.csv:1: u: expected this column"},
      {"session --reference twice.csv --map z=u", 2, "--map: expected FIELD=COLUMN, where FIELD is frame, x or y"},
      {"session --reference twice.csv --map x=u --map x=v", 2, "each once, found 'x=v'"},
      {"session --reference missing.csv", 3, "missing.csv: cannot be read"},
      {"pair --reference few.csv", 3, "expected --camera, found 2 cameras: "},
      {"pair --reference few.csv --camera 77", 3, "expected camera 77, found "},
      {"session --reference few.csv -o few.csv", 3, "few.csv"},
      {"session", 2, "--reference is required"},
  };
  for (Row const& row : table) {
    Outcome const outcome = RunScript(in + "shadingctl fit " + row.arguments);
    EXPECT_EQ(outcome.exitCode, row.exitCode) << row.arguments;
    EXPECT_EQ(outcome.out, "") << row.arguments;
    EXPECT_NE(outcome.err.find(row.told), std::string::npos) << outcome.err;
  }
}

}  // namespace
}  // namespace shadingctl
