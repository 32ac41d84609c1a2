// The IQ test's stream view and the hardware test panel's register page, on
// the board emulator.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "reception/board_fixture.h"
#include "reception/boardregs.h"
#include "reception/iqlink.h"

using boardtest::BoardTest;

namespace {

class IqTest : public BoardTest {
 protected:
  void SetUp() override {
    BoardTest::SetUp();
    iq_unpacker_reset();
    iq_bitreverse() = 1;
  }
  void TearDown() override {
    iq_unpacker_reset();
    iq_bitreverse() = 1;
    BoardTest::TearDown();
  }
};

TEST(IqBits, ReverseTable) {
  EXPECT_TRUE(iq_reverse_bits(0x01) == 0x80u && iq_reverse_bits(0xF0) == 0x0Fu);
  for (unsigned b = 0; b < 256; b++) EXPECT_EQ(iq_reverse_bits(iq_reverse_bits(b)), b);
}

TEST_F(IqTest, BitReversedBytesCarryNoFlags) {
  std::vector<uint8_t> raw(3000);
  for (size_t i = 0; i < raw.size(); i++) raw[i] = uint8_t(i);
  raw[0] = 0x01;
  raw[1] = 0xFF;  // a mode-2 second half with both flags, were it unpacked so
  emu->raw = raw;
  start_stream(7, IQTEST, 1000);
  int w;
  ASSERT_EQ(get_usb_data_iq(rec.get(), &w), 1);
  EXPECT_EQ(w, 0x80);
  for (size_t i = 1; i < 2048; i++) {
    get_usb_data_iq(rec.get(), &w);
    ASSERT_EQ(w, int(iq_reverse_bits(raw[i]))) << i;
  }
}

TEST_F(IqTest, FrameStartInTheMiddleEndsTheFrame) {
  iq_bitreverse() = 0;
  // Two-byte words 1..100, frame starts on words 0 and 40.
  std::vector<uint8_t> raw;
  for (int i = 0; i < 600; i++) {
    uint8_t two[2];
    boardemu_pack2(i + 1, i == 0 || i == 40, true, two);
    raw.insert(raw.end(), two, two + 2);
  }
  emu->raw = raw;
  start_stream(0, HRPT, 100);
  std::vector<uint16_t> frame(100, 0x7777);
  EXPECT_EQ(usb_get_iqdata(frame.data(), rec.get()), 1);
  for (int i = 0; i < 40; i++) EXPECT_EQ(frame[size_t(i)], i + 1) << i;
  for (int i = 40; i < 100; i++) EXPECT_EQ(frame[size_t(i)], 0x7777) << i;  // as it was
  // The start that ended it begins the next frame (its slot 0 is skipped).
  std::fill(frame.begin(), frame.end(), 0x7777);
  EXPECT_EQ(usb_get_iqdata(frame.data(), rec.get()), 1);
  EXPECT_EQ(frame[0], 0x7777);
  for (int i = 1; i < 100; i++) EXPECT_EQ(frame[size_t(i)], 41 + i) << i;
}

TEST(IqBits, CollectBits) {
  std::vector<uint16_t> f = {0, 1, 2, 3, 3, 1};
  int c[4];
  char text[40];
  collect_bits_counts(f.data(), int(f.size()), c, text, sizeof text);
  // Bit 0 set, bit 1 set, bit 0 clear, bit 1 clear.
  EXPECT_EQ(std::vector<int>(c, c + 4), (std::vector<int>{4, 3, 2, 3}));
  EXPECT_STREQ(text, "     4      3      2      3");
  std::vector<uint16_t> k(1024, 2);
  collect_bits_counts(k.data(), 0, c, nullptr, 0);  // 0 words: 1024
  EXPECT_TRUE(c[1] == 1024 && c[2] == 1024);
}

// ---- Register page ----

TEST(HwTest, ValueEntries) {
  struct Row {
    const char* text;
    int value;
  } rows[] = {
      {"1f", 0x1F}, {"0x80", 0x80}, {"FF", 0xFF}, {"zz", 0},  // not hexadecimal: 0
      {"", 0},      {" 7", 7},
  };
  for (const Row& r : rows) EXPECT_EQ(hwtest_parse_value(r.text), r.value) << r.text;
}

TEST_F(BoardTest, HwTestWriteEntryAndReadAll) {
  testing::internal::CaptureStdout();
  EXPECT_EQ(hwtest_write_entry(&rec->usb, 9, "zz"), 0);  // register 0x0C := 0
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "9  A_0c   D_0c  0\n");
  EXPECT_EQ(emu->log.reg_writes.back(), std::make_pair(0x0C, 0));
  emu->regs[0x14] = 0xAB;
  char texts[32][8];
  hwtest_read_all(&rec->usb, texts);
  // Register 0x14, and a firmware byte 'E'; data off before reading.
  EXPECT_EQ(std::string(texts[17]) + " " + texts[4], "0xab 0x45");
  EXPECT_EQ(emu->regs[0], 1);
  EXPECT_EQ(hwtest_led(&rec->usb), 0x0F0);
}

TEST_F(BoardTest, HwTestReadWithBoardAbsent) {
  emu->present = false;
  char texts[32][8];
  std::memset(texts, 'x', sizeof texts);
  hwtest_read_all(&rec->usb, texts);
  for (int i = 0; i < hwtest_nregs; i++) EXPECT_STREQ(texts[i], "0x0") << i;
  EXPECT_EQ(hwtest_led(&rec->usb), 0xF00);
}

}  // namespace
