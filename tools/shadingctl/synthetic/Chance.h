// Random numbers that are the same on every machine; the distributions of the standard libraries differ.
#pragma once

#include <cstdint>
#include <random>

namespace shadingctl {

// A number in [-1, 1).
inline double Chance(std::mt19937_64& source) { return static_cast<double>(source() >> 11U) * 0x1p-52 - 1.0; }

// True in this share of the cases.
inline bool Happens(std::mt19937_64& source, double share) { return (Chance(source) + 1.0) / 2.0 < share; }

}  // namespace shadingctl
