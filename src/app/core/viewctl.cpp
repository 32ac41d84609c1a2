#include "app/core/viewctl.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <utility>

#include "display/display_types.h"
#include "formats/picinfo.h"

namespace {

// The View check items and the flag each one sets. North bound and the two
// skip items are handled on their own (they set more than one field).
struct ViewFlag {
  const char* path;
  int VIEWINFO::*flag;
};
const ViewFlag kViewFlags[] = {
    {"View/Grid", &VIEWINFO::grid},
    {"View/Coast", &VIEWINFO::boundaries},
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
constexpr const char* kNorth = "View/North bound";
constexpr const char* kPreSync = "View/Set skip/Use Pre sync";
constexpr const char* kPostSync = "View/Set skip/Use Post sync";
constexpr int kPreSyncBits = 0x0C;
constexpr int kPostSyncBits = 0xE0;

const char* const kViewPaths[] = {kNorth,
                                  "View/Grid",
                                  "View/Coast",
                                  "View/Position XY",
                                  "View/Invert",
                                  "View/Temperature",
                                  "View/Linearize",
                                  "View/Aspect",
                                  "View/Despeckle",
                                  "View/Destrip metop, fy3",
                                  "View/Reed Solomon",
                                  "View/Mark faulty lines",
                                  "View/Skip faulty lines",
                                  kPreSync,
                                  kPostSync,
                                  nullptr};

bool same(const char* a, const char* b) { return a && b && std::strcmp(a, b) == 0; }

const ViewFlag* find_flag(const char* path) {
  for (const auto& f : kViewFlags)
    if (same(path, f.path)) return &f;
  return nullptr;
}

bool has_picture(const PICINFO* pic) { return pic && pic->width > 0 && pic->height > 0; }

// Visible part of the picture along one axis: size/zoom picture pixels.
float visible(int size, float zoom) { return zoom > 0 ? float(size) / zoom : float(size); }

// Half the difference of two visible ranges in whole pixels, odd in its
// arguments: half_step(b, a) == -half_step(a, b).
int half_step(float from, float to) {
  return from >= to ? int(std::lround((from - to) / 2)) : -int(std::lround((to - from) / 2));
}

}  // namespace

const char* const* view_item_paths() { return kViewPaths; }

int view_item_apply(const char* path, int on, const PICINFO* pic, VIEWINFO* view,
                    std::string* refusal) {
  on = on ? 1 : 0;
  if (same(path, kNorth)) {
    view->scan_hor = on ? E_W : W_E;
    view->scan_ver = on ? S_N : N_S;
    return 0;
  }
  if (same(path, kPreSync) || same(path, kPostSync)) {
    int bits = same(path, kPreSync) ? kPreSyncBits : kPostSyncBits;
    view->mask_skip = on ? (view->mask_skip | bits) : (view->mask_skip & ~bits);
    return 0;
  }
  const ViewFlag* f = find_flag(path);
  if (!f) return -1;
  bool overlay = f->flag == &VIEWINFO::grid || f->flag == &VIEWINFO::boundaries;
  if (overlay && on) {
    bool time_ok = pic && pic->valid_time;
    bool orbit_ok = pic && pic->orbit.valid;
    if (!time_ok || !orbit_ok) {
      view->*(f->flag) = 0;
      if (refusal) {
        char buf[80];
        std::snprintf(buf, sizeof buf, "Valid time: %s\nValid kepler data: %s",
                      time_ok ? "OK" : "Error", orbit_ok ? "OK" : "Error");
        *refusal = buf;
      }
      return 1;
    }
  }
  view->*(f->flag) = on;
  return 0;
}

int view_item_state(const char* path, const VIEWINFO* view) {
  if (same(path, kNorth)) return view->scan_ver == S_N ? 1 : 0;
  if (same(path, kPreSync)) return (view->mask_skip & kPreSyncBits) ? 1 : 0;
  if (same(path, kPostSync)) return (view->mask_skip & kPostSyncBits) ? 1 : 0;
  const ViewFlag* f = find_flag(path);
  if (!f) return -1;
  return view->*(f->flag) ? 1 : 0;
}

int view_select_channel(VIEWINFO* view, int ch) {
  if (ch < 0 || ch > VIEW_MENU_CHANNELS) return -1;
  if (ch == 0) {
    view->process_data = 1;
    return 0;
  }
  view->process_data = 0;
  view->chan_selected = ch;
  for (int i = 0; i < 26; i++) view->channel_selected[i] = (i == ch);
  return 0;
}

int view_selected_channel(const VIEWINFO* view) {
  if (view->process_data) return 0;
  return std::clamp(view->chan_selected, 1, VIEW_MENU_CHANNELS);
}

// ---- Zoom ----
//
// A zoom factor z along an axis shows size/z picture pixels across the whole
// drawing area, so z = 1 is the whole picture and d = screen/size*z screen
// pixels per picture pixel; the origin o is the first picture pixel shown
// (counted in the picture, whatever the screen's mirroring).

void correct_zoomval(VIEWINFO* view, const PICINFO* pic, int sw, int sh) {
  ZOOMVAL& z = view->zval;
  if (!has_picture(pic) || sw <= 0 || sh <= 0) {
    z.zx = z.zy = 1;
    z.dx = z.dy = 0;
    z.ox = z.oy = 0;
    return;
  }
  auto limit = [](float zf, int size, int screen) {
    float max_zoom = std::max(1.0f, VIEW_MAX_PIXZOOM * float(size) / float(screen));
    if (!(zf >= 1)) zf = 1;  // also catches NaN
    return std::min(zf, max_zoom);
  };
  z.zx = limit(z.zx, pic->width, sw);
  z.zy = limit(z.zy, pic->height, sh);
  if (view->keep_xyrel) {
    // Equal scales: y follows x, unless that would show more than the whole
    // height; then x follows y.
    float zy = z.zx * float(sw) / float(pic->width) * float(pic->height) / float(sh);
    if (zy >= 1) {
      z.zy = limit(zy, pic->height, sh);
    } else {
      z.zx = limit(z.zy * float(sh) / float(pic->height) * float(pic->width) / float(sw),
                   pic->width, sw);
    }
  }
  z.dx = float(sw) * z.zx / float(pic->width);
  z.dy = float(sh) * z.zy / float(pic->height);
  int max_ox = int(std::floor(float(pic->width) - visible(pic->width, z.zx) + 0.5f));
  int max_oy = int(std::floor(float(pic->height) - visible(pic->height, z.zy) + 0.5f));
  z.ox = std::clamp(z.ox, 0, std::max(0, max_ox));
  z.oy = std::clamp(z.oy, 0, std::max(0, max_oy));
}

float zoom_step(const VIEWINFO* view) {
  return view->fix_zoomfactor > 1 ? view->fix_zoomfactor : 2.0f;
}

void zoom_at(VIEWINFO* view, const PICINFO* pic, int sw, int sh, int sx, int sy, float factor) {
  if (!has_picture(pic) || !(factor > 0)) return;
  correct_zoomval(view, pic, sw, sh);
  int px, py;
  view_scr2pic(view, pic, sw, sh, sx, sy, &px, &py);
  // Fraction of the visible range at which the point lies (0..1 from the origin).
  ZOOMVAL& z = view->zval;
  float fx = (float(px) + 0.5f - float(z.ox)) / visible(pic->width, z.zx);
  float fy = (float(py) + 0.5f - float(z.oy)) / visible(pic->height, z.zy);
  view->zval_pre = z;
  z.zx *= factor;
  z.zy *= factor;
  correct_zoomval(view, pic, sw, sh);
  z.ox = int(std::lround(float(px) + 0.5f - fx * visible(pic->width, z.zx)));
  z.oy = int(std::lround(float(py) + 0.5f - fy * visible(pic->height, z.zy)));
  correct_zoomval(view, pic, sw, sh);
}

void zoom_fixed(VIEWINFO* view, const PICINFO* pic, int sw, int sh, int sx, int sy, int in) {
  float f = zoom_step(view);
  zoom_at(view, pic, sw, sh, sx, sy, in ? f : 1 / f);
}

void zoom_wheel(VIEWINFO* view, const PICINFO* pic, int sw, int sh, int steps_x, int steps_y) {
  zoom_pan(view, pic, sw, sh, steps_x * (sw / 10), steps_y * (sh / 10));
}

void zoom_set(VIEWINFO* view, const PICINFO* pic, int sw, int sh, float zx, float zy, int ox,
              int oy) {
  view->zval_pre = view->zval;
  view->zval.zx = zx;
  view->zval.zy = zy;
  view->zval.ox = ox;
  view->zval.oy = oy;
  correct_zoomval(view, pic, sw, sh);
}

int zoom_key(VIEWINFO* view, const PICINFO* pic, int sw, int sh, int key) {
  ZOOMVAL& z = view->zval;
  switch (key) {
    case 'f':
      view->zval_pre = z;
      z.zx = z.zy = 1;
      z.ox = z.oy = 0;
      break;
    case 'i':
    case 'o': {
      // About the centre of the shown range: the origin moves by half the
      // change of the visible range, rounded as one whole-pixel step, so out
      // after in takes exactly the same step back (rounding the pixel under
      // the screen's centre instead drifts by one on some area sizes).
      if (!has_picture(pic)) return 0;
      float f = zoom_step(view);
      correct_zoomval(view, pic, sw, sh);
      view->zval_pre = z;
      const ZOOMVAL was = z;
      z.zx = key == 'i' ? z.zx * f : z.zx / f;
      z.zy = key == 'i' ? z.zy * f : z.zy / f;
      correct_zoomval(view, pic, sw, sh);  // the new factors (clamps the origin too)
      z.ox = was.ox + half_step(visible(pic->width, was.zx), visible(pic->width, z.zx));
      z.oy = was.oy + half_step(visible(pic->height, was.zy), visible(pic->height, z.zy));
      break;
    }
    case 'l':
      std::swap(view->zval, view->zval_pre);
      break;
    case 'c':  // y takes the scale of x
      correct_zoomval(view, pic, sw, sh);
      view->zval_pre = z;
      if (has_picture(pic) && sh > 0) z.zy = z.dx * float(pic->height) / float(sh);
      break;
    case 'C':  // x takes the scale of y
      correct_zoomval(view, pic, sw, sh);
      view->zval_pre = z;
      if (has_picture(pic) && sw > 0) z.zx = z.dy * float(pic->width) / float(sw);
      break;
    case 'x':
      view->zval_pre = z;
      z.zy = z.zx;
      break;
    case 'y':
      view->zval_pre = z;
      z.zx = z.zy;
      break;
    default:
      return -1;
  }
  correct_zoomval(view, pic, sw, sh);
  return 0;
}

int zoom_key_of_path(const char* path) {
  static const std::pair<const char*, int> kPaths[] = {
      {"Zoom/100% (f)", 'f'},   {"Zoom/In (i)", 'i'},     {"Zoom/Out (o)", 'o'},
      {"Zoom/Var (z)", 'z'},    {"Zoom/Fix (ctrl)", 'F'}, {"Zoom/Last (l)", 'l'},
      {"Zoom/dx->dy (c)", 'c'}, {"Zoom/dy->dx (C)", 'C'}, {"Zoom/zx->zy", 'x'},
      {"Zoom/zy->zx", 'y'},
  };
  for (const auto& p : kPaths)
    if (same(path, p.first)) return p.second;
  return 0;
}

int zoom_rect(VIEWINFO* view, const PICINFO* pic, int sw, int sh, int sx0, int sy0, int sx1,
              int sy1) {
  if (!has_picture(pic) || std::abs(sx1 - sx0) < 3 || std::abs(sy1 - sy0) < 3) return 1;
  correct_zoomval(view, pic, sw, sh);
  int ax, ay, bx, by;
  view_scr2pic(view, pic, sw, sh, sx0, sy0, &ax, &ay);
  view_scr2pic(view, pic, sw, sh, sx1, sy1, &bx, &by);
  int x0 = std::min(ax, bx), x1 = std::max(ax, bx) + 1;
  int y0 = std::min(ay, by), y1 = std::max(ay, by) + 1;
  view->zval_pre = view->zval;
  ZOOMVAL& z = view->zval;
  z.zx = float(pic->width) / float(x1 - x0);
  z.zy = float(pic->height) / float(y1 - y0);
  z.ox = x0;
  z.oy = y0;
  correct_zoomval(view, pic, sw, sh);
  return 0;
}

void zoom_pan(VIEWINFO* view, const PICINFO* pic, int sw, int sh, int dsx, int dsy) {
  if (!has_picture(pic)) return;
  correct_zoomval(view, pic, sw, sh);
  ZOOMVAL& z = view->zval;
  // Dragging right shows what lies left of the view; mirrored axes turn round.
  float mx = z.dx > 0 ? float(dsx) / z.dx : 0;
  float my = z.dy > 0 ? float(dsy) / z.dy : 0;
  if (view->scan_hor == E_W) mx = -mx;
  if (view->scan_ver == S_N) my = -my;
  z.ox -= int(std::lround(mx));
  z.oy -= int(std::lround(my));
  correct_zoomval(view, pic, sw, sh);
}

int view_scr2pic(const VIEWINFO* view, const PICINFO* pic, int sw, int sh, int sx, int sy, int* px,
                 int* py) {
  *px = *py = 0;
  if (!has_picture(pic) || sw <= 0 || sh <= 0) return 0;
  const ZOOMVAL& z = view->zval;
  float dx = z.dx > 0 ? z.dx : float(sw) / float(pic->width);
  float dy = z.dy > 0 ? z.dy : float(sh) / float(pic->height);
  float zx = z.zx > 0 ? z.zx : 1, zy = z.zy > 0 ? z.zy : 1;
  // Pixel centres: screen column sx covers [sx, sx+1).
  float fx = (float(sx) + 0.5f) / dx, fy = (float(sy) + 0.5f) / dy;
  float vx = view->scan_hor == E_W ? visible(pic->width, zx) - fx : fx;
  float vy = view->scan_ver == S_N ? visible(pic->height, zy) - fy : fy;
  double x = std::floor(double(vx) + z.ox), y = std::floor(double(vy) + z.oy);
  bool inside = x >= 0 && x < pic->width && y >= 0 && y < pic->height;
  *px = int(std::clamp(x, 0.0, double(pic->width - 1)));
  *py = int(std::clamp(y, 0.0, double(pic->height - 1)));
  return inside ? 1 : 0;
}

int view_channel_slot(const PICINFO* pic, int ch) {
  if (ch < 1 || ch >= XLINE_MAXCHAN) return -1;
  int listed = 0;
  for (int c = 1; c < XLINE_MAXCHAN; c++) listed += pic->channels_recorded[c] ? 1 : 0;
  if (!listed) return ch - 1;
  if (!pic->channels_recorded[ch]) return -1;
  int slot = 0;
  for (int c = 1; c < ch; c++) slot += pic->channels_recorded[c] ? 1 : 0;
  return slot;
}

namespace {

// Sample of channel slot at (x, y), or -1 when there is none.
int sample(const PICINFO* pic, int slot, int x, int y) {
  const XLINE* l = pic_line(pic, y);
  if (!l || slot < 0 || slot >= l->nrchan || slot >= XLINE_MAXCHAN || !l->line[slot]) return -1;
  if (x < 0 || x >= l->width) return -1;
  return l->line[slot][x];
}

int shown_channel(const VIEWINFO* view) { return view->process_data ? 1 : view->chan_selected; }

}  // namespace

int view_readout(const VIEWINFO* view, const PICINFO* pic, int sw, int sh, int sx, int sy,
                 std::string* position, std::string* pixel) {
  position->clear();
  pixel->clear();
  int px, py;
  if (!view_scr2pic(view, pic, sw, sh, sx, sy, &px, &py)) return 0;
  char buf[64];
  const XLINE* l = pic_line(pic, py);
  if (!view->coordxy && l && l->pos && px < l->width && pic->orbit.valid) {
    const double deg = 180.0 / M_PI;
    std::snprintf(buf, sizeof buf, "x=%5.2f,y=%5.2f", l->pos[px].lon * deg, l->pos[px].lat * deg);
  } else {
    std::snprintf(buf, sizeof buf, "x=%5.2f,y=%5.2f", double(px), double(py));
  }
  *position = buf;
  int v = sample(pic, view_channel_slot(pic, std::max(1, shown_channel(view))), px, py);
  std::snprintf(buf, sizeof buf, "%8d", v < 0 ? 0 : v);
  *pixel = buf;
  return 1;
}

std::vector<std::string> open_file_messages(int code, const PICINFO* pic) {
  char buf[400];
  const char* name = pic ? pic->file_name : "";
  std::vector<std::string> out;
  switch (code) {
    case 0:
      break;
    case 100:
      std::snprintf(buf, sizeof buf, "Depth=%d currently not supported.\n", pic ? pic->depth : 0);
      out.emplace_back(buf);
      std::snprintf(buf, sizeof buf, "read problem in %s.\n", name);
      out.emplace_back(buf);
      break;
    case 111:
      out.emplace_back("Can't open file.");
      break;
    case 112:
      std::snprintf(buf, sizeof buf, "No picture found in %s.\n", name);
      out.emplace_back(buf);
      break;
    case 114:
      std::snprintf(buf, sizeof buf, "read problem in %s.\n", name);
      out.emplace_back(buf);
      break;
    case 116:
      std::snprintf(buf, sizeof buf, "Unknown file type of \n%s.\n", name);
      out.emplace_back(buf);
      break;
    default:
      // A code outside printable ASCII would cut or garble the text.
      std::snprintf(buf, sizeof buf, "Unknown error %d (%c).\n", code,
                    code >= 32 && code < 127 ? code : '?');
      out.emplace_back(buf);
  }
  return out;
}

void load_grey_clrmap(PICINFO* pic) {
  pic->clrmap.size = 256;
  for (int i = 0; i < 256; i++) pic->clrmap.red[i] = pic->clrmap.green[i] = pic->clrmap.blue[i] = i;
}

std::string main_title(const PICINFO* pic) {
  if (!pic || !pic->fp || !pic->file_name[0]) return "Pava";
  const char* base = std::strrchr(pic->file_name, '/');
  base = base ? base + 1 : pic->file_name;
  char buf[300];
  if (std::strlen(base) + 4 >= 90)
    std::snprintf(buf, sizeof buf, "%s    File (name too long!)", "Pava");
  else
    std::snprintf(buf, sizeof buf, "%s    File %s", "Pava", base);
  return buf;
}

int view_channel_of_path(const char* path) {
  if (same(path, "Channel/False clr")) return 0;
  for (int ch = 1; ch <= VIEW_MENU_CHANNELS; ch++) {
    char buf[20];
    std::snprintf(buf, sizeof buf, "Channel/Ch%d", ch);
    if (same(path, buf)) return ch;
  }
  return -1;
}

namespace {

std::string line_time(const XLINE* l) {
  if (!l || !l->tm_ms.valid) return "-";
  char buf[64];
  const struct tm& t = l->tm_ms.tm;
  std::snprintf(buf, sizeof buf, "%04d-%02d-%02d %02d:%02d:%02d.%03d", t.tm_year + 1900,
                t.tm_mon + 1, t.tm_mday, t.tm_hour, t.tm_min, t.tm_sec, l->tm_ms.ms);
  return buf;
}

}  // namespace

std::vector<std::pair<std::string, std::string>> file_info_rows(const PICINFO* pic) {
  std::vector<std::pair<std::string, std::string>> rows;
  if (!pic || !pic->fp) {
    rows.emplace_back("File", "(none)");
    return rows;
  }
  char buf[64];
  rows.emplace_back("File", pic->file_name);
  rows.emplace_back("Type", file_type_name(pic->file_type));
  rows.emplace_back("Satellite", pic->sat_name[0] ? pic->sat_name : "-");
  std::snprintf(buf, sizeof buf, "%d x %d", pic->width, pic->height);
  rows.emplace_back("Size", buf);
  std::string chans;
  for (int c = 1; c < XLINE_MAXCHAN; c++)
    if (pic->channels_recorded[c]) chans += (chans.empty() ? "" : " ") + std::to_string(c);
  rows.emplace_back("Channels", chans.empty() ? std::to_string(pic->nr_chan) : chans);
  int n = pic_line_count(pic);
  rows.emplace_back("Lines", std::to_string(n));
  rows.emplace_back("First line", line_time(pic_line(pic, 0)));
  rows.emplace_back("Last line", line_time(pic_line(pic, n - 1)));
  rows.emplace_back("Valid time", pic->valid_time ? "OK" : "Error");
  rows.emplace_back("Valid kepler data", pic->orbit.valid ? "OK" : "Error");
  std::snprintf(buf, sizeof buf, "%02x %02x %02x %02x", uint8_t(pic->firmware[0]),
                uint8_t(pic->firmware[1]), uint8_t(pic->firmware[2]), uint8_t(pic->firmware[3]));
  rows.emplace_back("Firmware", buf);
  return rows;
}
