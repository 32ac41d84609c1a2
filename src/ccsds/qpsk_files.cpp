// QPSK record files: header block, reading lines, statistics.
#include "ccsds/qpsk_files.h"

#include <cmath>
#include <cstring>
#include <vector>

#include "ccsds/cadu.h"
#include "ccsds/fy3.h"
#include "ccsds/rs.h"
#include "ccsds/sync.h"
#include "common/bytes.h"
#include "common/text.h"
#include "common/timeutil.h"
#include "formats/framehdr.h"

namespace {

constexpr double kPi = 3.14159265;
// Upper bound of lines read from one file (over half an hour of AVHRR): a
// damaged file that starts a packet in every unit must not exhaust memory.
constexpr int kMaxLines = 12000;

// Units of a record file as the readers want them: derandomised when the file
// still carries the sequence, Reed-Solomon corrected when asked.
struct UnitReader {
  FILE* fp;
  bool derand;
  bool rs;
  uint8_t f[CADU_LEN];
  bool next() {
    if (std::fread(f, 1, CADU_LEN, fp) != size_t(CADU_LEN)) return false;
    if (derand) ccsds_derandomise(f + 4, CADU_LEN - 4);
    if (rs) rs_decode_frm(f);
    return true;
  }
};

UnitReader open_units(PICINFO* pic, VIEWINFO* view) {
  std::fseek(pic->fp, pic->pic_strt, SEEK_SET);
  bool rs = view && view->reed_solomon && !pic->reed_solomon;
  return UnitReader{pic->fp, pic->derandomise != 0, rs, {}};
}

void grey_clrmap(PICINFO* pic) {
  pic->clrmap.size = 1024;
  for (int i = 0; i < 1024; i++) {
    int v = i >> 2;
    pic->clrmap.red[i] = pic->clrmap.green[i] = pic->clrmap.blue[i] = v;
  }
}

bool plausible_time(const struct tm& t) {
  return t.tm_sec >= 0 && t.tm_sec <= 60 && t.tm_min >= 0 && t.tm_min < 60 && t.tm_hour >= 0 &&
         t.tm_hour < 24 && t.tm_mday >= 1 && t.tm_mday <= 31 && t.tm_mon >= 0 && t.tm_mon < 12 &&
         t.tm_year >= 70 && t.tm_year < 250;
}

float finite_or_zero(float f) { return std::isfinite(f) ? f : 0.0f; }

// Start time from a packet's day count (since 2000-01-01) and milliseconds.
void time_from_packet(PICINFO* pic, const CCSDS_PACKET* pk) {
  const CCSDS_DATA_FLD1& f = pk->ccsds_data_fld1;
  if (f.sec_hdr_day <= 0 || f.sec_hdr_msec >= 86400000u) return;
  struct tm t {};
  t.tm_year = 100;
  t.tm_mday = 1 + f.sec_hdr_day;
  t.tm_sec = int(f.sec_hdr_msec / 1000);
  pava::mktime_utc(&t);
  pic->picture_time = t;
  pic->valid_time = 1;
}

// Spacecraft identifier seen in more than ten units in a row, 0 if none.
int probe_scid(UnitReader& u, long start) {
  std::fseek(u.fp, start, SEEK_SET);
  bool rs = u.rs;
  u.rs = false;
  int last = -1, run = 0, id = 0;
  for (int n = 0; n < 400 && u.next(); n++) {
    VCDU v;
    read_vcduhdr(&v, u.f + 4);
    run = v.sc_id == last ? run + 1 : 1;
    last = v.sc_id;
    if (run > 11) {
      id = last;
      break;
    }
  }
  u.rs = rs;
  std::fseek(u.fp, start, SEEK_SET);
  return id;
}

const char* fy3_name(int scid) {
  switch (scid) {
    case 49:
      return "FY3-A";
    case 50:
      return "FY3-B";
    case 51:
      return "FY3-C";
    case 52:
      return "FY3-D";
    case 56:
      return "FY3-E";
    default:
      return "FY3";
  }
}

const char* metop_name(int scid) {
  switch (scid) {
    case 11:
      return "METOP-B";
    case 12:
      return "METOP-A";
    case 13:
      return "METOP-C";
    default:
      return "METOP";
  }
}

// One line record from a converted line: channels from word first + nch*i + c.
XLINE* add_line(PICINFO* pic, XLINE** head, XLINE* tail, const uint16_t* words, int first, int nch,
                int linenr, int sync) {
  XLINE* l = Create_Xline(head, nch, 2048, tail);
  for (int c = 0; c < nch; c++)
    for (int i = 0; i < 2048; i++) l->line[c][i] = words[first + nch * i + c];
  std::memcpy(l->line_hdr, words, XLINE_HDRWORDS * sizeof(uint16_t));
  l->tm_ms = hrpt_frame_extr_time(l->line_hdr, pic->file_type, &pic->picture_time);
  l->linenr = linenr;
  l->dec_sync = sync;
  l->syncword = 1;
  return l;
}

// The AVHRR path shared by Metop, NOAA-20/21 and Aqua files.
XLINE* read_avhrr_all(PICINFO* pic, VIEWINFO* view) {
  if (!pic->fp) return nullptr;
  mtp_reset();
  UnitReader u = open_units(pic, view);
  std::vector<uint16_t> line(MTP_LINE_WORDS);
  int fill_gaps = view ? view->destrip : 0;
  XLINE *head = nullptr, *tail = nullptr;
  int n = 0, sync = 1;
  while (n < kMaxLines && u.next()) {
    int r = temp_qnoaa_avhrr_frame2line(u.f, line.data(), fill_gaps);
    if (r < MTP_NOT_AVHRR) continue;  // another virtual channel
    sync &= is_ahrptsync(u.f, 0) ? 1 : 0;
    if (r != MTP_LINE) continue;
    if (!pic->valid_time) time_from_packet(pic, mtp_last_packet());
    tail = add_line(pic, &head, tail, line.data(), 750, 5, n, sync);
    n++;
    sync = 1;
  }
  pic->height = n;
  return head;
}

void set_avhrr_geometry(PICINFO* pic) {
  pic->width = 2048;
  pic->width_original = 2048;
  pic->depth = 10;
  pic->nr_chan = 5;
  pic->lines_per_sec = 6;
  pic->max_sens_angle = 55.4f;
  for (int k = 0; k < 26; k++) pic->channels_recorded[k] = k <= 5;
  pic->fri = FRAMEINFO{};
  pic->fri.words_per_frame = CADU_LEN;
  pic->fri.words_per_line = 2048 * 5;
  pic->fri.bytes_per_line = CADU_LEN;
  pic->fri.header_len = 750;
  pic->fri.leader_len = 100;
  pic->fri.inter_chan = 5;
  grey_clrmap(pic);
}

}  // namespace

bool qpsk_is_hdr_block(const uint8_t* b) {
  return (std::memcmp(b + 16, "Firmware", 8) == 0 || std::memcmp(b + 16, "firmware", 8) == 0) &&
         std::memcmp(b + 106, "RS", 2) == 0;
}

// The sequence is itself a valid interleaved codeword, so Reed-Solomon alone
// cannot tell randomised units from plain ones. Each reading (as stored,
// derandomised) scores one point per unit that decodes, carries transfer frame
// version 01, keeps the previous unit's spacecraft, and continues its virtual
// channel's counter; the derandomised reading has to win.
bool ccsds_probe_randomised(FILE* fp, int conventional) {
  long start = std::ftell(fp);
  int score[2] = {0, 0};
  int prev_scid[2] = {-1, -1};
  long prev_cnt[2][64];
  for (auto& row : prev_cnt)
    for (long& c : row) c = -1;
  uint8_t f[CADU_LEN];
  for (int n = 0; n < 16 && std::fread(f, 1, CADU_LEN, fp) == size_t(CADU_LEN); n++) {
    for (int k = 0; k < 2; k++) {
      uint8_t g[CADU_LEN];
      std::memcpy(g, f, CADU_LEN);
      if (k == 1) ccsds_derandomise(g + 4, CADU_LEN - 4);
      if (Decode_RS(g, 4, conventional) < 256) score[k]++;
      VCDU v;
      read_vcduhdr(&v, g + 4);
      if (v.version == 1) score[k]++;
      if (v.sc_id == prev_scid[k]) score[k]++;
      if (prev_cnt[k][v.vc_id] >= 0 && ((prev_cnt[k][v.vc_id] + 1) & 0xFFFFFF) == v.cnt) score[k]++;
      prev_scid[k] = v.sc_id;
      prev_cnt[k][v.vc_id] = v.cnt;
    }
  }
  std::fseek(fp, start, SEEK_SET);
  return score[1] > score[0];
}

void read_fy31_hdr(PICINFO* pic) {
  bool d_or_e = std::strstr(pic->sat_name, "-D") || std::strstr(pic->sat_name, "-E");
  pic->width = 2048;
  pic->width_original = 2048;
  pic->depth = 10;
  pic->nr_chan = d_or_e ? 25 : 10;
  pic->lines_per_sec = 6;
  grey_clrmap(pic);
  pic->fri = FRAMEINFO{};
  pic->fri.words_per_frame = CADU_LEN;
  pic->fri.words_per_line = FY3_LINE_WORDS;
  pic->fri.header_len = 1600;
  pic->fri.bytes_per_line = 25600;
  pic->fri.inter_chan = 10;
  pic->max_sens_angle = 55.4f;
  pic->file_type = FT_FY3;
  pic->sat_type = FY3;
  for (int k = 0; k < 26; k++) pic->channels_recorded[k] = k >= 1 && k <= 10;
}

int read_qpsk_hdr(PICINFO* pic, VIEWINFO*) {
  if (!pic->fp) return 'o';
  FILE* fp = pic->fp;
  uint8_t b[QPSK_HDR_LEN] = {0};
  std::fseek(fp, 0, SEEK_SET);
  size_t got = std::fread(b, 1, QPSK_HDR_LEN, fp);
  pic->pic_strt = 0;
  pic->reed_solomon = 0;
  if (got == size_t(QPSK_HDR_LEN) && qpsk_is_hdr_block(b)) {
    pic->pic_strt = QPSK_HDR_LEN;
    pava::copy_text(pic->firmware, "");
    std::memcpy(pic->firmware, b + 25, 4);
    pic->firmware[4] = 0;
    pic->orbit.offset_sec = b[29];
    struct tm t {};
    t.tm_sec = int16_t(pava::get_le16(b + 30));
    t.tm_min = int16_t(pava::get_le16(b + 32));
    t.tm_hour = int16_t(pava::get_le16(b + 34));
    t.tm_mday = int16_t(pava::get_le16(b + 36));
    t.tm_mon = int16_t(pava::get_le16(b + 38));
    t.tm_year = int16_t(pava::get_le16(b + 40));
    if (plausible_time(t)) {
      pava::mktime_utc(&t);
      pic->picture_time = t;
      pic->valid_time = 1;
    } else {
      pic->picture_time = tm{};
      pic->valid_time = 0;
    }
    KEPLER& k = pic->kepler;
    k.epoch_year = int32_t(pava::get_le32(b + 56));
    k.epoch_day = finite_or_zero(pava::get_lef(b + 60));
    k.decay_rate = finite_or_zero(pava::get_lef(b + 64));
    k.inclination = float(finite_or_zero(pava::get_lef(b + 68)) * kPi / 180);
    k.raan = float(finite_or_zero(pava::get_lef(b + 72)) * kPi / 180);
    k.eccentricity = finite_or_zero(pava::get_lef(b + 76));
    k.perigee = float(finite_or_zero(pava::get_lef(b + 80)) * kPi / 180);
    k.anomaly = float(finite_or_zero(pava::get_lef(b + 84)) * kPi / 180);
    k.motion = finite_or_zero(pava::get_lef(b + 88));
    k.epoch_rev = int32_t(pava::get_le32(b + 92));
    pic->reed_solomon = b[109] == 1;
    pic->scan_ver = b[111] ? S_N : N_S;
    pic->orbit.offset_lon = finite_or_zero(pava::get_lef(b + 131));
  } else {
    pic->valid_time = 0;
    pic->scan_ver = N_S;
  }
  pic->scan_hor = W_E;

  // At least one whole unit must follow.
  std::fseek(fp, 0, SEEK_END);
  long size = std::ftell(fp);
  if (size - pic->pic_strt < CADU_LEN) return 'r';
  std::fseek(fp, pic->pic_strt, SEEK_SET);
  pic->derandomise = ccsds_probe_randomised(fp, 0) ? 1 : 0;
  UnitReader u{fp, pic->derandomise != 0, false, {}};
  pic->sat_id = probe_scid(u, pic->pic_strt);

  switch (pic->file_type) {
    case FT_METOP:
      pic->sat_type = METOP;
      pava::copy_text(pic->sat_name, metop_name(pic->sat_id));
      set_avhrr_geometry(pic);
      break;
    case FT_AQUA:
      pic->sat_type = AQUA;
      pava::copy_text(pic->sat_name, "AQUA");
      set_avhrr_geometry(pic);
      break;
    case FT_QNOAA20:
    case FT_QNOAA21:
      pic->sat_type = pic->file_type == FT_QNOAA20 ? QNOAA20 : QNOAA21;
      pava::copy_text(pic->sat_name, pic->file_type == FT_QNOAA20 ? "NOAA20" : "NOAA21");
      set_avhrr_geometry(pic);
      break;
    case FT_FY3:
      pava::copy_text(pic->sat_name, fy3_name(pic->sat_id));
      read_fy31_hdr(pic);
      break;
    default:
      return 't';
  }
  pic->height = 0;
  std::fseek(fp, pic->pic_strt, SEEK_SET);
  return 0;
}

XLINE* read_metop_all(PICINFO* pic, VIEWINFO* view) { return read_avhrr_all(pic, view); }
XLINE* read_aqua_all(PICINFO* pic, VIEWINFO* view) { return read_metop_all(pic, view); }
XLINE* read_qnoaa_all(PICINFO* pic, VIEWINFO* view) { return read_avhrr_all(pic, view); }

XLINE* read_fy3_all(PICINFO* pic, VIEWINFO* view) {
  if (!pic->fp) return nullptr;
  bool d_or_e = std::strstr(pic->sat_name, "-D") || std::strstr(pic->sat_name, "-E");
  int vcid_value = d_or_e ? fy3_mersi : fy3_virr_day;
  int nch = pic->nr_chan > 0 && pic->nr_chan <= 10 ? pic->nr_chan : 10;
  fy3_reset();
  UnitReader u = open_units(pic, view);
  std::vector<uint16_t> line(FY3_LINE_WORDS);
  int fill_gaps = view ? view->destrip : 0;
  XLINE *head = nullptr, *tail = nullptr;
  int n = 0, sync = 1;
  while (n < kMaxLines && u.next()) {
    if (!fy3_frame2line(u.f, vcid_value, line.data(), fill_gaps)) {
      sync &= is_ahrptsync(u.f, 1) ? 1 : 0;
      continue;
    }
    // MERSI (FY-3D/E) is only dumped: no picture lines.
    if (vcid_value == fy3_mersi) continue;
    tail = add_line(pic, &head, tail, line.data(), 1600, nch, n, sync);
    n++;
    sync = 1;
  }
  pic->height = n;
  return head;
}

XLINE* read_qpsk_all(PICINFO* pic, VIEWINFO* view) {
  switch (pic->file_type) {
    case FT_METOP:
      return read_metop_all(pic, view);
    case FT_AQUA:
      return read_aqua_all(pic, view);
    case FT_QNOAA20:
    case FT_QNOAA21:
      return read_qnoaa_all(pic, view);
    case FT_FY3:
      return read_fy3_all(pic, view);
    default:
      return nullptr;
  }
}

int write_metfy_hdr_file(PICINFO* pic, FILE* file, const char* id) {
  if (!file) return 1;
  uint8_t b[QPSK_HDR_LEN] = {0};
  b[0] = 0x1A, b[1] = 0xCF, b[2] = 0xFC, b[3] = 0x1D;
  pava::copy_text(reinterpret_cast<char*>(b + 4), 8, id);
  std::memcpy(b + 16, "Firmware=", 9);
  std::memcpy(b + 25, pic->firmware, 4);
  b[29] = uint8_t(pic->orbit.offset_sec);
  pic->orbit.start_tm_comp = pic->orbit.start_tm;
  const struct tm& t = pic->picture_time;
  const int fields[9] = {t.tm_sec,  t.tm_min,  t.tm_hour, t.tm_mday, t.tm_mon,
                         t.tm_year, t.tm_wday, t.tm_yday, t.tm_isdst};
  for (int i = 0; i < 9; i++) pava::put_le16(b + 30 + 2 * i, uint16_t(fields[i]));
  const KEPLER& k = pic->kepler;
  pava::put_le32(b + 56, uint32_t(k.epoch_year));
  pava::put_lef(b + 60, float(k.epoch_day));
  pava::put_lef(b + 64, k.decay_rate);
  pava::put_lef(b + 68, float(k.inclination * 180 / kPi));
  pava::put_lef(b + 72, float(k.raan * 180 / kPi));
  pava::put_lef(b + 76, k.eccentricity);
  pava::put_lef(b + 80, float(k.perigee * 180 / kPi));
  pava::put_lef(b + 84, float(k.anomaly * 180 / kPi));
  pava::put_lef(b + 88, k.motion);
  pava::put_le32(b + 92, uint32_t(k.epoch_rev));
  std::memcpy(b + 106, "RS=", 3);
  b[109] = pic->reed_solomon ? 1 : 0;
  b[111] = (pic->scan_ver != scan_unk && pic->scan_ver != N_S) ? 1 : 0;
  b[130] = 1;
  pava::put_lef(b + 131, pic->orbit.offset_lon);
  std::fseek(file, 0, SEEK_SET);
  std::fwrite(b, 1, QPSK_HDR_LEN, file);
  std::fseek(file, 0, SEEK_END);
  return 0;
}

int write_fy3hdr_file(PICINFO* pic, FILE* file) { return write_metfy_hdr_file(pic, file, "FY3x"); }
int write_metophdr_file(PICINFO* pic, FILE* file) {
  return write_metfy_hdr_file(pic, file, "METOPx");
}
int write_qnoaahdr_file(PICINFO* pic, FILE* file) {
  return write_metfy_hdr_file(pic, file, pic->sat_type == QNOAA20 ? "NOAA20" : "NOAA21");
}
int write_aquahdr_file(PICINFO* pic, FILE* file) { return write_metfy_hdr_file(pic, file, "AQUA"); }

int dump_METOP_line(PICINFO* pic, const uint16_t* frame_words) {
  if (!pic->fp) return 0;
  int n = pic->fri.words_per_frame;
  if (n <= 0 || n > CADU_LEN) n = CADU_LEN;
  uint8_t b[CADU_LEN];
  for (int i = 0; i < n; i++) b[i] = uint8_t(frame_words[i]);
  if (n > 3) b[3] = uint8_t((b[3] & 0xFE) | ((frame_words[3] >> 4) & 1));
  std::fwrite(b, 1, size_t(n), pic->fp);
  return 1;
}

long ccsds_vcid_stats(FILE* fp, FILE* out, int conventional, int derand_mode) {
  std::rewind(fp);
  uint8_t f[CADU_LEN];
  long start = 0;
  if (std::fread(f, 1, CADU_LEN, fp) == size_t(CADU_LEN) && qpsk_is_hdr_block(f))
    start = QPSK_HDR_LEN;
  std::fseek(fp, start, SEEK_SET);
  bool derand = derand_mode == CCSDS_DERAND_YES ||
                (derand_mode == CCSDS_DERAND_AUTO && ccsds_probe_randomised(fp, conventional));
  int count[20] = {0};
  int scid = 0, last_id = -1, run = 0;
  long prev5 = 0, rest = 0;
  size_t got;
  while ((got = std::fread(f, 1, CADU_LEN, fp)) == size_t(CADU_LEN)) {
    if (derand) ccsds_derandomise(f + 4, CADU_LEN - 4);
    VCDU v;
    read_vcduhdr(&v, f + 4);
    run = v.sc_id == last_id ? run + 1 : 1;
    last_id = v.sc_id;
    if (run > 10) scid = v.sc_id;
    if (v.vc_id < 20) count[v.vc_id]++;
    if (v.vc_id == 5) {
      std::fprintf(out, "vcdu.cnt=%d  increment=%ld\n", v.cnt, prev5 - v.cnt);
      prev5 = v.cnt;
    }
  }
  rest = long(got);
  std::fprintf(out, "scid=%d\n", scid);
  for (int k = 0; k < 20; k++) {
    if (!count[k]) continue;
    std::fprintf(out, "VCID %2d: %5d frames", k, count[k]);
    if (scid == 12 && k == 9) std::fprintf(out, "  (AVHRR)");
    if (scid == 50 && k == 3) std::fprintf(out, "  (MERSI)");
    if (scid == 50 && k == 5) std::fprintf(out, "  (VIRR day)");
    if (scid == 50 && k == 9) std::fprintf(out, "  (VIRR night)");
    std::fprintf(out, "\n");
  }
  return rest;
}

void pri_vcid(FILE* fp) { ccsds_vcid_stats(fp, stdout, 0, CCSDS_DERAND_AUTO); }
