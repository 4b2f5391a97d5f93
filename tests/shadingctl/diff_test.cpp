// Results compared with each other, with a kept one, and with what they must reach.
#include <gtest/gtest.h>

#include <string>

#include "tests/shadingctl/Program.h"
#include "tests/shadingctl/SickSession.h"

namespace shadingctl {
namespace {

// Results of the recording whose frame 7 can be worked out by hand, in a directory beside it.
class WorkedResults : public testing::Test {
 protected:
  void SetUp() override { WriteWorkedRecording(mDirectory); }

  std::string Path(std::string const& name) const { return mDirectory.Path() + "/" + name; }
  Outcome Replay(std::string const& options) const { return RunTool("replay " + options + " " + mDirectory.Path()); }
  void Keep(std::string const& name, std::string const& options) const {
    Outcome const outcome = Replay("--quiet -o " + Path(name) + " --format " + options);
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
  }
  Outcome Diff(std::string const& a, std::string const& b, std::string const& options = "") const {
    return RunTool("diff " + options + " " + Path(a) + " " + Path(b));
  }
  void Write(std::string const& name, std::string const& text) const { mDirectory.Write(name, text); }

 private:
  TemporaryDirectory mDirectory;
};

TEST_F(WorkedResults, AreTheSameInEveryForm) {
  Keep("json", "json");
  Keep("csv", "csv");
  for (char const* const names : {"json json", "csv csv", "json csv", "csv json"}) {
    std::string const a(names, std::string(names).find(' '));
    std::string const b = names + a.size() + 1;
    Outcome const outcome = Diff(a, b);
    EXPECT_EQ(outcome.exitCode, 0) << outcome.out << outcome.err;
    EXPECT_EQ(outcome.out.find("## First differences"), std::string::npos) << outcome.out;
  }
  EXPECT_EQ(RunScript("shadingctl diff - " + Path("json") + " <" + Path("csv")).exitCode, 0);
}

// The last sample of the span is k = 20: (400, -20) instead of the mean (2870 / 21, -10), in the same span. Its readout
// has the mean (144, -10), so it is (256, -10) away, 256.1952.
TEST_F(WorkedResults, DifferByTheLastSampleInsteadOfTheMean) {
  Keep("mean", "json");
  Keep("last", "json --mode last");
  Outcome const outcome = Diff("mean", "last");
  EXPECT_EQ(outcome.exitCode, 1);
  for (char const* const line :
       {"| hall_x | 1 | 263 | 263 | 263.333328 | frame 7 |", "| hall_y | 1 | 10 | 10 | 10 | frame 7 |",
        "| frame 7 | hall_x | 136.666672 | 400 | +263.333328 |", "| frame 7 | hall_y | -10 | -20 | -10 |",
        "| frame 7 | readout_distance | 7.3333 | 256.1952 | +248.8619 |", "| mode | mean | last | differs |",
        "| cameras.0.frames | 1 | 1 |  |"}) {
    EXPECT_NE(LineOf(outcome.out, line), "") << line << "\n" << outcome.out;
  }
  EXPECT_EQ(outcome.out.find("start_index |"), std::string::npos) << "the span is the same";
  EXPECT_EQ(Diff("mean", "last", "--tolerance 263.3").exitCode, 1);
  EXPECT_EQ(Diff("mean", "last", "--tolerance 263.4").exitCode, 0);
  EXPECT_EQ(Diff("mean", "last", "--first 1").out.find("| frame 7 | hall_y |"), std::string::npos);
}

TEST_F(WorkedResults, AreComparedFrameByFrameAndOnlyInWhatBothHave) {
  std::string down = "frame,camera,hall_x\n";
  for (int frame = 99; frame > 0; --frame) down += std::to_string(frame) + ",0," + std::to_string(frame * frame) + "\n";
  std::string up = "frame,camera,hall_x\n";
  for (int frame = 1; frame < 100; ++frame) up += std::to_string(frame) + ",2," + std::to_string(frame) + "\n";
  // Differences of 3, 3 and -12: the median is 3, the mean square 54. Ages grow by 12 ms.
  std::string const early = "frame,hall_x,span_age_us\n7,1,100\n8,1,200\n9,20,300\n";
  std::string const late = "frame,hall_x,span_age_us\n7,4,12100\n8,4,12200\n9,8,12300\n";
  std::string const document = R"({"schema": "shadingctl-replay", "version": 1,
      "settings": {"session": "s", "mode": "mean", "list": [1, 2]},
      "frames": [{"frame": 1, "timestamp_ns": 10, "match": "start", "odd": 1, "other": 2}], "complete": true, "error": null,
      "summary": {"cameras": [{"frames": 1, "rate": null}, {"frames": 2}]},
      "findings": [{"code": "gaps", "camera": 0, "frames": {"count": 3}}, {"code": "still", "camera": 2}]})";
  std::string other = Replaced(Replaced(document, "start", "carried"), "[1, 2]", "[1, 2, 3], \"later\": true");
  other =
      Replaced(Replaced(other, "\"count\": 3", "\"count\": 5"), "true, \"error\": null", "false, \"error\": \"cut\"");
  other = Replaced(Replaced(other, "\"still\", \"camera\": 2", "\"late\", \"camera\": 0"), "null}, {", "0.5}, {");
  struct {
    std::string a;
    std::string b;
    char const* options;
    char const* row;
  } const rows[] = {
      {document, other, "", "| frame 1 | match | start | carried | differs |"},
      {"frame,message\n1,7\n", "frame,message\n1,8\n", "", "| frame 1 | message | 7 | 8 | differs |"},
      {early, late, "", "| hall_x | 3 | 3 | 7.35 | 12 | frame 9 |"},
      {late, early, "", "| hall_x | 3 | 3 | 7.35 | 12 | frame 9 |"},
      {"frame,timestamp_ns,match,hall_x\n1,10,start,1\n2,20,start,2\n2,20,start,2.5\n3,30,carried,\n",
       "hall_x,frame,timestamp_ns,later\r\n2,2,20,x\r\n7,3,30,x\r\n2.5,2,20,x\r\n4,4,40,x\r\n", "",
       "| frame 3 | hall_x | - | 7 | differs |"},
      // Whatever the order, and however far apart rows of one frame lie.
      {down + "7,0,50\n", up + "7,0,49\n7,0,51\n", "--tolerance 0.5 --first 2",
       "| frame 7, computation 2 | hall_x | 50 | 51 | +1 |"},
  };
  std::string shown;
  for (auto const& row : rows) {
    Write("a", row.a);
    Write("b", row.b);
    Outcome const outcome = Diff("a", "b", row.options);
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_NE(LineOf(outcome.out, row.row), "") << row.row << "\n" << outcome.out;
    Outcome const same = Diff("a", "a");
    EXPECT_EQ(same.exitCode, 0);
    shown += Replaced(outcome.out + outcome.err + same.out, Path(""), "");
  }
  ExpectGolden(shown, "differences.txt");
}

TEST_F(WorkedResults, ThatAreNoneAreRefusedWithTheirPlace) {
  Keep("good", "json");
  std::string const good = ReadFile(Path("good"));
  std::string manyKeys;
  for (int i = 0; i < 1000; ++i) manyKeys += "\"k" + std::to_string(i) + "\": 1, ";
  std::string const rows[] = {
      "",
      "what is this\n",
      "frame,timestamp_ns\n1,2\n3\n",
      "frame,timestamp_ns\n1,x\n",
      "{\"schema\": \"shadingctl-replay\",\n\"version\": 1,",
      Replaced(good, "shadingctl-replay", "shadingctl-budget"),
      Replaced(good, "\"version\": 1,", "\"version\": 2,"),
      Replaced(good, "\"frame\":7", "\"frame\":\"7\""),
      Replaced(good, "\"summary\": {", "\"summary\": 7, \"sum\": {"),
      "frame,coverage\n1,1.5\n",
      "frame,camera\n1,2147483648\n",
      "{\"a\": " + std::string(64, '['),
      "frame\n" + std::string(1200000, '1'),
      "{\"a\": \"" + std::string(1200000, 'x'),
      Replaced(good, "\"summary\": {", "\"summary\": {" + manyKeys),
  };
  std::string told;
  for (std::string const& text : rows) {
    Write("bad", text);
    Outcome const outcome = Diff("bad", "good");
    EXPECT_EQ(outcome.exitCode, 3) << outcome.out;
    told += outcome.err;
    Outcome const turned = Diff("good", "bad");
    EXPECT_EQ(turned.exitCode, 3) << turned.out;
    EXPECT_EQ(turned.err, outcome.err);
  }
  ExpectGolden(Replaced(told, Path(""), ""), "refused-diffs.txt");
  Write("bad", good.substr(0, good.size() / 2));  // where that is depends on measured times
  Outcome const half = Diff("bad", "good");
  EXPECT_EQ(half.exitCode, 3) << half.out;
  EXPECT_NE(half.err.find("bad: expected JSON: parse error at line "), std::string::npos) << half.err;
  EXPECT_NE(Diff("good", "missing").err.find("missing: cannot be read: No such file"), std::string::npos);
  // Its first bytes cannot be read.
  Outcome const failing = RunTool("diff /proc/self/mem " + Path("good"));
  EXPECT_EQ(failing.exitCode, 3);
  EXPECT_NE(failing.err.find("/proc/self/mem: cannot be read: Input/output error"), std::string::npos) << failing.err;
}

TEST_F(WorkedResults, AreCheckedAgainstAKeptOne) {
  Keep("golden", "csv");
  std::string const golden = ReadFile(Path("golden"));
  std::string const check = "--summary --check " + Path("golden");
  EXPECT_EQ(Replay(check).exitCode, 0);
  Outcome const last = Replay(check + " --mode last");
  EXPECT_EQ(last.exitCode, 1);
  for (char const* const complaint :
       {"golden:2: hall_x: expected 136.666672, found 400\n", "golden:2: hall_y: expected -10, found -20\n",
        "golden:2: readout_distance: expected 7.3333, found 256.1952\n",
        "golden: 1 rows differ, 0 are missing, 0 are new\n"}) {
    EXPECT_NE(last.err.find(complaint), std::string::npos) << complaint << last.err;
  }
  Keep("json", "json");
  std::string const json = ReadFile(Path("json"));
  struct {
    std::string golden;
    int exitCode;
    char const* message;
  } const rows[] = {
      {"frame,match\n7,start\n", 0, ""},
      {"match,frame\r\nstart,7\r\n", 0, ""},
      {"frame\n", 1, "golden: expected no frame 7, found it"},
      {"frame\n7\n8\n", 1, "golden: expected frame 8, found none"},
      {"frame,match\n7\n", 3, "golden:2: expected as many fields as the header names, found fewer"},
      {"frame,mtach\n7,start\n", 3, "golden:1: expected columns of a result (frame, "},
      {"", 3, "golden:1: expected a replay's result, JSON or CSV, found nothing"},
      {json, 0, ""},
      {Replaced(json, "\"span_us\":[999990000,", "\"span_us\":[999990001,"), 1,
       "golden: frames[0]: span_us: expected [999990001,1000010000], found [999990000,1000010000]"},
  };
  for (auto const& row : rows) {
    Write("golden", row.golden);
    Outcome const outcome = Replay(check);
    EXPECT_EQ(outcome.exitCode, row.exitCode) << row.golden << outcome.err;
    EXPECT_NE(outcome.err.find(row.message), std::string::npos) << row.message << "\n" << outcome.err;
  }
  EXPECT_EQ(RunTool("replay --check " + Path("missing")).exitCode, 3);
}

// The digest is what `xxh128sum` prints of the CSV.
TEST_F(WorkedResults, HaveADigestOfTheirRows) {
  constexpr char const* kDigest = "xxh128:5e01b3836d6ce52e33087510d92688a5";
  for (char const* const options : {"--digest", "--digest --summary", "--digest --quiet", "--digest --format json"}) {
    Outcome const outcome = Replay(options);
    EXPECT_NE((outcome.out + outcome.err).find(kDigest), std::string::npos) << options << outcome.out << outcome.err;
  }
  EXPECT_EQ(Replay("--digest --mode last").out.find(kDigest), std::string::npos);
}

// At 200 Hz 2999 of 5000 us are near a sample: 60 % of the frames. The others begin with the oldest of 100 samples, of
// which the newest is 12.5 to 17.5 ms after the timestamp; so the oldest is 477.5 to 482.5 ms before it, and the start
// of the readout 5000 + 2716 + 166 us: the positions are 469.6 to 474.6 ms old.
TEST(Gates, FailWithTheReason) {
  TemporaryDirectory const healthy;
  HealthySession().Write(healthy);
  TemporaryDirectory const sparse;
  HealthySession(Plan(200, 59.7, 5000)).Write(sparse);
  TemporaryDirectory const empty;
  SickSession withoutSamples = HealthySession();
  withoutSamples.samples.clear();
  withoutSamples.Write(empty);
  TemporaryDirectory const warming;
  withoutSamples.frames.resize(20);
  withoutSamples.Write(warming);
  struct {
    TemporaryDirectory const& session;
    char const* options;
    int exitCode;
  } const rows[] = {
      {healthy, "--fail-below 100 --max-age-us 1500", 0},
      {sparse, "--fail-below 60", 0},
      {sparse, "--fail-below 60.5", 1},
      {sparse, "--max-age-us 474700", 0},
      {sparse, "--max-age-us 469000", 1},
      {sparse, "--max-age-us 473449", 0},
      {empty, "--max-age-us 400000", 1},
      {empty, "--fail-below 1", 1},
      {warming, "--fail-below 1", 1},
      {healthy, "--fail-below 90 --log-level 1", 2},
      {healthy, "--fail-below 101", 2},
  };
  std::string told;
  for (auto const& row : rows) {
    Outcome const outcome = RunTool(std::string("replay --summary ") + row.options + " " + row.session.Path());
    EXPECT_EQ(outcome.exitCode, row.exitCode) << row.options << outcome.err;
    told += row.options + ("\n" + outcome.err);
  }
  ExpectGolden(told, "gates.txt");
}

}  // namespace
}  // namespace shadingctl
