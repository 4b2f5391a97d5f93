// `shadingctl fit` as its users run it.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>

#include "tests/shadingctl/Program.h"

namespace shadingctl {
namespace {

// A reference that shows each frame 1 unit for 2 of the position that the replay found, upside down.
constexpr char const* kMakeReference =
    "replay session --format csv | awk -F, 'BEGIN {print \"y,frame,x\"} $4 == \"start\" {print -$12 / 2 \",\" $1 \",\" "
    "$11 / "
    "2}' >target.csv";

TEST(FitCommand, SaysTheSameInEveryFormat) {
  TemporaryDirectory const place;
  std::string const in = "cd " + place.Path() + " && ";
  ASSERT_EQ(RunScript(in + "shadingctl generate session --frames 400 && shadingctl " + kMakeReference).exitCode, 0);
  Outcome const json = RunScript(in + "shadingctl fit session --reference target.csv --format json");
  ASSERT_EQ(json.exitCode, 0) << json.err;
  auto const fit = nlohmann::json::parse(json.out);
  EXPECT_EQ(fit["schema"], "shadingctl-fit");
  EXPECT_EQ(fit["version"], 1);
  EXPECT_EQ(fit["axes"]["y"]["hall"], "hall_y");
  EXPECT_NEAR(fit["axes"]["x"]["gain"]["value"].get<double>(), 0.5, 0.01);
  EXPECT_NEAR(fit["axes"]["y"]["gain"]["value"].get<double>(), -0.5, 0.01);
  EXPECT_EQ(fit["axes"]["x"]["lag_slope"]["library"], 0.5432);
  EXPECT_EQ(fit["images"].size(), fit["frames"]);
  EXPECT_EQ(fit["search"].size(), 41U) << "from -40 ms to 40 ms in steps of 2 ms";
  ASSERT_EQ(fit["groups"].size(), 10U);
  for (auto const& group : fit["groups"]) {
    double const line = fit["axes"]["y"]["lag_slope"]["value"].get<double>() * group[0].get<double>() +
                        fit["axes"]["y"]["lag_intercept_us"]["value"].get<double>();
    EXPECT_NEAR(group[2][0].get<double>(), line, 200) << group;
  }

  auto const lines = Lines(RunScript(in + "shadingctl fit session --reference target.csv --format csv").out);
  ASSERT_EQ(lines.size(), 15U);
  EXPECT_EQ(lines[0], "image,hall,quantity,value,low,high,library");
  EXPECT_EQ(lines[11].substr(0, 15), "y,hall_y,gain,-");
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
        RunScript("cd " + place.Path() + " && shadingctl generate session --frames 400 --reference target.csv " +
                  row.session + " >/dev/null && shadingctl fit session --reference target.csv --format json");
    ASSERT_EQ(outcome.exitCode, 0) << row.session << outcome.err;
    auto const fit = nlohmann::json::parse(outcome.out);
    for (char const* const axis : {"x", "y"}) {
      auto const& lag = fit["axes"][axis]["lag_us"];
      EXPECT_NEAR(lag["library"].get<double>() - lag["value"].get<double>(), row.laterUs, 10) << row.session;
    }
    EXPECT_GT(fit["frames"].get<int>(), 370) << row.session;
  }
}

TEST(FitCommand, RefusesWhatItCannotUse) {
  TemporaryDirectory const place;
  std::string const in = "cd " + place.Path() + " && ";
  ASSERT_EQ(RunScript(in + "shadingctl generate session --frames 20 && shadingctl generate pair --cameras 2").exitCode,
            0);
  place.Write("twice.csv", "frame,x,y\n1,2,3\n2,2,3\n1,4,4\n");
  place.Write("word.csv", "frame,x,y\n1,2,far\n");
  place.Write("other.csv", "frame,x,y\n70001,2,3\n");
  place.Write("few.csv", "frame,x,y\n5,2,3\n6,3,3\n");
  struct Row {
    char const* arguments;
    int exitCode;
    char const* told;
  };
  Row const table[] = {
      {"session --reference twice.csv", 3, "twice.csv:4: frame: expected each frame once, found '1'"},
      {"session --reference word.csv", 3, "word.csv:2: y: expected a decimal number, found 'far'"},
      {"session --reference other.csv", 3, "other.csv: expected frames of session, found none of them among 1"},
      {"session --reference few.csv", 3, "too short: expected 100 frames of the reference"},
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
