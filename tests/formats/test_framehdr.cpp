// Frame header decoding, satellite names, line times.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "common/timeutil.h"
#include "formats/framehdr.h"
#include "open_helper.h"

namespace {

std::string stamp(const struct tm& t, int ms) { return ::stamp(tm_ms{t, ms, 1}); }

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
  // back_scan[1][2] is word 22 + 3, space_scan[1][0] word 22 + 5: the same
  // words as the back scan.
  EXPECT_EQ(
      std::vector<long>({!!h.avhrr_sync, h.minor_framenr, h.spacecraft_addr, !!h.resync, h.chan3ab,
                         h.day_count, long(h.msec_count), h.telemetry[4], h.target_temp[2],
                         h.target_temp[3], h.ch3_patchtemp, h.back_scan[1][2], h.space_scan[1][0],
                         !!h.avhrr_synclate, h.period_998_khz}),
      std::vector<long>({1, 3, 13, 1, 'a', 30, 49595026, 116, 501, 502, 0xAB, 25, 27, 1, 0x123}));
  // Status bits only for FT_HRPT.
  decode_framehdr(w.data(), FT_HPT, &h);
  EXPECT_FALSE(h.avhrr_sync);
  EXPECT_EQ(h.minor_framenr, 0);

  struct tm ref = ref_2024();
  decode_framehdr(w.data(), FT_HRPT, &h);
  EXPECT_EQ(interpret_framehdr(&h, &ref), 'y');
  EXPECT_STREQ(h.sat_name, "NOAA 18");
  EXPECT_EQ(stamp(h.sat_time, h.msec), "2024-01-30 13:46:35.026");
  h.day_count = 0;  // no day: the reference's
  EXPECT_EQ(interpret_framehdr(&h, &ref), 'd');
  EXPECT_EQ(stamp(h.sat_time, 0).substr(0, 10), "2024-07-01");
}

TEST(FrameHeader, SatelliteNames) {
  struct Row {
    int addr, type;
    const char* name;
  };
  // One row per branch of the lookup; unknown identifiers in lower-case
  // hexadecimal, other satellite types by their type in hexadecimal.
  const Row rows[] = {
      {2, CHRPT, "Seastar"},        {15, M1HRPT, "NOAA 19"},
      {208, CHRPT, "FENGYUN 1D"},   {258, M2HRPT, "METEOR-MN2"},
      {4, HRPT, "Unknown code: 4"}, {99, QNOAA21, "NOAA21"},
      {56, FY3, "FY3-E"},           {53, FY3, "Unknown code: 35"},
      {12, METOP, "METOP-A"},       {0xAB, METOP, "Unknown code: ab"},
      {13, AQUA, "Unkn sat: f"},
  };
  for (const Row& r : rows) EXPECT_STREQ(spacecrftaddr2name(r.addr, r.type), r.name) << r.addr;
  EXPECT_STREQ(xrptid2name(13, HRPT), "NOAA 18");
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
}

}  // namespace
