#include "tracking/recmap.h"

#include <sys/stat.h>
#include <cmath>
#include <cstdarg>
#include <cstring>
#include <string>

namespace {

std::vector<unsigned char> g_map;  // empty while no map is loaded
bool g_saved = true;
RECMAP_RANGE g_min{}, g_max{};

constexpr double kRad2Deg = 180. / 3.14159265;

bool file_exists(const std::string& path) {
  struct stat st {};
  return stat(path.c_str(), &st) == 0;
}

int copy_file(const std::string& from, const std::string& to) {
  FILE* in = std::fopen(from.c_str(), "rb");
  if (!in) return -1;
  FILE* out = std::fopen(to.c_str(), "wb");
  if (!out) {
    std::fclose(in);
    return -1;
  }
  char buf[8192];
  size_t n;
  int st = 0;
  while ((n = std::fread(buf, 1, sizeof buf, in)) > 0)
    if (std::fwrite(buf, 1, n, out) != n) st = -1;
  std::fclose(in);
  if (std::fclose(out) != 0) st = -1;
  return st;
}

// Range around the observer, each coordinate truncated to whole degrees.
void range_of(const EPOINT* refpos, RECMAP_RANGE* min, RECMAP_RANGE* max) {
  int lon = int(refpos->lon * kRad2Deg), lat = int(refpos->lat * kRad2Deg);
  *min = {lon - 25, lat - 25};
  *max = {lon + 25, lat + 25};
}

// Observer mark (7 x 7 square) and the 5-degree grid.
void draw_marks(unsigned char* m, const EPOINT* refpos) {
  int ox = int(10 * (refpos->lon * kRad2Deg - g_min.lon));
  int oy = int(10 * (refpos->lat * kRad2Deg - g_min.lat));
  for (int dy = -3; dy <= 3; dy++)
    for (int dx = -3; dx <= 3; dx++) m[xy2arr(ox + dx, oy + dy)] = 136;
  for (int x = 0; x < RECMAP_W; x++)
    if ((10 * g_min.lon + x) % 50 == 0)
      for (int y = 0; y < RECMAP_H; y++) m[xy2arr(x, y)] = 102;
  for (int y = 0; y < RECMAP_H; y++)
    if ((10 * g_min.lat + y) % 50 == 0)
      for (int x = 0; x < RECMAP_W; x++) m[xy2arr(x, y)] = 102;
}

}  // namespace

int xy2arr(int x, int y) {
  x = x < 0 ? 0 : x > RECMAP_W - 1 ? RECMAP_W - 1 : x;
  int r = RECMAP_H - 1 - y;
  r = r < 0 ? 0 : r > RECMAP_H - 1 ? RECMAP_H - 1 : r;
  return x + r * RECMAP_W;
}

void process(unsigned char* raster, int flip, int clean) {
  if (flip) {
    std::vector<unsigned char> copy(raster, raster + RECMAP_SIZE);
    for (int y = 0; y < RECMAP_H - 1; y++)
      for (int x = 0; x < RECMAP_W - 1; x++) {
        unsigned char v = copy[size_t(RECMAP_H - 2 - y) * RECMAP_W + x];
        raster[size_t(y) * RECMAP_W + x] = v < 250 ? 0 : v;
      }
  }
  if (clean)
    for (int y = 0; y < RECMAP_H - 1; y++)
      for (int x = 0; x < RECMAP_W - 1; x++) {
        unsigned char& v = raster[size_t(y) * RECMAP_W + x];
        if (v != 255) v = 0;
      }
}

int get_range(const char* text, RECMAP_RANGE* min, RECMAP_RANGE* max) {
  // Old files separate the numbers with '-': read every '-' that does not
  // follow '[' directly as ':'.
  std::string t = text ? text : "";
  for (size_t i = 0; i < t.size(); i++)
    if (t[i] == '-' && i > 0 && t[i - 1] != '[') t[i] = ':';
  const char* p = std::strchr(t.c_str(), '[');
  int a, b, c, d;
  if (!p || std::sscanf(p, "[%d:%d],[%d:%d]", &a, &b, &c, &d) != 4) return 0;
  min->lon = a;
  max->lon = b;
  min->lat = c;
  max->lat = d;
  return 1;
}

int read_pgmhdr_plottrack(FILE* fp, int* width, int* height, RECMAP_RANGE* min, RECMAP_RANGE* max) {
  char magic[3] = {};
  if (!fp || std::fread(magic, 1, 2, fp) != 2) return 0;
  if (std::strcmp(magic, "P5") != 0 && std::strcmp(magic, "P6") != 0) return 0;
  int vals[3], nv = 0;
  while (nv < 3) {
    int c = std::fgetc(fp);
    if (c == EOF) return 0;
    if (c == '#') {
      char comment[101];
      int n = 0;
      while ((c = std::fgetc(fp)) != EOF && c != '\n')
        if (n < 100) comment[n++] = char(c);
      comment[n] = 0;
      if (std::strncmp(comment, "range", 5) == 0 && min && max) get_range(comment, min, max);
      continue;
    }
    if (c >= '0' && c <= '9') {
      long v = c - '0';
      while ((c = std::fgetc(fp)) >= '0' && c <= '9')
        if (v < 100000) v = v * 10 + (c - '0');
      vals[nv++] = int(v);
      if (c == EOF) return 0;
    }
  }
  *width = vals[0];
  *height = vals[1];
  return 1;
}

std::vector<unsigned char> read_plottrack(const char* path, RECMAP_RANGE* min, RECMAP_RANGE* max) {
  std::vector<unsigned char> m(RECMAP_SIZE, 0);
  FILE* fp = path ? std::fopen(path, "rb") : nullptr;
  if (!fp) return m;
  int w = 0, h = 0;
  if (read_pgmhdr_plottrack(fp, &w, &h, min, max) && w == RECMAP_W && h == RECMAP_H) {
    if (std::fread(m.data(), 1, m.size(), fp) != m.size()) std::fill(m.begin(), m.end(), 0);
  }
  std::fclose(fp);
  return m;
}

int write_pgmhdr(FILE* fp, int width, int height, const char* magic, const char* comment_format,
                 ...) {
  char comment[30];
  va_list ap;
  va_start(ap, comment_format);
  std::vsnprintf(comment, sizeof comment, comment_format, ap);
  va_end(ap);
  char hdr[60];
  int n = std::snprintf(hdr, sizeof hdr, "%s%c#%s%c%d %d%c %d%c", magic, '\n', comment, '\n', width,
                        height, '\n', 255, '\n');
  if (n > int(sizeof hdr) - 1) n = int(sizeof hdr) - 1;
  if (fp) std::fwrite(hdr, 1, size_t(n), fp);
  return n;
}

int cp2new(const char* name, int nkeep) {
  if (!name) return -1;
  std::string base = name;
  size_t dot = base.find('.');
  if (dot != std::string::npos) base.resize(dot);
  auto slot = [&](int i) { return base + std::to_string(i) + ".pgm"; };
  int ring = nkeep ? nkeep + 1 : 0;
  int i = 1;
  for (; ring == 0 || i <= ring; i++)
    if (!file_exists(slot(i))) break;
  if (ring) {
    if (i > ring) i = 1;
    // Keep the slot after the newest copy free.
    std::remove(slot(i == ring ? 1 : i + 1).c_str());
  }
  return copy_file(name, slot(i)) == 0 ? i : -1;
}

void recmap(int plot, const EPOINT* pos, const char* name, int nkeep, const EPOINT* refpos) {
  static const EPOINT origin{};
  if (!refpos) refpos = &origin;
  std::string fn = std::string(name ? name : "") + ".pgm";
  if (pos) {
    if (g_map.empty()) {
      range_of(refpos, &g_min, &g_max);
      RECMAP_RANGE fmin = g_min, fmax = g_max;
      g_map = read_plottrack(fn.c_str(), &fmin, &fmax);
      process(g_map.data(), 0, 1);
      draw_marks(g_map.data(), refpos);
    }
    if (plot) {
      int x = int(10 * (pos->lon * kRad2Deg - g_min.lon));
      int y = int(10 * (pos->lat * kRad2Deg - g_min.lat));
      int i = xy2arr(x, y);
      if (i >= 0 && i < RECMAP_SIZE) g_map[size_t(i)] = 255;
    }
    g_saved = false;
    return;
  }
  if (g_saved || g_map.empty()) return;
  FILE* fp = std::fopen(fn.c_str(), "wb");
  if (!fp) return;  // tried again at the next call without a position
  write_pgmhdr(fp, RECMAP_W, RECMAP_H, "P5", "range=[%d:%d],[%d:%d]", g_min.lon, g_max.lon,
               g_min.lat, g_max.lat);
  bool ok = std::fwrite(g_map.data(), 1, g_map.size(), fp) == g_map.size();
  if (std::fclose(fp) != 0 || !ok) return;
  cp2new(fn.c_str(), nkeep);
  g_saved = true;
}

void recmap_close() {
  g_map.clear();
  g_map.shrink_to_fit();
  g_saved = true;
}

const unsigned char* recmap_raster() { return g_map.empty() ? nullptr : g_map.data(); }
