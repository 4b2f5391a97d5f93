// The figures of a summary, and the table's lines.
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <string>

#include "tools/shadingctl/result/TableWriter.h"
#include "tools/shadingctl/summary/Summaries.h"

namespace shadingctl {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

Frame FrameOf(Match match) {
  Frame frame;
  frame.row.match = match;
  return frame;
}

Summary SummaryOf(std::initializer_list<std::pair<Match, int>> counts) {
  Summary summary(4);
  for (auto const& [match, count] : counts) {
    for (int i = 0; i < count; ++i) summary.Add(FrameOf(match));
  }
  return summary;
}

std::string LineOf(Summary const& summary, std::string const& title) {
  std::string const text = "\n" + summary.Text();
  std::size_t const at = text.find("\n" + title);
  return at == std::string::npos ? "" : text.substr(at + 1, text.find('\n', at + 1) - at - 1);
}

TEST(Summary, OnlyAllIsHundredPercentAndOnlyNothingIsZero) {
  auto const few = SummaryOf({{Match::kStart, 29999}, {Match::kNoStart, 1}});
  EXPECT_THAT(LineOf(few, "Matched"), AllOf(HasSubstr("start 29999 (>99.9 %)"), HasSubstr("no_start 1 (<0.1 %)")));
  EXPECT_THAT(LineOf(few, "Match rate"), HasSubstr(" >99.9 % of the 30000 frames"));
  EXPECT_EQ(few.ToJson()["match_rate"], 0.999967);
  EXPECT_EQ(SummaryOf({{Match::kStart, 2999999}, {Match::kNoStart, 1}}).ToJson()["match_rate"], 0.999999);
  EXPECT_EQ(SummaryOf({{Match::kStart, 1}, {Match::kNoStart, 2999999}}).ToJson()["match_rate"], 0.000001);
  EXPECT_THAT(LineOf(SummaryOf({{Match::kStart, 3}}), "Matched"), HasSubstr("start 3 (100.0 %)"));
  EXPECT_THAT(LineOf(SummaryOf({{Match::kOff, 3}}), "Match rate"), HasSubstr(" 0.0 % of the 3 frames"));
}

TEST(Summary, TheWarmUpIsNoFailure) {
  auto const summary = SummaryOf({{Match::kWarmUp, 10}, {Match::kStart, 57}, {Match::kNoWindow, 3}});
  auto const json = summary.ToJson();
  EXPECT_EQ(json["warm_up_frames"], 10);
  EXPECT_EQ(json["match_rate"], 0.95);
  EXPECT_EQ(json["match_rate_of_all"], 0.814286);
  EXPECT_TRUE(SummaryOf({{Match::kWarmUp, 10}}).ToJson()["match_rate"].is_null());
}

TEST(Summary, AgesAreNeitherNegativeNorMoreExactThanTheyAreKnown) {
  Summary summary(4);
  Frame carried = FrameOf(Match::kCarried);
  std::int64_t largestUs = 0;
  for (std::int64_t const ageUs : {400000L, 400001L, 400003L, -9000L, -1L}) {
    carried.row.spanAgeUs = ageUs;
    summary.Add(carried);
    largestUs = std::max(largestUs, ageUs);
    EXPECT_EQ(summary.ToJson()["carried_age_us"]["largest"], largestUs);
  }
  EXPECT_THAT(LineOf(summary, "Carried"),
              AllOf(HasSubstr("median 400.0 ms (within 1.6 %)"), HasSubstr("largest 400.0 ms; 2 are later")));
  EXPECT_EQ(summary.ToJson()["carried_age_us"].dump(),
            R"({"median":400001.3,"median_error":0.015625,"largest":400003,"later":2})");
}

TEST(Summary, TakesTheExtremesInWhateverOrderTheFramesCome) {
  struct {
    Match match;
    std::uint32_t frame;
    std::uint64_t timestampNs;
    std::optional<double> hallX, hallY;
    std::optional<std::uint64_t> history;
  } const rows[] = {
      {Match::kStart, 7, 6000000000, -3.5, 2.0, {}},          {Match::kStart, 9, 5000000000, 4.25, -1.0, {}},
      {Match::kNoStart, 8, 8000000000, -9.0, 9.0, {}},  // another frame's position
      {Match::kNoWindow, 10, 7000000000, {}, {}, 99},         {Match::kNoWindow, 11, 7000000000, {}, {}, 40},
      {Match::kNoWindow, 12, 7000000000, {}, {}, kWindowSize}};
  Summary summary(0);
  EXPECT_EQ(summary.ToJson()["recorded_ns"], 0);
  std::vector<NSCam::Utils::SensorData> const none;
  summary.Add(PlayedUpdate{7, none, {}, false, true, 12000, {}});
  for (auto const& row : rows) {
    Frame frame = FrameOf(row.match);
    frame.row.frame = row.frame;
    frame.row.timestampNs = row.timestampNs;
    frame.row.hallX = row.hallX;
    frame.row.hallY = row.hallY;
    frame.row.historySamples = row.history;
    summary.Add(frame);
  }
  auto const json = summary.ToJson();
  EXPECT_EQ(json["recorded_ns"], 3000000000);
  EXPECT_EQ(json["hall_x"], Json::parse(R"({"lowest": -3.5, "highest": 4.25})"));
  EXPECT_EQ(json["hall_y"], Json::parse(R"({"lowest": -1.0, "highest": 2.0})"));
  EXPECT_EQ(json["history"]["longest_too_short"], 99);
  EXPECT_THAT(LineOf(summary, "Frames"), HasSubstr("6 (7 to 12), 3.000 s"));
  EXPECT_THAT(LineOf(summary, "Position"), HasSubstr("x -3.5 to 4.25, y -1 to 2"));
  EXPECT_THAT(LineOf(summary, "History"), AllOf(HasSubstr(" 2 frames "), HasSubstr(" 99 of 100 samples")));
  EXPECT_THAT(LineOf(summary, "Library"), AllOf(HasSubstr("update 2.0 us"), Not(HasSubstr("messages"))))
      << "there are no messages at level 0";
  EXPECT_THAT(summary.Text(), HasSubstr("split by the library: not told"));
}

TEST(Summaries, FitATerminal) {
  Summaries summaries(4);
  for (int i = 0; i < 3; ++i) summaries.Of(0).Add(FrameOf(Match::kOff));
  summaries.Close({}, 1000);
  std::string const text = summaries.Text(50);
  EXPECT_THAT(text, AllOf(HasSubstr("not_told"), HasSubstr("\nReplay ")));
  for (std::size_t at = 0, end = 0; (end = text.find('\n', at)) != std::string::npos; at = end + 1) {
    EXPECT_LE(end - at, 50U) << text.substr(at, end - at);
  }
}

// ---- Findings

TEST(Findings, ThePageHasTheTableOfKindsInItsOrder) {
  std::ifstream page(ANSWERS_PAGE);
  std::string const text((std::istreambuf_iterator<char>(page)), {});
  std::size_t at = text.find("### The rules");
  for (FindingKind const& kind : FindingKinds()) {
    constexpr char const* kNeeds[] = {"", "messages", "call times"};
    std::size_t const row = text.find(fmt::format("\n| `{}` | {} | {} |", kind.code, Name(kind.severity),
                                                  kNeeds[static_cast<std::size_t>(kind.needs)]),
                                      at);
    ASSERT_NE(row, std::string::npos) << kind.code;
    std::string const line = text.substr(row + 1, text.find('\n', row + 1) - row - 1);
    EXPECT_NE(line.find(fmt::format("| {} |", kind.figures)), std::string::npos) << line;
    at = row;
  }
}

// ---- The table

TEST(TableLayout, ColumnsGoInAFixedOrderThenGetNarrow) {
  struct {
    std::optional<std::size_t> width;
    char const* head;
  } const rows[] = {
      {std::nullopt,
       "     frame      time match     samples    span  offset from start      age        hall x        hall y covers "
       "note\n"},
      {148,
       "     frame      time match     samples    span  offset from start      age        hall x        hall y covers "
       "note\n"},
      {141,
       "     frame      time match     samples    span  offset from start      age        hall x        hall y note\n"},
      {140, "     frame      time match        span  offset from start      age        hall x        hall y note\n"},
      {120, "     frame      time match     from start      age        hall x        hall y note\n"},
      {99, "     frame      time match            hall x        hall y note\n"},
      {80, "frame    time match       hall x   hall y note\n"},
  };
  for (auto const& row : rows) {
    TableLayout const layout = FitTable(row.width, 3, false);
    std::vector<std::string> names;
    for (auto const& column : layout.columns) names.emplace_back(column.name);
    EXPECT_EQ(TableRow(layout, names, "note"), row.head) << row.width.value_or(0);
  }
}

TEST(TableLayout, ANoteTakesOneLineFrom80ColumnsOnAndIsWrappedBelow) {
  for (std::size_t width = 80; width < 160; ++width) {
    TableLayout const layout = FitTable(width, 5, false);
    std::string const row =
        TableRow(layout, std::vector<std::string>(layout.columns.size(), "12345"), std::string(kNoteWidth, 'x'));
    EXPECT_LE(row.size(), width + 1);
    EXPECT_EQ(std::count(row.begin(), row.end(), '\n'), 1) << width;
  }
  TableLayout const narrow = FitTable(60, 7, false);  // without the time: 24 columns are left
  EXPECT_EQ(TableRow(narrow, {"1234567", "no_start", "", ""}, "nearest in window 5652 us from start"),
            "1234567 no_start                    nearest in window 5652\n"
            "                                    us from start\n");
}

TEST(TableLayout, NumbersLoseDecimalsRatherThanTheirPlace) {
  EXPECT_EQ(FitNumber(-53.70669, 8, 4), "-53.7067");
  EXPECT_EQ(FitNumber(-1234.5678, 8, 4), "-1234.57");
  EXPECT_EQ(FitNumber(-12345678, 8, 4), "-1.2e+07");
  EXPECT_EQ(FitNumber(1234.5678, 7, 3), "1234.57");
}

}  // namespace
}  // namespace shadingctl
