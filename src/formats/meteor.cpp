// Meteor MSU-MR recordings.
//
// MHRPT1 frame, 256 bytes:
//   0-3 sync marker 1A CF FC 1D | 4-21 frame header (zero here) | 22-253 data | 254-255 zero
// The first frame of a line has the MSU-MR line sync at 22-29 and the 50 line
// header bytes at 22-71 (30, 31, 32: hour, minute, second, Moscow time); its
// data are bytes 72-253. 182 + 49 x 232 = 11550 data bytes = 6 x 1540 words.
//
// MHRPT2 frame, 1024 bytes: sync marker, then MSU-MR bytes in four zones
// (22+238, 278+238, 534+238, 790+234). A line: sync, 50 bytes to the data,
// 52 zone pieces.
//
// Header (MHRPTHDR): the common 131 bytes of the HRPT header, then
//   131 offset_lon (float) | 146 widthmax | 148 alphamax (float) | 248 "END_HDR_"
// 256 bytes for MHRPT1; MHRPT2 adds 768 zero bytes.
#include "formats/meteor.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "common/bytes.h"
#include "common/text.h"
#include "common/timeutil.h"
#include "formats/correct_time.h"
#include "formats/framehdr.h"
#include "formats/hptfile.h"

int cmp_sync(const uint8_t* b, const uint8_t* first4, const uint8_t* last4, int n) {
  int diff = 0;
  for (int i = 0; i < n && i < 8; i++) {
    uint8_t want = i < 4 ? first4[i] : last4[i - 4];
    if (b[i] != want) diff++;
  }
  return diff;
}

namespace {

constexpr uint8_t kAsm[4] = {0x1A, 0xCF, 0xFC, 0x1D};
int g_msu_syncpos[2];

// A line sync with fewer than 4 wrong bytes starts a line.
bool line_sync_at(const uint8_t* b) { return cmp_sync(b, MSU_SYNC, MSU_SYNC + 4, 8) < 4; }
bool asm_strict(const uint8_t* b) { return std::memcmp(b, kAsm, 4) == 0; }
bool asm_lenient(const uint8_t* b) {
  for (int i = 0; i < 3; i++)
    if (b[i] == kAsm[i]) return true;
  return b[3] == kAsm[3];
}

int zone_of(int pos) {
  int z = 0;
  for (int i = 0; i < 4; i++)
    if (pos >= MSU_ZONE_START[i]) z = i;
  return z;
}

bool is_meteor1(int ft) { return ft == FT_MHRPT1 || ft == FT_MHRPT1N; }

}  // namespace

const int* msu_syncpos() { return g_msu_syncpos; }

MHRPTHDR* read_mhrpthdr(FILE* fp, int file_type, MHRPTHDR* h, int* headerless) {
  *h = MHRPTHDR{};
  *headerless = 0;
  if (!fp) return nullptr;
  std::rewind(fp);
  uint8_t b[MHRPT2_FRAME] = {0};
  if (std::fread(b, 1, 131, fp) != 131) {
    std::printf("??");
    return nullptr;
  }
  if (std::memcmp(b, "MHRP", 4) != 0 && std::memcmp(b, "M2HR", 4) != 0) {
    *headerless = 1;  // data from the start of the file
    std::rewind(fp);
    return h;
  }
  size_t total = is_meteor1(file_type) ? MHRPT1_FRAME : MHRPT2_FRAME;
  size_t rest = std::fread(b + 131, 1, total - 131, fp);
  (void)rest;  // a short header keeps zeros in its tail
  hrpthdr_decode_common(b, h);
  h->widthmax = int16_t(pava::get_le16(b + 146));
  h->alphamax = pava::get_lef(b + 148);
  std::memcpy(h->endhdr, b + 248, 8);
  return h;
}

int write_mhrpthdr(PICINFO* pic) {
  if (!pic->fp) return 1;
  bool m1 = pic->file_type == FT_MHRPT1;
  MHRPTHDR h{};
  std::memcpy(h.sign, m1 ? "MHRP" : "M2HR", 4);
  if (pic->width == 0) pic->width = m1 ? 1540 : 1570;
  pic->fri = calc_mhrptframeinfo(pic->file_type, pic->channels_recorded, pic->width);
  hrpthdr_from_pic(pic, &h);
  h.widthmax = int16_t(m1 ? 1540 : 1570);
  h.alphamax = 55.4f;
  h.hdrlen = 256;
  uint8_t b[MHRPT2_FRAME] = {0};
  hrpthdr_encode_common(&h, b);
  pava::put_le16(b + 146, uint16_t(h.widthmax));
  pava::put_lef(b + 148, h.alphamax);
  std::memcpy(b + 248, "END_HDR_", 8);
  std::fwrite(b, 1, m1 ? MHRPT1_FRAME : MHRPT2_FRAME, pic->fp);
  return 0;
}

FRAMEINFO calc_mhrptframeinfo(int file_type, const int* chans, int width) {
  FRAMEINFO f{};
  f.header_len = is_meteor1(file_type) ? 50 : 0;
  for (int k = 1; k <= 25; k++)
    if (chans[k]) f.inter_chan++;
  f.words_per_frame = f.inter_chan * width + (chans[0] ? f.header_len : 0);
  f.words_per_line = f.words_per_frame;
  f.bytes_per_line = MHRPT_LINEBYTES;
  return f;
}

int read_meteor_hdr(PICINFO* pic) {
  int ft = pic->file_type;
  bool m1 = is_meteor1(ft);
  MHRPTHDR h;
  int headerless = 0;
  if (!read_mhrpthdr(pic->fp, ft, &h, &headerless)) return 'r';
  hrpthdr_to_pic(&h, pic);
  pic->width = m1 ? 1540 : 1570;
  long size = pava_file_size(pic->fp);
  pic->height = size > 256 ? int((size - 256) / 512 / 25) : 0;
  std::memset(pic->channels_recorded, 0, sizeof pic->channels_recorded);
  for (int i = 0; i <= MHRPT_NCHAN; i++) pic->channels_recorded[i] = 1;
  pic->nr_chan = MHRPT_NCHAN;
  pic->depth = 10;
  pic_grey_clrmap(pic);
  pic->lines_per_sec = 6;
  pic->width_original = pic->width;
  pic->max_sens_angle = 55.4f;
  pic->sat_type = m1 ? M1HRPT : M2HRPT;
  pic->sat_id = m1 ? 257 : 258;
  if (!pic->sat_name[0])
    pava::copy_text(pic->sat_name, spacecrftaddr2name(pic->sat_id, pic->sat_type));
  if (m1) {
    std::rewind(pic->fp);
    if (!search_startofline(pic->fp, 1)) return 'p';
    pic->pic_strt = std::ftell(pic->fp);
    pic->file_type = FT_MHRPT1;
    pic->fri = calc_mhrptframeinfo(FT_MHRPT1, pic->channels_recorded, pic->width);
  } else {
    pic->pic_strt = 0;
    pic->fri = calc_mhrptframeinfo(FT_MHRPT2, pic->channels_recorded, pic->width);
    if (ft == FT_MHRPT2N) pic->fri.header_len = 0;
    pic->file_type = FT_MHRPT2;
    if (!get_msupos(pic->fp)) return 'p';
  }
  return 0;
}

int m1hrpt_is_startframe(const uint8_t* frame) { return line_sync_at(frame + 22); }

int m2hrpt_is_startframe(const uint8_t* frame) {
  for (int z = 0; z < 4; z++)
    for (int p = MSU_ZONE_START[z]; p < MSU_ZONE_START[z] + MSU_ZONE_LEN[z] && p + 8 <= 1024; p++)
      if (line_sync_at(frame + p)) return p;
  return 0;
}

int search_startofline(FILE* fp, int mode) {
  std::rewind(fp);
  if (mode == 2) return 1;
  uint8_t frame[MHRPT1_FRAME];
  while (std::fread(frame, 1, sizeof frame, fp) == sizeof frame) {
    if (m1hrpt_is_startframe(frame)) {
      std::fseek(fp, -long(sizeof frame), SEEK_CUR);
      return 1;
    }
  }
  return 0;
}

int search_msu(FILE* fp) {
  g_msu_syncpos[0] = g_msu_syncpos[1] = 0;
  if (!fp) return 0;
  std::rewind(fp);
  std::vector<uint8_t> cur(MHRPT2_FRAME), next(MHRPT2_FRAME);
  if (std::fread(cur.data(), 1, MHRPT2_FRAME, fp) != size_t(MHRPT2_FRAME)) return 0;
  int entry = 0, seen = 0;
  int pos[2] = {-1, -1};
  // A candidate is an exact line sync inside a zone whose frame is followed by
  // a frame that starts with the sync marker. An entry is taken once its
  // position has come back more than three times.
  while (std::fread(next.data(), 1, MHRPT2_FRAME, fp) == size_t(MHRPT2_FRAME)) {
    if (asm_strict(next.data())) {
      for (int p = MSU_ZONE_START[0]; p + 8 <= MHRPT2_FRAME; p++) {
        if (std::memcmp(cur.data() + p, MSU_SYNC, 8) != 0) continue;
        if (entry == 1 && p == pos[0]) continue;
        if (seen > 0 && p == pos[entry]) {
          seen++;
        } else {
          pos[entry] = p;
          seen = 1;
        }
        if (seen - 1 > 3) {
          entry++;
          seen = 0;
          if (entry == 2) break;
        }
      }
    }
    if (entry == 2) break;
    std::swap(cur, next);
  }
  std::rewind(fp);
  if (entry < 2) return 0;
  g_msu_syncpos[0] = std::min(pos[0], pos[1]);
  g_msu_syncpos[1] = std::max(pos[0], pos[1]);
  return 1;
}

int get_msupos(FILE* fp) { return search_msu(fp); }

int gotosync(FILE* fp, uint8_t* frame) {
  while (std::fread(frame, 1, MHRPT2_FRAME, fp) == size_t(MHRPT2_FRAME)) {
    if (line_sync_at(frame + g_msu_syncpos[0])) return zone_of(g_msu_syncpos[0]);
    if (line_sync_at(frame + g_msu_syncpos[1])) return 4 + zone_of(g_msu_syncpos[1]);
  }
  return -1;
}

void msu2line(const uint8_t* frame, int start, int length, int piece, uint16_t* words, int nwords,
              MSU_UNPACK* st) {
  if (piece == 0) st->k = 0;
  for (int i = 0; i < length; i++) {
    st->grp[st->k % 5] = frame[start + i];
    if (st->k % 5 == 4) {
      // Group g: channel g mod 6, pixels (g / 6) * 4 .. + 3.
      long g = st->k / 5;
      int chan = int(g % MHRPT_NCHAN);
      long pix = (g / MHRPT_NCHAN) * 4;
      uint16_t w[4];
      hpt_unpack(st->grp, w);
      for (int j = 0; j < 4; j++) {
        long idx = (pix + j) * MHRPT_NCHAN + chan;
        if (idx < nwords) words[idx] = w[j];
      }
    }
    st->k++;
  }
}

void mn1frame2line(const uint8_t* frame, int fi, uint16_t* words, int nwords, MSU_UNPACK* st) {
  int start = fi == 0 ? 72 : 22;
  msu2line(frame, start, 254 - start, fi, words, nwords, st);
}

void mn2frame2line(const uint8_t* frame, int start, int length, int piece, uint16_t* words,
                   int nwords, MSU_UNPACK* st) {
  msu2line(frame, start, length, piece, words, nwords, st);
}

namespace {

// Reference for the line times: the header's start time, or the file's
// modification time for headerless files (the frames carry no date).
struct tm meteor_reference(const PICINFO* pic) {
  struct tm ref = pic->picture_time;
  if (ref.tm_year == 0 && ref.tm_mday == 0) ref = file_reference_time(pic->file_name, pic->fp);
  pava::mktime_utc(&ref);
  return ref;
}

void words_to_samples(XLINE* l, const uint16_t* words, int width) {
  for (int p = 0; p < width; p++)
    for (int c = 0; c < MHRPT_NCHAN; c++) l->line[c][p] = words[p * MHRPT_NCHAN + c];
}

}  // namespace

XLINE* read_mhrpt1_all(PICINFO* pic) {
  FILE* fp = pic->fp;
  if (!fp) return nullptr;
  int width = pic->width;
  int nwords = width * MHRPT_NCHAN;
  std::vector<uint8_t> buf(MHRPT_LINEBYTES);
  std::vector<uint16_t> words(static_cast<size_t>(nwords));
  struct tm ref = meteor_reference(pic);
  hrpt_frame_time_reset();
  XLINE* head = nullptr;
  XLINE* tail = nullptr;
  int n = 0;
  if (std::fseek(fp, pic->pic_strt, SEEK_SET) != 0) return nullptr;
  while (std::fread(buf.data(), 1, buf.size(), fp) == buf.size()) {
    tail = Create_Xline(&head, MHRPT_NCHAN, width, tail);
    n++;
    tail->linenr = 1;
    MSU_UNPACK st{};
    std::fill(words.begin(), words.end(), 0);
    int sync = m1hrpt_is_startframe(buf.data());
    for (int fi = 0; fi < 50; fi++) {
      const uint8_t* frame = buf.data() + fi * MHRPT1_FRAME;
      if (!asm_lenient(frame)) sync = 0;
      mn1frame2line(frame, fi, words.data(), nwords, &st);
    }
    tail->syncword = sync;
    for (int i = 0; i < 50; i++) tail->line_hdr[i] = buf[22 + i];
    tail->tm_ms = hrpt_frame_extr_time(tail->line_hdr, FT_MHRPT1, &ref);
    words_to_samples(tail, words.data(), width);
  }
  pic->height = n;
  pic->valid_time = correct_time(head, pic->lines_per_sec) != 0;
  return head;
}

XLINE* read_mhrpt2_all(PICINFO* pic) {
  FILE* fp = pic->fp;
  if (!fp) return nullptr;
  int width = pic->width;
  int nwords = width * MHRPT_NCHAN;
  std::vector<uint8_t> frame(MHRPT2_FRAME);
  std::vector<uint16_t> words(static_cast<size_t>(nwords));
  struct tm ref = meteor_reference(pic);
  hrpt_frame_time_reset();
  XLINE* head = nullptr;
  XLINE* tail = nullptr;
  int n = 0;
  std::rewind(fp);
  for (;;) {
    int z = gotosync(fp, frame.data());
    if (z < 0) break;
    int syncpos = z < 4 ? g_msu_syncpos[0] : g_msu_syncpos[1];
    int zone = z & 3;
    tail = Create_Xline(&head, MHRPT_NCHAN, width, tail);
    tail->linenr = 1;
    std::fill(words.begin(), words.end(), 0);
    MSU_UNPACK st{};
    int sync = asm_lenient(frame.data());
    // Piece 0: from 50 bytes after the sync to the end of its zone.
    int start = syncpos + 50;
    int end = MSU_ZONE_START[zone] + MSU_ZONE_LEN[zone];
    if (start < end) mn2frame2line(frame.data(), start, end - start, 0, words.data(), nwords, &st);
    for (int i = 0; i < 20 && syncpos + i < MHRPT2_FRAME; i++)
      tail->line_hdr[i] = frame[syncpos + i];
    bool eof = false;
    for (int piece = 1; piece < 52; piece++) {
      if (++zone == 4) {
        if (std::fread(frame.data(), 1, MHRPT2_FRAME, fp) != size_t(MHRPT2_FRAME)) {
          eof = true;
          break;
        }
        if (!asm_lenient(frame.data())) sync = 0;
        zone = 0;
      }
      mn2frame2line(frame.data(), MSU_ZONE_START[zone], MSU_ZONE_LEN[zone], piece, words.data(),
                    nwords, &st);
    }
    tail->syncword = sync;
    tail->tm_ms = hrpt_frame_extr_time(tail->line_hdr, FT_MHRPT2, &ref);
    words_to_samples(tail, words.data(), width);
    n++;
    if (eof || std::fread(frame.data(), 1, MHRPT2_FRAME, fp) != size_t(MHRPT2_FRAME)) break;
    std::fseek(fp, -long(MHRPT2_FRAME), SEEK_CUR);
  }
  pic->height = n;
  pic->valid_time = correct_time(head, pic->lines_per_sec) != 0;
  return head;
}

int write_start(FILE* fp, int with_line_sync) {
  uint8_t b[72] = {0};
  std::memcpy(b, kAsm, 4);
  int n = 22;
  if (with_line_sync) {
    std::memcpy(b + 22, MSU_SYNC, 8);
    n = 72;
  }
  std::fwrite(b, 1, size_t(n), fp);
  return n;
}

int write_mhrpt1_line(PICINFO* pic, const uint16_t* words) {
  FILE* fp = pic->fp;
  if (!fp) return 0;
  int nwords = (pic->width ? pic->width : 1540) * MHRPT_NCHAN;
  std::vector<uint8_t> out;
  out.reserve(MHRPT_LINEBYTES);
  int fpos = -1;  // bytes in the current frame; -1: no frame started
  auto emit = [&](uint8_t byte, int block_word) {
    if (fpos == 254) {
      out.push_back(0), out.push_back(0);  // a full frame closes with two zeros
      fpos = -1;
    }
    if (fpos < 0) {
      bool line_sync = block_word == 0 || block_word >= 9216;
      uint8_t s[72] = {0};
      std::memcpy(s, kAsm, 4);
      if (line_sync) std::memcpy(s + 22, MSU_SYNC, 8);
      fpos = line_sync ? 72 : 22;
      out.insert(out.end(), s, s + fpos);
    }
    out.push_back(byte);
    fpos++;
  };
  // Blocks of 24 words: four pixels of the six channels; each channel's four
  // words pack into five bytes.
  for (int w0 = 0; w0 < nwords; w0 += 24) {
    for (int c = 0; c < MHRPT_NCHAN; c++) {
      uint16_t w[4];
      for (int j = 0; j < 4; j++) {
        int idx = w0 + j * MHRPT_NCHAN + c;
        w[j] = idx < nwords ? words[idx] : 0;
      }
      uint8_t b[5];
      hpt_pack(w, b);
      for (uint8_t byte : b) emit(byte, w0);
    }
  }
  out.push_back(0), out.push_back(0);
  std::fwrite(out.data(), 1, out.size(), fp);
  return 1;
}

int dump_mhrpt1_line(PICINFO* pic, const uint16_t* words) {
  if (!pic->fp) return 0;
  std::vector<uint8_t> b(size_t(std::max(pic->fri.words_per_frame, 0)));
  for (size_t i = 0; i < b.size(); i++) b[i] = uint8_t(words[i]);
  if (b.size() > 3) b[3] = uint8_t((words[3] & ~1u) | ((words[3] >> 4) & 1u));
  std::fwrite(b.data(), 1, b.size(), pic->fp);
  return 1;
}
