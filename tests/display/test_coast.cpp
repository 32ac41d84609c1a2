// GSHHS coast files: reading, filters, refusing other layouts; the grid
// step. Drawing the polygons into the mask is checked against the land/sea
// edges of a rendered pass by the coast script.
#include <gtest/gtest.h>

#include <cstdio>
#include <map>

#include "common/bytes.h"
#include "display/coast.h"
#include "display/draw.h"
#include "display/georef.h"
#include "picture_builder.h"
#include "support/testutil.h"

namespace {

using FilePtr = std::unique_ptr<FILE, int (*)(FILE*)>;

FilePtr open_rb(const std::string& path) {
  return FilePtr(std::fopen(path.c_str(), "rb"), std::fclose);
}

// One polygon record in the 40-byte layout (bounds in degrees, area in km^2).
std::string polygon(int id, int level, double west, double east, double south, double north,
                    long area_tenths, const std::vector<std::pair<double, double>>& pts) {
  std::string s(40 + 8 * pts.size(), '\0');
  auto* p = reinterpret_cast<uint8_t*>(&s[0]);
  auto put = [&](int off, double v) { pava::put_be32(p + off, uint32_t(int32_t(std::lround(v)))); };
  put(0, id);
  put(4, double(pts.size()));
  put(8, level);
  put(12, west * 1e6);
  put(16, east * 1e6);
  put(20, south * 1e6);
  put(24, north * 1e6);
  put(28, double(area_tenths));
  put(32, 3);
  pava::put_be16(p + 36, 0);
  pava::put_be16(p + 38, 1);
  for (size_t k = 0; k < pts.size(); k++) {
    put(40 + 8 * int(k), pts[k].first * 1e6);
    put(44 + 8 * int(k), pts[k].second * 1e6);
  }
  return s;
}

}  // namespace

// The 40-byte crude file reads whole: 1866 polygons with their levels.
TEST(CoastRead, RealFormat1File) {
  FilePtr f = open_rb(testutil::shared_path("testdata/gshhs/gshhs_c_format1_maptools-0.6-3.b"));
  ASSERT_TRUE(f);
  GSHHS h{};
  std::map<int, int> levels;
  int n = 0, r;
  while ((r = read_polygon(f.get(), &h, -180, 180, -90, 90, 0, -1)) != GSHHS_EOF) {
    ASSERT_EQ(r, GSHHS_ACCEPTED) << "polygon " << n;
    std::vector<DBLFLOAT> pts;
    ASSERT_EQ(read_polygon_points(f.get(), h, &pts), 1);
    ASSERT_EQ(int(pts.size()), h.n);
    levels[h.level]++;
    n++;
  }
  EXPECT_EQ(n, 1866);
  EXPECT_EQ(levels, (std::map<int, int>{{1, 801}, {2, 1038}, {3, 27}}));
}

// The 44-byte layout files are refused at the first header, without
// drawing anything.
TEST(CoastRead, RefusesFormat2Files) {
  for (const char* name : {"testdata/gshhs/gshhs_c_format2_maptools-1.1-6.b",
                           "testdata/gshhs/wdb_borders_c_format2_maptools-1.1-6.b"}) {
    SCOPED_TRACE(name);
    FilePtr f = open_rb(testutil::shared_path(name));
    ASSERT_TRUE(f);
    GSHHS h{};
    EXPECT_EQ(read_polygon(f.get(), &h, -180, 180, -90, 90, 0, 0), GSHHS_CORRUPT);
    std::rewind(f.get());
    auto pic = dtest::make_picture(50, 50, 1, [](int, int, int) { return 0; });
    dtest::lay_out_positions(pic.get(), -10, 0.5, 60, 0.5);
    ASSERT_EQ(create_overlay(f.get(), pic.get()), 1);
    EXPECT_EQ(pic->ovlinfo.built_coast, -1);
    for (char b : pic->ovlinfo.ovlarr) ASSERT_EQ(b & 1, 0);
  }
}

// Wrap, area and level filters, damaged files.
TEST(CoastRead, FiltersAndDamage) {
  testutil::TempDir dir;
  // West 350 degrees is taken as -10; area exactly 10000 km^2 is not drawn,
  // 10000.1 is; level 3 is refused with max_level 2.
  std::string data = polygon(0, 1, 350, 355, 40, 45, 100000, {{350, 40}, {355, 45}, {350, 40}}) +
                     polygon(1, 1, 10, 20, 40, 45, 100001, {{10, 40}, {20, 45}, {10, 40}}) +
                     polygon(2, 3, 10, 20, 40, 45, 500000, {{10, 40}, {20, 45}, {10, 40}});
  testutil::write_file(dir.file("p.b"), data);
  FilePtr f = open_rb(dir.file("p.b"));
  GSHHS h{};
  ASSERT_EQ(read_polygon(f.get(), &h, -180, 180, -90, 90, 2, 10000), GSHHS_SKIPPED);
  EXPECT_NEAR(h.west_deg, -10.0, 1e-9);
  EXPECT_NEAR(h.east_deg, -5.0, 1e-9);
  EXPECT_DOUBLE_EQ(h.area_km2, 10000.0);
  ASSERT_EQ(read_polygon(f.get(), &h, -180, 180, -90, 90, 2, 10000), GSHHS_ACCEPTED);
  std::vector<DBLFLOAT> pts;
  ASSERT_EQ(read_polygon_points(f.get(), h, &pts), 1);
  EXPECT_EQ(read_polygon(f.get(), &h, -180, 180, -90, 90, 2, 10000), GSHHS_SKIPPED);
  EXPECT_EQ(read_polygon(f.get(), &h, -180, 180, -90, 90, 2, 10000), GSHHS_EOF);

  // Damaged files: a header cut short, points cut short, a point count
  // beyond the file.
  std::string big = data;
  pava::put_be32(reinterpret_cast<uint8_t*>(&big[4]), 0x10000000u);
  for (const std::string& bad : {data.substr(0, 20), data.substr(0, 50), big}) {
    testutil::write_file(dir.file("bad.b"), bad);
    f = open_rb(dir.file("bad.b"));
    EXPECT_EQ(read_polygon(f.get(), &h, -180, 180, -90, 90, 0, 0), GSHHS_CORRUPT) << bad.size();
  }
  // A point off the earth.
  testutil::write_file(dir.file("bad.b"),
                       polygon(0, 1, 10, 20, 40, 45, 500000, {{10, 40}, {20, 95}}));
  f = open_rb(dir.file("bad.b"));
  ASSERT_EQ(read_polygon(f.get(), &h, -180, 180, -90, 90, 0, 0), GSHHS_ACCEPTED);
  EXPECT_EQ(read_polygon_points(f.get(), h, &pts), GSHHS_CORRUPT);
}

// Grid steps: a view spanning 12 degrees gets 1, 20 gets 2, 24 or more 5.
TEST(Grid, Steps) {
  // span/8, at least 1, above 2 becomes 5; the span's size counts.
  const std::pair<double, int> rows[] = {{0.5, 1},  {12, 1}, {15.9, 1}, {16, 2},
                                         {23.9, 2}, {24, 5}, {-30, 5}};
  for (auto [span, step] : rows) EXPECT_EQ(grid_step(span), step) << span;
}
