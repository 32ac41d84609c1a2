// The luminance window's histogram: the counts of the shown values folded
// into columns of a drawing, scaled to its height.
#pragma once
#include <vector>

// Bar heights (0..height) of width columns for the histogram lumstat[0..n-1]:
// column c sums the entries c*n/width .. (c+1)*n/width-1; the largest column
// is height high. Entry 0 (pixels outside the picture) is left out. Empty
// when width or height is not positive.
std::vector<int> lum_histogram_bars(const long* lumstat, int n, int width, int height);

// Column of a drawing width columns wide where value v (0..n-1) lies.
int lum_value_column(int v, int n, int width);
