// What the main window's View and Channel items, zoom keys and mouse do to
// the view record, the readouts and the messages.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <tuple>

#include "app/core/viewctl.h"
#include "display/display_types.h"
#include "formats/picinfo.h"

namespace {

// A picture of w x h pixels with nrchan channels; sample (x, y) of slot k is
// value(k, x, y).
struct Pic {
  PICINFO* pic = pic_new();
  Pic(int w, int h, int nrchan = 1) {
    XLINE* head = nullptr;
    XLINE* tail = nullptr;
    for (int y = 0; y < h; y++) {
      tail = Create_Xline(&head, nrchan, w, tail);
      for (int k = 0; k < nrchan; k++)
        for (int x = 0; x < w; x++) tail->line[k][x] = value(k, x, y);
    }
    pic_set_lines(pic, head);
    pic->width = w;
    pic->height = h;
    pic->fp = stdin;  // an open picture
  }
  ~Pic() {
    pic->fp = nullptr;
    pic_delete(pic);
  }
  static uint16_t value(int k, int x, int y) { return uint16_t((k * 300 + x * 7 + y * 13) % 1024); }
};

std::unique_ptr<VIEWINFO> new_view() {
  auto v = std::make_unique<VIEWINFO>();
  v->zval.zx = v->zval.zy = 1;
  v->scan_hor = W_E;
  v->scan_ver = N_S;
  v->chan_selected = 1;
  return v;
}

// Zoom factors and origin of a view.
using Z = std::tuple<float, float, int, int>;
Z zoom(const VIEWINFO& v) { return {v.zval.zx, v.zval.zy, v.zval.ox, v.zval.oy}; }

TEST(ViewItems, EachCheckItemSetsItsFlag) {
  struct Row {
    const char* path;
    int VIEWINFO::*flag;
  };
  // Every plain flag item of the View menu.
  const Row rows[] = {
      {"View/Position XY", &VIEWINFO::coordxy},
      {"View/Invert", &VIEWINFO::invert},
      {"View/Temperature", &VIEWINFO::map_temp},
      {"View/Linearize", &VIEWINFO::linearize},
      {"View/Aspect", &VIEWINFO::keep_xyrel},
      {"View/Despeckle", &VIEWINFO::despeckle},
      {"View/Destrip metop, fy3", &VIEWINFO::destrip},
      {"View/Reed Solomon", &VIEWINFO::reed_solomon},
      {"View/Mark faulty lines", &VIEWINFO::mark_faulty_lines},
      {"View/Skip faulty lines", &VIEWINFO::skip_faulty_lines},
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(r.path);
    auto v = new_view();
    EXPECT_EQ(view_item_apply(r.path, 1, nullptr, v.get(), nullptr), 0);
    EXPECT_EQ(v.get()->*r.flag, 1);
    EXPECT_EQ(view_item_state(r.path, v.get()), 1);
    EXPECT_EQ(view_item_apply(r.path, 0, nullptr, v.get(), nullptr), 0);
    EXPECT_EQ(v.get()->*r.flag, 0);
  }
}

TEST(ViewItems, SkipBitsAndUnknownPaths) {
  auto v = new_view();
  v->mask_skip = 0x101;  // other bits are left alone
  view_item_apply("View/Set skip/Use Pre sync", 1, nullptr, v.get(), nullptr);
  EXPECT_EQ(v->mask_skip, 0x10D);
  view_item_apply("View/Set skip/Use Post sync", 1, nullptr, v.get(), nullptr);
  EXPECT_EQ(v->mask_skip, 0x1ED);
  view_item_apply("View/Set skip/Use Pre sync", 0, nullptr, v.get(), nullptr);
  EXPECT_EQ(v->mask_skip, 0x1E1);
  EXPECT_EQ(view_item_state("View/Set skip/Use Post sync", v.get()), 1);

  EXPECT_EQ(view_item_apply("View/Nothing", 1, nullptr, v.get(), nullptr), -1);
  EXPECT_EQ(view_item_state("View/Lum...", v.get()), -1);
}

TEST(ViewItems, GridAndCoastNeedTimeAndOrbit) {
  struct Row {
    int valid_time, orbit_valid;
    const char* refusal;  // null: accepted
  };
  const Row rows[] = {
      {0, 0, "Valid time: Error\nValid kepler data: Error"},  // nothing known
      {1, 0, "Valid time: OK\nValid kepler data: Error"},     // no elements
      {0, 1, "Valid time: Error\nValid kepler data: OK"},     // no line times
      {1, 1, nullptr},                                        // both valid
  };
  for (const char* path : {"View/Grid", "View/Coast"}) {
    for (const Row& r : rows) {
      SCOPED_TRACE(std::string(path) + " " + std::to_string(r.valid_time) +
                   std::to_string(r.orbit_valid));
      Pic p(4, 4);
      p.pic->valid_time = r.valid_time;
      p.pic->orbit.valid = r.orbit_valid;
      auto v = new_view();
      std::string msg;
      int res = view_item_apply(path, 1, p.pic, v.get(), &msg);
      EXPECT_EQ(res, r.refusal ? 1 : 0);
      EXPECT_EQ(view_item_state(path, v.get()), r.refusal ? 0 : 1);
      EXPECT_EQ(msg, r.refusal ? r.refusal : "");
      // Switching off is always allowed.
      EXPECT_EQ(view_item_apply(path, 0, p.pic, v.get(), &msg), 0);
    }
  }
  // No picture at all is refused the same way.
  auto v = new_view();
  std::string msg;
  EXPECT_EQ(view_item_apply("View/Grid", 1, nullptr, v.get(), &msg), 1);
}

TEST(Channel, MenuChoice) {
  auto v = new_view();
  EXPECT_EQ(view_select_channel(v.get(), 3), 0);
  EXPECT_EQ(v->process_data, 0);
  for (int i = 0; i < 26; i++) EXPECT_EQ(v->channel_selected[i], i == 3 ? 1 : 0);
  EXPECT_EQ(view_selected_channel(v.get()), 3);
  EXPECT_EQ(view_select_channel(v.get(), 0), 0);  // false colour
  EXPECT_EQ(v->process_data, 1);
  EXPECT_EQ(view_select_channel(v.get(), 11), -1);
  EXPECT_EQ(view_select_channel(v.get(), -1), -1);
}

TEST(Zoom, CorrectKeepsTheViewInsideThePicture) {
  Pic p(200, 100);
  auto v = new_view();
  v->zval.zx = 0.5f;  // less than the whole picture
  v->zval.zy = 1e9f;  // far past the largest zoom
  v->zval.ox = -5;
  v->zval.oy = 1000;
  correct_zoomval(v.get(), p.pic, 400, 100);
  EXPECT_FLOAT_EQ(v->zval.zx, 1);
  EXPECT_FLOAT_EQ(v->zval.dx, 2);  // 400 screen pixels over 200
  EXPECT_FLOAT_EQ(v->zval.dy, VIEW_MAX_PIXZOOM);
  EXPECT_EQ(std::make_pair(v->zval.ox, v->zval.oy),
            std::make_pair(0, 100 - int(std::lround(100 / v->zval.zy))));

  // NaN from a broken computation falls back to the whole picture.
  v->zval.zx = NAN;
  correct_zoomval(v.get(), p.pic, 400, 100);
  EXPECT_FLOAT_EQ(v->zval.zx, 1);

  // Without a picture or screen: neutral values.
  correct_zoomval(v.get(), nullptr, 400, 100);
  EXPECT_FLOAT_EQ(v->zval.zx, 1);
  EXPECT_FLOAT_EQ(v->zval.dx, 0);
}

TEST(Zoom, AspectGivesEqualScales) {
  // Tall picture: y follows x. Wide picture: y can't follow x (it would show
  // more than the whole height), so x follows y.
  for (auto [pw, ph, scale] : {std::tuple{200, 1000, 2.0f}, {1000, 100, 3.0f}}) {
    Pic p(pw, ph);
    auto v = new_view();
    v->keep_xyrel = 1;
    correct_zoomval(v.get(), p.pic, 400, 300);
    EXPECT_FLOAT_EQ(v->zval.dx, scale) << pw << "x" << ph;
    EXPECT_FLOAT_EQ(v->zval.dy, scale) << pw << "x" << ph;
  }
}

TEST(Zoom, Keys) {
  Pic p(400, 300);
  const int sw = 400, sh = 300;
  auto v = new_view();
  correct_zoomval(v.get(), p.pic, sw, sh);
  // In about the centre: the centre stays, the factor is the zoom step (out,
  // last and f are checked on screen by test_gui_sample.sh).
  ASSERT_EQ(zoom_key(v.get(), p.pic, sw, sh, 'i'), 0);
  EXPECT_EQ(zoom(*v), Z(2, 2, 100, 75));
  // The zoom step follows the fixed zoom factor.
  v->fix_zoomfactor = 4;
  zoom_key(v.get(), p.pic, sw, sh, 'f');
  zoom_key(v.get(), p.pic, sw, sh, 'i');
  EXPECT_FLOAT_EQ(v->zval.zx, 4);

  // dx->dy: y takes the x scale; dy->dx the reverse.
  zoom_key(v.get(), p.pic, sw, sh, 'f');
  v->zval.zx = 3;
  zoom_key(v.get(), p.pic, sw, sh, 'c');
  EXPECT_FLOAT_EQ(v->zval.dy, v->zval.dx);
  v->zval.zy = 5;
  zoom_key(v.get(), p.pic, sw, sh, 'C');
  EXPECT_FLOAT_EQ(v->zval.dx, v->zval.dy);
  EXPECT_EQ(zoom_key(v.get(), p.pic, sw, sh, 'q'), -1);
}

TEST(Zoom, FixedZoomKeepsThePointUnderTheMouse) {
  std::mt19937 rng(1234);  // fixed seed
  Pic p(2048, 600);
  const int sw = 640, sh = 480;
  for (int i = 0; i < 200; i++) {
    auto v = new_view();
    int sx = int(rng() % sw), sy = int(rng() % sh);
    float f = 1.5f + float(rng() % 4);
    // Start from the whole picture: zooming in never hits the edges' clamp in
    // a way that moves the point by more than a screen pixel.
    correct_zoomval(v.get(), p.pic, sw, sh);
    int px0, py0, px1, py1;
    view_scr2pic(v.get(), p.pic, sw, sh, sx, sy, &px0, &py0);
    zoom_at(v.get(), p.pic, sw, sh, sx, sy, f);
    view_scr2pic(v.get(), p.pic, sw, sh, sx, sy, &px1, &py1);
    SCOPED_TRACE("seed 1234 case " + std::to_string(i));
    EXPECT_NEAR(px1, px0, 1 + 1 / v->zval.dx);
    EXPECT_NEAR(py1, py0, 1 + 1 / v->zval.dy);
  }
}

TEST(Zoom, RectangleAndPan) {
  Pic p(400, 300);
  const int sw = 400, sh = 300;  // one screen pixel per picture pixel at 100%
  auto v = new_view();
  correct_zoomval(v.get(), p.pic, sw, sh);
  // A tiny rectangle is a click, not a zoom.
  EXPECT_EQ(zoom_rect(v.get(), p.pic, sw, sh, 10, 10, 11, 30), 1);
  EXPECT_FLOAT_EQ(v->zval.zx, 1);
  // Corners in either order.
  EXPECT_EQ(zoom_rect(v.get(), p.pic, sw, sh, 299, 174, 100, 75), 0);
  EXPECT_EQ(zoom(*v), Z(2, 3, 100, 75));

  // Dragging right by 20 screen pixels (2 per picture pixel) shows what is 10
  // pixels further left.
  zoom_pan(v.get(), p.pic, sw, sh, 20, 0);
  EXPECT_EQ(v->zval.ox, 90);
  // Mirrored: the picture still follows the mouse.
  v->scan_hor = E_W;
  zoom_pan(v.get(), p.pic, sw, sh, 20, 0);
  EXPECT_EQ(v->zval.ox, 100);
  // Never past the edges.
  zoom_pan(v.get(), p.pic, sw, sh, -100000, 100000);
  EXPECT_EQ(zoom(*v), Z(2, 3, 0, 0));
}

TEST(Zoom, FixedClickAndWheel) {
  Pic p(400, 300);
  const int sw = 400, sh = 300;
  auto v = new_view();
  v->fix_zoomfactor = 4;
  // A click at the top left corner zooms into that corner.
  zoom_fixed(v.get(), p.pic, sw, sh, 0, 0, 1);
  EXPECT_EQ(zoom(*v), Z(4, 4, 0, 0));
  // A wheel step down shows what lies below: a tenth of the screen, which is
  // 30 rows / 4 screen pixels per line = 7.5 lines, rounded.
  zoom_wheel(v.get(), p.pic, sw, sh, 0, -1);
  EXPECT_EQ(v->zval.oy, 8);
  zoom_wheel(v.get(), p.pic, sw, sh, 0, 1);
  EXPECT_EQ(v->zval.oy, 0);
  // Out again about the same point: the whole picture.
  zoom_fixed(v.get(), p.pic, sw, sh, 0, 0, 0);
  EXPECT_EQ(zoom(*v), Z(1, 1, 0, 0));
}

TEST(Zoom, ValuesWindow) {
  Pic p(400, 300);
  auto v = new_view();
  correct_zoomval(v.get(), p.pic, 400, 300);
  zoom_set(v.get(), p.pic, 400, 300, 2, 4, 150, 500);
  EXPECT_EQ(zoom(*v), Z(2, 4, 150, 225));            // the last quarter of the lines at most
  zoom_set(v.get(), p.pic, 400, 300, 0, -3, -1, 0);  // nonsense: the whole picture
  EXPECT_EQ(zoom(*v), Z(1, 1, 0, 0));
}

TEST(ScreenToPicture, CornersWithMirroring) {
  Pic p(100, 50);
  const int sw = 200, sh = 100;
  struct Row {
    SCANDIR hor, ver;
    int sx, sy, px, py;
  };
  const Row rows[] = {
      {W_E, N_S, 0, 0, 0, 0},       // plain: top left is the first pixel
      {W_E, N_S, 199, 99, 99, 49},  // bottom right the last
      {E_W, N_S, 0, 0, 99, 0},      // mirrored left-right
      {W_E, S_N, 0, 0, 0, 49},      // north bound: first screen row is the last line
      {E_W, S_N, 199, 99, 0, 0},    // both
      {W_E, N_S, 101, 51, 50, 25},  // two screen pixels per picture pixel
  };
  for (const Row& r : rows) {
    auto v = new_view();
    v->scan_hor = r.hor;
    v->scan_ver = r.ver;
    correct_zoomval(v.get(), p.pic, sw, sh);
    int px, py;
    EXPECT_EQ(view_scr2pic(v.get(), p.pic, sw, sh, r.sx, r.sy, &px, &py), 1);
    EXPECT_EQ(std::make_pair(px, py), std::make_pair(r.px, r.py))
        << r.hor << r.ver << " " << r.sx << "," << r.sy;
  }
  auto v = new_view();
  int px, py;
  EXPECT_EQ(view_scr2pic(v.get(), nullptr, sw, sh, 0, 0, &px, &py), 0);
  EXPECT_EQ(view_scr2pic(v.get(), p.pic, 0, 0, 0, 0, &px, &py), 0);
}

TEST(Readout, PositionAndPixel) {
  Pic p(100, 50);
  auto v = new_view();
  correct_zoomval(v.get(), p.pic, 100, 50);
  std::string pos, pix;
  ASSERT_EQ(view_readout(v.get(), p.pic, 100, 50, 3, 5, &pos, &pix), 1);
  EXPECT_EQ(pos, "x= 3.00,y= 5.00");
  char want[20];
  std::snprintf(want, sizeof want, "%8d", Pic::value(0, 3, 5));
  EXPECT_EQ(pix, want);

  // With an orbit the position is longitude and latitude in degrees, unless
  // "Position XY" asks for picture coordinates.
  p.pic->orbit.valid = 1;
  XLINE* l = pic_line(p.pic, 5);
  ASSERT_NE(xline_alloc_pos(l), nullptr);  // positions are made on first need
  l->pos[3].lon = float(M_PI / 4);
  l->pos[3].lat = float(-M_PI / 6);
  view_readout(v.get(), p.pic, 100, 50, 3, 5, &pos, &pix);
  EXPECT_EQ(pos, "x=45.00,y=-30.00");
  v->coordxy = 1;
  view_readout(v.get(), p.pic, 100, 50, 3, 5, &pos, &pix);
  EXPECT_EQ(pos, "x= 3.00,y= 5.00");

  // Outside the picture: empty readouts.
  EXPECT_EQ(view_readout(v.get(), nullptr, 100, 50, 3, 5, &pos, &pix), 0);
  EXPECT_EQ(pos, "");
  EXPECT_EQ(pix, "");
}

TEST(Messages, OpenFileResults) {
  Pic p(1, 1);
  std::strcpy(p.pic->file_name, "x.gif");
  p.pic->depth = 24;
  struct Row {
    int code;
    std::vector<std::string> texts;
  };
  const Row rows[] = {
      {0, {}},
      // Depth gives two boxes, by design.
      {100, {"Depth=24 currently not supported.\n", "read problem in x.gif.\n"}},
      {111, {"Can't open file."}},
      {112, {"No picture found in x.gif.\n"}},
      {114, {"read problem in x.gif.\n"}},
      {116, {"Unknown file type of \nx.gif.\n"}},
      {'e', {"Unknown error 101 (e).\n"}},
      {-3, {"Unknown error -3 (?).\n"}},  // not a character: never a cut text
  };
  for (const Row& r : rows) EXPECT_EQ(open_file_messages(r.code, p.pic), r.texts) << r.code;
}

TEST(Messages, MainTitle) {
  EXPECT_EQ(main_title(nullptr), "Pava");
  Pic p(1, 1);
  const std::pair<std::string, std::string> rows[] = {
      {"/data/pass/noaa19.hpt", "Pava    File noaa19.hpt"},
      {"/d/" + std::string(85, 'n'), "Pava    File " + std::string(85, 'n')},  // 89: fits
      {"/d/" + std::string(86, 'n'), "Pava    File (name too long!)"},         // 90: too long
  };
  for (const auto& [name, title] : rows) {
    std::strcpy(p.pic->file_name, name.c_str());
    EXPECT_EQ(main_title(p.pic), title);
  }
  p.pic->fp = nullptr;  // closed
  EXPECT_EQ(main_title(p.pic), "Pava");
}

}  // namespace
