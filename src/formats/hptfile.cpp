// HPT/CHPT and raw16 files.
//
// HPT packing, four 10-bit words w0..w3 in five bytes (big-endian bit stream):
//   byte 0 = w0[9:2]   byte 1 = w0[1:0] w1[9:4]   byte 2 = w1[3:0] w2[9:6]
//   byte 3 = w2[5:0] w3[9:8]   byte 4 = w3[7:0]
// HPT geometry (nch 5 | CHPT nch 10): skipped start 925 | 2000 bytes, 11091 |
// 22182 words a record (nch / 5 + nch * 2218), 13864 | 27728 bytes a record.
// The writer stores the last group of a record as four bytes (CHPT: twice).
//
// raw16: frame after frame of 11090 words, each in a 16-bit word (either byte
// order); words 0-749 the frame header, pixel p of channel c at 750 + 5p + c.
#include "formats/hptfile.h"

#include <sys/stat.h>

#include <cctype>
#include <cstring>
#include <vector>

#include "common/bytes.h"
#include "common/text.h"
#include "common/timeutil.h"
#include "formats/correct_time.h"
#include "formats/framehdr.h"
#include "formats/hrptfile.h"
#include "formats/open_codes.h"

void hpt_pack(const uint16_t* w, uint8_t* b) {
  b[0] = uint8_t(w[0] >> 2);
  b[1] = uint8_t((w[0] << 6) + ((w[1] >> 4) & 63));
  b[2] = uint8_t((w[1] << 4) + ((w[2] >> 6) & 15));
  b[3] = uint8_t((w[2] << 2) + ((w[3] >> 8) & 3));
  b[4] = uint8_t(w[3] & 255);
}

void hpt_unpack(const uint8_t* b, uint16_t* w) {
  w[0] = uint16_t((b[0] * 4) | (b[1] >> 6));
  w[1] = uint16_t(((b[1] * 16) & 0x3F0) | (b[2] >> 4));
  w[2] = uint16_t(((b[2] * 64) & 0x3C0) | (b[3] >> 2));
  w[3] = uint16_t(b[4] + ((b[3] << 8) & 0x300));
}

int read_hpt_hdr(PICINFO* pic, int nch) {
  if (nch != 10) nch = 5;
  int skip_words = nch == 10 ? 800 : 740;
  pic->pic_strt = (nch / 5) * skip_words * 10 / 8;
  FRAMEINFO& f = pic->fri;
  f = FRAMEINFO{};
  f.words_per_frame = f.words_per_line = nch / 5 + nch * 2218;
  f.bytes_per_line = f.words_per_frame * 10 / 8 + ((f.words_per_frame * 10) % 8 ? 1 : 0);
  f.inter_chan = nch;
  pic->width = pic->width_original = 2048;
  pic->depth = 10;
  std::memset(pic->channels_recorded, 0, sizeof pic->channels_recorded);
  if (pic->file_type == FT_METOP)
    for (int i = 0; i <= 5; i++) pic->channels_recorded[i] = 1;
  if (pic->file_type == FT_FY3)
    for (int i = 0; i <= 10; i++) pic->channels_recorded[i] = 1;
  for (int i = 0; i <= nch; i++) pic->channels_recorded[i] = 1;
  pic->nr_chan = nch;
  pic->sat_type = HRPT;  // CHPT too, deliberately
  pic->max_sens_angle = 55.4f;
  pic->sat_name[0] = '\0';
  pic->lines_per_sec = 6;
  pic_grey_clrmap(pic);
  pic->height = hpt_lines_in_file(pic);
  return 0;
}

int read_hptqwords(FILE* fp, uint16_t* words, int groups) {
  if (groups <= 0) return 1;
  std::vector<uint8_t> b(size_t(groups) * 5);
  if (std::fread(b.data(), 1, b.size(), fp) != b.size()) return 0;
  if (words)
    for (int g = 0; g < groups; g++) hpt_unpack(&b[size_t(g) * 5], words + size_t(g) * 4);
  return 1;
}

int hpt_lines_in_file(PICINFO* pic) {
  long step = long(pic->fri.words_per_frame / 4) * 5;
  long avail = pava_file_size(pic->fp) - pic->pic_strt;
  if (step <= 0 || avail <= 0) return 0;
  return int(avail / step);
}

int read_hpt_line(PICINFO* pic, const VIEWINFO* view, int* line, uint16_t* words) {
  const FRAMEINFO& f = pic->fri;
  for (;;) {
    int status = 1;
    if (*line < 0) return 0;
    if (std::fseek(pic->fp, pic->pic_strt + long(f.bytes_per_line) * *line, SEEK_SET) != 0)
      return 0;
    if (!read_hptqwords(pic->fp, words, f.words_per_frame / 4)) return 0;
    uint16_t next[8] = {0};
    int have_next = read_hptqwords(pic->fp, next, 2);
    if (is_hrptsync(words, 0)) status |= 0x0C;
    if (have_next && is_hrptsync(next, 0)) status |= 0xE0;
    *line += (view && view->scan_ver == S_N) ? -1 : 1;
    if (*line < 0) return 0;
    if (!view || !view->skip_faulty_lines) return status;
    int mask = view->mask_skip;
    bool own_ok = (status & 0x0C) || !(mask & 0x0C);
    bool next_ok = (status & 0xE0) || !(mask & 0xE0);
    if (own_ok && next_ok) return status;
  }
}

XLINE* read_hpt_all(PICINFO* pic, VIEWINFO*) {
  FILE* fp = pic->fp;
  const FRAMEINFO& f = pic->fri;
  if (!fp || f.words_per_frame <= 0) return nullptr;
  int nch = pic->file_type == FT_CHPT ? 10 : 5;
  int groups = f.words_per_frame / 4;
  std::vector<uint16_t> words(size_t(groups) * 4);
  XLINE* head = nullptr;
  XLINE* tail = nullptr;
  int n = 0;
  for (int L = 0; L < pic->height; L++) {
    if (std::fseek(fp, pic->pic_strt + long(f.bytes_per_line) * L, SEEK_SET) != 0) break;
    if (!read_hptqwords(fp, words.data(), groups)) break;
    tail = Create_Xline(&head, nch, 2048, tail);
    n++;
    tail->syncword = is_hrptsync(words.data(), 0);
    // Samples counted from the first word of the record.
    for (int p = 0; p < 2048; p++)
      for (int c = 0; c < nch; c++) tail->line[c][p] = words[size_t(c + nch * p)];
  }
  pic->height = n;
  return head;
}

int write_hpt_line(PICINFO* pic, const uint16_t* words) {
  if (!pic->fp) return 0;
  const FRAMEINFO& f = pic->fri;
  int groups = f.words_per_line / 4;
  if (groups <= 0) return 1;
  std::vector<uint8_t> out;
  out.reserve(size_t(groups) * 5 + 4);
  uint16_t w[4];
  uint8_t b[5];
  for (int g = 0; g < groups; g++) {
    for (int k = 0; k < 4; k++) {
      int i = g * 4 + k;
      w[k] = i < f.words_per_frame ? words[i] : 0;
    }
    hpt_pack(w, b);
    // The last group is cut to four bytes (CHPT: the four bytes twice), so
    // that the record has the reader's bytes_per_line.
    bool last = g == groups - 1;
    out.insert(out.end(), b, b + (last ? 4 : 5));
    if (last && pic->file_type == FT_CHPT) out.insert(out.end(), b, b + 4);
  }
  std::fwrite(out.data(), 1, out.size(), pic->fp);
  return 1;
}

// ---- raw16 ----

namespace {

uint16_t raw16_word(const uint8_t* p, PIC_CONTAINER c) {
  return c == CONT_RAW16LE ? pava::get_le16(p) : pava::get_be16(p);
}

bool fits_10bit(const std::vector<uint8_t>& b, size_t n, PIC_CONTAINER c) {
  for (size_t i = 0; i + 1 < n; i += 2)
    if (raw16_word(&b[i], c) > 1023) return false;
  return true;
}

}  // namespace

PIC_CONTAINER raw16_container(const uint8_t* b) {
  for (PIC_CONTAINER c : {CONT_RAW16BE, CONT_RAW16LE}) {
    uint16_t w[6];
    for (int i = 0; i < 6; i++) w[i] = raw16_word(b + 2 * i, c);
    if (is_hrptsync(w, 0)) return c;
  }
  return CONT_NATIVE;
}

PIC_CONTAINER detect_raw16(const char* path) {
  FILE* fp = path ? std::fopen(path, "rb") : nullptr;
  if (!fp) return CONT_NATIVE;
  std::vector<uint8_t> b(RAW16_FRAME_BYTES);
  size_t n = std::fread(b.data(), 1, b.size(), fp);
  std::fclose(fp);
  if (n >= 12) {
    PIC_CONTAINER c = raw16_container(b.data());
    if (c != CONT_NATIVE) return c;
  }
  if (!std::strstr(path, ".raw16")) return CONT_NATIVE;
  if (!fits_10bit(b, n, CONT_RAW16BE) && fits_10bit(b, n, CONT_RAW16LE)) return CONT_RAW16LE;
  return CONT_RAW16BE;
}

struct tm file_reference_time(const char* path, FILE* fp) {
  struct tm t {};
  const char* base = path ? std::strrchr(path, '/') : nullptr;
  base = base ? base + 1 : (path ? path : "");
  // A date in the name: YYYY-MM-DD or YYYYMMDD, starting at a non-digit.
  for (const char* p = base; *p; p++) {
    if (!std::isdigit(static_cast<unsigned char>(*p))) continue;
    if (p > base && std::isdigit(static_cast<unsigned char>(p[-1]))) continue;
    int y = 0, m = 0, d = 0, used = 0;
    if (std::sscanf(p, "%4d-%2d-%2d%n", &y, &m, &d, &used) == 3 && used == 10) {
    } else if (std::sscanf(p, "%4d%2d%2d%n", &y, &m, &d, &used) == 3 && used == 8) {
    } else {
      continue;
    }
    if (y >= 1970 && y < 2100 && m >= 1 && m <= 12 && d >= 1 && d <= 31) {
      t.tm_year = y - 1900;
      t.tm_mon = m - 1;
      t.tm_mday = d;
      pava::mktime_utc(&t);
      return t;
    }
  }
  struct stat st {};
  if (fp && fstat(fileno(fp), &st) == 0) return pava::gmtime_utc(st.st_mtime);
  if (path && stat(path, &st) == 0) return pava::gmtime_utc(st.st_mtime);
  return pava::gmtime_utc(0);
}

int read_raw16_hdr(PICINFO* pic) {
  if (!pic->fp) return OPEN_READ_PROBLEM;
  if (pic->container == CONT_NATIVE) pic->container = CONT_RAW16BE;
  pic->file_type = FT_HPT;
  pic->sat_type = HRPT;
  pic->width = pic->width_original = 2048;
  pic->depth = 10;
  pic->nr_chan = 5;
  std::memset(pic->channels_recorded, 0, sizeof pic->channels_recorded);
  for (int i = 0; i <= 5; i++) pic->channels_recorded[i] = 1;
  FRAMEINFO& f = pic->fri;
  f = FRAMEINFO{};
  f.words_per_frame = f.words_per_line = RAW16_FRAME_WORDS;
  f.bytes_per_line = RAW16_FRAME_BYTES;
  f.header_len = 750;
  f.leader_len = 100;
  f.inter_chan = 5;
  pic->pic_strt = 0;
  pic->max_sens_angle = 55.4f;
  pic->lines_per_sec = 6;
  pic_grey_clrmap(pic);
  pic->height = int(pava_file_size(pic->fp) / RAW16_FRAME_BYTES);
  pic->picture_time = file_reference_time(pic->file_name, pic->fp);
  if (pic->height == 0) return OPEN_NO_PICTURE;
  uint8_t b[16];
  std::rewind(pic->fp);
  if (std::fread(b, 1, sizeof b, pic->fp) != sizeof b) return OPEN_READ_PROBLEM;
  uint16_t w[8];
  for (int i = 0; i < 8; i++) w[i] = raw16_word(b + 2 * i, pic->container);
  pic->sat_id = frm2id(w, FT_HRPT);
  pava::copy_text(pic->sat_name, spacecrftaddr2name(pic->sat_id, HRPT));
  return 0;
}

XLINE* read_raw16_all(PICINFO* pic) {
  FILE* fp = pic->fp;
  if (!fp) return nullptr;
  std::vector<uint8_t> b(RAW16_FRAME_BYTES);
  std::vector<uint16_t> w(RAW16_FRAME_WORDS);
  XLINE* head = nullptr;
  XLINE* tail = nullptr;
  int n = 0;
  std::rewind(fp);
  for (int L = 0; L < pic->height; L++) {
    if (std::fread(b.data(), 1, b.size(), fp) != b.size()) break;
    for (int i = 0; i < RAW16_FRAME_WORDS; i++)
      w[size_t(i)] = raw16_word(&b[size_t(i) * 2], pic->container) & 0x3FF;
    tail = Create_Xline(&head, 5, 2048, tail);
    n++;
    tail->linenr = 1;
    tail->syncword = is_hrptsync(w.data(), 0);
    std::memcpy(tail->line_hdr, w.data(), sizeof(uint16_t) * XLINE_HDRWORDS);
    tail->tm_ms = hrpt_frame_extr_time(w.data(), FT_HRPT, &pic->picture_time);
    for (int p = 0; p < 2048; p++)
      for (int c = 0; c < 5; c++) tail->line[c][p] = w[size_t(750 + 5 * p + c)];
  }
  pic->height = n;
  // The repair gives the lines before the first anchor (the fourth line of a
  // clean run) the anchor's milliseconds; lines of that same run keep the
  // times they carry.
  std::vector<tm_ms> decoded;
  for (XLINE* l = head; l; l = l->next) decoded.push_back(l->tm_ms);
  pic->valid_time = correct_time(head, pic->lines_per_sec) != 0;
  size_t anchor = 0;
  for (int run = 1; anchor + 1 < decoded.size() && run < 4;) {
    anchor++;
    long d =
        long(pava::mktime_utc(&decoded[anchor].tm) - pava::mktime_utc(&decoded[anchor - 1].tm));
    run = d >= 0 && d < 2 ? run + 1 : 0;
  }
  size_t k = 0;
  for (XLINE* l = head; l && k < anchor; l = l->next, k++)
    if (k + 3 >= anchor) l->tm_ms = decoded[k];
  if (head && pic->valid_time) pic->picture_time = head->tm_ms.tm;
  return head;
}

int write_raw16_line(FILE* fp, PIC_CONTAINER container, const uint16_t* words) {
  if (!fp) return 0;
  std::vector<uint8_t> b(RAW16_FRAME_BYTES);
  for (int i = 0; i < RAW16_FRAME_WORDS; i++) {
    if (container == CONT_RAW16LE)
      pava::put_le16(&b[size_t(i) * 2], words[i]);
    else
      pava::put_be16(&b[size_t(i) * 2], words[i]);
  }
  std::fwrite(b.data(), 1, b.size(), fp);
  return 1;
}
