// Frame header decoding, satellite names, line times, frame layouts.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "common/timeutil.h"
#include "format_samples.h"
#include "formats/framehdr.h"
#include "support/testutil.h"

namespace {

struct tm ref_2024() {
  struct tm t {};
  t.tm_year = 124, t.tm_mon = 6, t.tm_mday = 1;  // 1 July 2024: day of year 182
  pava::mktime_utc(&t);
  return t;
}

TEST(FrameSync, StrictAndLenient) {
  struct Row {
    std::vector<uint16_t> w;
    int strict, lenient;
    const char* what;
  };
  const Row rows[] = {
      {{644, 367, 860, 413, 527, 149}, 1, 1, "all six sync words right"},
      {{644, 0, 0, 0, 0, 0}, 0, 1, "first word alone right: lenient sync"},
      {{0, 0, 0, 0, 527, 0}, 0, 1, "fifth word alone right"},
      {{0, 0, 0, 0, 0, 149}, 0, 1, "only the sixth word: the lenient result"},
      {{0, 0, 0, 0, 0, 0}, 0, 0, "no word right"},
      {{644, 367, 860, 413, 527, 148}, 0, 1, "last word wrong"},
  };
  for (const Row& r : rows) {
    EXPECT_EQ(is_hrptsync(r.w.data(), 0), r.strict) << r.what;
    EXPECT_EQ(is_hrptsync(r.w.data(), 1), r.lenient) << r.what;
  }
}

TEST(FrameHeader, DecodeHrptWords) {
  std::vector<uint16_t> w(750, 0);
  for (int i = 0; i < 6; i++) w[size_t(i)] = HRPT_SYNC[i];
  // AVHRR sync, minor frame 3, address 13 (NOAA 18), resync, channel 3A.
  w[6] = uint16_t(0x200 | (3 << 7) | (13 << 3) | 0x4 | 1);
  w[8] = 30 << 1;
  long msec = 49595026;  // 13:46:35.026
  w[9] = uint16_t((msec >> 20) & 0x7F), w[10] = uint16_t((msec >> 10) & 0x3FF),
  w[11] = uint16_t(msec & 0x3FF);
  for (int i = 12; i < 17; i++) w[size_t(i)] = uint16_t(100 + i);
  w[17] = 501, w[18] = 502, w[20] = 0x3AB;
  for (int i = 22; i < 102; i++) w[size_t(i)] = uint16_t(i);
  w[102] = 0x200 | 0x123;
  HRPT_FRAMEHDR h;
  decode_framehdr(w.data(), FT_HRPT, &h);
  EXPECT_TRUE(h.avhrr_sync);
  EXPECT_EQ(h.minor_framenr, 3);
  EXPECT_EQ(h.spacecraft_addr, 13);
  EXPECT_TRUE(h.resync);
  EXPECT_EQ(h.chan3ab, 'a');
  EXPECT_EQ(h.day_count, 30);
  EXPECT_EQ(h.msec_count, 49595026u);
  EXPECT_EQ(h.telemetry[4], 116);
  EXPECT_EQ(h.target_temp[2], 501);
  EXPECT_EQ(h.target_temp[3], 502);
  EXPECT_EQ(h.ch3_patchtemp, 0xAB);
  EXPECT_EQ(h.back_scan[1][2], 25);   // word 22 + 3
  EXPECT_EQ(h.space_scan[1][0], 27);  // word 22 + 5: the same words as the back scan
  EXPECT_TRUE(h.avhrr_synclate);
  EXPECT_EQ(h.period_998_khz, 0x123);
  // Status bits only for FT_HRPT.
  decode_framehdr(w.data(), FT_HPT, &h);
  EXPECT_FALSE(h.avhrr_sync);
  EXPECT_EQ(h.minor_framenr, 0);

  struct tm ref = ref_2024();
  decode_framehdr(w.data(), FT_HRPT, &h);
  EXPECT_EQ(interpret_framehdr(&h, &ref), 'y');
  EXPECT_STREQ(h.sat_name, "NOAA 18");
  EXPECT_EQ(h.sat_time.tm_year, 124);
  EXPECT_EQ(h.sat_time.tm_mon, 0);
  EXPECT_EQ(h.sat_time.tm_mday, 30);
  EXPECT_EQ(h.sat_time.tm_hour, 13);
  EXPECT_EQ(h.msec, 26);
  h.day_count = 0;  // no day: the reference's
  EXPECT_EQ(interpret_framehdr(&h, &ref), 'd');
  EXPECT_EQ(h.sat_time.tm_mon, 6);
  EXPECT_EQ(h.sat_time.tm_mday, 1);
}

TEST(FrameHeader, AddressByFileType) {
  std::vector<uint16_t> w(16, 0);
  w[4] = 0x3C, w[5] = 0x2 << 6, w[6] = uint16_t((12 << 6) | (7 << 3));
  EXPECT_EQ(frm2id(w.data(), FT_HRPT), 7);
  EXPECT_EQ(frm2id(w.data(), FT_CHRPT), 192);  // (12 * 16) & 255
  EXPECT_EQ(frm2id(w.data(), FT_MHRPT1), 257);
  EXPECT_EQ(frm2id(w.data(), FT_MHRPT2), 258);
  EXPECT_EQ(frm2id(w.data(), FT_METOP), ((0x3C * 4) & 255) + 2);
  EXPECT_EQ(frm2id(w.data(), FT_FY3), ((0x3C * 4) & 255) + 2);
  EXPECT_EQ(frm2id(w.data(), FT_HPT), 0);
}

TEST(FrameHeader, SatelliteNames) {
  struct Row {
    int addr, type;
    const char* name;
  };
  const Row rows[] = {
      {1, HRPT, "NOAA 11"},
      {2, CHRPT, "Seastar"},
      {3, HRPT, "NOAA 16"},
      {5, HRPT, "NOAA 14"},
      {7, HRPT, "NOAA 15"},
      {9, HRPT, "NOAA 12"},
      {11, HRPT, "NOAA 17"},
      {13, HRPT, "NOAA 18"},
      {15, M1HRPT, "NOAA 19"},
      {192, CHRPT, "FENGYUN 1C"},
      {208, CHRPT, "FENGYUN 1D"},
      {257, M1HRPT, "METEOR-MN1"},
      {258, M2HRPT, "METEOR-MN2"},
      {4, HRPT, "Unknown code: 4"},
      {0, QNOAA20, "NOAA20"},
      {99, QNOAA21, "NOAA21"},
      {49, FY3, "FY3-A"},
      {50, FY3, "FY3-B"},
      {51, FY3, "FY3-C"},
      {52, FY3, "FY3-D"},
      {56, FY3, "FY3-E"},
      {53, FY3, "Unknown code: 35"},
      {11, METOP, "METOP-B"},
      {12, METOP, "METOP-A"},
      {13, METOP, "METOP-C"},
      // An unknown Metop identifier in lower-case hexadecimal.
      {0xAB, METOP, "Unknown code: ab"},
      // Other satellite types: the type in hexadecimal.
      {13, AQUA, "Unkn sat: f"},
  };
  for (const Row& r : rows) EXPECT_STREQ(spacecrftaddr2name(r.addr, r.type), r.name) << r.addr;
  EXPECT_STREQ(xrptid2name(13, HRPT), "NOAA 18");
}

TEST(FrameTime, HrptTimeCode) {
  std::vector<uint16_t> w(16, 0);
  w[8] = 366 << 1;  // last day of a leap year
  long msec = 23 * 3600000L + 59 * 60000L + 59 * 1000L + 999;
  w[9] = uint16_t((msec >> 20) & 0x7F), w[10] = uint16_t((msec >> 10) & 0x3FF),
  w[11] = uint16_t(msec & 0x3FF);
  struct tm ref = ref_2024();
  tm_ms t = hrpt_frame_extr_time(w.data(), FT_HRPT, &ref);
  EXPECT_EQ(t.tm.tm_year, 124);
  EXPECT_EQ(t.tm.tm_mon, 11);
  EXPECT_EQ(t.tm.tm_mday, 31);
  EXPECT_EQ(t.tm.tm_sec, 59);
  EXPECT_EQ(t.ms, 999);
  EXPECT_TRUE(t.valid);
  w[8] = 0;  // no day count: the reference's day
  t = hrpt_frame_extr_time(w.data(), FT_HRPT, &ref);
  EXPECT_EQ(t.tm.tm_yday, ref.tm_yday);
}

TEST(FrameTime, MeteorMadeUpMilliseconds) {
  hrpt_frame_time_reset();
  std::vector<uint16_t> w(16, 0);
  w[8] = 2, w[9] = 30, w[10] = 15;  // 02:30:15 Moscow = 23:30:15 UTC the day before
  struct tm ref = ref_2024();
  std::vector<int> ms;
  for (int i = 0; i < 8; i++) {
    tm_ms t = hrpt_frame_extr_time(w.data(), FT_MHRPT1, &ref);
    ms.push_back(t.ms);
    EXPECT_EQ(t.tm.tm_hour, 23);
    EXPECT_EQ(t.tm.tm_yday, ref.tm_yday - 1);
  }
  // Same second: 0, 166, ... 830, then 830 until the second changes.
  EXPECT_EQ(ms, (std::vector<int>{0, 166, 332, 498, 664, 830, 830, 830}));
  w[10] = 16;
  EXPECT_EQ(hrpt_frame_extr_time(w.data(), FT_MHRPT2, &ref).ms, 0);
  EXPECT_EQ(hrpt_frame_extr_time(w.data(), FT_MHRPT2, &ref).ms, 166);
}

TEST(FrameHeader, FirstReliableFrame) {
  PICINFO* pic = pic_new();
  pic->file_type = FT_HRPT;
  pic->channels_recorded[0] = 1;
  XLINE* head = nullptr;
  XLINE* tail = nullptr;
  // Seconds: 10 x3 (broken run), then 11 x6, 12 x6.
  std::vector<int> secs = {10, 10, 10, 11, 11, 11, 11, 11, 11, 12, 12, 12, 12, 12, 12};
  for (int s : secs) {
    tail = Create_Xline(&head, 5, 8, tail);
    long msec = s * 1000L + 100;
    tail->line_hdr[9] = uint16_t((msec >> 20) & 0x7F);
    tail->line_hdr[10] = uint16_t((msec >> 10) & 0x3FF);
    tail->line_hdr[11] = uint16_t(msec & 0x3FF);
  }
  pic_set_lines(pic, head);
  HRPT_FRAMEHDR h;
  EXPECT_EQ(search_first_reliable_frame(0, pic, nullptr, &h), 9);   // first line of second 12
  EXPECT_EQ(search_first_reliable_frame(10, pic, nullptr, &h), 0);  // runs into the end
  pic->channels_recorded[0] = 0;
  EXPECT_EQ(search_first_reliable_frame(0, pic, nullptr, &h), 0);  // no header words
  EXPECT_EQ(get_hrpt_framehdr(pic, nullptr, 15, &h), 0);
  pic_delete(pic);
}

TEST(FrameHeader, AhrptSatid) {
  testutil::TempDir dir;
  std::string p = dir.file("frames.bin");
  // Frames with id 12 (Metop-A): ((byte4 * 4) & 255) + (byte5 >> 6).
  auto frames = [](int n_noise, int n_id) {
    std::string s;
    for (int i = 0; i < n_noise + n_id; i++) {
      std::string f(1024, '\0');
      f[4] = char(i < n_noise ? i : 3);
      f[5] = char(0);
      s += f;
    }
    return s;
  };
  testutil::write_file(p, frames(5, 12));
  FILE* fp = std::fopen(p.c_str(), "rb");
  EXPECT_EQ(read_ahrpt_satid(fp), 12);
  std::fclose(fp);
  testutil::write_file(p, frames(5, 11));  // only 11 equal frames: not enough
  fp = std::fopen(p.c_str(), "rb");
  EXPECT_EQ(read_ahrpt_satid(fp), 0);
  std::fclose(fp);
  testutil::write_file(p, frames(0, 12));
  PICINFO* pic = pic_new();
  pic->fp = std::fopen(p.c_str(), "rb");
  get_sattype(pic, METOP);
  EXPECT_EQ(pic->sat_id, 12);
  EXPECT_STREQ(pic->sat_name, "METOP-A");
  std::fclose(pic->fp);
  pic->fp = nullptr;
  pic_delete(pic);
}

TEST(FrameLayout, ByFileType) {
  int all5[26] = {1, 1, 1, 1, 1, 1};
  int all10[26] = {1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1};
  int no_hdr[26] = {0, 1, 1, 0, 1};
  struct Row {
    int type;
    const int* chans;
    int width, wpf, wpl, bpl, header, leader, inter;
    const char* what;
  };
  const Row rows[] = {
      {FT_HRPT, all5, 2048, 11090, 11092, 13872, 750, 100, 5,
       "full HRPT frame: 13872-byte records"},
      {FT_HRPT, no_hdr, 2048, 6144, 6144, 7687, 0, 0, 3, "three channels, no header words"},
      {FT_CHRPT, all10, 2048, 22180, 22180, 27732, 1600, 100, 10, "CHRPT"},
      {FT_SEAWIF, all10, 1288, 13665, 13668, 17092, 685, 100, 10, "SeaStar, ten slots"},
      {FT_HPT, all5, 2048, 11090, 11092, 13872, 750, 100, 5, "HPT recording layout"},
      {FT_CHPT, all10, 2048, 22180, 22180, 27732, 1600, 100, 10, "CHPT recording layout"},
      {FT_MHRPT1, all5, 1540, 256, 10937, 10937, 50, 0, 5,
       "MHRPT1: bytes per line from words + 1000"},
      {FT_METOP, all5, 2048, 1024, 10240, 0, 750, 100, 5, "QPSK: fixed frame"},
      {FT_FY3, all10, 2048, 1024, 20480, 0, 1600, 100, 10, "FY3"},
      {FT_LRIT, all5, 2048, 1024, 1024, 0, 0, 0, 5, "LRIT"},
  };
  for (const Row& r : rows) {
    FRAMEINFO f = calc_hrptframeinfo(r.type, r.chans, r.width);
    EXPECT_EQ(f.words_per_frame, r.wpf) << r.what;
    EXPECT_EQ(f.words_per_line, r.wpl) << r.what;
    EXPECT_EQ(f.bytes_per_line, r.bpl) << r.what;
    EXPECT_EQ(f.header_len, r.header) << r.what;
    EXPECT_EQ(f.leader_len, r.leader) << r.what;
    EXPECT_EQ(f.inter_chan, r.inter) << r.what;
    EXPECT_EQ(f.dist_chan, 0) << r.what;
  }
}

}  // namespace
