#include "lsc/calibration/EepromFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "lsc/SensorIndex.h"

namespace lsc {
namespace {

constexpr char const* kEepromPaths[kSensorSlotCount] = {
    "/mnt/vendor/persist/camera/rear_camera_eeprom_data.bin",
    "/mnt/vendor/persist/camera/front_camera_eeprom_data.bin",
    "/mnt/vendor/persist/camera/rear_second_camera_eeprom_data.bin",
    "/mnt/vendor/persist/camera/front_second_camera_eeprom_data.bin",
    "/mnt/vendor/persist/camera/rear_third_camera_eeprom_data.bin",
    "/mnt/vendor/persist/camera/front_third_camera_eeprom_data.bin",
    "/mnt/vendor/persist/camera/rear_fourth_camera_eeprom_data.bin"};

}  // namespace

char const* EepromPath(int sensorIndex) {
  char const* const path = kEepromPaths[sensorIndex];
  return path != nullptr ? path : "";
}

// O_NONBLOCK: a pipe in place of the file must not hold the host's thread.
EepromFile::EepromFile(int sensorIndex) noexcept
    : mDescriptor(open(EepromPath(sensorIndex), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY)) {
  struct stat status = {};
  if (!isOpen() || fstat(mDescriptor, &status) != 0 || !S_ISREG(status.st_mode)) return;
  mIsRegular = true;
  mReportedSize = status.st_size;
}

EepromFile::~EepromFile() {
  if (isOpen()) close(mDescriptor);
}

bool EepromFile::holds(std::int32_t offset, std::int32_t count) const noexcept {
  if (offset < 0 || count <= 0) return false;
  std::int64_t const last = std::int64_t{offset} + count - 1;
  if (mReportedSize != 0) return last < mReportedSize;
  unsigned char lastByte = 0;
  return readSome(last, &lastByte, 1) == 1;
}

void EepromFile::read(std::int32_t offset, unsigned char* bytes, std::size_t count) const noexcept {
  std::size_t const supplied = readSome(offset, bytes, count);
  std::fill(bytes + supplied, bytes + count, static_cast<unsigned char>(0));
}

std::size_t EepromFile::readSome(std::int64_t offset, unsigned char* bytes, std::size_t count) const noexcept {
  if (!mIsRegular || offset < 0) return 0;
  std::size_t done = 0;
  while (done < count) {
    ssize_t const got = pread(mDescriptor, bytes + done, count - done, offset + static_cast<off_t>(done));
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) break;  // the end, also of a file that has become shorter meanwhile
    done += static_cast<std::size_t>(got);
  }
  return done;
}

}  // namespace lsc
