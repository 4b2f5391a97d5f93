// One frame's lens position, step by step. What each step decides is computed by the other files of this folder; here
// the platform is asked, messages are written and the caller's vectors are filled.

#include <vector>

#include "lsc/HallWindow.h"
#include "lsc/VeyraShadingUtil.h"
#include "lsc/log/Log.h"
#include "lsc/ois/FrameTimes.h"
#include "lsc/ois/HallDump.h"
#include "lsc/ois/HallReduction.h"
#include "lsc/ois/HallTable.h"
#include "lsc/ois/ReadoutSpan.h"
#include "lsc/ois/WindowSpan.h"

namespace {

using lsc::DetailIsLogged;
using lsc::DistanceUs;
using lsc::FrameTimes;
using lsc::HallTable;
using lsc::HallWindow;
using lsc::Span;

// The messages about single samples and candidates are written after the step that looked at them, in the order in
// which it did, and bear the name of the operation.

void LogSamples(char const* function, HallWindow const& window) {
  if (!DetailIsLogged()) return;
  for (std::size_t i = 0; i < window.size(); ++i) {
    LSC_LOGI_DETAIL_FOR(function, "get source ois data index = %d, timestamp = %lld, oisHall_x = %f, oisHall_y = %f",
                        static_cast<int>(i), static_cast<long long>(lsc::ToUs(window.timesNs()[i])),
                        static_cast<double>(window.hallX()[i]), static_cast<double>(window.hallY()[i]));
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

void LogSpan(char const* function, HallTable const& table, Span span, std::uint64_t startOfFrameUs) {
  if (!DetailIsLogged()) return;
  for (int i = span.startIndex; i <= span.endIndex; ++i) {
    LSC_LOGI_DETAIL_FOR(function,
                        "Match OIS data, sof_timestamp = %ld, activeNum = %d, hall = (%f, %f), timestamp = %ld",
                        static_cast<long>(startOfFrameUs), span.length(), static_cast<double>(table.hallX[i]),
                        static_cast<double>(table.hallY[i]), static_cast<long>(table.alignedUs[i]));
  }
}

// The first entry of the span: near the start of the frame or, while the caller's flag says that an earlier frame was
// matched, entry 0. nullopt when there is neither. Sets the flag when the start was found.
std::optional<int> StartOfSpan(char const* function, HallTable const& table, std::uint64_t startOfFrameUs,
                               int& oisMatched) {
  auto const start = lsc::FindStart(table, startOfFrameUs);
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
  std::uint64_t const targetUs = lsc::EndTargetUs(table, startIndex, shutterUs);
  auto const end = lsc::FindEnd(table, startIndex, targetUs);
  LogEndCandidates(function, table, startIndex, end ? end->candidate : table.count - 2, targetUs);
  return end ? end->endIndex : table.count - 1;
}

// The span and, for its entries, the positions that stand under its indices.
struct Matched {
  Span span;
  float const* hallX;
  float const* hallY;
};

// With every message. The positions are those of `table`, which is filled here.
Matched MatchInTable(char const* function, HallWindow const& window, FrameTimes const& times, std::int64_t offsetUs,
                     int& oisMatched, HallTable& table) {
  table = lsc::BuildHallTable(window, offsetUs);
  LogSamples(function, window);
  LSC_LOGI_NONZERO_FOR(function, "activeNum:%d", table.count);

  Matched matched = {{0, 0}, table.hallX, table.hallY};
  if (auto const startIndex = StartOfSpan(function, table, times.startOfFrameUs, oisMatched)) {
    matched.span = {*startIndex, EndOfSpan(function, table, *startIndex, times.shutterUs)};
  }
  LSC_LOGI_NONZERO_FOR(function, "startIndex = %d, endIndex = %d", matched.span.startIndex, matched.span.endIndex);
  if (lsc::UsesEveryEntry(g_oisDebug) && matched.span.length() >= 2) {
    LogSpan(function, table, matched.span, times.startOfFrameUs);
  }
  return matched;
}

// Without messages, and without the table that only they need: the same span. The positions are the window's.
Matched MatchInWindow(HallWindow& window, FrameTimes const& times, std::int64_t offsetUs, int& oisMatched) {
  window.dropRepeatedMicroseconds();
  Matched matched = {{0, 0}, window.hallX(), window.hallY()};
  auto const start = lsc::FindStartInWindow(window, times.startOfFrameUs, offsetUs);
  if (start) {
    oisMatched = 1;
  } else if (oisMatched == 0) {
    return matched;
  }
  matched.span.startIndex = start.value_or(0);
  matched.span.endIndex = lsc::FindEndInWindow(window, matched.span.startIndex, times.shutterUs);
  return matched;
}

// Empties the vector and refills it; its memory serves again.
void FillOutput(std::vector<double>& output, float hall0) { output.assign({static_cast<double>(hall0), 0.0}); }

}  // namespace

void VeyraShadingUtil::CalcOISValue(CustShadingType type, CalcOISValueInput& input, std::vector<double>* outOisX,
                                    std::vector<double>* outOisY, unsigned int const& frameId, int const& sensorId,
                                    int& oisMatched) {
  if (outOisX == nullptr || outOisY == nullptr) return;
  if (!IsEnabled(sensorId)) return;

  FrameTimes times = {};
  std::uint32_t const rollingShutterNs = QueryRollingShutter(sensorId);
  if (auto const selected = lsc::SelectFrameTimes(type, input, rollingShutterNs)) {
    times = *selected;
  } else {
    LSC_LOGW("Unknown type %d", type);  // the query at time 0 that follows answers nothing
  }

  std::int64_t const offsetUs = lsc::OffsetUs(times.exposureUs, times.shutterUs);
  bool const isSilent = gLogLevel == 0;
  HallWindow window = isSilent ? lsc::WindowFor(times, offsetUs) : HallWindow();
  QueryHallWindow(window, sensorId, times.timestampNs);
  LSC_LOGI_NONZERO(
      "camera_id = %d, type = %d, oisCount = %d, sof_timestamp = %llu, exposure_time = %llu, "
      "shutter_time = %u, timeDiff = %lld",
      sensorId, type, static_cast<int>(window.size()), static_cast<unsigned long long>(times.startOfFrameUs),
      static_cast<unsigned long long>(times.exposureUs), times.shutterUs, static_cast<long long>(offsetUs));
  if (window.empty()) return;

  HallTable table;
  auto const [span, hallX, hallY] = isSilent && lsc::IsPlain(window, times)
                                        ? MatchInWindow(window, times, offsetUs, oisMatched)
                                        : MatchInTable(__func__, window, times, offsetUs, oisMatched, table);

  if (span.length() < 2) {
    LSC_LOGI_DETAIL(
        "Match OIS data fail, transfer the last ois data to tsf. type = %d, frame_id =%d, "
        "sof_timestamp = %lld,                 camera_id = %d, out_frame_ois_size(%d, %d)",
        type, static_cast<int>(frameId), static_cast<long long>(times.startOfFrameUs), sensorId,
        static_cast<int>(outOisX->size()), static_cast<int>(outOisY->size()));
    return;
  }

  if (auto const position = lsc::ReduceSpan(hallX, hallY, span, g_oisDebug)) {
    FillOutput(*outOisX, position->x);
    FillOutput(*outOisY, position->y);
  }

  lsc::WriteHallDump(type, frameId, sensorId, times, hallX, hallY, span, *outOisX, *outOisY);

  if (!outOisX->empty() && !outOisY->empty()) {
    LSC_LOGI(
        "camera_id = %d, frame_id = %d, g_oisDebug = %d, out_frame_ois_size(%lu, %lu), "
        "out_frame_ois0(x = %lf, y=%lf), out_frame_ois1(x = %lf, y=%lf)",
        sensorId, static_cast<int>(frameId), g_oisDebug, outOisX->size(), outOisY->size(), outOisX->front(),
        outOisY->front(), outOisX->back(), outOisY->back());
  } else {
    LSC_LOGW("camera_id = %d, frame_id = %d, g_oisDebug = %d, out_frame_ois_size(%lu, %lu)", sensorId,
             static_cast<int>(frameId), g_oisDebug, outOisX->size(), outOisY->size());
  }
}
