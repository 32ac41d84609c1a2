// File type detection, opening through the table of readers, messages, and
// the names of new recording files.
#include "formats/openfile.h"

#include <sys/stat.h>
#include <sys/types.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "app/log.h"
#include "ccsds/qpsk_files.h"
#include "common/bytes.h"
#include "common/text.h"
#include "common/timeutil.h"
#include "config/prefs.h"
#include "export/imgcodec.h"
#include "formats/hptfile.h"
#include "formats/hrptfile.h"
#include "formats/meteor.h"
#include "formats/open_codes.h"
#include "reception/recordinfo.h"

// Detection on the first bytes, later tests winning:
//   "P6" PPM, "P5" PGM, "GIF" GIF, FF D8 FF E0 JPEG, "HRPT", "CHRP", "SEAW",
//   "MHRP", "M2HR", SUN raster 59 A6 6A 95; CCSDS marker 1A CF FC 1D followed by "QNO0", "QNO1",
//   "AQUA", "MET", "FY3", else the base name ("f"/"F": FY-3, else Metop);
//   HRPT frames in 16-bit words (raw16) as FT_HPT; then ".hpt" and ".C10" in
//   the path override.
FILE_TYPE detect_file(const char* path) {
  if (!path) return unknown_filetype;
  FILE_TYPE t = unknown_filetype;
  FILE* fp = std::fopen(path, "rb");
  if (fp) {
    uint8_t b[8] = {0};
    size_t n = std::fread(b, 1, sizeof b, fp);
    struct Magic {
      const char* text;
      size_t len;
      FILE_TYPE type;
    };
    static const Magic kMagic[] = {{"P6", 2, FT_PPM},      {"P5", 2, FT_PGM},
                                   {"GIF", 3, FT_GIF},     {"\xFF\xD8\xFF\xE0", 4, FT_JPEG},
                                   {"HRPT", 4, FT_HRPT},   {"CHRP", 4, FT_CHRPT},
                                   {"SEAW", 4, FT_SEAWIF}, {"MHRP", 4, FT_MHRPT1},
                                   {"M2HR", 4, FT_MHRPT2}};
    for (const Magic& m : kMagic)
      if (n >= m.len && std::memcmp(b, m.text, m.len) == 0) t = m.type;
    if (image_sun_magic(b, n)) t = FT_SUN;
    if (n >= 4 && pava::get_be32(b) == 0x1ACFFC1Du) {
      static const Magic kIdent[] = {{"QNO0", 4, FT_QNOAA20},
                                     {"QNO1", 4, FT_QNOAA21},
                                     {"AQUA", 4, FT_AQUA},
                                     {"MET", 3, FT_METOP},
                                     {"FY3", 3, FT_FY3}};
      FILE_TYPE id = unknown_filetype;
      for (const Magic& m : kIdent)
        if (n >= 4 + m.len && std::memcmp(b + 4, m.text, m.len) == 0) id = m.type;
      if (id == unknown_filetype) {
        char c = strip_filename(path)[0];
        id = (c == 'f' || c == 'F') ? FT_FY3 : FT_METOP;
      }
      t = id;
    }
    if (t == FT_MHRPT2) get_msupos(fp);
    std::fclose(fp);
    if (t == unknown_filetype && detect_raw16(path) != CONT_NATIVE) t = FT_HPT;
  }
  if (std::strstr(path, ".hpt")) t = FT_HPT;
  if (std::strstr(path, ".C10")) t = FT_CHPT;
  return t;
}

namespace {

using HdrReader = int (*)(PICINFO*, VIEWINFO*);
using LineReader = XLINE* (*)(PICINFO*, VIEWINFO*);

int hdr_image(PICINFO* pic, VIEWINFO*) { return image_read_hdr(pic); }
int hdr_hrpt1(PICINFO* pic, VIEWINFO*) { return read_hrpt1_hdr(pic); }
int hdr_hpt5(PICINFO* pic, VIEWINFO*) { return read_hpt_hdr(pic, 5); }
int hdr_hpt10(PICINFO* pic, VIEWINFO*) { return read_hpt_hdr(pic, 10); }
int hdr_raw16(PICINFO* pic, VIEWINFO*) { return read_raw16_hdr(pic); }
int hdr_qpsk(PICINFO* pic, VIEWINFO* view) { return read_qpsk_hdr(pic, view); }
int hdr_aqua(PICINFO* pic, VIEWINFO* view) {
  int r = read_qpsk_hdr(pic, view);
  if (!r) pava::copy_text(pic->sat_name, "AQUA");
  return r;
}

XLINE* all_image(PICINFO* pic, VIEWINFO*) { return image_read_all(pic); }
XLINE* all_hrpt1(PICINFO* pic, VIEWINFO*) {
  if (pic->file_type == FT_MHRPT1) return read_mhrpt1_all(pic);
  if (pic->file_type == FT_MHRPT2) return read_mhrpt2_all(pic);
  return read_hrpt1_all(pic);
}
XLINE* all_hpt(PICINFO* pic, VIEWINFO* view) { return read_hpt_all(pic, view); }
XLINE* all_raw16(PICINFO* pic, VIEWINFO*) { return read_raw16_all(pic); }
XLINE* all_qpsk(PICINFO* pic, VIEWINFO* view) { return read_qpsk_all(pic, view); }

// One row per kind of file: its header reader, its line reader, the
// luminance range (-1: 2^depth - 1) and the line expansion factor.
struct Reader {
  FILE_TYPE type;
  PIC_CONTAINER container;
  HdrReader hdr;
  LineReader all;
  int lum_max;
  float lin_exp;
};
const Reader kReaders[] = {
    {FT_PPM, CONT_NATIVE, hdr_image, all_image, -1, 1.0f},
    {FT_PGM, CONT_NATIVE, hdr_image, all_image, -1, 1.0f},
    {FT_GIF, CONT_NATIVE, hdr_image, all_image, 255, 1.0f},
    {FT_SUN, CONT_NATIVE, hdr_image, all_image, 255, 1.0f},
    {FT_HRPT, CONT_NATIVE, hdr_hrpt1, all_hrpt1, 1023, 1.331543f},
    {FT_CHRPT, CONT_NATIVE, hdr_hrpt1, all_hrpt1, 1023, 1.331543f},
    {FT_SEAWIF, CONT_NATIVE, hdr_hrpt1, all_hrpt1, 1023, 1.331543f},
    {FT_MHRPT1, CONT_NATIVE, hdr_hrpt1, all_hrpt1, 1023, 1.7f},
    {FT_MHRPT1N, CONT_NATIVE, hdr_hrpt1, all_hrpt1, 1023, 1.7f},
    {FT_MHRPT2, CONT_NATIVE, hdr_hrpt1, all_hrpt1, 1023, 1.7f},
    {FT_MHRPT2N, CONT_NATIVE, hdr_hrpt1, all_hrpt1, 1023, 1.7f},
    {FT_QNOAA20, CONT_NATIVE, hdr_qpsk, all_qpsk, 1023, 1.331543f},
    {FT_QNOAA21, CONT_NATIVE, hdr_qpsk, all_qpsk, 1023, 1.331543f},
    {FT_HPT, CONT_NATIVE, hdr_hpt5, all_hpt, 1023, 1.331543f},
    {FT_HPT, CONT_RAW16BE, hdr_raw16, all_raw16, 1023, 1.331543f},
    {FT_HPT, CONT_RAW16LE, hdr_raw16, all_raw16, 1023, 1.331543f},
    {FT_CHPT, CONT_NATIVE, hdr_hpt10, all_hpt, 1023, 1.331543f},
    {FT_METOP, CONT_NATIVE, hdr_qpsk, all_qpsk, 1023, 1.331543f},
    {FT_FY3, CONT_NATIVE, hdr_qpsk, all_qpsk, 1023, 1.331543f},
    {FT_AQUA, CONT_NATIVE, hdr_aqua, all_qpsk, 1023, 1.331543f},
};

const Reader* find_reader(int type, PIC_CONTAINER container) {
  for (const Reader& r : kReaders)
    if (r.type == type && r.container == container) return &r;
  return nullptr;
}

// Fields a reader fills; cleared so that nothing of the previous picture stays.
void reset_picture(PICINFO* pic) {
  pic->sat_type = sat_unk;
  pic->sat_id = 0;
  pic->sat_name[0] = '\0';
  pic->width = pic->height = pic->depth = 0;
  pic->fri = FRAMEINFO{};
  pic->pic_strt = 0;
  pic->ox = pic->oy = 0;
  pic->nr_chan = 0;
  pic->lines_per_sec = 0;
  pic->scan_hor = W_E;
  pic->scan_ver = N_S;
  std::memset(pic->channels_recorded, 0, sizeof pic->channels_recorded);
  pic->picture_time = tm{};
  pic->valid_time = 0;
  pic->container = CONT_NATIVE;
}

}  // namespace

int open_file(PICINFO* pic, VIEWINFO* view, void* window, int file_type) {
  (void)window;  // the window's title and pages are the GUI's business
  int type = file_type ? file_type : detect_file(pic->file_name);
  if (type == error_filetype) return OPEN_CANT_OPEN;
  if (type == unknown_filetype) return OPEN_UNKNOWN_TYPE;
  if (pic->fp || pic->xline) close_picfile(pic);
  reset_picture(pic);
  pic->file_type = FILE_TYPE(type);
  pic->width_original = 0;
  pic->lin_exp = 1.0f;
  // Headerless HRPT frames in 16-bit words look like HPT pictures.
  if (type == FT_HPT && !std::strstr(pic->file_name, ".hpt"))
    pic->container = detect_raw16(pic->file_name);
  pic->fp = std::fopen(pic->file_name, "rb");
  if (!pic->fp) return OPEN_CANT_OPEN;
  if (view) std::fseek(pic->fp, view->foffset, SEEK_SET);
  pic->orbit.valid = 0;
  const Reader* rd = find_reader(type, pic->container);
  int r = rd ? rd->hdr(pic, view) : OPEN_UNKNOWN_TYPE;
  if (r) {
    close_picfile(pic);
    return r;
  }
  pic_set_lines(pic, rd->all(pic, view));
  if (rd->lum_max < 0 && pic->depth > 0 && pic->depth < 31) {
    if (view) view->lum_min = 0, view->lum_max = (1 << pic->depth) - 1;
  } else if (view) {
    view->lum_min = 0, view->lum_max = rd->lum_max;
  }
  pic->lin_exp = rd->lin_exp;
  if (view) {
    view->scan_hor = pic->scan_hor;
    view->scan_ver = pic->scan_ver;
    // The first recorded channel is shown unless a recorded one is selected.
    int sel = 0;
    for (int c = 1; c <= 25; c++)
      if (view->channel_selected[c] && pic->channels_recorded[c]) sel = c;
    if (!sel) {
      for (int c = 25; c >= 1; c--)
        if (pic->channels_recorded[c]) sel = c;
      if (sel) {
        std::memset(view->channel_selected, 0, sizeof view->channel_selected);
        view->channel_selected[sel] = 1;
      }
    }
    view->chan_selected = sel;
  }
  return 0;
}

void close_picfile(PICINFO* pic) {
  if (pic->fp) std::fclose(pic->fp);
  pic->fp = nullptr;
  pic_free_lines(pic);
}

std::vector<std::string> open_error_boxes(int code, const char* name, int depth) {
  switch (code) {
    case OPEN_DEPTH:
      // Both boxes are shown, by design.
      return {pava::strprintf("Depth=%d currently not supported.\n", depth),
              pava::strprintf("read problem in %s.\n", name)};
    case OPEN_CANT_OPEN:
      return {"Can't open file."};
    case OPEN_NO_PICTURE:
      return {pava::strprintf("No picture found in %s.\n", name)};
    case OPEN_READ_PROBLEM:
      return {pava::strprintf("read problem in %s.\n", name)};
    case OPEN_UNKNOWN_TYPE:
      return {pava::strprintf("Unknown file type of \n%s.\n", name)};
    default:
      return {pava::strprintf("Unknown error %d (%c).\n", code, code)};
  }
}

std::string open_error_cmdline(int code, const char* name) {
  switch (code) {
    case OPEN_CANT_OPEN:
      return pava::strprintf("ERROR: Can't open %s\n", name);
    case OPEN_UNKNOWN_TYPE:
      return pava::strprintf("ERROR: %s is unknown file type.\n", name);
    default:
      return pava::strprintf("ERROR: Problem with reading %s (code %c = %d).\n", name, code, code);
  }
}

const char* strip_filename(const char* path) {
  if (!path) return "";
  for (char sep : {'/', '\\', ':'}) {
    const char* p = std::strrchr(path, sep);
    if (p) return p + 1;
  }
  return path;
}

void fix_path(char* path) {
  if (!path) return;
  char* w = path;
  for (const char* r = path; *r; r++) {
    if (r[0] == '/' && r[1] == '/') continue;
    *w++ = *r;
  }
  *w = '\0';
}

bool search_file(const char* name, char* found, size_t found_size, const char* dir1,
                 const char* dir2, const char* dir3) {
  if (!name || !found || found_size == 0) return false;
  size_t limit = found_size < 200 ? found_size : 200;
  for (const char* dir : {dir1, dir2, dir3}) {
    if (!dir) continue;
    std::string p = pava::strprintf("%s%c%s", dir, '/', name);
    if (p.size() >= limit) continue;
    struct stat st {};
    if (stat(p.c_str(), &st) == 0) {
      pava::copy_text(found, limit, p.c_str());
      return true;
    }
  }
  return false;
}

int create_new_filename_at(char* name, size_t name_size, const char* dir, const char* base,
                           const char* ext, int dashed_date, time_t now) {
  if (!base) base = "";
  if (!ext) ext = "";
  if (!dir) dir = "";
  bool hpt = std::strcmp(ext, ".hpt") == 0;
  struct tm tm = pava::gmtime_utc(now);
  char tstr[64];
  const char* fmt = hpt ? "%Y-%m-%d_%H%M" : dashed_date ? "_%Y-%m-%d_%H%M" : "_%Y%m%d_%H%M";
  std::strftime(tstr, sizeof tstr, fmt, &tm);
  for (int k = 0; k <= 1000; k++) {
    std::string n;
    if (k == 0)
      n = hpt ? pava::strprintf("%s_%s%s", tstr, base, ext)
              : pava::strprintf("%s%s%s", base, tstr, ext);
    else
      n = hpt ? pava::strprintf("%s_%s_%02d%s", tstr, base, k, ext)
              : pava::strprintf("%s%s_%02d%s", base, tstr, k, ext);
    std::string full = std::string(dir) + n;
    FILE* fp = std::fopen(full.c_str(), "rb");
    if (!fp) {
      pava::copy_text(name, name_size, full.c_str());
      return k + 1;
    }
    std::fclose(fp);
  }
  return 0;
}

int create_new_filename(char* name, size_t name_size, const char* dir, const char* base,
                        const char* ext, int dashed_date) {
  time_t now = std::time(nullptr) + time_t(prefs.utc_offset * 3600.0f);
  return create_new_filename_at(name, name_size, dir, base, ext, dashed_date, now);
}

int make_dir_hier(const char* dir) {
  if (!dir || !*dir) return 0;
  std::string p(dir);
  for (size_t i = 1; i <= p.size(); i++) {
    if (i == p.size() || p[i] == '/') {
      std::string part = p.substr(0, i);
      if (mkdir(part.c_str(), 0755) != 0 && errno != EEXIST) return -1;
    }
  }
  return 0;
}

int open_new_recfile(const char* base, const char* ext, RECORDINFO* rec) {
  std::string dir;
  bool sub = rec->file_loc && rec->file_loc[0];
  if (sub && rec->work_location[0])
    dir = pava::strprintf("%s%c%s%c", rec->work_location, '/', rec->file_loc, '/');
  else if (rec->work_location[0])
    dir = std::string(rec->work_location) + "/";
  else if (sub)
    dir = std::string(rec->file_loc) + "/";
  std::vector<char> d(dir.begin(), dir.end());
  d.push_back('\0');
  fix_path(d.data());
  if (d[0]) make_dir_hier(d.data());
  int n = create_new_filename(rec->file_name, sizeof rec->file_name, d.data(), base, ext,
                              prefs.metfy3x);
  if (!n) return 0;
  w_dbg("open %s\n", rec->file_name);
  rec->fp = std::fopen(rec->file_name, "wb");
  return rec->fp ? n : 0;
}

void close_recfile(RECORDINFO* rec) {
  if (rec->fp) std::fclose(rec->fp);
  rec->fp = nullptr;
}
