// Georeferencing: earth angle, pixel positions, overlay tables, screen maps
// and linearisation.
#include <gtest/gtest.h>

#include <cmath>
#include <tuple>

#include "display/georef.h"
#include "picture_builder.h"
#include "support/testutil.h"

namespace {

constexpr double kR = 6378160.0;
double deg(double r) { return r * 180.0 / M_PI; }

// Earth angle by the law of sines in the satellite-centre-point triangle:
// sin(a + th) = k sin a.
double ref_earth_angle(double h, double a) {
  double k = (kR + h) / kR;
  return std::asin(k * std::sin(a)) - a;
}

}  // namespace

// x2earthangle: nadir, edges, sign, W_E flip, zero half-width.
TEST(EarthAngle, Geometry) {
  const float h = 833000.0f, A = 55.37f;
  // x = half-width: angle 0 (the sub-satellite point).
  EXPECT_FLOAT_EQ(x2earthangle(h, E_W, 1024, 1024, A), 0.0f);
  struct Row {
    int x, n;
    SCANDIR d;
  };
  const Row rows[] = {
      {0, 1024, E_W},     // left edge: +A
      {2048, 1024, E_W},  // right edge: -A
      {0, 1024, W_E},     // W_E flips the sign
      {0, 1, scan_unk},   // the linearisation's edge angle
  };
  for (const Row& r : rows) {
    double a = 3.14159265 * A / 180.0 * double(r.n - r.x) / r.n;
    if (r.d == W_E) a = -a;
    double e = a < 0 ? -ref_earth_angle(h, -a) : ref_earth_angle(h, a);
    EXPECT_NEAR(x2earthangle(h, r.d, r.x, r.n, A), e, 1e-5) << r.x << "/" << r.n;
  }
  EXPECT_FLOAT_EQ(x2earthangle(h, E_W, 5, 0, A), 0.0f);
  // Beyond the horizon the cosine is clamped: no NaN.
  EXPECT_FALSE(std::isnan(x2earthangle(h, E_W, 0, 10, 89.0f)));
}

// Positions of one line: the pixel at the half-width is the sub-satellite
// point of the satellite vector; the rotation across the orbit plane.
TEST(Positions, LineFromSatelliteVector) {
  auto pic = dtest::make_picture(2048, 2, 1, [](int, int, int) { return 0; });
  ORBIT o{};
  o.height = 833000.0f;
  o.width_original = 2048;
  o.max_sens_angle = 55.37f;
  EPOINT earth{}, sat{};
  earth.lon = 0.3f;
  const float incl = float(98.7 * M_PI / 180);
  // A satellite vector across which the scan direction (sin i, 0, -cos i) is
  // perpendicular, so that the scan is a true rotation.
  sat.x = float(4000 * std::cos(incl));
  sat.y = 5000;
  sat.z = float(4000 * std::sin(incl));
  XLINE* l = pic_line(pic.get(), 0);
  line_positions(l, earth, sat, incl, o);
  double len = std::sqrt(double(sat.x) * sat.x + double(sat.y) * sat.y + double(sat.z) * sat.z);
  double ux = sat.x / len, uy = sat.y / len, uz = sat.z / len;
  double lon = -(std::atan2(ux, uy) + 0.3);
  EXPECT_NEAR(l->pos[1024].lon, std::remainder(lon, 2 * M_PI), 1e-5);
  EXPECT_NEAR(l->pos[1024].lat, std::asin(uz), 1e-5);
  // An edge pixel: p = u cos th + (sin i, 0, -cos i) sin th.
  double th = ref_earth_angle(833000.0, 3.14159265 * 55.37 / 180);
  double px = ux * std::cos(th) + std::sin(th) * std::sin(incl);
  double py = uy * std::cos(th);
  double pz = uz * std::cos(th) - std::sin(th) * std::cos(incl);
  double pl = std::sqrt(px * px + py * py + pz * pz);
  EXPECT_NEAR(l->pos[0].lat, std::asin(pz / pl), 1e-4);
  EXPECT_NEAR(l->pos[0].lon, std::remainder(-(std::atan2(px / pl, py / pl) + 0.3), 2 * M_PI), 1e-4);

  // Without a valid time nothing is done; with one, the orbit model is asked.
  pic->valid_time = 0;
  EXPECT_EQ(add_subsatpos(pic.get()), 0);
}

// The per-line grid mask: a longitude crossing sets the byte (1 and the
// 2/4/8 bits of the larger degree), a latitude crossing is or-ed in.
TEST(Positions, LineGridMask) {
  auto pic = dtest::make_picture(6, 2, 1, [](int, int, int) { return 0; });
  XLINE* a = pic_line(pic.get(), 0);
  XLINE* b = pic_line(pic.get(), 1);
  ASSERT_TRUE(xline_alloc_pos(a) && xline_alloc_pos(b));
  const double lons[6] = {8.2, 9.7, 10.2, 10.4, 11.6, 12.0};  // rounded: 8,10,10,10,12,12
  for (int x = 0; x < 6; x++) {
    a->pos[x].lon = b->pos[x].lon = float(lons[x] * M_PI / 180);
    a->pos[x].lat = float(45.6 * M_PI / 180);                   // rounds to 46
    b->pos[x].lat = float((x < 3 ? 45.2 : 45.7) * M_PI / 180);  // 45 or 46
  }
  line_olmask(nullptr, a);
  // 208 -> 210 at x = 1: even, 5, 10; 212 at x = 4: even only.
  EXPECT_EQ(std::vector<int>(a->olmask, a->olmask + 5), (std::vector<int>{0, 15, 0, 0, 3}));
  line_olmask(a, b);
  // Latitude 145 -> 146 at x = 0: max 146, even; the longitude bits kept, latitude or-ed.
  EXPECT_EQ(std::vector<int>({b->olmask[0], b->olmask[1], b->olmask[3]}),
            (std::vector<int>{3, 15, 0}));
}

// xy2lonlat, xy2lola and the bounds all carry offset_lon (1.5 degrees).
TEST(OverlayTables, OffsetLon) {
  auto pic = dtest::make_picture(10, 5, 1, [](int, int, int) { return 0; });
  dtest::lay_out_positions(pic.get(), 20.0, 0.1, 50.0, 0.1);
  pic->orbit.offset_lon = 1.5f;
  // Pixel (3, 2); x clamped to the line and y past the end taking the last line.
  for (auto [x, y, lon, lat] : {std::tuple{3, 2, 21.8, 49.8}, std::tuple{99, 99, 22.4, 49.6}}) {
    EPOINT e{};
    ASSERT_EQ(xy2lonlat(x, y, nullptr, pic.get(), &e), 1);
    EXPECT_TRUE(std::fabs(deg(e.lon) - lon) < 1e-4 && std::fabs(deg(e.lat) - lat) < 1e-4) << x;
  }
  auto t = mklut_xy2lonlat(pic->xline, 10, 5, 1.5f);
  ASSERT_EQ(t.size(), 52u);
  // Pixel (3, 2), then the minimum and maximum lon/lat.
  const double want[][2] = {{21.8, 49.8}, {21.5, 49.6}, {22.4, 50.0}};
  for (int i : {0, 1, 2}) {
    const DBLFLOAT& got = t[i ? size_t(49 + i) : 23];
    EXPECT_TRUE(std::fabs(got.a - want[i][0]) < 1e-4 && std::fabs(got.b - want[i][1]) < 1e-4) << i;
  }
}

// A pixel where the longitude passes from -0.4 to +0.3 degrees is a degree
// line (bits 2, 4, 8); so is the equator; plain pixels stay clear.
TEST(OverlayTables, ZeroMeridianCrossing) {
  const int w = 4, h = 2;
  std::vector<DBLFLOAT> t(size_t(w * h) + 2);
  const float lon[4] = {-0.7f, -0.4f, 0.3f, 0.6f};
  for (int x = 0; x < w; x++) {
    t[size_t(x)] = {lon[x], 10.2f};
    t[size_t(w + x)] = {lon[x], 10.1f};
  }
  std::vector<char> ovl(size_t(w * h), 0);
  lonlat2ovl(t, w, h, ovl);
  EXPECT_EQ(std::vector<int>(ovl.begin(), ovl.end()), (std::vector<int>{0, 0, 14, 0, 0, 0, 14, 0}));
  // Latitude -0.2 -> 0.1 (both truncate to 0, the sign changes): the equator.
  t[0] = {5.5f, -0.2f};
  t[size_t(w)] = {5.5f, 0.1f};
  std::vector<char> o3(size_t(w * h), 0);
  lonlat2ovl(t, w, h, o3);
  EXPECT_EQ(o3[size_t(w)], 2 | 4 | 8);
}

// The lon/lat-to-pixel table: corner, ranges, the last pixel carried into the
// cells after it, the size guard (the cells themselves place the coast, which
// the coast script checks against a rendered pass).
TEST(OverlayTables, LonLatToPixel) {
  const int w = 3, h = 2;
  std::vector<DBLFLOAT> t(size_t(w * h) + 2);
  // Pixels at (lon, lat) degrees.
  for (int i = 0; i < 6; i++) t[size_t(i)] = {10.0f + 0.02f * float(i % 3), i < 3 ? 20.0f : 20.03f};
  t[6] = {10.0f, 20.0f};
  t[7] = {10.05f, 20.05f};
  int lon0, lat0, rlon, rlat;
  auto m = mklut_lonlat2xy(t, w, h, &lon0, &lat0, &rlon, &rlat);
  // Corner and ranges: trunc(100 * bound) (20.05f is a little below 20.05).
  const int elon0 = int(100 * t[6].a), elat0 = int(100 * t[6].b);
  const int erl = int(100 * t[7].a) - elon0, erb = int(100 * t[7].b) - elat0;
  EXPECT_EQ(std::vector<int>({lon0, lat0, rlon, rlat}), std::vector<int>({1000, 2000, erl, erb}));
  ASSERT_EQ(m.size(), size_t(erl * erb));
  EXPECT_TRUE(m.back().a == 2 && m.back().b == 1);  // the last pixel carried to the end
  // Too large a table is refused rather than allocated.
  EXPECT_TRUE(mklut_lonlat2xy(t, w, h, &lon0, &lat0, &rlon, &rlat, 100, 10).empty());
}

// The cache rule: only a change of the orbit's corrections rebuilds.
TEST(OverlayTables, CacheRule) {
  auto pic = dtest::make_picture(20, 10, 1, [](int, int, int) { return 0; });
  dtest::lay_out_positions(pic.get(), 5.0, 0.1, 40.0, 0.1);
  EXPECT_EQ(create_overlay(nullptr, pic.get()), 1);
  EXPECT_EQ(create_overlay(nullptr, pic.get()), 0);  // redraw without change
  pic->orbit.offset_sec = 2;
  EXPECT_EQ(create_overlay(nullptr, pic.get()), 1);  // only offset_sec changed
  EXPECT_EQ(create_overlay(nullptr, pic.get()), 0);
  pic->orbit.offset_lon = 0.5f;
  EXPECT_EQ(create_overlay(nullptr, pic.get()), 1);
  pic->ovlinfo.ovlarr.clear();
  EXPECT_EQ(create_overlay(nullptr, pic.get()), 1);  // mask gone
  EXPECT_EQ(pic->ovlinfo.ovlarr.size(), 200u);
  EXPECT_EQ(pic->ovlinfo.xy2lola.size(), 202u);
  EXPECT_NEAR(pic->ovlinfo.xy2lola[5].a, 5.5 + 0.5, 1e-4);
  // A line arriving (recording): the tables follow the picture.
  Create_Xline(&pic->xline, 1, 20)->tm_ms.valid = 1;
  pic_reindex(pic.get());
  pic->height = 11;
  EXPECT_EQ(create_overlay(nullptr, pic.get()), 1);
  EXPECT_EQ(pic->ovlinfo.ovlarr.size(), 220u);

  // Positions that span nothing give no lon/lat table: the coast cannot be
  // placed, and the next drawing does not try again.
  auto flat = dtest::make_picture(20, 10, 1, [](int, int, int) { return 0; });
  flat->valid_time = flat->orbit.valid = 1;
  FILE* coast = std::fopen(testutil::source_path("data/gshhs_c.b").c_str(), "rb");
  ASSERT_NE(coast, nullptr);
  EXPECT_EQ(create_overlay(coast, flat.get()), 1);
  EXPECT_TRUE(flat->ovlinfo.lola2xy.empty());
  EXPECT_EQ(create_overlay(coast, flat.get()), 0);
  std::fclose(coast);
}

// Screen to picture: zoom, mirroring of south-to-north passes, zero zoom;
// interleaved raw words (index = x * inter_chan + channel position + header).
TEST(ScreenMaps, Mapping) {
  using Map = std::vector<std::pair<int, int>>;  // (screen, picture) pairs
  struct Row {
    int w, h, one2one;
    float zoom;
    int ox, oy;
    SCANDIR hor, ver;
    Map xs, ys;
  } rows[] = {
      // 200 x 100 at zoom 1: two screen pixels a picture pixel; column 198 past the edge.
      {200, 100, 0, 1, 0, 0, W_E, N_S, {{0, 0}, {3, 1}, {101, 50}, {198, -1}}, {{99, 49}}},
      // South-to-north: screen row 0 shows the last line.
      {100, 50, 0, 1, 0, 0, W_E, S_N, {}, {{0, 49}, {48, 1}}},
      // East-to-west mirrors columns.
      {100, 50, 0, 1, 0, 0, E_W, N_S, {{0, 98}, {10, 88}}, {}},
      // Zoom 2 from (10, 5).
      {100, 50, 0, 2, 10, 5, W_E, N_S, {{0, 10}, {1, 10}, {2, 11}}, {{4, 7}}},
      // One to one.
      {120, 60, 1, 1, 0, 0, W_E, N_S, {{42, 42}, {100, -1}}, {{49, 49}, {50, -1}}},
      // Zero zoom: everything at the cut-out's origin.
      {10, 10, 0, 0, 0, 0, W_E, N_S, {{5, 0}}, {{5, 0}}},
  };
  auto pic = dtest::make_picture(100, 50, 5, [](int, int, int) { return 0; });
  std::unique_ptr<VIEWINFO> v(dtest::make_view());
  for (const Row& r : rows) {
    v->zval.zx = v->zval.zy = r.zoom;
    v->zval.ox = r.ox;
    v->zval.oy = r.oy;
    v->scan_hor = r.hor;
    v->scan_ver = r.ver;
    SCOPED_TRACE(&r - rows);
    ASSERT_EQ(map_xy(r.w, r.h, r.one2one, 1, pic.get(), v.get()), 0);
    for (auto [s, p] : r.xs) EXPECT_EQ(v->xmap[size_t(s)], p) << "x " << s;
    for (auto [s, p] : r.ys) EXPECT_EQ(v->ymap[size_t(s)], p) << "y " << s;
  }
  EXPECT_EQ(scry2picy(3, v.get(), pic.get()), pic->oy);  // zero zoom

  pic->fri.inter_chan = 5;
  pic->fri.header_len = 750;
  v->channel_selected[4] = 1;
  ASSERT_EQ(map_xy(10, 2, 1, 0, pic.get(), v.get()), 0);
  EXPECT_TRUE(v->xmap[0] == 3 + 750 && v->xmap[2] == 2 * 5 + 3 + 750);
}

// The linearisation tables: monotone, the ends fixed, the centre stretched
// less than the edges; nothing without a sensor angle.
TEST(Linearise, Tables) {
  auto pic = dtest::make_picture(2048, 1, 1, [](int, int, int) { return 0; });
  pic->max_sens_angle = 55.37f;
  pic->orbit.height = 833000.0f;
  std::unique_ptr<VIEWINFO> v(dtest::make_view());
  EXPECT_EQ(mk_lintbl(pic.get(), v.get()), nullptr);  // the view does not linearise
  v->linearize = 1;
  const int* t = mk_lintbl(pic.get(), v.get());
  ASSERT_NE(t, nullptr);
  ASSERT_EQ(v->lin_xtbl.size(), 2048u);
  EXPECT_EQ(t[0], 0);
  EXPECT_EQ(t[2047], 2047);
  for (int k = 1; k < 2048; k++) ASSERT_GE(t[k], t[k - 1]) << k;
  // Output columns are linear in earth angle: source columns per output
  // column = (E/(n-1)) / (d th/d x), with d th/d a = k cos a / sqrt(1 - k^2
  // sin^2 a) - 1 and d a/d x = A/n.
  const double k = (kR + 833000.0) / kR, A = 3.14159265 * 55.37 / 180, n = 1024;
  const double E = ref_earth_angle(833000.0, A);
  auto slope = [&](double a) {
    double dth = k * std::cos(a) / std::sqrt(1 - k * k * std::sin(a) * std::sin(a)) - 1;
    return (E / (n - 1)) / (dth * A / n);
  };
  EXPECT_NEAR(t[1044] - t[1004], 40 * slope(0), 2.5);  // near nadir: about 1.8
  const int k0 = 100;  // output column 100 lies at some source column near the edge
  const double a0 = A * (n - t[k0]) / n;
  EXPECT_NEAR(t[k0 + 20] - t[k0 - 20], 40 * slope(a0), 2.5);
  EXPECT_LT(slope(a0), 1.0);  // edges stretched: less than one source column per output column
  // The inverse table points back.
  EXPECT_EQ(t[v->revlin_xtbl[1024]], 1024);
  pic->max_sens_angle = 0;
  v->lin_xtbl.clear();
  EXPECT_EQ(mk_lintbl(pic.get(), v.get()), nullptr);
}
