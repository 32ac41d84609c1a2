// Binding pictures to their orbit and the precise geolocation model, checked
// against Debian's pyorbital.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

#include "common/text.h"
#include "common/timeutil.h"
#include "config/prefs.h"
#include "display/georef.h"
#include "display/orbitbind.h"
#include "orbit/sgp4.h"
#include "picture_builder.h"
#include "support/testutil.h"

namespace {

// NOAA 19, epoch 2020-10-26 20:33:56.
const char* kL1 = "1 33591U 09005A   20300.85690046  .00000008  00000-0  29872-4 0  9998";
const char* kL2 = "2 33591  99.1965 309.6298 0014858  69.1900 291.0860 14.12436128603681";
const double kEpochUnix = 1603584000.0 + 299.85690046 * 86400.0;  // 2020-01-01 + day - 1

std::string write_tle(const testutil::TempDir& d, const char* name = "NOAA 19") {
  std::string p = d.file("el.txt");
  testutil::write_file(p, std::string(name) + "\n" + kL1 + "\n" + kL2 + "\n");
  return p;
}

// A 2048-pixel AVHRR-like picture of NOAA 19 with one line per time.
dtest::PicPtr make_pass(const std::vector<double>& times) {
  dtest::PicPtr pic =
      dtest::make_picture(2048, int(times.size()), 1, [](int, int, int) { return 0; });
  pava::copy_text(pic->sat_name, "NOAA 19");
  pic->max_sens_angle = 55.4f;
  pic->width_original = 2048;
  pic->valid_time = 1;
  int y = 0;
  for (XLINE* l = pic->xline; l; l = l->next, y++) {
    time_t s = time_t(std::floor(times[size_t(y)]));
    gmtime_r(&s, &l->tm_ms.tm);
    l->tm_ms.ms = int(std::lround((times[size_t(y)] - double(s)) * 1000.0));
  }
  return pic;
}

double dist_km(double lon1, double lat1, double lon2, double lat2) {
  const double d2r = M_PI / 180.0;
  double a =
      std::pow(std::sin((lat2 - lat1) * d2r / 2), 2) +
      std::cos(lat1 * d2r) * std::cos(lat2 * d2r) * std::pow(std::sin((lon2 - lon1) * d2r / 2), 2);
  return 2 * 6371.0 * std::asin(std::sqrt(std::min(1.0, a)));
}

std::string join(const std::vector<double>& v, const char* fmt) {
  std::string s;
  for (double d : v) s += (s.empty() ? "" : ",") + pava::strprintf(fmt, d);
  return s;
}

struct PrefsGuard {
  PREFS saved = prefs;
  ~PrefsGuard() { prefs = saved; }
};

}  // namespace

// Pixel positions of both models against pyorbital (same elements, same line
// times, every pixel at its line's time) from nadir to the swath's edges.
TEST(GeolocOracle, PreciseWithin3KmOfPyorbital) {
  PrefsGuard g;
  testutil::TempDir d;
  // Lines across a descending and an ascending half of the orbit: both poles,
  // mid-latitudes and the equator.
  std::vector<double> times;
  for (int k = 0; k < 12; k++) times.push_back(kEpochUnix + 3600.0 + k * 510.0 + 0.25);
  const std::vector<double> xs = {0, 1, 100, 400, 800, 1000, 1024, 1048, 1400, 1800, 2000, 2047};
  testutil::RunResult r =
      testutil::run({"/usr/bin/python3", testutil::source_path("tests/display/pyorbital_oracle.py"),
                     kL1, kL2, "55.4", join(times, "%.3f"), join(xs, "%.0f")});
  if (r.status != 0) GTEST_SKIP() << "pyorbital not available: " << r.err;
  std::istringstream in(r.out);
  std::vector<double> ref;
  for (double v; in >> v;) ref.push_back(v);
  ASSERT_EQ(ref.size(), times.size() * xs.size() * 2);

  dtest::PicPtr pic = make_pass(times);
  prefs.precise_geolocation = 1;
  ASSERT_EQ(bind_picture_orbit(pic.get(), write_tle(d).c_str()), 1);
  EXPECT_EQ(pic->orbit.elements, ORBIT_ELEM_FILE);
  std::vector<EPOINT> precise;
  for (size_t y = 0; y < times.size(); y++)
    for (double x : xs) {
      EPOINT e{};
      ASSERT_EQ(xy2lonlat(int(x), int(y), nullptr, pic.get(), &e), 1);
      precise.push_back(e);
    }
  prefs.precise_geolocation = 0;
  ASSERT_GT(add_subsatpos(pic.get()), 0);
  double worst_p = 0, worst_s = 0;
  size_t i = 0;
  for (size_t y = 0; y < times.size(); y++)
    for (double x : xs) {
      EPOINT s{};
      xy2lonlat(int(x), int(y), nullptr, pic.get(), &s);
      const double rlon = ref[2 * i], rlat = ref[2 * i + 1];
      double dp = dist_km(precise[i].lon * 180 / M_PI, precise[i].lat * 180 / M_PI, rlon, rlat);
      double ds = dist_km(s.lon * 180 / M_PI, s.lat * 180 / M_PI, rlon, rlat);
      EXPECT_LE(dp, 3.0) << "line " << y << " x " << x << " pyorbital " << rlon << "," << rlat
                         << " pava " << precise[i].lon * 180 / M_PI << ","
                         << precise[i].lat * 180 / M_PI;
      worst_p = std::max(worst_p, dp);
      worst_s = std::max(worst_s, ds);
      i++;
    }
  std::printf("largest distance to pyorbital: precise model %.2f km, spherical model %.2f km\n",
              worst_p, worst_s);
}
