#include "display/draw.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <thread>

#include "app/ui_ops.h"
#include "common/text.h"
#include "config/prefs.h"
#include "display/chanmap.h"
#include "display/coast.h"
#include "display/georef.h"
#include "display/lumcal.h"

namespace {

// Everything a row needs, prepared once per drawing; read-only in the rows.
struct DrawCtx {
  const PICINFO* pic = nullptr;
  const VIEWINFO* view = nullptr;
  int W = 0, H = 0;
  const int* xmap = nullptr;
  const int* ymap = nullptr;
  int nvalid = 0;  // valid xmap entries (they come first)
  std::vector<int> lut;
  uint32_t pal[DRAW_PALETTE] = {};
  bool false_clr = false;
  std::vector<int> active;  // channels of the composition, ascending
  int slot[26] = {};
  bool temp_mode = false;
  int chan = 1;  // single channel shown
  bool despeckle = false;
  bool grid = false, coast = false;
  int step_lon = 1, step_lat = 1;
  uint8_t grid_rgb[3] = {}, cont_rgb[3] = {};
};

// Per-thread work rows.
struct RowBufs {
  std::vector<float> fv;
  std::vector<int> r, g, b, hidx;
  std::vector<uint8_t> base;
  std::vector<float> lon_cur, lat_cur, lon_up, lat_up;
  std::vector<int> temps;
  void size(int n, int w) {
    fv.resize(size_t(n));
    r.resize(size_t(n));
    g.resize(size_t(n));
    b.resize(size_t(n));
    hidx.resize(size_t(n));
    base.resize(size_t(w) * 3);
    lon_cur.resize(size_t(n));
    lat_cur.resize(size_t(n));
    lon_up.resize(size_t(n));
    lat_up.resize(size_t(n));
  }
};

// Values of channel ch at picture line py for the n columns cols into fv.
void gather(const DrawCtx& c, int ch, int py, const int* cols, int n, float* fv) {
  const PICINFO* pic = c.pic;
  const VIEWINFO* view = c.view;
  const int slot = c.slot[ch];
  auto line_of = [&](int y) -> const XLINE* {
    const XLINE* l = pic_line(pic, y);
    return (l && slot >= 0 && slot < l->nrchan && l->line[slot]) ? l : nullptr;
  };
  auto value_at = [&](const XLINE* l, int x) -> int {
    if (!l) return 0;
    x = std::clamp(x, 0, l->width - 1);
    if (!c.despeckle) return l->line[slot][x];
    const XLINE* up = l->prev && l->prev->nrchan > slot ? l->prev : nullptr;
    const XLINE* dn = l->next && l->next->nrchan > slot ? l->next : nullptr;
    return get_pix(up ? up->line[slot] : nullptr, l->line[slot], dn ? dn->line[slot] : nullptr, x,
                   l->width, view->sur_ulim, view->dsp_llim);
  };
  if (slot < 0) {
    std::fill(fv, fv + n, 0.0f);
    return;
  }
  if (view->tilt[ch] != 0) {
    for (int i = 0; i < n; i++) {
      int sx, sy;
      align_source(view, ch, cols[i], py, pic->width, &sx, &sy);
      fv[i] = float(value_at(line_of(sy), sx));
    }
    return;
  }
  const XLINE* l = line_of(py + view->vshift[ch]);
  if (!l) {
    std::fill(fv, fv + n, 0.0f);
    return;
  }
  const int hs = view->hshift[ch];
  if (c.despeckle || hs != 0) {
    for (int i = 0; i < n; i++) fv[i] = float(value_at(l, cols[i] + hs));
    return;
  }
  const uint16_t* src = l->line[slot];
  const int wmax = l->width - 1;
  for (int i = 0; i < n; i++) fv[i] = float(src[std::min(cols[i], wmax)]);
}

// The values (0..1023, before the luminance table) of n columns of line py.
void compute_values(const DrawCtx& c, RowBufs& rb, int py, const int* cols, int n) {
  int* R = rb.r.data();
  int* G = rb.g.data();
  int* B = rb.b.data();
  float* fv = rb.fv.data();
  const VIEWINFO* view = c.view;
  if (c.temp_mode) {
    const XLINE* l = pic_line(c.pic, py);
    bool ok = l && map_noaatemp(c.pic, l, c.chan, &rb.temps) == 0;
    for (int i = 0; i < n; i++) {
      int idx = 0;
      if (ok) {
        int t = std::clamp(rb.temps[size_t(std::min(cols[i], l->width - 1))] / 10, 203, 343);
        idx = std::min(1023, (t - 203) * 1023 / 140);
      }
      R[i] = G[i] = B[i] = idx;
    }
    return;
  }
  if (!c.false_clr) {
    gather(c, c.chan, py, cols, n, fv);
    for (int i = 0; i < n; i++) R[i] = G[i] = B[i] = std::min(int(fv[i]), 1023);
    return;
  }
  const CLRMAPCHAN& m = view->cmhc;
  const int r0 = 4 * m.red_offset, g0 = 4 * m.green_offset, b0 = 4 * m.blue_offset;
  for (int i = 0; i < n; i++) {
    R[i] = r0;
    G[i] = g0;
    B[i] = b0;
  }
  for (int ch : c.active) {
    gather(c, ch, py, cols, n, fv);
    const float wr = m.red[ch], wg = m.green[ch], wb = m.blue[ch];
    // Truncated after every channel, as compose_pixel does.
    for (int i = 0; i < n; i++) {
      R[i] = int(wr * fv[i] + float(R[i]));
      G[i] = int(wg * fv[i] + float(G[i]));
      B[i] = int(wb * fv[i] + float(B[i]));
    }
  }
  const float lum = m.lum;
  for (int i = 0; i < n; i++) {
    int r = R[i], g = G[i], b = B[i];
    if (lum != 0) {
      r = int(lum * float(r));
      g = int(lum * float(g));
      b = int(lum * float(b));
    }
    R[i] = std::clamp(r, 0, 1023);
    G[i] = std::clamp(g, 0, 1023);
    B[i] = std::clamp(b, 0, 1023);
  }
}

bool crosses(float a, float b, float inv_step) {
  if (std::fabs(a - b) > 180) return false;  // the antimeridian, not a grid line
  return std::floor(a * inv_step) != std::floor(b * inv_step);
}

// Lon/lat (degrees) of the n columns of line py from the overlay table.
void row_lonlat(const DrawCtx& c, int py, float* lon, float* lat) {
  const OVLINFO& o = c.pic->ovlinfo;
  const int w = c.pic->width;
  const DBLFLOAT* row = &o.xy2lola[size_t(py) * size_t(w)];
  for (int i = 0; i < c.nvalid; i++) {
    const DBLFLOAT& p = row[std::min(c.xmap[i], w - 1)];
    lon[i] = p.a;
    lat[i] = p.b;
  }
}

void paint(uint8_t* px, const uint8_t* rgb) {
  px[0] = rgb[0];
  px[1] = rgb[1];
  px[2] = rgb[2];
}

// Draws screen rows y0..y1-1 into out, counting into hist.
void draw_rows(const DrawCtx& c, int y0, int y1, uint8_t* out, long* hist) {
  RowBufs rb;
  rb.size(c.nvalid, c.W);
  const int W = c.W, nv = c.nvalid;
  const int pw = c.pic->width;
  const size_t rowbytes = size_t(W) * 3;
  int last_py = -1;
  bool up_valid = false;
  const float ilon = 1.0f / float(c.step_lon), ilat = 1.0f / float(c.step_lat);
  const bool grid = c.grid && !c.pic->ovlinfo.xy2lola.empty();
  const bool coast = c.coast && !c.pic->ovlinfo.ovlarr.empty();
  if (grid && y0 > 0 && c.ymap[y0 - 1] >= 0) {
    row_lonlat(c, c.ymap[y0 - 1], rb.lon_up.data(), rb.lat_up.data());
    up_valid = true;
  }
  for (int sy = y0; sy < y1; sy++) {
    uint8_t* row = out + size_t(sy) * rowbytes;
    const int py = c.ymap[sy];
    if (py < 0 || !pic_line(c.pic, py)) {
      std::memset(row, 0, rowbytes);
      up_valid = false;
      last_py = -1;
      continue;
    }
    if (py == last_py) {
      std::memcpy(row, rb.base.data(), rowbytes);
      for (int i = 0; i < nv; i++) hist[rb.hidx[size_t(i)]]++;
    } else {
      compute_values(c, rb, py, c.xmap, nv);
      for (int i = 0; i < nv; i++) {
        const int r = rb.r[size_t(i)], g = rb.g[size_t(i)], b = rb.b[size_t(i)];
        const int h = std::min((r + g + b) / 3, 1023);
        rb.hidx[size_t(i)] = h;
        hist[h]++;
        const int lr = std::min(c.lut[size_t(r)], DRAW_PALETTE - 1);
        const int lg = std::min(c.lut[size_t(g)], DRAW_PALETTE - 1);
        const int lb = std::min(c.lut[size_t(b)], DRAW_PALETTE - 1);
        uint8_t* px = row + 3 * i;
        px[0] = uint8_t(c.pal[lr] >> 16);
        px[1] = uint8_t(c.pal[lg] >> 8);
        px[2] = uint8_t(c.pal[lb]);
      }
      std::memset(row + 3 * nv, 0, rowbytes - size_t(3 * nv));
      std::memcpy(rb.base.data(), row, rowbytes);
      last_py = py;
    }
    if (sy == c.H - 1) continue;  // overlays leave the last row and column
    const int nov = std::min(nv, W - 1);
    if (grid) {
      row_lonlat(c, py, rb.lon_cur.data(), rb.lat_cur.data());
      const float* lo = rb.lon_cur.data();
      const float* la = rb.lat_cur.data();
      for (int i = 1; i < nov; i++) {
        bool on = crosses(lo[i - 1], lo[i], ilon) || crosses(la[i - 1], la[i], ilat);
        if (!on && up_valid && sy > 0)
          on = crosses(rb.lon_up[size_t(i)], lo[i], ilon) ||
               crosses(rb.lat_up[size_t(i)], la[i], ilat);
        if (on) paint(row + 3 * i, c.grid_rgb);
      }
      rb.lon_up.swap(rb.lon_cur);
      rb.lat_up.swap(rb.lat_cur);
      up_valid = true;
    }
    if (coast) {
      const char* o = &c.pic->ovlinfo.ovlarr[size_t(py) * size_t(pw)];
      for (int i = 0; i < nov; i++)
        if (o[std::min(c.xmap[i], pw - 1)] & 1) paint(row + 3 * i, c.cont_rgb);
    }
  }
}

void fill_palettes(DrawCtx& c) {
  for (int p = 0; p < DRAW_PALETTE; p++) {
    if (c.temp_mode) {
      int r, g, b;
      double h = temp_hue(p * 1023 / (DRAW_PALETTE - 1)) * M_PI / 180.0;
      r = int(127 * (1 + std::sin(h + 240 * M_PI / 180)));
      g = int(127 * (1 + std::sin(h)));
      b = int(127 * (1 + std::sin(h + 120 * M_PI / 180)));
      c.pal[p] = uint32_t(r << 16 | g << 8 | b);
    } else {
      c.pal[p] = uint32_t(p) * 0x010101u;
    }
  }
}

// Channel choice, map and modes shared by draw_pic and pixel_value.
void prepare_channels(DrawCtx& c, const PICINFO* pic, const VIEWINFO* view) {
  c.pic = pic;
  c.view = view;
  for (int ch = 0; ch < 26; ch++) c.slot[ch] = chan_slot(pic, ch);
  c.chan = std::clamp(view->chan_selected, 1, 25);
  c.false_clr = view->process_data != 0;
  c.active.clear();
  if (c.false_clr)
    for (int ch = 1; ch <= 25; ch++)
      if (c.slot[ch] >= 0 && view->cmhc.on[ch]) c.active.push_back(ch);
  c.temp_mode = !c.false_clr && view->map_temp && c.chan >= 3 && c.chan <= 5 &&
                (pic->sat_type == HRPT || pic->file_type == FT_HRPT || pic->file_type == FT_HPT);
  c.despeckle = view->despeckle != 0;
}

}  // namespace

const char* draw_status_text(int status) {
  switch (status) {
    case DRAW_OK:
      return "";
    case DRAW_NO_ORBIT:
      return "No orbit data available.";
    case DRAW_NO_COAST:
      return "No coast data available.";
    case DRAW_NO_LUMTABLE:
      return "No luminance table.";
    case DRAW_NO_PICTURE:
      return "No picture.";
    default:
      return "Drawing failed.";
  }
}

void draw_report(int status) {
  if (status == DRAW_NO_ORBIT || status == DRAW_NO_COAST)
    ui().message(DRAW_MSG_TITLE, draw_status_text(status));
}

int grid_step(double span) {
  int s = int(std::fabs(span)) / 8;
  if (s < 1) s = 1;
  if (s > 2) s = 5;
  return s;
}

int draw_pic(PICINFO* pic, VIEWINFO* view, int width, int height, RGBIMAGE* out,
             const DRAWOPTS* opts) {
  DRAWOPTS defaults;
  if (!opts) opts = &defaults;
  width = std::max(0, width);
  height = std::max(0, height);
  out->width = width;
  out->height = height;
  out->rgb.assign(size_t(width) * size_t(height) * 3, 0);
  std::fill(std::begin(view->lumstat), std::end(view->lumstat), 0L);
  if (!pic->xline || pic->width <= 0 || pic->height <= 0) return DRAW_NO_PICTURE;
  if (map_xy(width, height, pic->no_xymapping, 1, pic, view) != 0) return DRAW_NO_PICTURE;

  DrawCtx c;
  prepare_channels(c, pic, view);
  c.W = width;
  c.H = height;
  c.xmap = view->xmap.data();
  c.ymap = view->ymap.data();
  while (c.nvalid < width && c.xmap[c.nvalid] >= 0) c.nvalid++;

  const float gamma = (c.false_clr && opts->map_window_open) ? view->cmhc.gamma : view->gamma;
  if (map_z(view->lum_min, view->lum_max, gamma, view->invert, DRAW_PALETTE, DRAW_LUMTABLE,
            &c.lut) != 0)
    return DRAW_NO_LUMTABLE;
  fill_palettes(c);

  int status = DRAW_OK;
  if (view->grid || view->boundaries) {
    if (!pic->orbit.valid || !pic->valid_time) {
      status = DRAW_NO_ORBIT;
    } else {
      FILE* coast = nullptr;
      if (view->boundaries) {
        const char* name = opts->coast_file ? opts->coast_file : prefs.coast_file;
        coast = open_coast_file(name);
        if (!coast) status = DRAW_NO_COAST;
      }
      create_overlay(coast, pic);
      if (coast) std::fclose(coast);
      if (view->boundaries && pic->ovlinfo.built_coast < 0) status = DRAW_NO_COAST;
      c.grid = view->grid && !pic->ovlinfo.xy2lola.empty();
      c.coast = view->boundaries && pic->ovlinfo.built_coast != 0;
    }
  }
  c.grid_rgb[0] = uint8_t(view->grid_clr.red >> 8);
  c.grid_rgb[1] = uint8_t(view->grid_clr.green >> 8);
  c.grid_rgb[2] = uint8_t(view->grid_clr.blue >> 8);
  c.cont_rgb[0] = uint8_t(view->cont_clr.red >> 8);
  c.cont_rgb[1] = uint8_t(view->cont_clr.green >> 8);
  c.cont_rgb[2] = uint8_t(view->cont_clr.blue >> 8);

  if (c.grid && c.nvalid > 0) {
    int r0 = -1, r1 = -1;
    for (int sy = 0; sy < height; sy++)
      if (c.ymap[sy] >= 0) {
        if (r0 < 0) r0 = sy;
        r1 = sy;
      }
    if (r0 >= 0) {
      double lo[4], la[4];
      int k = 0;
      for (int ry : {r0, r1})
        for (int cx : {0, c.nvalid - 1}) {
          EPOINT e{};
          xy2lonlat(c.xmap[cx], c.ymap[ry], nullptr, pic, &e);
          lo[k] = e.lon * 180.0 / M_PI;
          la[k] = e.lat * 180.0 / M_PI;
          k++;
        }
      c.step_lon = grid_step(*std::max_element(lo, lo + 4) - *std::min_element(lo, lo + 4));
      c.step_lat = grid_step(*std::max_element(la, la + 4) - *std::min_element(la, la + 4));
    }
  }

  int nthreads = opts->threads;
  if (nthreads <= 0)
    nthreads = int(std::min(2u, std::max(1u, std::thread::hardware_concurrency())));
  nthreads = std::clamp(nthreads, 1, std::max(1, height / 16));
  std::vector<std::vector<long>> hists(size_t(nthreads), std::vector<long>(1024, 0));
  std::vector<std::thread> workers;
  for (int t = 1; t < nthreads; t++) {
    int y0 = height * t / nthreads, y1 = height * (t + 1) / nthreads;
    workers.emplace_back(draw_rows, std::cref(c), y0, y1, out->rgb.data(), hists[size_t(t)].data());
  }
  draw_rows(c, 0, height / nthreads, out->rgb.data(), hists[0].data());
  for (auto& w : workers) w.join();
  for (const auto& h : hists)
    for (int i = 0; i < 1024; i++) view->lumstat[i] += h[size_t(i)];
  return status;
}

int pixel_value(const PICINFO* pic, const VIEWINFO* view, int x, int y) {
  DrawCtx c;
  prepare_channels(c, pic, view);
  RowBufs rb;
  rb.size(1, 1);
  compute_values(c, rb, y, &x, 1);
  return std::min((rb.r[0] + rb.g[0] + rb.b[0]) / 3, 1023);
}

int Update_Coord(const PICINFO* pic, const VIEWINFO* view, int x, int y, const uint8_t* rgb,
                 std::string* pos_text, std::string* temp_text) {
  temp_text->clear();
  if (view->map_temp && rgb)
    *temp_text = pava::strprintf(
        "%d C", inv_maptemp(rgb[0], rgb[1], rgb[2], view->lum_min, view->lum_max, DRAW_PALETTE));
  EPOINT e{};
  if (view->coordxy || !pic->orbit.valid || !xy2lonlat(x, y, nullptr, pic, &e)) {
    *pos_text = pava::strprintf("[x=%d,y=%d]", x, y);
    return view->coordxy ? 0 : -1;
  }
  *pos_text = pava::strprintf("%5.2f,%5.2f", e.lon * 180.0 / M_PI, e.lat * 180.0 / M_PI);
  return 0;
}

void view_init(const PICINFO* pic, VIEWINFO* view) {
  set_falseclr(pic, view);
  if (view->lum_max <= view->lum_min) {
    view->lum_min = 0;
    view->lum_max = 1023;
  }
  if (view->gamma == 0) view->gamma = 1.0f;
  if (view->chan_selected < 1) view->chan_selected = 1;
  if (view->zval.zx == 0) view->zval.zx = 1;
  if (view->zval.zy == 0) view->zval.zy = 1;
}
