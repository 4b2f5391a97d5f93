// From a module's multi-golden record to one of the five golden shading tables.
#pragma once

#include <cstddef>

namespace lsc {

constexpr std::size_t kMultiGoldenSize = 11;  // bytes of the record in the dump file
constexpr int kDefaultMultiTable = 1;

// What the record says. `valid` and `furtherFlag` are raw bytes and only reported.
struct MultiGolden {
  int valid;        // byte 0; 1 for a valid record
  int gradient;     // -255 to 255; 0 for an invalid record
  int flag;         // byte 6 as the sign: up to 128 itself, from 129 on less 256; raw for an invalid record
  int furtherFlag;  // byte 10

  bool isValid() const { return valid == 1; }
};

MultiGolden ReadMultiGolden(unsigned char const (&record)[kMultiGoldenSize]);

// 1 to 5: within 4 of zero, 5 to 8, -8 to -5, 9 and more, -9 and less.
int MultiTableForGradient(int gradient);

}  // namespace lsc
