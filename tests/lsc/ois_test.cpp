// What is decided for one frame: plain values in, plain values out, every expectation computed by hand.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "lsc/ois/FrameTimes.h"
#include "lsc/ois/HallReduction.h"
#include "lsc/ois/HallTable.h"
#include "lsc/ois/ReadoutSpan.h"
#include "lsc/sensor/SplitTime.h"
#include "tests/support/PlayedDevice.h"

namespace {

using lsc::HallTable;
using testing::ElementsAre;

HallTable TableOf(std::vector<std::int64_t> const& alignedUs) {
  HallTable table = {};
  for (auto const timeUs : alignedUs) table.alignedUs[table.count++] = timeUs;
  return table;
}

std::vector<lsc::HallSample> HallSamplesAt(std::vector<std::int64_t> const& timesNs) {
  std::vector<lsc::HallSample> samples;
  for (auto const timeNs : timesNs) samples.push_back({timeNs, 0.0F, 0.0F});
  return samples;
}

TEST(Offset, IsAShareOfTheShorterTimePlusAConstantTruncatedTowardZero) {
  struct {
    std::uint64_t exposureUs;
    std::uint32_t shutterUs;
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
    EXPECT_EQ(lsc::OffsetUs(row.exposureUs, row.shutterUs), row.offsetUs) << row.exposureUs << ", " << row.shutterUs;
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
    EXPECT_EQ(times->shutterUs, 15'980U) << row.type;
  }
  for (int const type : {-1, 2, 3, 7}) {
    EXPECT_FALSE(lsc::SelectFrameTimes(static_cast<CustShadingType>(type), input, 0)) << type;
  }
}

TEST(HallTableTest, LeavesOutRepeatedMicroseconds) {
  struct {
    char const* what;
    std::vector<std::int64_t> timesNs;
    std::vector<std::int64_t> alignedUs;  // for an offset of -10
  } const rows[] = {
      {"a first sample in microsecond 0, from either side", {-999, 999, 1'000}, {11}},
      {"the second one of a microsecond", {5'000, 5'999, 6'000}, {15, 16}},
      {"only neighbours are compared", {5'000, 6'000, 5'500}, {15, 16, 15}},
      {"times before 0 are truncated toward 0", {-1'999, -1'000, 1'999}, {9, 11}},
  };
  for (auto const& row : rows) {
    auto const samples = HallSamplesAt(row.timesNs);
    HallTable const table = lsc::BuildHallTable({samples.data(), samples.size()}, -10);
    std::vector<std::int64_t> alignedUs;
    for (int i = 0; i < table.count; ++i) alignedUs.push_back(table.alignedUs[i]);
    EXPECT_EQ(alignedUs, row.alignedUs) << row.what;
  }
}

TEST(ReadoutSpan, StartIsTheNearerOfTheFirstEntryWithinTheToleranceAndTheNext) {
  struct {
    char const* what;
    std::vector<std::int64_t> alignedUs;
    std::uint64_t startOfFrameUs;
    int candidate, startIndex;  // -1: none
  } const rows[] = {
      {"no entry but the last is near", {1'000, 9'000}, 9'000, -1, -1},
      {"one entry is no run", {9'000}, 9'000, -1, -1},
      {"1499 is within, from below", {1'000, 9'000}, 2'499, 0, 0},
      {"1500 is not", {1'000, 9'000}, 2'500, -1, -1},
      {"1499 is within, from above", {5'000, 9'000}, 3'501, 0, 0},
      {"the next one is nearer", {1'000, 2'000, 3'000}, 1'501, 0, 1},
      {"a tie takes the first", {1'000, 2'000, 3'000}, 1'500, 0, 0},
      {"the first within the tolerance decides, not the nearest of all", {1'000, 1'200, 1'400, 2'400}, 2'400, 0, 1},
      {"an entry at time 0 is no candidate", {0, 1'000, 5'000}, 100, 1, 1},
      {"a time before 0 is far away", {-100, 3'000, 5'000}, 100, -1, -1},
      {"a start of frame that wrapped", {-100, 3'000, 5'000}, ~std::uint64_t{0}, 0, 0},
  };
  for (auto const& row : rows) {
    auto const start = lsc::FindStart(TableOf(row.alignedUs), row.startOfFrameUs);
    EXPECT_EQ(start ? start->candidate : -1, row.candidate) << row.what;
    EXPECT_EQ(start ? start->startIndex : -1, row.startIndex) << row.what;
  }
}

TEST(ReadoutSpan, EndIsSearchedFromTheStartEntryOn) {
  struct {
    char const* what;
    std::vector<std::int64_t> alignedUs;
    int startIndex;
    std::uint32_t shutterUs;
    int candidate, endIndex;  // -1: none
  } const rows[] = {
      {"the nearer of two", {0, 5'000, 10'000, 11'000, 12'000}, 0, 10'600, 2, 3},
      {"a tie takes the first", {0, 5'000, 10'000, 11'000, 12'000}, 0, 10'500, 2, 2},
      {"a short readout ends at the next entry", {0, 1'000, 2'000}, 0, 1'400, 0, 1},
      {"no readout ends at the start entry", {0, 1'000, 2'000}, 1, 0, 1, 1},
      {"on entry 0 too", {0, 1'000, 2'000}, 0, 0, 0, 0},
      {"too long a readout", {0, 1'000, 2'000}, 0, 9'000, -1, -1},
      {"a start at the last entry", {0, 1'000, 2'000}, 2, 0, -1, -1},
      {"no entry at all", {}, 0, 1'000, -1, -1},
  };
  for (auto const& row : rows) {
    HallTable const table = TableOf(row.alignedUs);
    auto const end = lsc::FindEnd(table, row.startIndex, lsc::EndTargetUs(table, row.startIndex, row.shutterUs));
    EXPECT_EQ(end ? end->candidate : -1, row.candidate) << row.what;
    EXPECT_EQ(end ? end->endIndex : -1, row.endIndex) << row.what;
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
  constexpr std::int64_t kMin = std::numeric_limits<std::int64_t>::min();
  constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
  struct {
    std::int64_t beginsNs, endsNs, splitNs;
  } const rows[] = {{250, 300, 275},
                    {150, 301, 225},
                    {-301, -150, -225},
                    {-1, 0, 0},
                    {-4, 1, -1},
                    {-1, 4, 1},
                    {-3, 3, 0},
                    {kMin, kMax, 0},
                    {kMax - 1, kMax, kMax - 1},
                    {kMin, kMin + 1, kMin + 1}};
  for (auto const& row : rows) {
    EXPECT_EQ(lsc::SplitTimeNs(row.beginsNs, row.endsNs), row.splitNs) << row.beginsNs << ", " << row.endsNs;
  }
}

}  // namespace
