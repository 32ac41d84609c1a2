// QPSK record files: header block, Metop/NOAA/Aqua reading with Reed-Solomon
// and derandomising, bad input.
#include <gtest/gtest.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "cadu_builder.h"
#include "ccsds/cadu.h"
#include "common/bytes.h"
#include "qpsk_opened.h"
#include "support/testutil.h"

using namespace cadu_builder;

namespace {

constexpr int kPackets = 6;
constexpr int kDay = 9386;  // 2025-09-12, days since 2000-01-01
constexpr uint32_t kMs0 = 9 * 3600000u + 3 * 60000u + 25500u;

struct MetopData {
  std::vector<AvhrrScan> scans;
  Bytes units;
  MetopData(bool randomise = false) {
    std::vector<Bytes> packets;
    for (int k = 0; k < kPackets; k++) {
      scans.push_back(make_scan(100 + k, kDay, kMs0 + 167u * k, k % 2 ? 104 : 103));
      packets.push_back(avhrr_packet(scans.back(), k));
    }
    FrameWriter fw;
    fw.randomise = randomise;
    fw.packets(packets);
    units = fw.out;
  }
};

// The record header as the recorder writes it, followed by units.
std::string record_file(const Bytes& units, int rs_flag, const char* kind = "metop") {
  FILE* fp = std::tmpfile();
  PICINFO* pic = pic_new();
  pic->reed_solomon = rs_flag;
  std::memcpy(pic->firmware, "FW01", 4);
  struct tm& t = pic->picture_time;
  t.tm_year = 125, t.tm_mon = 8, t.tm_mday = 12, t.tm_hour = 9, t.tm_min = 3, t.tm_yday = 254;
  t.tm_wday = 5;
  KEPLER& k = pic->kepler;
  k.epoch_year = 125, k.epoch_day = 254.5, k.inclination = 1.7189f, k.motion = 14.2f;
  k.epoch_rev = 12345;
  pic->orbit.offset_sec = 3, pic->orbit.offset_lon = -0.5f;
  pic->scan_ver = S_N, pic->sat_type = QNOAA20;
  if (std::string(kind) == "noaa")
    write_qnoaahdr_file(pic, fp);
  else
    write_metophdr_file(pic, fp);
  std::rewind(fp);
  std::string all(1024, '\0');
  all.resize(std::fread(all.data(), 1, all.size(), fp));
  std::fclose(fp);
  pic_delete(pic);
  return all + std::string(units.begin(), units.end());
}

// Line k (k >= 1) holds packet k-1's samples and, in its header words,
// packet k's APID, day of year and time with packet k-1's calibration words:
// sync, APID, day of year, milliseconds (+640), ramp, targets, patch, 1, back
// scan and space words.
void expect_metop_lines(PICINFO* pic, const MetopData& m) {
  ASSERT_EQ(pic->height, kPackets);
  ASSERT_EQ(pic_line_count(pic), kPackets);
  for (int k = 1; k < kPackets; k++) {
    SCOPED_TRACE(k);
    XLINE* l = pic_line(pic, k);
    ASSERT_TRUE(l && l->nrchan == 5 && l->width == 2048 && l->linenr == k);
    const AvhrrScan &d = m.scans[size_t(k - 1)], &h = m.scans[size_t(k)];
    // 2025-09-12 is day 255.
    std::vector<int> want = {644, 367, 860, 413, 527, 149, h.apid & 0x79, 0, 255 * 2};
    for (int sh : {20, 10, 0}) want.push_back(int((h.msec >> sh) & 0x3FF) + (sh == 20 ? 640 : 0));
    for (int c = 0; c < 5; c++) want.push_back(d.ramp[c]);
    for (int c = 2; c < 5; c++) want.push_back(d.target[c]);
    want.push_back(d.patch[2]);
    want.push_back(1);
    for (int i = 0; i < 10; i++)
      for (int c = 2; c < 5; c++) want.push_back(d.backscan[i][c]);
    for (int i = 0; i < 10; i++)
      for (int c = 0; c < 5; c++) want.push_back(d.space[i][c]);
    EXPECT_EQ(std::vector<int>(l->line_hdr, l->line_hdr + 102), want);
    bool same = true;
    for (int i = 0; i < 2048 && same; i++)
      for (int c = 0; c < 5; c++) same &= l->line[c][i] == d.earth[5 * i + c];
    EXPECT_TRUE(same);
  }
}

}  // namespace

TEST(QpskHeader, WriteAndReadBack) {
  MetopData m;
  std::string file = record_file(m.units, 0);
  const uint8_t* b = reinterpret_cast<const uint8_t*>(file.data());
  // Marker and identifier, firmware text at 16, "RS=" at 106.
  EXPECT_EQ(file.substr(0, 10) + file.substr(16, 13) + file.substr(106, 3),
            std::string("\x1A\xCF\xFC\x1DMETOPxFirmware=FW01RS="));
  // Month, year - 1900 and day of year at 30 + 2 x 4, 5 and 7.
  EXPECT_EQ(std::vector<long>({b[29], pava::get_le16(b + 38), pava::get_le16(b + 40),
                               pava::get_le16(b + 44), long(pava::get_le32(b + 92)), b[109], b[111],
                               b[130]}),
            std::vector<long>({3, 8, 125, 254, 12345, 0, 1, 1}));
  EXPECT_NEAR(pava::get_lef(b + 68), 98.487, 0.01);  // inclination in degrees
  EXPECT_FLOAT_EQ(pava::get_lef(b + 131), -0.5f);
  for (int i : {14, 15, 48, 55, 96, 105, 110, 112, 129, 135, 1023}) EXPECT_EQ(b[i], 0) << i;

  testutil::TempDir d;
  testutil::write_file(d.file("m.dat"), file);
  Opened o(d.file("m.dat"), FT_METOP);
  ASSERT_EQ(read_qpsk_hdr(o.pic, o.view.get()), 0);
  const PICINFO* p = o.pic;
  EXPECT_EQ(std::vector<long>({p->pic_strt, p->valid_time, p->picture_time.tm_year,
                               p->picture_time.tm_mday, p->kepler.epoch_rev, p->scan_ver, p->sat_id,
                               p->width, p->nr_chan, p->fri.header_len, p->derandomise}),
            std::vector<long>({1024, 1, 125, 12, 12345, S_N, 12, 2048, 5, 750, 0}));
  EXPECT_STREQ(p->firmware, "FW01");
  EXPECT_STREQ(p->sat_name, "METOP-A");
  EXPECT_NEAR(p->kepler.inclination, 1.7189, 1e-4);

  // "firmware" in lower case is recognised as well; "NOAA20" identifier.
  std::string nf = record_file(m.units, 0, "noaa");
  EXPECT_EQ(nf.substr(4, 6), "NOAA20");
  nf.replace(16, 1, "f");
  EXPECT_TRUE(qpsk_is_hdr_block(reinterpret_cast<const uint8_t*>(nf.data())));
  nf.replace(106, 2, "rs");
  EXPECT_FALSE(qpsk_is_hdr_block(reinterpret_cast<const uint8_t*>(nf.data())));
}

// A Metop recording with 16 symbol errors per codeword through the
// program's own front door: detected and opened by pava-cli info, samples
// read back with pava-cli line, both with --reed-solomon.
TEST(QpskMetop, OpensWithPavaCli) {
  const std::string cli = testutil::bin_path("pava-cli");
  if (access(cli.c_str(), X_OK) != 0) GTEST_SKIP() << "pava-cli not built";
  MetopData m;
  testutil::TempDir d;
  Bytes bad = m.units;
  std::mt19937 rng(161);
  inject_errors(bad, 16, rng);
  const std::string file = d.file("errors.dat");
  testutil::write_file(file, record_file(bad, 0));
  auto info = testutil::run({cli, "info", file, "--reed-solomon"});
  ASSERT_EQ(info.status, 0) << info.err;
  auto j = nlohmann::json::parse(info.out);
  EXPECT_TRUE(j["file_type"] == "FT_METOP" && j["sat_name"] == "METOP-A" && j["height"] == kPackets)
      << j;
  for (int k = 1; k < kPackets; k++) {
    auto ln = testutil::run(
        {cli, "line", file, "--reed-solomon", "--line", std::to_string(k), "--channel", "2"});
    ASSERT_EQ(ln.status, 0) << ln.err;
    auto lj = nlohmann::json::parse(ln.out);
    ASSERT_EQ(lj["samples"].size(), 2048u);
    bool same = true;
    for (int i = 0; i < 2048; i++)
      same &= lj["samples"][size_t(i)] == m.scans[k - 1].earth[5 * i + 1];
    EXPECT_TRUE(same) << "line " << k;
    EXPECT_FALSE(lj["time"].is_null());
  }
}

// Headerless files, randomised units, the NOAA-20/21 and Aqua names of the
// same path.
TEST(QpskMetop, HeaderlessRandomisedAndOtherTypes) {
  testutil::TempDir d;
  MetopData plain, rnd(true);
  testutil::write_file(d.file("plain.cadu"), std::string(plain.units.begin(), plain.units.end()));
  testutil::write_file(d.file("rnd.cadu"), std::string(rnd.units.begin(), rnd.units.end()));
  for (FILE_TYPE ft : {FT_METOP, FT_QNOAA20, FT_QNOAA21, FT_AQUA}) {
    SCOPED_TRACE(ft);
    Opened o(d.file("plain.cadu"), ft);
    ASSERT_EQ(o.read_all(), 0);
    // Time from the first packet's day count.
    EXPECT_EQ(std::vector<long>({o.pic->pic_strt, o.pic->valid_time, o.pic->picture_time.tm_year,
                                 o.pic->picture_time.tm_yday}),
              std::vector<long>({0, 1, 125, 254}));
    expect_metop_lines(o.pic, plain);
  }
  Opened o(d.file("rnd.cadu"), FT_METOP, 1);
  ASSERT_EQ(o.read_all(), 0);
  EXPECT_EQ(o.pic->derandomise, 1);
  expect_metop_lines(o.pic, rnd);
}

// Damaged input: no crash, no read outside a buffer (run under ASan).
TEST(QpskBadInput, TruncatedRandomAndGarbage) {
  testutil::TempDir d;
  MetopData m;
  // File ending inside a frame.
  std::string f = record_file(m.units, 0);
  f.resize(f.size() - 500);
  testutil::write_file(d.file("short.dat"), f);
  {
    Opened o(d.file("short.dat"), FT_METOP, 1);
    ASSERT_EQ(o.read_all(), 0);
    EXPECT_EQ(o.pic->height, kPackets);  // the last packet start is in a whole unit
  }
  // Less than one unit.
  testutil::write_file(d.file("tiny.dat"), std::string(600, '\x1A'));
  {
    Opened o(d.file("tiny.dat"), FT_METOP);
    EXPECT_EQ(read_qpsk_hdr(o.pic, o.view.get()), 'r');
  }
  // Header with garbage times and numbers.
  std::mt19937 rng(77);
  std::string g = record_file(m.units, 0);
  for (int i = 30; i < 48; i++) g[size_t(i)] = char(rng());
  for (int i = 56; i < 96; i++) g[size_t(i)] = char(0xFF);  // NaN floats
  testutil::write_file(d.file("garbage.dat"), g);
  {
    Opened o(d.file("garbage.dat"), FT_METOP);
    ASSERT_EQ(o.read_all(), 0);
    EXPECT_EQ(o.pic->kepler.inclination, 0.0f);
    // The year is taken from the packets instead.
    EXPECT_TRUE(o.pic->picture_time.tm_year == 125 && o.pic->height == kPackets);
  }
  // Random bytes with a marker every few units and random pointers.
  for (int trial = 0; trial < 4; trial++) {
    std::string r(1024 * 60, '\0');
    for (auto& c : r) c = char(rng());
    for (size_t u = 0; u < 60; u += 1 + rng() % 3) {
      std::memcpy(&r[u * 1024], "\x1A\xCF\xFC\x1D", 4);
      r[u * 1024 + 5] = char((rng() & 0xC0) | 9);
    }
    testutil::write_file(d.file("rand.dat"), r);
    for (FILE_TYPE ft : {FT_METOP, FT_FY3}) {
      Opened o(d.file("rand.dat"), ft, 1);
      o.view->destrip = 1;
      ASSERT_EQ(o.read_all(), 0);
      EXPECT_EQ(o.pic->height, pic_line_count(o.pic));
    }
  }
  // Not a QPSK type.
  Opened o(d.file("rand.dat"), FT_HRPT);
  EXPECT_EQ(read_qpsk_hdr(o.pic, o.view.get()), 't');
  EXPECT_EQ(read_qpsk_all(o.pic, o.view.get()), nullptr);
}

// The real recordings through the AVHRR reader: Meteor LRPT (VCID 5) and the
// Suomi-NPP channels are other virtual channels, the NOAA-21 block has one
// whole unit; none gives a line, none mis-synchronises.
TEST(QpskRealFiles, OtherChannelsGiveNoLines) {
  struct Row {
    const char* file;
    FILE_TYPE ft;
    int derand;
  } rows[] = {
      {"meteor_m2_lrpt_2025-09-14.cadu", FT_METOP, 0},
      {"snpp_synchronized_cadus_2016-02-10.dat", FT_QNOAA20, 1},
      {"snpp_7cadus_2vcids.dat", FT_QNOAA20, 1},
      {"noaa21_jpss2_block.dat", FT_QNOAA21, 1},
  };
  for (auto r : rows) {
    SCOPED_TRACE(r.file);
    Opened o(testutil::shared_path(std::string("testdata/ccsds/") + r.file), r.ft, 1);
    ASSERT_NE(o.pic->fp, nullptr);
    ASSERT_EQ(o.read_all(), 0);
    EXPECT_EQ(o.pic->derandomise, r.derand);
    EXPECT_TRUE(o.pic->height == 0 && o.pic->xline == nullptr);
  }
}
