// The IQ test: stream view and recorder; the hardware test panel's register
// page and FPGA serial port; the idle emulated board. On the board emulator.
#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "common/text.h"
#include "reception/board_fixture.h"
#include "reception/boardregs.h"
#include "reception/hwpanel.h"
#include "reception/iqlink.h"
#include "reception/iqrecord.h"
#include "support/testutil.h"

using boardtest::BoardTest;

namespace {

// Entries and LEDs of the "Record IQ" window as the recorder set them.
std::map<std::string, std::vector<std::string>>& entries() {
  static std::map<std::string, std::vector<std::string>> e;
  return e;
}
void on_entry(const char* win, const char* name, const char* text) {
  if (win && !std::strcmp(win, IQ_WINDOW)) entries()[name].push_back(text);
}

class IqRecord : public BoardTest {
 protected:
  void SetUp() override {
    BoardTest::SetUp();
    UI_OPS ops{};
    ops.drain_events = boardtest::on_drain;
    ops.message = boardtest::on_message;
    ops.set_entry = on_entry;
    ui_install(&ops);
    entries().clear();
    iq_unpacker_reset();
    iq_bitreverse() = 1;
    pava::copy_text(rec->work_location, dir.path());
    rec->height = 50;
  }
  void TearDown() override {
    iq_bitreverse() = 1;
    iq_unpacker_reset();
    BoardTest::TearDown();
  }
  std::string last(const char* name) {
    auto& v = entries()[name];
    return v.empty() ? "" : v.back();
  }
  testutil::TempDir dir;
  PICINFO pic;
};

TEST_F(IqRecord, SavesBitReversedSamplesAndCountsBits) {
  std::vector<uint8_t> raw(64 * 1024);
  for (size_t i = 0; i < raw.size(); i++) raw[i] = uint8_t(i * 7 + (i >> 10));
  emu->raw = raw;
  iq_prepare_command(rec.get());
  start_stream(IQ_BOARD_MODE, IQTEST, 0);
  EXPECT_EQ(rec->channels_recording[1], 1);
  EXPECT_EQ(rec->channels_recording[2], 0);
  rec->save_flag = 1;
  set_rec_par_iq(rec.get(), &pic);
  boardtest::drain_state().stop_after = 21;  // one drain a frame: 20 frames
  EXPECT_EQ(Recordpp_one_IQTest(rec.get(), &pic), 20);
  ASSERT_EQ(rec->fp, nullptr);  // closed
  const std::string file = rec->file_name;
  std::string saved = testutil::read_file(file);
  ASSERT_EQ(saved.size(), 20u * IQ_FRAME_WORDS);
  for (size_t i = 0; i < saved.size(); i++)
    ASSERT_EQ(uint8_t(saved[i]), iq_reverse_bits(raw[i])) << i;
  // Status texts: file name, frame counter every tenth frame, "Stop"; bits.
  EXPECT_EQ(entries()["!Recording "].front(), file.substr(file.rfind('/') + 1));
  EXPECT_EQ(last("!Recording "), "Stop");
  EXPECT_EQ(entries()["kbytes received"], (std::vector<std::string>{"10", "20"}));
  EXPECT_EQ(entries()["IQc"].size(), 20u);  // its text: PortErrorsAndOuterLoop
}

TEST_F(IqRecord, OutOfSyncStopsOnlyOtherTypes) {
  // Mode-2 words without the in-sync flag, a frame start every 100 words.
  iq_bitreverse() = 0;
  std::vector<uint8_t> raw;
  for (int i = 0; i < 20000; i++) {
    uint8_t two[2];
    boardemu_pack2(i & 0x3FF, i % 100 == 0, false, two);
    raw.insert(raw.end(), two, two + 2);
  }
  struct Row {
    SAT_TYPE type;
    int stop_after_out_sync;
    long frames;  // recorded before the pass ends
  } rows[] = {
      {HRPT, 3, 3},     // the fourth status-2 frame ends it
      {IQTEST, 3, 30},  // IQTEST ignores the threshold
  };
  for (const Row& r : rows) {
    SetUp();
    emu->raw = raw;
    iq_bitreverse() = 0;
    start_stream(0, r.type, 100);
    rec->hrpt_stop_after_out_sync = r.stop_after_out_sync;
    boardtest::drain_state().stop_after = 31;
    EXPECT_EQ(Recordpp_one_IQTest(rec.get(), &pic), r.frames)
        << r.type << " " << r.stop_after_out_sync;
    EXPECT_EQ(last("!Recording "), "Stop");
    TearDown();
  }
  SetUp();
}

TEST_F(IqRecord, PortErrorsAndOuterLoop) {
  struct Row {
    PORT_TYPE port;
    int use_id;
    const char* message;
  } rows[] = {
      {usb, 0, "Error|Can't open USB port."},
      {usb, 1, "Error|Can't open USB port EMUX"},
      {ethernet, 0, "Error|Can't open Ethermet port."},
  };
  emu->present = false;
  for (const Row& r : rows) {
    boardtest::messages().clear();
    rec->port_type = r.port;
    rec->usb.usb_use_id = r.use_id;
    pava::copy_text(rec->usb.usbport_id, "EMUX");
    EXPECT_EQ(Recordpp_IQTest(rec.get(), &pic), -1);
    EXPECT_EQ(boardtest::messages(), std::vector<std::string>{r.message});
  }
  // With the board: "Wait", a recording, "Off" after one pass.
  emu->present = true;
  rec->port_type = usb;
  rec->usb.usb_use_id = 0;
  emu->raw.assign(200000, 0x55);
  iq_prepare_command(rec.get());
  rec->one_record = 1;
  boardtest::drain_state().stop_after = 40;
  EXPECT_EQ(Recordpp_IQTest(rec.get(), &pic), 0);
  auto& st = entries()["!Recording "];
  ASSERT_GE(st.size(), 4u);
  EXPECT_EQ(st.front(), "Wait");
  EXPECT_EQ(st[1], "(no save)");
  EXPECT_EQ(st.back(), "Off");
  EXPECT_EQ(last("IQc"), "     0   1024   1024      0");  // 0x55 reversed: 0xAA
}

// ---- Test panel ----

TEST_F(BoardTest, FpgaUartSendsThroughSerialRegisters) {
  const uint8_t bytes[] = {0x31, 0x6E, 0xE0};
  EXPECT_EQ(fpga_uart_send(&rec->usb, bytes, 3), 0);
  EXPECT_EQ(emu->log.reg_writes,
            (std::vector<std::pair<int, int>>{
                {14, 0x31}, {12, 128}, {14, 0x6E}, {12, 128}, {14, 0xE0}, {12, 128}}));
  EXPECT_EQ(emu->log.serial_tx, std::vector<uint8_t>(bytes, bytes + 3));
  emu->overflow_reads = 1;
  EXPECT_EQ(fpga_uart_state(&rec->usb), 0x80);
}

TEST(HwPanel, ByteAndValueEntries) {
  struct Row {
    const char* text;
    int value;
  };
  // Byte entries: decimal or 0x, blanks around are fine, anything else 0.
  const Row bytes[] = {{"194", 194}, {"0xC2", 0xC2}, {" 7 ", 7},  {"256", 0},
                       {"-1", 0},    {"zz", 0},      {"12ab", 0}, {"", 0}};
  for (const Row& r : bytes) EXPECT_EQ(hwpanel_byte(r.text), r.value) << r.text;
  EXPECT_EQ(hwpanel_byte(nullptr), 0);
  // Register page values: hexadecimal; not hexadecimal writes 0.
  const Row values[] = {{"1f", 0x1F}, {"0x80", 0x80}, {"FF", 0xFF}, {"zz", 0}, {"", 0}, {" 7", 7}};
  for (const Row& r : values) EXPECT_EQ(hwtest_parse_value(r.text), r.value) << r.text;
}

// ---- Stream view ----

// The bytes after these are compared with the saved file by
// SavesBitReversedSamplesAndCountsBits.
TEST_F(IqRecord, BitReversedBytesCarryNoFlags) {
  emu->raw.assign(3000, 0x33);
  emu->raw[0] = 0x01;
  emu->raw[1] = 0xFF;  // a mode-2 second half with both flags, were it unpacked so
  start_stream(7, IQTEST, 1000);
  for (int want : {0x80, 0xFF, 0xCC}) {
    int w;
    ASSERT_EQ(get_usb_data_iq(rec.get(), &w), 1);
    EXPECT_EQ(w, want);
  }
}

TEST_F(IqRecord, FrameStartInTheMiddleEndsTheFrame) {
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

// ---- Register page ----

TEST_F(BoardTest, HwTestWriteEntryAndReadAll) {
  testing::internal::CaptureStdout();                    // its debug line
  EXPECT_EQ(hwtest_write_entry(&rec->usb, 9, "zz"), 0);  // register 0x0C := 0
  testing::internal::GetCapturedStdout();
  EXPECT_EQ(emu->log.reg_writes.back(), std::make_pair(0x0C, 0));
  emu->regs[0x14] = 0xAB;
  char texts[32][8];
  hwtest_read_all(&rec->usb, texts);
  // Register 0x14, and a firmware byte 'E'; data off before reading.
  EXPECT_EQ(std::string(texts[17]) + " " + texts[4], "0xab 0x45");
  EXPECT_EQ(emu->regs[0], 1);
  EXPECT_EQ(hwtest_led(&rec->usb), 0x0F0);
  // Board absent: no read succeeds, every entry "0x0", the LED red.
  emu->present = false;
  usb_close_connect(&rec->usb);
  std::memset(texts, 'x', sizeof texts);
  hwtest_read_all(&rec->usb, texts);
  for (int i = 0; i < hwtest_nregs; i++) EXPECT_STREQ(texts[i], "0x0") << i;
  EXPECT_EQ(hwtest_led(&rec->usb), 0xF00);
}

}  // namespace
