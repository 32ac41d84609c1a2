// The tuning message and what the board sees of it; the board register
// helpers of the test panel and the IQ test rates.
#include <gtest/gtest.h>

#include <cstring>
#include <numeric>
#include <string>
#include <vector>

#include "reception/board_fixture.h"
#include "reception/boardregs.h"
#include "reception/tuner.h"
#if __has_include("orbit/satdb.h")
#include "orbit/satdb.h"
#endif

using boardtest::BoardTest;

namespace {

std::vector<uint8_t> message(const char* name, float mhz, char mod, int offset) {
  std::vector<uint8_t> m(TUNER_MSG_LEN);
  tuner_message(m.data(), name, mhz, mod, offset);
  return m;
}

TEST(TunerMessage, FrequencyBytes) {
  struct Row {
    float mhz;
    int offset;
    uint8_t hi, lo;
  } rows[] = {
      {137.1f, 0, 0x05, 0x5B},    // 1371
      {1701.3f, -5, 0x42, 0x70},  // 17013 - 5 = 17008
      {1707.0f, 3, 0x42, 0xB1},   // 17073
      {137.9f, 0, 0x05, 0x63},    // 1379: rounding of 1378.99..
  };
  for (const Row& r : rows) {
    auto m = message("NOAA 19", r.mhz, 'P', r.offset);
    EXPECT_EQ(std::vector<uint8_t>(m.begin(), m.begin() + 4),
              (std::vector<uint8_t>{'S', r.hi, r.lo, 'P'}))
        << r.mhz;
  }
}

TEST(TunerMessage, NamePaddedOrCutAndChecksum) {
  auto m = message("NOAA 19", 1698.0f, 'P', 0);
  EXPECT_EQ(std::string(m.begin() + 4, m.begin() + 15), "NOAA 19    ");
  m = message("METEOR-M2 2 EXTRA", 1700.0f, 'Q', 0);
  EXPECT_EQ(std::string(m.begin() + 4, m.begin() + 15), "METEOR-M2 2");
  EXPECT_EQ(m[3], 'Q');
  m = message("", 1700.0f, 'Q', 0);
  EXPECT_EQ(std::string(m.begin() + 4, m.begin() + 15), std::string(11, ' '));
  for (const char* name : {"NOAA 19", "METOP-B", "FY-3D", "X"}) {
    m = message(name, 1701.3f, 'Q', -5);
    EXPECT_EQ(std::accumulate(m.begin(), m.end(), 0u) % 256, 0u) << name;
  }
}

TEST(TunerMessage, ChecksumZeroWhenPrefixSumsToZero) {
  // 'S' 0x05 0x5B 'P' = 0x53 + 0x05 + 0x5B + 0x50 = 0x103; the name makes up
  // the rest to 0x400 (0x2FD over 11 characters).
  char name[12];
  std::memset(name, ' ', 11);  // 11 * 0x20 = 0x160
  name[11] = 0;
  int need = 0x2FD - 0x160;  // 0x19D more over the blanks
  for (int i = 0; i < 11 && need > 0; i++) {
    int add = need > 0x5E ? 0x5E : need;  // stay printable
    name[i] = char(' ' + add);
    need -= add;
  }
  auto m = message(name, 137.1f, 'P', 0);
  unsigned prefix = std::accumulate(m.begin(), m.begin() + 15, 0u);
  ASSERT_EQ(prefix % 256, 0u);
  EXPECT_EQ(m[15], 0);
}

TEST(TunerMessage, ModulationFromName) {
  std::string got;
  for (const char* n : {"NOAA 18", "METEOR-M 2", "METOP-C", "FENGYUN 3D", (const char*)nullptr})
    got += char(tuner_modtype(n));
  EXPECT_EQ(got, "PPQQQ");
}

// Writes expected for one repetition of a message: 14 := byte, 12 := 128.
std::vector<std::pair<int, int>> one_pass(const std::vector<uint8_t>& m) {
  std::vector<std::pair<int, int>> w;
  for (uint8_t b : m) {
    w.emplace_back(14, b);
    w.emplace_back(12, 128);
  }
  return w;
}

TEST_F(BoardTest, TunerRegisterSequence) {
  auto m = message("NOAA 19", 137.1f, 'P', 0);
  ASSERT_EQ(usb_init_connect(&rec->usb), 0);
  boardtest::sleeps().clear();
  EXPECT_EQ(tuner_send(&rec->usb, m.data()), 0);
  std::vector<std::pair<int, int>> want;
  for (int r = 0; r < 5; r++) {
    auto p = one_pass(m);
    want.insert(want.end(), p.begin(), p.end());
  }
  EXPECT_EQ(emu->log.reg_writes, want);
  EXPECT_EQ(emu->log.pointer_resets, 2);  // one reset command: two zero bytes
  // The board's serial port carried the message five times.
  std::vector<uint8_t> tx;
  for (int r = 0; r < 5; r++) tx.insert(tx.end(), m.begin(), m.end());
  EXPECT_EQ(emu->log.serial_tx, tx);
  ASSERT_EQ(emu->log.tuner_msgs.size(), 5u);
  for (const auto& msg : emu->log.tuner_msgs) EXPECT_EQ(msg, m);
  EXPECT_EQ(emu->log.reg_reads, std::vector<int>(5, 13));  // status after each pass
  // 0.5 ms after each byte, 10 ms between passes.
  std::vector<long> waits;
  for (int r = 0; r < 5; r++) {
    if (r) waits.push_back(10000);
    for (int i = 0; i < 16; i++) waits.push_back(500);
  }
  EXPECT_EQ(boardtest::sleeps(), waits);
}

TEST_F(BoardTest, TunerFastModeWaitsAfterEachByte) {
  auto m = message("METOP-B", 1701.3f, 'Q', -5);
  rec->usb.fast_ftd = 1;
  ASSERT_EQ(usb_init_connect(&rec->usb), 0);
  boardtest::sleeps().clear();
  tuner_send(&rec->usb, m.data());
  std::vector<long> waits;
  for (int r = 0; r < 5; r++) {
    if (r) waits.push_back(10000);
    for (int i = 0; i < 16; i++) {
      waits.push_back(1000);
      waits.push_back(500);
    }
  }
  EXPECT_EQ(boardtest::sleeps(), waits);
  EXPECT_TRUE(emu->log.serial_tx[1] == 0x42 && emu->log.serial_tx[2] == 0x70);
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

TEST_F(BoardTest, TunerWithoutBoardReportsNoOverflow) {
  emu->present = false;
  auto m = message("NOAA 19", 137.1f, 'P', 0);
  EXPECT_EQ(tuner_send(&rec->usb, m.data()), 0);
  EXPECT_TRUE(emu->log.reg_writes.empty());
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
  EXPECT_EQ((i2c_testmsg().data[0] << 8) | i2c_testmsg().data[1], 3366);
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
  std::string texts;
  for (double r : {gen_rate_msps(23), dec_rate_msps(10, 20), dec_rate_msps(10, 40)}) {
    char text[20];
    rate_text(r, text, sizeof text);
    texts += std::string(text) + " ";
  }
  EXPECT_EQ(texts, "2.137 2.129 4.258 ");
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

#if __has_include("orbit/satdb.h")
TEST_F(BoardTest, SetTunerUsesTheSatelliteRecord) {
  RECORDINFO* saved = g_recordinfo;
  g_recordinfo = rec.get();
  auto sat = std::make_unique<SAT>();
  std::strcpy(sat->satname, "NOAA 19");
  sat->hfreq = 1698.0f;
  testing::internal::CaptureStdout();
  EXPECT_EQ(set_tuner1(sat.get(), -5), 0);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "foffset=-5\n");
  EXPECT_EQ(sat->modtype, 'P');
  EXPECT_EQ(tuner_current(), sat.get());
  auto m = message("NOAA 19", 1698.0f, 'P', -5);
  ASSERT_EQ(emu->log.serial_tx.size(), 80u);
  EXPECT_TRUE(std::equal(m.begin(), m.end(), emu->log.serial_tx.begin()));
  // A null satellite sends the current one again.
  testing::internal::CaptureStdout();
  set_tuner(nullptr);
  testing::internal::GetCapturedStdout();
  EXPECT_EQ(emu->log.serial_tx.size(), 160u);
  g_recordinfo = saved;
}
#endif

}  // namespace
