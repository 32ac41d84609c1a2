#include "sim/sim.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <thread>

#include "common/text.h"
#include "common/timeutil.h"
#include "display/coast.h"
#include "display/lumcal.h"
#include "formats/framehdr.h"
#include "formats/hptfile.h"
#include "formats/hrptfile.h"
#include "formats/meteor.h"
#include "orbit/satdb.h"
#include "orbit/satpos.h"
#include "orbit/sgp4.h"
#include "orbit/sunmoon.h"
#include "sim/sim_internal.h"

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kWgsA = 6378.137;             // km
constexpr double kWgsF = 1.0 / 298.257223563;  // flattening
constexpr double kWgsB = kWgsA * (1.0 - kWgsF);
constexpr double kWgsE2 = kWgsF * (2.0 - kWgsF);

constexpr const char* kFormatNames[SIM_NFORMATS] = {"hrpt",   "chrpt", "hpt", "mhrpt1",
                                                    "mhrpt2", "metop", "fy3", "noaa20"};

// HRPT frame layout (words).
constexpr int kHdrWords = 750;
constexpr int kChrptHdrWords = 1600;
constexpr int kLeaderWords = 100;
constexpr int kSpaceVis = 40;  // space count of the visible channels

struct FileCloser {
  void operator()(FILE* f) const {
    if (f) std::fclose(f);
  }
};
using FilePtr = std::unique_ptr<FILE, FileCloser>;

void cross(const double a[3], const double b[3], double o[3]) {
  o[0] = a[1] * b[2] - a[2] * b[1];
  o[1] = a[2] * b[0] - a[0] * b[2];
  o[2] = a[0] * b[1] - a[1] * b[0];
}
double dot(const double a[3], const double b[3]) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }
void unit(double a[3]) {
  double l = std::sqrt(dot(a, a));
  if (l > 0) a[0] /= l, a[1] /= l, a[2] /= l;
}

// The orbital frame of a satellite at r moving with v: up away from the
// earth's centre, forward along the velocity, right = forward x up.
void orbital_frame(const double r[3], const double v[3], double up[3], double f[3],
                   double right[3]) {
  for (int k = 0; k < 3; k++) up[k] = r[k];
  unit(up);
  for (int k = 0; k < 3; k++) f[k] = v[k];
  const double vu = dot(f, up);
  for (int k = 0; k < 3; k++) f[k] -= vu * up[k];
  unit(f);
  cross(f, up, right);
}

// Rotation of a TEME vector into the earth-fixed frame.
void teme_to_ecef(const double v[3], double theta, double o[3]) {
  double c = std::cos(theta), s = std::sin(theta);
  o[0] = c * v[0] + s * v[1];
  o[1] = -s * v[0] + c * v[1];
  o[2] = v[2];
}

// Number in a satellite name ("NOAA 19" 19, "FENGYUN 3C" 3), and the letter
// after it ('C'; 0 when none).
int sat_number(const std::string& sat, char* letter) {
  const char* p = sat.c_str();
  while (*p && !std::isdigit(static_cast<unsigned char>(*p))) p++;
  int n = std::atoi(p);
  while (std::isdigit(static_cast<unsigned char>(*p))) p++;
  *letter = char(std::toupper(static_cast<unsigned char>(*p)));
  return n;
}

// Spacecraft address of the HRPT ID word (NOAA), the CHRPT ID word (FY-1) or
// the CCSDS spacecraft identifier (Metop, FY-3, NOAA-20) by satellite name;
// -1 for an FY-3 the readers take no picture from (D and E carry MERSI).
int sat_address(int format, const std::string& sat) {
  char letter = 0;
  int n = sat_number(sat, &letter);
  switch (format) {
    case SIM_CHRPT:
      return letter == 'C' ? 12 : 13;  // FY-1C 192, FY-1D 208 after the shift
    case SIM_METOP:
      return sat.find("-A") != std::string::npos   ? 12
             : sat.find("-C") != std::string::npos ? 13
                                                   : 11;
    case SIM_FY3:
      return letter == 'A' ? 49 : letter == 'B' ? 50 : letter == 'C' ? 51 : -1;
    case SIM_NOAA20:
      return 159;
    default:
      break;
  }
  static const int kNoaa[][2] = {{14, 5}, {15, 7}, {16, 3}, {17, 11}, {18, 13}, {19, 15}};
  for (const auto& e : kNoaa)
    if (e[0] == n) return e[1];
  return 15;
}

// PRT temperature polynomial of the calibration (as the display evaluates it).
double prt_temp(const NOAACAL& c, int k, double cnt) {
  return c.d0[k] + cnt * (c.d1[k] + cnt * (c.d2[k] + cnt * (c.d3[k] + cnt * c.d4[k])));
}

void make_thermal(SIM_PASS* p) {
  SIM_THERMAL& th = p->th;
  const double target = 290.0;  // black body, kelvin
  float t[5] = {0, 0, 0, 0, 0};
  for (int k = 1; k <= 4; k++) {
    int best = 0;
    double bd = 1e30;
    for (int c = 0; c < 1024; c++) {
      double d = std::fabs(prt_temp(p->cal, k, c) - target);
      if (d < bd) bd = d, best = c;
    }
    th.prt_count[k] = best;
    t[k] = float(prt_temp(p->cal, k, best));
  }
  th.tbb = (t[1] + t[2] + t[3] + t[4]) / 4.0;
  th.space[1] = th.space[2] = kSpaceVis;
  const int bb[6] = {0, 0, 0, 380, 395, 390};
  for (int ch = 3; ch <= 5; ch++) {
    th.space[ch] = 990;
    th.bb[ch] = bb[ch];
    double nbb = noaa_radiance(p->cal, ch, th.tbb);
    auto& tab = th.temp_of_count[ch];
    tab.assign(1024, 0.0f);
    for (int c = 0; c < 1024; c++) {
      double n = noaa_count_radiance(p->cal, ch, nbb, th.space[ch], th.bb[ch], c);
      tab[size_t(c)] = float(n > 0 ? noaa_temperature(p->cal, ch, n) : 0.0);
    }
  }
}

// The HRPT frame of line i: header words, the earth view, leader. CHRPT
// frames have 1600 header words and ten channels; their spacecraft address
// sits in the upper bits of word 6.
void hrpt_frame(const SIM_PASS& p, int i, const SIM_LINE& l, std::vector<uint16_t>* out) {
  const bool chrpt = p.req.format == SIM_CHRPT;
  const int hdr = chrpt ? kChrptHdrWords : kHdrWords;
  const int nch = p.nchan;
  std::vector<uint16_t>& w = *out;
  w.assign(size_t(hdr + nch * p.width + kLeaderWords), 0);
  for (int k = 0; k < 6; k++) w[size_t(k)] = HRPT_SYNC[k];
  if (chrpt)
    w[6] = uint16_t((p.spacecraft_addr << 6) | (((i % 3) + 1) << 3));
  else
    w[6] = uint16_t(0x200 | (((i % 3) + 1) << 7) | (p.spacecraft_addr << 3) | (p.chan3a ? 1 : 0));
  w[7] = 0x2AA;
  // Time code: day of the year and milliseconds of the day.
  time_t whole;
  int ms;
  sim::line_time(p, i, &whole, &ms);
  struct tm t = pava::gmtime_utc(whole);
  long msec = (long(t.tm_hour) * 3600 + t.tm_min * 60 + t.tm_sec) * 1000L + ms;
  w[8] = uint16_t((t.tm_yday + 1) << 1);
  w[9] = uint16_t(0x280 | ((msec >> 20) & 0x7F));
  w[10] = uint16_t((msec >> 10) & 0x3FF);
  w[11] = uint16_t(msec & 0x3FF);
  // Telemetry: ramp calibration, and the PRT words (a reset line of low counts
  // every five lines, then PRT 1..4).
  w[12] = uint16_t((i * 37) % 1024);
  w[13] = 0x1F4;
  w[14] = 0x190;
  w[15] = 0x150;
  w[16] = 0x0C8;
  int k = i % 5;
  uint16_t prt = uint16_t(k == 0 ? 2 : p.th.prt_count[k]);
  w[17] = w[18] = w[19] = prt;
  w[20] = 0x0A0;  // channel 3 patch temperature
  w[21] = 0;
  for (int s = 0; s < 10; s++) {
    for (int ch = 3; ch <= 5; ch++) w[size_t(22 + 3 * s + ch - 3)] = uint16_t(p.th.bb[ch]);
    for (int ch = 1; ch <= 5; ch++) w[size_t(52 + 5 * s + ch - 1)] = uint16_t(p.th.space[ch]);
  }
  w[102] = 0x200 | 0x0AA;
  // TIP minor frames and the spare words: steady patterns.
  for (int q = 103; q < 623; q++) w[size_t(q)] = uint16_t(((q * 29 + (i % 320) * 3) & 0xFF) << 1);
  for (int q = 623; q < hdr; q++) w[size_t(q)] = (q & 1) ? 0x1A5 : 0x25A;
  for (int x = 0; x < p.width; x++)
    for (int ch = 0; ch < nch; ch++) w[size_t(hdr + nch * x + ch)] = l.counts[ch + 1][size_t(x)];
  for (int q = 0; q < kLeaderWords; q++)
    w[size_t(hdr + nch * p.width + q)] = uint16_t((q * 0x155 + 0x0F3) & 0x3FF);
}

// MSU-MR words of a line: pixel * 6 + channel.
void meteor_words(const SIM_PASS& p, const SIM_LINE& l, std::vector<uint16_t>* out) {
  out->assign(size_t(6 * p.width), 0);
  for (int x = 0; x < p.width; x++)
    for (int ch = 0; ch < 6; ch++) (*out)[size_t(6 * x + ch)] = l.counts[ch + 1][size_t(x)];
}

}  // namespace

int sim_format_from_name(const char* name) {
  for (int f = 0; f < SIM_NFORMATS; f++)
    if (name && std::strcmp(name, kFormatNames[f]) == 0) return f;
  return -1;
}

const char* sim_format_name(int f) { return f >= 0 && f < SIM_NFORMATS ? kFormatNames[f] : "?"; }

int sim_format_supported(int f) { return f >= 0 && f < SIM_NFORMATS; }

int sim_ray_wgs84(const double r[3], const double v[3], double jd, double a, double* lon,
                  double* lat, double p_km[3]) {
  // Orbital frame: down towards the earth's centre, forward along the
  // velocity, right = forward x up.
  double up[3], f[3], right[3];
  orbital_frame(r, v, up, f, right);
  double look[3];
  const double ca = std::cos(a), sa = std::sin(a);
  for (int k = 0; k < 3; k++) look[k] = -ca * up[k] + sa * right[k];
  const double th = ThetaG_JD(jd);
  double s[3], u[3];
  teme_to_ecef(r, th, s);
  teme_to_ecef(look, th, u);
  // Ellipsoid as a sphere of radius a after scaling z by a/b.
  const double q = kWgsA / kWgsB;
  double s2[3] = {s[0], s[1], s[2] * q}, u2[3] = {u[0], u[1], u[2] * q};
  double A = dot(u2, u2), B = dot(s2, u2), C = dot(s2, s2) - kWgsA * kWgsA;
  double disc = B * B - A * C;
  if (disc < 0) return 0;
  double t = (-B - std::sqrt(disc)) / A;
  if (t <= 0) return 0;
  for (int k = 0; k < 3; k++) p_km[k] = s[k] + t * u[k];
  *lon = std::atan2(p_km[1], p_km[0]);
  *lat = std::atan2(p_km[2], (1.0 - kWgsE2) * std::hypot(p_km[0], p_km[1]));
  return 1;
}

int sim_thermal_count(const SIM_PASS& p, int ch, double t) {
  const auto& tab = p.th.temp_of_count[ch];
  if (tab.empty()) return 0;
  // The table falls with the count: find the first count at or below t.
  int lo = 0, hi = 1023;
  while (lo < hi) {
    int mid = (lo + hi) / 2;
    if (tab[size_t(mid)] > t)
      lo = mid + 1;
    else
      hi = mid;
  }
  if (lo > 0 && std::fabs(tab[size_t(lo - 1)] - t) < std::fabs(tab[size_t(lo)] - t)) lo--;
  return lo;
}

int sim_prepare(const SIM_REQUEST& req, SIM_PASS* p, std::string* err) {
  p->req = req;
  if (!sim_format_supported(req.format)) {
    *err = std::string("Format ") + sim_format_name(req.format) + " is not synthesised yet";
    return 1;
  }
  if (!(req.seconds > 0) || req.seconds > 3600) {
    *err = "Pass length must be 0..3600 seconds";
    return 1;
  }
  if (!(req.clouds >= 0 && req.clouds <= 1) || !(req.bit_errors >= 0 && req.bit_errors < 0.5) ||
      !(req.sync_loss >= 0)) {
    *err = "Clouds 0..1, bit error rate 0..0.5 and sync loss >= 0 expected";
    return 1;
  }
  FilePtr fp(std::fopen(req.tle_path.c_str(), "r"));
  if (!fp) {
    *err = "Cannot open element file " + req.tle_path;
    return 1;
  }
  char name[TLE_LINEBUF];
  KEPLER k{};
  bool found = false;
  while (read_norad_next_keps(fp.get(), name, &k)) {
    if (req.sat == name) {
      found = true;
      break;
    }
  }
  if (!found) {
    *err = "Satellite " + req.sat + " not in " + req.tle_path;
    return 1;
  }
  ORBIT orbit{};
  calc_orbitconst_v2(&k, &orbit);
  if (!k.sgp4_ready) {
    *err = "Orbit model failed for the elements of " + req.sat;
    return 1;
  }
  p->kepler = k;
  p->meteor = req.format == SIM_MHRPT1 || req.format == SIM_MHRPT2;
  p->width = req.format == SIM_MHRPT1 ? 1540 : req.format == SIM_MHRPT2 ? 1570 : 2048;
  p->nchan = p->meteor ? 6 : (req.format == SIM_CHRPT || req.format == SIM_FY3) ? 10 : 5;
  p->max_angle = p->meteor ? 54.0 : 55.4;
  p->line_dt = 1.0 / 6.0;
  p->lines = int(std::floor(req.seconds / p->line_dt + 1e-9));
  if (p->lines < 1) {
    *err = "Pass too short for one line";
    return 1;
  }
  p->spacecraft_addr = sat_address(req.format, req.sat);
  p->scid = p->spacecraft_addr;
  if (p->spacecraft_addr < 0) {
    *err = req.sat + " sends MERSI, of which no picture is read: choose FY-3A, B or C";
    return 1;
  }
  p->chan3a = 0;
  struct tm st = req.start;
  p->jd0 = orbit_julian_date(&st, req.start_ms);

  // Calibration: the set the display uses for this satellite (others than
  // NOAA 14 and 16 share NOAA 15's).
  {
    const char* q = req.sat.c_str();
    while (*q && !std::isdigit(static_cast<unsigned char>(*q))) q++;
    int num = std::atoi(q);
    load_cal(num == 14 || num == 16 ? req.sat.c_str() : "NOAA 15", &p->cal);
  }
  make_thermal(p);

  // Window of the land mask: the swath edges along the pass.
  double lon0 = 0, west = 1e9, east = -1e9, south = 90, north = -90;
  bool first = true;
  const double amax = p->max_angle * kPi / 180.0;
  for (int i = 0;; i = std::min(p->lines - 1, i + 30)) {
    double r[3], v[3];
    double jd = p->jd0 + i * p->line_dt / 86400.0;
    if (orbit_teme_posvel(&p->kepler, jd, r, v) != 0) {
      *err = "Orbit model failed during the pass";
      return 1;
    }
    for (double a : {-amax, 0.0, amax}) {
      double lon, lat, pk[3];
      if (!sim_ray_wgs84(r, v, jd, a, &lon, &lat, pk)) continue;
      double ld = lon * 180 / kPi, bd = lat * 180 / kPi;
      if (first) lon0 = ld, first = false;
      double d = std::fmod(ld - lon0 + 540.0, 360.0) - 180.0;
      west = std::min(west, lon0 + d);
      east = std::max(east, lon0 + d);
      south = std::min(south, bd);
      north = std::max(north, bd);
    }
    if (i == p->lines - 1) break;
  }
  west -= 1.5, east += 1.5, south -= 1.0, north += 1.0;
  if (std::fabs(north) > 80 || std::fabs(south) > 80) west = -180, east = 180;  // near a pole
  std::string used;
  FilePtr coast(req.coast_path.empty() ? open_coast_file("gshhs_i.b", &used)
                                       : std::fopen(req.coast_path.c_str(), "rb"));
  if (!coast && req.coast_path.empty())
    coast.reset(std::fopen(PAVA_SRC_DATADIR "/gshhs_i.b", "rb"));
  if (!coast) {
    *err =
        "Cannot open the coastline file " + (req.coast_path.empty() ? "gshhs_i.b" : req.coast_path);
    return 1;
  }
  double res = 0.01;
  while ((east - west) / res * (north - south) / res > 60e6) res *= 2;
  if (sim_landmask_build(coast.get(), west, east, south, north, res, &p->mask) < 0) {
    *err = "Coastline file is damaged";
    return 1;
  }
  p->scene.seed = req.seed;
  p->scene.clouds = req.clouds;
  p->scene.mask = &p->mask;
  return 0;
}

void sim_line(const SIM_PASS& p, int i, SIM_LINE* l) {
  const int w = p.width;
  l->jd = p.jd0 + i * p.line_dt / 86400.0;
  l->lon.assign(size_t(w), 0);
  l->lat.assign(size_t(w), 0);
  l->surf.assign(size_t(w), SIM_SURFACE{});
  for (int ch = 1; ch <= p.nchan; ch++) l->counts[ch].assign(size_t(w), 0);
  double r[3], v[3];
  if (orbit_teme_posvel(&p.kepler, l->jd, r, v) != 0) return;
  {
    double e[3];
    teme_to_ecef(r, ThetaG_JD(l->jd), e);
    l->sat_lon = std::atan2(e[1], e[0]);
    l->sat_lat = std::atan2(e[2], std::hypot(e[0], e[1]));
  }
  // The sun's direction, earth-fixed.
  double secs = (l->jd - 2440587.5) * 86400.0;
  struct tm t {};
  t = pava::gmtime_utc(time_t(std::floor(secs)));
  EPOINT sp = calc_sun(&t);
  double sun[3] = {std::cos(sp.lat) * std::cos(sp.lon), std::cos(sp.lat) * std::sin(sp.lon),
                   std::sin(sp.lat)};
  // The orbital frame of the line, turned earth-fixed once.
  double up[3], f[3], right[3];
  orbital_frame(r, v, up, f, right);
  const double th = ThetaG_JD(l->jd);
  double se[3], ue[3], re[3];
  teme_to_ecef(r, th, se);
  teme_to_ecef(up, th, ue);
  teme_to_ecef(right, th, re);
  const double q = kWgsA / kWgsB;
  const double s2[3] = {se[0], se[1], se[2] * q};
  const double C = dot(s2, s2) - kWgsA * kWgsA;
  const int n = w / 2;
  for (int x = 0; x < w; x++) {
    // Sensor angle: +A at pixel 0 (right of the flight direction), 0 at n.
    const double a = p.max_angle * kPi / 180.0 * double(n - x) / double(n);
    const double ca = std::cos(a), sa = std::sin(a);
    double u[3] = {-ca * ue[0] + sa * re[0], -ca * ue[1] + sa * re[1], -ca * ue[2] + sa * re[2]};
    const double u2[3] = {u[0], u[1], u[2] * q};
    const double A = dot(u2, u2), B = dot(s2, u2);
    const double disc = B * B - A * C;
    SIM_SURFACE& s = l->surf[size_t(x)];
    const double tr = disc >= 0 ? (-B - std::sqrt(disc)) / A : -1;
    if (tr <= 0) {
      s = SIM_SURFACE{};
      s.temp[0] = s.temp[1] = s.temp[2] = 3.0;
      continue;
    }
    double pk[3] = {se[0] + tr * u[0], se[1] + tr * u[1], se[2] + tr * u[2]};
    const double lon = std::atan2(pk[1], pk[0]);
    const double lat = std::atan2(pk[2], (1.0 - kWgsE2) * std::hypot(pk[0], pk[1]));
    l->lon[size_t(x)] = lon;
    l->lat[size_t(x)] = lat;
    unit(pk);
    sim_surface(p.scene, lon, lat, pk, sun, &s);
    double day = std::max(0.0, s.cos_sun);
    for (int ch = 1; ch <= 2; ch++)
      l->counts[ch][size_t(x)] =
          uint16_t(std::clamp(std::lround(kSpaceVis + 900.0 * s.albedo[ch - 1] * day), 0L, 1023L));
    if (p.meteor) {
      // MSU-MR: 0.6, 0.9 and 1.7 um, then 3.7, 10.8 and 11.9 um on a linear
      // scale of 0.2 K per count above 170 K.
      l->counts[3][size_t(x)] =
          uint16_t(std::clamp(std::lround(kSpaceVis + 600.0 * s.albedo[1] * day), 0L, 1023L));
      for (int ch = 4; ch <= 6; ch++)
        l->counts[ch][size_t(x)] =
            uint16_t(std::clamp(std::lround((s.temp[ch - 4] - 170.0) * 5.0), 0L, 1023L));
      continue;
    }
    for (int ch = 3; ch <= 5; ch++)
      l->counts[ch][size_t(x)] = uint16_t(sim_thermal_count(p, ch, s.temp[ch - 3]));
    if (p.nchan == 10) {
      // MVISR and VIRR beyond AVHRR's five: 1.6 um, three blue-green bands
      // (more haze), and 0.9 um (1.38 um on VIRR: water vapour hides the
      // ground, clouds stay bright).
      auto vis = [&](double alb) {
        return uint16_t(std::clamp(std::lround(kSpaceVis + 900.0 * alb * day), 0L, 1023L));
      };
      l->counts[6][size_t(x)] = vis(0.65 * s.albedo[1]);
      for (int ch = 7; ch <= 9; ch++) l->counts[ch][size_t(x)] = vis(0.06 + 0.85 * s.albedo[0]);
      l->counts[10][size_t(x)] = vis(0.1 * s.albedo[1] + 0.6 * s.cloud);
    }
  }
}

namespace sim {

Channel::Channel(const SIM_PASS& pass)
    : rng(uint64_t(pass.req.seed) * 0x1234567ull + 77), p(std::min(pass.req.bit_errors, 0.5)) {}

long Channel::gap() {
  const double u = rng.uniform();
  return 1 + long(std::floor(std::log1p(-u) / std::log1p(-p)));
}

void Channel::flip(uint16_t* w, long n, int bits) {
  if (p <= 0) return;
  const long nbits = n * bits;
  for (long pos = gap() - 1; pos >= 0 && pos < nbits; pos += gap())
    w[pos / bits] ^= uint16_t(1u << (pos % bits));
}

void Channel::flip(uint8_t* b, long n) {
  if (p <= 0) return;
  for (long pos = gap() - 1; pos >= 0 && pos < n * 8; pos += gap())
    b[pos / 8] ^= uint8_t(0x80u >> (pos % 8));
}

void Channel::noise(uint16_t* w, long n, int bits) {
  for (long k = 0; k < n; k++) w[k] = uint16_t(rng.next() & ((1u << bits) - 1));
}

void Channel::noise(uint8_t* b, long n) {
  for (long k = 0; k < n; k++) b[k] = uint8_t(rng.next());
}

void sync_loss_lines(const SIM_PASS& p, int* first, int* last) {
  *first = p.req.sync_loss > 0 ? p.lines / 2 : p.lines;
  *last = std::min(p.lines, *first + int(std::lround(p.req.sync_loss / p.line_dt)));
}

bool for_each_line(const SIM_PASS& p,
                   const std::function<void(int, const SIM_LINE&, std::vector<uint16_t>*)>& make,
                   const std::function<bool(int, std::vector<uint16_t>&)>& sink) {
  int nthreads = p.req.threads > 0 ? p.req.threads : int(std::thread::hardware_concurrency());
  nthreads = std::clamp(nthreads, 1, 16);
  const int block = 192;
  std::vector<std::vector<uint16_t>> words(static_cast<size_t>(block));
  for (int b0 = 0; b0 < p.lines; b0 += block) {
    const int nb = std::min(block, p.lines - b0);
    auto work = [&](int tid) {
      SIM_LINE l;
      for (int j = tid; j < nb; j += nthreads) {
        sim_line(p, b0 + j, &l);
        make(b0 + j, l, &words[size_t(j)]);
      }
    };
    std::vector<std::thread> pool;
    for (int t = 1; t < nthreads; t++) pool.emplace_back(work, t);
    work(0);
    for (auto& th : pool) th.join();
    for (int j = 0; j < nb; j++)
      if (!sink(b0 + j, words[size_t(j)])) return false;
  }
  return true;
}

void line_time(const SIM_PASS& p, int i, time_t* secs, int* ms) {
  const double jd = p.jd0 + i * p.line_dt / 86400.0;
  const double s = (jd - 2440587.5) * 86400.0;
  time_t whole = time_t(std::floor(s + 1e-6));
  long m = std::lround((s - double(whole)) * 1000.0);
  if (m >= 1000) whole++, m -= 1000;
  if (m < 0) m = 0;
  *secs = whole;
  *ms = int(m);
}

void line_time_ccsds(const SIM_PASS& p, int i, int* day, uint32_t* msec) {
  time_t s;
  int ms;
  line_time(p, i, &s, &ms);
  const time_t epoch2000 = 946684800;  // 2000-01-01 00:00 UTC
  const long since = long(s - epoch2000);
  *day = int(since / 86400);
  *msec = uint32_t((since % 86400) * 1000 + ms);
}

PICINFO* new_pic(const SIM_PASS& p, int file_type, FILE* fp) {
  PICINFO* pic = pic_new();
  pic->fp = fp;
  pic->file_type = FILE_TYPE(file_type);
  pic->width = p.width;
  for (int c = 0; c <= p.nchan; c++) pic->channels_recorded[c] = 1;
  pava::copy_text(pic->sat_name, p.req.sat.c_str());
  pava::copy_text(pic->firmware, "SIM1");
  pic->height = p.lines;
  pic->picture_time = p.req.start;
  pic->kepler = p.kepler;
  pic->orbit.start_tm_sat = p.req.start;
  pic->orbit.use_sattime = 1;
  SIM_LINE a, b;
  sim_line(p, 0, &a);
  sim_line(p, p.lines - 1, &b);
  pic->scan_ver = b.sat_lat < a.sat_lat ? N_S : S_N;
  return pic;
}

}  // namespace sim

namespace {

// MHRPT2 stream: 1024-byte frames (marker, 18 header bytes, four zones of
// MSU-MR bytes with 18-byte gaps). A line takes 12798 zone bytes, 13.5
// frames, so its sync alternates between two places: 2 bytes into zone 0 and
// the start of zone 2. The line: sync, Moscow time in bytes 8-10, data from
// byte 50 (groups of five bytes: four pixels of one channel, channels in
// turn), zeros to the end.
constexpr int kM2LineBytes = 12798;
constexpr int kM2ZoneBytes = 948;  // zone bytes of a frame
constexpr int kM2FirstSync = 2;    // zone-stream offset of the first line sync

struct Mhrpt2Out {
  FILE* fp;
  uint8_t frame[MHRPT2_FRAME];
  int fill = 0;  // zone bytes in frame
  long frames = 0;
  // Zone byte k of a frame: its position in the frame.
  static int zone_pos(int k) {
    int z = 0;
    while (z < 3 && k >= MSU_ZONE_LEN[z]) k -= MSU_ZONE_LEN[z++];
    return MSU_ZONE_START[z] + k;
  }
  void put(const uint8_t* b, int n, sim::Channel* ch, bool lost) {
    for (int i = 0; i < n; i++) {
      if (fill == 0) {
        std::memset(frame, 0, sizeof frame);
        const uint8_t head[] = {0x1A, 0xCF, 0xFC, 0x1D, 0x40, 0x05};
        std::memcpy(frame, head, sizeof head);
        frame[6] = uint8_t(frames >> 16), frame[7] = uint8_t(frames >> 8);
        frame[8] = uint8_t(frames);
      }
      frame[zone_pos(fill)] = b[i];
      if (++fill == kM2ZoneBytes) {
        if (lost)
          ch->noise(frame, MHRPT2_FRAME);
        else
          ch->flip(frame, MHRPT2_FRAME);
        std::fwrite(frame, 1, sizeof frame, fp);
        fill = 0;
        frames++;
      }
    }
  }
};

// The zone bytes of one MHRPT2 line from its words (pixel * 6 + channel).
void mhrpt2_line(const SIM_PASS& p, int i, const std::vector<uint16_t>& w,
                 std::vector<uint8_t>* out) {
  out->assign(kM2LineBytes, 0);
  uint8_t* b = out->data();
  std::memcpy(b, MSU_SYNC, 8);
  time_t s;
  int ms;
  sim::line_time(p, i, &s, &ms);
  struct tm t = pava::gmtime_utc(s + 3 * 3600);
  b[8] = uint8_t(t.tm_hour), b[9] = uint8_t(t.tm_min), b[10] = uint8_t(t.tm_sec);
  const int groups = (p.width + 3) / 4;
  size_t k = 50;
  for (int g = 0; g < groups; g++)
    for (int c = 0; c < MHRPT_NCHAN; c++) {
      uint16_t q[4];
      for (int j = 0; j < 4; j++) {
        int x = 4 * g + j;
        q[j] = x < p.width ? w[size_t(x * MHRPT_NCHAN + c)] : 0;
      }
      hpt_pack(q, b + k);
      k += 5;
    }
}

int write_mhrpt2(const SIM_PASS& p, PICINFO* pic, std::string* err) {
  if (write_hrpt1_hdr(pic) != 0) {
    *err = "Cannot write the file header";
    return 1;
  }
  sim::Channel ch(p);
  int loss0, loss1;
  sim::sync_loss_lines(p, &loss0, &loss1);
  Mhrpt2Out o{pic->fp, {}, 0, 0};
  std::vector<uint8_t> lead(kM2FirstSync, 0), line;
  o.put(lead.data(), kM2FirstSync, &ch, false);
  sim::for_each_line(
      p, [&](int, const SIM_LINE& l, std::vector<uint16_t>* out) { meteor_words(p, l, out); },
      [&](int i, std::vector<uint16_t>& w) {
        mhrpt2_line(p, i, w, &line);
        o.put(line.data(), kM2LineBytes, &ch, i >= loss0 && i < loss1);
        return true;
      });
  // The rest of the last frame.
  std::vector<uint8_t> tail(size_t(kM2ZoneBytes - o.fill), 0);
  if (o.fill) o.put(tail.data(), int(tail.size()), &ch, false);
  return 0;
}

}  // namespace

int sim_write(const SIM_PASS& p, const char* path, std::string* err) {
  FilePtr fp(std::fopen(path, "w+b"));  // Meteor lines are read back
  if (!fp) {
    *err = std::string("Cannot write ") + path;
    return 1;
  }
  const int f = p.req.format;
  int rc = 0;
  if (f == SIM_METOP || f == SIM_FY3 || f == SIM_NOAA20) {
    rc = sim::write_ccsds(p, fp.get(), err);
  } else {
    static const int kTypes[SIM_NFORMATS] = {FT_HRPT, FT_CHRPT, FT_HPT, FT_MHRPT1, FT_MHRPT2};
    std::unique_ptr<PICINFO, void (*)(PICINFO*)> pic(sim::new_pic(p, kTypes[f], fp.get()),
                                                     pic_delete);
    if (f == SIM_MHRPT2) {
      rc = write_mhrpt2(p, pic.get(), err);
    } else {
      const bool hpt = f == SIM_HPT;
      if (hpt) {
        pic->fri = calc_hrptframeinfo(FT_HPT, pic->channels_recorded, p.width);
        std::vector<uint8_t> lead(925, 0);  // start of the file the readers skip
        std::fwrite(lead.data(), 1, lead.size(), fp.get());
      } else if (write_hrpt1_hdr(pic.get()) != 0) {
        *err = "Cannot write the file header";
        rc = 1;
      }
      const long first = std::ftell(fp.get());
      sim::Channel ch(p);
      int loss0, loss1;
      sim::sync_loss_lines(p, &loss0, &loss1);
      if (rc == 0)
        sim::for_each_line(
            p,
            [&](int i, const SIM_LINE& l, std::vector<uint16_t>* out) {
              if (p.meteor)
                meteor_words(p, l, out);
              else
                hrpt_frame(p, i, l, out);
            },
            [&](int i, std::vector<uint16_t>& w) {
              // No lock: the board hands over noise. (Meteor lines get their
              // errors on the bytes, below.)
              const bool lost = i >= loss0 && i < loss1;
              if (lost && !p.meteor) ch.noise(w.data(), long(w.size()), 10);
              if (!lost && !p.meteor) ch.flip(w.data(), long(w.size()), 10);
              int ok;
              if (p.meteor)
                ok = write_mhrpt1_line(pic.get(), w.data());
              else if (hpt)
                ok = write_hpt_line(pic.get(), w.data());
              else
                ok = write_hrpt1_line(pic.get(), w.data(), is_hrptsync(w.data(), 0) ? 0x10 : 0);
              return ok != 0;
            });
      if (rc == 0 && p.meteor) {
        // Line times, whole seconds of Moscow time, in bytes 30-32 of each
        // line's first frame.
        for (int i = 0; i < p.lines; i++) {
          time_t s;
          int ms;
          sim::line_time(p, i, &s, &ms);
          struct tm t = pava::gmtime_utc(s + 3 * 3600);
          uint8_t hms[3] = {uint8_t(t.tm_hour), uint8_t(t.tm_min), uint8_t(t.tm_sec)};
          std::fseek(fp.get(), first + long(i) * MHRPT_LINEBYTES + 30, SEEK_SET);
          std::fwrite(hms, 1, 3, fp.get());
        }
        // The channel's errors on the frames as received, sync markers too.
        std::vector<uint8_t> line(MHRPT_LINEBYTES);
        for (int i = 0; i < p.lines && (p.req.bit_errors > 0 || loss1 > loss0); i++) {
          const long at = first + long(i) * MHRPT_LINEBYTES;
          std::fseek(fp.get(), at, SEEK_SET);
          if (std::fread(line.data(), 1, line.size(), fp.get()) != line.size()) break;
          if (i >= loss0 && i < loss1)
            ch.noise(line.data(), long(line.size()));
          else
            ch.flip(line.data(), long(line.size()));
          std::fseek(fp.get(), at, SEEK_SET);
          std::fwrite(line.data(), 1, line.size(), fp.get());
        }
      }
    }
    pic->fp = nullptr;
  }
  if (rc != 0) return rc;
  if (std::fflush(fp.get()) != 0 || std::ferror(fp.get())) {
    *err = std::string("Write error on ") + path;
    return 1;
  }
  return 0;
}
