// Drawing into the RGB buffer (grey and false colour pixels of a real
// recording are checked by the render script): overlays and their failures,
// threads, temperature colours, readout texts, the headless render.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "common/text.h"
#include "display/chanmap.h"
#include "display/draw.h"
#include "display/lumcal.h"
#include "display/render.h"
#include "picture_builder.h"
#include "support/testutil.h"

namespace {

// The linear luminance table by its formula (gamma 1, no inversion), then
// the palette's clamp.
int lum_lin(int v, int lo, int hi, int n = 256) {
  if (v < lo) return 0;
  if (v > hi) return n - 1;
  return std::min(n - 1, (v - lo) * n / (hi - lo));
}

const uint8_t* px(const RGBIMAGE& im, int x, int y) {
  return &im.rgb[size_t(y * im.width + x) * 3];
}
std::vector<int> rgb(const RGBIMAGE& im, int x, int y) {
  const uint8_t* p = px(im, x, y);
  return {p[0], p[1], p[2]};
}

std::unique_ptr<VIEWINFO> view() { return std::unique_ptr<VIEWINFO>(dtest::make_view()); }

}  // namespace

// Overlays without orbit or coast: the picture stays drawn and the status
// names the reason, shown under the drawing's title.
TEST(DrawPic, OverlayFailures) {
  dtest::FakeUi ui;
  auto pic = dtest::make_picture(40, 40, 1, [](int, int x, int) { return 10 * x; });
  auto v = view();
  v->grid = 1;
  RGBIMAGE im;
  int st = draw_pic(pic.get(), v.get(), 40, 40, &im);
  EXPECT_EQ(st, DRAW_NO_ORBIT);
  EXPECT_EQ(px(im, 20, 20)[0], lum_lin(200, 0, 1023));
  draw_report(st);
  using Msg = std::pair<std::string, std::string>;
  EXPECT_EQ(ui.msgs, (std::vector<Msg>{{"Orbit info 'error", "No orbit data available."}}));

  dtest::lay_out_positions(pic.get(), 0.0, 0.1, 50.0, 0.1);
  v->boundaries = 1;
  DRAWOPTS o;
  o.coast_file = "no_such_coast.b";
  st = draw_pic(pic.get(), v.get(), 40, 40, &im, &o);
  EXPECT_EQ(st, DRAW_NO_COAST);
  EXPECT_STREQ(draw_status_text(st), "No coast data available.");
  draw_report(st);
  EXPECT_EQ(ui.msgs.back(), (Msg{"Orbit info 'error", "No coast data available."}));
}

// Grid lines at whole degrees in the grid colour; coast pixels in the coast
// colour; identical with any number of threads.
TEST(DrawPic, GridCoastAndThreads) {
  // 400 x 300 pixels over 0..20 E, 60..45 N (Europe's west coast, North Sea).
  auto pic = dtest::make_picture(
      400, 300, 5, [](int ch, int x, int y) { return (ch * 97 + x * 3 + y * 5) % 1024; });
  dtest::lay_out_positions(pic.get(), -5.0, 0.05, 60.0, 0.05);
  pic->file_type = FT_HRPT;
  auto v = view();
  set_std_falseclr(FT_HRPT, &v->cmhc);
  v->process_data = 1;
  v->grid = 1;
  v->boundaries = 1;
  v->grid_clr = {0xffff, 0, 0};
  v->cont_clr = {0, 0xffff, 0};
  std::string coast = testutil::source_path("data/gshhs_l.b");
  DRAWOPTS o;
  o.coast_file = coast.c_str();
  o.threads = 1;
  RGBIMAGE a;
  ASSERT_EQ(draw_pic(pic.get(), v.get(), 400, 300, &a, &o), DRAW_OK);
  std::vector<long> hist(v->lumstat, v->lumstat + 4096);
  const std::vector<int> red{255, 0, 0}, green{0, 255, 0};
  int grid_px = 0, coast_px = 0;
  for (int y = 0; y < 300; y++)
    for (int x = 0; x < 400; x++) grid_px += rgb(a, x, y) == red, coast_px += rgb(a, x, y) == green;
  EXPECT_GT(coast_px, 300);  // Norway, Denmark, Britain, the Netherlands...
  EXPECT_GT(grid_px, 1000);
  // Span 20 degrees of longitude and 15 of latitude: steps 2 and 1. Meridian 0
  // at x = 100 (lon -5 + 0.05 x): a grid column there; 1 E (odd, step 2) has
  // none at x = 120. Latitude step 1: a row near 55 N (y = 100).
  int col100 = 0, col120 = 0, row = 0;
  for (int y = 1; y < 299; y++) {
    col100 += rgb(a, 100, y) == red || rgb(a, 99, y) == red;
    col120 += rgb(a, 120, y) == red;
  }
  for (int x = 1; x < 399; x++)
    row += rgb(a, x, 99) == red || rgb(a, x, 100) == red || rgb(a, x, 101) == red;
  EXPECT_GT(col100, 200);
  EXPECT_LT(col120, 40);  // only where latitude lines or coast cross
  EXPECT_GT(row, 300);

  // Lines beyond the overlay tables (a recording going on): drawn without
  // overlay, no access past the tables.
  pic->ovlinfo.cells.resize(size_t(400 * 150));
  RGBIMAGE part;
  ASSERT_EQ(draw_pic(pic.get(), v.get(), 400, 300, &part, &o), DRAW_OK);
  pic->ovlinfo.cells.clear();

  for (int t : {2, 3}) {
    o.threads = t;
    RGBIMAGE b;
    ASSERT_EQ(draw_pic(pic.get(), v.get(), 400, 300, &b, &o), DRAW_OK);
    EXPECT_TRUE(a.rgb == b.rgb) << t << " threads";
    EXPECT_TRUE(std::equal(hist.begin(), hist.end(), v->lumstat)) << t << " threads";
  }
}

// Temperatures in colour: warm pixels red, cold ones blue, and the readout.
TEST(DrawPic, TemperatureColours) {
  auto pic = dtest::make_picture(
      8, 12, 5, [](int ch, int x, int) { return ch == 4 ? (x < 4 ? 350 : 850) : 0; });
  pic->file_type = FT_HRPT;
  pic->sat_type = HRPT;
  pava::copy_text(pic->sat_name, "NOAA 15");
  load_cal("NOAA 15", &pic->noaacal);
  dtest::set_noaa15_cal_words(pic.get());
  auto v = view();
  v->map_temp = 1;
  v->chan_selected = 4;
  RGBIMAGE im;
  ASSERT_EQ(draw_pic(pic.get(), v.get(), 8, 12, &im), DRAW_OK);
  const uint8_t* warm = px(im, 1, 8);  // low count: warm
  const uint8_t* cold = px(im, 5, 8);  // high count: cold
  EXPECT_GT(warm[0], warm[2]);
  EXPECT_GT(cold[2], cold[0]);
  std::string pos, temp;
  Update_Coord(pic.get(), v.get(), 1, 8, warm, &pos, &temp);
  std::vector<int> t;
  ASSERT_EQ(map_noaatemp(pic.get(), pic_line(pic.get(), 8), 4, &t), 0);
  int c = std::atoi(temp.c_str());
  EXPECT_NEAR(c, t[1] / 10.0 - 273.15, 3.0) << temp;
  EXPECT_EQ(temp, std::to_string(c) + " C");
}

// Position readout texts.
TEST(DrawPic, ReadoutTexts) {
  auto pic = dtest::make_picture(10, 10, 1, [](int, int, int) { return 0; });
  auto v = view();
  std::string pos, temp;
  EXPECT_EQ(Update_Coord(pic.get(), v.get(), 3, 4, nullptr, &pos, &temp), -1);
  EXPECT_EQ(pos, "[x=3,y=4]");  // no orbit
  dtest::lay_out_positions(pic.get(), 10.5, 0.25, 49.25, 0.25);
  EXPECT_EQ(Update_Coord(pic.get(), v.get(), 2, 1, nullptr, &pos, &temp), 0);
  EXPECT_EQ(pos, "11.00,49.00");
  EXPECT_EQ(temp, "");
  v->coordxy = 1;
  EXPECT_EQ(Update_Coord(pic.get(), v.get(), 7, 8, nullptr, &pos, &temp), 0);
  EXPECT_EQ(pos, "[x=7,y=8]");
}

// No picture: an error, a black buffer of the asked size.
TEST(DrawPic, NoPicture) {
  PICINFO* pic = pic_new();
  auto v = view();
  RGBIMAGE im;
  EXPECT_EQ(draw_pic(pic, v.get(), 5, 4, &im), DRAW_NO_PICTURE);
  EXPECT_EQ(im.rgb.size(), 60u);
  pic_delete(pic);
}

// The headless render: automatic window, north-up mirroring, a channel the
// picture does not have (fixed windows and false colour of a real recording
// are checked by the render script).
TEST(Render, Options) {
  auto pic = dtest::make_picture(
      100, 20, 2, [](int ch, int x, int y) { return ch == 1 ? 200 + x : 300 + 10 * y; });
  pic->file_type = FT_HRPT;
  pic->sat_type = HRPT;
  pic->scan_ver = S_N;
  VIEWINFO v;
  RGBIMAGE im;
  RENDEROPTS o;
  ASSERT_EQ(render_picture(pic.get(), o, &v, &im), DRAW_OK);
  EXPECT_TRUE(im.width == 100 && im.height == 20);
  // Drawn columns 0..98 hold 200..298: the window becomes 200..298.
  EXPECT_TRUE(v.lum_min == 200 && v.lum_max == 298) << v.lum_min << " " << v.lum_max;
  for (int x = 0; x < 99; x += 7) EXPECT_EQ(px(im, x, 3)[0], lum_lin(200 + x, 200, 298)) << x;

  // Fixed window, channel 2, north up: the last line (a south-to-north pass)
  // at the top.
  o.lum_auto = 0;
  o.channel = 2;
  o.north_up = 1;
  ASSERT_EQ(render_picture(pic.get(), o, &v, &im), DRAW_OK);
  EXPECT_EQ(px(im, 10, 0)[0], lum_lin(300 + 10 * 19, 0, 1023));

  o.channel = 7;
  EXPECT_EQ(render_picture(pic.get(), o, &v, &im), DRAW_NO_PICTURE);
}
