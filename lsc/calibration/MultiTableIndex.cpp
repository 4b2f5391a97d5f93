#include "lsc/calibration/MultiTableIndex.h"

#include <atomic>
#include <cstdint>
#include <optional>

#include "lsc/VeyraShadingUtil.h"
#include "lsc/calibration/EepromFile.h"
#include "lsc/calibration/ShadingConfiguration.h"
#include "lsc/log/Log.h"

namespace lsc {
namespace {

// Byte positions in the record.
constexpr int kValidByte = 0;
constexpr int kMagnitudeByte = 5;
constexpr int kSignByte = 6;
constexpr int kFurtherFlagByte = 10;

constexpr int kFirstNegativeSign = 129;  // not 128: 128 counts as positive
constexpr int kSmallGradient = 4;        // largest magnitude for which the first table fits
constexpr int kLargeGradient = 9;        // least magnitude for which the outer tables fit

}  // namespace

MultiGolden ReadMultiGolden(unsigned char const (&record)[kMultiGoldenSize]) {
  MultiGolden golden = {record[kValidByte], 0, record[kSignByte], record[kFurtherFlagByte]};
  if (!golden.isValid()) return golden;

  int const magnitude = record[kMagnitudeByte];
  bool const isNegative = golden.flag >= kFirstNegativeSign;
  golden.gradient = isNegative ? -magnitude : magnitude;
  if (isNegative) golden.flag -= 256;
  return golden;
}

int MultiTableForGradient(int gradient) {
  int const magnitude = gradient < 0 ? -gradient : gradient;
  if (magnitude <= kSmallGradient) return 1;
  if (magnitude < kLargeGradient) return gradient > 0 ? 2 : 3;
  return gradient > 0 ? 4 : 5;
}

}  // namespace lsc

void VeyraShadingUtil::VeyraGetMultiTableIndex(int& multiTableIndex, int sensorDev) {
  int const sensorIndex = SensorDevToIndex(sensorDev);
  multiTableIndex = lsc::kDefaultMultiTable;
  if (!HasSensorSlot(sensorIndex)) return;

  std::atomic<bool>& isSettled = mMultiTableIdxLoaded[sensorIndex];
  std::atomic<std::int32_t>& settledIndex = mMultiTableIdx[sensorIndex];
  if (isSettled.load(std::memory_order_acquire)) {
    multiTableIndex = settledIndex.load(std::memory_order_relaxed);
    return;
  }

  auto const offset = lsc::HasShadingFeature() ? lsc::MultiGoldenOffset(sensorIndex) : std::nullopt;
  if (!offset) {
    isSettled.store(true, std::memory_order_release);
    return;
  }

  lsc::MultiGolden golden = {};
  {
    lsc::EepromFile const file(sensorIndex);
    if (!file.isOpen()) {
      LSC_LOGE("Error opening file.");
      return;  // unsettled: the next call tries again
    }
    unsigned char record[lsc::kMultiGoldenSize];
    file.read(*offset, record, sizeof record);
    golden = lsc::ReadMultiGolden(record);
  }
  multiTableIndex = golden.isValid() ? lsc::MultiTableForGradient(golden.gradient) : lsc::kDefaultMultiTable;
  settledIndex.store(multiTableIndex, std::memory_order_relaxed);
  isSettled.store(true, std::memory_order_release);

  LSC_LOGD("multi_tbl_idx:%d otpValid:%d gradient:%d flag:%d flag_f:%d", multiTableIndex, golden.valid, golden.gradient,
           golden.flag, golden.furtherFlag);
}
