// One frame's lens position, step by step. What each step decides is computed by the other files of this folder; here
// the registry is asked, and the caller's vectors are filled.

#include <optional>
#include <vector>

#include "lsc/VeyraShadingUtil.h"
#include "lsc/log/Log.h"
#include "lsc/ois/FrameTimes.h"
#include "lsc/ois/HallDump.h"
#include "lsc/ois/HallReduction.h"
#include "lsc/ois/HallWindow.h"
#include "lsc/ois/TableSpan.h"
#include "lsc/ois/WindowSpan.h"

namespace {

using lsc::FrameTimes;
using lsc::HallRun;
using lsc::HallWindow;

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
      window.isSpan() ? window.run() : lsc::FindSpanInTable(__func__, window.run(), times, offsetUs, oisMatched);
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

  if (lsc::HallDumpIsOn()) lsc::WriteHallDump(type, frameId, sensorId, times, span, *outOisX, *outOisY);

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
