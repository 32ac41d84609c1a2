// Transfer frames, packets and the Metop AVHRR line conversion.
#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "cadu_builder.h"
#include "ccsds/cadu.h"
#include "ccsds/rs.h"
#include "ccsds/sync.h"
#include "hex_vectors.h"
#include "support/testutil.h"

using namespace cadu_builder;

namespace {

// A unit on virtual channel vcid with counter cnt, first header pointer fhp
// and a zone of one byte value (no parity: the frame routines don't check it).
Bytes unit(int vcid, long cnt, int fhp, uint8_t fill = 0xAA) {
  Bytes f(1024, 0);
  f[0] = 0x1A, f[1] = 0xCF, f[2] = 0xFC, f[3] = 0x1D;
  f[4] = 0x43;
  f[5] = uint8_t(vcid & 63);
  f[6] = uint8_t(cnt >> 16), f[7] = uint8_t(cnt >> 8), f[8] = uint8_t(cnt);
  f[12] = uint8_t((fhp >> 8) & 7), f[13] = uint8_t(fhp);
  std::memset(f.data() + 14, fill, 882);
  return f;
}

// Checks every word of the NOAA-shaped line against the scan it came from.
void expect_line_is(const uint16_t* line, const AvhrrScan& data, const AvhrrScan& hdr) {
  // Sync, APID, day of year, milliseconds (+640), ramp, targets, patch, 1.
  std::vector<int> want = {644,
                           367,
                           860,
                           413,
                           527,
                           149,
                           hdr.apid & 0x79,
                           0,
                           (metop_daycnt2noaa_dcnt(hdr.day) * 2) & 0x3FE,
                           int((hdr.msec >> 20) & 0x3FF) + 640,
                           int((hdr.msec >> 10) & 0x3FF),
                           int(hdr.msec & 0x3FF)};
  for (int c = 0; c < 5; c++) want.push_back(data.ramp[c]);
  for (int c = 2; c < 5; c++) want.push_back(data.target[c]);
  want.push_back(data.patch[2]);
  want.push_back(1);
  for (int i = 0; i < 10; i++)
    for (int c = 2; c < 5; c++) want.push_back(data.backscan[i][c]);
  for (int i = 0; i < 10; i++)
    for (int c = 0; c < 5; c++) want.push_back(data.space[i][c]);
  EXPECT_EQ(std::vector<int>(line, line + 102), want);
  for (int k = 0; k < 2048 * 5; k++) ASSERT_EQ(line[750 + k], data.earth[k]) << k;
}

}  // namespace

TEST(CaduHeaders, SharedVectorsParse) {
  Bytes cv = read_hex(testutil::shared_path("testdata/rs/cvcdus.hex"));
  ASSERT_EQ(cv.size(), 4080u);
  const int fhp[4] = {0, 2047, 236, 0};
  for (int k = 0; k < 4; k++) {
    VCDU v;
    read_vcduhdr(&v, cv.data() + 1020 * k);
    EXPECT_EQ(std::vector<long>({v.version, v.sc_id, v.vc_id, long(v.cnt), v.m_pdu.fhp}),
              std::vector<long>({1, 12, 9, k, fhp[k]}));
  }
  // Packets: APID 103 starts in frame 0, APID 104 at 236 of frame 2, 105 in frame 3.
  const int apid[4] = {103, -1, 104, 105};
  for (int k : {0, 2, 3}) {
    VCDU v;
    read_vcduhdr(&v, cv.data() + 1020 * k);
    ASSERT_EQ(read_ccsds(&v), 0);
    EXPECT_EQ(v.ccsds.ccsds_prim_hdr.apid, apid[k]) << k;
  }
  VCDU v;
  read_vcduhdr(&v, cv.data() + 1020);
  EXPECT_EQ(read_ccsds(&v), -1);  // 2047: no header here
}

TEST(CaduHeaders, BitReadersAndSync) {
  const uint8_t b[4] = {0xFF, 0x00, 0xAB, 0xCD};
  // A null pointer continues from the last position.
  EXPECT_EQ(std::vector<int>({extr_word(b), extr_word(nullptr), extr_word(b, 4)}),
            std::vector<int>({0x3FC, 0x00A, 0x3C0}));
  EXPECT_EQ(std::vector<int>({extr_word8(b + 2), extr_word8(nullptr), extr_word8(b + 2, 4)}),
            std::vector<int>({0xAB, 0xCD, 0xBC}));

  const uint8_t asm_ok[4] = {0x1A, 0xCF, 0xFC, 0x1D};
  const uint8_t first_only[4] = {0x1A, 0, 0, 0};
  const uint8_t fourth_only[4] = {0, 0, 0, 0x1D};
  const uint8_t none[4] = {0, 0, 0, 0};
  EXPECT_TRUE(is_ahrptsync(asm_ok, 0));
  EXPECT_FALSE(is_ahrptsync(first_only, 0));
  EXPECT_TRUE(is_ahrptsync(first_only, 1));
  EXPECT_TRUE(is_ahrptsync(fourth_only, 1));
  EXPECT_FALSE(is_ahrptsync(none, 1));
}

TEST(CaduHeaders, DayCounts) {
  struct Row {
    int day, doy;
  } rows[] = {
      {0, 1},       // 1 January 2000
      {365, 366},   // 31 December 2000 (leap year)
      {366, 1},     // 1 January 2001
      {730, 365},   // 31 December 2001
      {9131, 366},  // 31 December 2024
  };
  for (auto r : rows) EXPECT_EQ(metop_daycnt2noaa_dcnt(r.day), r.doy) << r.day;
  EXPECT_EQ(fy3_daycnt2noaa_dcnt(366), 1);
  EXPECT_GE(metop_daycnt2noaa_dcnt(65535), 1);  // largest day count: bounded walk
}

TEST(CaduDerandomise, SequenceAndInverse) {
  uint8_t z[300] = {0};
  ccsds_derandomise(z, 300);
  const uint8_t head[8] = {0xFF, 0x48, 0x0E, 0xC0, 0x9A, 0x0D, 0x70, 0xBC};
  EXPECT_EQ(std::memcmp(z, head, 8), 0);
  EXPECT_EQ(z[255], 0xFF);  // period 255
  ccsds_derandomise(z, 300);
  for (uint8_t b : z) EXPECT_EQ(b, 0);
}

// Return codes and the packet path of mtp_avhrr_frame2line.
TEST(MetopFrames, ReturnCodesAndGaps) {
  std::vector<uint16_t> line(MTP_LINE_WORDS);
  mtp_reset();
  // Another virtual channel.
  EXPECT_EQ(mtp_avhrr_frame2line(unit(5, 0, 0).data(), line.data(), 0), MTP_OTHER_VC);
  // First header pointer 2047 only extends the current packet.
  EXPECT_EQ(mtp_avhrr_frame2line(unit(9, 10, 2047).data(), line.data(), 0), MTP_CONTINUED);
  EXPECT_EQ(mtp_fill_pos(), 882);
  // A pointer past the zone but not 2047 is no packet start either.
  EXPECT_EQ(mtp_avhrr_frame2line(unit(9, 11, 1000).data(), line.data(), 0), MTP_CONTINUED);
  EXPECT_EQ(mtp_fill_pos(), 1764);

  // fill_gaps: jump 2 or 3 leaves one frame's room, 1 or 4+ none.
  struct Row {
    long jump;
    int fill;
    int expect_pos;
  } rows[] = {
      {1, 1, 1764 + 882},      // no loss
      {2, 1, 1764 + 2 * 882},  // one frame lost: room kept
      {3, 1, 1764 + 2 * 882},  // two lost: still one frame's room
      {4, 1, 1764 + 882},      // three lost: none
      {2, 0, 1764 + 882},      // fill_gaps off
  };
  for (auto r : rows) {
    mtp_reset();
    mtp_avhrr_frame2line(unit(9, 10, 2047).data(), line.data(), r.fill);
    mtp_avhrr_frame2line(unit(9, 11, 2047).data(), line.data(), r.fill);
    mtp_avhrr_frame2line(unit(9, 11 + r.jump, 2047).data(), line.data(), r.fill);
    EXPECT_EQ(mtp_fill_pos(), r.expect_pos) << "jump " << r.jump << " fill " << r.fill;
  }

  // Oversize packet: the buffer is clipped at 13000 bytes.
  mtp_reset();
  for (int i = 0; i < 40; i++) mtp_avhrr_frame2line(unit(9, i, 2047).data(), line.data(), 1);
  EXPECT_EQ(mtp_fill_pos(), MTP_PACKET_BUF);
  // A packet start with the wrong APID: -1; with sequence flags not 3: -1.
  Bytes f = unit(9, 50, 100);
  f[14 + 100] = 0x08, f[14 + 101] = 105, f[14 + 102] = 0xC0;
  EXPECT_EQ(mtp_avhrr_frame2line(f.data(), line.data(), 0), MTP_NOT_AVHRR);
  EXPECT_EQ(mtp_fill_pos(), 882 - 100);
  f[14 + 101] = 103, f[14 + 102] = 0x40;
  EXPECT_EQ(mtp_avhrr_frame2line(f.data(), line.data(), 0), MTP_NOT_AVHRR);
  f[14 + 102] = 0xC0;
  EXPECT_EQ(mtp_avhrr_frame2line(f.data(), line.data(), 0), MTP_LINE);
  // The word entry narrows words to bytes.
  std::vector<uint16_t> w(f.begin(), f.end());
  for (auto& x : w) x |= 0x300;
  EXPECT_EQ(mtpframe2line(w.data(), line.data(), 0), MTP_LINE);
}

// Packets spanning several frames: each line holds the packet completed in
// the frame and the time and APID of the header starting there.
TEST(MetopFrames, MultiFramePacketsToLines) {
  std::vector<AvhrrScan> scans;
  std::vector<Bytes> packets;
  for (int k = 0; k < 4; k++) {
    scans.push_back(make_scan(k, 9000 + k, 3600000u * 10 + 167u * k, k % 2 ? 104 : 103));
    packets.push_back(avhrr_packet(scans.back(), k));
  }
  FrameWriter fw;
  fw.packets(packets);
  mtp_reset();
  std::vector<uint16_t> line(MTP_LINE_WORDS);
  std::vector<std::vector<uint16_t>> lines;
  for (size_t ofs = 0; ofs < fw.out.size(); ofs += 1024) {
    int r = mtp_avhrr_frame2line(fw.out.data() + ofs, line.data(), 1);
    ASSERT_GE(r, MTP_CONTINUED);
    if (r == MTP_LINE) lines.push_back(line);
  }
  // One line per packet start; the last packet has no successor.
  ASSERT_EQ(lines.size(), 4u);
  for (int k = 1; k < 4; k++) {
    SCOPED_TRACE(k);
    expect_line_is(lines[k].data(), scans[k - 1], scans[k]);
  }
  EXPECT_EQ(mtp_last_packet()->ccsds_data_fld1.sec_hdr_day, 9003);
}

// A lost frame inside a packet: with fill_gaps the samples after the gap stay
// at their place in the line.
TEST(MetopFrames, GapFillingKeepsAlignment) {
  std::vector<AvhrrScan> scans;
  std::vector<Bytes> packets;
  for (int k = 0; k < 3; k++) {
    scans.push_back(make_scan(10 + k, 9000, 1000u * k));
    packets.push_back(avhrr_packet(scans.back(), k));
  }
  FrameWriter fw;
  fw.packets(packets);
  // Drop the fourth unit (inside packet 0, no packet start in it).
  int nunits = int(fw.out.size() / 1024);
  ASSERT_GT(nunits, 20);
  Bytes lossy(fw.out.begin(), fw.out.begin() + 3 * 1024);
  lossy.insert(lossy.end(), fw.out.begin() + 4 * 1024, fw.out.end());
  for (int fill : {1, 0}) {
    mtp_reset();
    std::vector<uint16_t> line(MTP_LINE_WORDS), got;
    for (size_t ofs = 0; ofs < lossy.size(); ofs += 1024) {
      if (mtp_avhrr_frame2line(lossy.data() + ofs, line.data(), fill) == MTP_LINE && ofs > 0 &&
          got.empty())
        got = line;
    }
    ASSERT_FALSE(got.empty());
    // Unit 3 held packet bytes 2646..3527: earth words from about 2100 on
    // come after the gap.
    int matches = 0;
    for (int k = 3000; k < 10240; k++) matches += got[750 + k] == scans[0].earth[k];
    if (fill)
      EXPECT_EQ(matches, 10240 - 3000);
    else
      EXPECT_LT(matches, 1000);
  }
}
