#include "app/core/lumctl.h"

#include <algorithm>

std::vector<int> lum_histogram_bars(const long* lumstat, int n, int width, int height) {
  std::vector<int> bars;
  if (!lumstat || n <= 0 || width <= 0 || height <= 0) return bars;
  std::vector<long long> sums(size_t(width), 0);
  for (int v = 1; v < n; v++) {
    long count = std::max(0L, lumstat[v]);
    sums[size_t(lum_value_column(v, n, width))] += count;
  }
  long long top = *std::max_element(sums.begin(), sums.end());
  bars.assign(size_t(width), 0);
  if (top <= 0) return bars;
  for (int c = 0; c < width; c++) bars[size_t(c)] = int((sums[size_t(c)] * height + top - 1) / top);
  return bars;
}

int lum_value_column(int v, int n, int width) {
  if (n <= 0 || width <= 0) return 0;
  v = std::clamp(v, 0, n - 1);
  return int((long long)v * width / n);
}
