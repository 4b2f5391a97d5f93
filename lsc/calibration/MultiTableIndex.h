// From a module's multi-golden record to one of the five golden shading tables.
#pragma once

#include <cstddef>

namespace lsc {

constexpr std::size_t kMultiGoldenSize = 11;  // bytes of the record in the dump file
constexpr int kDefaultMultiTable = 1;

// The record, decoded. `valid` and `furtherFlag` are raw bytes.
struct MultiGolden {
  int valid;        // byte 0; 1 for a valid record
  int gradient;     // -255 to 255; 0 for an invalid record
  int flag;         // byte 6 as a signed number: up to 128 itself, from 129 on less 256; raw in an invalid record
  int furtherFlag;  // byte 10

  bool isValid() const { return valid == 1; }
};

MultiGolden ReadMultiGolden(unsigned char const (&record)[kMultiGoldenSize]);

// Table 1 for gradients from -4 to 4, 2 for 5 to 8, 3 for -8 to -5, 4 for 9 and more, 5 for -9 and less.
int MultiTableForGradient(int gradient);

}  // namespace lsc
