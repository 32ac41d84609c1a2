#include "display/coast.h"

#include "config/datadir.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "common/bytes.h"

#ifndef PAVA_DATADIR
#define PAVA_DATADIR "/usr/local/share/pava"
#endif

namespace {

// GSHHS 1.x polygon header, 40 bytes, big-endian:
//
//   0       4       8       12      16      20      24      28      32      36  38  40
//   +-------+-------+-------+-------+-------+-------+-------+-------+-------+---+---+
//   | id    | n     | level | west  | east  | south | north | area  |version|grw|src|
//   +-------+-------+-------+-------+-------+-------+-------+-------+-------+---+---+
//   int32 each (bounds in micro-degrees, area in 0.1 km^2), then int16 greenwich
//   and source; then n points of int32 lon, int32 lat (micro-degrees).
//
// The later 2.x layout has a 44-byte header whose third word packs level,
// version and flags into one int32; read as a level it is far above 4, which
// is how such a file is told apart and refused.
constexpr int kHeaderBytes = 40;
constexpr int kPointBytes = 8;
constexpr int kMicro = 1000000;

int32_t be32s(const uint8_t* p) { return int32_t(pava::get_be32(p)); }

// Bytes left in fp after the current position; -1 when unknown.
long bytes_left(FILE* fp) {
  long here = std::ftell(fp);
  if (here < 0 || std::fseek(fp, 0, SEEK_END) != 0) return -1;
  long end = std::ftell(fp);
  std::fseek(fp, here, SEEK_SET);
  return end - here;
}

// Sets bit 1 along the segment (x0,y0)-(x1,y1) (Bresenham).
void draw_segment(std::vector<char>& arr, int width, int height, int x0, int y0, int x1, int y1) {
  int dx = std::abs(x1 - x0), sx = x0 < x1 ? 1 : -1;
  int dy = -std::abs(y1 - y0), sy = y0 < y1 ? 1 : -1;
  int err = dx + dy;
  for (;;) {
    if (x0 >= 0 && x0 < width && y0 >= 0 && y0 < height)
      arr[size_t(y0) * size_t(width) + size_t(x0)] |= 1;
    if (x0 == x1 && y0 == y1) break;
    int e2 = 2 * err;
    if (e2 >= dy) {
      err += dy;
      x0 += sx;
    }
    if (e2 <= dx) {
      err += dx;
      y0 += sy;
    }
  }
}

// Squared distance (degrees, longitude scaled by cos lat) between pixel
// (x, y) and the point.
double dist2(const OVLINFO& ovl, int width, int x, int y, double lon, double lat, double coslat) {
  const DBLFLOAT q = ovl.xy2lola[size_t(y) * size_t(width) + size_t(x)];
  double dlon = std::fabs(q.a - lon);
  if (dlon > 180) dlon = 360 - dlon;
  dlon *= coslat;
  double dlat = q.b - lat;
  return dlon * dlon + dlat * dlat;
}

// Picture pixel of (lon, lat) degrees. lola2xy gives a first guess; where the
// table has holes (finer cells than the pixels) its filling carries a pixel
// from elsewhere in the row, so nearby cells are tried too. The guess is then
// refined by walking to the neighbour pixel closest to the point, and the
// point is taken only when it lies within about a pixel of the one found.
bool lonlat_to_pixel(const OVLINFO& ovl, int width, int height, double lon, double lat, int* x,
                     int* y) {
  const int scale = ovl.scale > 0 ? ovl.scale : 100;
  const long rl = ovl.range_lon, rb = ovl.range_lat;
  const double coslat = std::cos(lat * M_PI / 180);
  const double rough = 1.0;  // degrees: a guess this close is worth refining
  for (double l : {lon, lon - 360.0, lon + 360.0}) {
    long i0 = long(std::floor(scale * l)) - ovl.offset_lon;
    long j0 = long(std::floor(scale * lat)) - ovl.offset_lat;
    if (i0 < 0 || i0 >= rl || j0 < 0 || j0 >= rb) continue;
    int gx = -1, gy = -1;
    for (int r = 0; r <= 16 && gx < 0; r++) {
      const long cand[4][2] = {{i0, j0 - r}, {i0, j0 + r}, {i0 - r, j0}, {i0 + r, j0}};
      for (const auto& c : cand) {
        if (c[0] < 0 || c[0] >= rl || c[1] < 0 || c[1] >= rb) continue;
        const DBLINT p = ovl.lola2xy[size_t(c[0] + c[1] * rl)];
        if (p.a < 0 || p.a >= width || p.b < 0 || p.b >= height) continue;
        if (dist2(ovl, width, p.a, p.b, l, lat, coslat) < rough * rough) {
          gx = p.a;
          gy = p.b;
          break;
        }
      }
    }
    if (gx < 0) return false;
    double d = dist2(ovl, width, gx, gy, l, lat, coslat);
    for (int step = 0; step < 256; step++) {
      int bx = gx, by = gy;
      for (int dy = -1; dy <= 1; dy++)
        for (int dx = -1; dx <= 1; dx++) {
          int nx = gx + dx, ny = gy + dy;
          if ((dx == 0 && dy == 0) || nx < 0 || nx >= width || ny < 0 || ny >= height) continue;
          double nd = dist2(ovl, width, nx, ny, l, lat, coslat);
          if (nd < d) {
            d = nd;
            bx = nx;
            by = ny;
          }
        }
      if (bx == gx && by == gy) break;
      gx = bx;
      gy = by;
    }
    // The pixel's own size: the larger step to its neighbours.
    int ax = gx + 1 < width ? gx + 1 : gx - 1, ay = gy + 1 < height ? gy + 1 : gy - 1;
    const DBLFLOAT q = ovl.xy2lola[size_t(gy) * size_t(width) + size_t(gx)];
    double px2 = 0;
    if (ax >= 0) px2 = std::max(px2, dist2(ovl, width, ax, gy, q.a, q.b, coslat));
    if (ay >= 0) px2 = std::max(px2, dist2(ovl, width, gx, ay, q.a, q.b, coslat));
    if (d > 2.25 * px2) return false;  // more than 1.5 pixels off: outside the picture
    *x = gx;
    *y = gy;
    return true;
  }
  return false;
}

}  // namespace

int read_polygon(FILE* fp, GSHHS* h, double lon_min, double lon_max, double lat_min, double lat_max,
                 int max_level, double min_area) {
  uint8_t b[kHeaderBytes];
  size_t got = std::fread(b, 1, sizeof b, fp);
  if (got == 0) return GSHHS_EOF;
  if (got < sizeof b) return GSHHS_CORRUPT;
  h->id = be32s(b);
  h->n = be32s(b + 4);
  h->level = be32s(b + 8);
  h->west = be32s(b + 12);
  h->east = be32s(b + 16);
  h->south = be32s(b + 20);
  h->north = be32s(b + 24);
  h->area = be32s(b + 28);
  std::memcpy(&h->version, b + 32, 4);  // kept as stored
  h->greenwich = short(pava::get_be16(b + 36));
  h->source = short(pava::get_be16(b + 38));

  // Plausibility of a 40-byte header: level 1..4, bounds on the earth, and a
  // point count that the rest of the file holds.
  const long left = bytes_left(fp);
  if (h->level < 1 || h->level > 4 || h->n < 0 || h->area < 0 || std::abs(h->west) > 360 * kMicro ||
      std::abs(h->east) > 360 * kMicro || std::abs(h->south) > 90 * kMicro ||
      std::abs(h->north) > 90 * kMicro || h->south > h->north ||
      (left >= 0 && long(h->n) * kPointBytes > left))
    return GSHHS_CORRUPT;

  h->west_deg = h->west * 1e-6;
  h->east_deg = h->east * 1e-6;
  if (h->west_deg > 180) h->west_deg -= 360;
  if (h->east_deg > 180) h->east_deg -= 360;
  h->south_deg = h->south * 1e-6;
  h->north_deg = h->north * 1e-6;
  h->area_km2 = h->area / 10.0;

  bool accept = lon_max > h->west_deg && h->east_deg > lon_min && lat_max > h->south_deg &&
                h->north_deg > lat_min && h->area_km2 > min_area &&
                (max_level == 0 || max_level >= h->level);
  if (accept) return GSHHS_ACCEPTED;
  if (std::fseek(fp, long(h->n) * kPointBytes, SEEK_CUR) != 0) return GSHHS_CORRUPT;
  return GSHHS_SKIPPED;
}

int read_polygon_points(FILE* fp, const GSHHS& h, std::vector<DBLFLOAT>* pts) {
  pts->clear();
  if (h.n < 0) return GSHHS_CORRUPT;
  std::vector<uint8_t> buf(size_t(h.n) * kPointBytes);
  if (!buf.empty() && std::fread(buf.data(), 1, buf.size(), fp) != buf.size()) return GSHHS_CORRUPT;
  pts->reserve(size_t(h.n));
  for (int k = 0; k < h.n; k++) {
    const uint8_t* p = &buf[size_t(k) * kPointBytes];
    int32_t lon = be32s(p), lat = be32s(p + 4);
    if (std::abs(lon) > 360 * kMicro || std::abs(lat) > 90 * kMicro) return GSHHS_CORRUPT;
    double dl = lon * 1e-6;
    if (dl > 180) dl -= 360;
    pts->push_back({float(dl), float(lat * 1e-6)});
  }
  return 1;
}

int overlay2lut(const std::vector<DBLFLOAT>& pts, OVLINFO* ovl, int width, int height) {
  if (ovl->lola2xy.empty() || width <= 0 || height <= 0) return 0;
  if (ovl->ovlarr.size() < size_t(width) * size_t(height)) return 0;
  // Segments longer than this are a jump across the swath's edge, not coast.
  const int maxjump = std::max(64, width / 4);
  int drawn = 0;
  bool have_prev = false;
  int px = 0, py = 0;
  for (const DBLFLOAT& p : pts) {
    int x, y;
    if (!lonlat_to_pixel(*ovl, width, height, p.a, p.b, &x, &y)) {
      have_prev = false;
      continue;
    }
    if (have_prev && std::abs(x - px) <= maxjump && std::abs(y - py) <= maxjump) {
      draw_segment(ovl->ovlarr, width, height, px, py, x, y);
      drawn++;
    } else {
      draw_segment(ovl->ovlarr, width, height, x, y, x, y);
    }
    have_prev = true;
    px = x;
    py = y;
  }
  return drawn;
}

int draw_coast_file(FILE* fp, OVLINFO* ovl, int width, int height) {
  int polys = 0;
  GSHHS h;
  std::vector<DBLFLOAT> pts;
  for (;;) {
    int r = read_polygon(fp, &h, -180, 180, -90, 90, 0, COAST_MIN_AREA_KM2);
    if (r == GSHHS_EOF) break;
    if (r == GSHHS_CORRUPT) return GSHHS_CORRUPT;
    if (r == GSHHS_SKIPPED) continue;
    if (read_polygon_points(fp, h, &pts) != 1) return GSHHS_CORRUPT;
    overlay2lut(pts, ovl, width, height);
    polys++;
  }
  return polys;
}

FILE* open_coast_file(const char* name, std::string* used) {
  if (!name || !*name) return nullptr;
  std::string path = data_file_path(name);
  FILE* fp = std::fopen(path.c_str(), "rb");
  if (fp && used) *used = path;
  return fp;
}
