// One frame's lens position, step by step. What each step decides is computed by the other files of this folder; here
// the platform is asked, messages are written and the caller's vectors are filled.

#include <vector>

#include "lsc/VeyraShadingUtil.h"
#include "lsc/log/Log.h"
#include "lsc/ois/FrameTimes.h"
#include "lsc/ois/HallDump.h"
#include "lsc/ois/HallReduction.h"
#include "lsc/ois/HallTable.h"
#include "lsc/ois/HallWindow.h"
#include "lsc/ois/ReadoutSpan.h"
#include "lsc/ois/WindowSpan.h"

namespace {

using lsc::DetailIsLogged;
using lsc::DistanceUs;
using lsc::FrameTimes;
using lsc::HallRun;
using lsc::HallSample;
using lsc::HallTable;
using lsc::HallWindow;
using lsc::Span;

// The messages about single samples and candidates are written after the step that looked at them, in the order in
// which it did, and bear the name of the operation.

void LogSamples(char const* function, HallRun window) {
  if (!DetailIsLogged()) return;
  for (std::size_t i = 0; i < window.size; ++i) {
    HallSample const& sample = window.samples[i];
    LSC_LOGI_DETAIL_FOR(function, "get source ois data index = %d, timestamp = %lld, oisHall_x = %f, oisHall_y = %f",
                        static_cast<int>(i), static_cast<long long>(lsc::ToUs(sample.timeNs)),
                        static_cast<double>(sample.x), static_cast<double>(sample.y));
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

// The samples of the span, with every message; none when it has fewer than two entries.
HallRun MatchInTable(char const* function, HallRun window, FrameTimes const& times, std::int64_t offsetUs,
                     int& oisMatched) {
  HallTable const table = lsc::BuildHallTable(window, offsetUs);
  LogSamples(function, window);
  LSC_LOGI_NONZERO_FOR(function, "activeNum:%d", table.count);

  Span span = {0, 0};
  if (auto const startIndex = StartOfSpan(function, table, times.startOfFrameUs, oisMatched)) {
    span = {*startIndex, EndOfSpan(function, table, *startIndex, times.shutterUs)};
  }
  LSC_LOGI_NONZERO_FOR(function, "startIndex = %d, endIndex = %d", span.startIndex, span.endIndex);
  if (span.length() < 2) return {window.samples, 0};

  if (lsc::UsesEveryEntry(g_oisDebug)) LogSpan(function, window, table, span, times.startOfFrameUs);
  int const first = table.sample[span.startIndex];
  return {window.samples + first, static_cast<std::size_t>(table.sample[span.endIndex] - first + 1)};
}

// Leaves two elements in the vector, whatever it held; its memory serves again.
void FillOutput(std::vector<double>& output, float hall0) {
  output.resize(2);
  output[0] = static_cast<double>(hall0);
  output[1] = 0.0;
}

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
  HallWindow window(gLogLevel == 0 ? lsc::PlainReadout(times, offsetUs, oisMatched != 0) : std::nullopt);
  Query(window, sensorId, 0, times.timestampNs);
  LSC_LOGI_NONZERO(
      "camera_id = %d, type = %d, oisCount = %d, sof_timestamp = %llu, exposure_time = %llu, "
      "shutter_time = %u, timeDiff = %lld",
      sensorId, type, static_cast<int>(window.size()), static_cast<unsigned long long>(times.startOfFrameUs),
      static_cast<unsigned long long>(times.exposureUs), times.shutterUs, static_cast<long long>(offsetUs));
  if (window.size() == 0) return;

  if (window.startIsNear()) oisMatched = 1;
  HallRun const span =
      window.isSpan() ? window.run() : MatchInTable(__func__, window.run(), times, offsetUs, oisMatched);
  if (!span.hasTwoEntries()) {
    LSC_LOGI_DETAIL(
        "Match OIS data fail, transfer the last ois data to tsf. type = %d, frame_id =%d, "
        "sof_timestamp = %lld,                 camera_id = %d, out_frame_ois_size(%d, %d)",
        type, static_cast<int>(frameId), static_cast<long long>(times.startOfFrameUs), sensorId,
        static_cast<int>(outOisX->size()), static_cast<int>(outOisY->size()));
    return;
  }

  if (auto const position = lsc::ReduceSpan(span, g_oisDebug)) {
    FillOutput(*outOisX, position->x);
    FillOutput(*outOisY, position->y);
  }

  lsc::WriteHallDump(type, frameId, sensorId, times, span, *outOisX, *outOisY);

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
