#include "lsc/calibration/MultiTableIndex.h"

#include <cstdint>
#include <cstdio>

#include "lsc/Configuration.h"
#include "lsc/VeyraShadingUtil.h"
#include "lsc/calibration/EepromFile.h"
#include "lsc/calibration/ShadingFeature.h"
#include "lsc/log/Log.h"
#include "platform/HwConfiguration.h"

namespace lsc {
namespace {

// Places in the record.
constexpr int kValidByte = 0;
constexpr int kMagnitudeByte = 5;
constexpr int kSignByte = 6;
constexpr int kFurtherFlagByte = 10;

constexpr int kFirstNegativeSign = 129;  // not 128: 128 counts as positive
constexpr int kSmallGradient = 4;        // up to here the first table fits
constexpr int kLargeGradient = 9;        // from here on the outer tables fit

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

  // The members are plain values; what orders their accesses is the flag's release and acquire.
  bool* const settled = &mMultiTableIdxLoaded[sensorIndex];
  std::int32_t* const answer = &mMultiTableIdx[sensorIndex];
  if (__atomic_load_n(settled, __ATOMIC_ACQUIRE)) {
    multiTableIndex = __atomic_load_n(answer, __ATOMIC_RELAXED);
    return;
  }

  char key[lsc::kShadingKeySize] = {};
  std::snprintf(key, sizeof key, "multiGolden[%d]", sensorIndex);
  int offset = 0;
  if (GetKeyCount(lsc::kShadingFeature) == 0 || GetIntegerConfiguration(lsc::kShadingFeature, key, &offset) != 0) {
    __atomic_store_n(settled, true, __ATOMIC_RELEASE);
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
    file.read(offset, record, sizeof record);
    golden = lsc::ReadMultiGolden(record);
  }
  multiTableIndex = golden.isValid() ? lsc::MultiTableForGradient(golden.gradient) : lsc::kDefaultMultiTable;
  __atomic_store_n(answer, multiTableIndex, __ATOMIC_RELAXED);
  __atomic_store_n(settled, true, __ATOMIC_RELEASE);

  LSC_LOGD("multi_tbl_idx:%d otpValid:%d gradient:%d flag:%d flag_f:%d", multiTableIndex, golden.valid, golden.gradient,
           golden.flag, golden.furtherFlag);
}
