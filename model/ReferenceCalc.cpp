// The part of the model that turns a window of samples into one position.
#include <algorithm>

#include "model/ReferenceModel.h"

namespace model {

namespace {

constexpr int kTableCapacity = 100;
constexpr std::uint64_t kToleranceUs = 1500;

struct Entry {
  float hallX;
  float hallY;
  std::int64_t alignedUs;
};

// Between unsigned values: times on either side of 0 are far apart.
std::uint64_t Distance(std::int64_t alignedUs, std::uint64_t otherUs) {
  auto const timeUs = static_cast<std::uint64_t>(alignedUs);
  return timeUs > otherUs ? timeUs - otherUs : otherUs - timeUs;
}

// Messages show these times as signed values.
std::int64_t Printed(std::uint64_t timeUs) { return static_cast<std::int64_t>(timeUs); }

}  // namespace

void ReferenceModel::CalcOISValue(std::int32_t type, CalcOISValueInput const& input, std::vector<double>* outOisX,
                                  std::vector<double>* outOisY, std::uint32_t frameId, int& oisMatched) {
  if (outOisX == nullptr || outOisY == nullptr) return;
  if (!IsEnabled()) return;

  // The frame's times.
  std::uint32_t const rollingShutterNs = QueryRollingShutter();
  std::uint64_t timestampNs = 0;
  std::uint64_t exposureNs = 0;
  std::uint32_t shutterUs = rollingShutterNs / 1000;
  if (type == 0 || type == 1) {
    timestampNs = input.timestamp0;
    exposureNs = input.exposureTime0;
  } else if (type == 5) {
    timestampNs = input.timestamp1;
    exposureNs = input.exposureTime1;
  } else if (type == 4 || type == 6) {
    timestampNs = input.timestamp2;
    exposureNs = input.exposureTime2;
  } else {
    Warning("[CalcOISValue] Unknown type %d", type);
    shutterUs = 0;
  }
  std::uint64_t const exposureUs = exposureNs / 1000;
  std::uint64_t const sofUs = timestampNs / 1000 - exposureUs;

  Samples samples;
  QuerySensorData(samples, 0, timestampNs);

  float const scaled = static_cast<float>(std::min<std::uint64_t>(exposureUs, shutterUs)) * -0.5432F;
  std::int64_t const timeDiffUs = static_cast<std::int64_t>(scaled) - 166;
  if (logLevel != 0) {
    Info(
        "[CalcOISValue] camera_id = %d, type = %d, oisCount = %zu, sof_timestamp = %lu, exposure_time = %lu, "
        "shutter_time = %u, timeDiff = %ld",
        mSensorId, type, samples.size(), sofUs, exposureUs, shutterUs, timeDiffUs);
  }
  if (samples.empty()) return;

  // The table.
  Entry table[kTableCapacity] = {};
  int count = 0;
  std::int64_t lastTakenUs = 0;
  for (std::size_t i = 0; i < samples.size(); ++i) {
    Sample const& sample = samples[i];
    std::int64_t const sampleUs = sample.timestamp / 1000;
    if (logLevel >= 4) {
      Info("[CalcOISValue] get source ois data index = %zu, timestamp = %ld, oisHall_x = %f, oisHall_y = %f", i,
           sampleUs, static_cast<double>(sample.oisHallX), static_cast<double>(sample.oisHallY));
    }
    if (sampleUs == lastTakenUs || count == kTableCapacity) continue;
    table[count] = {sample.oisHallX, sample.oisHallY, sampleUs - timeDiffUs};
    ++count;
    lastTakenUs = sampleUs;
  }
  if (logLevel != 0) Info("[CalcOISValue] activeNum:%d", count);

  // The start of the readout.
  auto const fromStart = [&](int i) { return Distance(table[i].alignedUs, sofUs); };
  bool startIsMatched = false;
  int startIndex = 0;
  for (int i = 0; i <= count - 2 && !startIsMatched; ++i) {
    if (table[i].alignedUs == 0) continue;
    std::uint64_t const upUs = fromStart(i);
    if (logLevel >= 4) Info("[CalcOISValue] startIndex, index = %d, timestamp Difference = %ld", i, Printed(upUs));
    if (upUs >= kToleranceUs) continue;
    std::uint64_t const downUs = fromStart(i + 1);
    if (logLevel != 0) {
      Info("[CalcOISValue] stamp_up = %ld, i = %d, stamp_down = %ld, i+1 = %d", Printed(upUs), i, Printed(downUs),
           i + 1);
    }
    startIsMatched = true;
    startIndex = upUs > downUs ? i + 1 : i;
  }

  // Its end. An end at entry 0 counts like any other.
  int endIndex = 0;
  if (startIsMatched || oisMatched != 0) {
    std::uint64_t const targetUs = static_cast<std::uint64_t>(table[startIndex].alignedUs) + shutterUs;
    auto const fromEnd = [&](int i) { return Distance(table[i].alignedUs, targetUs); };
    endIndex = count - 1;
    for (int j = startIndex; j <= count - 2; ++j) {
      std::uint64_t const distanceUs = fromEnd(j);
      if (logLevel >= 4) Info("[CalcOISValue] endIndex, i = %d, timestamp Difference = %ld", j, Printed(distanceUs));
      if (distanceUs >= kToleranceUs) continue;
      endIndex = distanceUs > fromEnd(j + 1) ? j + 1 : j;
      break;
    }
  }
  if (startIsMatched) oisMatched = 1;
  if (logLevel != 0) Info("[CalcOISValue] startIndex = %d, endIndex = %d", startIndex, endIndex);

  int const activeNum = endIndex - startIndex + 1;
  if (activeNum < 2) {
    if (logLevel >= 4) {
      Info(
          "[CalcOISValue] Match OIS data fail, transfer the last ois data to tsf. type = %d, frame_id =%d, "
          "sof_timestamp = %ld,                 camera_id = %d, out_frame_ois_size(%zu, %zu)",
          type, static_cast<int>(frameId), Printed(sofUs), mSensorId, outOisX->size(), outOisY->size());
    }
    return;
  }

  // The position.
  float x = 0.0F;
  float y = 0.0F;
  if (oisDebug == 2) {
    x = table[startIndex].hallX;
    y = table[startIndex].hallY;
  }
  if (oisDebug == 1 || oisDebug == 2) {
    for (int i = startIndex; i <= endIndex; ++i) {
      Entry const& entry = table[i];
      if (logLevel >= 4) {
        Info("[CalcOISValue] Match OIS data, sof_timestamp = %ld, activeNum = %d, hall = (%f, %f), timestamp = %ld",
             Printed(sofUs), activeNum, static_cast<double>(entry.hallX), static_cast<double>(entry.hallY),
             entry.alignedUs);
      }
      if (oisDebug == 1) {
        x += entry.hallX;
        y += entry.hallY;
      } else {
        x = x > entry.hallX ? x : entry.hallX;
        y = y > entry.hallY ? y : entry.hallY;
      }
    }
  }
  if (oisDebug == 1) {
    x /= static_cast<float>(activeNum);
    y /= static_cast<float>(activeNum);
  } else if (oisDebug == 3) {
    x = table[(startIndex + endIndex) / 2].hallX;
    y = table[(startIndex + endIndex) / 2].hallY;
  } else if (oisDebug == 4) {
    x = table[endIndex].hallX;
    y = table[endIndex].hallY;
  }
  if (oisDebug >= 1 && oisDebug <= 4) {
    outOisX->assign({static_cast<double>(x), 0.0});
    outOisY->assign({static_cast<double>(y), 0.0});
  }

  if (!outOisX->empty() && !outOisY->empty()) {
    Info(
        "[CalcOISValue] camera_id = %d, frame_id = %d, g_oisDebug = %d, out_frame_ois_size(%zu, %zu), "
        "out_frame_ois0(x = %lf, y=%lf), out_frame_ois1(x = %lf, y=%lf)",
        mSensorId, static_cast<int>(frameId), oisDebug, outOisX->size(), outOisY->size(), outOisX->front(),
        outOisY->front(), outOisX->back(), outOisY->back());
  } else {
    Warning("[CalcOISValue] camera_id = %d, frame_id = %d, g_oisDebug = %d, out_frame_ois_size(%zu, %zu)", mSensorId,
            static_cast<int>(frameId), oisDebug, outOisX->size(), outOisY->size());
  }
}

}  // namespace model
