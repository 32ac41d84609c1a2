// Raw HRPT, CHRPT and SeaStar recording files: layout, round trips, bad input.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "common/bytes.h"
#include "format_samples.h"
#include "formats/hrptfile.h"
#include "open_helper.h"
#include "support/testutil.h"

namespace {

using fmtsamples::write_hrpt_file;

const uint8_t* u8(const std::string& s, size_t off) {
  return reinterpret_cast<const uint8_t*>(s.data()) + off;
}

// Header fields at their offsets (magic, version, end mark and channel slots
// are parsed independently by the samples script).
TEST(HrptFile, RecordSizeAndHeaderLayout) {
  testutil::TempDir dir;
  std::string p = dir.file("a.hrpt");
  for (int n : {1, 3}) {
    write_hrpt_file(p, FT_HRPT, 2048, n, 11);
    // A 5-channel recording with header words: 16000 + 13872 x N bytes.
    EXPECT_EQ(testutil::read_file(p).size(), 16000u + 13872u * unsigned(n));
  }
  const std::string b = testutil::read_file(p);
  // Width, height, header length, x offset, dmax of channel 1, width again,
  // byte count of the first record.
  const std::pair<size_t, int> le16[] = {{22, 2048},  {24, 3},     {104, 16000},  {106, 100},
                                         {151, 1023}, {278, 2048}, {16005, 13865}};
  for (auto [off, v] : le16) EXPECT_EQ(pava::get_le16(u8(b, off)), v) << "offset " << off;
  EXPECT_EQ(b.substr(4, 7), std::string("NOAA 19"));
  EXPECT_TRUE(b[110] == 0 && b[130] == 'c');  // north-to-south
  EXPECT_FLOAT_EQ(pava::get_lef(u8(b, 131)), 0.5f);
  EXPECT_FLOAT_EQ(pava::get_lef(u8(b, 280)), 55.4f);
  EXPECT_FLOAT_EQ(pava::get_lef(u8(b, 48 + 20)), 1.7f * 180.0f / 3.14159265f);  // inclination
  // Record prefixes: "FRAMe" for line 0 (written without decoder sync), then "FRAME".
  EXPECT_EQ(b.substr(16000, 5) + b.substr(16000 + 13872, 5), "FRAMeFRAME");
}

// Round trips through open_file for the three header formats: samples,
// header words, decoder-sync marks and times come back; the last line stays
// empty because no prefix follows it.
TEST(HrptFile, RoundTripEveryHeaderFormat) {
  struct Row {
    int type, width, nch, header;
    SAT_TYPE sat;
    const char* name;
  };
  const Row rows[] = {{FT_HRPT, 2048, 5, 750, HRPT, "NOAA 19"},
                      {FT_CHRPT, 256, 10, 1600, CHRPT, "FENGYUN 1D"},
                      {FT_SEAWIF, 128, 8, 685, SEASTAR, "Seastar"}};
  testutil::TempDir dir;
  for (const Row& r : rows) {
    std::string p = dir.file("rt.raw");
    auto words = write_hrpt_file(p, r.type, r.width, 9, 21);
    OpenedPic o;
    ASSERT_EQ(o.open(p), 0) << r.name;
    EXPECT_EQ(std::vector<long>({o.pic->file_type, o.pic->sat_type, o.pic->width, o.pic->height,
                                 o.pic->pic_strt, o.pic->ox}),
              std::vector<long>({r.type, r.sat, r.width, 9, 16007, 100}));
    EXPECT_STREQ(o.pic->sat_name, r.name);
    EXPECT_NEAR(o.pic->kepler.inclination, 1.7f, 1e-6);
    ASSERT_EQ(o.lines(), 9);
    for (int i = 0; i < 8; i++) {
      XLINE* l = o.line(i);
      EXPECT_EQ(l->dec_sync, (i + 1) % 3 != 0) << r.name << " line " << i;
      EXPECT_TRUE(l->syncword);
      for (int px = 0; px < r.width; px += 7)
        for (int c = 0; c < r.nch; c++)
          ASSERT_EQ(l->line[c][px], words[size_t(i)][size_t(r.header + px * r.nch + c)])
              << r.name << " line " << i << " pixel " << px << " channel " << c;
      EXPECT_EQ(l->line_hdr[6], words[size_t(i)][6]);
    }
    EXPECT_EQ(o.line(8)->line[0][5], 0);  // kept empty
    EXPECT_TRUE(o.pic->valid_time);
    EXPECT_EQ(stamp(o.line(7)->tm_ms), "2024-03-05 10:20:31.166");
  }
}

TEST(HrptFile, UpperBitsAboveTenAreLost) {
  const uint16_t w[4] = {0x7FF, 0xFC01, 0x155, 0x3FF};
  uint8_t b[5];
  uint16_t back[4];
  hrpt1_pack(w, b);
  hrpt1_unpack(b, back);
  EXPECT_EQ(std::vector<uint16_t>(back, back + 4), (std::vector<uint16_t>{0x3FF, 1, 0x155, 0x3FF}));
}

TEST(HrptFile, HeightZeroCountsAtTheShortStep) {
  testutil::TempDir dir;
  std::string p = dir.file("h0.hrpt");
  for (int n : {1, 3, 4, 6}) {
    write_hrpt_file(p, FT_HRPT, 2048, n, 31);
    std::string b = testutil::read_file(p);
    b[24] = b[25] = 0;
    testutil::write_file(p, b);
    RawPic r(p, FT_HRPT);
    ASSERT_EQ(read_hrpt1_hdr(r.pic), 0);
    // Step 2772 x 5 + 10 = 13870 bytes from 16007: (13872 N - 7) / 13870.
    EXPECT_EQ(r.pic->height, int((13872L * n - 7) / 13870)) << n;
  }
}

TEST(HrptFile, Version3HeaderTakesChannelsFromMask) {
  testutil::TempDir dir;
  std::string p = dir.file("v3.hrpt");
  write_hrpt_file(p, FT_HRPT, 2048, 2, 41);
  std::string b = testutil::read_file(p);
  b.replace(96, 8, "EXT_V003");
  b[20] = char(0x02 | 0x40 | 0x10);  // header, channels 1 and 3
  testutil::write_file(p, b);
  RawPic r(p, FT_HRPT);
  ASSERT_EQ(read_hrpt1_hdr(r.pic), 0);
  EXPECT_EQ(std::vector<int>(r.pic->channels_recorded, r.pic->channels_recorded + 6),
            (std::vector<int>{1, 1, 0, 1, 0, 0}));
  EXPECT_EQ(r.pic->fri.inter_chan, 2);
}

// Broken files end in a result code or a picture of the lines that could be
// read; nothing is sized by the header's claims.
TEST(HrptFile, BadInput) {
  testutil::TempDir dir;
  std::string p = dir.file("bad.hrpt");
  write_hrpt_file(p, FT_HRPT, 2048, 3, 51);
  const std::string b = testutil::read_file(p);
  auto with_le16 = [&](size_t off, uint16_t v) {
    std::string s = b;
    s[off] = char(v & 0xFF), s[off + 1] = char(v >> 8);
    return s;
  };
  std::string nochan = b;
  for (int k = 0; k < 9; k++) nochan[size_t(269 + k)] = 0;
  const struct Row {
    std::string data;
    int type, code, lines;
    const char* what;
  } rows[] = {
      {b.substr(0, 9000), 0, 'r', 0, "truncated header"},
      {with_le16(24, 30000), 0, 0, 3, "a header claiming 30000 lines over a 3-line file"},
      {with_le16(22, 0), 0, 'r', 0, "width 0"},
      {with_le16(22, 0xFFFF), 0, 'r', 0, "absurd width"},
      {nochan, 0, 'r', 0, "no channel recorded at all"},
      {"", 0, 't', 0, "zero-length file: no magic, unknown type"},
      {"", FT_HRPT, 'r', 0, "zero-length file of a forced type"},
      {b.substr(0, 16000 + 2 * 13872 + 100), 0, 0, 2, "cut inside the third record"},
      {b.substr(0, 16000), 0, 0, 0, "header only"},
  };
  for (const Row& r : rows) {
    testutil::write_file(p, r.data);
    OpenedPic o;
    EXPECT_EQ(o.open(p, r.type), r.code) << r.what;
    EXPECT_EQ(o.lines(), r.lines) << r.what;
    EXPECT_TRUE(!r.code || o.pic->fp == nullptr) << r.what;
    EXPECT_TRUE(r.lines != 3 || o.pic->height == 3) << r.what;
    if (r.lines) {
      EXPECT_NE(o.line(0)->line[0][0] | o.line(0)->line[1][0] | o.line(0)->line[2][0], 0);
    }
  }
}

}  // namespace
