// The SGP4 model against the published verification output (tcppver.out of
// the revised reference implementation) for the near-earth element sets of
// SGP4-VER.TLE, and the model's time helpers.
#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <map>
#include <sstream>

#include "orbit/sgp4.h"
#include "orbit_testutil.h"
#include "support/testutil.h"

namespace {

struct RefRow {
  double t, x, y, z;
};

// tcppver.out: "<catalogue number> xx" starts a satellite, then rows of
// minutes since epoch, position (km) and velocity (km/s).
std::map<int, std::vector<RefRow>> read_reference(const std::string& path) {
  std::map<int, std::vector<RefRow>> out;
  std::ifstream in(path);
  std::string line;
  int cur = -1;
  while (std::getline(in, line)) {
    if (line.find("xx") != std::string::npos) {
      cur = std::atoi(line.c_str());
      out[cur].clear();  // a second run of the same satellite replaces the first
      continue;
    }
    std::istringstream ss(line);
    RefRow r;
    if (cur >= 0 && (ss >> r.t >> r.x >> r.y >> r.z)) out[cur].push_back(r);
  }
  return out;
}

TEST(Sgp4Verification, NearEarthCasesMatchPublishedOutput) {
  // The verification file appends start, stop and step to line 2, making it
  // longer than the reader accepts (99 characters): cut the element lines to
  // their 69 columns first.
  testutil::TempDir dir;
  {
    std::ifstream in(testutil::shared_path("testdata/sgp4/SGP4-VER.TLE"));
    std::ofstream out(dir.file("ver.tle"));
    std::string line;
    while (std::getline(in, line))
      out << (line[0] == '1' || line[0] == '2' ? line.substr(0, 69) : line) << "\n";
  }
  auto sets = orbit_test::read_all(dir.file("ver.tle"));
  auto ref = read_reference(testutil::shared_path("testdata/sgp4/tcppver.out"));
  ASSERT_GE(sets.size(), 30u);
  int compared = 0, sats = 0;
  double worst_1d = 0.0, worst_3d = 0.0;
  for (const KEPLER& k : sets) {
    // Near-earth: period below 225 minutes.
    if (k.tle.xno * 1440.0 / (2.0 * M_PI) < 1440.0 / 225.0) continue;
    auto it = ref.find(k.tle.norad_number);
    if (it == ref.end()) continue;
    ASSERT_TRUE(k.sgp4_ready) << k.tle.norad_number;
    sats++;
    for (const RefRow& r : it->second) {
      double pos[3];
      ASSERT_EQ(sgp4_propagate(k.sgp4_params, r.t, pos, nullptr), SGP4_OK)
          << k.tle.norad_number << " t=" << r.t;
      const double d = std::sqrt((pos[0] - r.x) * (pos[0] - r.x) + (pos[1] - r.y) * (pos[1] - r.y) +
                                 (pos[2] - r.z) * (pos[2] - r.z));
      if (std::fabs(r.t) <= 1440.0) {
        EXPECT_LE(d, 0.1) << "sat " << k.tle.norad_number << " t=" << r.t;
        worst_1d = std::max(worst_1d, d);
      } else if (std::fabs(r.t) <= 4320.0) {
        EXPECT_LE(d, 1.0) << "sat " << k.tle.norad_number << " t=" << r.t;
        worst_3d = std::max(worst_3d, d);
      }
      compared++;
    }
  }
  EXPECT_GE(sats, 9);
  EXPECT_GE(compared, 150);
  std::printf(
      "near-earth verification: %d satellites, %d rows, largest difference %.6f km "
      "(<= 1 day), %.6f km (<= 3 days)\n",
      sats, compared, worst_1d, worst_3d);
}

TEST(Sgp4Model, RejectsImpossibleElements) {
  struct Row {
    double eo, xno;
    int expect;
    const char* why;
  } rows[] = {
      {1.2, 0.06, SGP4_ERR_ECC, "hyperbolic"},
      {-0.1, 0.06, SGP4_ERR_ECC, "negative eccentricity"},
      {NAN, 0.06, SGP4_ERR_ECC, "not a number"},
      {0.001, 0.0, SGP4_ERR_MOTION, "no mean motion"},
      {0.001, -1.0, SGP4_ERR_MOTION, "negative mean motion"},
      {0.001, 0.06, SGP4_OK, "a plain low orbit"},
  };
  for (const Row& r : rows) {
    tle_t t{};
    t.eo = r.eo;
    t.xno = r.xno;
    t.xincl = 1.7;
    double state[SGP4_NPARAMS];
    EXPECT_EQ(sgp4_init(&t, state), r.expect) << r.why;
  }
}

TEST(Sgp4Model, DecayedOrbitReportsErrorWithoutCrash) {
  // Very high drag: the semi-major axis collapses after some days.
  tle_t t{};
  t.eo = 0.001;
  t.xno = 2.0 * M_PI * 16.0 / 1440.0;
  t.xincl = 1.0;
  t.bstar = 0.5;
  double state[SGP4_NPARAMS];
  ASSERT_EQ(sgp4_init(&t, state), SGP4_OK);
  double pos[3] = {1, 2, 3};
  const int rc = sgp4_propagate(state, 100000.0, pos, nullptr);
  EXPECT_NE(rc, SGP4_OK);
  EXPECT_EQ(pos[0], 1.0);  // outputs untouched on failure
}

TEST(OrbitTime, JulianDateAndSiderealAngle) {
  struct tm j2000 = orbit_test::utc(2000, 1, 1, 12);
  EXPECT_DOUBLE_EQ(orbit_julian_date(&j2000, 0), 2451545.0);
  EXPECT_NEAR(orbit_julian_date(&j2000, 500), 2451545.0 + 0.5 / 86400.0, 1e-9);
  // GMST at J2000.0 is 18h 41m 50.54841s = 280.46061837 degrees.
  EXPECT_NEAR(ThetaG_JD(2451545.0) * 180.0 / M_PI, 280.46061837, 1e-6);
  // Meeus example 12.a: 1987-04-10 0h UT, GMST 13h 10m 46.3668s.
  EXPECT_NEAR(ThetaG_JD(2446895.5) * 12.0 / M_PI, 13.0 + 10.0 / 60 + 46.3668 / 3600, 1e-6);
  EXPECT_DOUBLE_EQ(Modulus(-1.0, 360.0), 359.0);
  EXPECT_DOUBLE_EQ(Modulus(725.0, 360.0), 5.0);
  EXPECT_GE(Modulus(-1e-18, 2 * M_PI), 0.0);
  EXPECT_LT(Modulus(-1e-18, 2 * M_PI), 2 * M_PI);
}

}  // namespace
