// Meteor MHRPT1 and MHRPT2 files.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "format_samples.h"
#include "formats/meteor.h"
#include "open_helper.h"
#include "support/testutil.h"

namespace {

TEST(MeteorSync, ThreeWrongBytesStillStartALine) {
  // A frame whose line sync has three wrong bytes still starts a line; four don't.
  uint8_t frame[256] = {0};
  std::memcpy(frame + 22, MSU_SYNC, 8);
  frame[22] ^= 0xFF, frame[26] ^= 1, frame[29] ^= 0x80;
  EXPECT_TRUE(m1hrpt_is_startframe(frame));
  frame[23] ^= 0x55;
  EXPECT_FALSE(m1hrpt_is_startframe(frame));
}

TEST(MeteorMhrpt1, RoundTrip) {
  testutil::TempDir dir;
  std::string p = dir.file("m.mhrpt1");
  auto words = fmtsamples::write_mhrpt1_file(p, 7, true, 0, 6);
  OpenedPic o;
  ASSERT_EQ(o.open(p), 0);
  EXPECT_EQ(std::vector<long>({o.pic->file_type, o.pic->sat_type, o.pic->width, o.pic->pic_strt,
                               o.pic->fri.bytes_per_line, o.pic->fri.header_len}),
            std::vector<long>({FT_MHRPT1, M1HRPT, 1540, 256, 12800, 50}));
  EXPECT_STREQ(o.pic->sat_name, "METEOR-M2");
  ASSERT_EQ(o.lines(), 7);
  for (int i = 0; i < 7; i++) {
    EXPECT_TRUE(o.line(i)->syncword);
    for (int px = 0; px < 1540; px++)
      for (int c = 0; c < 6; c++)
        ASSERT_EQ(o.line(i)->line[c][px], words[size_t(i)][size_t(px * 6 + c)])
            << i << " " << px << " " << c;
  }
  // Times: Moscow time minus 3 hours, made-up milliseconds.
  EXPECT_TRUE(o.pic->valid_time);
  EXPECT_EQ(stamp(o.line(6)->tm_ms).substr(0, 19), "2024-03-05 10:20:31");
}

TEST(MeteorMhrpt1, HeaderlessFromFirstLineSync) {
  testutil::TempDir dir;
  std::string p = dir.file("headerless.bin");
  // Three frames of zeros, then lines.
  auto words = fmtsamples::write_mhrpt1_file(p, 3, false, 3, 7);
  OpenedPic o;
  ASSERT_EQ(o.open(p, FT_MHRPT1), 0);
  EXPECT_EQ(o.pic->pic_strt, 3 * 256);
  ASSERT_EQ(o.lines(), 3);
  EXPECT_EQ(o.line(2)->line[5][1539], words[2][1539 * 6 + 5]);
}

TEST(MeteorMhrpt1, NoLineSync) {
  testutil::TempDir dir;
  std::string p = dir.file("nosync.bin");
  testutil::write_file(p, std::string(40000, '\x55'));
  OpenedPic o;
  EXPECT_EQ(o.open(p, FT_MHRPT1), 'p');
  EXPECT_EQ(o.pic->fp, nullptr);
  testutil::write_file(p, "MHR");  // not even 131 bytes
  EXPECT_EQ(o.open(p, FT_MHRPT1), 'r');
}

TEST(MeteorMhrpt2, ReadsLinesAtTwoSyncPositions) {
  testutil::TempDir dir;
  std::string p = dir.file("m2.mhrpt2");
  auto words = fmtsamples::write_mhrpt2_file(p, 10, 40, 120, 8);
  OpenedPic o;
  ASSERT_EQ(o.open(p), 0);
  EXPECT_EQ(o.pic->file_type, FT_MHRPT2);
  EXPECT_EQ(o.pic->width, 1570);
  ASSERT_EQ(o.lines(), 10);
  for (int i = 0; i < 10; i++) {
    EXPECT_TRUE(o.line(i)->syncword) << i;
    for (int px = 0; px < 1570; px += 3)
      for (int c = 0; c < 6; c++)
        ASSERT_EQ(o.line(i)->line[c][px], words[size_t(i)][size_t(px * 6 + c)])
            << i << " " << px << " " << c;
    EXPECT_EQ(o.line(i)->line_hdr[0], MSU_SYNC[0]);
  }
  EXPECT_TRUE(o.pic->valid_time);
  EXPECT_EQ(stamp(o.line(9)->tm_ms).substr(0, 19), "2024-03-05 10:20:31");
}

TEST(MeteorMhrpt2, OnePositionFailsTheSearch) {
  testutil::TempDir dir;
  std::string p = dir.file("one.mhrpt2");
  fmtsamples::write_mhrpt2_file(p, 10, 40, 40, 9);
  EXPECT_FALSE(search_msu(RawPic(p, FT_MHRPT2).pic->fp));
  OpenedPic o;
  EXPECT_EQ(o.open(p), 'p');
}

}  // namespace
