#include "tracking/worldmap.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <memory>

#include "common/timeutil.h"
#include "display/coast.h"
#include "orbit/satdb.h"
#include "orbit/satpos.h"
#include "orbit/sunmoon.h"
#include "tracking/recmap.h"

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kD2R = kPi / 180.0;
constexpr double kEarthKm = 6378.135;
constexpr int kSea = 0x102a50;
constexpr int kCoast = 0xc8c8a0;
constexpr int kRecmap = 0xffffff;

struct Canvas {
  int w, h;
  unsigned char* p;
  void put(int x, int y, int rgb) {
    if (x < 0 || y < 0 || x >= w || y >= h) return;
    unsigned char* q = p + (size_t(y) * size_t(w) + size_t(x)) * 3;
    q[0] = static_cast<unsigned char>(rgb >> 16);
    q[1] = static_cast<unsigned char>(rgb >> 8);
    q[2] = static_cast<unsigned char>(rgb);
  }
  // A straight line; segments that cross the date line (more than half the
  // map wide) are not drawn.
  void line(double x0, double y0, double x1, double y1, int rgb) {
    if (std::fabs(x1 - x0) > w / 2.0) return;
    int n = int(std::max(std::fabs(x1 - x0), std::fabs(y1 - y0))) + 1;
    for (int i = 0; i <= n; i++) {
      double t = double(i) / n;
      put(int(std::floor(x0 + (x1 - x0) * t)), int(std::floor(y0 + (y1 - y0) * t)), rgb);
    }
  }
  void square(double cx, double cy, int half, int rgb) {
    int x = int(std::floor(cx)), y = int(std::floor(cy));
    for (int dy = -half; dy <= half; dy++)
      for (int dx = -half; dx <= half; dx++) put(x + dx, y + dy, rgb);
  }
};

// The point at angular distance d (radians) in direction bearing from lat0/lon0.
void destination(double lat0, double lon0, double d, double bearing, double* lat, double* lon) {
  double s = std::sin(lat0) * std::cos(d) + std::cos(lat0) * std::sin(d) * std::cos(bearing);
  *lat = std::asin(std::max(-1.0, std::min(1.0, s)));
  *lon = lon0 + std::atan2(std::sin(bearing) * std::sin(d) * std::cos(lat0),
                           std::cos(d) - std::sin(lat0) * std::sin(*lat));
  *lon = std::remainder(*lon, 2 * kPi);
}

// A circle of angular radius d around lat0/lon0 (radians).
void circle(Canvas* c, double lat0, double lon0, double d, int rgb) {
  double px = 0, py = 0;
  for (int i = 0; i <= 180; i++) {
    double lat, lon, x, y;
    destination(lat0, lon0, d, i * 2 * kPi / 180, &lat, &lon);
    wmap_lonlat2xy(c->w, c->h, lon / kD2R, lat / kD2R, &x, &y);
    if (i) c->line(px, py, x, y, rgb);
    px = x;
    py = y;
  }
}

struct tm add_seconds(const struct tm& t, long s) {
  struct tm x = t;
  time_t u = pava::mktime_utc(&x) + s;
  struct tm out;
  gmtime_r(&u, &out);
  return out;
}

void ground_track(Canvas* c, SAT* sat, const WMAP_OPTS& o, int rgb) {
  double px = 0, py = 0;
  bool have = false;
  SAT copy = *sat;  // the model state is advanced on a copy
  for (long s = -60L * o.track_before_min; s <= 60L * o.track_after_min; s += 30) {
    struct tm t = add_seconds(o.time, s);
    EPOINT p{};
    if (calc_onepos(&copy, &t, 0, &p, nullptr) != 0) {
      have = false;
      continue;
    }
    double x, y;
    wmap_lonlat2xy(c->w, c->h, p.lon / kD2R, p.lat / kD2R, &x, &y);
    if (have) c->line(px, py, x, y, rgb);
    px = x;
    py = y;
    have = true;
  }
}

}  // namespace

void wmap_lonlat2xy(int w, int h, double lon_deg, double lat_deg, double* x, double* y) {
  lon_deg = std::remainder(lon_deg, 360.0);
  if (lon_deg >= 180.0) lon_deg -= 360.0;
  *x = (lon_deg + 180.0) / 360.0 * w;
  *y = (90.0 - lat_deg) / 180.0 * h;
}

double wmap_footprint_radius(double height_km, double elev_deg) {
  if (!(height_km > 0)) return 0;
  double e = elev_deg * kD2R;
  return std::acos(kEarthKm / (kEarthKm + height_km) * std::cos(e)) - e;
}

const std::vector<WMAP_POLY>* worldmap_coast(const char* name, double min_area) {
  static std::map<std::string, std::unique_ptr<std::vector<WMAP_POLY>>> cache;
  std::string key = std::string(name ? name : "") + "|" + std::to_string(min_area);
  auto it = cache.find(key);
  if (it != cache.end()) return it->second.get();
  FILE* fp = name && *name ? open_coast_file(name) : nullptr;
  if (!fp) return nullptr;
  auto polys = std::make_unique<std::vector<WMAP_POLY>>();
  GSHHS h{};
  int r;
  bool bad = false;
  while ((r = read_polygon(fp, &h, -180, 180, -90, 90, 0, min_area)) != GSHHS_EOF) {
    if (r == GSHHS_CORRUPT) {
      bad = true;
      break;
    }
    if (r != GSHHS_ACCEPTED) continue;
    WMAP_POLY pts;
    if (read_polygon_points(fp, h, &pts) != 1) {
      bad = true;
      break;
    }
    polys->push_back(std::move(pts));
  }
  std::fclose(fp);
  if (bad && polys->empty()) return nullptr;
  return (cache[key] = std::move(polys)).get();
}

WMAP_OPTS worldmap_defaults() {
  WMAP_OPTS o{};
  o.width = 720;
  o.height = 360;
  o.day_night = 1;
  o.shadow_fact = 0.5f;
  o.track_before_min = 10;
  o.track_after_min = 90;
  static const int kClr[WC_COUNT] = {0xff0000, 0xffff00, 0xff8000, 0x00ff00, 0x800000,
                                     0x808000, 0x804000, 0x008000, 0x0000ff, 0x00ffff,
                                     0x008080, 0x808080, 0xffffff};
  std::copy(kClr, kClr + WC_COUNT, o.clr);
  return o;
}

int draw_worldmap(const WMAP_OPTS& o, std::vector<unsigned char>* rgb) {
  if (o.width < 16 || o.height < 16 || o.width > 8192 || o.height > 8192) return -1;
  const int w = o.width, h = o.height;
  rgb->assign(size_t(w) * size_t(h) * 3, 0);
  Canvas c{w, h, rgb->data()};

  // Background, shaded by the sun: full light where the sun stands above the
  // horizon, shadow_fact below -6 degrees (civil twilight) and a ramp between.
  EPOINT sun = calc_sun(&o.time);
  const double sun_lat = sun.lat, sun_lon = sun.lon;
  const double sin_d = std::sin(sun_lat), cos_d = std::cos(sun_lat);
  const float night = std::max(0.f, std::min(1.f, o.shadow_fact));
  std::vector<double> cos_dlon(size_t(w), 0.0);
  for (int x = 0; x < w; x++)
    cos_dlon[size_t(x)] = std::cos((-180.0 + (x + 0.5) * 360.0 / w) * kD2R - sun_lon);
  for (int y = 0; y < h; y++) {
    double lat = (90.0 - (y + 0.5) * 180.0 / h) * kD2R;
    double sl = std::sin(lat) * sin_d, cl = std::cos(lat) * cos_d;
    unsigned char* row = rgb->data() + size_t(y) * size_t(w) * 3;
    for (int x = 0; x < w; x++) {
      unsigned char* q = row + size_t(x) * 3;
      if (o.background) {
        const unsigned char* b = o.background + (size_t(y) * size_t(w) + size_t(x)) * 3;
        q[0] = b[0], q[1] = b[1], q[2] = b[2];
      } else {
        q[0] = kSea >> 16, q[1] = (kSea >> 8) & 0xff, q[2] = kSea & 0xff;
      }
      if (!o.day_night) continue;
      double alt = std::asin(std::max(-1.0, std::min(1.0, sl + cl * cos_dlon[size_t(x)])));
      double f = alt >= 0 ? 1.0 : alt <= -6 * kD2R ? night : 1.0 + (1.0 - night) * alt / (6 * kD2R);
      for (int k = 0; k < 3; k++) q[k] = static_cast<unsigned char>(q[k] * f + 0.5);
    }
  }

  // Grid every 30 degrees.
  for (int lon = -150; lon <= 150; lon += 30) {
    double x, y;
    wmap_lonlat2xy(w, h, lon, 0, &x, &y);
    for (int yy = 0; yy < h; yy++) c.put(int(x), yy, o.clr[WC_RASTER]);
  }
  for (int lat = -60; lat <= 60; lat += 30) {
    double x, y;
    wmap_lonlat2xy(w, h, 0, lat, &x, &y);
    for (int xx = 0; xx < w; xx++) c.put(xx, int(y), o.clr[WC_RASTER]);
  }

  // Coastlines.
  if (o.coast)
    for (const WMAP_POLY& poly : *o.coast)
      for (size_t i = 0; i + 1 < poly.size(); i++) {
        double x0, y0, x1, y1;
        wmap_lonlat2xy(w, h, poly[i].a, poly[i].b, &x0, &y0);
        wmap_lonlat2xy(w, h, poly[i + 1].a, poly[i + 1].b, &x1, &y1);
        c.line(x0, y0, x1, y1, kCoast);
      }

  // Received track points.
  if (o.recmap)
    for (int i = 0; i < RECMAP_SIZE; i++)
      if (o.recmap[i] == 255) {
        double lon = o.recmap_lon_min + (i % RECMAP_W + 0.5) / 10.0;
        double lat = o.recmap_lat_min + (RECMAP_H - 1 - i / RECMAP_W + 0.5) / 10.0;
        double x, y;
        wmap_lonlat2xy(w, h, lon, lat, &x, &y);
        c.put(int(x), int(y), kRecmap);
      }

  // Satellites: tracks first, then footprint and marks on top; the
  // highlighted one last.
  auto visible = [&](const SAT* s) { return s->visible || s == o.current; };
  for (SAT* s = o.sats; s; s = s->next)
    if (visible(s) && s != o.current && s->type == satellite)
      ground_track(&c, s, o, o.clr[WC_TRACK_NSEL]);
  if (o.current && o.current->type == satellite)
    ground_track(&c, const_cast<SAT*>(o.current), o, o.clr[WC_TRACK_SEL]);

  if (o.current) {
    SAT copy = *o.current;
    EPOINT p{};
    double height_m = 0;
    if (calc_onepos(&copy, &o.time, 0, &p, nullptr, &height_m) == 0 && copy.type == satellite) {
      double r = wmap_footprint_radius(height_m / 1000.0, o.radio_horizon_deg);
      circle(&c, p.lat, p.lon, r, o.clr[WC_RADIO_HOR]);
      if (o.observer) circle(&c, o.observer->lat, o.observer->lon, r, o.clr[WC_RADIO_HOR_OBS]);
    }
  }
  auto mark = [&](const SAT* s, bool sel) {
    SAT copy = *s;
    EPOINT p{};
    if (calc_onepos(&copy, &o.time, 0, &p, nullptr) != 0) return;
    double x, y;
    wmap_lonlat2xy(w, h, p.lon / kD2R, p.lat / kD2R, &x, &y);
    c.square(x, y, sel ? 3 : 2, o.clr[sel ? WC_MARK_SEL : WC_MARK_NSEL]);
  };
  for (SAT* s = o.sats; s; s = s->next)
    if (visible(s) && s != o.current) mark(s, false);
  if (o.current) mark(o.current, true);
  if (o.observer) {
    double x, y;
    wmap_lonlat2xy(w, h, o.observer->lon / kD2R, o.observer->lat / kD2R, &x, &y);
    c.square(x, y, 2, o.clr[WC_REF_MARK]);
    c.line(x - 5, y, x + 5, y, o.clr[WC_REF_MARK]);
    c.line(x, y - 5, x, y + 5, o.clr[WC_REF_MARK]);
  }
  return 0;
}
