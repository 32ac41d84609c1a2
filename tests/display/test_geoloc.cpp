// Binding pictures to their orbit and the precise geolocation model, checked
// against Debian's pyorbital.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <ctime>
#include <sstream>
#include <string>
#include <vector>

#include "common/text.h"
#include "config/prefs.h"
#include "display/georef.h"
#include "display/orbitbind.h"
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

// Great-circle distance of a position (radians) to lon, lat in degrees.
double dist_km(const EPOINT& e, double lon, double lat) {
  const double d2r = M_PI / 180.0, lat2 = lat * d2r;
  double a = std::pow(std::sin((lat2 - e.lat) / 2), 2) +
             std::cos(e.lat) * std::cos(lat2) * std::pow(std::sin((lon * d2r - e.lon) / 2), 2);
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
  double worst_p = 0, worst_s = 0, worst_s_nadir = 0;
  size_t i = 0;
  for (size_t y = 0; y < times.size(); y++)
    for (double x : xs) {
      EPOINT s{};
      xy2lonlat(int(x), int(y), nullptr, pic.get(), &s);
      const double rlon = ref[2 * i], rlat = ref[2 * i + 1];
      double dp = dist_km(precise[i], rlon, rlat), ds = dist_km(s, rlon, rlat);
      EXPECT_LE(dp, 3.0) << "line " << y << " x " << x << " pyorbital " << rlon << "," << rlat
                         << " pava " << precise[i].lon * 180 / M_PI << ","
                         << precise[i].lat * 180 / M_PI;
      worst_p = std::max(worst_p, dp);
      worst_s = std::max(worst_s, ds);
      if (x == 1024) worst_s_nadir = std::max(worst_s_nadir, ds);
      i++;
    }
  std::printf(
      "largest distance to pyorbital: precise model %.2f km, spherical model %.2f km (%.2f km at "
      "nadir)\n",
      worst_p, worst_s, worst_s_nadir);
}

namespace {

// Header elements of the same NOAA 19 set as the recording keeps them: the
// epoch day as a float, angles in radians.
void set_header_elements(PICINFO* pic, double epoch_day) {
  KEPLER& k = pic->kepler;
  k = KEPLER{};
  k.epoch_year = 120;
  k.epoch_day = double(float(epoch_day));
  k.decay_rate = 0.00000008f;
  k.bstar = 0.29872e-4f;
  k.inclination = float(99.1965 * M_PI / 180);
  k.raan = float(309.6298 * M_PI / 180);
  k.eccentricity = 0.0014858f;
  k.perigee = float(69.1900 * M_PI / 180);
  k.anomaly = float(291.0860 * M_PI / 180);
  k.motion = 14.12436128f;
  k.epoch_rev = 60368;
}

}  // namespace

// Which elements bind a picture: the file's set of the header's epoch (equal
// as floats) or a newer one in double precision, else the header's; no
// elements anywhere or no valid time: no orbit.
TEST(OrbitBinding, ElementChoice) {
  PrefsGuard g;
  prefs.precise_geolocation = 1;
  testutil::TempDir d;
  const std::string tle = write_tle(d);
  struct Row {
    const char* what;
    bool header;
    double header_day;  // header epoch day (stored as a float)
    const char* file;   // element file, "" for none
    const char* sat;
    int want;  // ORBIT_ELEM_*
  } rows[] = {
      {"same epoch as the file within float precision", true, 300.85690046, "tle", "NOAA 19",
       ORBIT_ELEM_FILE},
      {"newer set in the file", true, 299.5, "tle", "NOAA 19", ORBIT_ELEM_FILE},
      {"older set in the file", true, 301.5, "tle", "NOAA 19", ORBIT_ELEM_HEADER},
      {"satellite not in the file", true, 300.85690046, "tle", "NOAA 18", ORBIT_ELEM_HEADER},
      {"no header elements", false, 0, "tle", "NOAA 19", ORBIT_ELEM_FILE},
      {"no elements anywhere", false, 0, "", "NOAA 19", ORBIT_ELEM_NONE},
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(r.what);
    dtest::PicPtr pic = make_pass({kEpochUnix + 3600.0});
    pava::copy_text(pic->sat_name, r.sat);
    if (r.header) set_header_elements(pic.get(), r.header_day);
    const std::string f = *r.file ? tle : d.file("missing.txt");
    int bound = bind_picture_orbit(pic.get(), f.c_str());
    EXPECT_EQ(pic->orbit.elements, r.want);
    EXPECT_EQ(bound, r.want != ORBIT_ELEM_NONE);
    EXPECT_EQ(pic->orbit.valid, bound);
    const std::string text = pic->orbit.elements_text;
    if (r.want == ORBIT_ELEM_FILE) {
      EXPECT_NE(text.find("element file"), std::string::npos) << text;
      // Double-precision epoch of the file kept.
      EXPECT_DOUBLE_EQ(pic->kepler.epoch_day, 300.85690046);
    }
    EXPECT_TRUE(r.want != ORBIT_ELEM_HEADER || text.find("recording header") != std::string::npos)
        << text;
  }
  // Without a valid time nothing is bound, whatever the elements.
  dtest::PicPtr c = make_pass({kEpochUnix + 3600.0});
  c->valid_time = 0;
  EXPECT_EQ(bind_picture_orbit(c.get(), tle.c_str()), 0);
  EXPECT_EQ(c->orbit.valid, 0);
  EXPECT_EQ(pic_line(c.get(), 0)->pos, nullptr);  // no positions paid for
}

// offset_sec moves the positions as a later line time would; offset_lon
// shifts longitudes only; the precise model keeps both.
TEST(OrbitBinding, OffsetsInPreciseModel) {
  PrefsGuard g;
  prefs.precise_geolocation = 1;
  testutil::TempDir d;
  dtest::PicPtr a = make_pass({kEpochUnix + 3600.0});
  dtest::PicPtr b = make_pass({kEpochUnix + 3605.0});
  ASSERT_EQ(bind_picture_orbit(a.get(), write_tle(d).c_str()), 1);
  ASSERT_EQ(bind_picture_orbit(b.get(), write_tle(d).c_str()), 1);
  a->orbit.offset_sec = 5;
  ASSERT_EQ(add_subsatpos(a.get()), 1);
  a->orbit.offset_lon = 1.5f;
  for (int x : {0, 1024, 2047}) {
    EPOINT pa{}, pb{};
    xy2lonlat(x, 0, nullptr, a.get(), &pa);
    xy2lonlat(x, 0, nullptr, b.get(), &pb);
    EXPECT_NEAR(pa.lat, pb.lat, 1e-6);
    EXPECT_NEAR(std::remainder(pa.lon - pb.lon, 2 * M_PI), 1.5 * M_PI / 180, 1e-5);
  }
}
