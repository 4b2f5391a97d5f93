// The history of samples: insertion of batches, and look-ups.

#include "tests/support/PlayedDevice.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Times = std::vector<std::int64_t>;

class Buffer : public PlayedDevice {
 protected:
  Buffer() {
    UseFileSinkOnly();
    gLogLevel = 1;
  }

  // Pushes a batch; answers how it came back.
  Times Push(unsigned int frame, Times const& timesNs) {
    Samples batch = SamplesAt(timesNs);
    buffer.pushValue(frame, batch);
    return TimesOf(batch);
  }

  // Samples of a frame; one at time 42 for a frame that is not buffered.
  Times Frame(unsigned int frame) {
    Samples samples = SamplesAt({42});
    buffer.getDataByFrame(frame, samples);
    return TimesOf(samples);
  }

  VeyraShadingUtil::VeyraSensorData buffer{30};
};

TEST_F(Buffer, ABatchIsAppendedSplitOrDiscardedByTheNewestFramesTimes) {
  Times const none = {42};
  struct {
    char const* what;
    Times frame1, batch;
    Times after1, after2, batchAfter;
    char const* line;  // nullptr: nothing is logged
  } const rows[] = {
      {"unsorted", {300, 100, 200}, {600, 400}, {100, 200, 300}, {400, 600}, {400, 600}, nullptr},
      {"begins where the other ended", {100, 200}, {200, 250}, {100, 200}, {200, 250}, {200, 250}, nullptr},
      {"begins with the other", {100, 200, 300}, {350, 100}, {100, 200, 300}, none, {100, 350}, nullptr},
      {"begins before the other", {100, 200, 300}, {99, 350}, {100, 200, 300}, none, {99, 350}, nullptr},
      {"begins at a single sample", {100}, {100}, {100}, {100}, {100}, nullptr},
      {"empty", {100}, {}, {100}, none, {}, nullptr},
      {"is cut at the midpoint",
       {100, 200, 300},
       {450, 250, 350},
       {100, 200, 250},
       {300, 350, 450},
       {300, 350, 450},
       "[pushValue]  split data frameNumber: 2 lastData:3 data:3 splitTime:275"},
      {"lies before the midpoint",
       {100, 200, 300},
       {150, 160},
       {100, 150, 160, 200},
       {300},
       {300},
       "[pushValue]  split data frameNumber: 2 lastData:4 data:1 splitTime:225"},
      {"cut at its own first sample",
       {100, 201},
       {200},
       {100},
       {200, 201},
       {200, 201},
       "[pushValue]  split data frameNumber: 2 lastData:1 data:2 splitTime:200"},
      {"before 0",
       {-300, -100},
       {-250, 50},
       {-300, -250},
       {-100, 50},
       {-100, 50},
       "[pushValue]  split data frameNumber: 2 lastData:2 data:2 splitTime:18446744073709551441"},
      {"on both sides of 0",
       {-300, 100},
       {-50},
       {-300, -50},
       {100},
       {100},
       "[pushValue]  split data frameNumber: 2 lastData:2 data:1 splitTime:25"},
      {"the midpoint before 0",
       {-300, 10},
       {-100},
       {-300, -100},
       {10},
       {10},
       "[pushValue]  split data frameNumber: 2 lastData:2 data:1 splitTime:18446744073709551571"},
      {"the whole range of times",
       {kEarliestNs, kLatestNs},
       {kEarliestNs + 1},
       {kEarliestNs, kEarliestNs + 1},
       {kLatestNs},
       {kLatestNs},
       "[pushValue]  split data frameNumber: 2 lastData:2 data:1 splitTime:0"},
  };
  for (auto const& row : rows) {
    SCOPED_TRACE(row.what);
    buffer.clear();
    Push(1, row.frame1);
    device.TakeLog();
    EXPECT_EQ(Push(2, row.batch), row.batchAfter);
    EXPECT_EQ(Frame(1), row.after1);
    EXPECT_EQ(Frame(2), row.after2);
    if (row.line == nullptr) {
      EXPECT_THAT(Logged(), IsEmpty());
    } else {
      EXPECT_THAT(Logged(), ElementsAre(row.line));
    }
  }
}

TEST_F(Buffer, ThirtyFramesAreKeptAndTheNewestOfANumberIsReturned) {
  for (unsigned int frame = 0; frame <= 30; ++frame) Push(frame, {static_cast<std::int64_t>(100 * frame)});
  Samples batch = SamplesAt({3'000});
  EXPECT_EQ(buffer.insert(31, batch).frameCount, 30U);
  EXPECT_EQ(Frame(1), Times{42});
  EXPECT_EQ(Frame(2), Times{200});

  Push(7, {5'000});
  EXPECT_EQ(Frame(7), Times{5'000});
  EXPECT_EQ(Frame(2), Times{42});
}

TEST_F(Buffer, AFullHistoryOfAnyLengthEvictsTheOldestFrameWithAllItsSamples) {
  for (unsigned int const maxFrames : {1U, 2U, 31U, 32U, 33U}) {
    VeyraShadingUtil::VeyraSensorData history{maxFrames};
    Samples batch = SamplesAt({0, 1});
    history.pushValue(0, batch);
    for (unsigned int frame = 1; frame <= maxFrames; ++frame) {
      batch = SamplesAt({100 * frame});
      history.pushValue(frame, batch);
    }
    history.getDataByFrame(0, batch);
    EXPECT_EQ(TimesOf(batch), Times{100 * maxFrames}) << "evicted: the output stays";
    history.getDataByFrame(1, batch);
    EXPECT_EQ(TimesOf(batch), Times{100});
    Logged();
    history.getDataByTimestamp(0, batch);
    EXPECT_EQ(Logged().front(), "[getDataByTimestamp]  total data size:" + std::to_string(maxFrames));
  }
}

TEST_F(Buffer, ALookUpByTimeReturnsTheHundredSamplesAroundIt) {
  for (unsigned int frame = 0; frame < 10; ++frame) {
    Samples batch = EvenSamples(30, 1'000 + 3'000 * frame, 100);  // sample i of all is at 1000 + 100 i
    buffer.pushValue(frame, batch);
  }
  struct {
    unsigned long timeNs;
    int matched, first;
  } const rows[] = {{1, 0, 0},
                    {1'000 + 100 * 50, 50, 0},
                    {1'000 + 100 * 50 + 1, 51, 1},
                    {13'000, 120, 70},
                    {12'901, 120, 70},
                    {1'000 + 100 * 250, 250, 200},
                    {29'000, 280, 200},
                    {1'000 + 100 * 299, 299, 200}};
  for (auto const& row : rows) {
    device.TakeLog();
    Samples window = SamplesAt({42});
    buffer.getDataByTimestamp(row.timeNs, window);
    ASSERT_EQ(window.size(), 100U) << row.timeNs;
    EXPECT_EQ(window.front().timestamp, 1'000 + 100 * row.first) << row.timeNs;
    EXPECT_EQ(window.back().timestamp, 1'000 + 100 * (row.first + 99)) << row.timeNs;
    EXPECT_THAT(Logged(), ElementsAre("[getDataByTimestamp]  total data size:300",
                                      "[getDataByTimestamp] match data offset:" + std::to_string(row.matched) +
                                          " timestamp:" + std::to_string(1'000 + 100 * row.matched)));
  }
}

TEST_F(Buffer, ALookUpThatFindsNothingLeavesTheOutput) {
  struct {
    char const* what;
    int count;
    std::int64_t firstNs;
    unsigned long timeNs;
    bool matches;
  } const rows[] = {{"too few", 99, 1'000, 1'000, false},
                    {"enough", 100, 1'000, 1'099, true},
                    {"too late", 100, 1'000, 1'100, false},
                    {"times before 0 are the latest", 100, -100, 1'000, true},
                    {"but not later than all", 100, -100, ~0UL, true},
                    {"nor when they end before", 100, -101, ~0UL, false}};
  for (auto const& row : rows) {
    SCOPED_TRACE(row.what);
    buffer.clear();
    Samples batch = EvenSamples(row.count, row.firstNs, 1);
    buffer.pushValue(1, batch);
    device.TakeLog();
    Samples window = SamplesAt({42});
    buffer.getDataByTimestamp(row.timeNs, window);
    EXPECT_EQ(TimesOf(window).size(), row.matches ? 100U : 1U);
    auto const lines = Logged();
    EXPECT_EQ(lines.front(), "[getDataByTimestamp]  total data size:" + std::to_string(row.count));
    EXPECT_EQ(lines.back() == "[getDataByTimestamp] no data matched", !row.matches);
  }
}

}  // namespace
