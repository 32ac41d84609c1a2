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
  int x0 = -1;     // xmap[i] == x0 + i for every valid column (zoom 1), else -1
  std::vector<int> lut;
  uint32_t pal[DRAW_PALETTE] = {};
  // Value -> screen byte of each colour: luminance table, clamp, palette.
  uint8_t out_r[DRAW_LUMTABLE] = {}, out_g[DRAW_LUMTABLE] = {}, out_b[DRAW_LUMTABLE] = {};
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
  std::vector<int> qlon, qlat, qlon_up, qlat_up;  // grid cells of the row and the row above
  std::vector<uint8_t> hmask;                     // grid crossings along the row
  std::vector<int> temps;
  void size(int n, int w) {
    fv.resize(size_t(n));
    r.resize(size_t(n));
    g.resize(size_t(n));
    b.resize(size_t(n));
    hidx.resize(size_t(n));
    base.resize(size_t(w) * 3);
    qlon.resize(size_t(n));
    qlat.resize(size_t(n));
    qlon_up.resize(size_t(n));
    qlat_up.resize(size_t(n));
    hmask.resize(size_t(n));
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
  if (l->width >= pic->width) {         // the screen map stays inside such a line
    if (cols == c.xmap && c.x0 >= 0) {  // one run of columns: loads in a row
      const uint16_t* run = src + c.x0;
      for (int i = 0; i < n; i++) fv[i] = float(run[i]);
    } else {
      for (int i = 0; i < n; i++) fv[i] = float(src[cols[i]]);
    }
    return;
  }
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
    // Truncated after every channel, as compose_pixel does. A zero weight
    // leaves the sum as it is (0 * v + s is s exactly), so it is skipped:
    // the standard maps give most channels one or two colours only.
    if (wr != 0.0f)
      for (int i = 0; i < n; i++) R[i] = int(wr * fv[i] + float(R[i]));
    if (wg != 0.0f)
      for (int i = 0; i < n; i++) G[i] = int(wg * fv[i] + float(G[i]));
    if (wb != 0.0f)
      for (int i = 0; i < n; i++) B[i] = int(wb * fv[i] + float(B[i]));
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

// Overlay cells of every picture pixel for the grid steps of the drawing:
// floor(lon/step) + 1024 in bits 0-14, floor(lat/step) + 1024 in bits 15-29,
// the coast bit of ovlarr in bit 31. One word a pixel is all a row of the
// overlay reads. Made when the steps change, kept with the overlay tables.
constexpr int kCellBias = 1024;
constexpr uint32_t kCellMask = 0x7fff;
void make_cells(OVLINFO* o, int step_lon, int step_lat) {
  if (!o->cells.empty() && o->cells_step_lon == step_lon && o->cells_step_lat == step_lat) return;
  if (o->xy2lola.size() < 2) return;
  const size_t np = std::min(o->xy2lola.size() - 2, o->ovlarr.size());
  o->cells.resize(np);
  const float il = 1.0f / float(step_lon), ib = 1.0f / float(step_lat);
  for (size_t k = 0; k < np; k++) {
    const DBLFLOAT p = o->xy2lola[k];
    uint32_t cl = uint32_t(std::clamp(int(std::floor(p.a * il)) + kCellBias, 0, int(kCellMask)));
    uint32_t cb = uint32_t(std::clamp(int(std::floor(p.b * ib)) + kCellBias, 0, int(kCellMask)));
    o->cells[k] = cl | cb << 15 | uint32_t(o->ovlarr[k] & 1) << 31;
  }
  o->cells_step_lon = step_lon;
  o->cells_step_lat = step_lat;
}

// A grid line lies between two pixels whose cells differ; a jump of half the
// earth is the antimeridian, not a line.
inline uint8_t cell_cross(int a, int b, int half) {
  int d = a - b;
  return uint8_t((d != 0) & (unsigned(d + half - 1) < unsigned(2 * half - 1)));
}

void paint(uint8_t* px, const uint8_t* rgb) {
  px[0] = rgb[0];
  px[1] = rgb[1];
  px[2] = rgb[2];
}

// Draws screen rows y0..y1-1 into out, counting into hist.
void draw_rows(const DrawCtx& c, int y0, int y1, uint8_t* out, long* hist_out) {
  // Four interleaved histograms: runs of equal values then do not wait on
  // each other's increments.
  std::vector<uint32_t> sub(4 * 1024, 0);
  uint32_t* hist = sub.data();
  RowBufs rb;
  rb.size(c.nvalid, c.W);
  const int W = c.W, nv = c.nvalid;
  const int pw = c.pic->width;
  const size_t rowbytes = size_t(W) * 3;
  int last_py = -1;
  bool up_valid = false;
  const int half_lon = 180 / c.step_lon;
  const bool have_cells = !c.pic->ovlinfo.cells.empty();
  const int cell_rows = pw > 0 ? int(c.pic->ovlinfo.cells.size() / size_t(pw)) : 0;
  const bool grid = c.grid && have_cells;
  const bool coast = c.coast && have_cells;
  const int nov = std::min(nv, W - 1);  // overlays leave the last row and column
  std::vector<uint8_t> vmask(size_t(std::max(nov, 1)), 0);
  int grid_py = -1;  // picture line of the overlay flags and cells
  // Screen rows showing the values in rb.hidx not yet counted: a picture line
  // repeated by the zoom is counted once with its number of rows.
  uint32_t pending = 0;
  auto count_pending = [&] {
    const int* hidx = rb.hidx.data();
    for (int i = 0; pending && i < nv; i++) hist[((i & 3) << 10) + hidx[i]] += pending;
    pending = 0;
  };
  if (grid && y0 > 0 && c.ymap[y0 - 1] >= 0 && c.ymap[y0 - 1] < cell_rows) {
    // The row above the first: its cells for the crossings against it.
    const uint32_t* cl = &c.pic->ovlinfo.cells[size_t(c.ymap[y0 - 1]) * size_t(pw)];
    for (int i = 0; i < nov; i++) {
      rb.qlon[size_t(i)] = int(cl[c.xmap[i]] & kCellMask);
      rb.qlat[size_t(i)] = int((cl[c.xmap[i]] >> 15) & kCellMask);
    }
    up_valid = true;
  }
  for (int sy = y0; sy < y1; sy++) {
    uint8_t* row = out + size_t(sy) * rowbytes;
    const int py = c.ymap[sy];
    if (py < 0 || !pic_line(c.pic, py)) {
      count_pending();
      std::memset(row, 0, rowbytes);
      up_valid = false;
      grid_py = -1;
      last_py = -1;
      continue;
    }
    if (py == last_py) {
      std::memcpy(row, rb.base.data(), rowbytes);
      pending++;
    } else {
      count_pending();
      compute_values(c, rb, py, c.xmap, nv);
      const int* R = rb.r.data();
      const int* G = rb.g.data();
      const int* B = rb.b.data();
      int* hidx = rb.hidx.data();
      for (int i = 0; i < nv; i++) hidx[i] = std::min((R[i] + G[i] + B[i]) / 3, 1023);
      pending = 1;
      int i = 0;
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
      // One 4-byte store a pixel; its fourth byte is the next pixel's first,
      // written right after (the row's last pixel is left to the plain loop).
      for (const int nfast = 3 * nv + 1 <= int(rowbytes) ? nv : nv - 1; i < nfast; i++) {
        const uint32_t v =
            uint32_t(c.out_r[R[i]]) | uint32_t(c.out_g[G[i]]) << 8 | uint32_t(c.out_b[B[i]]) << 16;
        std::memcpy(row + 3 * i, &v, 4);
      }
#endif
      for (; i < nv; i++) {
        uint8_t* px = row + 3 * i;
        px[0] = c.out_r[R[i]];
        px[1] = c.out_g[G[i]];
        px[2] = c.out_b[B[i]];
      }
      std::memset(row + 3 * nv, 0, rowbytes - size_t(3 * nv));
      std::memcpy(rb.base.data(), row, rowbytes);
      last_py = py;
    }
    if (sy == c.H - 1 || !(grid || coast)) continue;
    if (py >= cell_rows) {  // a line newer than the overlay tables
      up_valid = false;
      grid_py = -1;
      continue;
    }
    // Overlay flags of the row: 1 grid, 2 coast (drawn over the grid).
    uint8_t* ov = vmask.data();
    if (py != grid_py) {
      // A new picture line: its cells, the crossings along the row and
      // against the row above, and the coast, in one pass.
      rb.qlon.swap(rb.qlon_up);
      rb.qlat.swap(rb.qlat_up);
      const uint32_t* cells = &c.pic->ovlinfo.cells[size_t(py) * size_t(pw)];
      int* ql = rb.qlon.data();
      int* qb = rb.qlat.data();
      uint8_t* hm = rb.hmask.data();
      const int* ul = rb.qlon_up.data();
      const int* ub = rb.qlat_up.data();
      const uint8_t up = (up_valid && sy > 0) ? 1 : 0;
      const uint8_t gm = grid ? 1 : 0, cm = coast ? 2 : 0;
      const uint32_t* run = c.x0 >= 0 ? cells + c.x0 : nullptr;  // one run of columns
      for (int i = 0; i < nov; i++) {
        const uint32_t q = run ? run[i] : cells[c.xmap[i]];
        ql[i] = int(q & kCellMask);
        qb[i] = int((q >> 15) & kCellMask);
        ov[i] = uint8_t(cm & (q >> 30));
      }
      hm[0] = 0;
      for (int i = 1; i < nov; i++) {
        hm[i] = uint8_t(gm & (cell_cross(ql[i - 1], ql[i], half_lon) | (qb[i - 1] != qb[i])));
        ov[i] = uint8_t(ov[i] | hm[i] |
                        (gm & up & (cell_cross(ul[i], ql[i], half_lon) | (ub[i] != qb[i]))));
      }
      grid_py = py;
    } else {
      // The same line again: the row above has the same cells, so only the
      // crossings along the row remain.
      const uint8_t* hm = rb.hmask.data();
      for (int i = 0; i < nov; i++) ov[i] = uint8_t((ov[i] & 2) | hm[i]);
    }
    up_valid = true;
    // Most of a row has no overlay: skip it eight flags at a time.
    int i = 0;
    for (; i + 8 <= nov; i += 8) {
      uint64_t w8;
      std::memcpy(&w8, ov + i, 8);
      if (!w8) continue;
      for (int k = i; k < i + 8; k++)
        if (ov[k]) paint(row + 3 * k, (ov[k] & 2) ? c.cont_rgb : c.grid_rgb);
    }
    for (; i < nov; i++)
      if (ov[i]) paint(row + 3 * i, (ov[i] & 2) ? c.cont_rgb : c.grid_rgb);
  }
  count_pending();
  for (int k = 0; k < 4; k++)
    for (int i = 0; i < 1024; i++) hist_out[i] += sub[size_t(k * 1024 + i)];
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
  out->rgb.resize(size_t(width) * size_t(height) * 3);  // every byte is written below
  std::fill(std::begin(view->lumstat), std::end(view->lumstat), 0L);
  if (!pic->xline || pic->width <= 0 || pic->height <= 0 ||
      map_xy(width, height, pic->no_xymapping, 1, pic, view) != 0) {
    std::fill(out->rgb.begin(), out->rgb.end(), uint8_t(0));
    return DRAW_NO_PICTURE;
  }

  DrawCtx c;
  prepare_channels(c, pic, view);
  c.W = width;
  c.H = height;
  c.xmap = view->xmap.data();
  c.ymap = view->ymap.data();
  while (c.nvalid < width && c.xmap[c.nvalid] >= 0) c.nvalid++;
  if (c.nvalid > 0) {
    c.x0 = c.xmap[0];
    for (int i = 1; i < c.nvalid && c.x0 >= 0; i++)
      if (c.xmap[i] != c.x0 + i) c.x0 = -1;
  }

  const float gamma = (c.false_clr && opts->map_window_open) ? view->cmhc.gamma : view->gamma;
  if (map_z(view->lum_min, view->lum_max, gamma, view->invert, DRAW_PALETTE, DRAW_LUMTABLE,
            &c.lut) != 0) {
    std::fill(out->rgb.begin(), out->rgb.end(), uint8_t(0));
    return DRAW_NO_LUMTABLE;
  }
  fill_palettes(c);
  for (int v = 0; v < DRAW_LUMTABLE; v++) {
    const int p = std::clamp(c.lut[size_t(v)], 0, DRAW_PALETTE - 1);
    c.out_r[v] = uint8_t(c.pal[p] >> 16);
    c.out_g[v] = uint8_t(c.pal[p] >> 8);
    c.out_b[v] = uint8_t(c.pal[p]);
  }

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
      c.coast = view->boundaries && pic->ovlinfo.built_coast != 0 && pic->ovlinfo.built_coast != 2;
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
  if (c.grid || c.coast) make_cells(&pic->ovlinfo, c.step_lon, c.step_lat);

  pic_line_count(pic);  // builds the line index now, not in the workers
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
  if (pic->width <= 0 || pic_line_count(pic) == 0) return 0;
  x = std::clamp(x, 0, pic->width - 1);
  y = std::clamp(y, 0, pic_line_count(pic) - 1);
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
