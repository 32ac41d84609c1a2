// Pass simulator: the land mask, thermal counts that the display's calibration
// turns back into the scene's temperatures. The scene geometry is checked by
// the coast overlay test of the scripts (overlay on the land/sea edges).
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <memory>

#include "display/lumcal.h"
#include "formats/openfile.h"
#include "sim/sim.h"
#include "support/testutil.h"

namespace {

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
      {6.55, 46.45, 0, "Lake Geneva"}, {50.5, 42.0, 0, "Caspian Sea"},
      {14.25, 37.5, 1, "Sicily"},      {30.0, 10.0, 0, "outside the window"},
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
