// Pass simulator: the scene geometry on the WGS 84 ellipsoid, the land mask,
// thermal counts that the display's calibration turns back into the scene's
// temperatures.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <memory>

#include "display/lumcal.h"
#include "formats/openfile.h"
#include "orbit/sgp4.h"
#include "sim/sim.h"
#include "support/testutil.h"

namespace {

constexpr double kDeg = 180.0 / M_PI;
// A NOAA 19 pass over western Europe near the shipped elements' epoch.
SIM_REQUEST request(double seconds, double clouds) {
  SIM_REQUEST r;
  r.sat = "NOAA 19";
  r.tle_path = testutil::source_path("data/weather.txt");
  r.coast_path = testutil::source_path("data/gshhs_l.b");
  r.start = tm{};
  r.start.tm_year = 120, r.start.tm_mon = 9, r.start.tm_mday = 26;
  r.start.tm_hour = 7, r.start.tm_min = 26, r.start.tm_sec = 30;
  r.seconds = seconds, r.clouds = clouds, r.seed = 7;
  return r;
}

}  // namespace

// Scan geometry: nadir under the satellite, the swath's half-width, pixel 0 to
// the right of the flight direction (west on a southbound pass), geodetic
// latitudes.
TEST(SimGeometry, SwathOnTheEllipsoid) {
  auto pass = std::make_unique<SIM_PASS>();
  std::string err;
  ASSERT_EQ(sim_prepare(request(2, 0), pass.get(), &err), 0) << err;
  SIM_LINE l;
  sim_line(*pass, 0, &l);
  const int n = pass->width / 2;
  // The nadir pixel and the sub-satellite point (geocentric): the geodetic
  // latitude lies above the geocentric one by up to 0.19 degrees.
  double dlat = (l.lat[size_t(n)] - l.sat_lat) * kDeg;
  EXPECT_TRUE(dlat > 0.0 && dlat < 0.2) << dlat;
  EXPECT_NEAR(l.lon[size_t(n)], l.sat_lon, 1e-6);
  // Great-circle distance of the edges: about 1450 km from an 860 km orbit.
  auto dist = [&](int x) {
    double c = std::sin(l.lat[size_t(x)]) * std::sin(l.lat[size_t(n)]) +
               std::cos(l.lat[size_t(x)]) * std::cos(l.lat[size_t(n)]) *
                   std::cos(l.lon[size_t(x)] - l.lon[size_t(n)]);
    return std::acos(std::min(1.0, c)) * 6371.0;
  };
  EXPECT_NEAR(dist(0), 1450, 60);
  EXPECT_NEAR(dist(2047), 1450, 60);
  EXPECT_NEAR(dist(0), dist(2047), 30);
  // Southbound: pixel 0 west of the nadir.
  SIM_LINE later;
  sim_line(*pass, 11, &later);
  ASSERT_LT(later.sat_lat, l.sat_lat);
  EXPECT_LT(l.lon[0], l.lon[size_t(n)]);
  EXPECT_GT(l.lon[2047], l.lon[size_t(n)]);
}

// The ray intersection against the closed form for a satellite straight above
// the equator and above the pole.
TEST(SimGeometry, RayIntersectionClosedForm) {
  const double jd = 2459148.5;  // any date: theta only turns longitude
  const double th = ThetaG_JD(jd);
  double lon, lat, p[3];
  // Above the pole looking down: latitude 90, point at the polar radius.
  double r[3] = {0, 0, 7200}, v[3] = {7, 0, 0};
  ASSERT_EQ(sim_ray_wgs84(r, v, jd, 0, &lon, &lat, p), 1);
  EXPECT_NEAR(lat * kDeg, 90, 1e-9);
  EXPECT_NEAR(p[2], 6356.752314, 1e-5);
  // Above the equator: the point at the equatorial radius, longitude -theta.
  double r2[3] = {7200, 0, 0}, v2[3] = {0, 0, 7};
  ASSERT_EQ(sim_ray_wgs84(r2, v2, jd, 0, &lon, &lat, p), 1);
  EXPECT_NEAR(std::hypot(p[0], p[1]), 6378.137, 1e-6);
  EXPECT_NEAR(lat, 0, 1e-12);
  EXPECT_NEAR(std::remainder(lon + th, 2 * M_PI), 0, 1e-12);
  // Looking past the limb misses.
  EXPECT_EQ(sim_ray_wgs84(r2, v2, jd, 80 * M_PI / 180, &lon, &lat, p), 0);
}

// Land mask from the shipped coastlines: continents, seas, a lake (level 2)
// and an island (level 1 inside the sea).
TEST(SimScene, LandMaskLevels) {
  FILE* fp = std::fopen(testutil::source_path("data/gshhs_i.b").c_str(), "rb");
  ASSERT_NE(fp, nullptr);
  SIM_LANDMASK m;
  ASSERT_GT(sim_landmask_build(fp, -20, 60, 30, 65, 0.02, &m), 100);
  std::fclose(fp);
  struct Row {
    double lon, lat;
    int land;
    const char* what;
  } rows[] = {
      {2.35, 48.85, 1, "Paris"},       {-5.0, 45.5, 0, "Bay of Biscay"},
      {13.4, 52.5, 1, "Berlin"},       {18.0, 35.0, 0, "Ionian Sea"},
      {6.55, 46.45, 0, "Lake Geneva"}, {50.5, 42.0, 0, "Caspian Sea"},
      {14.25, 37.5, 1, "Sicily"},      {9.0, 40.0, 1, "Sardinia"},
      {-1.5, 52.5, 1, "England"},      {30.0, 10.0, 0, "outside the window"},
  };
  for (const Row& r : rows) EXPECT_EQ(sim_landmask_at(m, r.lon, r.lat), r.land) << r.what;
  // Window too large for the cell budget.
  fp = std::fopen(testutil::source_path("data/gshhs_c.b").c_str(), "rb");
  SIM_LANDMASK big;
  EXPECT_EQ(sim_landmask_build(fp, -180, 180, -90, 90, 0.001, &big), -1);
  std::fclose(fp);
}

// Thermal channels: the display's calibration of the written file (PRT words,
// black-body and space samples of the frame headers) gives the scene's
// temperatures back within 0.5 K.
TEST(SimThermal, DisplayCalibrationGivesSceneTemperatures) {
  testutil::TempDir dir;
  auto pass = std::make_unique<SIM_PASS>();
  std::string err;
  ASSERT_EQ(sim_prepare(request(4, 0.5), pass.get(), &err), 0) << err;
  std::string path = dir.file("t.hrpt");
  ASSERT_EQ(sim_write(*pass, path.c_str(), &err), 0) << err;

  std::unique_ptr<PICINFO, void (*)(PICINFO*)> pic(pic_new(), [](PICINFO* p) {
    close_picfile(p);
    pic_delete(p);
  });
  std::snprintf(pic->file_name, sizeof pic->file_name, "%s", path.c_str());
  VIEWINFO view{};
  ASSERT_EQ(open_file(pic.get(), &view, nullptr, 0), 0);
  load_cal(pic->sat_name, &pic->noaacal);
  int checked = 0;
  double worst = 0;
  // From the first complete PRT cycle on; the last line lacks a next line's
  // calibration samples.
  for (int i = 6; i < pass->lines - 2; i++) {
    SIM_LINE truth;
    sim_line(*pass, i, &truth);
    const XLINE* xl = pic_line(pic.get(), i);
    ASSERT_NE(xl, nullptr);
    for (int ch = 3; ch <= 5; ch++) {
      std::vector<int> t;
      ASSERT_EQ(map_noaatemp(pic.get(), xl, ch, &t), 0) << "line " << i << " ch " << ch;
      for (int x = 0; x < pass->width; x += 3) {
        double want = truth.surf[size_t(x)].temp[ch - 3];
        // Channel 3B resolves cold scenes too coarsely to compare.
        if (ch == 3 && want < 270) continue;
        double d = std::fabs(t[size_t(x)] / 10.0 - want);
        worst = std::max(worst, d);
        checked++;
      }
    }
  }
  EXPECT_GT(checked, 10000);
  EXPECT_LE(worst, 0.5);
}
