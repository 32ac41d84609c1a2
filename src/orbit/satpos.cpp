#include "orbit/satpos.h"

#include <cmath>

#include "common/timeutil.h"
#include "orbit/satdb.h"
#include "orbit/sgp4.h"
#include "orbit/sunmoon.h"

namespace {

constexpr double kPiS = 3.14159265;  // pi as the element conversions write it
constexpr double kHalfPi = 1.570796325;
constexpr double kTwoPi = 6.283185307179586;
constexpr double kFlattening = 0.003352779454167505;  // WGS-72
constexpr double kEarthOmega = 7.292115146706979e-5;  // earth rotation, rad/s
constexpr double kAuKm = 149597870.7;
constexpr double kRad2Deg = 180.0 / kPiS;

// Whether precise elements read from the element text (t) still describe the
// single-precision fields (f, converted from them): then the text's precision
// is kept; after an edit of the fields they win.
bool same_elements(const tle_t& t, const tle_t& f) {
  auto close = [](double a, double b, double scale) {
    return std::fabs(a - b) <= 1.0e-6 * (std::fabs(b) + scale);
  };
  return std::fabs(t.epoch - f.epoch) < 1.0e-9 && close(t.xno, f.xno, 1.0e-6) &&
         close(t.eo, f.eo, 1.0e-7) && close(t.xincl, f.xincl, 1.0e-6) &&
         close(t.xnodeo, f.xnodeo, 1.0e-6) && close(t.omegao, f.omegao, 1.0e-6) &&
         close(t.xmo, f.xmo, 1.0e-6) && close(t.bstar, f.bstar, 1.0e-12);
}

// Julian date of a time + ms plus its normalised seconds since 1970.
double jd_of(const struct tm* time, int ms) { return orbit_julian_date(time, ms); }

// Direction from earth-fixed spherical coordinates at Julian date jd into TEME.
void ecef_dir_to_teme(double lon, double lat, double dist_km, double jd, double out[3]) {
  const double th = ThetaG_JD(jd) + lon;
  out[0] = dist_km * std::cos(lat) * std::cos(th);
  out[1] = dist_km * std::cos(lat) * std::sin(th);
  out[2] = dist_km * std::sin(lat);
}

// Park countdowns of the X and Y axes (one rotor per program).
int g_count_x = 0, g_count_y = 0;

}  // namespace

void kepler2tle(const KEPLER* k, tle_t* t) {
  const int y = k->epoch_year;
  t->epoch = 2415019.5 + ((y - 1) / 4 + 365.0 * y) + k->epoch_day;
  t->xno = 2.0 * kPiS * k->motion / 1440.0;
  t->xndt2o = 2.0 * kPiS * k->decay_rate / 2.0736e6;
  t->xndd6o = 2.0 * kPiS * k->decay_rate2 / 2.985984e9;
  t->bstar = k->bstar;
  t->xincl = k->inclination;
  t->xnodeo = k->raan;
  t->omegao = k->perigee;
  t->xmo = k->anomaly;
  t->eo = k->eccentricity;
  t->revolution_number = static_cast<int>(k->epoch_rev);
  t->ephemeris_type = k->ephemeris_type;
}

int calc_orbitconst_v2(KEPLER* kepler, ORBIT* orbit) {
  if (kepler->motion > 0.0f) {
    // Period from the mean motion, mean height from Kepler's third law:
    // a = R (T / (2 pi sqrt(R^3/GM)))^(2/3).
    orbit->loop_time = 86400.0f / kepler->motion;
    orbit->height = static_cast<float>(
        6378135.0 * (std::pow(orbit->loop_time / 6.2831853 / 806.8227510567486, 2.0 / 3.0) - 1.0));
  }
  tle_t from_fields = kepler->tle;
  kepler2tle(kepler, &from_fields);
  if (!same_elements(kepler->tle, from_fields)) kepler->tle = from_fields;
  kepler->sgp4_ready = sgp4_init(&kepler->tle, kepler->sgp4_params) == SGP4_OK;

  // The epoch as calendar time: day of year, then hours, minutes, seconds
  // successively from the fraction, each truncated.
  struct tm ref {};
  ref.tm_year = kepler->epoch_year;
  double day = kepler->epoch_day;
  if (!(day > -1.0e6 && day < 1.0e6)) day = 1.0;  // keep garbage within int range
  const int doy = static_cast<int>(day - 1.0);
  ref.tm_mday = 1 + doy;
  double f = (day - static_cast<int>(day)) * 24.0;
  ref.tm_hour = static_cast<int>(f);
  f = (f - ref.tm_hour) * 60.0;
  ref.tm_min = static_cast<int>(f);
  f = (f - ref.tm_min) * 60.0;
  ref.tm_sec = static_cast<int>(f);
  orbit->ref_time = static_cast<long>(pava::mktime_utc(&ref));
  orbit->ref_tm = ref;
  orbit->ref_ms = 0;
  struct tm now;
  mom_tm(&now, 0.0f, nullptr);
  orbit->data_age = static_cast<int>((pava::mktime_utc(&now) - orbit->ref_time) / 86400);
  return 1;
}

void orbit_subsat_point(double x, double y, double z, double jd, EPOINT* out) {
  const double r = std::sqrt(x * x + y * y + z * z);
  if (!(r > 0.0)) return;
  const double theta = Modulus(ThetaG_JD(jd), kTwoPi);
  double lon = -(std::atan2(x / r, y / r) + theta - kHalfPi);
  while (lon > M_PI) lon -= 6.2831853;
  while (lon < -M_PI) lon += 6.2831853;
  // 6.2831853 is a little short of 2 pi: keep the result inside [-pi, pi].
  if (lon > M_PI) lon = M_PI;
  if (lon < -M_PI) lon = -M_PI;
  out->lon = static_cast<float>(lon);
  out->lat = static_cast<float>(std::asin(z / r));
}

int calc_sat_earth_v2(const struct tm* time, int ms, KEPLER* kepler, ORBIT*, EPOINT* earth_out,
                      EPOINT* xyz_out, EPOINT* subsat_out) {
  const double jd = jd_of(time, ms);
  if (earth_out) {
    earth_out->lon = static_cast<float>(Modulus(ThetaG_JD(jd), kTwoPi) - kHalfPi);
    earth_out->lat = 0.0f;
  }
  if (!kepler->sgp4_ready) return -1;
  double pos[3];
  const int rc = orbit_teme_posvel(kepler, jd, pos, nullptr);
  if (rc != SGP4_OK) return rc;
  if (xyz_out) {
    xyz_out->x = static_cast<float>(pos[0]);
    xyz_out->y = static_cast<float>(pos[1]);
    xyz_out->z = static_cast<float>(pos[2]);
  }
  if (subsat_out) orbit_subsat_point(pos[0], pos[1], pos[2], jd, subsat_out);
  return 0;
}

void orbit_observer_xyz(const EPOINT* obs, double jd, double xyz[3]) {
  const double f = kFlattening;
  const double a = SGP4_XKMPER + obs->alt;
  const double lat = obs->lat;
  const double slat = std::sin(lat), clat = std::cos(lat);
  const double c = 1.0 / std::sqrt(1.0 + f * (f - 2.0) * slat * slat);
  const double theta = Modulus(ThetaG_JD(jd) + obs->lon, kTwoPi);
  xyz[0] = a * c * clat * std::cos(theta);
  xyz[1] = a * c * clat * std::sin(theta);
  xyz[2] = a * (1.0 - f) * (1.0 - f) * c * slat;
}

// Look angles in the observer's horizon frame: the range vector projected on
// south (rS), east (rE) and the ellipsoid normal (rZ).
static void look_angles(const double sat[3], const EPOINT* obs, double jd, DIRECTION* out) {
  double o[3];
  orbit_observer_xyz(obs, jd, o);
  const double rx = sat[0] - o[0], ry = sat[1] - o[1], rz = sat[2] - o[2];
  const double theta = Modulus(ThetaG_JD(jd) + obs->lon, kTwoPi);
  const double lat = obs->lat;
  const double slat = std::sin(lat), clat = std::cos(lat);
  const double sth = std::sin(theta), cth = std::cos(theta);
  const double rs = slat * cth * rx + slat * sth * ry - clat * rz;
  const double re = -sth * rx + cth * ry;
  const double rzz = clat * cth * rx + clat * sth * ry + slat * rz;
  const double range = std::sqrt(rx * rx + ry * ry + rz * rz);
  out->azim = static_cast<float>(std::atan2(-re, rs) + kPiS);
  out->elev = static_cast<float>(range > 0.0 ? std::asin(rzz / range) : kHalfPi);
  out->dist = range;
  out->height = std::sqrt(sat[0] * sat[0] + sat[1] * sat[1] + sat[2] * sat[2]) - SGP4_XKMPER;
}

double calceleazim_v2(int ms, const struct tm* time, const EPOINT* sat_xyz, const EPOINT* observer,
                      DIRECTION* out) {
  const double jd = jd_of(time, ms);
  const double s[3] = {sat_xyz->x, sat_xyz->y, sat_xyz->z};
  look_angles(s, observer, jd, out);
  return std::sqrt(s[0] * s[0] + s[1] * s[1] + s[2] * s[2]) * 1000.0 - 6378135.0;
}

double calceleazim_v1(double h, const EPOINT* sub, const EPOINT* obs, DIRECTION* dir) {
  const double R = 6378135.0;
  const double dlon = static_cast<double>(sub->lon) - obs->lon;
  const double lat_s = sub->lat, lat_o = obs->lat;
  double cosc = std::cos(dlon) * std::cos(lat_s) * std::cos(lat_o) + std::sin(lat_s) * std::sin(lat_o);
  if (cosc > 1.0) cosc = 1.0;
  if (cosc < -1.0) cosc = -1.0;
  const double c = std::acos(cosc);
  const double d = std::sqrt((R + h) * (R + h) + R * R - 2.0 * R * (R + h) * cosc);
  double el = d > 0.0 ? (R - (R + h) * cosc) / d : -1.0;
  if (el > 1.0) el = 1.0;
  if (el < -1.0) el = -1.0;
  dir->elev = static_cast<float>(std::acos(el) - kHalfPi);
  const double sinc = std::sin(c);
  double arg = (sinc * std::cos(lat_o)) != 0.0
                   ? (std::sin(lat_s) - std::sin(lat_o) * cosc) / (sinc * std::cos(lat_o))
                   : 1.0;
  if (arg > 1.0) arg = 1.0;
  if (arg < -1.0) arg = -1.0;
  double az = std::acos(arg);
  if (dlon < 0.0) az = 2.0 * M_PI - az;
  dir->azim = static_cast<float>(az);
  dir->dist = d / 1000.0;
  dir->height = h / 1000.0;
  return d;
}

// TEME position and velocity of any object kind at Julian date jd, with its
// sub-point and height. Returns 0 or the model's error.
static int object_state(SAT* sat, const struct tm* time, int ms, double pos[3], double vel[3],
                        EPOINT* sub, double* height_m) {
  const double jd = jd_of(time, ms);
  vel[0] = vel[1] = vel[2] = 0.0;
  if (sat->type == sun) {
    const EPOINT s = calc_sun(time);
    sub->lon = s.lon;
    sub->lat = s.lat;
    *height_m = kAuKm * 1000.0;
    ecef_dir_to_teme(s.lon, s.lat, kAuKm, jd, pos);
    return 0;
  }
  if (sat->type == moon) {
    double ra, dec, dist_er;
    moon_geocentric(time, &ra, &dec, &dist_er, &sat->m_ilum);
    // Sub-lunar point: right ascension less the Greenwich sidereal angle.
    double lon = Modulus(ra - ThetaG_JD(jd) + M_PI, kTwoPi) - M_PI;
    sub->lon = static_cast<float>(lon);
    sub->lat = static_cast<float>(dec);
    const double dist_km = dist_er * SGP4_XKMPER;
    *height_m = (dist_km - SGP4_XKMPER) * 1000.0;
    ecef_dir_to_teme(lon, dec, dist_km, jd, pos);
    return 0;
  }
  const int rc = orbit_teme_posvel(&sat->kepler, jd, pos, vel);
  if (rc != SGP4_OK) return rc;
  orbit_subsat_point(pos[0], pos[1], pos[2], jd, sub);
  *height_m =
      (std::sqrt(pos[0] * pos[0] + pos[1] * pos[1] + pos[2] * pos[2]) - SGP4_XKMPER) * 1000.0;
  return 0;
}

int calc_onepos(SAT* sat, const struct tm* time, int ms, EPOINT* subsat_out, EPOINT* xyz_out,
                double* height_m) {
  double pos[3], vel[3], h = 0.0;
  EPOINT sub = subsat_out ? *subsat_out : EPOINT{};
  const int rc = object_state(sat, time, ms, pos, vel, &sub, &h);
  if (rc != 0) return rc;
  if (sat->do_forcepos) {
    sub.lon = sat->forced_pos.lon;
    sub.lat = sat->forced_pos.lat;
  }
  if (subsat_out) {
    subsat_out->lon = sub.lon;
    subsat_out->lat = sub.lat;
  }
  if (xyz_out) {
    xyz_out->x = static_cast<float>(pos[0]);
    xyz_out->y = static_cast<float>(pos[1]);
    xyz_out->z = static_cast<float>(pos[2]);
  }
  if (height_m) *height_m = h;
  return 0;
}

void calc_satrelpos(EPOINT* subsat_out, DIRECTION* dir_out, const EPOINT* observer, SAT* sat,
                    const tm_s* time, const ROTOR* rotor) {
  double pos[3], vel[3], h = 0.0;
  EPOINT sub = subsat_out ? *subsat_out : EPOINT{};
  if (object_state(sat, &time->tm, time->ms, pos, vel, &sub, &h) != 0) return;
  if (sat->do_forcepos) {
    sub.lon = sat->forced_pos.lon;
    sub.lat = sat->forced_pos.lat;
  }
  if (subsat_out) {
    subsat_out->lon = sub.lon;
    subsat_out->lat = sub.lat;
    subsat_out->x = static_cast<float>(pos[0]);
    subsat_out->y = static_cast<float>(pos[1]);
    subsat_out->z = static_cast<float>(pos[2]);
  }
  if (!dir_out) return;
  if (sat->type == sun || sat->type == moon) {
    calceleazim_v1(h, &sub, observer, dir_out);
    dir_out->velo = 0.0;
  } else {
    const double jd = jd_of(&time->tm, time->ms);
    look_angles(pos, observer, jd, dir_out);
    // Range rate: relative velocity (the observer turns with the earth)
    // along the line of sight.
    double o[3];
    orbit_observer_xyz(observer, jd, o);
    const double rel[3] = {pos[0] - o[0], pos[1] - o[1], pos[2] - o[2]};
    const double v[3] = {vel[0] + kEarthOmega * o[1], vel[1] - kEarthOmega * o[0], vel[2]};
    dir_out->velo =
        dir_out->dist > 0.0 ? (rel[0] * v[0] + rel[1] * v[1] + rel[2] * v[2]) / dir_out->dist : 0.0;
  }
  elevazim2xy(dir_out, rotor);
}

void elevazim2xy(DIRECTION* dir, const ROTOR* rotor) {
  const double el = dir->elev, az = dir->azim;
  double x, y;
  if (rotor && rotor->x_at_disc) {
    y = std::atan2(std::cos(az), std::tan(el));
    x = std::asin(std::cos(el) * std::sin(az));
  } else {
    x = std::atan2(std::sin(az), std::tan(el));
    y = std::asin(std::cos(el) * std::cos(az));
  }
  x = rotor && rotor->x_west_is_0 ? kHalfPi + x : kHalfPi - x;
  y = rotor && rotor->y_south_is_0 ? kHalfPi + y : kHalfPi - y;
  dir->x = static_cast<float>(x);
  dir->y = static_cast<float>(y);
}

int do_xystorm(ROTOR* rotor, int rearm, float reptime) {
  if (rearm) {
    const float rt = reptime > 0.0f ? reptime : 1.0f;
    g_count_x = static_cast<int>(rotor->storm_wait_x / rt);
    g_count_y = static_cast<int>(rotor->storm_wait_y / rt);
    return g_count_x || g_count_y;
  }
  bool waiting = false;
  if (g_count_x) {
    g_count_x--;
    waiting = true;
  } else {
    rotor->to_rotor.x = rotor->storm.x;
  }
  if (g_count_y) {
    g_count_y--;
    waiting = true;
  } else {
    rotor->to_rotor.y = rotor->storm.y;
  }
  return waiting;
}

int calc_rotpos(const DIRECTION* satdir, int will_track, ROTOR* rotor, float elev_horiz,
                float reptime) {
  int result;
  if (satdir->elev >= elev_horiz && will_track) {
    result = 1;
    do_xystorm(rotor, 1, reptime);
    rotor->to_rotor.elev = static_cast<float>(satdir->elev * kRad2Deg);
    rotor->to_rotor.azim = static_cast<float>(satdir->azim * kRad2Deg);
    rotor->to_rotor.x = static_cast<float>(satdir->x * kRad2Deg);
    rotor->to_rotor.y = static_cast<float>(satdir->y * kRad2Deg);
  } else {
    rotor->to_rotor.elev = rotor->storm.elev;
    rotor->to_rotor.azim = rotor->storm.azim;
    result = do_xystorm(rotor, 0, reptime) ? -1 : 0;
  }
  // Offsets; while an axis waits to park its held value takes the X/Y offset
  // once more on every tick.
  rotor->to_rotor.elev += rotor->offset.elev;
  rotor->to_rotor.azim += rotor->offset.azim;
  rotor->to_rotor.x += rotor->offset.x;
  rotor->to_rotor.y += rotor->offset.y;
  if (rotor->to_rotor.azim >= 360.0f) rotor->to_rotor.azim -= 360.0f;
  if (rotor->to_rotor.azim < 0.0f) rotor->to_rotor.azim += 360.0f;
  return result;
}
