#include "export/save.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "app/log.h"
#include "app/ui_ops.h"
#include "common/text.h"
#include "config/prefs.h"
#include "display/chanmap.h"
#include "display/coast.h"
#include "display/draw.h"
#include "display/georef.h"
#include "display/lumcal.h"
#include "formats/framehdr.h"
#include "formats/hptfile.h"
#include "formats/hrptfile.h"
#include "formats/meteor.h"
#include "formats/openfile.h"

namespace {

// One row per destination type: extension, raw or image, channels and line
// width of the raw families (their readers take these fixed layouts).
struct DestType {
  FILE_TYPE type;
  const char* ext;
  bool raw;
  int nchan;
  int width;
};
const DestType kDest[] = {
    {FT_PPM, "ppm", false, 0, 0},        {FT_PGM, "pgm", false, 0, 0},
    {FT_PGM1, "pgm", false, 0, 0},       {FT_GIF, "gif", false, 0, 0},
    {FT_JPEG, "jpg", false, 0, 0},       {FT_PNG, "png", false, 0, 0},
    {FT_SUN, "ras", false, 0, 0},        {FT_HRPT, "hrpt", true, 5, 2048},
    {FT_CHRPT, "chrpt", true, 10, 2048}, {FT_SEAWIF, "seaw", true, 8, 1288},
    {FT_MHRPT1, "mhrpt", true, 6, 1540}, {FT_HPT, "hpt", true, 5, 2048},
    {FT_CHPT, "C10", true, 10, 2048},
};

const DestType* dest_of(int t) {
  for (const DestType& d : kDest)
    if (d.type == t) return &d;
  return nullptr;
}

bool is_raw_source(const PICINFO* p) { return p->file_type >= 9 && p->file_type <= 25; }

// Bytes HPT/CHPT readers skip at the start of a file (never read).
long hpt_skip_bytes(int type) { return type == FT_CHPT ? 2000 : 925; }

uint16_t shifted(int v, int bitshift) {
  if (bitshift > 0) v <<= bitshift;
  if (bitshift < 0) v >>= -bitshift;
  return uint16_t(std::clamp(v, 0, 1023));
}

}  // namespace

bool save_is_raw(int t) {
  const DestType* d = dest_of(t);
  return d && d->raw;
}

const char* save_extension(int t) {
  const DestType* d = dest_of(t);
  return d ? d->ext : nullptr;
}

std::string save_chan_text(const int channels[26]) {
  std::string s;
  for (int c = 1; c <= 25; c++)
    if (channels[c]) s += pava::strprintf(s.empty() ? "%s%d" : "-%s%d", "", c);
  return s;
}

void convert_satname(const PICINFO* src, char* out, size_t out_size) {
  const char* stored = src->file_name;
  const char* last = strip_filename(stored);
  struct Family {
    const char* prefix;
    const char* sat;
  };
  const Family fams[] = {{prefs.file_hrptbase, "NOAA"},
                         {prefs.file_mhrptbase, "METEOR"},
                         {prefs.file_metopbase, "METOP"},
                         {prefs.file_fy3base, "FY3"}};
  std::string name = last;
  for (const Family& f : fams) {
    size_t n = std::strlen(f.prefix);
    // The prefix is tested against the stored name as a whole and cut from
    // its last component.
    if (n == 0 || std::strncmp(stored, f.prefix, n) != 0) continue;
    if (std::strncmp(src->sat_name, f.sat, std::strlen(f.sat)) != 0) continue;
    std::string rest = std::strncmp(last, f.prefix, n) == 0 ? std::string(last + n) : last;
    name = std::string(src->sat_name) + rest;
    std::replace(name.begin(), name.end(), ' ', '-');
    break;
  }
  pava::copy_text(out, out_size, name.c_str());
}

int create_new_filename2(char* out, size_t out_size, const PICINFO* src, const char* chan_text,
                         const char* ext, int use_satname, const char* dir) {
  std::string base = dir ? dir : src->work_location;
  if (!base.empty() && base.back() != '/') base += '/';
  char name[300];
  if (use_satname)
    convert_satname(src, name, sizeof name);
  else
    pava::copy_text(name, strip_filename(src->file_name));
  if (char* dot = std::strrchr(name, '.')) *dot = '\0';
  base += name;
  if (!ext) ext = "";
  const bool ct = chan_text && *chan_text;
  for (int k = 0; k <= 1000; k++) {
    std::string n;
    if (k == 0)
      n = ct ? pava::strprintf("%s_c%s.%s", base.c_str(), chan_text, ext)
             : pava::strprintf("%s.%s", base.c_str(), ext);
    else
      n = ct ? pava::strprintf("%s_c%s_%02d.%s", base.c_str(), chan_text, k, ext)
             : pava::strprintf("%s_%02d.%s", base.c_str(), k, ext);
    FILE* fp = std::fopen(n.c_str(), "rb");
    if (!fp) return pava::copy_text(out, out_size, n.c_str()) ? 1 : 0;
    std::fclose(fp);
  }
  return 0;
}

int default_bitshift(const PICINFO* src, int dst_type, const VIEWINFO* view) {
  if (save_is_raw(dst_type)) return is_raw_source(src) ? 0 : 2;
  if (!is_raw_source(src)) return 0;
  if (view->lum_max >= 512) return -2;
  if (view->lum_max > 255) return -1;
  return 0;
}

int prepare_save(const PICINFO* src, PICINFO* dst, const VIEWINFO* view, VIEWINFO* sview,
                 const SAVEOPTS* opts) {
  const DestType* d = dest_of(opts->type);
  if (!d) return -1;
  *sview = *view;
  dst->file_type = d->type;
  pava::copy_text(dst->sat_name, src->sat_name);
  dst->sat_type = src->sat_type;
  dst->sat_id = src->sat_id;
  dst->picture_time = src->picture_time;
  dst->valid_time = src->valid_time;
  dst->kepler = src->kepler;
  dst->orbit = src->orbit;
  dst->jpg_quality =
      opts->quality > 0 ? opts->quality : (src->jpg_quality > 0 ? src->jpg_quality : 90);
  const int bitshift = opts->bitshift == SAVE_BITSHIFT_DEFAULT
                           ? default_bitshift(src, d->type, view)
                           : opts->bitshift;
  std::memcpy(sview->channel_selected, opts->channels, sizeof sview->channel_selected);
  if (d->raw) {
    // Raw families have fixed layouts (their readers rely on them): every
    // channel of the family and the frame header words are stored; channels
    // not selected stay zero. No screen mapping, no zoom.
    dst->width = dst->width_original = d->width;
    dst->height = src->height;
    dst->depth = 10;
    std::memset(dst->channels_recorded, 0, sizeof dst->channels_recorded);
    for (int c = 0; c <= d->nchan; c++) dst->channels_recorded[c] = 1;
    dst->nr_chan = d->nchan;
    dst->scan_hor = view->scan_hor == scan_unk ? W_E : view->scan_hor;
    dst->scan_ver = view->scan_ver == scan_unk ? N_S : view->scan_ver;
    dst->max_sens_angle = src->max_sens_angle;
    dst->ox = src->ox;
    dst->oy = src->oy;
    dst->fri = d->type == FT_MHRPT1
                   ? calc_mhrptframeinfo(FT_MHRPT1, dst->channels_recorded, dst->width)
                   : calc_hrptframeinfo(d->type, dst->channels_recorded, dst->width);
    pic_grey_clrmap(dst);
    sview->zval.zx = sview->zval.zy = 1;
    dst->syncsignal_del = bitshift;  // carried to Save_it
    return 0;
  }
  // Image destinations: the view as shown, zoomed.
  float z = opts->zoom >= 1 ? opts->zoom : 1.0f;
  sview->zval.zx = sview->zval.zy = z;
  sview->zval.ox = sview->zval.oy = 0;
  int w = int(float(src->width) / z);
  int h = int(float(src->height) / z);
  if (view->linearize && src->lin_exp > 0) {
    w = int(float(w) * src->lin_exp);
    w -= w & 1;
  }
  dst->width = std::max(w, 1);
  dst->height = std::max(h, 1);
  dst->scan_hor = view->scan_hor;
  dst->scan_ver = view->scan_ver;
  const bool grey_only = !view->process_data;
  int depth = 8;
  if ((d->type == FT_PGM || d->type == FT_PNG) && grey_only)
    depth = std::clamp((src->depth > 0 ? src->depth : 8) + bitshift, 1, 12);
  if (d->type == FT_PGM1) depth = 8;
  dst->depth = std::max(depth, 8);
  dst->clrmap.size = 1 << dst->depth;
  for (int i = 0; i < dst->clrmap.size; i++)
    dst->clrmap.red[i] = dst->clrmap.green[i] = dst->clrmap.blue[i] =
        i * 255 / (dst->clrmap.size - 1);
  if ((d->type == FT_GIF || d->type == FT_SUN) && view->process_data) {
    // Indexed files of a false-colour view: a 3-3-2 palette (red and green
    // in eight steps, blue in four).
    for (int i = 0; i < 256; i++) {
      dst->clrmap.red[i] = ((i >> 5) & 7) * 255 / 7;
      dst->clrmap.green[i] = ((i >> 2) & 7) * 255 / 7;
      dst->clrmap.blue[i] = (i & 3) * 255 / 3;
    }
  }
  dst->syncsignal_del = bitshift;
  return 0;
}

int save_index332(int r, int g, int b) {
  return (std::min(r, 255) >> 5) << 5 | (std::min(g, 255) >> 5) << 2 | (std::min(b, 255) >> 6);
}

SAVESTATE::~SAVESTATE() {
  if (png) png_write_finish(png);
}

int write_header(PICINFO* dst, SAVESTATE* st) {
  FILE* fp = dst->fp;
  if (!fp) return -1;
  switch (dst->file_type) {
    case FT_PPM:
    case FT_PGM:
    case FT_PGM1:
      return ppm_write_header(fp, dst->file_type, dst->width, dst->height, dst->clrmap.size - 1);
    case FT_SUN:
      return sun_write_header(fp, dst->width, dst->height, &dst->clrmap);
    case FT_GIF:
      return gif_write_header(&st->gif, fp, dst->width, dst->height, 8, &dst->clrmap);
    case FT_JPEG:
      return jpeg_write_header(&st->jpeg, fp, dst->width, dst->height, dst->jpg_quality);
    case FT_PNG:
      return png_write_header(&st->png, fp, dst->width, dst->height, st->png_kind);
    case FT_HRPT:
    case FT_CHRPT:
    case FT_SEAWIF:
    case FT_MHRPT1: {
      FRAMEINFO keep = dst->fri;
      int r = write_hrpt1_hdr(dst);
      if (dst->file_type == FT_MHRPT1) dst->fri = keep;
      return r == 0 && !std::ferror(fp) ? 0 : -1;
    }
    case FT_HPT:
    case FT_CHPT: {
      // No header: the start the readers skip is written as zeros.
      std::vector<uint8_t> z(size_t(hpt_skip_bytes(dst->file_type)), 0);
      return std::fwrite(z.data(), 1, z.size(), fp) == z.size() ? 0 : -1;
    }
    default:
      return -1;
  }
}

int write_line(PICINFO* dst, SAVESTATE* st, const uint16_t* r, const uint16_t* g,
               const uint16_t* b) {
  FILE* fp = dst->fp;
  if (!fp) return -1;
  switch (dst->file_type) {
    case FT_PPM:
    case FT_PGM:
    case FT_PGM1:
      return ppm_write_line(fp, dst->file_type, dst->depth, dst->width, r, g, b);
    case FT_SUN:
      return sun_write_line(fp, dst->width, r);
    case FT_GIF:
      return gif_write_line(&st->gif, r);
    case FT_JPEG:
      return jpeg_write_line(st->jpeg.get(), r, g, b);
    case FT_PNG:
      return png_write_line(st->png, r, g, b);
    case FT_HRPT:
    case FT_CHRPT:
    case FT_SEAWIF:
      write_hrpt1_line(dst, r, 0x10);
      return std::ferror(fp) ? -1 : 0;
    case FT_MHRPT1:
      write_mhrpt1_line(dst, r);
      return std::ferror(fp) ? -1 : 0;
    case FT_HPT:
    case FT_CHPT:
      write_hpt_line(dst, r);
      return std::ferror(fp) ? -1 : 0;
    default:
      return -1;
  }
}

int write_finish(PICINFO* dst, SAVESTATE* st) {
  switch (dst->file_type) {
    case FT_GIF:
      return gif_write_finish(&st->gif);
    case FT_JPEG: {
      int r = jpeg_write_finish(st->jpeg.get());
      st->jpeg.reset();
      return r;
    }
    case FT_PNG: {
      int r = png_write_finish(st->png);
      st->png = nullptr;
      return r;
    }
    default:
      return 0;
  }
}

namespace {

// Rewrites the header of a raw file with the number of lines written.
void rewrite_raw_header(PICINFO* dst, int lines, const char* fname) {
  if (dst->file_type == FT_HPT || dst->file_type == FT_CHPT) return;
  const int keep = dst->height;
  dst->height = lines;
  FRAMEINFO fri = dst->fri;
  bool ok = std::fseek(dst->fp, 0, SEEK_SET) == 0 && write_hrpt1_hdr(dst) == 0 &&
            std::fflush(dst->fp) == 0 && !std::ferror(dst->fp);
  dst->fri = fri;
  dst->height = keep;
  std::fseek(dst->fp, 0, SEEK_END);
  std::string msg = pava::strprintf(
      ok ? "Rewriting header in %s succeeded." : "Rewriting header in %s failed.", fname);
  ui().set_entry("Save", "Status", msg.c_str());
  w_dbg("%s\n", msg.c_str());
}

// Source values of the raw destination line from source line l.
void raw_words(const PICINFO* src, const PICINFO* dst, const XLINE* l, const int* sel, int bitshift,
               std::vector<uint16_t>* words) {
  const FRAMEINFO& f = dst->fri;
  const int nch = dst->nr_chan;
  const bool meteor = dst->file_type == FT_MHRPT1;
  const int hl = meteor ? 0 : f.header_len;
  words->assign(size_t(std::max(f.words_per_line, f.words_per_frame)) + 8, 0);
  if (meteor) words->assign(size_t(nch) * size_t(dst->width) + 8, 0);
  // Frame header words (hdr2line) when both pictures carry them.
  if (!meteor && src->channels_recorded[0] && dst->channels_recorded[0] && l->line_hdr)
    std::copy(l->line_hdr, l->line_hdr + std::min(hl, XLINE_HDRWORDS), words->begin());
  for (int c = 0; c < nch; c++) {
    if (!sel[c + 1]) continue;
    const int slot = chan_slot(src, c + 1);
    if (slot < 0 || slot >= l->nrchan || !l->line[slot]) continue;
    const int w = std::min(l->width, dst->width);
    for (int p = 0; p < w; p++)
      (*words)[size_t(hl + p * nch + c)] = shifted(l->line[slot][p], bitshift);
  }
}

struct ImageRows {
  RGBIMAGE rgb;                 // 8-bit destinations: the drawn view
  std::vector<int> lut;         // deep grey destinations: luminance table
  std::vector<int> xmap, ymap;  // picture column / line of each saved pixel
};

// Grey value (before the luminance table) of picture pixel (x, y): the
// composed (r+g+b)/3 in false colour, else the selected channel, despeckled
// when the view does so.
int deep_value(const PICINFO* src, const VIEWINFO* v, int x, int y) {
  const XLINE* l = pic_line(src, y);
  if (!l) return 0;
  auto chan = [&](int ch) -> int {
    int slot = chan_slot(src, ch);
    if (slot < 0 || slot >= l->nrchan || !l->line[slot]) return 0;
    int xx = std::clamp(x, 0, l->width - 1);
    if (!v->despeckle) return l->line[slot][xx];
    const XLINE* up = l->prev && l->prev->nrchan > slot ? l->prev : nullptr;
    const XLINE* dn = l->next && l->next->nrchan > slot ? l->next : nullptr;
    return get_pix(up ? up->line[slot] : nullptr, l->line[slot], dn ? dn->line[slot] : nullptr, xx,
                   l->width, v->sur_ulim, v->dsp_llim);
  };
  if (!v->process_data) return std::min(chan(std::clamp(v->chan_selected, 1, 25)), 1023);
  int vals[26] = {0};
  for (int ch = 1; ch <= 25; ch++)
    if (v->cmhc.on[ch]) vals[ch] = chan(ch);
  int r, g, b;
  compose_pixel(v->cmhc, src->channels_recorded, vals, &r, &g, &b);
  return std::min((r + g + b) / 3, 1023);
}

// A temporary name beside the target, renamed when the file is complete.
std::string temp_name(const char* fname) { return std::string(fname) + ".part"; }

}  // namespace

std::string save_status_text(int status, const char* fname) {
  switch (status) {
    case SAVE_OK:
      return "";
    case SAVE_NO_CHANNELS:
      return "No channels selected.";
    case SAVE_CANT_OPEN:
      return pava::strprintf("Can't open file %s.", fname);
    case SAVE_WRITE_ERR:
      return pava::strprintf("Write error in %s (disk full?); nothing saved.", fname);
    case SAVE_NO_NAME:
      return pava::strprintf("No free file name for %s.", fname);
    case SAVE_BAD_TYPE:
      return "File type can't be saved.";
    case SAVE_NO_PICTURE:
      return "No picture.";
    default:
      return "";
  }
}

int Save_it(PICINFO* src, PICINFO* dst, VIEWINFO* sview, const SAVEOPTS* opts, const char* fname,
            int* lines_done) {
  if (lines_done) *lines_done = 0;
  if (!src->xline || src->width <= 0 || src->height <= 0) return SAVE_NO_PICTURE;
  const bool raw = save_is_raw(dst->file_type);
  const int bitshift = dst->syncsignal_del;
  const int W = dst->width, H = dst->height;
  SAVESTATE st;
  ImageRows rows;
  const bool deep = !raw && dst->depth > 8;
  // Composition: 8-bit pictures are drawn as the display draws them (same
  // maps, luminance table and palette), overlays left to the loop below.
  if (!raw) {
    VIEWINFO v = *sview;
    v.grid = v.boundaries = 0;
    v.zval.ox = v.zval.oy = 0;
    if (!deep) {
      DRAWOPTS dopt;
      int r = draw_pic(src, &v, W, H, &rows.rgb, &dopt);
      if (r == DRAW_NO_PICTURE || r == DRAW_NO_LUMTABLE) return SAVE_NO_PICTURE;
    } else {
      if (map_z(v.lum_min, v.lum_max, v.gamma, v.invert, dst->clrmap.size, 1024, &rows.lut) != 0)
        return SAVE_NO_PICTURE;
    }
    if (map_xy(W, H, src->no_xymapping, 1, src, &v, &rows.xmap, &rows.ymap) != 0)
      return SAVE_NO_PICTURE;
    *sview = v;
    if (dst->file_type == FT_PNG)
      st.png_kind = deep ? PNG_GREY16 : (sview->process_data ? PNG_RGB8 : PNG_GREY8);
    if (opts->coast && src->orbit.valid && src->valid_time) {
      FILE* cf = open_coast_file(opts->coast_file ? opts->coast_file : prefs.coast_file);
      create_overlay(cf, src);
      if (cf) std::fclose(cf);
    }
  }

  const std::string tmp = temp_name(fname);
  dst->fp = std::fopen(tmp.c_str(), "wb");
  if (!dst->fp) {
    ui().message("Error", pava::strprintf("Can't open file %s.", fname).c_str());
    return SAVE_CANT_OPEN;
  }
  auto fail = [&](int status) {
    write_finish(dst, &st);
    std::fclose(dst->fp);
    dst->fp = nullptr;
    std::remove(tmp.c_str());
    ui().message("Error", save_status_text(status, fname).c_str());
    return status;
  };
  if (write_header(dst, &st) != 0) return fail(SAVE_WRITE_ERR);

  const int grid_v[3] = {sview->grid_clr.red >> 8, sview->grid_clr.green >> 8,
                         sview->grid_clr.blue >> 8};
  const int cont_v[3] = {sview->cont_clr.red >> 8, sview->cont_clr.green >> 8,
                         sview->cont_clr.blue >> 8};
  const int n = dst->clrmap.size;
  std::vector<uint16_t> R(size_t(std::max(W, 1))), G(R.size()), B(R.size());
  const char* ovl = src->ovlinfo.ovlarr.empty() ||
                            src->ovlinfo.ovlarr.size() < size_t(src->width) * size_t(src->height)
                        ? nullptr
                        : src->ovlinfo.ovlarr.data();
  const bool indexed =
      (dst->file_type == FT_GIF || dst->file_type == FT_SUN) && sview->process_data;
  int done = 0;
  bool cancelled = false;
  for (int y = 0; y < H; y++) {
    if (raw) {
      const XLINE* l = pic_line(src, y);
      if (!l) break;
      raw_words(src, dst, l, sview->channel_selected, bitshift, &st.words);
      if (write_line(dst, &st, st.words.data(), nullptr, nullptr) != 0) return fail(SAVE_WRITE_ERR);
    } else {
      const int py = rows.ymap[size_t(y)];
      const XLINE* l = py >= 0 ? pic_line(src, py) : nullptr;
      for (int x = 0; x < W; x++) {
        const int px = rows.xmap[size_t(x)];
        int r, g, b;
        if (deep) {
          int v = (l && px >= 0) ? rows.lut[size_t(deep_value(src, sview, px, py))] : 0;
          r = g = b = std::min(v, n - 1);
        } else {
          const uint8_t* p = &rows.rgb.rgb[(size_t(y) * size_t(W) + size_t(x)) * 3];
          r = p[0], g = p[1], b = p[2];
        }
        if (l && px >= 0 && px < l->width) {
          const int* c = nullptr;
          if (opts->grid && l->olmask && (l->olmask[px] & 4)) c = grid_v;
          if (opts->coast && ovl && (ovl[size_t(py) * size_t(src->width) + size_t(px)] & 1))
            c = cont_v;
          if (c) {
            if (deep)
              r = g = b = c[0] * (n - 1) / 255;
            else
              r = c[0], g = c[1], b = c[2];
          }
        }
        if (indexed) r = save_index332(r, g, b);
        R[size_t(x)] = uint16_t(r);
        G[size_t(x)] = uint16_t(g);
        B[size_t(x)] = uint16_t(b);
      }
      if (write_line(dst, &st, R.data(), G.data(), B.data()) != 0) return fail(SAVE_WRITE_ERR);
    }
    done++;
    if (ui().progress(double(done) / double(H), "Saving...")) {
      cancelled = done < H;
      if (cancelled) break;
    }
  }
  if (lines_done) *lines_done = done;
  // A cancelled image keeps its lines: its header gets the height written.
  if (cancelled && !raw && done > 0 && dst->file_type != FT_JPEG && dst->file_type != FT_PNG &&
      dst->file_type != FT_GIF) {
    // PPM/PGM and SUN carry the height in their header: rewritten in place
    // (the PPM height padded with blanks to its former length).
    std::fseek(dst->fp, 0, SEEK_SET);
    int r;
    if (dst->file_type == FT_SUN) {
      r = sun_write_header(dst->fp, W, done, &dst->clrmap);
    } else {
      int chars = int(std::to_string(H).size());
      std::string h = ppm_header_text(dst->file_type, W, done, n - 1, chars);
      r = std::fwrite(h.data(), 1, h.size(), dst->fp) == h.size() ? 0 : -1;
    }
    if (r != 0) return fail(SAVE_WRITE_ERR);
    std::fseek(dst->fp, 0, SEEK_END);
  }
  if (cancelled && (dst->file_type == FT_JPEG || dst->file_type == FT_PNG)) {
    // Compressed streams can't be shortened afterwards: the missing lines are
    // written black so that the file stays valid.
    std::fill(R.begin(), R.end(), 0);
    std::fill(G.begin(), G.end(), 0);
    std::fill(B.begin(), B.end(), 0);
    for (int y = done; y < H; y++)
      if (write_line(dst, &st, R.data(), G.data(), B.data()) != 0) return fail(SAVE_WRITE_ERR);
  }
  if (write_finish(dst, &st) != 0) return fail(SAVE_WRITE_ERR);
  if (cancelled && dst->file_type == FT_GIF) {
    // The stream ends after the lines written: both heights (screen and
    // image descriptor) are set to them.
    uint8_t h[2] = {uint8_t(done & 0xff), uint8_t(done >> 8)};
    const long desc_h = 13 + 3L * 256 + 7;
    if (std::fseek(dst->fp, 8, SEEK_SET) != 0 || std::fwrite(h, 1, 2, dst->fp) != 2 ||
        std::fseek(dst->fp, desc_h, SEEK_SET) != 0 || std::fwrite(h, 1, 2, dst->fp) != 2)
      return fail(SAVE_WRITE_ERR);
  }
  if (raw) rewrite_raw_header(dst, done, fname);
  if (std::fflush(dst->fp) != 0 || std::ferror(dst->fp)) return fail(SAVE_WRITE_ERR);
  if (std::fclose(dst->fp) != 0) {
    dst->fp = nullptr;
    std::remove(tmp.c_str());
    ui().message("Error", save_status_text(SAVE_WRITE_ERR, fname).c_str());
    return SAVE_WRITE_ERR;
  }
  dst->fp = nullptr;
  if (std::rename(tmp.c_str(), fname) != 0) {
    std::remove(tmp.c_str());
    ui().message("Error", pava::strprintf("Can't open file %s.", fname).c_str());
    return SAVE_CANT_OPEN;
  }
  if (cancelled) {
    ui().message("Info",
                 pava::strprintf("Cancelled; %d of %d lines saved in %s.", done, H, fname).c_str());
    return SAVE_CANCELLED;
  }
  return SAVE_OK;
}

int save_picture(PICINFO* src, const VIEWINFO* view, const SAVEOPTS* opts,
                 std::vector<std::string>* written) {
  if (!dest_of(opts->type)) {
    ui().message("Error", save_status_text(SAVE_BAD_TYPE, "").c_str());
    return SAVE_BAD_TYPE;
  }
  bool any = false;
  for (int c = 1; c <= 25; c++) any = any || opts->channels[c];
  if (!any) {
    ui().message("Error", "No channels selected.");
    return SAVE_NO_CHANNELS;
  }
  if (!src->xline) {
    ui().message("Error", save_status_text(SAVE_NO_PICTURE, "").c_str());
    return SAVE_NO_PICTURE;
  }
  // Jobs: one file, or one per selected channel for multi-channel images.
  std::vector<std::vector<int>> jobs;
  if (opts->multi_channel && !save_is_raw(opts->type)) {
    for (int c = 1; c <= 25; c++)
      if (opts->channels[c]) {
        std::vector<int> sel(26, 0);
        sel[size_t(c)] = 1;
        jobs.push_back(sel);
      }
  } else {
    jobs.emplace_back(opts->channels, opts->channels + 26);
  }
  int status = SAVE_OK;
  for (const std::vector<int>& sel : jobs) {
    SAVEOPTS o = *opts;
    std::copy(sel.begin(), sel.end(), o.channels);
    VIEWINFO v = *view;
    if (jobs.size() > 1) {
      // One channel a file, shown in grey.
      v.process_data = 0;
      for (int c = 1; c <= 25; c++)
        if (sel[size_t(c)]) v.chan_selected = c;
    }
    char fname[600];
    std::string chan_text =
        v.process_data && !save_is_raw(o.type) ? "" : save_chan_text(o.channels);
    if (!o.new_name.empty() && jobs.size() == 1) {
      pava::copy_text(fname, o.new_name.c_str());
      if (FILE* f = std::fopen(fname, "rb")) {
        std::fclose(f);
        std::string q = pava::strprintf("File %s exist. Overwrite?", fname);
        if (!ui().ask("Warning", q.c_str())) return SAVE_DECLINED;
      }
    } else if (!create_new_filename2(fname, sizeof fname, src, chan_text.c_str(),
                                     save_extension(o.type), o.use_satname,
                                     o.dir.empty() ? nullptr : o.dir.c_str())) {
      ui().message("Error", save_status_text(SAVE_NO_NAME, src->file_name).c_str());
      return SAVE_NO_NAME;
    }
    std::unique_ptr<PICINFO, void (*)(PICINFO*)> dst(pic_new(), pic_delete);
    VIEWINFO sv;
    if (prepare_save(src, dst.get(), &v, &sv, &o) != 0) return SAVE_BAD_TYPE;
    status = Save_it(src, dst.get(), &sv, &o, fname);
    if (status != SAVE_OK && status != SAVE_CANCELLED) return status;
    if (written) written->push_back(fname);
    if (status == SAVE_CANCELLED) return status;
  }
  ui().set_entry("Save", "Status", "Saved.");
  return status;
}
