#include "sim/scene.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "display/coast.h"

namespace {

constexpr double kPi = 3.14159265358979323846;

struct Crossing {
  int row;
  double lon;
  bool operator<(const Crossing& o) const { return row != o.row ? row < o.row : lon < o.lon; }
};

// Paints value into the cells of row j whose centres lie in [xa, xb) (lon
// degrees, any multiple of 360 away from the window).
void fill_span(SIM_LANDMASK* m, int j, double xa, double xb, uint8_t value) {
  for (int k = -2; k <= 2; k++) {
    double a = (xa + 360.0 * k - m->west) / m->res - 0.5;
    double b = (xb + 360.0 * k - m->west) / m->res - 0.5;
    int i0 = std::max(0, int(std::ceil(a)));
    int i1 = std::min(m->nlon, int(std::ceil(b)));
    if (i0 >= i1) continue;
    std::fill(m->land.begin() + long(j) * m->nlon + i0, m->land.begin() + long(j) * m->nlon + i1,
              value);
  }
}

void fill_polygon(SIM_LANDMASK* m, std::vector<std::pair<double, double>>& p, uint8_t value,
                  std::vector<Crossing>* scratch) {
  scratch->clear();
  const size_t n = p.size();
  for (size_t e = 0; e < n; e++) {
    const auto& a = p[e];
    const auto& b = p[(e + 1) % n];
    if (a.second == b.second) continue;
    double lo = std::min(a.second, b.second), hi = std::max(a.second, b.second);
    // Rows whose centre lat satisfies lo <= c < hi.
    int j0 = std::max(0, int(std::ceil((lo - m->south) / m->res - 0.5)));
    int j1 = std::min(m->nlat - 1, int(std::ceil((hi - m->south) / m->res - 0.5)) - 1);
    for (int j = j0; j <= j1; j++) {
      double c = m->south + (j + 0.5) * m->res;
      double t = (c - a.second) / (b.second - a.second);
      scratch->push_back({j, a.first + t * (b.first - a.first)});
    }
  }
  std::sort(scratch->begin(), scratch->end());
  for (size_t k = 0; k + 1 < scratch->size(); k += 2) {
    if ((*scratch)[k].row != (*scratch)[k + 1].row) {
      k--;  // unpaired crossing (degenerate edge): resynchronise on the next row
      continue;
    }
    fill_span(m, (*scratch)[k].row, (*scratch)[k].lon, (*scratch)[k + 1].lon, value);
  }
}

uint32_t hash3(uint32_t seed, int x, int y, int z) {
  uint32_t h = seed * 0x9E3779B1u;
  h ^= uint32_t(x) * 0x85EBCA77u;
  h = (h << 13) | (h >> 19);
  h ^= uint32_t(y) * 0xC2B2AE3Du;
  h = (h << 17) | (h >> 15);
  h ^= uint32_t(z) * 0x27D4EB2Fu;
  h ^= h >> 15;
  h *= 0x2C1B3C6Du;
  h ^= h >> 12;
  h *= 0x297A2D39u;
  h ^= h >> 15;
  return h;
}

double value_noise(uint32_t seed, double x, double y, double z) {
  double fx = std::floor(x), fy = std::floor(y), fz = std::floor(z);
  int ix = int(fx), iy = int(fy), iz = int(fz);
  double tx = x - fx, ty = y - fy, tz = z - fz;
  tx = tx * tx * (3 - 2 * tx);
  ty = ty * ty * (3 - 2 * ty);
  tz = tz * tz * (3 - 2 * tz);
  double v[8];
  for (int c = 0; c < 8; c++)
    v[c] = hash3(seed, ix + (c & 1), iy + ((c >> 1) & 1), iz + (c >> 2)) * (1.0 / 4294967296.0);
  double x00 = v[0] + (v[1] - v[0]) * tx, x10 = v[2] + (v[3] - v[2]) * tx;
  double x01 = v[4] + (v[5] - v[4]) * tx, x11 = v[6] + (v[7] - v[6]) * tx;
  double y0 = x00 + (x10 - x00) * ty, y1 = x01 + (x11 - x01) * ty;
  return y0 + (y1 - y0) * tz;
}

double smoothstep(double a, double b, double x) {
  double t = std::clamp((x - a) / (b - a), 0.0, 1.0);
  return t * t * (3 - 2 * t);
}

}  // namespace

int sim_landmask_build(FILE* fp, double west, double east, double south, double north, double res,
                       SIM_LANDMASK* mask, long max_cells) {
  if (!fp || !(res > 0) || !(east > west) || !(north > south)) return -1;
  south = std::max(south, -90.0);
  north = std::min(north, 90.0);
  double nl = std::ceil((east - west) / res), nb = std::ceil((north - south) / res);
  if (nl * nb > double(max_cells) || nl < 1 || nb < 1) return -1;
  mask->west = west;
  mask->south = south;
  mask->res = res;
  mask->nlon = int(nl);
  mask->nlat = int(nb);
  mask->land.assign(size_t(mask->nlon) * size_t(mask->nlat), 0);

  // Polygons by level, unwrapped in longitude.
  std::vector<std::vector<std::pair<double, double>>> levels[5];
  std::rewind(fp);
  GSHHS h{};
  std::vector<DBLFLOAT> pts;
  for (;;) {
    int r = read_polygon(fp, &h, -180.0, 180.0, -90.0, 90.0, 0, -1.0);
    if (r == GSHHS_EOF) break;
    if (r == GSHHS_CORRUPT) return -1;
    if (r != GSHHS_ACCEPTED) continue;
    if (read_polygon_points(fp, h, &pts) != 1) return -1;
    if (h.level < 1 || h.level > 4 || pts.size() < 3) continue;
    if (h.north_deg < south || h.south_deg > north) continue;
    std::vector<std::pair<double, double>> p;
    p.reserve(pts.size() + 2);
    double lon = pts[0].a, prev = pts[0].a, latsum = 0;
    for (const DBLFLOAT& q : pts) {
      double d = q.a - prev;
      if (d > 180) d -= 360;
      if (d < -180) d += 360;
      lon += d;
      prev = q.a;
      p.emplace_back(lon, double(q.b));
      latsum += q.b;
    }
    // A polygon around a pole (Antarctica) is closed over that pole.
    if (std::fabs(p.back().first - p.front().first) > 180) {
      double pole = latsum < 0 ? -90.0 : 90.0;
      p.emplace_back(p.back().first, pole);
      p.emplace_back(p.front().first, pole);
    }
    levels[h.level].push_back(std::move(p));
  }
  std::vector<Crossing> scratch;
  int used = 0;
  for (int lv = 1; lv <= 4; lv++)
    for (auto& p : levels[lv]) {
      fill_polygon(mask, p, uint8_t(lv & 1), &scratch);
      used++;
    }
  return used;
}

int sim_landmask_at(const SIM_LANDMASK& m, double lon, double lat) {
  if (m.nlon == 0) return 0;
  int j = int(std::floor((lat - m.south) / m.res));
  if (j < 0 || j >= m.nlat) return 0;
  double dl = std::fmod(lon - m.west, 360.0);
  if (dl < 0) dl += 360.0;
  int i = int(std::floor(dl / m.res));
  if (i < 0 || i >= m.nlon) return 0;
  return m.land[size_t(j) * size_t(m.nlon) + size_t(i)];
}

double sim_fbm(uint32_t seed, double x, double y, double z, int octaves, double freq) {
  double sum = 0, amp = 0.5, norm = 0;
  for (int o = 0; o < octaves; o++) {
    sum += amp * value_noise(seed + uint32_t(o) * 7919u, x * freq, y * freq, z * freq);
    norm += amp;
    amp *= 0.5;
    freq *= 2.03;
  }
  return sum / norm;
}

void sim_surface(const SIM_SCENE& s, double lon, double lat, const double xyz[3],
                 const double sun[3], SIM_SURFACE* o) {
  const double deg = 180.0 / kPi;
  o->land = s.mask ? sim_landmask_at(*s.mask, lon * deg, lat * deg) : 0;
  o->cos_sun = xyz[0] * sun[0] + xyz[1] * sun[1] + xyz[2] * sun[2];
  const double day = std::max(0.0, o->cos_sun);

  // Clouds: fractal noise about 300 km across; the cover sets the threshold.
  o->cloud = 0;
  double top = 240;
  if (s.clouds > 0) {
    double c = sim_fbm(s.seed, xyz[0], xyz[1], xyz[2], 5, 20.0);
    double thr = 0.68 - 0.36 * std::min(1.0, s.clouds);
    if (s.clouds >= 1) thr = -1;
    o->cloud = smoothstep(thr, thr + 0.06, c);
    double hgt = sim_fbm(s.seed ^ 0xA5A5A5u, xyz[0], xyz[1], xyz[2], 2, 8.0);
    top = 220.0 + 40.0 * (1.0 - std::clamp((hgt - 0.25) * 2.0, 0.0, 1.0));
  }

  // Surface temperatures: the sea about 285 K at mid latitudes, the land
  // warmer by day and cooler at night, with some texture.
  const double sea = 273.0 + 17.0 * std::cos(lat);
  double t4 = sea;
  if (o->land) {
    double tex = sim_fbm(s.seed ^ 0x5EED5u, xyz[0], xyz[1], xyz[2], 3, 60.0);
    t4 = sea - 3.0 + 12.0 * day + 4.0 * (tex - 0.5);
  }
  double a1 = o->land ? 0.12 : 0.06, a2 = o->land ? 0.30 : 0.03;
  const double cl = o->cloud;
  o->albedo[0] = a1 * (1 - cl) + 0.75 * cl;
  o->albedo[1] = a2 * (1 - cl) + 0.70 * cl;
  double ts = t4 * (1 - cl) + top * cl;
  o->temp[1] = ts;
  o->temp[2] = ts - 0.8 - 0.6 * (1 - cl);
  o->temp[0] = ts + 2.5 * day;
}
