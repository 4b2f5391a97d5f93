// A module's PNC calibration block.
#pragma once

#include <cstddef>
#include <cstdint>

namespace lsc {

constexpr int kPncRows = 9;
constexpr int kPncValuesPerRow = 130;
constexpr int kPncValueSize = 2;  // bytes; the two are never exchanged
constexpr int kPncRowSize = kPncValuesPerRow * kPncValueSize;
constexpr int kPncMirroredSize = kPncRows * kPncRowSize;  // 2340 bytes: what a mirror covers

constexpr std::uint32_t kPncDefaultFill = 0x20002000;  // two values, each in the middle of their range

// Whether a block of this many bytes, the valid byte at its end included, can be handed out: 4k or 4k + 1, k at
// least 1.
constexpr bool IsUsableBlockLength(int length) { return length >= 4 && length % 4 <= 1; }

// Reverses values 1 to 129 of each of the 9 rows of kPncMirroredSize bytes.
void MirrorRows(unsigned char* data);

// Sets `size` bytes to the default fill, the last word cut short if need be.
void FillWithDefault(unsigned char* data, std::size_t size);

}  // namespace lsc
