// Times as people write them, exactly.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace shadingctl {

// The decimal exponent of each unit, in nanoseconds.
enum class TimeUnit { kSeconds = 9, kMilliseconds = 6, kMicroseconds = 3, kNanoseconds = 0 };

inline std::map<std::string, TimeUnit> const kTimeUnits = {{"s", TimeUnit::kSeconds},
                                                           {"ms", TimeUnit::kMilliseconds},
                                                           {"us", TimeUnit::kMicroseconds},
                                                           {"ns", TimeUnit::kNanoseconds}};
char const* Name(TimeUnit unit);

// The decimal number that the whole text says, with or without an exponent, in nanoseconds. Exact: no
// floating-point number is involved, and digits below a nanosecond are rounded half away from zero. With the unit ns
// such digits are refused, since they show that the number is in another unit. nullopt when the text is no such number,
// or beyond 64 bits.
std::optional<std::int64_t> ParseTimeNs(std::string_view text, TimeUnit unit);

}  // namespace shadingctl
