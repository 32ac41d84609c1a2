// The tracker's world map: pixel placement, ground tracks and footprints, the
// night side from the sun model, the footprint radius, the shipped coastlines.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>

#include "orbit/satdb.h"
#include "support/testutil.h"
#include "tracking/worldmap.h"

namespace {

constexpr double kD2R = 3.14159265358979323846 / 180.0;

int pixel(const std::vector<unsigned char>& rgb, int w, int x, int y) {
  const unsigned char* p = rgb.data() + (size_t(y) * size_t(w) + size_t(x)) * 3;
  return p[0] << 16 | p[1] << 8 | p[2];
}

struct tm at(int y, int mo, int d, int h, int mi) {
  struct tm t {};
  t.tm_year = y - 1900, t.tm_mon = mo - 1, t.tm_mday = d, t.tm_hour = h, t.tm_min = mi;
  return t;
}

TEST(Worldmap, LonLatToPixel) {
  struct {
    double lon, lat, x, y;
  } rows[] = {
      {-180, 90, 0, 0},     // top left corner
      {0, 0, 360, 180},     // centre
      {5, 52, 370, 76},     // the test observer
      {190, -10, 20, 200},  // east of 180 wraps to the west edge
      {-200, 0, 680, 180},  // and west of -180 to the east
  };
  for (const auto& r : rows) {
    double x, y;
    wmap_lonlat2xy(720, 360, r.lon, r.lat, &x, &y);
    EXPECT_NEAR(x, r.x, 1e-9) << r.lon << "," << r.lat;
    EXPECT_NEAR(y, r.y, 1e-9) << r.lon << "," << r.lat;
  }
}

// The observer's and the satellites' marks are compared with skyfield's
// sub-satellite points by the pava-cli track --map script test.
TEST(Worldmap, TracksAndFootprint) {
  WMAP_OPTS o = worldmap_defaults();
  o.day_night = 0;
  o.time = at(2020, 10, 27, 0, 0);
  EPOINT obs{};
  obs.lon = float(5 * kD2R), obs.lat = float(52 * kD2R);
  o.observer = &obs;
  SAT* sats = prepare_track(nullptr, testutil::source_path("data/weather.txt").c_str(),
                            "NOAA 19;METOP-B", nullptr);
  ASSERT_NE(sats, nullptr);
  ASSERT_NE(sats->next, nullptr);
  for (SAT* s = sats; s; s = s->next) s->visible = 1;
  o.sats = sats;
  o.current = sats->next;  // METOP-B highlighted
  std::vector<unsigned char> rgb;
  ASSERT_EQ(draw_worldmap(o, &rgb), 0);
  EXPECT_EQ(rgb.size(), size_t(720 * 360 * 3));
  // Ground tracks and footprint are drawn in their colours somewhere.
  int track_sel = 0, track_nsel = 0, area = 0;
  for (int i = 0; i < 720 * 360; i++) {
    int c = pixel(rgb, 720, i % 720, i / 720);
    track_sel += c == o.clr[WC_TRACK_SEL];
    track_nsel += c == o.clr[WC_TRACK_NSEL];
    area += c == o.clr[WC_RADIO_HOR];
  }
  EXPECT_GT(track_sel, 300);
  EXPECT_GT(track_nsel, 300);
  EXPECT_GT(area, 100);
  Remove_Sats(sats);
}

TEST(Worldmap, FootprintRadius) {
  // 850 km up, horizon at 0 degrees: acos(6378.135 / 7228.135) = 28.06 deg.
  EXPECT_NEAR(wmap_footprint_radius(850, 0) / kD2R, 28.06, 0.01);
  // A higher edge shrinks it.
  EXPECT_LT(wmap_footprint_radius(850, 10), wmap_footprint_radius(850, 0));
  EXPECT_EQ(wmap_footprint_radius(0, 0), 0);
}

TEST(Worldmap, CoastAndBadInput) {
  const auto* coast = worldmap_coast("gshhs_l.b");
  ASSERT_NE(coast, nullptr);
  EXPECT_GT(coast->size(), 100u);
  EXPECT_EQ(worldmap_coast("gshhs_l.b"), coast);  // read once
  EXPECT_EQ(worldmap_coast("no_such_coast.b"), nullptr);
  std::string junk = testing::TempDir() + "/junk.b";
  testutil::write_file(junk, std::string(100, 'x'));
  EXPECT_EQ(worldmap_coast(junk.c_str()), nullptr);

  WMAP_OPTS o = worldmap_defaults();
  o.coast = coast;
  o.day_night = 0;
  std::vector<unsigned char> rgb;
  o.width = 8;
  EXPECT_EQ(draw_worldmap(o, &rgb), -1);
}

}  // namespace
