#include "lsc/ois/MatchMessages.h"

#include <algorithm>

#include "lsc/Globals.h"
#include "lsc/base/TimeUnits.h"
#include "lsc/log/Log.h"
#include "lsc/ois/HallReduction.h"

namespace lsc {
namespace {

// The entries of a window.
struct EntryTable {
  int count = 0;
  std::size_t sample[kWindowSize];      // index in the window
  std::int64_t alignedUs[kWindowSize];  // sample time less the offset

  // Requires: the sample is an entry.
  int indexOf(std::size_t windowIndex) const {
    return static_cast<int>(std::lower_bound(sample, sample + count, windowIndex) - sample);
  }
};

EntryTable TableOf(HallRun window, std::int64_t offsetUs) {
  EntryTable table;
  std::int64_t lastUs = 0;  // so leading samples of microsecond 0 are no entries
  for (std::size_t i = 0; i < window.size; ++i) {
    std::int64_t const timeUs = ToUs(window.samples[i].timeNs);
    if (timeUs == lastUs) continue;
    table.sample[table.count] = i;
    table.alignedUs[table.count] = timeUs - offsetUs;
    ++table.count;
    lastUs = timeUs;
  }
  return table;
}

void LogSamples(char const* function, HallRun window) {
  if (!DetailIsLogged()) return;
  for (std::size_t i = 0; i < window.size; ++i) {
    HallSample const& sample = window.samples[i];
    LSC_LOGI_DETAIL_FOR(function, "get source ois data index = %d, timestamp = %lld, oisHall_x = %f, oisHall_y = %f",
                        static_cast<int>(i), static_cast<long long>(ToUs(sample.timeNs)), static_cast<double>(sample.x),
                        static_cast<double>(sample.y));
  }
}

// Candidates up to the first near one; all but the last entry when there is none.
void LogStart(char const* function, EntryTable const& table, std::uint64_t startOfFrameUs,
              std::optional<NearEntry> const& start) {
  int const candidate = start ? table.indexOf(start->candidate) : table.count - 2;
  if (DetailIsLogged()) {
    for (int i = 0; i <= candidate; ++i) {
      if (table.alignedUs[i] == 0) continue;
      LSC_LOGI_DETAIL_FOR(function, "startIndex, index = %d, timestamp Difference = %lld", i,
                          static_cast<long long>(DistanceUs(table.alignedUs[i], startOfFrameUs)));
    }
  }
  if (!start) return;
  LSC_LOGI_NONZERO_FOR(function, "stamp_up = %lld, i = %d, stamp_down = %lld, i+1 = %d",
                       static_cast<long long>(DistanceUs(table.alignedUs[candidate], startOfFrameUs)), candidate,
                       static_cast<long long>(DistanceUs(table.alignedUs[candidate + 1], startOfFrameUs)),
                       candidate + 1);
}

void LogEnd(char const* function, EntryTable const& table, int first, std::uint32_t readoutUs,
            std::optional<NearEntry> const& end) {
  int const candidate = end ? table.indexOf(end->candidate) : table.count - 2;
  if (!DetailIsLogged() || first > candidate) return;
  std::uint64_t const endUs = static_cast<std::uint64_t>(table.alignedUs[first]) + readoutUs;
  for (int i = first; i <= candidate; ++i) {
    LSC_LOGI_DETAIL_FOR(function, "endIndex, i = %d, timestamp Difference = %lld", i,
                        static_cast<long long>(DistanceUs(table.alignedUs[i], endUs)));
  }
}

void LogSpan(char const* function, HallRun window, EntryTable const& table, int first, int last,
             std::uint64_t startOfFrameUs) {
  if (!DetailIsLogged()) return;
  for (int i = first; i <= last; ++i) {
    HallSample const& sample = window.samples[table.sample[i]];
    LSC_LOGI_DETAIL_FOR(function,
                        "Match OIS data, sof_timestamp = %ld, activeNum = %d, hall = (%f, %f), timestamp = %ld",
                        static_cast<long>(startOfFrameUs), last - first + 1, static_cast<double>(sample.x),
                        static_cast<double>(sample.y), static_cast<long>(table.alignedUs[i]));
  }
}

}  // namespace

void LogMatch(char const* function, HallRun window, SearchInterval const& interval, ReadoutMatch const& match,
              bool fallsBackToOldest) {
  EntryTable const table = TableOf(window, interval.offsetUs);
  LogSamples(function, window);
  LSC_LOGI_NONZERO_FOR(function, "activeNum:%d", table.count);

  LogStart(function, table, interval.startOfFrameUs, match.start);
  int first = 0;
  int last = 0;
  if (match.start || fallsBackToOldest) {
    if (match.start) first = table.indexOf(match.start->chosen);
    last = match.end ? table.indexOf(match.end->chosen) : table.count - 1;
    LogEnd(function, table, first, interval.readoutUs, match.end);
  }
  LSC_LOGI_NONZERO_FOR(function, "startIndex = %d, endIndex = %d", first, last);
  if (last - first >= 1 && UsesEveryEntry(g_oisDebug)) {
    LogSpan(function, window, table, first, last, interval.startOfFrameUs);
  }
}

}  // namespace lsc
