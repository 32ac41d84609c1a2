// The SGP4 model's refusals and time helpers, satellite positions, look
// angles, X/Y mount angles and rotor targets.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "orbit/sgp4.h"
#include "orbit/sunmoon.h"
#include "orbit_testutil.h"

namespace {

using namespace orbit_test;

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

TEST(OrbitConstants, PeriodHeightAndZeroMotion) {
  SAT* s = weather("NOAA 19");
  EXPECT_NEAR(s->orbit.loop_time, 86400.0 / 14.12436128, 1e-2);
  EXPECT_NEAR(s->orbit.height, 850e3, 15e3);  // NOAA 19: about 850 km
  Remove_Sat(s);
  // Zero motion leaves period and height as they were.
  KEPLER k{};
  ORBIT o{};
  o.loop_time = 1234.0f;
  o.height = 5678.0f;
  EXPECT_EQ(calc_orbitconst_v2(&k, &o), 1);
  EXPECT_TRUE(o.loop_time == 1234.0f && o.height == 5678.0f && !k.sgp4_ready);
  // Without model state the position stays as it was.
  EPOINT xyz{1, 2, 3, 4, 5, 6};
  struct tm t = utc(2020, 10, 27);
  EXPECT_NE(calc_sat_earth_v2(&t, 0, &k, &o, nullptr, &xyz, nullptr), 0);
  EXPECT_EQ(xyz.x, 1.0f);
}

TEST(OrbitConstants, KeplerToTleUsesTheWrittenPi) {
  KEPLER k{};
  k.epoch_year = 120, k.epoch_day = 1.5, k.motion = 14.0f, k.decay_rate = 1e-6f;
  k.inclination = 1.7f, k.eccentricity = 0.001f, k.epoch_rev = 42;
  tle_t t{};
  kepler2tle(&k, &t);
  EXPECT_DOUBLE_EQ(t.epoch, 2458849.5 + 0.5);
  EXPECT_DOUBLE_EQ(t.xno, 2.0 * 3.14159265 * 14.0 / 1440.0);
  EXPECT_DOUBLE_EQ(t.xndt2o, 2.0 * 3.14159265 * static_cast<double>(1e-6f) / 2.0736e6);
  EXPECT_DOUBLE_EQ(t.xincl, static_cast<double>(1.7f));
  EXPECT_EQ(t.revolution_number, 42);
}

TEST(SubSatellitePoint, DateLineStaysInsideMinusPiPi) {
  const double jd = 2459150.0;
  const double th = ThetaG_JD(jd);
  // Points straddling longitude 180 and the wrap constant 6.2831853, which is
  // a little short of 2 pi.
  for (double lon_deg : {179.9999, 180.0, -179.9999, -180.0, 180.00001, 0.0, 90.0}) {
    const double a = th + lon_deg * kDeg;
    EPOINT p{};
    orbit_subsat_point(7000.0 * std::cos(a), 7000.0 * std::sin(a), 100.0, jd, &p);
    EXPECT_LE(p.lon, static_cast<float>(M_PI)) << lon_deg;
    EXPECT_GE(p.lon, static_cast<float>(-M_PI)) << lon_deg;
    const double want = std::remainder(lon_deg, 360.0) * kDeg;
    EXPECT_NEAR(std::remainder(p.lon - want, 2 * M_PI), 0.0, 1e-6) << lon_deg;
    EXPECT_NEAR(p.lat, std::asin(100.0 / std::hypot(7000.0, 100.0)), 1e-6);
  }
}

TEST(LookAngles, ZenithAndHorizonGeometry) {
  // An object straight above the observer on the ellipsoid normal.
  const EPOINT obs = observer(52, 5);
  struct tm t = utc(2020, 10, 27, 1, 2, 3);
  const double jd = orbit_julian_date(&t, 0);
  double o[3];
  orbit_observer_xyz(&obs, jd, o);
  const double th = ThetaG_JD(jd) + obs.lon;
  const double up[3] = {std::cos(obs.lat) * std::cos(th), std::cos(obs.lat) * std::sin(th),
                        std::sin(obs.lat)};
  EPOINT sat{};
  auto place = [&](const double* dir, double n, double u) {
    sat.x = float(o[0] + n * dir[0] + u * up[0]);
    sat.y = float(o[1] + n * dir[1] + u * up[1]);
    sat.z = float(o[2] + n * dir[2] + u * up[2]);
  };
  place(up, 0, 800.0);
  DIRECTION d{};
  calceleazim_v2(0, &t, &sat, &obs, &d);
  EXPECT_NEAR(d.elev, M_PI / 2, 1e-3);
  EXPECT_NEAR(d.dist, 800.0, 1e-2);
  // North of the observer along the meridian: azimuth 0 (or 2 pi).
  const double north[3] = {-std::sin(obs.lat) * std::cos(th), -std::sin(obs.lat) * std::sin(th),
                           std::cos(obs.lat)};
  place(north, 500.0, 100.0);
  calceleazim_v2(0, &t, &sat, &obs, &d);
  EXPECT_NEAR(std::remainder(d.azim, 2 * M_PI), 0.0, 1e-4);
  EXPECT_NEAR(d.elev, std::atan2(100.0, 500.0), 1e-4);
}

TEST(LookAngles, SphericalFormula) {
  EPOINT obs{};
  obs.lat = static_cast<float>(10 * kDeg);
  // Object right above: elevation 90.
  DIRECTION d{};
  EPOINT sub = obs;
  double dist = calceleazim_v1(1000e3, &sub, &obs, &d);
  EXPECT_NEAR(dist, 1000e3, 1.0);
  EXPECT_NEAR(d.elev, M_PI / 2, 1e-4);
  // Far object due east on the equator, seen from the equator: azimuth 90,
  // west: 270 (the negative longitude difference mirrors it).
  obs.lat = 0;
  sub = EPOINT{};
  sub.lon = static_cast<float>(20 * kDeg);
  calceleazim_v1(1.5e11, &sub, &obs, &d);
  EXPECT_NEAR(d.azim, M_PI / 2, 1e-4);
  EXPECT_NEAR(d.elev, M_PI / 2 - 20 * kDeg, 1e-3);
  sub.lon = static_cast<float>(-20 * kDeg);
  calceleazim_v1(1.5e11, &sub, &obs, &d);
  EXPECT_NEAR(d.azim, 3 * M_PI / 2, 1e-4);
}

TEST(Positions, ForcedPositionAndSun) {
  SAT* s = weather("NOAA 19");
  struct tm t = utc(2020, 10, 27, 12);
  s->do_forcepos = 1;
  s->forced_pos.lon = 0.25f;
  s->forced_pos.lat = -0.5f;
  EPOINT sub{};
  ASSERT_EQ(calc_onepos(s, &t, 0, &sub, nullptr), 0);
  EXPECT_TRUE(sub.lon == 0.25f && sub.lat == -0.5f);
  // The sun standing in for a satellite: the sub-solar point.
  s->do_forcepos = 0;
  s->type = sun;
  ASSERT_EQ(calc_onepos(s, &t, 0, &sub, nullptr), 0);
  const EPOINT ss = calc_sun(&t);
  EXPECT_TRUE(sub.lon == ss.lon && sub.lat == ss.lat);
  // Seen from the sub-solar point the sun is in the zenith.
  EPOINT obs{};
  obs.lon = ss.lon;
  obs.lat = ss.lat;
  const tm_s ts{t, 0};
  DIRECTION d{};
  calc_satrelpos(nullptr, &d, &obs, s, &ts);
  EXPECT_NEAR(d.elev, M_PI / 2, 1e-3);
  // The moon: sub-lunar point from its declination, height about 60 earth radii.
  s->type = moon;
  double h = 0;
  ASSERT_EQ(calc_onepos(s, &t, 0, &sub, nullptr, &h), 0);
  EXPECT_TRUE(h > 340000e3 && h < 410000e3) << h;
  EXPECT_TRUE(s->m_ilum >= 0 && s->m_ilum <= 200) << s->m_ilum;
  Remove_Sat(s);
}

TEST(MountAngles, FormulasAndZeroDirections) {
  struct Row {
    double elev, azim;  // degrees
    int x_at_disc, x_west_is_0, y_south_is_0;
    double x, y;  // degrees expected
    const char* why;
  } rows[] = {
      {89.9, 0, 0, 0, 0, 90, 89.9, "near the zenith, north: both axes nearly upright"},
      {89.9, 90, 1, 1, 1, 90.1, 90, "near the zenith, east, X at the dish, from west"},
      {45, 90, 0, 0, 0, 45, 90, "east at 45: X tilts east"},
      {45, 90, 0, 1, 0, 135, 90, "X counted from the west"},
      {45, 0, 0, 0, 0, 90, 45, "north at 45: Y tilts north"},
      {45, 0, 0, 0, 1, 90, 135, "Y counted from the south"},
      {45, 0, 1, 0, 0, 90, 45, "X at the dish, north"},
      {45, 90, 1, 0, 0, 45, 90, "X at the dish, east"},
      {45, 90, -1, 0, 0, 45, 90, "no rotor: the second formula with subtractions"},
  };
  for (const Row& r : rows) {
    ROTOR rot{};
    rot.x_at_disc = r.x_at_disc;
    rot.x_west_is_0 = r.x_west_is_0;
    rot.y_south_is_0 = r.y_south_is_0;
    DIRECTION d{};
    d.elev = static_cast<float>(r.elev * kDeg);
    d.azim = static_cast<float>(r.azim * kDeg);
    elevazim2xy(&d, r.x_at_disc < 0 ? nullptr : &rot);
    EXPECT_TRUE(std::fabs(d.x / kDeg - r.x) < 1e-3 && std::fabs(d.y / kDeg - r.y) < 1e-3)
        << r.why << ": " << d.x / kDeg << "," << d.y / kDeg;
  }
}

TEST(RotorTarget, HorizonEqualityOffsetsAndAzimuthWrap) {
  ROTOR rot{};
  DIRECTION dir{};
  const float horiz = static_cast<float>(5 * kDeg);
  // Elevation exactly at the horizon counts as visible.
  dir.elev = horiz;
  dir.azim = static_cast<float>(359 * 3.14159265 / 180);
  rot.offset.azim = 5;
  EXPECT_EQ(calc_rotpos(&dir, 1, &rot, horiz, 1.0f), 1);
  EXPECT_NEAR(rot.to_rotor.azim, 4.0f, 1e-3) << "359 + 5 is sent as 4";
  EXPECT_NEAR(rot.to_rotor.elev, 5.0f, 1e-3);
  dir.azim = static_cast<float>(2 * 3.14159265 / 180);
  EXPECT_EQ(calc_rotpos(&dir, 1, &rot, horiz, 1.0f), 1);
  EXPECT_NEAR(rot.to_rotor.azim, 7.0f, 1e-3);
  rot.offset.azim = -5;
  EXPECT_EQ(calc_rotpos(&dir, 1, &rot, horiz, 1.0f), 1);
  EXPECT_NEAR(rot.to_rotor.azim, 357.0f, 1e-3) << "-3 becomes 357";
  // Below the horizon, or not tracking: elevation and azimuth park.
  rot.storm.elev = 90;
  rot.storm.azim = 180;
  rot.offset.azim = 0;
  dir.elev = horiz - 1e-6f;
  EXPECT_EQ(calc_rotpos(&dir, 1, &rot, horiz, 1.0f), 0);
  EXPECT_TRUE(rot.to_rotor.elev == 90.0f && rot.to_rotor.azim == 180.0f);
  dir.elev = horiz;
  EXPECT_EQ(calc_rotpos(&dir, 0, &rot, horiz, 1.0f), 0);
}

TEST(RotorTarget, ParkCountdownAndOffsetAccumulation) {
  ROTOR rot{};
  rot.storm_wait_x = 10;
  rot.storm_wait_y = 0;
  rot.storm = DIRECTION{};
  rot.storm.elev = 80;
  rot.storm.azim = 200;
  rot.storm.x = 90;
  rot.storm.y = 91;
  rot.offset.x = 0.5f;
  DIRECTION dir{};
  dir.elev = static_cast<float>(30 * kDeg);
  dir.azim = static_cast<float>(100 * kDeg);
  elevazim2xy(&dir, &rot);
  const float horiz = 0.0f;
  ASSERT_EQ(calc_rotpos(&dir, 1, &rot, horiz, 1.0f), 1);  // tracking re-arms the countdowns
  const float held_x = rot.to_rotor.x;
  dir.elev = static_cast<float>(-1 * kDeg);
  for (int tick = 1; tick <= 10; tick++) {
    EXPECT_EQ(calc_rotpos(&dir, 1, &rot, horiz, 1.0f), -1) << "tick " << tick;
    // Elevation, azimuth and the Y axis (no wait) park at once.
    EXPECT_TRUE(rot.to_rotor.elev == 80 && rot.to_rotor.azim == 200 && rot.to_rotor.y == 91);
    // The X axis is held, and takes the X offset once more on every tick.
    EXPECT_NEAR(rot.to_rotor.x, held_x + 0.5f * tick, 1e-4) << "tick " << tick;
  }
  // The eleventh idle tick parks X.
  EXPECT_EQ(calc_rotpos(&dir, 1, &rot, horiz, 1.0f), 0);
  EXPECT_NEAR(rot.to_rotor.x, 90.5f, 1e-4);
}
TEST(RangeRate, SignFollowsTheDistance) {
  SAT* s = weather("NOAA 19");
  const EPOINT obs = observer(52, 5);
  const tm_s a{utc(2020, 10, 27, 5, 35), 0};
  const tm_s b{utc(2020, 10, 27, 5, 35, 1), 0};
  DIRECTION da{}, db{};
  calc_satrelpos(nullptr, &da, &obs, s, &a);
  calc_satrelpos(nullptr, &db, &obs, s, &b);
  EXPECT_NEAR(da.velo, db.dist - da.dist, 0.02);
  Remove_Sat(s);
}

}  // namespace
