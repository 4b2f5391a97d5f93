#include "lsc/calibration/EepromFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "lsc/VeyraShadingUtil.h"

namespace lsc {
namespace {

constexpr char const* kEepromPaths[kSensorSlotCount] = {
    "/mnt/vendor/persist/camera/rear_camera_eeprom_data.bin",
    "/mnt/vendor/persist/camera/front_camera_eeprom_data.bin",
    "/mnt/vendor/persist/camera/rear_second_camera_eeprom_data.bin",
    "/mnt/vendor/persist/camera/front_second_camera_eeprom_data.bin",
    "/mnt/vendor/persist/camera/rear_third_camera_eeprom_data.bin",
    "/mnt/vendor/persist/camera/front_third_camera_eeprom_data.bin",
    "/mnt/vendor/persist/camera/rear_fourth_camera_eeprom_data.bin",
    "",
    "",
    "",
    "",
    "",
    "",
    ""};

std::int64_t RegularFileSize(int descriptor) {
  struct stat status = {};
  if (descriptor < 0 || fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) return 0;
  return status.st_size;
}

}  // namespace

char const* EepromPath(int sensorIndex) { return kEepromPaths[sensorIndex]; }

// O_NONBLOCK: a pipe in place of the file must not hold the host's thread.
EepromFile::EepromFile(int sensorIndex)
    : mDescriptor(open(EepromPath(sensorIndex), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY)),
      mSize(RegularFileSize(mDescriptor)) {}

EepromFile::~EepromFile() {
  if (isOpen()) close(mDescriptor);
}

bool EepromFile::holds(std::int32_t offset, std::int32_t count) const {
  return offset >= 0 && count >= 0 && offset <= mSize && mSize - offset >= count;
}

void EepromFile::read(std::int32_t offset, unsigned char* bytes, std::size_t count) const {
  std::size_t done = 0;
  if (offset >= 0 && offset < mSize) {
    while (done < count) {
      ssize_t const got = pread(mDescriptor, bytes + done, count - done, offset + static_cast<off_t>(done));
      if (got < 0 && errno == EINTR) continue;
      if (got <= 0) break;  // the end, also of a file that has become shorter meanwhile
      done += static_cast<std::size_t>(got);
    }
  }
  std::fill(bytes + done, bytes + count, static_cast<unsigned char>(0));
}

}  // namespace lsc
