#include "sim/sim.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <cstring>
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

// Rotation of a TEME vector into the earth-fixed frame.
void teme_to_ecef(const double v[3], double theta, double o[3]) {
  double c = std::cos(theta), s = std::sin(theta);
  o[0] = c * v[0] + s * v[1];
  o[1] = -s * v[0] + c * v[1];
  o[2] = v[2];
}

// Spacecraft address of the HRPT ID word by satellite name.
int hrpt_address(const std::string& sat) {
  const char* p = sat.c_str();
  while (*p && !std::isdigit(static_cast<unsigned char>(*p))) p++;
  switch (std::atoi(p)) {
    case 15:
      return 7;
    case 16:
      return 8;
    case 17:
      return 11;
    case 18:
      return 13;
    case 19:
      return 15;
    default:
      return 15;
  }
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

// Deterministic random numbers (splitmix64).
struct Rng {
  uint64_t s;
  explicit Rng(uint64_t seed) : s(seed) {}
  uint64_t next() {
    uint64_t z = (s += 0x9E3779B97F4A7C15ull);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
    return z ^ (z >> 31);
  }
  double uniform() { return (next() >> 11) * (1.0 / 9007199254740992.0); }
};

// Flips bits of the 10-bit words with probability p (geometric gaps).
void add_bit_errors(std::vector<uint16_t>* w, double p, Rng* rng) {
  if (p <= 0) return;
  const long nbits = long(w->size()) * 10;
  const double lq = std::log1p(-std::min(p, 0.5));
  long pos = -1;
  for (;;) {
    double u = rng->uniform();
    pos += 1 + long(std::floor(std::log1p(-u) / lq));
    if (pos >= nbits || pos < 0) break;
    (*w)[size_t(pos / 10)] ^= uint16_t(1u << (pos % 10));
  }
}

// The HRPT frame of line i: header words, the earth view, leader.
void hrpt_frame(const SIM_PASS& p, int i, const SIM_LINE& l, std::vector<uint16_t>* out) {
  std::vector<uint16_t>& w = *out;
  w.assign(size_t(kHdrWords + 5 * p.width + kLeaderWords), 0);
  for (int k = 0; k < 6; k++) w[size_t(k)] = HRPT_SYNC[k];
  w[6] = uint16_t(0x200 | (((i % 3) + 1) << 7) | (p.spacecraft_addr << 3) | (p.chan3a ? 1 : 0));
  w[7] = 0x2AA;
  // Time code: day of the year and milliseconds of the day.
  double secs = (l.jd - 2440587.5) * 86400.0;
  time_t whole = time_t(std::floor(secs + 1e-6));
  long ms = std::lround((secs - double(whole)) * 1000.0);
  if (ms >= 1000) whole++, ms -= 1000;
  struct tm t {};
  t = pava::gmtime_utc(whole);
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
  for (int q = 623; q < kHdrWords; q++) w[size_t(q)] = (q & 1) ? 0x1A5 : 0x25A;
  for (int x = 0; x < p.width; x++)
    for (int ch = 0; ch < 5; ch++) w[size_t(kHdrWords + 5 * x + ch)] = l.counts[ch + 1][size_t(x)];
  for (int q = 0; q < kLeaderWords; q++)
    w[size_t(kHdrWords + 5 * p.width + q)] = uint16_t((q * 0x155 + 0x0F3) & 0x3FF);
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

int sim_format_supported(int f) { return f == SIM_HRPT || f == SIM_HPT || f == SIM_MHRPT1; }

int sim_ray_wgs84(const double r[3], const double v[3], double jd, double a, double* lon,
                  double* lat, double p_km[3]) {
  // Orbital frame: down towards the earth's centre, forward along the
  // velocity, right = forward x up.
  double up[3] = {r[0], r[1], r[2]};
  unit(up);
  double f[3] = {v[0], v[1], v[2]};
  double vu = dot(f, up);
  for (int k = 0; k < 3; k++) f[k] -= vu * up[k];
  unit(f);
  double right[3];
  cross(f, up, right);
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
  p->meteor = req.format == SIM_MHRPT1;
  p->width = p->meteor ? 1540 : 2048;
  p->max_angle = p->meteor ? 54.0 : 55.4;
  p->line_dt = 1.0 / 6.0;
  p->lines = int(std::floor(req.seconds / p->line_dt + 1e-9));
  if (p->lines < 1) {
    *err = "Pass too short for one line";
    return 1;
  }
  p->spacecraft_addr = hrpt_address(req.sat);
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
  for (int ch = 1; ch <= 6; ch++) l->counts[ch].assign(size_t(w), 0);
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
  double up[3] = {r[0], r[1], r[2]};
  unit(up);
  double f[3] = {v[0], v[1], v[2]};
  double vu = dot(f, up);
  for (int k = 0; k < 3; k++) f[k] -= vu * up[k];
  unit(f);
  double right[3];
  cross(f, up, right);
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
  }
}

int sim_write(const SIM_PASS& p, const char* path, std::string* err) {
  FilePtr fp(std::fopen(path, "wb"));
  if (!fp) {
    *err = std::string("Cannot write ") + path;
    return 1;
  }
  std::unique_ptr<PICINFO, void (*)(PICINFO*)> pic(pic_new(), pic_delete);
  const bool hpt = p.req.format == SIM_HPT;
  pic->fp = fp.get();
  pic->file_type = hpt ? FT_HPT : p.meteor ? FT_MHRPT1 : FT_HRPT;
  pic->width = p.width;
  for (int c = 0; c <= (p.meteor ? 6 : 5); c++) pic->channels_recorded[c] = 1;
  pava::copy_text(pic->sat_name, p.req.sat.c_str());
  pic->height = p.lines;
  pic->picture_time = p.req.start;
  pic->kepler = p.kepler;
  pic->orbit.start_tm_sat = p.req.start;
  pic->orbit.use_sattime = 1;
  {
    SIM_LINE a, b;
    sim_line(p, 0, &a);
    sim_line(p, p.lines - 1, &b);
    pic->scan_ver = b.sat_lat < a.sat_lat ? N_S : S_N;
  }
  if (hpt) {
    pic->fri = calc_hrptframeinfo(FT_HPT, pic->channels_recorded, p.width);
    std::vector<uint8_t> lead(925, 0);  // start of the file the readers skip
    std::fwrite(lead.data(), 1, lead.size(), fp.get());
  } else if (write_hrpt1_hdr(pic.get()) != 0) {
    pic->fp = nullptr;
    *err = "Cannot write the file header";
    return 1;
  }
  const long first = std::ftell(fp.get());

  // Lines in blocks, each block computed by worker threads.
  int nthreads = p.req.threads > 0 ? p.req.threads : int(std::thread::hardware_concurrency());
  nthreads = std::clamp(nthreads, 1, 16);
  const int block = 192;
  const int loss0 = p.req.sync_loss > 0 ? p.lines / 2 : p.lines;
  const int loss1 = loss0 + int(std::lround(p.req.sync_loss / p.line_dt));
  Rng err_rng(uint64_t(p.req.seed) * 0x1234567ull + 77);
  std::vector<std::vector<uint16_t>> frames(static_cast<size_t>(block));
  for (int b0 = 0; b0 < p.lines; b0 += block) {
    const int nb = std::min(block, p.lines - b0);
    auto work = [&](int tid) {
      SIM_LINE l;
      for (int j = tid; j < nb; j += nthreads) {
        sim_line(p, b0 + j, &l);
        if (p.meteor)
          meteor_words(p, l, &frames[size_t(j)]);
        else
          hrpt_frame(p, b0 + j, l, &frames[size_t(j)]);
      }
    };
    std::vector<std::thread> pool;
    for (int t = 1; t < nthreads; t++) pool.emplace_back(work, t);
    work(0);
    for (auto& th : pool) th.join();
    for (int j = 0; j < nb; j++) {
      std::vector<uint16_t>& w = frames[size_t(j)];
      const int i = b0 + j;
      if (i >= loss0 && i < loss1) {
        // No lock: the board hands over noise.
        for (auto& v : w) v = uint16_t(err_rng.next() & 0x3FF);
      } else {
        add_bit_errors(&w, p.req.bit_errors, &err_rng);
      }
      int ok;
      if (p.meteor)
        ok = write_mhrpt1_line(pic.get(), w.data());
      else if (hpt)
        ok = write_hpt_line(pic.get(), w.data());
      else
        ok = write_hrpt1_line(pic.get(), w.data(), is_hrptsync(w.data(), 0) ? 0x10 : 0);
      if (ok == 0 && !hpt) break;
    }
  }
  pic->fp = nullptr;
  if (p.meteor) {
    // Line times, whole seconds of Moscow time, in bytes 30-32 of each
    // line's first frame.
    for (int i = 0; i < p.lines; i++) {
      double secs = (p.jd0 - 2440587.5) * 86400.0 + i * p.line_dt + 3 * 3600;
      struct tm t = pava::gmtime_utc(time_t(std::floor(secs + 1e-6)));
      uint8_t hms[3] = {uint8_t(t.tm_hour), uint8_t(t.tm_min), uint8_t(t.tm_sec)};
      std::fseek(fp.get(), first + long(i) * MHRPT_LINEBYTES + 30, SEEK_SET);
      std::fwrite(hms, 1, 3, fp.get());
    }
  }
  if (std::fflush(fp.get()) != 0 || std::ferror(fp.get())) {
    *err = std::string("Write error on ") + path;
    return 1;
  }
  return 0;
}
