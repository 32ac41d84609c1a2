// The histogram of the luminance window: columns sum their values, the
// largest column fills the height, value 0 (outside the picture) is left out.
#include <gtest/gtest.h>

#include <vector>

#include "app/core/lumctl.h"

namespace {

TEST(LumHistogram, ColumnsSumAndScale) {
  std::vector<long> stat(1024, 0);
  stat[0] = 1000000;  // the border: not shown
  stat[4] = 10;       // column 1 of 256 (values 4..7)
  stat[7] = 10;
  stat[1023] = 5;  // last column
  std::vector<int> bars = lum_histogram_bars(stat.data(), 1024, 256, 100);
  ASSERT_EQ(bars.size(), 256u);
  EXPECT_EQ(bars[0], 0);
  EXPECT_EQ(bars[1], 100);
  EXPECT_EQ(bars[255], 25);  // rounded up: a value present is never invisible
  for (int c = 2; c < 255; c++) EXPECT_EQ(bars[size_t(c)], 0) << c;
}

TEST(LumHistogram, DegenerateInputs) {
  std::vector<long> stat(1024, 0);
  EXPECT_TRUE(lum_histogram_bars(stat.data(), 1024, 0, 100).empty());
  EXPECT_TRUE(lum_histogram_bars(stat.data(), 1024, 10, 0).empty());
  EXPECT_TRUE(lum_histogram_bars(nullptr, 1024, 10, 10).empty());
  // All empty: flat zero bars, no division by zero.
  EXPECT_EQ(lum_histogram_bars(stat.data(), 1024, 10, 10), std::vector<int>(10, 0));
  // Negative counts (a damaged record) count as none.
  stat[500] = -7;
  EXPECT_EQ(lum_histogram_bars(stat.data(), 1024, 10, 10), std::vector<int>(10, 0));
  // More columns than values: each value in its own column, the rest empty.
  std::vector<long> small = {0, 3, 6};
  std::vector<int> bars = lum_histogram_bars(small.data(), 3, 6, 6);
  EXPECT_EQ(bars, (std::vector<int>{0, 0, 3, 0, 6, 0}));
}

}  // namespace
