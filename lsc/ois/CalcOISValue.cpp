// One frame's lens position, step by step. The other files of this folder compute what each step decides.

#include <optional>
#include <vector>

#include "lsc/VeyraShadingUtil.h"
#include "lsc/log/Log.h"
#include "lsc/ois/FrameTimes.h"
#include "lsc/ois/HallDump.h"
#include "lsc/ois/HallReduction.h"
#include "lsc/ois/MatchMessages.h"
#include "lsc/ois/ReadoutMatch.h"

namespace {

using lsc::HallRun;
using lsc::SampleRange;

// What a frame needs of its window, copied to the stack while mMonitorMutex is held: the samples of its span and, for
// messages, the whole window.
class FrameSamples {
 public:
  // Requires: the range is not empty.
  void matchAndCopy(SampleRange const& range, lsc::SearchInterval const& interval, bool fallBackToOldest,
                    bool messagesAreWanted) noexcept;

  bool startIsNear;
  HallRun span;

  // For messages only.
  lsc::ReadoutMatch match;
  HallRun window;

 private:
  void copyWindow(SampleRange const& range, lsc::ReadoutMatch const& found);

  lsc::HallSample mStorage[lsc::kWindowSize];
};

// Flattened: calls would cost 20 ns with the lock held.
[[gnu::flatten]] void FrameSamples::matchAndCopy(SampleRange const& range, lsc::SearchInterval const& interval,
                                                 bool fallBackToOldest, bool messagesAreWanted) noexcept {
  lsc::ReadoutMatch const found = lsc::MatchReadout(range, interval, fallBackToOldest);
  startIsNear = found.start.has_value();
  if (messagesAreWanted) return copyWindow(range, found);
  span = lsc::CopyHall(found.spanFirst, found.spanSize, mStorage);
}

[[gnu::cold, gnu::noinline]] void FrameSamples::copyWindow(SampleRange const& range, lsc::ReadoutMatch const& found) {
  match = found;
  window = lsc::CopyHall(range.first(), range.size(), mStorage);
  span = {mStorage + (found.spanSize > 0 ? range.indexOf(found.spanFirst) : 0), found.spanSize};
}

// Leaves two elements in the vector and reuses its memory.
void FillOutput(std::vector<double>& output, float hall0) noexcept {
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

  lsc::FrameTimes times = {};
  std::uint32_t const rollingShutterNs = QueryRollingShutter(sensorId);
  if (auto const selected = lsc::SelectFrameTimes(type, input, rollingShutterNs)) {
    times = *selected;
  } else {
    LSC_LOGW("Unknown type %d", type);  // the query at time 0 that follows finds nothing
  }

  lsc::SearchInterval const interval = {times.startOfFrameUs, times.readoutUs,
                                        lsc::OffsetUs(times.exposureUs, times.readoutUs)};
  bool const fallBackToOldest = oisMatched != 0;
  bool const messagesAreWanted = gLogLevel != 0;
  std::size_t sampleCount = 0;
  FrameSamples samples;
  {
    lsc::MutexLock const lock(mMonitorMutex);
    SampleRange const range = FindSamples(sensorId, 0, times.timestampNs, 0);
    sampleCount = range.size();
    if (!range.empty()) samples.matchAndCopy(range, interval, fallBackToOldest, messagesAreWanted);
  }
  LSC_LOGI_NONZERO(
      "camera_id = %d, type = %d, oisCount = %d, sof_timestamp = %llu, exposure_time = %llu, "
      "shutter_time = %u, timeDiff = %lld",
      sensorId, type, static_cast<int>(sampleCount), static_cast<unsigned long long>(times.startOfFrameUs),
      static_cast<unsigned long long>(times.exposureUs), times.readoutUs, static_cast<long long>(interval.offsetUs));
  if (sampleCount == 0) return;

  if (messagesAreWanted) lsc::LogMatch(__func__, samples.window, interval, samples.match, fallBackToOldest);
  if (samples.startIsNear) oisMatched = 1;
  if (!samples.span.hasTwoEntries()) {
    LSC_LOGI_DETAIL(
        "Match OIS data fail, transfer the last ois data to tsf. type = %d, frame_id =%d, "
        "sof_timestamp = %lld,                 camera_id = %d, out_frame_ois_size(%d, %d)",
        type, static_cast<int>(frameId), static_cast<long long>(times.startOfFrameUs), sensorId,
        static_cast<int>(outOisX->size()), static_cast<int>(outOisY->size()));
    return;
  }

  if (auto const position = lsc::ReduceSpan(samples.span, g_oisDebug)) {
    FillOutput(*outOisX, position->x);
    FillOutput(*outOisY, position->y);
  }

  if (lsc::HallDumpIsOn()) lsc::WriteHallDump(type, frameId, sensorId, times, samples.span, *outOisX, *outOisY);

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
