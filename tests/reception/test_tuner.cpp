// The tuning message and what the board sees of it; the board register
// helpers of the test panel and the IQ test rates.
#include <gtest/gtest.h>

#include <cstring>
#include <numeric>
#include <string>
#include <vector>

#include "common/text.h"
#include "orbit/satdb.h"
#include "reception/board_fixture.h"
#include "reception/boardregs.h"
#include "reception/tuner.h"

using boardtest::BoardTest;

namespace {

std::vector<uint8_t> message(const char* name, float mhz, char mod, int offset) {
  std::vector<uint8_t> m(TUNER_MSG_LEN);
  tuner_message(m.data(), name, mhz, mod, offset);
  return m;
}

// The examples 137.1 MHz and 1701.3 MHz - 5, padding and cutting of the name
// are whole messages in SetTunerMessagesByteExact.
TEST(TunerMessage, FrequencyRoundingAndZeroChecksum) {
  auto m = message("NOAA 19", 137.9f, 'P', 0);  // 1379: rounding of 1378.99..
  EXPECT_TRUE(m[1] == 0x05 && m[2] == 0x63);
  // 'S' 0x05 0x5B 'P' (0x103) and the name (0x2FD) sum to 0x400.
  m = message("EEEEEEEEEEK", 137.1f, 'P', 0);
  ASSERT_EQ(std::accumulate(m.begin(), m.begin() + 15, 0u) % 256, 0u);
  EXPECT_EQ(m[15], 0);
}

// Per byte 14 := byte, 12 := 128, waits of 0.5 ms (1 ms before that in fast
// mode); the status read after each of five passes, 10 ms between them.
TEST_F(BoardTest, TunerRegisterSequence) {
  auto m = message("NOAA 19", 137.1f, 'P', 0);
  for (int fast : {0, 1}) {
    SCOPED_TRACE(fast);
    rec->usb.fast_ftd = fast;
    ASSERT_EQ(usb_init_connect(&rec->usb), 0);
    boardtest::sleeps().clear();
    emu->log = BOARDEMU_LOG{};
    EXPECT_EQ(tuner_send(&rec->usb, m.data()), 0);
    std::vector<std::pair<int, int>> writes;
    std::vector<long> waits;
    for (int r = 0; r < 5; r++) {
      if (r) waits.push_back(10000);
      for (uint8_t b : m) {
        writes.insert(writes.end(), {{14, b}, {12, 128}});
        if (fast) waits.push_back(1000);
        waits.push_back(500);
      }
    }
    EXPECT_EQ(emu->log.reg_writes, writes);
    EXPECT_EQ(emu->log.pointer_resets, 2);  // one reset command: two zero bytes
    EXPECT_EQ(emu->log.reg_reads, std::vector<int>(5, 13));
    EXPECT_EQ(boardtest::sleeps(), waits);
  }
}

TEST_F(BoardTest, TunerOverflowReadsStatusThreeTimes) {
  auto m = message("NOAA 19", 137.1f, 'P', 0);
  emu->overflow_reads = 1000;  // overflow persists
  EXPECT_EQ(tuner_send(&rec->usb, m.data()), 1);
  EXPECT_EQ(emu->log.reg_reads.size(), 15u);  // three reads in each of five passes
  emu->log = BOARDEMU_LOG{};
  emu->overflow_reads = 1;  // clears at the second read
  EXPECT_EQ(tuner_send(&rec->usb, m.data()), 0);
  EXPECT_EQ(emu->log.reg_reads.size(), 6u);
}

// ---- Board register helpers ----

TEST_F(BoardTest, I2cTestMessage) {
  EXPECT_EQ(do_i2c(rec.get()), 0);
  std::vector<std::pair<int, int>> want = {{14, 0xC2}, {12, 3}, {14, 0x0D}, {12, 3},
                                           {14, 0x26}, {12, 3}, {14, 142},  {12, 3},
                                           {14, 160},  {12, 1}, {12, 0}};
  EXPECT_EQ(emu->log.reg_writes, want);
  ASSERT_EQ(emu->log.i2c_msgs.size(), 1u);
  EXPECT_EQ(emu->log.i2c_msgs[0], (std::vector<uint8_t>{0xC2, 0x0D, 0x26, 0x8E, 0xA0}));
}

TEST_F(BoardTest, DiseqcContinuousStep) {
  EXPECT_EQ(deqcont(rec.get()), 1);
  EXPECT_EQ(emu->log.reg_writes, (std::vector<std::pair<int, int>>{{12, 64}, {12, 96}}));
  EXPECT_EQ(emu->log.diseqc.size(), 2u);
}

TEST_F(BoardTest, RateDividers) {
  EXPECT_EQ(set_gen_divider(&rec->usb, 1228), 0);
  EXPECT_EQ(set_dec_divider(&rec->usb, 5000), 0);  // clamped to 2047
  EXPECT_EQ(emu->log.reg_writes, (std::vector<std::pair<int, int>>{
                                     {20, 1228 & 0xFF}, {21, 1228 >> 8}, {22, 0xFF}, {23, 7}}));
  int g, d, d40;
  rate_preset_2msymb(40, &g, &d);
  EXPECT_TRUE(g == 23 && d == 20);
  rate_preset_40ksymb(40, &g, &d40);
  rate_preset_40ksymb(20, &g, &d);
  EXPECT_TRUE(g == 1228 && d == 525 && d40 == 1050);
}

TEST(IqRates, VcoSkipsThirty) {
  EXPECT_EQ(vco_step(20, 30), 40);  // up from 20 lands on 40
  EXPECT_EQ(vco_step(40, 30), 20);  // down from 40 lands on 20
}

// Whole messages as the board's serial port carries them, through the
// satellite record.
TEST_F(BoardTest, SetTunerMessagesByteExact) {
  RECORDINFO* saved = g_recordinfo;
  g_recordinfo = rec.get();
  struct Row {
    const char* name;
    float mhz;
    int offset;
    std::vector<uint8_t> want;
  } rows[] = {
      // 137.1 MHz, offset 0: 1371 = 0x055B; 'P' from the name.
      {"NOAA 19",
       137.1f,
       0,
       {'S', 0x05, 0x5B, 'P', 'N', 'O', 'A', 'A', ' ', '1', '9', ' ', ' ', ' ', ' ', 0xD4}},
      // 1701.3 MHz, offset -5: 17008 = 0x4270; 'Q'; name cut to 11.
      {"METOP-B    LONGER",
       1701.3f,
       -5,
       {'S', 0x42, 0x70, 'Q', 'M', 'E', 'T', 'O', 'P', '-', 'B', ' ', ' ', ' ', ' ', 0x36}},
  };
  static SAT sats[2];  // the tuner keeps the last one as its current satellite
  for (const Row& r : rows) {
    emu->log = BOARDEMU_LOG{};
    SAT& sat = sats[&r - rows];
    pava::copy_text(sat.satname, r.name);
    sat.hfreq = r.mhz;
    testing::internal::CaptureStdout();  // its debug line
    EXPECT_EQ(set_tuner1(&sat, r.offset), 0);
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(sat.modtype, r.want[3]);
    EXPECT_EQ(emu->log.tuner_msgs, std::vector<std::vector<uint8_t>>(5, r.want)) << r.name;
  }
  // A null satellite sends the current one again (no Tune window: offset 0).
  testing::internal::CaptureStdout();
  set_tuner(nullptr);
  testing::internal::GetCapturedStdout();
  EXPECT_EQ(emu->log.tuner_msgs.size(), 10u);
  EXPECT_EQ(emu->log.tuner_msgs.back(), message("METOP-B    LONGER", 1701.3f, 'Q', 0));
  g_recordinfo = saved;
}

}  // namespace
