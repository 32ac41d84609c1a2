// The coastlines drawn into a synthetic picture lie on its land/sea edges:
// polygons of the coast file placed through the simulator's own pixel
// positions (the display's orbit binding draws the same lines once it
// georeferences the recording) against the edges of channel 2, clear sky.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>
#include <vector>

#include "display/coast.h"
#include "sim/sim.h"
#include "support/testutil.h"

namespace {

constexpr double kDeg = 180.0 / M_PI;

struct Picture {
  int w = 0, h = 0;
  std::vector<double> lon, lat;  // degrees
  std::vector<int> ch2;
};

// Nearest pixel of (lon, lat) by descent from a coarse start; false when the
// point falls outside the picture.
bool locate(const Picture& p, const std::vector<int>& coarse, double lon, double lat, int* px,
            int* py) {
  const double c = std::cos(lat / kDeg);
  auto d2 = [&](int x, int y) {
    size_t k = size_t(y) * size_t(p.w) + size_t(x);
    double dl = (p.lon[k] - lon) * c, db = p.lat[k] - lat;
    return dl * dl + db * db;
  };
  // Start at the pixel whose coarse cell is nearest.
  double best = 1e30;
  int x = 0, y = 0;
  for (size_t i = 0; i + 1 < coarse.size(); i += 2) {
    double d = d2(coarse[i], coarse[i + 1]);
    if (d < best) best = d, x = coarse[i], y = coarse[i + 1];
  }
  for (bool moved = true; moved;) {
    moved = false;
    for (int dy = -1; dy <= 1; dy++)
      for (int dx = -1; dx <= 1; dx++) {
        int nx = x + dx, ny = y + dy;
        if (nx < 0 || ny < 0 || nx >= p.w || ny >= p.h) continue;
        double d = d2(nx, ny);
        if (d < best) best = d, x = nx, y = ny, moved = true;
      }
  }
  if (x == 0 || y == 0 || x == p.w - 1 || y == p.h - 1) return false;
  *px = x, *py = y;
  return true;
}

}  // namespace

TEST(SimCoast, OverlayOnLandSeaEdges) {
  // A mid-morning pass over the North Sea, Denmark and Norway in daylight
  // (NOAA 19 crosses Europe at dawn and dusk in October 2020); no clouds.
  SIM_REQUEST r;
  r.sat = "METOP-B";
  r.tle_path = testutil::source_path("data/weather.txt");
  r.coast_path = testutil::source_path("data/gshhs_l.b");
  r.start.tm_year = 120, r.start.tm_mon = 9, r.start.tm_mday = 26;
  r.start.tm_hour = 10, r.start.tm_min = 7, r.start.tm_sec = 30;
  r.seconds = 60;
  r.clouds = 0;
  auto pass = std::make_unique<SIM_PASS>();
  std::string err;
  ASSERT_EQ(sim_prepare(r, pass.get(), &err), 0) << err;

  Picture p;
  p.w = pass->width, p.h = pass->lines;
  p.lon.resize(size_t(p.w) * size_t(p.h));
  p.lat.resize(p.lon.size());
  p.ch2.resize(p.lon.size());
  SIM_LINE l;
  for (int y = 0; y < p.h; y++) {
    sim_line(*pass, y, &l);
    for (int x = 0; x < p.w; x++) {
      size_t k = size_t(y) * size_t(p.w) + size_t(x);
      p.lon[k] = l.lon[size_t(x)] * kDeg;
      p.lat[k] = l.lat[size_t(x)] * kDeg;
      p.ch2[k] = l.counts[2][size_t(x)];
    }
  }
  // Land where channel 2 is brighter than halfway between sea and land.
  std::vector<uint8_t> edge(p.ch2.size(), 0);
  int lo = *std::min_element(p.ch2.begin(), p.ch2.end());
  int hi = *std::max_element(p.ch2.begin(), p.ch2.end());
  ASSERT_GT(hi - lo, 20) << "no land/sea contrast in channel 2";
  const int thr = (lo + hi) / 2;
  for (int y = 0; y + 1 < p.h; y++)
    for (int x = 0; x + 1 < p.w; x++) {
      size_t k = size_t(y) * size_t(p.w) + size_t(x);
      bool a = p.ch2[k] > thr;
      if (a != (p.ch2[k + 1] > thr) || a != (p.ch2[k + size_t(p.w)] > thr)) edge[k] = 1;
    }

  // Coarse start points: every 16th pixel.
  std::vector<int> coarse;
  for (int y = 0; y < p.h; y += 16)
    for (int x = 0; x < p.w; x += 16) coarse.push_back(x), coarse.push_back(y);
  double lon_min = 1e9, lon_max = -1e9, lat_min = 1e9, lat_max = -1e9;
  for (size_t k = 0; k < p.lon.size(); k++) {
    lon_min = std::min(lon_min, p.lon[k]), lon_max = std::max(lon_max, p.lon[k]);
    lat_min = std::min(lat_min, p.lat[k]), lat_max = std::max(lat_max, p.lat[k]);
  }
  ASSERT_LT(lon_max - lon_min, 90) << "pass across the date line";

  // Overlay pixels: the polygons sampled finely between their points.
  FILE* fp = std::fopen(r.coast_path.c_str(), "rb");
  ASSERT_NE(fp, nullptr);
  std::vector<uint8_t> ovl(p.ch2.size(), 0);
  GSHHS h{};
  std::vector<DBLFLOAT> pts;
  for (;;) {
    int rr = read_polygon(fp, &h, lon_min, lon_max, lat_min, lat_max, 0, COAST_MIN_AREA_KM2);
    if (rr == GSHHS_EOF || rr == GSHHS_CORRUPT) break;
    if (rr != GSHHS_ACCEPTED || read_polygon_points(fp, h, &pts) != 1) continue;
    for (size_t i = 0; i + 1 < pts.size(); i++) {
      double a0 = pts[i].a, b0 = pts[i].b, a1 = pts[i + 1].a, b1 = pts[i + 1].b;
      if (std::fabs(a1 - a0) > 180) continue;
      int steps = 1 + int(std::hypot(a1 - a0, b1 - b0) / 0.004);
      for (int s = 0; s < steps; s++) {
        double lon = a0 + (a1 - a0) * s / steps, lat = b0 + (b1 - b0) * s / steps;
        if (lon < lon_min || lon > lon_max || lat < lat_min || lat > lat_max) continue;
        int x, y;
        if (locate(p, coarse, lon, lat, &x, &y)) ovl[size_t(y) * size_t(p.w) + size_t(x)] = 1;
      }
    }
  }
  std::fclose(fp);

  // Distance of every overlay pixel to the nearest edge pixel.
  std::vector<double> dist;
  const int R = 8;
  for (int y = 0; y < p.h; y++)
    for (int x = 0; x < p.w; x++) {
      if (!ovl[size_t(y) * size_t(p.w) + size_t(x)]) continue;
      double best = R + 1;
      for (int dy = -R; dy <= R; dy++)
        for (int dx = -R; dx <= R; dx++) {
          int nx = x + dx, ny = y + dy;
          if (nx < 0 || ny < 0 || nx >= p.w || ny >= p.h) continue;
          if (edge[size_t(ny) * size_t(p.w) + size_t(nx)])
            best = std::min(best, std::hypot(dx, dy));
        }
      dist.push_back(best);
    }
  ASSERT_GT(dist.size(), 200u) << "too little coast in the pass";
  std::sort(dist.begin(), dist.end());
  double median = dist[dist.size() / 2], p95 = dist[dist.size() * 95 / 100];
  RecordProperty("median", std::to_string(median));
  std::printf("coast pixels %zu, median %.2f px, 95th percentile %.2f px\n", dist.size(), median,
              p95);
  EXPECT_LE(median, 1.0);
  EXPECT_LE(p95, 2.0);
}
