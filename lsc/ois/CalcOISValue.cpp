// One frame's lens position, step by step. What each step decides is computed by the other files of this folder; here
// the platform is asked, messages are written and the caller's vectors are filled.

#include <vector>

#include "lsc/VeyraShadingUtil.h"
#include "lsc/log/Log.h"
#include "lsc/ois/FrameTimes.h"
#include "lsc/ois/HallDump.h"
#include "lsc/ois/HallReduction.h"
#include "lsc/ois/HallTable.h"
#include "lsc/ois/ReadoutSpan.h"

namespace {

using lsc::DetailIsLogged;
using lsc::DistanceUs;
using lsc::FrameTimes;
using lsc::HallTable;
using lsc::Span;

// The messages about single samples and candidates are written after the step that looked at them, in the order in
// which it did, and bear the name of the operation.

void LogSamples(char const* function, std::vector<NSCam::Utils::SensorData> const& samples) {
  if (!DetailIsLogged()) return;
  int index = 0;
  for (auto const& sample : samples) {
    LSC_LOGI_DETAIL_FOR(function, "get source ois data index = %d, timestamp = %lld, oisHall_x = %f, oisHall_y = %f",
                        index, static_cast<long long>(lsc::ToUs(sample.timestamp)),
                        static_cast<double>(sample.oisHallX), static_cast<double>(sample.oisHallY));
    ++index;
  }
}

void LogStartCandidates(char const* function, HallTable const& table, int last, std::uint64_t startOfFrameUs) {
  if (!DetailIsLogged()) return;
  for (int i = 0; i <= last; ++i) {
    std::int64_t const alignedUs = table.entries[i].alignedUs;
    if (alignedUs == 0) continue;
    LSC_LOGI_DETAIL_FOR(function, "startIndex, index = %d, timestamp Difference = %lld", i,
                        static_cast<long long>(DistanceUs(alignedUs, startOfFrameUs)));
  }
}

void LogEndCandidates(char const* function, HallTable const& table, int first, int last, std::uint64_t targetUs) {
  if (!DetailIsLogged()) return;
  for (int i = first; i <= last; ++i) {
    LSC_LOGI_DETAIL_FOR(function, "endIndex, i = %d, timestamp Difference = %lld", i,
                        static_cast<long long>(DistanceUs(table.entries[i].alignedUs, targetUs)));
  }
}

void LogSpan(char const* function, HallTable const& table, Span span, std::uint64_t startOfFrameUs) {
  if (!DetailIsLogged()) return;
  for (int i = span.startIndex; i <= span.endIndex; ++i) {
    LSC_LOGI_DETAIL_FOR(function,
                        "Match OIS data, sof_timestamp = %ld, activeNum = %d, hall = (%f, %f), timestamp = %ld",
                        static_cast<long>(startOfFrameUs), span.length(), static_cast<double>(table.entries[i].hallX),
                        static_cast<double>(table.entries[i].hallY), static_cast<long>(table.entries[i].alignedUs));
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

void FillOutput(std::vector<double>& output, float hall0) {
  output.clear();
  output.push_back(static_cast<double>(hall0));
  output.push_back(0.0);
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

  std::vector<NSCam::Utils::SensorData> samples;
  QuerySensorData(samples, sensorId, 0, times.timestampNs);

  std::int64_t const offsetUs = lsc::OffsetUs(times.exposureUs, times.shutterUs);
  LSC_LOGI_NONZERO(
      "camera_id = %d, type = %d, oisCount = %d, sof_timestamp = %llu, exposure_time = %llu, "
      "shutter_time = %u, timeDiff = %lld",
      sensorId, type, static_cast<int>(samples.size()), static_cast<unsigned long long>(times.startOfFrameUs),
      static_cast<unsigned long long>(times.exposureUs), times.shutterUs, static_cast<long long>(offsetUs));
  if (samples.empty()) return;

  HallTable const table = lsc::BuildHallTable(samples, offsetUs);
  LogSamples(__func__, samples);
  LSC_LOGI_NONZERO("activeNum:%d", table.count);

  Span span = {0, 0};
  if (auto const startIndex = StartOfSpan(__func__, table, times.startOfFrameUs, oisMatched)) {
    span = {*startIndex, EndOfSpan(__func__, table, *startIndex, times.shutterUs)};
  }
  LSC_LOGI_NONZERO("startIndex = %d, endIndex = %d", span.startIndex, span.endIndex);

  if (span.length() < 2) {
    LSC_LOGI_DETAIL(
        "Match OIS data fail, transfer the last ois data to tsf. type = %d, frame_id =%d, "
        "sof_timestamp = %lld,                 camera_id = %d, out_frame_ois_size(%d, %d)",
        type, static_cast<int>(frameId), static_cast<long long>(times.startOfFrameUs), sensorId,
        static_cast<int>(outOisX->size()), static_cast<int>(outOisY->size()));
    return;
  }

  int const mode = g_oisDebug;
  if (lsc::UsesEveryEntry(mode)) LogSpan(__func__, table, span, times.startOfFrameUs);
  if (auto const position = lsc::ReduceSpan(table, span, mode)) {
    FillOutput(*outOisX, position->x);
    FillOutput(*outOisY, position->y);
  }

  lsc::WriteHallDump(type, frameId, sensorId, times, table, span, *outOisX, *outOisY);

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
