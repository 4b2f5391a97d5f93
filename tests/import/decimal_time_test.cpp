// Times in texts, with expectations in whole nanoseconds.
#include "tools/import/DecimalTime.h"

#include <gtest/gtest.h>

#include <limits>
#include <ostream>

namespace shadingctl {
namespace {

struct Written {
  char const* text;
  TimeUnit unit;
  std::optional<std::int64_t> ns;
};

std::ostream& operator<<(std::ostream& stream, Written const& written) {
  return stream << written.text << " " << Name(written.unit);
}

class DecimalTime : public testing::TestWithParam<Written> {};

TEST_P(DecimalTime, IsExact) { EXPECT_EQ(ParseTimeNs(GetParam().text, GetParam().unit), GetParam().ns); }

constexpr TimeUnit kS = TimeUnit::kSeconds;
constexpr TimeUnit kMs = TimeUnit::kMilliseconds;
constexpr TimeUnit kUs = TimeUnit::kMicroseconds;
constexpr TimeUnit kNs = TimeUnit::kNanoseconds;

// In the nearest double, the first one would be 1639493638769003067 ns and the second 9007199254740992 ns.
INSTANTIATE_TEST_SUITE_P(Numbers, DecimalTime,
                         testing::Values(Written{"1639493638.769003001", kS, 1639493638769003001},
                                         Written{"9007199254740993", kNs, 9007199254740993},
                                         Written{"1639493.638769", kS, 1639493638769000},
                                         Written{"12.5", kMs, 12500000}, Written{"-0.25", kUs, -250},
                                         Written{".5", kUs, 500}, Written{"5.", kUs, 5000},
                                         Written{"1.639493638769e+12", kNs, 1639493638769},
                                         Written{"25e-3", kMs, 25000}, Written{"1E3", kUs, 1000000},
                                         Written{"0", kS, 0}, Written{"0000.000", kS, 0}, Written{"0007", kNs, 7},
                                         Written{"12.000", kNs, 12}, Written{"5e-99", kS, 0}));

INSTANTIATE_TEST_SUITE_P(Rounding, DecimalTime,
                         testing::Values(Written{"0.0000000014999", kS, 1}, Written{"0.0000000015", kS, 2},
                                         Written{"-0.0000000015", kS, -2}, Written{"0.0005", kUs, 1},
                                         Written{"0.00049999", kUs, 0}, Written{"0.00006", kUs, 0},
                                         Written{"1.9999999", kUs, 2000}, Written{"12.5", kNs, {}},
                                         Written{"1e-1", kNs, {}}));

INSTANTIATE_TEST_SUITE_P(Limits, DecimalTime,
                         testing::Values(Written{"9223372036854775807", kNs, 9223372036854775807},
                                         Written{"9223372036854775808", kNs, {}}, Written{"9223372036.9", kS, {}},
                                         Written{"-9223372036854775808", kNs, std::numeric_limits<std::int64_t>::min()},
                                         Written{"-9223372036854775809", kNs, {}}, Written{"1e19", kNs, {}},
                                         Written{"1e99", kS, {}}, Written{"1e100", kNs, {}},
                                         Written{"99999999999999999999", kNs, {}}));

INSTANTIATE_TEST_SUITE_P(NoNumbers, DecimalTime,
                         testing::Values(Written{"", kS, {}}, Written{"-", kS, {}}, Written{".", kS, {}},
                                         Written{"1.2.3", kS, {}}, Written{"1,5", kS, {}}, Written{"+1", kS, {}},
                                         Written{"1 ", kS, {}}, Written{"e5", kS, {}}, Written{"1e", kS, {}},
                                         Written{"1e+-5", kS, {}}, Written{"0x10", kS, {}}, Written{"nan", kS, {}},
                                         Written{"--1", kS, {}}));

}  // namespace
}  // namespace shadingctl
