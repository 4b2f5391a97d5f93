// What is decided for one frame: plain values in, plain values out, every expectation computed by hand.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <ostream>
#include <tuple>

#include "lsc/ois/FrameTimes.h"
#include "lsc/ois/HallReduction.h"
#include "lsc/ois/ReadoutMatch.h"
#include "lsc/sensor/SplitTime.h"
#include "tests/support/PlayedDevice.h"

namespace {

TEST(Offset, IsAShareOfTheShorterTimePlusAConstantTruncatedTowardZero) {
  struct {
    std::uint64_t exposureUs;
    std::uint32_t readoutUs;
    std::int64_t offsetUs;
  } const rows[] = {
      {0, 20'000, -166},
      {1'000, 20'000, -709},            // 543.2
      {10'000, 20'000, -5'598},         // 5432
      {20'000, 30'000, -11'030},        // 10864
      {30'000, 10'000, -5'598},         // the readout is the shorter one
      {3, 20'000, -167},                // 1.6296
      {~std::uint64_t{0}, 1'000, -709}  // not compared as signed
  };
  for (auto const& row : rows) {
    EXPECT_EQ(lsc::OffsetUs(row.exposureUs, row.readoutUs), row.offsetUs) << row.exposureUs << ", " << row.readoutUs;
  }
}

TEST(FrameTimes, EachKindTakesItsPair) {
  CalcOISValueInput const input = {1'000'999, 2'000'999, 3'000'999, 100'999, 200'999, 300'999};
  struct {
    int type;
    std::uint64_t timestampNs, exposureUs, startOfFrameUs;  // each divided before the subtraction
  } const rows[] = {{0, 1'000'999, 100, 900},
                    {1, 1'000'999, 100, 900},
                    {4, 3'000'999, 300, 2'700},
                    {5, 2'000'999, 200, 1'800},
                    {6, 3'000'999, 300, 2'700}};
  for (auto const& row : rows) {
    auto const times = lsc::SelectFrameTimes(static_cast<CustShadingType>(row.type), input, 15'980'999);
    ASSERT_TRUE(times) << row.type;
    EXPECT_EQ(times->timestampNs, row.timestampNs) << row.type;
    EXPECT_EQ(times->exposureUs, row.exposureUs) << row.type;
    EXPECT_EQ(times->startOfFrameUs, row.startOfFrameUs) << row.type;
    EXPECT_EQ(times->readoutUs, 15'980U) << row.type;
  }
  for (int const type : {-1, 2, 3, 7}) {
    EXPECT_FALSE(lsc::SelectFrameTimes(static_cast<CustShadingType>(type), input, 0)) << type;
  }
}

// A history of the given frames, all of whose samples make up the window unless a row says otherwise.
struct History {
  explicit History(std::vector<std::vector<std::int64_t>> const& framesNs) : queue(framesNs.size()) {
    for (auto const& timesNs : framesNs) {
      queue.next() = SamplesAt(timesNs);
      queue.push(0);
    }
  }
  lsc::SampleRange All() const { return {queue, queue.sampleCount(), queue.sampleCount()}; }

  lsc::FrameQueue queue;
};

constexpr int kNone = -1;

// Indices in the window; kNone where there is none.
struct Found {
  int startCandidate, start, endCandidate, end, spanBegin, spanSize;

  bool operator==(Found const& other) const {
    return std::tie(startCandidate, start, endCandidate, end, spanBegin, spanSize) ==
           std::tie(other.startCandidate, other.start, other.endCandidate, other.end, other.spanBegin, other.spanSize);
  }
};
std::ostream& operator<<(std::ostream& out, Found const& found) {
  return out << "start " << found.startCandidate << "->" << found.start << ", end " << found.endCandidate << "->"
             << found.end << ", span " << found.spanBegin << " +" << found.spanSize;
}

Found Match(lsc::SampleRange const& window, lsc::SearchInterval const& interval, bool fallBackToOldest) {
  auto const match = lsc::MatchReadout(window, interval, fallBackToOldest);
  auto const index = [](auto const& near, auto member) { return near ? static_cast<int>((*near).*member) : kNone; };
  return {index(match.start, &lsc::NearEntry::candidate),
          index(match.start, &lsc::NearEntry::chosen),
          index(match.end, &lsc::NearEntry::candidate),
          index(match.end, &lsc::NearEntry::chosen),
          match.spanSize > 0 ? static_cast<int>(window.indexOf(match.spanFirst)) : kNone,
          static_cast<int>(match.spanSize)};
}

constexpr auto kLatestUs = static_cast<std::uint64_t>(kLatestNs / 1'000);  // 9223372036854775

// With an offset of -10, a sample at 5'990'000 ns is aligned with 6'000 us.
TEST(ReadoutMatch, StartIsTheCloserOfTheFirstEntryWithinTheToleranceAndTheNext) {
  struct {
    char const* what;
    std::vector<std::vector<std::int64_t>> framesNs;
    std::uint64_t startOfFrameUs;
    int candidate, start;
  } const rows[] = {
      {"only the last entry is near", {{1'000'000}, {8'990'000}}, 9'000, kNone, kNone},
      {"one sample", {{8'990'000}}, 9'000, kNone, kNone},
      {"1499 is within, from below", {{990'000, 8'990'000}}, 2'499, 0, 0},
      {"1500 is not", {{990'000, 8'990'000}}, 2'500, kNone, kNone},
      {"1499 is within, from above", {{4'990'000, 8'990'000}}, 3'501, 0, 0},
      {"1500 is not, from above", {{4'990'000, 8'990'000}}, 3'500, kNone, kNone},
      {"the next one is closer", {{990'000}, {1'990'000, 2'990'000}}, 1'501, 0, 1},
      {"a tie takes the first", {{990'000}, {1'990'000, 2'990'000}}, 1'500, 0, 0},
      {"the first within the tolerance, not the closest", {{990'000, 1'190'000, 1'390'000, 2'390'000}}, 2'400, 0, 1},
      {"samples of one microsecond are one entry", {{990'000, 990'500}, {990'999, 1'990'000}}, 1'501, 0, 3},
      {"of which there is no next one", {{990'000, 990'500}, {990'999}}, 1'000, kNone, kNone},
      {"leading samples of microsecond 0 are no entries", {{-999, 999, 1'000, 2'000}}, 10, 2, 2},
      {"later samples of microsecond 0 are", {{-1'000, 0, 999, 5'000}}, 9, 0, 0},
      {"an entry at time 0 is no candidate", {{-10'000, 990'000, 4'990'000}}, 100, 1, 1},
      {"a time before 0 is far from one after it", {{-110'000, 2'990'000, 4'990'000}}, 100, kNone, kNone},
      {"a start of frame before 0", {{-110'000, 2'990'000, 4'990'000}}, ~std::uint64_t{0}, 0, 0},
      {"the next one is not closer on the other side of 0", {{-110'000, -9'000}}, ~std::uint64_t{0}, 0, 0},
      {"1499 before a start of frame before 0", {{-1'510'000, 0}}, ~std::uint64_t{0}, 0, 0},
      {"1500 before it", {{-1'511'000, 0}}, ~std::uint64_t{0}, kNone, kNone},
      {"the latest time", {{kLatestNs - 2'000, kLatestNs}}, kLatestUs + 10, 0, 1},
      {"later than any", {{kLatestNs - 2'000, kLatestNs}}, kLatestUs + 10 + 1'500, kNone, kNone},
      {"far later", {{kLatestNs - 2'000, kLatestNs}}, (std::uint64_t{1} << 63) - 1, kNone, kNone},
      {"the earliest time", {{kEarliestNs, kEarliestNs + 2'000}}, ~kLatestUs + 1 + 10, 0, 0},
      {"1499 after the earliest time", {{kEarliestNs, kEarliestNs + 2'000}}, ~kLatestUs + 1 + 10 + 1'499, 0, 1},
      {"earlier than any", {{kEarliestNs, kEarliestNs + 2'000}}, std::uint64_t{1} << 63, kNone, kNone},
  };
  for (auto const& row : rows) {
    Found const found = Match(History(row.framesNs).All(), {row.startOfFrameUs, 0, -10}, false);
    EXPECT_EQ(found.startCandidate, row.candidate) << row.what;
    EXPECT_EQ(found.start, row.start) << row.what;
  }
}

TEST(ReadoutMatch, EndIsSearchedFromTheSpansFirstEntryOn) {
  struct {
    char const* what;
    std::vector<std::vector<std::int64_t>> framesNs;
    std::uint64_t startOfFrameUs;
    std::uint32_t readoutUs;
    Found found;
  } const rows[] = {
      {"the closer of two",
       {{990'000, 5'990'000, 10'990'000}, {11'990'000, 12'990'000}},
       1'000,
       10'600,
       {0, 0, 2, 3, 0, 4}},
      {"a tie takes the first",
       {{990'000, 5'990'000, 10'990'000}, {11'990'000, 12'990'000}},
       1'000,
       10'500,
       {0, 0, 2, 2, 0, 3}},
      {"a readout below the tolerance", {{990'000, 1'990'000, 2'990'000}}, 1'000, 1'400, {0, 0, 0, 1, 0, 2}},
      {"no readout", {{990'000, 1'990'000, 2'990'000}}, 1'990, 0, {0, 1, 1, 1, 1, 1}},
      {"too long a readout", {{990'000, 1'990'000}, {1'990'999}}, 1'000, 9'000, {0, 0, kNone, kNone, 0, 3}},
      {"a start at the last entry", {{990'000, 1'990'000, 1'990'100}}, 1'990, 0, {0, 1, kNone, kNone, 1, 2}},
      {"an end across 0",
       {{-2'010'000, -1'010'000, 990'000}},
       ~std::uint64_t{1'999},
       2'000,
       {0, 0, kNone, kNone, 0, 3}},
      {"an entry at time 0 may end it",
       {{-2'010'000, -10'000, 990'000}},
       ~std::uint64_t{1'999},
       2'000,
       {0, 0, 1, 1, 0, 2}},
      {"the longest readout", {{kLatestNs - 1'000, kLatestNs}}, kLatestUs + 9, 4'294'967, {0, 0, kNone, kNone, 0, 2}},
  };
  for (auto const& row : rows) {
    EXPECT_EQ(Match(History(row.framesNs).All(), {row.startOfFrameUs, row.readoutUs, -10}, false), row.found)
        << row.what;
  }
}

TEST(ReadoutMatch, WithoutANearStartTheSpanBeginsWithTheFirstEntryOrIsEmpty) {
  struct {
    char const* what;
    std::vector<std::vector<std::int64_t>> framesNs;
    std::uint32_t readoutUs;
    Found found;  // with the fallback
  } const rows[] = {
      {"to the end of the readout", {{990'000, 2'990'000, 5'990'000}}, 2'000, {kNone, kNone, 1, 1, 0, 2}},
      {"to the last sample", {{990'000, 2'990'000, 5'990'000}}, 90'000, {kNone, kNone, kNone, kNone, 0, 3}},
      {"one sample", {{990'000}}, 2'000, {kNone, kNone, kNone, kNone, 0, 1}},
      {"behind leading samples of microsecond 0", {{0}, {999, 1'000}}, 0, {kNone, kNone, kNone, kNone, 2, 1}},
      {"no entry at all", {{-999, 0, 999}}, 2'000, {kNone, kNone, kNone, kNone, kNone, 0}},
  };
  for (auto const& row : rows) {
    History const history(row.framesNs);
    EXPECT_EQ(Match(history.All(), {90'000, row.readoutUs, -10}, true), row.found) << row.what;
    EXPECT_EQ(Match(history.All(), {90'000, row.readoutUs, -10}, false), (Found{kNone, kNone, kNone, kNone, kNone, 0}))
        << row.what;
  }
}

// 300 samples 1 ms apart in 10 frames: sample i is aligned with (i + 1) ms.
TEST(ReadoutMatch, NothingOutsideTheWindowIsFound) {
  std::vector<std::vector<std::int64_t>> framesNs(10);
  for (int i = 0; i < 300; ++i) framesNs[static_cast<std::size_t>(i / 30)].push_back(i * 1'000'000 + 990'000);
  History const history(framesNs);
  struct {
    char const* what;
    std::size_t remaining;  // from the window's first sample
    std::uint64_t startOfFrameUs;
    std::uint32_t readoutUs;
    Found found;
  } const rows[] = {
      {"at the oldest end", 300, 1'000, 16'000, {0, 0, 15, 16, 0, 17}},
      {"to the oldest window's end", 300, 91'000, 20'000, {89, 90, kNone, kNone, 90, 10}},
      {"in the middle", 200, 121'000, 30'000, {19, 20, 49, 50, 20, 31}},
      {"just before the window", 200, 99'600, 16'000, {0, 0, 15, 16, 0, 17}},
      {"too far before the window", 200, 99'501, 16'000, {0, 0, 15, 16, 0, 17}},
      {"as far as that", 200, 99'500, 16'000, {kNone, kNone, kNone, kNone, kNone, 0}},
      {"behind the window", 200, 202'000, 16'000, {kNone, kNone, kNone, kNone, kNone, 0}},
      {"at the newest end", 100, 299'000, 500, {97, 98, 98, 98, 98, 1}},
      {"beyond the newest end", 100, 281'000, 30'000, {79, 80, kNone, kNone, 80, 20}},
  };
  for (auto const& row : rows) {
    lsc::SampleRange const window(history.queue, row.remaining, 100);
    EXPECT_EQ(Match(window, {row.startOfFrameUs, row.readoutUs, -10}, false), row.found) << row.what;
  }
}

TEST(Reduction, EachModeReducesTheFirstSamplesOfTheMicrosecondsInItsOwnWay) {
  // The sum of the first two X loses the 1: single precision, in the order of the entries.
  lsc::HallSample samples[] = {
      {-999, 16'777'216.0F, -1.0F},   {999, 99.0F, 99.0F},  {1'000, 1.0F, -3.0F},  {1'999, 99.0F, 99.0F},
      {2'000, -16'777'216.0F, -2.0F}, {3'999, 4.0F, -6.0F}, {3'999, 99.0F, 99.0F}, {4'000, 9.0F, 9.0F}};
  struct {
    int mode;
    std::size_t first, size;
    float x, y;
  } const rows[] = {{1, 0, 6, 1.0F, -3.0F},           {1, 0, 7, 1.0F, -3.0F}, {1, 0, 4, 8'388'608.0F, -2.0F},
                    {2, 0, 7, 16'777'216.0F, -1.0F},  {2, 2, 4, 4.0F, -2.0F}, {3, 0, 7, 1.0F, -3.0F},
                    {3, 0, 8, -16'777'216.0F, -2.0F}, {4, 0, 7, 4.0F, -6.0F}, {4, 0, 8, 9.0F, 9.0F}};
  for (auto const& row : rows) {
    auto const position = lsc::ReduceSpan({samples + row.first, row.size}, row.mode);
    ASSERT_TRUE(position);
    EXPECT_EQ(position->x, row.x) << "mode " << row.mode << ", size " << row.size;
    EXPECT_EQ(position->y, row.y) << "mode " << row.mode << ", size " << row.size;
  }
  for (int const mode : {-1, 0, 5}) EXPECT_FALSE(lsc::ReduceSpan({samples, 7}, mode)) << mode;

  // "Unless the current one is greater": a value that cannot be compared replaces the maximum, and is replaced.
  samples[2].x = std::numeric_limits<float>::quiet_NaN();
  EXPECT_TRUE(std::isnan(lsc::ReduceSpan({samples, 4}, 2)->x));
  EXPECT_EQ(lsc::ReduceSpan({samples, 5}, 2)->x, -16'777'216.0F);
}

TEST(SplitTime, IsTheMidpointRoundedTowardZeroWithoutOverflow) {
  struct {
    std::int64_t beginsNs, endsNs, splitNs;
  } const rows[] = {{250, 300, 275},
                    {150, 301, 225},
                    {-301, -150, -225},
                    {-1, 0, 0},
                    {-4, 1, -1},
                    {-1, 4, 1},
                    {-3, 3, 0},
                    {kEarliestNs, kLatestNs, 0},
                    {kLatestNs - 1, kLatestNs, kLatestNs - 1},
                    {kEarliestNs, kEarliestNs + 1, kEarliestNs + 1}};
  for (auto const& row : rows) {
    EXPECT_EQ(lsc::SplitTimeNs(row.beginsNs, row.endsNs), row.splitNs) << row.beginsNs << ", " << row.endsNs;
  }
}

}  // namespace
