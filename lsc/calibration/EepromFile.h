// The EEPROM dump file of a camera module; the only code that opens one.
#pragma once

#include <cstddef>
#include <cstdint>

namespace lsc {

// The dump file of a sensor index from 0 to kSensorSlotCount - 1; empty (and so never to be opened) for those that have
// none.
char const* EepromPath(int sensorIndex);

// An open dump file, read only. Its contents are not trusted: reading answers 0 for every byte that the file does not
// supply, and anything but a regular file, a directory or a device for instance, supplies none.
class EepromFile {
 public:
  explicit EepromFile(int sensorIndex);
  ~EepromFile();
  EepromFile(EepromFile const&) = delete;
  EepromFile& operator=(EepromFile const&) = delete;

  bool isOpen() const { return mDescriptor >= 0; }

  // Whether the file is long enough for `count` bytes at `offset`; so no memory need be taken for more than it holds.
  bool holds(std::int32_t offset, std::int32_t count) const;

  // Reads `count` bytes at `offset` (both as configured, so any value) to `bytes`, which must hold them.
  void read(std::int32_t offset, unsigned char* bytes, std::size_t count) const;

 private:
  int mDescriptor;
  std::int64_t mSize;  // bytes; 0 for what is no regular file
};

}  // namespace lsc
