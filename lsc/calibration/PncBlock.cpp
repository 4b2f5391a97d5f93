#include "lsc/calibration/PncBlock.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

#include "lsc/VeyraShadingUtil.h"
#include "lsc/calibration/EepromFile.h"
#include "lsc/calibration/ShadingConfiguration.h"
#include "lsc/log/Log.h"
#include "platform/HalSensor.h"

namespace lsc {

void MirrorRows(unsigned char* data) {
  for (std::ptrdiff_t row = 0; row < kPncRows; ++row) {
    unsigned char* first = data + row * kPncRowSize + kPncValueSize;
    unsigned char* last = data + (row + 1) * kPncRowSize - kPncValueSize;
    for (; first < last; first += kPncValueSize, last -= kPncValueSize) {
      std::swap_ranges(first, first + kPncValueSize, last);
    }
  }
}

void FillWithDefault(unsigned char* data, std::size_t size) {
  std::size_t const wholeWords = size / sizeof kPncDefaultFill * sizeof kPncDefaultFill;
  for (std::size_t at = 0; at < wholeWords; at += sizeof kPncDefaultFill) {
    std::memcpy(data + at, &kPncDefaultFill, sizeof kPncDefaultFill);
  }
  std::memcpy(data + wholeWords, &kPncDefaultFill, size - wholeWords);
}

namespace {

constexpr unsigned char kValid = 1;
constexpr std::int32_t kRowsAreMirrored = 2;

// Whether the sensor's static information asks for mirrored rows; false when there is no sensor list.
bool NeedsMirror(int sensorIndex) noexcept {
  NSCam::IHalSensorList* const list = NSCam::IHalSensorList::get();
  if (list == nullptr) return false;
  NSCam::SensorStaticInformation information = {};
  list->staticInformation(list->sensorDevice(sensorIndex), information);
  return information.calibrationRowOrder == kRowsAreMirrored;
}

std::uint32_t WordAt(unsigned char const* data, std::size_t at) {
  std::uint32_t word = 0;
  std::memcpy(&word, data + at, sizeof word);
  return word;
}

}  // namespace
}  // namespace lsc

void VeyraShadingUtil::VeyraGetPNCCaliData(void* out, int sensorDev) {
  int const sensorIndex = SensorDevToIndex(sensorDev);
  if (out == nullptr || !HasSensorSlot(sensorIndex)) return;

  if (!lsc::HasShadingFeature()) {
    LSC_LOGE("[%s] no match CameraHWConfiguration.config Shading\n", __func__);
    return;
  }
  auto const place = lsc::PncBlockPlace(sensorIndex);
  if (!place || !lsc::IsUsableBlockLength(place->length)) return;

  // A file without the block's last byte, the valid byte, has no valid block: no memory is taken for it.
  auto const blockSize = static_cast<std::size_t>(place->length);
  std::size_t const dataSize = blockSize - 1;
  std::unique_ptr<unsigned char[]> block;
  unsigned char validByte = 0;
  {
    lsc::EepromFile const file(sensorIndex);
    if (!file.isOpen()) {
      LSC_LOGE("Error opening file.");
      return;
    }
    if (file.holds(place->offset, place->length)) {
      block.reset(new (std::nothrow) unsigned char[blockSize]);
      if (!block) return;
      file.read(place->offset, block.get(), blockSize);
      validByte = block[dataSize];
      block[dataSize] = 0;
    }
  }
  LSC_LOGD("otpValid 0x%x", validByte);

  std::uint32_t firstWord = lsc::kPncDefaultFill;
  std::uint32_t lastWord = lsc::kPncDefaultFill;
  if (validByte == lsc::kValid) {
    if (lsc::NeedsMirror(sensorIndex)) {
      if (dataSize < lsc::kPncMirroredSize) return;
      VeyraSwapPNCCaliData(reinterpret_cast<char*>(block.get()), static_cast<int>(dataSize));
    }
    std::memcpy(out, block.get(), dataSize);
    firstWord = lsc::WordAt(block.get(), 0);
    lastWord = lsc::WordAt(block.get(), (blockSize / sizeof lastWord - 1) * sizeof lastWord);
  } else {
    lsc::FillWithDefault(static_cast<unsigned char*>(out), dataSize);
  }
  LSC_LOGD("[0]:0x%x, [END]:0x%x ", firstWord, lastWord);
}

void VeyraShadingUtil::VeyraSwapPNCCaliData(char* data, int length) noexcept {
  if (data == nullptr || length < lsc::kPncMirroredSize) return;

  lsc::MirrorRows(reinterpret_cast<unsigned char*>(data));
  LSC_LOGD("dataLen:%d", length);
}
