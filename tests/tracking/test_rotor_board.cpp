// Rotor output through the decoder board, checked on the board emulator: the
// DiSEqC register writes and the angle display registers.
#include <gtest/gtest.h>

#include <vector>

#include "reception/board_fixture.h"
#include "tracking/rotor_board.h"

using boardtest::BoardTest;
using Writes = std::vector<std::pair<int, int>>;

namespace {

class RotorBoard : public BoardTest {
 protected:
  void SetUp() override {
    BoardTest::SetUp();
    rotor_display_state() = 0;
    ASSERT_EQ(usb_init_connect(&rec->usb), 0);
  }
};

TEST_F(RotorBoard, CommandRegistersThenStartAndDisplay) {
  struct Row {
    float angle;
    int nr, show, d0, d1;
    Writes display;  // after the command and its start (register 12)
  } rows[] = {
      {90.f, 0, 0, 0xE0, 0x00, {{3, 0}}},   // centre on the X output, display off
      {100.f, 1, 0, 0xD0, 0x50, {{3, 0}}},  // -80 steps on the Y output
      // Shown: 100.0 degrees = 1000 tenths = 0x03E8 in registers 10/11, then 3 := 2.
      {100.f, 1, 1, 0xD0, 0x50, {{10, 0xE8}, {11, 0x03}, {3, 2}}},
  };
  for (const Row& r : rows) {
    emu->log = BOARDEMU_LOG{};
    DISEQC d = val2diseqc(r.angle, 8, 0, 0);
    d.nr = r.nr;
    EXPECT_EQ(do_dqc(&rec->usb, &d, r.show), 0) << r.angle;
    Writes want = {{16, 0x31}, {17, 0x6E}, {18, r.d0}, {19, r.d1}, {12, r.nr ? 0x60 : 0x40}};
    want.insert(want.end(), r.display.begin(), r.display.end());
    EXPECT_EQ(emu->log.reg_writes, want) << r.angle;
    ASSERT_EQ(emu->log.diseqc.size(), 1u);
    EXPECT_EQ(emu->log.diseqc[0].output, r.nr);
    EXPECT_EQ(emu->log.diseqc[0].bytes[2], r.d0);
  }
  // Another command than 0x6E is never shown.
  emu->log = BOARDEMU_LOG{};
  DISEQC d = val2diseqc(100.f, 8, 0, 0);
  d.cmd = 0x60;
  do_dqc(&rec->usb, &d, 1);
  EXPECT_EQ(emu->log.reg_writes.back(), std::make_pair(3, 0));
}

TEST_F(RotorBoard, SendXYUsesAxisSettings) {
  ROTOR r{};
  r.deg2step = 4;
  r.inv_y = 1;
  r.xy_rotorlim = 100;
  EXPECT_EQ(send_diseqcxy(&rec->usb, &r, 80.f, 45.f), 0);
  ASSERT_EQ(emu->log.diseqc.size(), 2u);
  // X: 4 * (90 - 80) = 40 steps; Y: 4 * 45 = 180, inverted, limited to -100.
  for (int k : {0, 1}) {
    const auto& c = emu->log.diseqc[size_t(k)];
    EXPECT_EQ(std::vector<int>({c.output, c.bytes[2], c.bytes[3]}),
              k ? std::vector<int>({1, 0xD0, 100}) : std::vector<int>({0, 0xE0, 40}));
  }
}

TEST_F(RotorBoard, DisplayStateCycles) {
  ROTOR r{};
  // The display writes closing a tick in each state: X 45.25 is 452 tenths in
  // registers 8/9, Y 123.4 is 1234 tenths in registers 10/11.
  const Writes shown[] = {
      {{3, 0}}, {{8, 0xC4}, {9, 0x01}, {3, 1}}, {{10, 0xD2}, {11, 0x04}, {3, 2}}};
  struct Row {
    int mode;
    std::vector<int> states;  // register 3 at the end of each tick
    const char* what;
  } rows[] = {
      {0, {0, 0, 0, 0}, "display off"},
      {2, {1, 2, 1, 2}, "alternate X and Y"},
      {1, {1, 2, 0, 1}, "cycle off, X, Y"},
  };
  for (const Row& row : rows) {
    rotor_display_state() = 0;
    for (size_t t = 0; t < row.states.size(); t++) {
      emu->log = BOARDEMU_LOG{};
      ASSERT_EQ(pos2godil(&rec->usb, &r, 45.25f, 123.4f, row.mode), 0);
      const Writes& want = shown[row.states[t]];
      const Writes& got = emu->log.reg_writes;
      ASSERT_GE(got.size(), want.size());
      EXPECT_EQ(Writes(got.end() - long(want.size()), got.end()), want)
          << row.what << " tick " << t;
    }
  }
}

TEST_F(RotorBoard, BoardAbsent) {
  usb_close_connect(&rec->usb);
  emu->present = false;
  ROTOR r{};
  EXPECT_EQ(pos2godil(&rec->usb, &r, 10.f, 20.f, 1), 1);
  DISEQC d = val2diseqc(90.f, 8, 0, 0);
  EXPECT_EQ(do_dqc(&rec->usb, &d, 1), 1);
  EXPECT_EQ(send_diseqcxy(&rec->usb, &r, 1.f, 2.f), 1);
}

}  // namespace
