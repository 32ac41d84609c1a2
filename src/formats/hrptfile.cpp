// Raw HRPT-family recording files.
//
// Header, 16000 bytes, little-endian (offsets of the common part):
//   0 sign[4]  4 sat_name[16]  20 kan_tot  21 filetype  22 width  24 height
//   26 depth  28 offset_gmt  29 offset_sec  30 tm_comp (9 x int16)
//   48 KEPLER1 (48 bytes)  96 hdr_version[8]  104 hdrlen  106 x_offset
//   108 y_offset  110 satdir  111 reserve2  112 tm_satstrt (9 x int16)
//   130 tm_comp_sat_vlg  131 offset_lon (float)
// then by layout (HRPT | CHRPT): dmin 135|135, dmax 151|155, ro go bo 167|175,
// kr kg kb 173|181 (8|10 floats each), channel 269|301 (9|11 bytes),
// widthmax 278|312, alphamax 280|314, colour tables 284|318 (3 x 5120 zero),
// reserve, "END_HDR_" at 15992.
//
// Line record: "FRAME"/"FRAMe", uint16 byte count, then the words packed four
// to five bytes. The reader starts at the first data byte of the first record
// (pic_strt = 16007), so the 7 bytes after a line's data are the prefix of the
// following record: its fifth byte tells whether that line was found by the
// decoder's sync.
#include "formats/hrptfile.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <thread>
#include <vector>

#include "common/bytes.h"
#include "common/text.h"
#include "formats/correct_time.h"
#include "formats/framehdr.h"
#include "formats/meteor.h"
#include "formats/open_codes.h"

using pava::get_le16;
using pava::get_le32;
using pava::get_lef;
using pava::put_le16;
using pava::put_le32;
using pava::put_lef;

namespace {

constexpr double kPi = 3.14159265;

// Offsets of the parts that differ between the HRPT and the CHRPT layout.
struct HdrLayout {
  int nchan;  // entries of dmin, dmax, kr, kg, kb
  int dmin, dmax, ro, kr, kg, kb, channel, nslots, widthmax, alphamax;
};
const HdrLayout kLayouts[2] = {
    {8, 135, 151, 167, 173, 205, 237, 269, 9, 278, 280},    // HRPTHDR
    {10, 135, 155, 175, 181, 221, 261, 301, 11, 312, 314},  // CHRPTHDR
};

void put_tm9(uint8_t* p, const int16_t* t) {
  for (int i = 0; i < 9; i++) put_le16(p + 2 * i, uint16_t(t[i]));
}
void get_tm9(const uint8_t* p, int16_t* t) {
  for (int i = 0; i < 9; i++) t[i] = int16_t(get_le16(p + 2 * i));
}

void tm_to9(const struct tm& tm, int16_t* t) {
  const int v[9] = {tm.tm_sec,  tm.tm_min,  tm.tm_hour, tm.tm_mday, tm.tm_mon,
                    tm.tm_year, tm.tm_wday, tm.tm_yday, tm.tm_isdst};
  for (int i = 0; i < 9; i++) t[i] = int16_t(v[i]);
}
struct tm tm_from9(const int16_t* t) {
  struct tm tm {};
  tm.tm_sec = t[0], tm.tm_min = t[1], tm.tm_hour = t[2], tm.tm_mday = t[3], tm.tm_mon = t[4];
  tm.tm_year = t[5], tm.tm_wday = t[6], tm.tm_yday = t[7], tm.tm_isdst = t[8];
  return tm;
}

}  // namespace

void hrpthdr_encode_common(const HRPTHDR* h, uint8_t* b) {
  std::memcpy(b + 0, h->sign, 4);
  std::memcpy(b + 4, h->sat_name, 16);
  b[20] = h->kan_tot;
  b[21] = h->filetype;
  put_le16(b + 22, uint16_t(h->width));
  put_le16(b + 24, uint16_t(h->height));
  put_le16(b + 26, uint16_t(h->depth));
  b[28] = uint8_t(h->offset_gmt);
  b[29] = uint8_t(h->offset_sec);
  put_tm9(b + 30, h->tm_comp);
  const KEPLER1& k = h->kepler;
  put_le32(b + 48, uint32_t(k.noradnr));
  put_le32(b + 52, uint32_t(k.internat));
  put_le32(b + 56, uint32_t(k.epoch_year));
  const float kf[8] = {k.epoch_day,    k.decay_rate, k.inclination, k.raan,
                       k.eccentricity, k.perigee,    k.anomaly,     k.motion};
  for (int i = 0; i < 8; i++) put_lef(b + 60 + 4 * i, kf[i]);
  put_le32(b + 92, uint32_t(k.epoch_rev));
  std::memcpy(b + 96, h->hdr_version, 8);
  put_le16(b + 104, uint16_t(h->hdrlen));
  put_le16(b + 106, uint16_t(h->x_offset));
  put_le16(b + 108, uint16_t(h->y_offset));
  b[110] = h->satdir;
  b[111] = h->reserve2;
  put_tm9(b + 112, h->tm_satstrt);
  b[130] = uint8_t(h->tm_comp_sat_vlg);
  put_lef(b + 131, h->offset_lon);
}

void hrpthdr_decode_common(const uint8_t* b, HRPTHDR* h) {
  std::memcpy(h->sign, b + 0, 4);
  std::memcpy(h->sat_name, b + 4, 16);
  h->kan_tot = b[20];
  h->filetype = b[21];
  h->width = int16_t(get_le16(b + 22));
  h->height = int16_t(get_le16(b + 24));
  h->depth = int16_t(get_le16(b + 26));
  h->offset_gmt = int8_t(b[28]);
  h->offset_sec = int8_t(b[29]);
  get_tm9(b + 30, h->tm_comp);
  KEPLER1& k = h->kepler;
  k.noradnr = int32_t(get_le32(b + 48));
  k.internat = int32_t(get_le32(b + 52));
  k.epoch_year = int32_t(get_le32(b + 56));
  float* kf[8] = {&k.epoch_day,    &k.decay_rate, &k.inclination, &k.raan,
                  &k.eccentricity, &k.perigee,    &k.anomaly,     &k.motion};
  for (int i = 0; i < 8; i++) *kf[i] = get_lef(b + 60 + 4 * i);
  k.epoch_rev = int32_t(get_le32(b + 92));
  std::memcpy(h->hdr_version, b + 96, 8);
  h->hdrlen = int16_t(get_le16(b + 104));
  h->x_offset = int16_t(get_le16(b + 106));
  h->y_offset = int16_t(get_le16(b + 108));
  h->satdir = b[110];
  h->reserve2 = b[111];
  get_tm9(b + 112, h->tm_satstrt);
  h->tm_comp_sat_vlg = char(b[130]);
  h->offset_lon = get_lef(b + 131);
}

void hrpthdr_encode(const HRPTHDR* h, int chrpt, uint8_t* b) {
  const HdrLayout& L = kLayouts[chrpt ? 1 : 0];
  std::memset(b, 0, HRPT_HDRSIZE);
  hrpthdr_encode_common(h, b);
  for (int i = 0; i < L.nchan; i++) {
    put_le16(b + L.dmin + 2 * i, uint16_t(h->dmin[i]));
    put_le16(b + L.dmax + 2 * i, uint16_t(h->dmax[i]));
    put_lef(b + L.kr + 4 * i, h->kr[i]);
    put_lef(b + L.kg + 4 * i, h->kg[i]);
    put_lef(b + L.kb + 4 * i, h->kb[i]);
  }
  put_le16(b + L.ro, uint16_t(h->ro));
  put_le16(b + L.ro + 2, uint16_t(h->go));
  put_le16(b + L.ro + 4, uint16_t(h->bo));
  std::memcpy(b + L.channel, h->channel, size_t(L.nslots));
  put_le16(b + L.widthmax, uint16_t(h->widthmax));
  put_lef(b + L.alphamax, h->alphamax);
  std::memcpy(b + 15992, h->endhdr, 8);
}

void hrpthdr_decode(const uint8_t* b, int chrpt, HRPTHDR* h) {
  const HdrLayout& L = kLayouts[chrpt ? 1 : 0];
  *h = HRPTHDR{};
  hrpthdr_decode_common(b, h);
  for (int i = 0; i < L.nchan; i++) {
    h->dmin[i] = int16_t(get_le16(b + L.dmin + 2 * i));
    h->dmax[i] = int16_t(get_le16(b + L.dmax + 2 * i));
    h->kr[i] = get_lef(b + L.kr + 4 * i);
    h->kg[i] = get_lef(b + L.kg + 4 * i);
    h->kb[i] = get_lef(b + L.kb + 4 * i);
  }
  h->ro = int16_t(get_le16(b + L.ro));
  h->go = int16_t(get_le16(b + L.ro + 2));
  h->bo = int16_t(get_le16(b + L.ro + 4));
  std::memcpy(h->channel, b + L.channel, size_t(L.nslots));
  h->widthmax = int16_t(get_le16(b + L.widthmax));
  h->alphamax = get_lef(b + L.alphamax);
  std::memcpy(h->endhdr, b + 15992, 8);
}

namespace {

int write_hdr_file(FILE* fp, const HRPTHDR* h, int chrpt) {
  if (!fp) return 1;
  std::vector<uint8_t> b(HRPT_HDRSIZE);
  hrpthdr_encode(h, chrpt, b.data());
  std::fwrite(b.data(), 1, b.size(), fp);
  return 0;
}

HRPTHDR* read_hdr_file(FILE* fp, HRPTHDR* h, int chrpt) {
  if (!fp) return nullptr;
  std::rewind(fp);
  std::vector<uint8_t> b(HRPT_HDRSIZE);
  if (std::fread(b.data(), 1, b.size(), fp) != b.size()) return nullptr;
  hrpthdr_decode(b.data(), chrpt, h);
  return h;
}

}  // namespace

int write_hrpt1hdr_file(FILE* fp, const HRPTHDR* h) { return write_hdr_file(fp, h, 0); }
int write_chrpt1hdr_file(FILE* fp, const CHRPTHDR* h) { return write_hdr_file(fp, h, 1); }
HRPTHDR* read_hrpt1hdr_file(FILE* fp, HRPTHDR* h) { return read_hdr_file(fp, h, 0); }
CHRPTHDR* read_chrpt1hdr_file(FILE* fp, CHRPTHDR* h) { return read_hdr_file(fp, h, 1); }

void hrpthdr_from_pic(const PICINFO* pic, HRPTHDR* h) {
  std::memcpy(h->sat_name, pic->sat_name, std::min(sizeof h->sat_name, std::strlen(pic->sat_name)));
  h->width = int16_t(pic->width);
  h->height = int16_t(pic->height);
  h->satdir = pic->scan_ver == N_S ? 0 : 1;
  h->x_offset = int16_t(pic->ox);
  h->y_offset = int16_t(pic->oy);
  const KEPLER& k = pic->kepler;
  h->kepler.epoch_year = k.epoch_year;
  h->kepler.epoch_day = float(k.epoch_day);
  h->kepler.decay_rate = k.decay_rate;
  h->kepler.inclination = float(k.inclination * 180.0 / kPi);
  h->kepler.raan = float(k.raan * 180.0 / kPi);
  h->kepler.eccentricity = k.eccentricity;
  h->kepler.perigee = float(k.perigee * 180.0 / kPi);
  h->kepler.anomaly = float(k.anomaly * 180.0 / kPi);
  h->kepler.motion = k.motion;
  h->kepler.epoch_rev = int32_t(k.epoch_rev);
  tm_to9(pic->picture_time, h->tm_comp);
  tm_to9(pic->orbit.start_tm_sat, h->tm_satstrt);
  h->offset_gmt = int8_t(pic->orbit.offset_gmt);
  h->offset_sec = int8_t(pic->orbit.offset_sec);
  h->offset_lon = pic->orbit.offset_lon;
  h->tm_comp_sat_vlg = pic->orbit.use_sattime ? 's' : 'c';
  std::memcpy(h->hdr_version, "EXT_V004", 8);
  std::memcpy(h->endhdr, "END_HDR_", 8);
}

void hrpthdr_to_pic(const HRPTHDR* h, PICINFO* pic) {
  char name[17] = {0};
  std::memcpy(name, h->sat_name, 16);
  pava::copy_text(pic->sat_name, name);
  pic->width = h->width;
  pic->height = h->height;
  if (h->satdir) {
    pic->scan_hor = E_W, pic->scan_ver = S_N;
  } else {
    pic->scan_hor = W_E, pic->scan_ver = N_S;
  }
  pic->ox = h->x_offset;
  pic->oy = h->y_offset;
  KEPLER& k = pic->kepler;
  k.epoch_year = h->kepler.epoch_year;
  k.epoch_day = h->kepler.epoch_day;
  k.decay_rate = h->kepler.decay_rate;
  k.d_inclination = h->kepler.inclination;
  k.inclination = float(h->kepler.inclination * kPi / 180.0);
  k.d_raan = h->kepler.raan;
  k.raan = float(h->kepler.raan * kPi / 180.0);
  k.eccentricity = h->kepler.eccentricity;
  k.d_perigee = h->kepler.perigee;
  k.perigee = float(h->kepler.perigee * kPi / 180.0);
  k.d_anomaly = h->kepler.anomaly;
  k.anomaly = float(h->kepler.anomaly * kPi / 180.0);
  k.motion = h->kepler.motion;
  k.epoch_rev = h->kepler.epoch_rev;
  pic->picture_time = tm_from9(h->tm_comp);
  pic->orbit.start_tm_comp = pic->picture_time;
  pic->orbit.start_tm_sat = tm_from9(h->tm_satstrt);
  pic->orbit.use_sattime = h->tm_comp_sat_vlg == 's';
  pic->orbit.offset_gmt = h->offset_gmt;
  pic->orbit.offset_sec = h->offset_sec;
  pic->orbit.offset_lon = h->offset_lon;
}

void pic_grey_clrmap(PICINFO* pic) {
  pic->clrmap.size = 1024;
  for (int i = 0; i < 1024; i++)
    pic->clrmap.red[i] = pic->clrmap.green[i] = pic->clrmap.blue[i] = i;
}

int write_hrpt1_hdr(PICINFO* pic) {
  if (!pic->fp) return 1;
  int ft = pic->file_type;
  if (ft == FT_MHRPT1 || ft == FT_MHRPT2) return write_mhrpthdr(pic);
  struct Kind {
    int file_type;
    const char* sign;
    int nchan, width, chrpt, hdrlen;
    float alphamax;
  };
  static const Kind kKinds[] = {{FT_HRPT, "HRPT", 5, 2048, 0, 16000, 55.4f},
                                {FT_CHRPT, "CHRP", 10, 2048, 1, 0, 55.4f},
                                {FT_SEAWIF, "SEAW", 8, 1288, 0, 0, 58.3f}};
  const Kind* kind = nullptr;
  for (const Kind& k : kKinds)
    if (k.file_type == ft) kind = &k;
  if (!kind) return 1;
  auto h = std::make_unique<HRPTHDR>();
  if (!h) return 2;
  std::memcpy(h->sign, kind->sign, 4);
  if (pic->width == 0) pic->width = kind->width;
  h->widthmax = int16_t(kind->width);
  h->alphamax = kind->alphamax;
  for (int i = 0; i < kind->nchan; i++) h->dmin[i] = 0, h->dmax[i] = 1023;
  pic->fri = calc_hrptframeinfo(ft, pic->channels_recorded, pic->width);
  hrpthdr_from_pic(pic, h.get());
  for (int i = 0; i <= kind->nchan; i++) h->channel[i] = uint8_t(pic->channels_recorded[i] ? 1 : 0);
  h->hdrlen = int16_t(kind->hdrlen);
  return write_hdr_file(pic->fp, h.get(), kind->chrpt);
}

int read_hrpt1_hdr(PICINFO* pic) {
  if (!pic->fp) return OPEN_READ_PROBLEM;
  int ft = pic->file_type;
  if (ft == FT_MHRPT1 || ft == FT_MHRPT1N || ft == FT_MHRPT2 || ft == FT_MHRPT2N)
    return read_meteor_hdr(pic);
  int chrpt = ft == FT_CHRPT;
  auto h = std::make_unique<HRPTHDR>();
  if (!read_hdr_file(pic->fp, h.get(), chrpt)) return OPEN_READ_PROBLEM;
  // Version-3 headers keep the recorded channels in a bit mask.
  if (h->hdr_version[7] == '3') {
    static const uint8_t kBits[6] = {0x02, 0x40, 0x20, 0x10, 0x08, 0x04};
    for (int i = 0; i < 6; i++) h->channel[i] = (h->kan_tot & kBits[i]) ? 1 : 0;
  }
  hrpthdr_to_pic(h.get(), pic);
  pic->depth = 10;
  pic_grey_clrmap(pic);
  std::memset(pic->channels_recorded, 0, sizeof pic->channels_recorded);
  pic->lines_per_sec = 6;
  int slots;
  switch (ft) {
    case FT_CHRPT:
      slots = 10, pic->width_original = 2048, pic->max_sens_angle = 55.4f, pic->sat_type = CHRPT;
      break;
    case FT_SEAWIF:
      slots = 8, pic->width_original = 1288, pic->max_sens_angle = 55.4f, pic->sat_type = SEASTAR;
      break;
    default:
      slots = 5, pic->width_original = 2048, pic->max_sens_angle = 55.4f, pic->sat_type = HRPT;
      break;
  }
  int nch = 0;
  for (int i = 0; i <= slots; i++) {
    pic->channels_recorded[i] = h->channel[i] ? 1 : 0;
    if (i && h->channel[i]) nch++;
  }
  pic->nr_chan = nch;
  // Absurd geometry: no channel, or a width no sensor has.
  if (nch == 0 || pic->width < 16 || pic->width > 8192) return OPEN_READ_PROBLEM;
  pic->pic_strt = HRPT_HDRSIZE + HRPT_PREFIX;
  pic->fri = calc_hrptframeinfo(ft, pic->channels_recorded, pic->width);
  if (pic->height <= 0) pic->height = hrpt_lines_in_file(pic);
  // Never more lines than records in the file, whatever the header claims.
  long avail = pava_file_size(pic->fp) - HRPT_HDRSIZE;
  long max_lines = avail > 0 ? (avail + pic->fri.bytes_per_line - 1) / pic->fri.bytes_per_line : 0;
  if (pic->height > max_lines) pic->height = int(max_lines);
  return 0;
}

void hrpt1_pack(const uint16_t* w, uint8_t* b) {
  for (int k = 0; k < 4; k++) b[k] = uint8_t((w[k] >> 2) & 0xFF);
  b[4] = uint8_t(((w[0] & 3) << 6) | ((w[1] & 3) << 4) | ((w[2] & 3) << 2) | (w[3] & 3));
}

void hrpt1_unpack(const uint8_t* b, uint16_t* w) {
  for (int k = 0; k < 4; k++) w[k] = uint16_t(b[k] * 4 + ((b[4] >> ((3 - k) * 2)) & 3));
}

int write_hrpt1_line(PICINFO* pic, const uint16_t* words, int flags) {
  if (!pic->fp) return 0;
  const FRAMEINFO& f = pic->fri;
  int groups = f.words_per_line / 4;
  if (groups < 0) groups = 0;
  std::vector<uint8_t> rec(size_t(HRPT_PREFIX) + size_t(groups) * 5);
  std::memcpy(rec.data(), (flags & 0x10) ? "FRAME" : "FRAMe", 5);
  put_le16(rec.data() + 5, uint16_t(f.bytes_per_line - HRPT_PREFIX));
  uint16_t w[4];
  for (int g = 0; g < groups; g++) {
    for (int k = 0; k < 4; k++) {
      int i = g * 4 + k;
      w[k] = i < f.words_per_frame ? words[i] : 0;
    }
    hrpt1_pack(w, rec.data() + HRPT_PREFIX + 5 * g);
  }
  std::fwrite(rec.data(), 1, rec.size(), pic->fp);
  return 1;
}

long pava_file_size(FILE* fp) {
  if (!fp) return 0;
  long pos = std::ftell(fp);
  if (std::fseek(fp, 0, SEEK_END) != 0) return 0;
  long size = std::ftell(fp);
  std::fseek(fp, pos < 0 ? 0 : pos, SEEK_SET);
  return size < 0 ? 0 : size;
}

int hrpt_lines_in_file(PICINFO* pic) {
  // Each count reads words_per_frame / 4 groups and then two more: the step is
  // not the record length (kept so for compatibility).
  long step = long(pic->fri.words_per_frame / 4) * 5 + 10;
  long avail = pava_file_size(pic->fp) - pic->pic_strt;
  if (avail <= 0) return 0;
  return int(avail / step);
}

XLINE* read_hrpt1_all(PICINFO* pic) {
  FILE* fp = pic->fp;
  const FRAMEINFO& f = pic->fri;
  if (!fp || f.bytes_per_line <= HRPT_PREFIX || f.words_per_line <= 0) return nullptr;
  const int groups = f.words_per_line / 4;
  const size_t data_bytes = size_t(groups) * 5;
  const size_t rec_bytes = data_bytes + HRPT_PREFIX;
  const int nch = f.inter_chan < XLINE_MAXCHAN ? f.inter_chan : XLINE_MAXCHAN;
  const int width = pic->width;
  const int hdr = pic->channels_recorded[0] ? f.header_len : 0;
  const int nh = hdr < XLINE_HDRWORDS ? hdr : XLINE_HDRWORDS;
  // Records are read a block at a time; the unpacking of a block's lines is
  // shared among threads (it is most of the work of opening a pass).
  constexpr int kBlock = 256;
  std::vector<uint8_t> buf(rec_bytes * kBlock);
  XLINE* head = nullptr;
  XLINE* tail = nullptr;
  int n = 0;
  if (std::fseek(fp, pic->pic_strt, SEEK_SET) != 0) return nullptr;
  std::vector<XLINE*> block;
  const int nthreads = std::clamp(int(std::thread::hardware_concurrency()), 1, 4);
  bool end = false;
  while (!end && n < pic->height) {
    const int want = std::min(kBlock, pic->height - n);
    const size_t got = std::fread(buf.data(), 1, rec_bytes * size_t(want), fp);
    int full = int(got / rec_bytes);
    const size_t rest = got % rec_bytes;
    // A record cut inside its data is dropped; one cut in its prefix (no
    // prefix follows the last record) keeps its sync flag and stays empty.
    const bool cut_line = full < want && rest >= data_bytes;
    end = full < want;
    block.clear();
    for (int k = 0; k < full + (cut_line ? 1 : 0); k++) {
      tail = Create_Xline(&head, nch, width, tail);
      block.push_back(tail);
    }
    n += int(block.size());
    auto unpack = [&](int k0, int k1) {
      std::vector<uint16_t> words(size_t(groups) * 4 + 8);
      for (int k = k0; k < k1; k++) {
        const uint8_t* rec = buf.data() + size_t(k) * rec_bytes;
        XLINE* l = block[size_t(k)];
        for (int g = 0; g < groups; g++) hrpt1_unpack(rec + 5 * g, &words[size_t(g) * 4]);
        l->syncword = is_hrptsync(words.data(), 1);
        if (k >= full) continue;  // the cut record
        l->dec_sync = rec[data_bytes + 4] == 'E';
        l->linenr = 1;
        std::memcpy(l->line_hdr, words.data(), sizeof(uint16_t) * size_t(nh));
        const uint16_t* s = words.data() + hdr;
        for (int p = 0; p < width; p++)
          for (int c = 0; c < nch; c++) l->line[c][p] = s[p * f.inter_chan + c];
      }
    };
    const int nb = int(block.size());
    const int nt = std::clamp(std::min(nthreads, nb / 16), 1, 4);
    std::vector<std::thread> workers;
    for (int t = 1; t < nt; t++) workers.emplace_back(unpack, nb * t / nt, nb * (t + 1) / nt);
    unpack(0, nb / nt);
    for (auto& w : workers) w.join();
    // Line times in file order (the Meteor clock counts within a second).
    if (hdr >= 12)
      for (int k = 0; k < full; k++)
        block[size_t(k)]->tm_ms =
            hrpt_frame_extr_time(block[size_t(k)]->line_hdr, pic->file_type, &pic->picture_time);
  }
  pic->height = n;
  pic->valid_time = correct_time(head, pic->lines_per_sec) != 0;
  return head;
}
