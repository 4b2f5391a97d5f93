#include "lsc/ois/TableSpan.h"

#include <optional>

#include "lsc/TimeUnits.h"
#include "lsc/VeyraShadingUtil.h"
#include "lsc/log/Log.h"
#include "lsc/ois/HallReduction.h"
#include "lsc/ois/HallTable.h"
#include "lsc/ois/ReadoutSpan.h"

namespace lsc {
namespace {

// The messages about single samples and candidates are written after the step that looked at them, in the order in
// which it did, and bear the name of the operation.

void LogSamples(char const* function, HallRun window) {
  if (!DetailIsLogged()) return;
  for (std::size_t i = 0; i < window.size; ++i) {
    HallSample const& sample = window.samples[i];
    LSC_LOGI_DETAIL_FOR(function, "get source ois data index = %d, timestamp = %lld, oisHall_x = %f, oisHall_y = %f",
                        static_cast<int>(i), static_cast<long long>(ToUs(sample.timeNs)), static_cast<double>(sample.x),
                        static_cast<double>(sample.y));
  }
}

void LogStartCandidates(char const* function, HallTable const& table, int last, std::uint64_t startOfFrameUs) {
  if (!DetailIsLogged()) return;
  for (int i = 0; i <= last; ++i) {
    std::int64_t const alignedUs = table.alignedUs[i];
    if (alignedUs == 0) continue;
    LSC_LOGI_DETAIL_FOR(function, "startIndex, index = %d, timestamp Difference = %lld", i,
                        static_cast<long long>(DistanceUs(alignedUs, startOfFrameUs)));
  }
}

void LogEndCandidates(char const* function, HallTable const& table, int first, int last, std::uint64_t targetUs) {
  if (!DetailIsLogged()) return;
  for (int i = first; i <= last; ++i) {
    LSC_LOGI_DETAIL_FOR(function, "endIndex, i = %d, timestamp Difference = %lld", i,
                        static_cast<long long>(DistanceUs(table.alignedUs[i], targetUs)));
  }
}

void LogSpan(char const* function, HallRun window, HallTable const& table, Span span, std::uint64_t startOfFrameUs) {
  if (!DetailIsLogged()) return;
  for (int i = span.startIndex; i <= span.endIndex; ++i) {
    HallSample const& sample = window.samples[table.sample[i]];
    LSC_LOGI_DETAIL_FOR(function,
                        "Match OIS data, sof_timestamp = %ld, activeNum = %d, hall = (%f, %f), timestamp = %ld",
                        static_cast<long>(startOfFrameUs), span.length(), static_cast<double>(sample.x),
                        static_cast<double>(sample.y), static_cast<long>(table.alignedUs[i]));
  }
}

// The first entry of the span: near the start of the frame or, while the caller's flag says that an earlier frame was
// matched, entry 0. nullopt when there is neither. Sets the flag when the start was found.
std::optional<int> StartOfSpan(char const* function, HallTable const& table, std::uint64_t startOfFrameUs,
                               int& oisMatched) {
  auto const start = FindStart(table, startOfFrameUs);
  LogStartCandidates(function, table, start ? start->candidate : table.count - 2, startOfFrameUs);
  if (!start) return oisMatched != 0 ? std::optional<int>(0) : std::nullopt;

  LSC_LOGI_NONZERO_FOR(function, "stamp_up = %lld, i = %d, stamp_down = %lld, i+1 = %d",
                       static_cast<long long>(start->distanceUs), start->candidate,
                       static_cast<long long>(start->nextDistanceUs), start->candidate + 1);
  oisMatched = 1;
  return start->startIndex;
}

// The last entry of the span: near the end of the readout, or the last one of the table.
int EndOfSpan(char const* function, HallTable const& table, int startIndex, std::uint32_t shutterUs) {
  std::uint64_t const targetUs = EndTargetUs(table, startIndex, shutterUs);
  auto const end = FindEnd(table, startIndex, targetUs);
  LogEndCandidates(function, table, startIndex, end ? end->candidate : table.count - 2, targetUs);
  return end ? end->endIndex : table.count - 1;
}

}  // namespace

HallRun FindSpanInTable(char const* function, HallRun window, FrameTimes const& times, std::int64_t offsetUs,
                        int& oisMatched) {
  HallTable const table = BuildHallTable(window, offsetUs);
  LogSamples(function, window);
  LSC_LOGI_NONZERO_FOR(function, "activeNum:%d", table.count);

  Span span = {0, 0};
  if (auto const startIndex = StartOfSpan(function, table, times.startOfFrameUs, oisMatched)) {
    span = {*startIndex, EndOfSpan(function, table, *startIndex, times.shutterUs)};
  }
  LSC_LOGI_NONZERO_FOR(function, "startIndex = %d, endIndex = %d", span.startIndex, span.endIndex);
  if (span.length() < 2) return {window.samples, 0};

  if (UsesEveryEntry(g_oisDebug)) LogSpan(function, window, table, span, times.startOfFrameUs);
  int const first = table.sample[span.startIndex];
  return {window.samples + first, static_cast<std::size_t>(table.sample[span.endIndex] - first + 1)};
}

}  // namespace lsc
