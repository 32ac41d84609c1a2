// Transfer frames, packets and the Metop AVHRR line conversion.
#include <gtest/gtest.h>

#include <vector>

#include "cadu_builder.h"
#include "ccsds/cadu.h"
#include "ccsds/sync.h"

using namespace cadu_builder;

namespace {

// A Metop unit (spacecraft 12) without parity.
Bytes unit(int vcid, long cnt, int fhp) { return bare_unit(12, vcid, cnt, fhp, 0xAA); }

}  // namespace

TEST(CaduHeaders, MarkerStrictAndLenient) {
  // Marker: strict needs all four bytes, lenient any one of them.
  const uint8_t m[4][4] = {
      {0x1A, 0xCF, 0xFC, 0x1D}, {0x1A, 0, 0, 0}, {0, 0, 0, 0x1D}, {0, 0, 0, 0}};
  EXPECT_EQ(std::vector<int>({is_ahrptsync(m[0], 0), is_ahrptsync(m[1], 0), is_ahrptsync(m[1], 1),
                              is_ahrptsync(m[2], 1), is_ahrptsync(m[3], 1)}),
            std::vector<int>({1, 0, 1, 1, 0}));
}

TEST(CaduHeaders, DayCounts) {
  struct Row {
    int day, doy;
  } rows[] = {
      {0, 1},      // 1 January 2000
      {365, 366},  // 31 December 2000 (leap year)
      {366, 1},    // 1 January 2001
  };
  for (auto r : rows) EXPECT_EQ(metop_daycnt2noaa_dcnt(r.day), r.doy) << r.day;
  EXPECT_EQ(fy3_daycnt2noaa_dcnt(366), 1);
  EXPECT_GE(metop_daycnt2noaa_dcnt(65535), 1);  // largest day count: bounded walk
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
