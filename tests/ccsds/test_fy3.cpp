// FY-3 VIRR and MERSI streams.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <random>
#include <vector>

#include "cadu_builder.h"
#include "ccsds/fy3.h"
#include "qpsk_opened.h"
#include "support/testutil.h"

using namespace cadu_builder;

namespace {

std::vector<uint16_t> virr_line(int seed) {
  std::mt19937 rng(seed);
  std::vector<uint16_t> l(2048 * 10);
  for (auto& v : l) v = uint16_t(rng() & 0x1FF);
  return l;
}

// A FY-3B unit (spacecraft 50) without parity or packet start.
Bytes unit(int vcid, long cnt) { return bare_unit(50, vcid, cnt, 2047, 0); }

// Three VIRR lines; the second sync starts 10 bits before the end of the zone
// of unit 29 and ends in unit 30.
struct Straddle {
  std::vector<std::vector<uint16_t>> lines{virr_line(1), virr_line(2), virr_line(3)};
  FrameWriter fw;
  Straddle() {
    fw.scid = 50;
    fw.vcid = 5;
    // Line length 436*8 + 204800 + 5 bits = 208293; 208293 mod 7056 = 3669,
    // so a lead of 3377 bits puts sync 1 at 30*7056 - 10.
    fw.stream(virr_stream(lines, 3377, 5));
  }
};

}  // namespace

TEST(Fy3Sync, PatternStraddlingTwoFramesIsFoundInTheSecond) {
  Straddle s;
  std::vector<uint16_t> line(FY3_LINE_WORDS);
  fy3_reset();
  std::vector<int> found;
  std::vector<std::vector<uint16_t>> got;
  for (size_t k = 0; k * 1024 < s.fw.out.size(); k++) {
    if (fy3_frame2line(s.fw.out.data() + 1024 * k, fy3_virr_day, line.data(), 0)) {
      found.push_back(int(k));
      got.push_back(line);
    }
  }
  ASSERT_GE(found.size(), 2u);
  EXPECT_TRUE(found[0] == 0 && found[1] == 30);
  // The line completed at the straddling sync is line 0, correctly aligned.
  EXPECT_EQ(std::vector<uint16_t>(got[1].begin() + 1600, got[1].end()), s.lines[0]);
  EXPECT_EQ(std::vector<uint16_t>(got[1].begin(), got[1].begin() + 6),
            (std::vector<uint16_t>{644, 367, 860, 413, 527, 149}));
}

TEST(Fy3Buffer, GapFillingAndCopyClipping) {
  std::vector<uint16_t> line(FY3_LINE_WORDS);
  struct Row {
    long jump;
    int fill;
    int expect;
  } rows[] = {
      {1, 1, 1764},         // consecutive: position unchanged by the gap rule
      {3, 1, 1764 + 1764},  // two frames lost: 1764 bytes of room
      {3, 0, 1764},         // fill_gaps off
  };
  for (auto r : rows) {
    fy3_reset();
    fy3_frame2line(unit(5, 1).data(), fy3_virr_day, line.data(), r.fill);
    fy3_frame2line(unit(5, 1 + r.jump).data(), fy3_virr_day, line.data(), r.fill);
    EXPECT_EQ(fy3_fill_pos(), r.expect) << "jump " << r.jump;
  }
  // A counter running backwards leaves a negative position: nothing copied.
  fy3_reset();
  fy3_frame2line(unit(5, 100).data(), fy3_virr_day, line.data(), 1);
  fy3_frame2line(unit(5, 5).data(), fy3_virr_day, line.data(), 1);
  EXPECT_LT(fy3_fill_pos(), 0);
  // Frames of other channels are ignored.
  EXPECT_EQ(fy3_frame2line(unit(9, 6).data(), fy3_virr_day, line.data(), 1), 0);
  EXPECT_EQ(fy3_frame2line(unit(5, 6).data(), 25, line.data(), 1), 0);

  static uint8_t buf[FY3_PACKET_BUF];
  static uint8_t src[2000];
  std::memset(src, 7, sizeof src);
  struct CopyRow {
    int n, pos, expect;
    bool copied;
  } crows[] = {
      {0, 10, 10, false},                   // n < 1: position unchanged
      {100, 0, 100, true},                  // plain copy
      {100, 29950, 30000, false},           // clipped to 30000: end 30000 > 29999, no copy
      {100, 29899, 29999, true},            // ends at 29999: copied
      {100, -50, 50, false},                // negative position: only the count moves
      {100, FY3_PACKET_BUF, 30000, false},  // full
  };
  for (auto r : crows) {
    std::memset(buf, 0, sizeof buf);
    EXPECT_EQ(copy_packet(r.n, r.pos, buf, src), r.expect) << r.n << " " << r.pos;
    bool any = false;
    for (uint8_t b : buf) any |= b != 0;
    EXPECT_EQ(any, r.copied) << r.n << " " << r.pos;
  }
}

// A FY-3 record file (FY-3B) gives VIRR lines; FY-3D only dumps MERSI packets
// to "mersitest.bin" in the working directory and gives no lines.
TEST(Fy3Files, VirrLinesAndMersiDump) {
  testutil::TempDir dir;
  Straddle s;
  std::string path = dir.file("fy3.dat");
  testutil::write_file(path, std::string(s.fw.out.begin(), s.fw.out.end()));
  Opened o(path, FT_FY3);
  PICINFO* pic = o.pic;
  ASSERT_EQ(o.read_all(), 0);
  EXPECT_STREQ(pic->sat_name, "FY3-B");
  EXPECT_EQ(std::vector<int>(
                {pic->nr_chan, pic->fri.header_len, pic->fri.bytes_per_line, pic->fri.inter_chan}),
            std::vector<int>({10, 1600, 25600, 10}));
  ASSERT_GE(pic->height, 2);
  XLINE* l1 = pic_line(pic, 1);
  ASSERT_NE(l1, nullptr);
  EXPECT_EQ(l1->nrchan, 10);
  for (int i = 0; i < 2048; i += 97)
    for (int c = 0; c < 10; c++) EXPECT_EQ(l1->line[c][i], s.lines[0][10 * i + c]);

  // FY-3D: MERSI stream on VCID 3 with five packets (enough units to
  // identify the spacecraft).
  FrameWriter fw;
  fw.scid = 52;
  fw.vcid = 3;
  Bytes mersi(3000 * 5, 0x11);
  for (int k = 0; k < 5; k++) {
    uint8_t* p = mersi.data() + 3000 * k;
    p[0] = 0x7F, p[1] = 0xF8, p[2] = 0x00, p[3] = 0x4A;  // 0x7FF8004 then 0xA
  }
  fw.stream(mersi);
  std::string p3d = dir.file("fy3d.dat");
  testutil::write_file(p3d, std::string(fw.out.begin(), fw.out.end()));
  char old[512];
  ASSERT_NE(getcwd(old, sizeof old), nullptr);
  ASSERT_EQ(chdir(dir.path().c_str()), 0);
  Opened o2(p3d, FT_FY3);
  ASSERT_EQ(o2.read_all(), 0);
  EXPECT_STREQ(o2.pic->sat_name, "FY3-D");
  EXPECT_TRUE(o2.pic->nr_chan == 25 && o2.pic->height == 0 && o2.pic->xline == nullptr);
  std::string dumped = testutil::read_file(dir.file("mersitest.bin"));
  ASSERT_EQ(chdir(old), 0);
  EXPECT_EQ(dumped.size(), 4u * 3000);  // the packets between syncs
}
