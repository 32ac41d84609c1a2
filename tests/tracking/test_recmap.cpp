// Received-passes map: raster indexing, the PGM file and its range comment,
// loading, plotting and the ring of numbered copies.
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <cstring>

#include "support/testutil.h"
#include "tracking/recmap.h"

namespace {

constexpr double kDeg = 3.14159265 / 180.;

bool exists(const std::string& p) {
  struct stat st {};
  return stat(p.c_str(), &st) == 0;
}

TEST(Recmap, IndexClampedPerAxis) {
  struct Row {
    int x, y, want;
    const char* what;
  } rows[] = {
      {0, 499, 0, "north-west corner"},
      {499, 0, 499 + 499 * 500, "south-east corner"},
      {-40, 250, 0 + 249 * 500, "west of the map: column 0"},
      {700, 900, 499, "north-east beyond both edges"},
      {10, -5, 10 + 499 * 500, "south of the map: last row"},
  };
  for (const Row& r : rows) EXPECT_EQ(xy2arr(r.x, r.y), r.want) << r.what;
}

TEST(Recmap, RangeCommentBothForms) {
  struct Row {
    const char* text;
    int lon0, lon1, lat0, lat1;
  } rows[] = {
      {"range=[-20:30],[27:77]", -20, 30, 27, 77},  // current form
      {"range=[-20-30],[27-77]", -20, 30, 27, 77},  // old '-' form, leading minus kept
      {"range=[5-55],[-10-40]", 5, 55, -10, 40},    // old form, southern latitude
  };
  for (const Row& r : rows) {
    RECMAP_RANGE mn{}, mx{};
    ASSERT_EQ(get_range(r.text, &mn, &mx), 1) << r.text;
    EXPECT_EQ(std::vector<int>({mn.lon, mx.lon, mn.lat, mx.lat}),
              std::vector<int>({r.lon0, r.lon1, r.lat0, r.lat1}))
        << r.text;
  }
  RECMAP_RANGE mn{}, mx{};
  EXPECT_EQ(get_range("range=garbage", &mn, &mx), 0);
}

TEST(Recmap, HeaderCut) {
  // The header's bytes are checked in the saved map below; the comment is cut
  // to 29 characters, the header to 59.
  EXPECT_EQ(write_pgmhdr(nullptr, 500, 500, "P5", "%s", std::string(80, 'c').c_str()),
            3 + 1 + 29 + 1 + 8 + 5);
}

TEST(Recmap, ProcessCleanAndFlip) {
  std::vector<unsigned char> m(RECMAP_SIZE, 0);
  m[xy2arr(10, 499)] = 255;  // row 0
  m[xy2arr(11, 499)] = 251;
  m[xy2arr(12, 499)] = 136;
  m[499] = 136;  // column 499: untouched
  std::vector<unsigned char> f = m;
  process(f.data(), 1, 0);
  // Row 0 -> row 498 (first 499 rows); below 250 zeroed.
  EXPECT_EQ(std::vector<int>(f.begin() + 10 + 498 * 500, f.begin() + 13 + 498 * 500),
            (std::vector<int>{255, 251, 0}));
  process(m.data(), 0, 1);
  EXPECT_EQ(std::vector<int>(m.begin() + 10, m.begin() + 13), (std::vector<int>{255, 0, 0}));
  EXPECT_EQ(m[499], 136);
}

TEST(Recmap, PlotSaveReloadAndRing) {
  testutil::TempDir dir;
  std::string name = dir.file("map");
  EPOINT obs{};
  obs.lon = float(5.3 * kDeg);
  obs.lat = float(52.7 * kDeg);
  recmap_close();
  EPOINT p{};
  p.lon = float(7.0 * kDeg);
  p.lat = float(50.35 * kDeg);
  recmap(1, &p, name.c_str(), 3, &obs);
  const unsigned char* r = recmap_raster();
  ASSERT_NE(r, nullptr);
  // Range lon -20..30, lat 27..77: the point at x 270, y 233.
  EXPECT_EQ(r[xy2arr(270, 233)], 255);
  EXPECT_EQ(r[xy2arr(int(10 * (5.3 - -20)), int(10 * (52.7 - 27)))], 136);  // observer mark
  EXPECT_EQ(r[xy2arr(0, 100)], 102);  // lon -20 is a 5-degree line
  EXPECT_EQ(r[xy2arr(1, 100)], 0);
  // Far away: clamped onto the edge.
  p.lon = float(100 * kDeg);
  recmap(1, &p, name.c_str(), 3, &obs);
  EXPECT_EQ(recmap_raster()[xy2arr(499, 233)], 255);

  recmap(1, nullptr, name.c_str(), 3, &obs);
  std::string data = testutil::read_file(name + ".pgm");
  const std::string hdr = "P5\n#range=[-20:30],[27:77]\n500 500\n 255\n";
  ASSERT_EQ(data.size(), hdr.size() + RECMAP_SIZE);
  EXPECT_EQ(data.substr(0, hdr.size()), hdr);
  EXPECT_TRUE(exists(dir.file("map1.pgm")));
  recmap(1, nullptr, name.c_str(), 3, &obs);  // already saved: no second copy
  EXPECT_FALSE(exists(dir.file("map2.pgm")));

  // A new session loads the file: only track points survive, marks redrawn.
  recmap_close();
  p.lon = float(6.0 * kDeg);
  recmap(1, &p, name.c_str(), 3, &obs);
  EXPECT_EQ(recmap_raster()[xy2arr(270, 233)], 255);
  EXPECT_EQ(recmap_raster()[xy2arr(260, 233)], 255);
  RECMAP_RANGE mn{}, mx{};
  std::vector<unsigned char> back = read_plottrack((name + ".pgm").c_str(), &mn, &mx);
  EXPECT_TRUE(mn.lon == -20 && mx.lat == 77);
  EXPECT_EQ(back[size_t(xy2arr(270, 233))], 255);
  // A missing file reads as an empty raster.
  back = read_plottrack(dir.file("none.pgm").c_str(), &mn, &mx);
  EXPECT_EQ(back.size(), size_t(RECMAP_SIZE));
  EXPECT_EQ(std::count(back.begin(), back.end(), 0), RECMAP_SIZE);
  recmap_close();
}

TEST(Recmap, RingOfNumberedCopies) {
  testutil::TempDir dir;
  std::string f = dir.file("plot.pgm");
  testutil::write_file(f, "x");
  auto slot = [&](int i) { return exists(dir.file("plot" + std::to_string(i) + ".pgm")); };
  // nkeep 3: slots 1..4, one always free.
  for (int want : {1, 2, 3, 4}) EXPECT_EQ(cp2new(f.c_str(), 3), want);
  EXPECT_FALSE(slot(1));  // the fourth removed 1
  EXPECT_EQ(cp2new(f.c_str(), 3), 1);
  EXPECT_FALSE(slot(2));  // the next went to 1 and removed 2
  EXPECT_TRUE(slot(3) && slot(4) && slot(1));
  // nkeep 0: no limit.
  for (int i = 0; i < 6; i++) cp2new(f.c_str(), 0);
  EXPECT_TRUE(slot(7));
  // A '.' in a directory part cuts the base there.
  ASSERT_EQ(mkdir(dir.file("maps.d").c_str(), 0755), 0);
  testutil::write_file(dir.file("maps.d/plot.pgm"), "x");
  EXPECT_EQ(cp2new(dir.file("maps.d/plot.pgm").c_str(), 3), 1);
  EXPECT_TRUE(exists(dir.file("maps1.pgm")));
}

}  // namespace
