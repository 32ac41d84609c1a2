// Pictures built in memory for the display tests: lines with channel values
// from a function, and positions laid out by hand.
#pragma once
#include <cmath>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "app/ui_ops.h"
#include "display/display_types.h"
#include "formats/picinfo.h"

namespace dtest {

struct PicDeleter {
  void operator()(PICINFO* p) const { pic_delete(p); }
};
using PicPtr = std::unique_ptr<PICINFO, PicDeleter>;

// A picture of h lines of nchan channels, w samples each; value(ch, x, y)
// gives the sample of channel ch (1-based) at (x, y). Every line has a valid
// time.
inline PicPtr make_picture(int w, int h, int nchan,
                           const std::function<int(int, int, int)>& value) {
  PicPtr pic(pic_new());
  XLINE* head = nullptr;
  XLINE* tail = nullptr;
  for (int y = 0; y < h; y++) {
    tail = Create_Xline(&head, nchan, w, tail);
    tail->linenr = y;
    tail->tm_ms.valid = 1;
    for (int ch = 1; ch <= nchan; ch++)
      for (int x = 0; x < w; x++) tail->line[ch - 1][x] = uint16_t(value(ch, x, y));
  }
  pic_set_lines(pic.get(), head);
  pic->width = w;
  pic->height = h;
  pic->nr_chan = nchan;
  pic->width_original = w;
  for (int ch = 1; ch <= nchan; ch++) pic->channels_recorded[ch] = 1;
  return pic;
}

// Positions laid out linearly: lon = lon0 + x*dlon, lat = lat0 - y*dlat
// (degrees), stored in radians. Marks the picture's time and orbit valid.
inline void lay_out_positions(PICINFO* pic, double lon0, double dlon, double lat0, double dlat) {
  int y = 0;
  for (XLINE* l = pic->xline; l; l = l->next, y++)
    for (int x = 0; x < l->width; x++) {
      xline_alloc_pos(l)[x].lon = float((lon0 + x * dlon) * M_PI / 180.0);
      l->pos[x].lat = float((lat0 - y * dlat) * M_PI / 180.0);
    }
  pic->valid_time = 1;
  pic->orbit.valid = 1;
}

// Calibration words of a NOAA 15 line set: PRT readings 250 + 3k in words
// 17-19 (k = line % 5, 0 the reset line), black body 440 + ch (+1 every
// other sample) and space 990 for channels 3-5.
inline void set_noaa15_cal_words(PICINFO* pic) {
  int y = 0;
  for (XLINE* l = pic->xline; l; l = l->next, y++) {
    int k = y % 5;
    for (int w = 17; w <= 19; w++) l->line_hdr[w] = uint16_t(k == 0 ? 0 : 250 + 3 * k);
    for (int ch = 3; ch <= 5; ch++)
      for (int i = 0; i < 10; i++) {
        l->line_hdr[19 + ch + 3 * i] = uint16_t(440 + ch + (i % 2));
        l->line_hdr[51 + ch + 5 * i] = uint16_t(990);
      }
  }
}

// A view at zoom 1 of everything, grey, window 0..1023.
inline VIEWINFO* make_view() {
  auto* v = new VIEWINFO();
  v->zval.zx = v->zval.zy = 1;
  v->lum_min = 0;
  v->lum_max = 1023;
  v->gamma = 1.0f;
  v->chan_selected = 1;
  v->scan_hor = W_E;
  v->scan_ver = N_S;
  return v;
}

// Records what the core tells the user while it lives: message boxes as
// (title, text), status entries as (name, text); the progress callback
// cancels at its cancel_after-th call (-1: never); questions answer "no".
struct FakeUi {
  static inline std::vector<std::pair<std::string, std::string>> msgs, entries;
  static inline int cancel_after = -1, progress_calls = 0;
  FakeUi() {
    msgs.clear();
    entries.clear();
    cancel_after = -1;
    progress_calls = 0;
    UI_OPS ops{};
    ops.message = [](const char* t, const char* m) { msgs.emplace_back(t, m); };
    ops.set_entry = [](const char*, const char* n, const char* t) { entries.emplace_back(n, t); };
    ops.progress = [](double, const char*) { return ++progress_calls == cancel_after ? 1 : 0; };
    ops.ask = [](const char*, const char*) { return 0; };
    ui_install(&ops);
  }
  ~FakeUi() { ui_install(nullptr); }
};

}  // namespace dtest
