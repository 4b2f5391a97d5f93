// The EEPROM dump file of a camera module; the only code that opens one.
#pragma once

#include <cstddef>
#include <cstdint>

namespace lsc {

// Path of the dump file of a sensor index (0 to kSensorSlotCount - 1); empty, so that opening it fails, for those that
// have none.
char const* EepromPath(int sensorIndex);

// A dump file, open for reading. Every byte that it does not supply reads as 0; anything but a regular file (a
// directory, a device) supplies none.
class EepromFile {
 public:
  explicit EepromFile(int sensorIndex) noexcept;
  ~EepromFile();
  EepromFile(EepromFile const&) = delete;
  EepromFile& operator=(EepromFile const&) = delete;

  bool isOpen() const { return mDescriptor >= 0; }

  // Whether the file supplies the last of `count` bytes at `offset`; so no memory need be taken for more than it holds.
  // Some special file systems report size 0 for files that do supply bytes: such a file is read to find out.
  bool holds(std::int32_t offset, std::int32_t count) const noexcept;

  // Reads `count` bytes at `offset` (both as configured, so any value) to `bytes`, which must hold them.
  void read(std::int32_t offset, unsigned char* bytes, std::size_t count) const noexcept;

 private:
  // Reads up to `count` bytes; returns how many the file supplied.
  std::size_t readSome(std::int64_t offset, unsigned char* bytes, std::size_t count) const noexcept;

  int mDescriptor;
  bool mIsRegular = false;
  std::int64_t mReportedSize = 0;  // bytes; 0 also where the system does not know
};

}  // namespace lsc
