// The Metop test's statistics over CADUs streamed by the emulated board.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "ccsds/cadu.h"
#include "reception/board_fixture.h"
#include "reception/metoptest.h"

using boardtest::BoardTest;

namespace {

// A CADU: sync marker, version 01, spacecraft scid, virtual channel vcid,
// the rest a counter; randomised after the marker when asked.
std::vector<uint16_t> cadu(int scid, int vcid, bool randomised) {
  std::vector<uint8_t> b(METOPTEST_FRAME);
  const uint8_t marker[4] = {0x1A, 0xCF, 0xFC, 0x1D};
  std::memcpy(b.data(), marker, 4);
  b[4] = uint8_t(0x40 | (scid >> 2));
  b[5] = uint8_t(((scid & 3) << 6) | vcid);
  for (int i = 6; i < METOPTEST_FRAME; i++) b[size_t(i)] = uint8_t(i);
  if (randomised) ccsds_derandomise(b.data() + 4, METOPTEST_FRAME - 4);
  return std::vector<uint16_t>(b.begin(), b.end());
}

TEST_F(BoardTest, MetopTestCountsVirtualChannels) {
  for (bool randomised : {false, true}) {
    SCOPED_TRACE(randomised ? "randomised" : "plain");
    TearDown();  // a fresh board and link for each case
    SetUp();
    boardtest::drain_state().stop_after = 1000;        // a stuck stream ends the test
    const int vcids[] = {9, 9, 10, 9, 34, 63, 9, 10};  // 63: fill
    for (int v : vcids) {
      auto f = cadu(11, v, randomised);
      emu->frames.insert(emu->frames.end(), f.begin(), f.end());
    }
    emu->words_per_frame = METOPTEST_FRAME;
    ASSERT_EQ(usb_init_connect(&rec->usb), 0);
    ASSERT_EQ(metoptest_prepare(rec.get()), 0);
    EXPECT_EQ(rec->sat_type, METOP);
    ASSERT_EQ(ena_dat(&rec->usb), 0);
    METOP_TEST st;
    std::vector<uint16_t> frame(METOPTEST_FRAME);
    for (size_t i = 0; i < sizeof vcids / sizeof vcids[0]; i++)
      metoptest_frame(&st, frame.data(), get_hrpt_frame(frame.data(), rec.get()), randomised);
    EXPECT_EQ(st.frames, 8);
    EXPECT_EQ(st.vcid[9], 4);
    EXPECT_EQ(st.vcid[10], 2);
    EXPECT_EQ(st.spacecraft, 11);
    char text[100];
    metoptest_vcid_text(&st, text, sizeof text);
    EXPECT_STREQ(text, "VC9:4 VC10:2 VC34:1 VC63:1");  // busiest first, ties by number
  }
}

}  // namespace
