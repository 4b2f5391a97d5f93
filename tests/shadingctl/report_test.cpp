// What report and trace make of a result, and what they refuse. browser_test.py looks at the page as its users do.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "tests/shadingctl/Program.h"

namespace shadingctl {
namespace {

using Json = nlohmann::json;

// The data of a page, as its scripts read them.
Json DataOf(std::string const& page) {
  std::string const head = R"(<script type="application/json" id="data">)";
  std::size_t const begin = page.find(head);
  if (begin == std::string::npos) return nullptr;
  std::size_t const end = page.find("</script>", begin);
  return Json::parse(page.substr(begin + head.size(), end - begin - head.size()));
}

// The worked recording's result with its samples, in a directory with a name that a page must not take for markup.
class Result : public testing::Test {
 protected:
  Result() {
    WriteWorkedRecording(mRecording);
    std::string const odd = mPlace.Path() + "/<script>&'";
    EXPECT_EQ(RunScript("mv '" + mRecording.Path() + "' \"" + odd + "\"").exitCode, 0);
    mRun = "\"" + odd + "\" --quiet ";
    EXPECT_EQ(RunTool("replay " + mRun + "--format json --samples -o " + Path("result")).exitCode, 0);
  }

  std::string Path(std::string const& name) const { return mPlace.Path() + "/" + name; }

  TemporaryDirectory const mPlace;
  TemporaryDirectory const mRecording;
  std::string mRun;
};

TEST_F(Result, PageHoldsTimesFromTheFirstFrameAndSamplesInSteps) {
  Outcome const outcome = RunTool("report " + Path("result"));
  EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
  Json const data = DataOf(outcome.out);
  ASSERT_EQ(data.size(), 1U);
  EXPECT_EQ(data[0]["origin_ns"], "1000000000000");
  EXPECT_EQ(data[0]["settings"]["session"], mPlace.Path() + "/<script>&'");
  Json const& frames = data[0]["frames"];
  EXPECT_EQ(frames["time_ns"].dump(), "[0]");
  EXPECT_EQ(frames["start_of_frame_us"].dump(), "[-10000]");
  EXPECT_EQ(frames["span_us"].dump(), "[[-10000,10000]]");
  EXPECT_EQ(frames["window_us"].dump(), "[[-50000,49000]]");
  EXPECT_EQ(frames["start_distance_us"].dump(), "[0]");
  Json const& samples = data[0]["samples"][0];
  EXPECT_EQ(samples["first_ns"], -75598000);  // k = -60
  EXPECT_EQ(samples["jumps"].dump(), "[]");
  std::string const steps = samples["steps_ns"];
  EXPECT_EQ(steps.size(), 640U);              // 120 numbers of four bytes, in digits of six bits
  EXPECT_EQ(steps.substr(0, 8), "AAAAAEBC");  // 0, and the first two bytes of 1000000: 40 42
  EXPECT_EQ(samples["hall_x"].get<std::string>().substr(0, 8), "AABhRQCQ");  // 3600 is 45610000, 3481 ..9000
  EXPECT_NE(outcome.out.find("default-src 'none'"), std::string::npos);
  EXPECT_EQ(outcome.out.find("script-src 'unsafe-inline'"), std::string::npos);
  EXPECT_EQ(outcome.out.find("sourceMappingURL"), std::string::npos);
}

TEST_F(Result, ReplayWritesTheSamePageWhateverItShows) {
  Outcome const outcome = RunTool("replay " + mRun + "--only carried --report " + Path("direct.html"));
  EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
  Json direct = DataOf(ReadFile(Path("direct.html")))[0];
  Json made = DataOf(RunTool("report " + Path("result")).out)[0];
  for (char const* const varying : {"name", "summary"}) {  // durations
    direct.erase(varying);
    made.erase(varying);
  }
  EXPECT_EQ(direct, made);
  EXPECT_EQ(RunTool("replay " + mRun + "--report " + Path("x") + " -o " + Path("x")).exitCode, 3);
}

TEST_F(Result, TwoReplaysShareAPageAndCalibrationStandsAlone) {
  if (!MountRefusal().empty()) GTEST_SKIP() << MountRefusal();
  EXPECT_EQ(DataOf(RunTool("report " + Path("result") + " " + Path("result")).out).size(), 2U);
  EXPECT_EQ(RunTool("calibration --format json -o " + Path("calibration")).exitCode, 0);
  Json const data = DataOf(RunTool("report - <" + Path("calibration")).out);
  EXPECT_EQ(data[0]["kind"], "calibration");
  EXPECT_EQ(data[0]["cameras"].size(), 3U);
  Outcome const pair = RunTool("report " + Path("result") + " " + Path("calibration"));
  EXPECT_EQ(pair.exitCode, 3);
  EXPECT_EQ(pair.err, "shadingctl: " + Path("calibration") +
                          ": expected the result of a replay beside another one, found calibration\n");
  EXPECT_EQ(RunTool("trace " + Path("calibration")).exitCode, 3);
}

TEST_F(Result, UnusableInputIsNamedWithItsPlace) {
  char const* const rows[] = {
      "",
      "frame,timestamp_ns,match\n1,2,start\n",
      "{\"schema\": \"shadingctl-replay\",\n\"version\": 1,",
      "[]",
      "{}",
      R"({"schema": "shadingctl-replay", "version": 2})",
      R"({"schema": "shadingctl-replay", "version": 1})",
      R"({"schema": "shadingctl-replay", "version": 1, "frames": [{"frame": 1, "timestamp_ns": "x"}]})",
      R"({"schema": "shadingctl-replay", "version": 1, "frames": [{"frame": 1, "timestamp_ns": 1, "match": "start",
          "span_us": [1]}]})",
      R"({"schema": "shadingctl-replay", "version": 1, "frames": [],
          "batches": [{"camera": 0, "samples": [[1, 2, 3], [1, "2", 3]]}]})",
      R"({"schema": "shadingctl-replay", "version": 1, "frames": [],
          "batches": [{"camera": 0, "samples": [[1, 2, 3]]}, {"camera": 0, "samples": [[1, 2, "3"]]}]})",
      R"({"schema": "shadingctl-replay", "version": 1, "frames": [], "batches": [{"samples": [[1, 2, 3]], "camera": 0}]})",
      R"({"schema": "shadingctl-replay", "version": 1, "frames": [], "batches": [{"camera": 0, "frame": "7", "samples": []}]})",
  };
  std::string told;
  for (char const* const text : rows) {
    mPlace.Write("broken", text);
    for (char const* const command : {"report ", "trace "}) {
      Outcome const outcome = RunTool(command + Path("broken") + " -o " + Path("out"));
      EXPECT_EQ(outcome.exitCode, 3) << text;
      told += command + outcome.err;
    }
  }
  char const* const pages[] = {
      "{\"schema\": 1}",
      R"({"schema": "shadingctl-calibration", "version": 9, "cameras": []})",
      R"({"schema": "shadingctl-calibration", "version": 1, "cameras": [{"camera": 0, "table": 1}]})",
      R"({"schema": "shadingctl-calibration", "version": 1, "cameras": [], "tables": [{"index": "<b>"}]})",
      R"({"schema": "shadingctl-calibration", "version": 1, "cameras": [{"camera": 0, "table": {}, "block": {"values": [[{}]]}}]})",
      R"({"schema": "shadingctl-replay", "version": 1, "frames": [], "settings": {"tolerance_us": -1}})",
      R"({"schema": "shadingctl-replay", "version": 1, "frames": [], "explained": [{"steps": ["a", 1]}]})",
      R"({"schema": "shadingctl-replay", "version": 1, "frames": [], "findings": [{"code": "gaps"}]})",
      R"({"schema": "shadingctl-replay", "version": 1, "frames": [], "summary": {"cameras": [{"camera": "0"}]}})",
      R"({"schema": "shadingctl-fit", "version": 2, "frames": 1, "left_out": 0, "clipped": 0, "shorter_us": null})",
      R"({"schema": "shadingctl-fit", "version": 2, "frames": 1, "left_out": 0, "clipped": 0, "shorter_us": 1,
          "readout_us": 1, "diagnosis": [], "advice": [], "axes": {"x": 1}})",
  };
  for (char const* const text : pages) {
    mPlace.Write("broken", text);
    Outcome const outcome = RunTool("report " + Path("broken") + " -o " + Path("out"));
    EXPECT_EQ(outcome.exitCode, 3) << text;
    told += outcome.err;
  }
  ExpectGolden(Replaced(told, Path("broken"), "broken"), "refused-results.txt");
  EXPECT_EQ(RunTool("report " + Path("none")).err,
            "shadingctl: " + Path("none") + ": cannot be read: No such file or directory\n");
  EXPECT_EQ(RunTool("report " + Path("result") + " -o " + Path("result")).exitCode, 3) << "which is read";
}

// Times that no clock tells, and none of the keys that a result may lack.
TEST_F(Result, SparseResultsAndImpossibleTimesAreTakenAsTheyAre) {
  mPlace.Write("sparse", R"({"schema": "shadingctl-replay", "version": 1, "frames": [
      {"frame": 1, "timestamp_ns": 18446744073709551615, "match": "start"},
      {"frame": 2, "timestamp_ns": 0, "toString": [{"a": 1}], "match": "a \"new\" kind", "exposure_us": 9223372036854775807,
       "readout_us": 9223372036854775808, "offset_us": 9223372036854775807,
       "span_us": [9223372036854775807, -9223372036854775808]}]})");
  Json const page = DataOf(RunTool("report " + Path("sparse")).out)[0];
  EXPECT_EQ(page["frames"]["time_ns"].dump(), "[-1,0]") << "as signed numbers";
  EXPECT_EQ(page["frames"]["exposure_us"].dump(), "[null,9223372036854775807]");
  EXPECT_FALSE(page.contains("samples"));
  EXPECT_FALSE(page["frames"].contains("toString")) << "columns that results do not have are left out";
  Outcome const trace = RunTool("trace " + Path("sparse"));
  EXPECT_EQ(trace.exitCode, 0);
  EXPECT_FALSE(Json::parse(trace.out)["traceEvents"].empty());
}

// What the format requires of every event of a phase.
TEST_F(Result, TraceHasTheFieldsOfItsFormatAndTheTimesOfTheResult) {
  Outcome const outcome = RunTool("trace " + Path("result"));
  EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
  Json const events = Json::parse(outcome.out)["traceEvents"];
  std::map<std::string, std::set<std::string>> const required = {{"M", {"pid", "tid", "name", "args"}},
                                                                 {"C", {"pid", "name", "ts", "args"}},
                                                                 {"X", {"pid", "tid", "name", "ts", "dur", "args"}},
                                                                 {"i", {"pid", "tid", "name", "ts", "s"}}};
  std::map<std::string, std::pair<double, double>> slices;  // name of the track: start and length
  std::map<int, std::string> tracks;
  std::map<std::string, int> counters;
  for (Json const& event : events) {
    auto const fields = required.find(event["ph"].get<std::string>());
    ASSERT_NE(fields, required.end()) << event;
    for (std::string const& field : fields->second) EXPECT_TRUE(event.contains(field)) << event;
    if (event["name"] == "thread_name") tracks[event["tid"]] = event["args"]["name"];
    if (event["ph"] == "X") slices[tracks[event["tid"]]] = {event["ts"], event["dur"]};
    if (event["ph"] == "C") ++counters[event["name"]];
  }
  std::map<std::string, std::pair<double, double>> const expected = {
      {"exposure", {999990000, 10000}},
      {"readout", {1000000000, 20000}},
      {"span", {999984402, 20000}},  // aligned 999990000 less 5598: where its first sample was stamped
  };
  EXPECT_EQ(slices, expected);
  EXPECT_EQ(counters,
            (std::map<std::string, int>{{"hall x", 120}, {"hall y", 120}, {"position x", 1}, {"position y", 1}}));
}

// Slices of one thread may not cross, or viewers drop them.
TEST(Trace, SlicesThatOverlapStandOnThreadsOfTheirOwn) {
  TemporaryDirectory const directory;
  std::string const result = directory.Path() + "/result";
  ASSERT_EQ(
      RunTool("generate " + directory.Path() + "/rec --cameras 2 --frames 90 --exposure-us 30000 --pause-us 250000")
          .exitCode,
      0);
  RunTool("replay " + directory.Path() + "/rec --quiet --format json -o " + result);
  std::map<std::pair<int, int>, double> freeFrom;
  std::set<int> cameras;
  int unmatched = 0;
  Json const trace = Json::parse(RunTool("trace " + result).out);
  for (Json const& event : trace["traceEvents"]) {
    cameras.insert(event["pid"].get<int>());
    if (event["ph"] == "i") ++unmatched;
    if (event["ph"] != "X") continue;
    auto const [thread, isNew] = freeFrom.try_emplace({event["pid"], event["tid"]}, event["ts"]);
    EXPECT_GE(event["ts"].get<double>(), thread->second - 0.01) << event;
    thread->second = event["ts"].get<double>() + event["dur"].get<double>();
  }
  EXPECT_EQ(cameras, (std::set<int>{0, 2}));
  EXPECT_GT(freeFrom.size(), 6U);
  Json const replay = Json::parse(ReadFile(result));
  Json const& frames = replay["frames"];
  EXPECT_EQ(unmatched, std::count_if(frames.begin(), frames.end(), [](Json const& frame) {
              return frame["match"] != "start" && frame["match"] != "carried";
            }));
}

}  // namespace
}  // namespace shadingctl
