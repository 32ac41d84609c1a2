// HRPT frame header decoding.
//
// Header words of an HRPT minor frame (0-based, 10 bits each):
//   0-5    frame sync 644 367 860 413 527 149
//   6      ID: bit 9 AVHRR sync, bits 8-7 minor frame number, bits 6-3
//          spacecraft address, bit 2 resync, bit 0 channel 3A (1) / 3B (0)
//   8      day count << 1
//   9-11   milliseconds of the day: 7 bits in word 9, 10 in 10, 10 in 11
//   12-16  telemetry, 17-18 target temperatures, 20 channel 3 patch temperature
//   22-    back-scan and space-scan words, 102 AVHRR sync late / 998 kHz period
// Meteor lines keep hours, minutes and seconds (Moscow time) in words 8-10.
#include "formats/framehdr.h"

#include <cstring>

#include "common/text.h"
#include "common/timeutil.h"

int is_hrptsync(const uint16_t* words, int lenient) {
  if (!lenient) {
    for (int i = 0; i < 6; i++)
      if (words[i] != HRPT_SYNC[i]) return 0;
    return 1;
  }
  for (int i = 0; i < 5; i++)
    if (words[i] == HRPT_SYNC[i]) return 1;
  return words[5] == HRPT_SYNC[5];
}

namespace {

bool is_meteor(int file_type) { return file_type == FT_MHRPT1 || file_type == FT_MHRPT2; }

// Milliseconds of the day of a header: HRPT time code, or the Meteor clock.
uint32_t header_msec(const uint16_t* w, int file_type) {
  if (is_meteor(file_type)) return (uint32_t(w[8]) * 3600 + uint32_t(w[9]) * 60 + w[10]) * 1000;
  return ((uint32_t(w[9]) << 20) & 0x7F00000) + (uint32_t(w[10]) << 10) + w[11];
}

// Calendar time from day of year (1-based day count; 0: the reference's day)
// and milliseconds of the day; year from the reference.
void set_day_time(struct tm* out, int* ms_out, int day, long msec, const struct tm* ref) {
  struct tm t {};
  t.tm_year = ref ? ref->tm_year : 70;
  int yday = day ? day - 1 : (ref ? ref->tm_yday : 0);
  t.tm_mday = yday + 1;  // January with day overflow: normalising gives month and day
  t.tm_hour = int(msec / 3600000);
  t.tm_min = int(msec / 60000 % 60);
  t.tm_sec = int(msec / 1000 % 60);
  *ms_out = int(msec % 1000);
  pava::mktime_utc(&t);
  *out = t;
}

// Made-up milliseconds of Meteor lines: six lines a second, 166 ms apart.
struct MeteorClock {
  long last_ms = -1;
  int sub = 0;
};
MeteorClock g_meteor_clock;

}  // namespace

void hrpt_frame_time_reset() { g_meteor_clock = MeteorClock{}; }

void decode_framehdr(const uint16_t* w, int file_type, HRPT_FRAMEHDR* h) {
  *h = HRPT_FRAMEHDR{};
  for (int i = 0; i < 6; i++) h->sync_word[i] = w[i];
  if (file_type == FT_HRPT) {
    h->avhrr_sync = (w[6] & 0x200) != 0;
    h->minor_framenr = (w[6] >> 7) & 3;
    h->resync = (w[6] & 0x004) != 0;
    h->chan3ab = (w[6] & 1) ? 'a' : 'b';
    h->spacecraft_addr = (w[6] >> 3) & 15;
  } else {
    h->spacecraft_addr = uint16_t(frm2id(w, file_type));
  }
  if (is_meteor(file_type)) {
    h->day_count = 0;
  } else {
    h->day_count = w[8] >> 1;
  }
  h->msec_count = header_msec(w, file_type);
  for (int i = 0; i < 5; i++) h->telemetry[i] = w[12 + i];
  h->target_temp[2] = w[17];
  h->target_temp[3] = w[18];
  h->ch3_patchtemp = uint8_t(w[20] & 0xFF);
  for (int i = 0; i < 10; i++)
    for (int j = 0; j < 3; j++) h->back_scan[i][j + 2] = w[22 + 3 * i + j];
  // The space words are taken from word 22 on too, as the format requires.
  for (int i = 0; i < 10; i++)
    for (int j = 0; j < 5; j++) h->space_scan[i][j] = w[22 + 5 * i + j];
  h->avhrr_synclate = (w[102] & 0x200) != 0;
  h->period_998_khz = w[102] & 0x1FF;
}

// Spacecraft address by file type:
//   FT_HRPT            (word 6 >> 3) & 15
//   FT_CHRPT           ((word 6 >> 6) * 16) & 255
//   FT_MHRPT1/2        257 / 258
//   FT_METOP, FT_FY3   CCSDS spacecraft id: ((word 4 * 4) & 255) + ((word 5 >> 6) & 3)
int frm2id(const uint16_t* w, int file_type) {
  switch (file_type) {
    case FT_HRPT:
      return (w[6] >> 3) & 15;
    case FT_CHRPT:
      return ((w[6] >> 6) * 16) & 255;
    case FT_MHRPT1:
      return 257;
    case FT_MHRPT2:
      return 258;
    case FT_METOP:
    case FT_FY3:
      return ((w[4] * 4) & 255) + ((w[5] >> 6) & 3);
    default:
      return 0;
  }
}

namespace {

struct AddrName {
  int addr;
  const char* name;
};

const AddrName kHrptNames[] = {{1, "NOAA 11"},      {2, "Seastar"},      {3, "NOAA 16"},
                               {5, "NOAA 14"},      {7, "NOAA 15"},      {9, "NOAA 12"},
                               {11, "NOAA 17"},     {13, "NOAA 18"},     {15, "NOAA 19"},
                               {192, "FENGYUN 1C"}, {208, "FENGYUN 1D"}, {257, "METEOR-MN1"},
                               {258, "METEOR-MN2"}};
const AddrName kFy3Names[] = {
    {49, "FY3-A"}, {50, "FY3-B"}, {51, "FY3-C"}, {52, "FY3-D"}, {56, "FY3-E"}};
const AddrName kMetopNames[] = {{11, "METOP-B"}, {12, "METOP-A"}, {13, "METOP-C"}};

char g_satname[40];

template <int N>
const char* find_name(const AddrName (&table)[N], int addr) {
  for (const AddrName& e : table)
    if (e.addr == addr) return pava::copy_text(g_satname, e.name), g_satname;
  std::snprintf(g_satname, sizeof g_satname, "Unknown code: %x", unsigned(addr));
  return g_satname;
}

}  // namespace

const char* spacecrftaddr2name(int address, int sat_type) {
  switch (sat_type) {
    case HRPT:
    case CHRPT:
    case M1HRPT:
    case M2HRPT:
      return find_name(kHrptNames, address);
    case QNOAA20:
      return pava::copy_text(g_satname, "NOAA20"), g_satname;
    case QNOAA21:
      return pava::copy_text(g_satname, "NOAA21"), g_satname;
    case FY3:
      return find_name(kFy3Names, address);
    case METOP:
      return find_name(kMetopNames, address);
    default:
      std::snprintf(g_satname, sizeof g_satname, "Unkn sat: %x", unsigned(sat_type));
      return g_satname;
  }
}

const char* xrptid2name(int address, int sat_type) { return spacecrftaddr2name(address, sat_type); }

tm_ms hrpt_frame_extr_time(const uint16_t* w, int file_type, const struct tm* reference) {
  tm_ms r{};
  int day;
  long msec;
  if (is_meteor(file_type)) {
    // Whole seconds only: successive lines of one second get 0, 166, ... 830 ms.
    long secs_ms = (long(w[8]) * 3600 + long(w[9]) * 60 + w[10]) * 1000;
    MeteorClock& c = g_meteor_clock;
    if (secs_ms > c.last_ms)
      c.sub = 0;
    else if (c.sub + 166 < 834)
      c.sub += 166;
    msec = secs_ms + c.sub;
    c.last_ms = msec;
    msec -= 3 * 3600 * 1000L;  // Moscow time to UTC
    day = 0;
  } else {
    day = w[8] >> 1;
    msec = long(header_msec(w, file_type));
  }
  set_day_time(&r.tm, &r.ms, day, msec, reference);
  r.valid = 1;
  return r;
}

int interpret_framehdr(HRPT_FRAMEHDR* h, const struct tm* reference) {
  pava::copy_text(h->sat_name, spacecrftaddr2name(h->spacecraft_addr, HRPT));
  int ms = 0;
  set_day_time(&h->sat_time, &ms, h->day_count, long(h->msec_count), reference);
  h->msec = uint16_t(ms);
  return h->day_count ? 'y' : 'd';
}

int get_hrpt_framehdr(const PICINFO* pic, const VIEWINFO*, int line, HRPT_FRAMEHDR* hdr) {
  XLINE* l = pic_line(pic, line);
  if (!l || !l->line_hdr) return 0;
  // raw16 pictures are HPT pictures whose lines carry HRPT frame headers.
  int ft = pic->container == CONT_NATIVE ? pic->file_type : FT_HRPT;
  decode_framehdr(l->line_hdr, ft, hdr);
  return 1;
}

int search_first_reliable_frame(int start, const PICINFO* pic, const VIEWINFO* view,
                                HRPT_FRAMEHDR* hdr) {
  if (!pic->channels_recorded[0]) return 0;
  int run = 0;
  long prev = -1;
  for (int n = start; n < start + 1000; n++) {
    if (!get_hrpt_framehdr(pic, view, n, hdr)) return 0;
    long sec = long(hdr->msec_count / 1000);
    if (prev >= 0) {
      long d = sec - prev;
      if (d == 0) {
        run++;
      } else if (d == 1 && run == 5) {
        return n;
      } else {
        run = 0;
      }
    }
    prev = sec;
  }
  return 0;
}

// CCSDS frame: bytes 0-3 sync marker, bytes 4-5 version (2 bits), spacecraft
// id (8 bits), virtual channel (6 bits).
int read_ahrpt_satid(FILE* fp) {
  if (!fp) return 0;
  uint8_t frame[1024];
  int prev = -1, same = 0;
  while (std::fread(frame, 1, sizeof frame, fp) == sizeof frame) {
    int id = ((frame[4] * 4) & 255) + (frame[5] >> 6);
    if (id == prev) {
      if (++same > 10) return id;
    } else {
      prev = id;
      same = 0;
    }
  }
  return 0;
}

void get_sattype(PICINFO* pic, int sat_type) {
  pic->sat_id = read_ahrpt_satid(pic->fp);
  if (pic->sat_id) pava::copy_text(pic->sat_name, spacecrftaddr2name(pic->sat_id, sat_type));
}

// Header and leader words per frame by file type (only with slot 0 set):
//   HRPT, QNOAA20/21, HPT, METOP, AQUA: 750 + 100;  CHRPT, CHPT, FY3: 1600 + 100;
//   SEAWIF: 685 + 100;  MHRPT1: 50 + 0.
FRAMEINFO calc_hrptframeinfo(int file_type, const int* chans, int width) {
  FRAMEINFO f{};
  if (chans[0] && file_type >= 9 && file_type <= 23) {
    switch (file_type) {
      case FT_HRPT:
      case FT_QNOAA20:
      case FT_QNOAA21:
      case FT_HPT:
      case FT_METOP:
      case FT_AQUA:
        f.header_len = 750, f.leader_len = 100;
        break;
      case FT_CHRPT:
      case FT_CHPT:
      case FT_FY3:
        f.header_len = 1600, f.leader_len = 100;
        break;
      case FT_SEAWIF:
        f.header_len = 685, f.leader_len = 100;
        break;
      case FT_MHRPT1:
        f.header_len = 50, f.leader_len = 0;
        break;
      default:
        break;
    }
  }
  for (int k = 1; k <= 25; k++)
    if (chans[k]) f.inter_chan++;
  f.words_per_frame = f.inter_chan * width;
  if (chans[0]) f.words_per_frame += f.header_len + f.leader_len;
  switch (file_type) {
    case FT_LRIT:
    case FT_IQTEST:
      f.words_per_frame = f.words_per_line = 1024;
      break;
    case FT_MHRPT1:
    case FT_MHRPT2:
      f.words_per_frame += 1000;
      f.bytes_per_line = f.words_per_frame * 10 / 8;
      f.words_per_line = f.bytes_per_line;
      f.words_per_frame = file_type == FT_MHRPT1 ? 256 : 1024;
      break;
    case FT_QNOAA20:
    case FT_QNOAA21:
    case FT_METOP:
    case FT_AQUA:
      f.words_per_frame = 1024, f.words_per_line = 10240, f.inter_chan = 5;
      break;
    case FT_FY3:
      f.words_per_frame = 1024, f.words_per_line = 20480, f.inter_chan = 10;
      break;
    default:
      // Four words pack into five bytes; the 7 bytes are the record prefix.
      f.words_per_line = (f.words_per_frame + 3) / 4 * 4;
      f.bytes_per_line = f.words_per_line * 10 / 8 + 7;
      break;
  }
  f.dist_chan = 0;
  return f;
}
