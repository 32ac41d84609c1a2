// Sun: the low-precision formulas of the Astronomical Almanac (good to about
// 0.01 degree between 1950 and 2050), in single precision.
// Moon: Meeus, "Astronomical Algorithms", chapter 47, first-edition mean
// elements with the largest periodic terms of tables 47.A and 47.B (a few
// hundredths of a degree), then made equatorial and topocentric.
#include "orbit/sunmoon.h"

#include <cmath>

#include "common/timeutil.h"
#include "orbit/sgp4.h"

namespace {

constexpr float kPiF = 3.14159265f;
constexpr double kPi = 3.141592653589793;
constexpr double kDeg = kPi / 180.0;

// Reduces x into [0, m) (the same as repeated subtraction or addition of m).
float reduce(float x, float m) {
  float r = std::fmod(x, m);
  if (r < 0.0f) r += m;
  if (r >= m) r -= m;
  return r;
}

// ---- Moon ----------------------------------------------------------------

// One periodic term: multiples of D (elongation), M (sun's anomaly), M'
// (moon's anomaly), F (argument of latitude) and its coefficient(s).
struct LonDistTerm {
  signed char d, m, mp, f;
  int lon;   // sine coefficient of longitude, 1e-6 degree
  int dist;  // cosine coefficient of distance, metres
};
struct LatTerm {
  signed char d, m, mp, f;
  int lat;  // sine coefficient of latitude, 1e-6 degree
};

// The largest terms of table 47.A (longitude and distance).
constexpr LonDistTerm kLonDist[] = {
    {0, 0, 1, 0, 6288774, -20905355}, {2, 0, -1, 0, 1274027, -3699111},
    {2, 0, 0, 0, 658314, -2955968},   {0, 0, 2, 0, 213618, -569925},
    {0, 1, 0, 0, -185116, 48888},     {0, 0, 0, 2, -114332, -3149},
    {2, 0, -2, 0, 58793, 246158},     {2, -1, -1, 0, 57066, -152138},
    {2, 0, 1, 0, 53322, -170733},     {2, -1, 0, 0, 45758, -204586},
    {0, 1, -1, 0, -40923, -129620},   {1, 0, 0, 0, -34720, 108743},
    {0, 1, 1, 0, -30383, 104755},     {2, 0, 0, -2, 15327, 0},
    {0, 0, 1, 2, -12528, 0},          {0, 0, 1, -2, 10980, 79661},
};

// The largest terms of table 47.B (latitude).
constexpr LatTerm kLat[] = {
    {0, 0, 0, 1, 5128122}, {0, 0, 1, 1, 280602},  {0, 0, 1, -1, 277693}, {2, 0, 0, -1, 173237},
    {2, 0, -1, 1, 55413},  {2, 0, -1, -1, 46271}, {2, 0, 0, 1, 32573},   {0, 0, 2, 1, 17198},
    {2, 0, 1, -1, 9266},   {0, 0, 2, -1, 8822},   {2, -1, 0, -1, 8216},  {2, 0, -2, -1, 4324},
};

double range_deg(double deg) {
  double r = std::fmod(deg, 360.0);
  if (r < 0.0) r += 360.0;
  return r;
}

// atan2 into [0, 2pi).
double atan22(double y, double x) { return rangerad(std::atan2(y, x)); }

// Mean obliquity of the ecliptic, radians, T centuries from J2000.
double epsilon(double t) { return (23.4392911111111 - 46.815 * t / 3600.0) * kDeg; }

// Greenwich sidereal angle, radians.
double gst(double jd) { return ThetaG_JD(jd); }

// Geocentric ecliptic longitude, latitude (radians) and distance (earth radii).
void moonpos(double t, double* lambda, double* beta, double* dist_er) {
  const double lp = range_deg(218.3164591 + 481267.88134236 * t);
  const double d = range_deg(297.8502042 + 445267.1115168 * t) * kDeg;
  const double m = range_deg(357.5291092 + 35999.0502909 * t) * kDeg;
  const double mp = range_deg(134.9634114 + 477198.8676313 * t + 0.008997 * t * t) * kDeg;
  const double f = range_deg(93.2720993 + 483202.0175273 * t - 0.0034029 * t * t) * kDeg;
  const double e = 1.0 - 0.002516 * t;  // decreasing eccentricity of the earth's orbit
  double sl = 0.0, sr = 0.0, sb = 0.0;
  for (const LonDistTerm& x : kLonDist) {
    const double arg = x.d * d + x.m * m + x.mp * mp + x.f * f;
    const double ef = x.m == 0 ? 1.0 : (x.m == 1 || x.m == -1 ? e : e * e);
    sl += ef * x.lon * std::sin(arg);
    sr += ef * x.dist * std::cos(arg);
  }
  for (const LatTerm& x : kLat) {
    const double arg = x.d * d + x.m * m + x.mp * mp + x.f * f;
    const double ef = x.m == 0 ? 1.0 : (x.m == 1 || x.m == -1 ? e : e * e);
    sb += ef * x.lat * std::sin(arg);
  }
  *lambda = range_deg(lp + sl / 1.0e6) * kDeg;
  *beta = sb / 1.0e6 * kDeg;
  *dist_er = (385000.56 + sr / 1000.0) / 6378.135;
}

// Ecliptic (lambda, beta) into equatorial (alpha, delta) with obliquity eps.
void equatorial(double lambda, double beta, double eps, double* alpha, double* delta) {
  *alpha =
      atan22(std::sin(lambda) * std::cos(eps) - std::tan(beta) * std::sin(eps), std::cos(lambda));
  *delta =
      std::asin(std::sin(beta) * std::cos(eps) + std::cos(beta) * std::sin(eps) * std::sin(lambda));
}

// Geocentric (alpha, delta, dist in earth radii) into topocentric for an
// observer on a spherical earth at latitude lat whose local sidereal angle is
// lst: subtract the observer's position vector.
void topo(double* alpha, double* delta, double dist, double lst, double lat) {
  const double x = dist * std::cos(*delta) * std::cos(*alpha) - std::cos(lat) * std::cos(lst);
  const double y = dist * std::cos(*delta) * std::sin(*alpha) - std::cos(lat) * std::sin(lst);
  const double z = dist * std::sin(*delta) - std::sin(lat);
  *alpha = atan22(y, x);
  *delta = std::atan2(z, std::sqrt(x * x + y * y));
}

// Geocentric ecliptic longitude (radians) and distance (astronomical units) of
// the sun, Meeus chapter 25 (low accuracy).
void sunpos(double t, double* lambda, double* dist_au) {
  const double l0 = 280.46646 + 36000.76983 * t;
  const double m = (357.52911 + 35999.05029 * t) * kDeg;
  const double c = (1.914602 - 0.004817 * t) * std::sin(m) +
                   (0.019993 - 0.000101 * t) * std::sin(2.0 * m) + 0.000289 * std::sin(3.0 * m);
  const double e = 0.016708634 - 0.000042037 * t;
  const double nu = m + c * kDeg;
  *lambda = range_deg(l0 + c) * kDeg;
  *dist_au = 1.000001018 * (1.0 - e * e) / (1.0 + e * std::cos(nu));
}

// Elongation of the moon from the sun as seen from the earth: the first
// result, sin(lambda_moon - lambda_sun), is positive while the moon waxes.
double libration(double lambda_moon, double lambda_sun, double* elong_cos_lon) {
  const double dl = lambda_moon - lambda_sun;
  if (elong_cos_lon) *elong_cos_lon = std::cos(dl);
  return std::sin(dl);
}

// Illumination code from the moon's and sun's equatorial positions and
// distances: k = (1 + cos i)/2 with the phase angle i from the elongation psi.
int illumination(double ra_m, double dec_m, double dist_er, double lambda_m, double ra_s,
                 double dec_s, double dist_au, double lambda_s) {
  const double cospsi =
      std::sin(dec_s) * std::sin(dec_m) + std::cos(dec_s) * std::cos(dec_m) * std::cos(ra_s - ra_m);
  const double psi = std::acos(cospsi > 1.0 ? 1.0 : (cospsi < -1.0 ? -1.0 : cospsi));
  const double q = dist_er / dist_au * 4.26352325194252e-05;  // earth radius in AU
  const double i = std::atan2(std::sin(psi), q - std::cos(psi));
  const double k = (1.0 + std::cos(i)) / 2.0;
  int code = static_cast<int>(100.0 * k);
  const double wax = libration(lambda_m, lambda_s, nullptr);
  if (wax < 0.0) code = 200 - code;
  return code;
}

// Julian centuries of dynamical time from J2000 for a UTC Julian date: the
// mean elements run on dynamical time, ahead of UTC by delta T (about 64 s in
// 2000, 69 s in 2020; Espenak and Meeus' polynomial for 2005-2050, good to a
// second or two over 1990-2050). The moon moves 0.5" per second of time.
double julian_centuries(double jd) {
  const double y = 2000.0 + (jd - 2451545.0) / 365.25 - 2000.0;
  const double delta_t = 62.92 + 0.32217 * y + 0.005589 * y * y;
  return (jd + delta_t / 86400.0 - 2451545.0) / 36525.0;
}

}  // namespace

// ---- Sun -------------------------------------------------------------------

float range(float deg) { return reduce(deg, 360.0f); }

double rangerad(double rad) {
  double r = std::fmod(rad, 6.28318530717959);
  if (r < 0.0) r += 6.28318530717959;
  return r;
}

float astronomersAlmanacTime(const struct tm* time) {
  struct tm t = *time;
  struct tm j2000 {};
  j2000.tm_year = 100;
  j2000.tm_mday = 1;
  j2000.tm_hour = 12;
  const double secs = difftime(pava::mktime_utc(&t), pava::mktime_utc(&j2000));
  return static_cast<float>(secs / 86400.0);
}

float hourOfDay(const struct tm* time) {
  return time->tm_hour + time->tm_min / 60.0f + time->tm_sec / 3600.0f;
}

float meanLongitudeDegrees(float d) { return range(280.46f + 0.9856474f * d); }

float meanAnomalyRadians(float d) { return range(357.528f + 0.9856003f * d) * kPiF / 180.0f; }

float eclipticLongitudeRadians(float l, float g) {
  return range(l + 1.915f * std::sin(g) + 0.02f * std::sin(2.0f * g)) * kPiF / 180.0f;
}

float eclipticObliquityRadians(float d) { return (23.439f - 0.0000004f * d) * kPiF / 180.0f; }

float rightAscensionRadian(float eps, float lambda) {
  return std::atan2(std::cos(eps) * std::sin(lambda), std::cos(lambda));
}

float rightDeclinationRadians(float eps, float lambda) {
  return std::asin(std::sin(eps) * std::sin(lambda));
}

float greenwichMeanSiderealTimeHours(float d, float hour) {
  return reduce(6.697375f + 0.0657098242f * d + hour, 24.0f);
}

float localMeanSiderealTimeRadians(float gmst, float lon_deg) {
  return reduce(gmst + lon_deg / 15.0f, 24.0f) * 15.0f * kPiF / 180.0f;
}

float hourAngleRadians(float lmst, float ra) {
  float h = kPiF + lmst - ra;
  while (h >= 6.2831853f) h -= 6.2831853f;
  return h - kPiF;
}

EPOINT calc_sun(const struct tm* time) {
  struct tm t = *time;
  pava::mktime_utc(&t);
  const float d = astronomersAlmanacTime(&t);
  const float h = hourOfDay(&t);
  const float l = meanLongitudeDegrees(d);
  const float g = meanAnomalyRadians(d);
  const float lambda = eclipticLongitudeRadians(l, g);
  const float eps = eclipticObliquityRadians(d);
  const float ra = rightAscensionRadian(eps, lambda);
  const float dec = rightDeclinationRadians(eps, lambda);
  const float gmst = greenwichMeanSiderealTimeHours(d, h);
  const float lmst = localMeanSiderealTimeRadians(gmst, 0.0f);
  const float ha = hourAngleRadians(lmst, ra);
  EPOINT p{};
  p.lon = -ha;
  p.lat = dec;
  return p;
}

// ---- Moon --------------------------------------------------------------------

void moon_geocentric(const struct tm* time, double* ra, double* dec, double* dist_er, int* pill) {
  const double jd = orbit_julian_date(time, 0);
  const double t = julian_centuries(jd);
  double lambda, beta;
  moonpos(t, &lambda, &beta, dist_er);
  const double eps = epsilon(t);
  equatorial(lambda, beta, eps, ra, dec);
  if (pill) {
    double sl, sr, sra, sdec;
    sunpos(t, &sl, &sr);
    equatorial(sl, 0.0, eps, &sra, &sdec);
    *pill = illumination(*ra, *dec, *dist_er, lambda, sra, sdec, sr, sl);
  }
}

EPOINT calc_moon(const struct tm* time, int* pill, const EPOINT* refpos) {
  double ra, dec, dist;
  moon_geocentric(time, &ra, &dec, &dist, pill);
  const double lat = refpos ? refpos->lat : 0.0;
  // The local sidereal angle takes the observer's latitude where a longitude
  // would be expected; kept on purpose.
  const double lst = gst(orbit_julian_date(time, 0)) + lat;
  topo(&ra, &dec, dist, lst, lat);
  EPOINT p{};
  p.lon = static_cast<float>(ra);
  p.lat = static_cast<float>(dec);
  return p;
}
