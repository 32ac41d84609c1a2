// Sun and moon: the almanac steps of the sun, the moon's topocentric step with
// its latitude-for-longitude substitution, the illumination code.
#include <gtest/gtest.h>

#include <cmath>

#include "orbit/sgp4.h"
#include "orbit/sunmoon.h"
#include "orbit_testutil.h"

namespace {

using orbit_test::kDeg;

TEST(Sun, AlmanacStepsAtJ2000) {
  struct tm t = orbit_test::utc(2000, 1, 1, 12);
  const float d = astronomersAlmanacTime(&t);
  EXPECT_EQ(d, 0.0f);
  EXPECT_FLOAT_EQ(meanLongitudeDegrees(d), 280.46f);
  EXPECT_FLOAT_EQ(hourOfDay(&t), 12.0f);
  EXPECT_FLOAT_EQ(greenwichMeanSiderealTimeHours(0.0f, 12.0f), 18.697375f);
  // Before 2000 the angles wrap into their ranges from below.
  EXPECT_FLOAT_EQ(range(-30.0f), 330.0f);
  EXPECT_DOUBLE_EQ(rangerad(-1.0), 6.28318530717959 - 1.0);
}

TEST(Moon, ObserverLongitudeIsNotUsedLatitudeIs) {
  struct tm t = orbit_test::utc(2021, 3, 4, 5, 6, 7);
  int a = 0, b = 0;
  // Without an observer: the place for latitude 0 (the ephem oracle checks
  // that one); the observer's longitude has no effect.
  const EPOINT none = calc_moon(&t, &a, nullptr);
  EPOINT obs{};
  obs.lon = static_cast<float>(100 * kDeg);
  const EPOINT eq = calc_moon(&t, &b, &obs);
  EXPECT_TRUE(none.lon == eq.lon && none.lat == eq.lat && a == b);
  // At latitude 30 the sidereal angle is the Greenwich one plus 30 degrees.
  double ra, dec, dist;
  moon_geocentric(&t, &ra, &dec, &dist, nullptr);
  const double th = ThetaG_JD(orbit_julian_date(&t, 0));
  obs.lat = static_cast<float>(30 * kDeg);
  const EPOINT north = calc_moon(&t, nullptr, &obs);
  const double phi = static_cast<double>(obs.lat), lst = th + phi;
  const double x = dist * std::cos(dec) * std::cos(ra) - std::cos(phi) * std::cos(lst);
  const double y = dist * std::cos(dec) * std::sin(ra) - std::cos(phi) * std::sin(lst);
  const double z = dist * std::sin(dec) - std::sin(phi);
  EXPECT_NEAR(rangerad(north.lon), rangerad(std::atan2(y, x)), 1e-6);
  EXPECT_NEAR(north.lat, std::atan2(z, std::hypot(x, y)), 1e-6);
}

TEST(Moon, IlluminationCodeThroughALunation) {
  struct Row {
    int mo, d, h, mi;
    int lo, hi;
    const char* why;
  } rows[] = {
      {10, 16, 19, 31, 0, 2, "new moon 2020-10-16 (0, or 200 just after)"},
      {10, 23, 13, 23, 47, 53, "first quarter: half lit, waxing"},
      {11, 8, 13, 46, 147, 153, "last quarter: half lit, waning"},
  };
  for (const Row& r : rows) {
    struct tm t = orbit_test::utc(2020, r.mo, r.d, r.h, r.mi);
    int ill = -1;
    calc_moon(&t, &ill, nullptr);
    if (r.lo == 0)
      EXPECT_TRUE(ill <= 2 || ill >= 198) << r.why << ": " << ill;
    else
      EXPECT_TRUE(ill >= r.lo && ill <= r.hi) << r.why << ": " << ill;
  }
}

}  // namespace
