// The link against the board emulator: device handling, register protocol,
// frames pulled from emulated streams, sync waits, faults.
#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <string>
#include <vector>

#include "reception/board_fixture.h"
#include "support/testutil.h"

namespace {

const char* kHrpt = "testdata/hrpt/noaa18_hrpt_2012-01-30_30frames.raw16be";
const char* kCadu = "testdata/ccsds/snpp_synchronized_cadus_2016-02-10.dat";
constexpr int kHrptWords = 11090;

class Link : public boardtest::BoardTest {
 protected:
  // The HRPT source loaded; the link opened in HRPT mode with frames of `words`.
  void hrpt(int words = kHrptWords) {
    ASSERT_EQ(boardemu_load_raw16be(emu.get(), testutil::shared_path(kHrpt).c_str()), 0);
    start_stream(0, HRPT, words);
  }
  // Piece k of the source's words, by default its frame k.
  std::vector<uint16_t> frame_of(size_t k, int words = 0) const {
    if (!words) words = emu->words_per_frame;
    auto at = emu->frames.begin() + long(k) * words;
    return std::vector<uint16_t>(at, at + words);
  }
  // Stream words taken by the link so far.
  long consumed() const {
    return emu->streamed / 2 - (usb_unpacker().nbuf - usb_unpacker().pos) / 2;
  }
};

// ---- Device handling ----

TEST_F(Link, ListAndOpenBySerial) {
  FT_DEVICE_LIST_INFO_NODE* list = nullptr;
  EXPECT_EQ(usb_list_ndevs(&list), 1);
  ASSERT_NE(list, nullptr);
  EXPECT_STREQ(list[0].SerialNumber, "EMU0001");
  std::free(list);
  EXPECT_EQ(usb_init_connect(&rec->usb), 0);
  EXPECT_EQ(usb_init_connect(&rec->usb), 0);  // already open: nothing happens
  EXPECT_EQ(emu->log.opens, 1);
  usb_close_connect(&rec->usb);
  EXPECT_EQ(rec->usb.ftHandle, nullptr);
  // By serial number: only the board that has it.
  rec->usb.usb_use_id = 1;
  std::strcpy(rec->usb.usbport_id, "OTHER");
  EXPECT_EQ(usb_init_connect(&rec->usb), -1);
  std::strcpy(rec->usb.usbport_id, "EMU0001");
  EXPECT_EQ(usb_init_connect(&rec->usb), 0);
}

TEST_F(Link, NoDeviceFailsToOpen) {
  emu->present = false;
  FT_DEVICE_LIST_INFO_NODE* list = reinterpret_cast<FT_DEVICE_LIST_INFO_NODE*>(1);
  EXPECT_EQ(usb_list_ndevs(&list), 0);
  EXPECT_EQ(list, nullptr);
  EXPECT_EQ(usb_init_connect(&rec->usb), -1);
  EXPECT_EQ(usb_write_reg(&rec->usb, 1, 1), -1);
  unsigned char v = 9;
  EXPECT_EQ(usb_read_reg(&rec->usb, 1, &v), -1);
  EXPECT_EQ(usb_read(&rec->usb, 1), 0);
  EXPECT_EQ(get_firmware(&rec->usb, &v), -1);
  rec->force_recstart = 1;
  EXPECT_EQ(usb_wait_for_insync(rec.get(), 1), 0);
  EXPECT_EQ(rec->force_recstart, 0);
}

// Without a serial number the text ends in "USB ": the command-line tests
// (no board, batch mode).
TEST_F(Link, ConnectErrorDialogNamesTheSerial) {
  rec->usb.usb_use_id = 1;
  std::strcpy(rec->usb.usbport_id, "FT12AB");
  usb_report_connect_error(rec.get());  // window: an "Error" dialog
  EXPECT_EQ(boardtest::messages(),
            std::vector<std::string>{"Error|Can't connect to decoder via USB FT12AB"});
}

// ---- Register protocol ----

TEST_F(Link, RegisterWireBytes) {
  // Not yet open: opened with a 100 ms wait, then no more waits.
  EXPECT_EQ(usb_write_reg(&rec->usb, 20, 5), 0);
  EXPECT_EQ(usb_write_reg(&rec->usb, 21, 6), 0);
  EXPECT_EQ(boardtest::sleeps(), std::vector<long>{100000});
  emu->regs[7] = 0x11;
  // Register 70 is register 6 (a firmware byte): reg % 64 on reads, reg & 63
  // on writes.
  EXPECT_EQ(usb_read(&rec->usb, 70), emu->firmware[2]);
  EXPECT_EQ(emu->log.reg_reads.back(), 6);
  EXPECT_EQ(usb_write(&rec->usb, 70, 0x33), 0);
  EXPECT_EQ(emu->log.reg_writes.back(), std::make_pair(6, 0x33));
  EXPECT_TRUE(emu->regs[6] == 0x33 && emu->regs[7] == 0x11);
  // Register 0: data on/off, fast mode.
  for (int fast : {0, 1}) {
    rec->usb.fast_ftd = fast;
    ena_dat(&rec->usb);
    EXPECT_EQ(emu->regs[0], 2 * fast);
    dis_dat(&rec->usb);
    EXPECT_EQ(emu->regs[0], 2 * fast + 1);
  }
}

// ---- Frames ----

// Each packing streams frames equal to the source (from the first frame on;
// raw bytes are synchronised by the host), flags the lost ones with status 2
// and takes up the frames after them again.
TEST_F(Link, FramesAndSyncLossInEveryPacking) {
  struct Row {
    int code;
    SAT_TYPE sat;
    int fast;
    int packing;  // the board's choice
    int vitsync;  // Viterbi lock seen by the sync wait
    const char* what;
  } rows[] = {
      {0, HRPT, 0, 2, 0, "two-byte HRPT words"},
      {4, METOP, 0, 4, 0, "six-bit groups: the marker counter runs down"},
      {4, METOP, 1, 2, 1, "fast mode, two-byte words: the board's in-sync bit, lock bit masked"},
      {6, FY3D, 0, 0, 0, "raw bytes: the host misses the marker"},
  };
  for (const Row& r : rows) {
    fresh_board();
    if (r.sat == HRPT)
      ASSERT_EQ(boardemu_load_raw16be(emu.get(), testutil::shared_path(kHrpt).c_str()), 0);
    else
      ASSERT_EQ(boardemu_load_cadu(emu.get(), testutil::shared_path(kCadu).c_str()), 0);
    if (r.sat == FY3D) emu->packing = 0;
    rec->usb.fast_ftd = r.fast;
    rec->vitsync = 0;
    emu->sync_loss_from = 4;
    emu->sync_loss_frames = 3;
    const int words = r.sat == HRPT ? kHrptWords : 1024;
    start_stream(r.code, r.sat, words);
    EXPECT_EQ(boardemu_packing(emu.get()), r.packing) << r.what;
    std::vector<uint16_t> frame(size_t(words), 0);
    std::vector<int> status;
    for (size_t k = 0; k < 10; k++) {
      status.push_back(usb_get_hrpt_frame(frame.data(), rec.get()));
      if (status.back() == 1) {
        EXPECT_EQ(frame, frame_of(k)) << r.what << " frame " << k;
      }
    }
    EXPECT_EQ(status, (std::vector<int>{1, 1, 1, 1, 2, 2, 2, 1, 1, 1})) << r.what;
    EXPECT_EQ(usb_wait_for_insync(rec.get(), 0), 1);
    EXPECT_TRUE(rec->vitsync == r.vitsync && rec->inv_dat == 0) << r.what;
  }
}

// Frames without alignment: ignore_sync takes consecutive pieces, IQTEST
// never waits for a frame start.
TEST_F(Link, UnalignedFramesForIgnoreSyncAndIqTest) {
  hrpt(1000);
  rec->ignore_sync = 1;
  std::vector<uint16_t> frame(1000);
  for (size_t k = 0; k < 3; k++) {
    usb_get_hrpt_frame(frame.data(), rec.get());
    ASSERT_EQ(frame, frame_of(k, 1000)) << k;
  }
  EXPECT_EQ(usb_wait_for_insync(rec.get(), 1000), 1);  // no wait at all
  fresh_board();
  rec->ignore_sync = 0;
  for (size_t i = 0; i < 4096; i++) emu->raw.push_back(uint8_t(i * 3));
  start_stream(7, IQTEST, 500);
  EXPECT_EQ(usb_get_hrpt_frame(frame.data(), rec.get()), 1);
  EXPECT_TRUE(std::equal(frame.begin(), frame.begin() + 500, emu->raw.begin()));
}

TEST_F(Link, AlignsOnFrameStartAfterJoiningMidFrame) {
  hrpt();
  int w;
  for (int i = 0; i < 5000; i++) get_usb_data(rec.get(), &w);  // join in the middle
  std::vector<uint16_t> frame(kHrptWords);
  ASSERT_EQ(usb_get_hrpt_frame(frame.data(), rec.get()), 1);
  EXPECT_EQ(frame, frame_of(1));
  // Drained every 1001 words dropped while waiting for the frame start.
  EXPECT_EQ(boardtest::drain_state().drains, (kHrptWords - 5000) / 1001);
}

// Recording stopped during a short read: the word built so far comes out, then 0.
TEST_F(Link, StopDeliversTheWordBuiltSoFar) {
  // One full block ending in the first half of a word, then nothing.
  std::vector<uint8_t> raw = {0x80};
  for (int i = 0; i < 511; i++) raw.insert(raw.end(), {0x01, 0xA0});
  raw.push_back(0x25);  // data bits 0-3 = 5, bit 9 set
  emu->raw = raw;
  start_stream(0, HRPT, 600);
  boardtest::drain_state().stop_after = 1;
  int w = -1;
  for (int i = 0; i < 512; i++) ASSERT_EQ(get_usb_data(rec.get(), &w), 1);
  EXPECT_EQ(w, 0x001 | USBW_INSYNC);
  EXPECT_EQ(get_usb_data(rec.get(), &w), 1);
  EXPECT_EQ(w, 0x205);
  EXPECT_EQ(rec->recording, 0);
  EXPECT_EQ(get_usb_data(rec.get(), &w), 1);  // nothing built: 0
  EXPECT_EQ(w, 0);
}

// ---- Sync ----

TEST(UsbSync, Thresholds) {
  struct Row {
    SAT_TYPE sat;
    int n;
    long words;
  } rows[] = {
      {HRPT, 3, 3 * 11092},   // one board line is 11092 words
      {CHRPT, 2, 2 * 22184},  // twice that
      {QNOAA20, 1, 310576},   // 28 lines
      {METOP, 1, 72098},      // 6.5 lines
      {FY3, 3, 216294},       //
      {FY3D, 5, 360490},      //
      {FY3D, 0, 0},           // no wait
  };
  for (const Row& r : rows)
    EXPECT_EQ(usb_insync_threshold(r.sat, r.n), r.words) << sat_type_name(r.sat) << " n " << r.n;
}

TEST_F(Link, WaitForInSyncAndOutOfSync) {
  emu->sync_loss_from = 0;
  emu->sync_loss_frames = 2;
  hrpt();
  EXPECT_EQ(usb_wait_for_insync(rec.get(), 2), 1);
  EXPECT_EQ(rec->insync, 1);
  // Two lost frames, then 2 * 11092 in-sync words: the wait ended in frame 4.
  EXPECT_EQ(consumed(), 2L * kHrptWords + 2 * 11092);
  // Out of sync from frame 3 for 5 frames: the wait ends after frame 4.
  fresh_board();
  emu->sync_loss_from = 3;
  emu->sync_loss_frames = 5;
  hrpt();
  rec->fri.words_per_line = kHrptWords;
  EXPECT_EQ(usb_wait_for_outsync(rec.get(), 2), 1);
  EXPECT_EQ(consumed(), 5L * kHrptWords);
}

TEST_F(Link, WaitForInSyncForcedStartAndStop) {
  emu->sync_loss_from = 0;
  emu->sync_loss_frames = 1000;
  emu->loop = true;
  hrpt();
  rec->force_recstart = 1;
  EXPECT_EQ(usb_wait_for_insync(rec.get(), 5), 1);
  EXPECT_EQ(rec->force_recstart, 0);
  // Never in sync: the user's stop (during a drain) ends the wait with 0.
  boardtest::drain_state().stop_after = 3;
  EXPECT_EQ(usb_wait_for_insync(rec.get(), 5), 0);
  EXPECT_EQ(rec->insync, 0);
}

// ---- Faults ----

TEST_F(Link, StalledStreamEndsWhenRecordingStops) {
  emu->stall_after = 2 * kHrptWords + 3000;  // mid-way through the second frame
  hrpt();
  boardtest::drain_state().stop_after = 5;
  std::vector<uint16_t> frame(kHrptWords, 0xFFFF);
  ASSERT_EQ(usb_get_hrpt_frame(frame.data(), rec.get()), 1);
  auto t0 = std::chrono::steady_clock::now();
  EXPECT_EQ(usb_get_hrpt_frame(frame.data(), rec.get()), 2);
  EXPECT_LT(std::chrono::steady_clock::now() - t0, std::chrono::seconds(2));
  EXPECT_EQ(rec->recording, 0);
  EXPECT_EQ(boardtest::drain_state().drains, 5);
  // Words before the stall are the source's; the rest of the frame is 0.
  auto src = frame_of(1);
  EXPECT_TRUE(std::equal(frame.begin(), frame.begin() + 1500, src.begin()));
  EXPECT_EQ(frame.back(), 0);
}

// ---- Dispatch ----

TEST_F(Link, DispatchByPortType) {
  struct Row {
    PORT_TYPE port;
    int open, wait, hwselected;
  } rows[] = {
      {usb, 0, 1, 0},        // the board
      {from_file, 0, 1, 1},  // replayed file: always connected and in sync
      {ethernet, -1, 0, 1},  // received only through USB
  };
  rec->ignore_sync = 1;
  for (const Row& r : rows) {
    rec->port_type = r.port;
    EXPECT_EQ(Open_HWConnect(rec.get()), r.open) << r.port;
    EXPECT_EQ(wait_for_insync(rec.get(), 1), r.wait) << r.port;
    EXPECT_EQ(get_hwselected(0, rec.get()), r.hwselected) << r.port;
    if (r.port != usb) {
      uint16_t f[4];
      EXPECT_EQ(get_hrpt_frame(f, rec.get()), 0);
    }
  }
  rec->port_type = usb;
  Close_HWConnect(rec.get());
  EXPECT_EQ(rec->usb.ftHandle, nullptr);
}

}  // namespace
