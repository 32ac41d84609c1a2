#include "display/chanmap.h"

#include <algorithm>

#include "common/text.h"
#include "config/prefs.h"
#include "config/prefs_file.h"

namespace {

// One row of a default map: channel and its (red, green, blue) weights.
struct ChanWeight {
  int ch;
  float r, g, b;
};

struct StdMap {
  const char* name;
  int ro, go, bo;
  ChanWeight w[4];
  int nw;
};

const StdMap kNoaa = {"NOAA", 0, 0, 0, {{1, 0, 0, 1.0f}, {2, 1.1f, 1.1f, 0}}, 2};
const StdMap kFy1 = {"FY1", 0, 0, 0, {{1, 1.0f, 0, 0}, {2, 0, 2.0f, 0}, {7, 0, 0, 1.0f}}, 3};
const StdMap kSeawif = {"Seawif", 0, 0, 0, {{2, 0, 0, 1.0f}, {5, 0, 1.0f, 0}, {6, 1.0f, 0, 0}}, 3};
const StdMap kFy3 = {
    "FY3", 0, 0, 0, {{2, 0.8f, 1.8f, 0}, {6, 0.9f, 0, 0}, {9, 0, 0, 0.8f}, {10, 0, 0, 0.3f}}, 4};
const StdMap kMeteor = {"METEOR", 0, 0, 0, {{1, 0, 0, 1.0f}, {2, 0, 1.0f, 0}, {3, 1.0f, 0, 0}}, 3};
const StdMap kMetop = {
    "METOP", -10, 0, 0, {{1, 0, 0.2f, 2.0f}, {2, 1.8f, 0.8f, 0}, {3, 0.5f, 0.9f, 0}}, 3};

const StdMap* std_map_of(FILE_TYPE ft) {
  switch (ft) {
    case FT_HRPT:
    case FT_HPT:
      return &kNoaa;
    case FT_CHRPT:
      return &kFy1;
    case FT_SEAWIF:
      return &kSeawif;
    case FT_CHPT:
    case FT_FY3:
      return &kFy3;
    case FT_MHRPT1:
    case FT_MHRPT2:
      return &kMeteor;
    case FT_METOP:
      return &kMetop;
    default:
      return nullptr;
  }
}

bool valid_slot(int fam, int n) {
  return fam >= 0 && fam < PREFS_NFAMILIES && n >= 0 && n < PREFS_NMAPS;
}

bool any_on(const CLRMAPCHAN& m) {
  for (int ch = 1; ch <= 25; ch++)
    if (m.on[ch]) return true;
  return false;
}

void update_vshift_range(VIEWINFO* view) {
  view->min_vshift = view->max_vshift = 0;
  for (int ch = 1; ch <= 25; ch++) {
    view->min_vshift = std::min(view->min_vshift, view->vshift[ch]);
    view->max_vshift = std::max(view->max_vshift, view->vshift[ch]);
  }
}

}  // namespace

void clrmap_reset(CLRMAPCHAN* map) {
  *map = CLRMAPCHAN{};
  map->gamma = 1.0f;
  map->lum = 1.0f;
}

void compose_pixel(const CLRMAPCHAN& map, const int recorded[26], const int v[26], int* r, int* g,
                   int* b) {
  int R = 4 * map.red_offset, G = 4 * map.green_offset, B = 4 * map.blue_offset;
  for (int ch = 1; ch <= 25; ch++) {
    if (!recorded[ch] || !map.on[ch]) continue;
    // Truncated after every channel: the order of the channels matters.
    float fv = float(v[ch]);
    R = int(map.red[ch] * fv + float(R));
    G = int(map.green[ch] * fv + float(G));
    B = int(map.blue[ch] * fv + float(B));
  }
  if (map.lum != 0) {
    R = int(map.lum * float(R));
    G = int(map.lum * float(G));
    B = int(map.lum * float(B));
  }
  *r = std::clamp(R, 0, 1023);
  *g = std::clamp(G, 0, 1023);
  *b = std::clamp(B, 0, 1023);
}

int set_std_falseclr(FILE_TYPE ft, CLRMAPCHAN* map) {
  const StdMap* s = std_map_of(ft);
  if (!s) return 0;
  char satname[20];
  pava::copy_text(satname, map->satname);
  clrmap_reset(map);
  pava::copy_text(map->satname, satname);
  pava::copy_text(map->mapname, s->name);
  map->red_offset = s->ro;
  map->green_offset = s->go;
  map->blue_offset = s->bo;
  for (int k = 0; k < s->nw; k++) {
    const ChanWeight& w = s->w[k];
    map->on[w.ch] = 1;
    map->red[w.ch] = w.r;
    map->green[w.ch] = w.g;
    map->blue[w.ch] = w.b;
  }
  return 1;
}

int clrmap_family(SAT_TYPE st) {
  switch (st) {
    case HRPT:
    case QNOAA20:
    case QNOAA21:
      return 0;
    case METOP:
      return 1;
    case M1HRPT:
    case M2HRPT:
      return 2;
    case FY3:
    case FY3AB:
    case FY3C:
    case FY3D:
      return 3;
    default:
      return 0;
  }
}

void set_falseclr(const PICINFO* pic, VIEWINFO* view) {
  int fam = clrmap_family(pic->sat_type);
  const CLRMAPCHAN& stored = prefs.clrmaps[fam][0];
  if (any_on(stored)) {
    view->cmhc = stored;
    view->cmhc.lum = 1.0f;
  } else {
    set_std_falseclr(pic->file_type, &view->cmhc);
  }
}

RGBCLR store_button_colour(int state) {
  switch (state) {
    case STORE_CHANGED:
      return {0xffff, 0, 0};
    case STORE_SAVED:
      return {0, 0xffff, 0};
    default:
      return {0xffff, 0xffff, 0xffff};
  }
}

int clrmap_store(VIEWINFO* view, int fam, int n, CLRMAP_BUTTONS* buttons) {
  if (!valid_slot(fam, n)) return -1;
  prefs.clrmaps[fam][n] = view->cmhc;
  pava::copy_text(prefs.clrmaps[fam][n].satname, CLRMAP_FAMILIES[fam]);
  if (buttons) {
    buttons->store[n] = STORE_CHANGED;
    buttons->save_sensitive = 1;
  }
  return 0;
}

int clrmap_get(VIEWINFO* view, int fam, int n) {
  if (!valid_slot(fam, n)) return -1;
  view->cmhc = prefs.clrmaps[fam][n];
  return 0;
}

int clrmap_undo(VIEWINFO* view, int fam, int n, CLRMAP_BUTTONS* buttons) {
  if (!valid_slot(fam, n)) return -1;
  prefs.clrmaps[fam][n] = prefs.clrmaps_loaded[fam][n];
  view->cmhc = prefs.clrmaps[fam][n];
  if (buttons) buttons->store[n] = STORE_PLAIN;
  return 0;
}

int clrmap_save(CLRMAP_BUTTONS* buttons) {
  int r = Save_Prefs();
  if (buttons && r == 0) {
    for (int& s : buttons->store)
      if (s == STORE_CHANGED) s = STORE_SAVED;
    buttons->save_sensitive = 0;
  }
  return r;
}

float clrmap_choose(VIEWINFO* view, int fam, int choice, float clum) {
  if (fam < 0 || fam >= PREFS_NFAMILIES) fam = 0;
  float slider = clum;
  if (choice >= 0 && choice < PREFS_NMAPS) {
    view->cmhc = prefs.clrmaps[fam][choice];
    view->process_data = 1;
    slider = 1.0f;
  } else {
    view->cmhc.lum = clum;
  }
  // lum goes to map 1 whichever map was chosen.
  prefs.clrmaps[fam][0].lum = view->cmhc.lum;
  return slider;
}

float clrmap_std_colour(const PICINFO* pic, VIEWINFO* view) {
  clrmap_reset(&view->cmhc);
  set_std_falseclr(pic->file_type, &view->cmhc);
  return view->gamma;
}

void align_set(VIEWINFO* view, int ch, int hshift, int vshift, int tilt) {
  if (ch < 1 || ch > 25) return;
  view->hshift[ch] = hshift;
  view->vshift[ch] = vshift;
  view->tilt[ch] = tilt;
  update_vshift_range(view);
}

int align_reset(VIEWINFO* view) {
  for (int ch = 1; ch <= 25; ch++) view->hshift[ch] = view->vshift[ch] = view->tilt[ch] = 0;
  update_vshift_range(view);
  return ALIGN_LED_RESET;
}

int align_auto(VIEWINFO* view, FILE_TYPE ft) {
  align_reset(view);
  if (ft == FT_CHRPT) {
    view->hshift[7] = -3;
    view->hshift[9] = -3;
    view->hshift[10] = -2;
    view->tilt[7] = 4;
  } else if (ft == FT_MHRPT1) {
    view->vshift[3] = -2;
    view->vshift[2] = -1;
  }
  update_vshift_range(view);
  return ALIGN_LED_AUTO;
}

void align_source(const VIEWINFO* view, int ch, int x, int y, int width, int* sx, int* sy) {
  int t = view->tilt[ch];
  int ty = (t != 0 && width > 1) ? (t * x) / (width - 1) : 0;
  *sx = x + view->hshift[ch];
  *sy = y + view->vshift[ch] + ty;
}

int chan_slot(const PICINFO* pic, int ch) {
  if (ch < 1 || ch > 25) return -1;
  bool any = false;
  for (int c = 1; c <= 25; c++) any = any || pic->channels_recorded[c];
  if (!any) return ch <= pic->nr_chan ? ch - 1 : -1;  // no table: channels 1..nr_chan in order
  if (!pic->channels_recorded[ch]) return -1;
  int slot = 0;
  for (int c = 1; c < ch; c++)
    if (pic->channels_recorded[c]) slot++;
  return slot;
}
