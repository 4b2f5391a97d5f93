#include "tools/shadingctl/statistics/Histogram.h"

#include <gtest/gtest.h>

namespace shadingctl {
namespace {

// The bins are as wide as 1/64 of a value: nothing may fall between two of them, at either end of the range.
TEST(Histogram, FindsTheMiddleOfAnySize) {
  for (std::int64_t const value : {1L, 63L, 64L, 127L, 128L, 1000003L, 1L << 40, (1L << 62) + 12345}) {
    Histogram histogram;
    histogram.Add(0);
    histogram.Add(value);
    histogram.Add(value);
    EXPECT_DOUBLE_EQ(histogram.Median().value(), static_cast<double>(value));
    EXPECT_EQ(histogram.Between(static_cast<double>(value) / 2, static_cast<double>(value)).count, 2U) << value;
    EXPECT_EQ(histogram.Largest(), value);
  }
}

}  // namespace
}  // namespace shadingctl
