#include "display/georef.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <thread>

#include "common/timeutil.h"
#include "config/prefs.h"
#include "display/coast.h"
#include "orbit/satpos.h"
#include "orbit/sgp4.h"

namespace {

constexpr double kPi = 3.14159265;  // as the scan geometry takes it
constexpr double kRad2Deg = 180.0 / M_PI;

// Longitude brought into (-pi, pi].
double wrap_pi(double lon) {
  while (lon > M_PI) lon -= 2 * M_PI;
  while (lon <= -M_PI) lon += 2 * M_PI;
  return lon;
}

// Nearest integer of a value that is positive (biased degrees): the same as
// lround there, without its cost in the per-pixel loops.
inline long round_pos(double v) { return v > 0 ? long(v + 0.5) : std::lround(v); }

// The 2/4/8 bits of a degree line at whole degree m (m >= 0).
int degree_bits(long m) {
  int b = 0;
  if (m % 2 == 0) b |= 2;
  if (m % 5 == 0) b |= 4;
  if (m % 10 == 0) b |= 8;
  return b;
}

// Number of parts parallel_parts makes of n rows.
constexpr int kMaxParts = 8;
int part_count(int n) {
  return std::clamp(std::min(int(std::thread::hardware_concurrency()), n / 256), 1, kMaxParts);
}

// Runs fn(begin, end, part) on the part_count(n) parts of [0, n), on as many
// threads (the calling one among them). The parts must be independent.
template <class F>
void parallel_parts(int n, F fn) {
  const int nt = part_count(n);
  std::vector<std::thread> workers;
  for (int t = 1; t < nt; t++)
    workers.emplace_back(fn, int(long(n) * t / nt), int(long(n) * (t + 1) / nt), t);
  fn(0, int(long(n) / nt), 0);
  for (auto& w : workers) w.join();
}

// Earth-centre angle and its cosine/sine for every pixel of a line: the same
// for every line of a picture.
struct ScanAngles {
  std::vector<double> c, s;
};

ScanAngles scan_angles(const ORBIT& orbit, int width) {
  ScanAngles a;
  a.c.resize(size_t(width));
  a.s.resize(size_t(width));
  for (int x = 0; x < width; x++) {
    double th = x2earthangle(orbit.height, E_W, x, orbit.width_original / 2, orbit.max_sens_angle);
    a.c[size_t(x)] = std::cos(th);
    a.s[size_t(x)] = std::sin(th);
  }
  return a;
}

// Positions of a line's pixels: the unit satellite vector rotated by each
// pixel's earth angle across the orbit plane (about the inclination).
void line_positions_with(XLINE* l, const EPOINT& earth, const EPOINT& sat, double si, double ci,
                         const ScanAngles& ang) {
  if (!xline_alloc_pos(l)) return;
  double len = std::sqrt(double(sat.x) * sat.x + double(sat.y) * sat.y + double(sat.z) * sat.z);
  if (len <= 0) return;
  const double ux = sat.x / len, uy = sat.y / len, uz = sat.z / len;
  const double lam = earth.lon;
  const int w = std::min(l->width, int(ang.c.size()));
  for (int x = 0; x < w; x++) {
    double c = ang.c[size_t(x)], s = ang.s[size_t(x)];
    double px = ux * c + s * si, py = uy * c, pz = uz * c - s * ci;
    if (s == 0) px = ux, py = uy, pz = uz;
    double pl = std::sqrt(px * px + py * py + pz * pz);
    GEOPOS& p = l->pos[x];
    p.lon = float(wrap_pi(-(std::atan2(px / pl, py / pl) + lam)));
    p.lat = float(std::asin(std::clamp(pz / pl, -1.0, 1.0)));
  }
}

// WGS 84 ellipsoid, km.
constexpr double kWgsA = 6378.137;
constexpr double kWgsF = 1.0 / 298.257223563;
constexpr double kWgsB = kWgsA * (1.0 - kWgsF);
constexpr double kWgsE2 = kWgsF * (2.0 - kWgsF);

// Sensor angle (radians) of every pixel of a line: +A at x = 0, 0 at the
// nadir x = n, -A at x = 2n, as x2earthangle counts them.
ScanAngles sensor_angles(const ORBIT& orbit, int width) {
  ScanAngles a;
  a.c.resize(size_t(width));
  a.s.resize(size_t(width));
  const int n = orbit.width_original / 2;
  for (int x = 0; x < width; x++) {
    double ang = n ? M_PI * orbit.max_sens_angle / 180.0 * double(n - x) / double(n) : 0.0;
    a.c[size_t(x)] = std::cos(ang);
    a.s[size_t(x)] = std::sin(ang);
  }
  return a;
}

double dot3(const double a[3], const double b[3]) {
  return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}
void cross3(const double a[3], const double b[3], double out[3]) {
  out[0] = a[1] * b[2] - a[2] * b[1];
  out[1] = a[2] * b[0] - a[0] * b[2];
  out[2] = a[0] * b[1] - a[1] * b[0];
}
void unit3(double v[3]) {
  double l = std::sqrt(dot3(v, v));
  if (l > 0) v[0] /= l, v[1] /= l, v[2] /= l;
}

// Positions of a line's pixels on the WGS 84 ellipsoid: the satellite's SGP4
// position and velocity at the line time turned earth-fixed with the sidereal
// angle; each pixel's look vector is the nadir rotated across the track (about
// the velocity) by its sensor angle, and meets the ellipsoid; latitudes are
// geodetic. The scan centre points at the earth's centre, not along the
// ellipsoid normal: the platforms hold their attitude with earth (horizon)
// sensors, which find the direction of the earth's centre; the normal would
// move the swath up to about 6 km along the track at its edges.
// Returns false when the model fails.
bool line_positions_precise(XLINE* l, const KEPLER& kepler, double jd, const ScanAngles& ang) {
  double pt[3], vt[3];
  if (orbit_teme_posvel(&kepler, jd, pt, vt) != 0) return false;
  if (!xline_alloc_pos(l)) return true;
  const double th = ThetaG_JD(jd), ct = std::cos(th), st = std::sin(th);
  // Earth-fixed position; the velocity stays inertial (turned with the same
  // angle) since it is the platform's motion that orients the scan.
  const double p[3] = {ct * pt[0] + st * pt[1], -st * pt[0] + ct * pt[1], pt[2]};
  double v[3] = {ct * vt[0] + st * vt[1], -st * vt[0] + ct * vt[1], vt[2]};
  unit3(v);
  const double rl = std::sqrt(dot3(p, p));
  if (!(rl > 0)) return false;
  double nad[3] = {-p[0] / rl, -p[1] / rl, -p[2] / rl};
  // Across the track: the sensor angle turns the nadir about the velocity;
  // positive angles (x = 0 side) towards nadir x velocity.
  double cr[3];
  cross3(nad, v, cr);
  unit3(cr);
  const double ia2 = 1.0 / (kWgsA * kWgsA), ib2 = 1.0 / (kWgsB * kWgsB);
  const double pp = (p[0] * p[0] + p[1] * p[1]) * ia2 + p[2] * p[2] * ib2 - 1.0;
  const int w = std::min(l->width, int(ang.c.size()));
  auto exact = [&](int x) {
    const double c = ang.c[size_t(x)], s = ang.s[size_t(x)];
    const double d[3] = {nad[0] * c + cr[0] * s, nad[1] * c + cr[1] * s, nad[2] * c + cr[2] * s};
    // |p + t d| on the ellipsoid: a t^2 + 2 b t + pp = 0, nearest root.
    const double qa = (d[0] * d[0] + d[1] * d[1]) * ia2 + d[2] * d[2] * ib2;
    const double qb = (p[0] * d[0] + p[1] * d[1]) * ia2 + p[2] * d[2] * ib2;
    double disc = qb * qb - qa * pp;
    // A look past the limb takes the tangent point.
    const double t = (-qb - std::sqrt(std::max(0.0, disc))) / qa;
    const double g[3] = {p[0] + t * d[0], p[1] + t * d[1], p[2] + t * d[2]};
    GEOPOS& e = l->pos[x];
    e.lon = float(std::atan2(g[1], g[0]));
    e.lat = float(std::atan2(g[2], (1.0 - kWgsE2) * std::hypot(g[0], g[1])));
  };
  // Every kStep-th pixel (and the last) exactly; the ones between linearly
  // in between (well under 100 m off), except near the poles or where the
  // longitude turns fast, which are done exactly.
  constexpr int kStep = 8;
  if (w > 0) exact(0);
  for (int x0 = 0; x0 < w - 1; x0 += kStep) {
    const int x1 = std::min(x0 + kStep, w - 1);
    exact(x1);
    const GEOPOS& e0 = l->pos[x0];
    const GEOPOS& e1 = l->pos[x1];
    const double dlon = std::remainder(double(e1.lon) - e0.lon, 2 * M_PI);
    if (std::fabs(e0.lat) > 1.3 || std::fabs(e1.lat) > 1.3 || std::fabs(dlon) > 0.035) {
      for (int x = x0 + 1; x < x1; x++) exact(x);
      continue;
    }
    for (int x = x0 + 1; x < x1; x++) {
      const double f = double(x - x0) / double(x1 - x0);
      GEOPOS& e = l->pos[x];
      e.lon = float(wrap_pi(e0.lon + f * dlon));
      e.lat = float(e0.lat + f * (e1.lat - e0.lat));
    }
  }
  return true;
}

}  // namespace

float x2earthangle(float height, SCANDIR scandir, int x, int n, float max_angle) {
  if (n == 0) return 0.0f;
  // Sensor angle of pixel x: +A at x = 0, 0 at the nadir x = n, -A at x = 2n.
  double a = kPi * max_angle / 180.0 * double(n - x) / double(n);
  if (scandir == W_E) a = -a;
  // The ray from a satellite at k earth radii meets the sphere at the earth
  // angle th with cos th = sqrt(1 - k^2 sin^2 a) cos a + k sin^2 a.
  double k = (GEO_EARTH_RADIUS_M + height) / GEO_EARTH_RADIUS_M;
  double s2 = std::sin(a) * std::sin(a);
  double c = std::sqrt(std::max(0.0, 1.0 - k * k * s2)) * std::cos(a) + k * s2;
  c = std::clamp(c, -1.0, 1.0);
  double r = std::acos(c);
  return float(a < 0 ? -r : r);
}

void line_positions(XLINE* l, const EPOINT& earth, const EPOINT& sat, float inclination,
                    const ORBIT& orbit) {
  if (!xline_alloc_pos(l)) return;
  ScanAngles ang = scan_angles(orbit, l->width);
  line_positions_with(l, earth, sat, std::sin(double(inclination)), std::cos(double(inclination)),
                      ang);
}

void line_olmask(const XLINE* prev, XLINE* l) {
  if (!l->olmask || !l->pos) return;
  // A longitude crossing between neighbours sets the byte, a latitude
  // crossing against the line before adds to it.
  std::memset(l->olmask, 0, size_t(l->width));
  for (int x = 1; x < l->width; x++) {
    long l1 = round_pos(200.0 + l->pos[x - 1].lon * kRad2Deg);
    long l2 = round_pos(200.0 + l->pos[x].lon * kRad2Deg);
    if (l1 != l2) l->olmask[x] = uint8_t(1 | degree_bits(std::max(l1, l2)));
  }
  if (prev && prev->pos) {
    int w = std::min(l->width, prev->width);
    for (int x = 0; x < w; x++) {
      long p1 = round_pos(100.0 + prev->pos[x].lat * kRad2Deg);
      long p2 = round_pos(100.0 + l->pos[x].lat * kRad2Deg);
      if (p1 != p2) l->olmask[x] |= uint8_t(1 | degree_bits(std::max(p1, p2)));
    }
  }
}

int add_subsatpos(PICINFO* pic) {
  if (!pic->xline || !pic->valid_time) return 0;
  ORBIT& orbit = pic->orbit;
  const double si = std::sin(double(pic->kepler.inclination));
  const double ci = std::cos(double(pic->kepler.inclination));
  int maxw = 0;
  for (XLINE* l = pic->xline; l; l = l->next) maxw = std::max(maxw, l->width);
  const bool precise = prefs.precise_geolocation && pic->kepler.sgp4_ready;
  const ScanAngles ang = precise ? sensor_angles(orbit, maxw) : scan_angles(orbit, maxw);

  // Positions of line i; false when the model failed there.
  auto positions = [&](XLINE* l) {
    struct tm t = l->tm_ms.tm;
    t.tm_sec += orbit.offset_sec;
    t.tm_hour += orbit.offset_gmt;
    pava::mktime_utc(&t);
    EPOINT earth{}, sat{}, subsat{};
    if (calc_sat_earth_v2(&t, l->tm_ms.ms, &pic->kepler, &orbit, &earth, &sat, &subsat) != 0)
      return false;
    l->subsatpos = subsat;
    if (precise)
      return line_positions_precise(l, pic->kepler, orbit_julian_date(&t, l->tm_ms.ms), ang);
    line_positions_with(l, earth, sat, si, ci, ang);
    return true;
  };
  // The first line decides whether the model works at all; the others are
  // independent of each other, and each line's grid mask needs only its own
  // positions and those of the line before (left as they were when the model
  // failed there).
  const int n = pic_line_count(pic);
  if (!positions(pic_line(pic, 0))) return -1;
  std::vector<uint8_t> ok(size_t(n), 0);
  ok[0] = 1;
  parallel_parts(n - 1, [&](int b, int e, int) {
    for (int i = b + 1; i < e + 1; i++) ok[size_t(i)] = positions(pic_line(pic, i));
  });
  parallel_parts(n, [&](int b, int e, int) {
    for (int i = b; i < e; i++)
      if (ok[size_t(i)]) line_olmask(i > 0 ? pic_line(pic, i - 1) : nullptr, pic_line(pic, i));
  });
  return int(std::count(ok.begin(), ok.end(), uint8_t(1)));
}

int xy2lonlat(int x, int y, const XLINE* line, const PICINFO* pic, EPOINT* out) {
  if (!line) {
    int n = pic_line_count(pic);
    if (n == 0) return 0;
    line = pic_line(pic, std::clamp(y, 0, n - 1));
  }
  if (!line || !line->pos || line->width <= 0) return 0;
  x = std::clamp(x, 0, line->width - 1);
  *out = EPOINT{};
  out->lat = line->pos[x].lat;
  out->lon = float(line->pos[x].lon + kPi * pic->orbit.offset_lon / 180.0);
  return 1;
}

std::vector<DBLFLOAT> mklut_xy2lonlat(const XLINE* first, int width, int height, float offset_lon) {
  std::vector<DBLFLOAT> t;
  if (width <= 0 || height <= 0) return t;
  t.resize(size_t(width) * size_t(height) + 2);  // every entry is written below
  double off = kPi * offset_lon / 180.0;
  std::vector<const XLINE*> lines(size_t(height), nullptr);
  int y = 0;
  for (const XLINE* l = first; l && y < height; l = l->next, y++) lines[size_t(y)] = l;
  // Bounds per part, joined after.
  struct Bounds {
    double minlon = 10.0, minlat = 10.0, maxlon = -10.0, maxlat = -10.0;
  };
  std::vector<Bounds> parts(size_t(part_count(height)));
  parallel_parts(height, [&](int b, int e, int part) {
    Bounds bd;
    for (int yy = b; yy < e; yy++) {
      DBLFLOAT* row = &t[size_t(yy) * size_t(width)];
      const XLINE* l = lines[size_t(yy)];
      int w = (l && l->pos) ? std::min(width, l->width) : 0;
      for (int x = 0; x < w; x++) {
        double lon = l->pos[x].lon + off;
        double lat = l->pos[x].lat;
        row[x].a = float(lon * kRad2Deg);
        row[x].b = float(lat * kRad2Deg);
        if (l->tm_ms.valid) {
          bd.minlon = std::min(bd.minlon, lon);
          bd.maxlon = std::max(bd.maxlon, lon);
          bd.minlat = std::min(bd.minlat, lat);
          bd.maxlat = std::max(bd.maxlat, lat);
        }
      }
      std::fill(row + w, row + width, DBLFLOAT{0, 0});
    }
    parts[size_t(part)] = bd;
  });
  Bounds all;
  for (const Bounds& bd : parts) {
    all.minlon = std::min(all.minlon, bd.minlon);
    all.maxlon = std::max(all.maxlon, bd.maxlon);
    all.minlat = std::min(all.minlat, bd.minlat);
    all.maxlat = std::max(all.maxlat, bd.maxlat);
  }
  size_t nb = size_t(width) * size_t(height);
  t[nb] = {float(all.minlon * kRad2Deg), float(all.minlat * kRad2Deg)};
  t[nb + 1] = {float(all.maxlon * kRad2Deg), float(all.maxlat * kRad2Deg)};
  return t;
}

std::vector<DBLINT> mklut_lonlat2xy(const std::vector<DBLFLOAT>& xy2lola, int width, int height,
                                    int* offset_lon, int* offset_lat, int* range_lon,
                                    int* range_lat, int scale, long max_cells) {
  std::vector<DBLINT> t;
  *offset_lon = *offset_lat = *range_lon = *range_lat = 0;
  size_t np = size_t(width) * size_t(height);
  if (width <= 0 || height <= 0 || xy2lola.size() != np + 2 || scale <= 0) return t;
  const DBLFLOAT lo = xy2lola[np], hi = xy2lola[np + 1];
  if (!(lo.a <= hi.a) || !(lo.b <= hi.b)) return t;  // no line with a valid time
  int lon0 = int(scale * lo.a), lat0 = int(scale * lo.b);
  long rlon = long(scale * hi.a) - lon0, rlat = long(scale * hi.b) - lat0;
  if (rlon <= 0 || rlat <= 0 || rlon * rlat > max_cells) return t;
  t.assign(size_t(rlon * rlat), DBLINT{0, 0});
  for (int y = 0; y < height; y++) {
    const DBLFLOAT* row = &xy2lola[size_t(y) * size_t(width)];
    for (int x = 0; x < width; x++) {
      long i = long(scale * row[x].a - lon0) + long(scale * row[x].b - lat0) * rlon;
      if (i >= 0 && i < rlon * rlat) t[size_t(i)] = {x, y};
    }
  }
  // Holes take the last value seen, a and b each on its own, across rows.
  int la = 0, lb = 0;
  for (DBLINT& e : t) {
    if (e.a == 0)
      e.a = la;
    else
      la = e.a;
    if (e.b == 0)
      e.b = lb;
    else
      lb = e.b;
  }
  *offset_lon = lon0;
  *offset_lat = lat0;
  *range_lon = int(rlon);
  *range_lat = int(rlat);
  return t;
}

void lonlat2ovl(const std::vector<DBLFLOAT>& xy2lola, int width, int height,
                std::vector<char>& ovlarr) {
  size_t np = size_t(width) * size_t(height);
  if (width <= 0 || height <= 0 || xy2lola.size() < np) return;
  if (ovlarr.size() < np) ovlarr.resize(np, 0);
  // A value crosses a degree line when its truncated degree or its sign
  // changes (so -0.5 and +0.5 still mark the zero line): each value is
  // reduced once to its truncated degree with the sign in bit 0.
  auto key = [](float v) { return int(v) * 2 + (std::signbit(v) ? 1 : 0); };
  auto bits = [](float v) {
    long m = std::lround(v);
    int b = 2;
    if (m % 5 == 0) b |= 4;
    if (m % 10 == 0) b |= 8;
    return b;
  };
  // Rows are independent: each reads its row and the one above.
  parallel_parts(height, [&](int y0, int y1, int) {
    const size_t nw = size_t(width);
    std::vector<int> ka(nw), kb(nw), ua(nw), ub(nw);
    if (y0 > 0)
      for (int x = 0; x < width; x++) {
        ua[size_t(x)] = key(xy2lola[size_t(y0 - 1) * size_t(width) + size_t(x)].a);
        ub[size_t(x)] = key(xy2lola[size_t(y0 - 1) * size_t(width) + size_t(x)].b);
      }
    for (int y = y0; y < y1; y++) {
      const DBLFLOAT* row = &xy2lola[size_t(y) * size_t(width)];
      char* o = &ovlarr[size_t(y) * size_t(width)];
      for (int x = 0; x < width; x++) {
        ka[size_t(x)] = key(row[x].a);
        kb[size_t(x)] = key(row[x].b);
      }
      for (int x = 0; x < width; x++) {
        const int a = ka[size_t(x)], b = kb[size_t(x)];
        bool ca = x > 0 && ka[size_t(x) - 1] != a;
        bool cb = x > 0 && kb[size_t(x) - 1] != b;
        if (y > 0) {
          ca = ca || ua[size_t(x)] != a;
          cb = cb || ub[size_t(x)] != b;
        }
        if (!(ca | cb)) continue;
        int m = 0;
        if (ca) m |= bits(row[x].a);
        if (cb) m |= bits(row[x].b);
        o[x] = char(o[x] | m);
      }
      ka.swap(ua);
      kb.swap(ub);
    }
  });
}

void free_overlay(OVLINFO* ovl) {
  std::vector<DBLFLOAT>().swap(ovl->xy2lola);
  std::vector<DBLINT>().swap(ovl->lola2xy);
  std::vector<char>().swap(ovl->ovlarr);
  std::vector<uint32_t>().swap(ovl->cells);
  ovl->cells_step_lon = ovl->cells_step_lat = 0;
  ovl->built = 0;
  ovl->built_coast = 0;
}

int create_overlay(FILE* coast, PICINFO* pic) {
  OVLINFO& ovl = pic->ovlinfo;
  const ORBIT& orbit = pic->orbit;
  const int w = pic->width, h = std::min(pic->height, pic_line_count(pic));
  // Kept unless a correction changed, the mask is gone, or the picture grew
  // (lines arriving during a recording).
  if (ovl.built && !ovl.ovlarr.empty() && ovl.ovlarr.size() == size_t(w) * size_t(std::max(h, 0)) &&
      ovl.built_offset_gmt == orbit.offset_gmt && ovl.built_offset_sec == orbit.offset_sec &&
      ovl.built_offset_lon == orbit.offset_lon && ovl.built_use_sattime == orbit.use_sattime &&
      (ovl.built_coast || !coast))
    return 0;
  free_overlay(&ovl);
  if (w <= 0 || h <= 0) return -1;
  ovl.ovlarr.assign(size_t(w) * size_t(h), 0);
  ovl.xy2lola = mklut_xy2lonlat(pic->xline, w, h, orbit.offset_lon);
  // Hundredths of a degree; a pass over the pole spans every longitude, so the
  // table is made coarser rather than taking gigabytes.
  for (int scale = 100; scale >= 6; scale /= 2) {
    ovl.lola2xy = mklut_lonlat2xy(ovl.xy2lola, w, h, &ovl.offset_lon, &ovl.offset_lat,
                                  &ovl.range_lon, &ovl.range_lat, scale);
    ovl.scale = scale;
    if (!ovl.lola2xy.empty()) break;
  }
  if (coast && !ovl.lola2xy.empty()) {
    std::rewind(coast);
    ovl.built_coast = draw_coast_file(coast, &ovl, w, h) == GSHHS_CORRUPT ? -1 : 1;
  } else if (coast) {
    ovl.built_coast = 2;  // no lon/lat table to place the coast with: nothing to draw
  }
  lonlat2ovl(ovl.xy2lola, w, h, ovl.ovlarr);
  ovl.built = 1;
  ovl.built_offset_gmt = orbit.offset_gmt;
  ovl.built_offset_sec = orbit.offset_sec;
  ovl.built_offset_lon = orbit.offset_lon;
  ovl.built_use_sattime = orbit.use_sattime;
  return 1;
}

const int* mk_lintbl(const PICINFO* pic, VIEWINFO* view) {
  if (!view->linearize) return nullptr;
  const int W0 = pic->width_original;
  const float A = pic->max_sens_angle;
  if (W0 <= 0 || A == 0 || pic->width <= 0) return nullptr;
  const double L = pic->lin_exp != 0 ? pic->lin_exp : 1.0;
  const float h = pic->orbit.height != 0 ? pic->orbit.height : GEO_DEFAULT_HEIGHT_M;
  const int n = int(W0 * L) / 2, N = 2 * n;
  if (n < 1) return nullptr;
  std::vector<int> t(size_t(N), 0), lin(size_t(N), 0), rev(size_t(N), 0);

  // t: output column, linear in ground distance, to source column.
  const double E = x2earthangle(h, scan_unk, 0, 1, A);
  if (E == 0) return nullptr;
  t[0] = 0;
  t[size_t(N - 1)] = W0 - 1;
  int j = 0;
  for (int i = 0; i < n; i++) {
    double e = (n - 1) * double(x2earthangle(h, scan_unk, i, n, A)) / E;
    for (int k = j; k <= (n - 1) - int(e); k++) {
      t[size_t(k)] = int(i / L);
      t[size_t(N - 1 - k)] = W0 - 1 - t[size_t(k)];
    }
    j = n - int(e);
  }

  const int width = pic->width;
  int ox = pic->ox;
  if (ox + width > W0) ox = W0 - width;
  const int s = std::clamp(int(ox * L), 0, N - 1);
  const int e = std::min(N - 1, int(s + (width - 1) * L));
  const int den = t[size_t(e)] - t[size_t(s)];
  for (int k = 0; k < N; k++) {
    int m = s + k;
    if (m > W0 * L - 1 || m >= N) break;
    int v = den != 0 ? (width - 1) * (t[size_t(m)] - t[size_t(s)]) / den : 0;
    lin[size_t(k)] = v;
    if (v >= 0 && v < width) rev[size_t(v)] = k;
  }
  view->lin_xtbl = std::move(lin);
  view->revlin_xtbl = std::move(rev);
  return view->lin_xtbl.data();
}

int scrx2picx(int sx, VIEWINFO* view, const PICINFO* pic) {
  const ZOOMVAL& z = view->zval;
  double sxp = sx + view->xmap_offset;
  double v;
  if (view->scan_hor != E_W)
    v = z.dx != 0 ? sxp / z.dx + z.ox : 0;
  else
    v = (z.zx != 0 && z.dx != 0) ? pic->width / z.zx + z.ox - sxp / z.dx : 0;
  const double top = double(pic->width) + z.ox;
  v = std::clamp(v, 0.0, std::max(0.0, top));
  if (!(v < top - 1)) {
    v = top;
  } else if (view->linearize) {
    if (pic->lin_exp == 0) return int(pic->ox + v);
    if (view->lin_xtbl.empty()) mk_lintbl(pic, view);
    if (!view->lin_xtbl.empty()) {
      long i = long(pic->lin_exp * v);
      i = std::clamp(i, 0L, long(view->lin_xtbl.size()) - 1);
      v = view->lin_xtbl[size_t(i)];
    }
  }
  return int(pic->ox + v);
}

int scry2picy(int sy, const VIEWINFO* view, const PICINFO* pic) {
  const ZOOMVAL& z = view->zval;
  double syp = sy + view->ymap_offset;
  double y;
  if (view->scan_ver != S_N) {
    if (z.dy == 0) return pic->oy;
    y = syp / z.dy + z.oy;
  } else {
    if (z.zy == 0 || z.dy == 0) return pic->oy;
    y = pic->height / z.zy + z.oy - syp / z.dy;
  }
  return int(y) + pic->oy;
}

int map_xy(int wnd_width, int wnd_height, int no_xymapping, int single_channel, PICINFO* pic,
           VIEWINFO* view, std::vector<int>* xmap, std::vector<int>* ymap) {
  mk_lintbl(pic, view);
  if (wnd_width < 0 || wnd_height < 0) return 1;
  std::vector<int> xm, ym;
  try {
    xm.assign(size_t(wnd_width), -1);
  } catch (...) {
    return 1;
  }
  try {
    ym.assign(size_t(wnd_height), -1);
  } catch (...) {
    return 2;
  }
  view->xmap_offset = 0;
  view->ymap_offset = 0;
  const int width = pic->width, height = pic->height;
  view->zval.dx = width > 0 ? wnd_width * view->zval.zx / width : 0;
  view->zval.dy = height > 0 ? wnd_height * view->zval.zy / height : 0;

  int step = 1, chan_sel = 0, header_len = 0;
  if (!single_channel) {
    step = pic->fri.inter_chan;
    header_len = pic->fri.header_len;
    for (int ch = 1; ch <= 25; ch++) {
      if (view->channel_selected[ch] && pic->channels_recorded[ch]) break;
      if (pic->channels_recorded[ch]) chan_sel++;
    }
  }
  int nx = 0;
  for (int sx = 0; sx < wnd_width; sx++) {
    int x = no_xymapping ? sx : scrx2picx(sx, view, pic) - pic->ox;
    if (x >= width) continue;
    xm[size_t(nx++)] = std::max(0, x) * step + chan_sel + header_len;
  }
  int ny = 0;
  for (int sy = 0; sy < wnd_height; sy++) {
    int y = no_xymapping ? sy : scry2picy(sy, view, pic) - pic->oy;
    if (y >= height) continue;
    ym[size_t(ny++)] = std::clamp(y, 0, std::max(0, height - 1));
  }
  if (view->scan_hor == E_W) view->xmap_offset = wnd_width - nx;
  if (view->scan_ver == S_N) view->ymap_offset = wnd_height - ny;
  view->xmap = std::move(xm);
  view->ymap = std::move(ym);
  if (xmap) *xmap = view->xmap;
  if (ymap) *ymap = view->ymap;
  return 0;
}
