// The link against the board emulator: device handling, register protocol,
// frames pulled from emulated streams, sync waits, faults.
#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <cstring>
#include <string>
#include <vector>

#include "reception/board_fixture.h"
#include "support/testutil.h"

using boardtest::BoardTest;

namespace {

const char* kHrpt = "testdata/hrpt/noaa18_hrpt_2012-01-30_30frames.raw16be";
const char* kCadu = "testdata/ccsds/snpp_synchronized_cadus_2016-02-10.dat";
constexpr int kHrptWords = 11090;

std::vector<uint16_t> frame_of(const BOARDEMU& e, size_t k) {
  size_t w = size_t(e.words_per_frame);
  return std::vector<uint16_t>(e.frames.begin() + long(k * w),
                               e.frames.begin() + long((k + 1) * w));
}

// ---- Device handling ----

TEST_F(BoardTest, ListAndOpenFirstDevice) {
  FT_DEVICE_LIST_INFO_NODE* list = nullptr;
  EXPECT_EQ(usb_list_ndevs(&list), 1);
  ASSERT_NE(list, nullptr);
  EXPECT_STREQ(list[0].SerialNumber, "EMU0001");
  std::free(list);
  EXPECT_STREQ(usb_list_devs(), "EMU0001");
  EXPECT_EQ(usb_init_connect(&rec->usb), 0);
  EXPECT_NE(rec->usb.ftHandle, nullptr);
  EXPECT_EQ(emu->read_timeout_ms, 1000u);
  void* h = rec->usb.ftHandle;
  EXPECT_EQ(usb_init_connect(&rec->usb), 0);  // already open: nothing happens
  EXPECT_EQ(rec->usb.ftHandle, h);
  EXPECT_EQ(emu->log.opens, 1);
  usb_close_connect(&rec->usb);
  EXPECT_EQ(rec->usb.ftHandle, nullptr);
  EXPECT_EQ(emu->log.closes, 1);
}

TEST_F(BoardTest, OpenBySerialNumber) {
  rec->usb.usb_use_id = 1;
  std::strcpy(rec->usb.usbport_id, "OTHER");
  EXPECT_EQ(usb_init_connect(&rec->usb), -1);
  EXPECT_EQ(rec->usb.ftHandle, nullptr);
  std::strcpy(rec->usb.usbport_id, "EMU0001");
  EXPECT_EQ(usb_init_connect(&rec->usb), 0);
}

TEST_F(BoardTest, NoDeviceKeepsLastSerialAndFailsToOpen) {
  const char* s = usb_list_devs();
  emu->present = false;
  FT_DEVICE_LIST_INFO_NODE* list = reinterpret_cast<FT_DEVICE_LIST_INFO_NODE*>(1);
  EXPECT_EQ(usb_list_ndevs(&list), 0);
  EXPECT_EQ(list, nullptr);
  EXPECT_EQ(usb_list_devs(), s);  // same static string, content unchanged
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

TEST_F(BoardTest, ConnectErrorText) {
  char text[100];
  // No serial number configured: the text ends in "USB " and nothing else.
  usb_connect_error_text(&rec->usb, text, sizeof text);
  EXPECT_STREQ(text, "Can't connect to decoder via USB ");
  rec->usb.usb_use_id = 1;
  std::strcpy(rec->usb.usbport_id, "FT12AB");
  usb_connect_error_text(&rec->usb, text, sizeof text);
  EXPECT_STREQ(text, "Can't connect to decoder via USB FT12AB");
  // Window: an "Error" dialog; batch: standard error with "\n." after it.
  usb_report_connect_error(rec.get());
  ASSERT_EQ(boardtest::messages().size(), 1u);
  EXPECT_EQ(boardtest::messages()[0], "Error|Can't connect to decoder via USB FT12AB");
  rec->batch_mode = 1;
  testing::internal::CaptureStderr();
  usb_report_connect_error(rec.get());
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "Can't connect to decoder via USB FT12AB\n.");
}

// ---- Register protocol ----

TEST_F(BoardTest, RegisterWireBytes) {
  ASSERT_EQ(usb_init_connect(&rec->usb), 0);
  emu->regs[7] = 0x11;
  // Register 70 is register 6 (a firmware byte): reg % 64 on reads, reg & 63
  // on writes.
  EXPECT_EQ(usb_read(&rec->usb, 70), emu->firmware[2]);
  EXPECT_EQ(emu->log.reg_reads.back(), 6);
  EXPECT_EQ(usb_write(&rec->usb, 70, 0x33), 0);
  EXPECT_EQ(emu->log.reg_writes.back(), std::make_pair(6, 0x33));
  EXPECT_TRUE(emu->regs[6] == 0x33 && emu->regs[7] == 0x11);
}

TEST_F(BoardTest, FreshOpenWaits100ms) {
  EXPECT_EQ(usb_write_reg(&rec->usb, 20, 5), 0);
  EXPECT_EQ(boardtest::sleeps(), std::vector<long>{100000});
  boardtest::sleeps().clear();
  EXPECT_EQ(usb_write_reg(&rec->usb, 21, 6), 0);  // already open: no wait
  EXPECT_TRUE(boardtest::sleeps().empty());
}

TEST_F(BoardTest, DataOnOffAndFastMode) {
  struct Row {
    int fast;
    int on, off;
  } rows[] = {{0, 0, 1}, {1, 2, 3}};
  for (const Row& r : rows) {
    rec->usb.fast_ftd = r.fast;
    ena_dat(&rec->usb);
    EXPECT_EQ(emu->regs[0], r.on);
    dis_dat(&rec->usb);
    EXPECT_EQ(emu->regs[0], r.off);
  }
}

TEST_F(BoardTest, FirmwareAndSatelliteMode) {
  PICINFO pci{};
  std::memset(pci.firmware, 0x7F, sizeof pci.firmware);
  EXPECT_EQ(get_hwswinfo(rec.get(), &pci), 0);
  EXPECT_EQ(std::string(pci.firmware, 5), std::string("EMU1\0", 5));
  EXPECT_EQ(emu->regs[0], 0);  // stream on again
  EXPECT_EQ(set_sat(&rec->usb, 4), 0);
  EXPECT_EQ(emu->regs[1], 4);
  EXPECT_EQ(get_sat(&rec->usb), 4);
  EXPECT_EQ(emu->regs[0], 1);  // reading switched the stream off
  set_sat(&rec->usb, 11);
  EXPECT_EQ(get_sat(&rec->usb), 11 & 7);
}

TEST(SatModes, NamesCodesAndReadBack) {
  struct Row {
    const char* name;
    int code;
    SAT_TYPE sat;
    FILE_TYPE ft;
    int rsfec;
  } rows[] = {
      {"HRPT", 0, HRPT, FT_HRPT, 0},       {"NOAA21", 2, QNOAA21, FT_QNOAA21, 1},
      {"M2HRPT", 3, M2HRPT, FT_MHRPT2, 0}, {"METOP", 4, METOP, FT_METOP, 1},
      {"FY3-A,B", 6, FY3, FT_FY3, 1},
  };
  for (const Row& r : rows) {
    EXPECT_EQ(satmode_code(r.name), r.code) << r.name;
    const SATMODE* m = satmode_readback(r.code);
    ASSERT_NE(m, nullptr) << r.name;
    EXPECT_TRUE(m->sat_type == r.sat && m->file_type == r.ft && satmode_rsfec(r.code) == r.rsfec)
        << r.name;
  }
  EXPECT_EQ(satmode_code("FY3-C"), 11);  // written, never read back
  EXPECT_EQ(satmode_readback(11), nullptr);
  EXPECT_EQ(satmode_readback(7), nullptr);  // "(other)"
  EXPECT_EQ(satmode_code("CHRPT"), 0);      // any other name: HRPT
  EXPECT_EQ(satmode_code(nullptr), 0);
}

// ---- Frames ----

TEST_F(BoardTest, HrptFramesEqualTheSource) {
  ASSERT_EQ(boardemu_load_raw16be(emu.get(), testutil::shared_path(kHrpt).c_str()), 0);
  ASSERT_EQ(emu->frames.size(), 30u * kHrptWords);
  start_stream(0, HRPT, kHrptWords);
  std::vector<uint16_t> frame(kHrptWords);
  for (size_t k = 0; k < 30; k++) {
    ASSERT_EQ(usb_get_hrpt_frame(frame.data(), rec.get()), 1) << k;
    ASSERT_EQ(frame, frame_of(*emu, k)) << "frame " << k;
  }
}

TEST_F(BoardTest, MetopModeFourFramesEqualTheSource) {
  ASSERT_EQ(boardemu_load_cadu(emu.get(), testutil::shared_path(kCadu).c_str()), 0);
  start_stream(4, METOP, 1024);
  EXPECT_EQ(boardemu_packing(emu.get()), 4);
  std::vector<uint16_t> frame(1024);
  for (size_t k = 0; k < 65; k++) {
    ASSERT_EQ(usb_get_hrpt_frame(frame.data(), rec.get()), 1) << k;
    ASSERT_EQ(frame, frame_of(*emu, k)) << "frame " << k;
  }
}

TEST_F(BoardTest, FastMetopUsesTwoByteWordsWithViterbiLock) {
  ASSERT_EQ(boardemu_load_cadu(emu.get(), testutil::shared_path(kCadu).c_str()), 0);
  rec->usb.fast_ftd = 1;
  start_stream(4, METOP, 1024);
  EXPECT_EQ(boardemu_packing(emu.get()), 2);
  std::vector<uint16_t> frame(1024);
  ASSERT_EQ(usb_get_hrpt_frame(frame.data(), rec.get()), 1);
  EXPECT_EQ(frame, frame_of(*emu, 0));  // bytes: the lock bit is masked off
  EXPECT_EQ(usb_wait_for_insync(rec.get(), 0), 1);
  EXPECT_TRUE(rec->vitsync == 1 && rec->inv_dat == 0);
}

TEST_F(BoardTest, Fy3dRawBytesSynchronisedByTheHost) {
  ASSERT_EQ(boardemu_load_cadu(emu.get(), testutil::shared_path(kCadu).c_str()), 0);
  emu->packing = 0;
  start_stream(6, FY3D, 1024);
  std::vector<uint16_t> frame(1024);
  for (size_t k = 0; k < 10; k++) {
    // The marker search lags three bytes and needs the first marker: frames
    // come out whole from the first one on.
    ASSERT_EQ(usb_get_hrpt_frame(frame.data(), rec.get()), 1) << k;
    ASSERT_EQ(frame, frame_of(*emu, k)) << "frame " << k;
  }
}

TEST_F(BoardTest, IgnoreSyncFillsWithoutAlignment) {
  ASSERT_EQ(boardemu_load_raw16be(emu.get(), testutil::shared_path(kHrpt).c_str()), 0);
  start_stream(0, HRPT, 1000);
  rec->ignore_sync = 1;
  std::vector<uint16_t> frame(1000);
  for (size_t k = 0; k < 3; k++) {
    usb_get_hrpt_frame(frame.data(), rec.get());
    std::vector<uint16_t> want(emu->frames.begin() + long(k * 1000),
                               emu->frames.begin() + long((k + 1) * 1000));
    ASSERT_EQ(frame, want) << k;  // consecutive 1000-word pieces, no alignment
  }
  EXPECT_EQ(usb_wait_for_insync(rec.get(), 1000), 1);  // no wait at all
}

TEST_F(BoardTest, IqTestNeverWaitsForAFrameStart) {
  std::vector<uint8_t> raw(4096);
  for (size_t i = 0; i < raw.size(); i++) raw[i] = uint8_t(i * 3);
  emu->raw = raw;
  start_stream(7, IQTEST, 500);
  std::vector<uint16_t> frame(500);
  EXPECT_EQ(usb_get_hrpt_frame(frame.data(), rec.get()), 1);
  for (size_t i = 0; i < 500; i++) ASSERT_EQ(frame[i], raw[i]) << i;
}

TEST_F(BoardTest, AlignsOnFrameStartAfterJoiningMidFrame) {
  ASSERT_EQ(boardemu_load_raw16be(emu.get(), testutil::shared_path(kHrpt).c_str()), 0);
  start_stream(0, HRPT, kHrptWords);
  int w;
  for (int i = 0; i < 5000; i++) get_usb_data(rec.get(), &w);  // join in the middle
  std::vector<uint16_t> frame(kHrptWords);
  ASSERT_EQ(usb_get_hrpt_frame(frame.data(), rec.get()), 1);
  EXPECT_EQ(frame, frame_of(*emu, 1));
  // Drained every 1001 words dropped while waiting for the frame start.
  EXPECT_EQ(boardtest::drain_state().drains, (kHrptWords - 5000) / 1001);
}

TEST_F(BoardTest, NullOutputDiscardsTheBuffer) {
  ASSERT_EQ(boardemu_load_raw16be(emu.get(), testutil::shared_path(kHrpt).c_str()), 0);
  start_stream(0, HRPT, kHrptWords);
  int w;
  get_usb_data(rec.get(), &w);
  EXPECT_EQ(usb_unpacker().nbuf - usb_unpacker().pos, 1022);
  EXPECT_EQ(get_usb_data(rec.get(), nullptr), 0);
  EXPECT_EQ(usb_unpacker().nbuf - usb_unpacker().pos, 0);
  EXPECT_EQ(usb_get_hrpt_frame(nullptr, rec.get()), 0);
}

TEST_F(BoardTest, StopDeliversTheWordBuiltSoFar) {
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
      {HRPT, 3, 3 * 11092},      // one board line is 11092 words
      {M2HRPT, 2, 2 * 11092},    //
      {CHRPT, 2, 2 * 22184},     // twice that
      {QNOAA20, 1, 310576},      // 28 lines
      {QNOAA21, 2, 2 * 310576},  //
      {AQUA, 1, 310576},         //
      {METOP, 1, 72098},         // 6.5 lines
      {FY3, 3, 216294},          //
      {FY3D, 5, 360490},         //
      {FY3D, 0, 0},              // no wait
  };
  for (const Row& r : rows)
    EXPECT_EQ(usb_insync_threshold(r.sat, r.n), r.words) << sat_type_name(r.sat) << " n " << r.n;
}

TEST_F(BoardTest, WaitForInSyncCountsConsecutiveWords) {
  ASSERT_EQ(boardemu_load_raw16be(emu.get(), testutil::shared_path(kHrpt).c_str()), 0);
  emu->sync_loss_from = 0;
  emu->sync_loss_frames = 2;
  start_stream(0, HRPT, kHrptWords);
  EXPECT_EQ(usb_wait_for_insync(rec.get(), 2), 1);
  EXPECT_EQ(rec->insync, 1);
  // Two lost frames, then 2 * 11092 in-sync words: the wait ended in frame 4.
  long consumed = emu->streamed / 2 - (usb_unpacker().nbuf - usb_unpacker().pos) / 2;
  EXPECT_EQ(consumed, 2L * kHrptWords + 2 * 11092);
}

TEST_F(BoardTest, WaitForInSyncForcedStartAndStop) {
  emu->sync_loss_from = 0;
  emu->sync_loss_frames = 1000;
  ASSERT_EQ(boardemu_load_raw16be(emu.get(), testutil::shared_path(kHrpt).c_str()), 0);
  emu->loop = true;
  start_stream(0, HRPT, kHrptWords);
  rec->force_recstart = 1;
  EXPECT_EQ(usb_wait_for_insync(rec.get(), 5), 1);
  EXPECT_EQ(rec->force_recstart, 0);
  // Never in sync: the user's stop (during a drain) ends the wait with 0.
  boardtest::drain_state().stop_after = 3;
  EXPECT_EQ(usb_wait_for_insync(rec.get(), 5), 0);
  EXPECT_EQ(rec->insync, 0);
}

TEST_F(BoardTest, WaitForOutOfSync) {
  ASSERT_EQ(boardemu_load_raw16be(emu.get(), testutil::shared_path(kHrpt).c_str()), 0);
  emu->sync_loss_from = 3;
  emu->sync_loss_frames = 5;
  start_stream(0, HRPT, kHrptWords);
  rec->fri.words_per_line = kHrptWords;
  EXPECT_EQ(usb_wait_for_outsync(rec.get(), 2), 1);
  long consumed = emu->streamed / 2 - (usb_unpacker().nbuf - usb_unpacker().pos) / 2;
  EXPECT_EQ(consumed, 5L * kHrptWords);
}

TEST_F(BoardTest, SyncLossInEveryPacking) {
  struct Row {
    int code;
    SAT_TYPE sat;
    int fast;
    const char* what;
  } rows[] = {
      {0, HRPT, 0, "two-byte HRPT words"},
      {4, METOP, 0, "six-bit groups: the marker counter runs down"},
      {4, METOP, 1, "fast mode, two-byte words: the board's in-sync bit"},
      {6, FY3D, 0, "raw bytes: the host misses the marker"},
  };
  for (const Row& r : rows) {
    emu = std::make_unique<BOARDEMU>();
    emu->timeout_scale = 0.001;
    if (r.sat == HRPT)
      ASSERT_EQ(boardemu_load_raw16be(emu.get(), testutil::shared_path(kHrpt).c_str()), 0);
    else
      ASSERT_EQ(boardemu_load_cadu(emu.get(), testutil::shared_path(kCadu).c_str()), 0);
    if (r.sat == FY3D) emu->packing = 0;
    rec->usb.fast_ftd = r.fast;
    emu->sync_loss_from = 4;
    emu->sync_loss_frames = 3;
    boardemu_attach(emu.get());
    usb_close_connect(&rec->usb);
    usb_unpacker_reset();
    const int words = r.sat == HRPT ? kHrptWords : 1024;
    start_stream(r.code, r.sat, words);
    std::vector<uint16_t> frame(size_t(words), 0);
    std::vector<int> status;
    for (size_t k = 0; k < 10; k++) {
      status.push_back(usb_get_hrpt_frame(frame.data(), rec.get()));
      if (status.back() == 1) {
        EXPECT_EQ(frame, frame_of(*emu, k)) << r.what << " frame " << k;
      }
    }
    EXPECT_EQ(status, (std::vector<int>{1, 1, 1, 1, 2, 2, 2, 1, 1, 1})) << r.what;
  }
}

// ---- Faults ----

TEST_F(BoardTest, StalledStreamEndsWhenRecordingStops) {
  ASSERT_EQ(boardemu_load_raw16be(emu.get(), testutil::shared_path(kHrpt).c_str()), 0);
  emu->stall_after = 2 * kHrptWords + 3000;  // mid-way through the second frame
  start_stream(0, HRPT, kHrptWords);
  boardtest::drain_state().stop_after = 5;
  std::vector<uint16_t> frame(kHrptWords, 0xFFFF);
  ASSERT_EQ(usb_get_hrpt_frame(frame.data(), rec.get()), 1);
  auto t0 = std::chrono::steady_clock::now();
  EXPECT_EQ(usb_get_hrpt_frame(frame.data(), rec.get()), 2);
  EXPECT_LT(std::chrono::steady_clock::now() - t0, std::chrono::seconds(2));
  EXPECT_EQ(rec->recording, 0);
  EXPECT_EQ(boardtest::drain_state().drains, 5);
  // Words before the stall are the source's; the rest of the frame is 0.
  auto src = frame_of(*emu, 1);
  EXPECT_TRUE(std::equal(frame.begin(), frame.begin() + 1500, src.begin()));
  EXPECT_EQ(frame.back(), 0);
}

TEST_F(BoardTest, DeviceVanishingEndsRecording) {
  ASSERT_EQ(boardemu_load_raw16be(emu.get(), testutil::shared_path(kHrpt).c_str()), 0);
  emu->vanish_after = 5 * kHrptWords;
  start_stream(0, HRPT, kHrptWords);
  std::vector<uint16_t> frame(kHrptWords);
  int k = 0, st;
  while ((st = usb_get_hrpt_frame(frame.data(), rec.get())) == 1 && k < 100) k++;
  EXPECT_TRUE(k == 2 && st == 2);  // two and a half frames arrived
  EXPECT_TRUE(rec->recording == 0 && rec->usb.ftHandle == nullptr && usb_unpacker().lost == 1);
  EXPECT_EQ(usb_init_connect(&rec->usb), -1);  // gone from the bus
}

TEST_F(BoardTest, BitErrorsAreReproducible) {
  ASSERT_EQ(boardemu_load_raw16be(emu.get(), testutil::shared_path(kHrpt).c_str()), 0);
  emu->bit_error_rate = 1e-3;
  emu->seed = 1234;
  boardemu_attach(emu.get());
  start_stream(0, HRPT, kHrptWords);
  std::vector<uint16_t> frame(kHrptWords);
  ASSERT_EQ(usb_get_hrpt_frame(frame.data(), rec.get()), 1);
  auto src = frame_of(*emu, 0);
  int flipped = 0;
  for (int i = 0; i < kHrptWords; i++) flipped += __builtin_popcount(frame[i] ^ src[i]);
  // 110900 bits at 1e-3: about 111 (seed 1234).
  EXPECT_TRUE(flipped > 60 && flipped < 170) << flipped;
}

TEST_F(BoardTest, CaptureReplaysToTheSameFrames) {
  testutil::TempDir dir;
  std::string cap = dir.file("board.cap");
  ASSERT_EQ(boardemu_load_raw16be(emu.get(), testutil::shared_path(kHrpt).c_str()), 0);
  start_stream(0, HRPT, kHrptWords);
  ASSERT_EQ(ftport_capture_start(cap.c_str()), 0);
  std::vector<uint16_t> frame(kHrptWords);
  std::vector<std::vector<uint16_t>> got;
  for (int k = 0; k < 4; k++) {
    usb_get_hrpt_frame(frame.data(), rec.get());
    got.push_back(frame);
  }
  ftport_capture_stop();
  usb_close_connect(&rec->usb);
  usb_unpacker_reset();

  BOARDEMU replay;
  replay.timeout_scale = 0.001;
  ASSERT_EQ(boardemu_load_capture(&replay, cap.c_str()), 0);
  EXPECT_EQ(long(replay.raw.size()), emu->streamed);
  boardemu_attach(&replay);
  start_stream(0, HRPT, kHrptWords);
  for (int k = 0; k < 4; k++) {
    ASSERT_EQ(usb_get_hrpt_frame(frame.data(), rec.get()), 1);
    EXPECT_EQ(frame, got[size_t(k)]) << k;
  }
  usb_close_connect(&rec->usb);
  boardemu_attach(emu.get());
}

TEST_F(BoardTest, RealTimePacing) {
  ASSERT_EQ(boardemu_load_raw16be(emu.get(), testutil::shared_path(kHrpt).c_str()), 0);
  emu->pace = true;
  emu->bytes_per_sec = 200000;
  start_stream(0, HRPT, kHrptWords);
  std::vector<uint16_t> frame(kHrptWords);
  auto t0 = std::chrono::steady_clock::now();
  usb_get_hrpt_frame(frame.data(), rec.get());
  usb_get_hrpt_frame(frame.data(), rec.get());
  double s = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
  // Two frames of 22180 bytes at 200 kB/s: about 0.22 s.
  EXPECT_TRUE(s > 0.18 && s < 1.0) << s;
}

// ---- Dispatch ----

TEST_F(BoardTest, DispatchByPortType) {
  struct Row {
    PORT_TYPE port;
    int open, wait, hwselected;
  } rows[] = {
      {usb, 0, 1, 0},        // the board
      {from_file, 0, 1, 1},  // replayed file: always connected and in sync
      {ethernet, -1, 0, 1},  // received only through USB
      {parport, -1, 0, 1},   //
      {unk_port, -1, 0, 1},  //
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

TEST(FtPort, BackendSelection) {
  ftport_install(nullptr);
  EXPECT_EQ(ftport_select("no-such-backend"), -1);
  ASSERT_EQ(ftport_select("emulator"), 0);
  EXPECT_STREQ(ftport()->name, "emulator");
  ASSERT_EQ(ftport_select("libftdi"), 0);
  EXPECT_STREQ(ftport()->name, "libftdi");
  // D2XX only when its library can be loaded; "auto" prefers it.
  bool have_d2xx = ftport_d2xx() != nullptr;
  EXPECT_EQ(ftport_select("d2xx"), have_d2xx ? 0 : -1);
  ASSERT_EQ(ftport_select("auto"), 0);
  EXPECT_STREQ(ftport()->name, have_d2xx ? "d2xx" : "libftdi");
  ASSERT_EQ(ftport_select(""), 0);  // empty preference: automatic
  // An installed table overrides the selection until removed.
  ftport_install(ftport_emulator());
  EXPECT_STREQ(ftport()->name, "emulator");
  ftport_install(nullptr);
  EXPECT_STREQ(ftport()->name, have_d2xx ? "d2xx" : "libftdi");
}

TEST(FtPort, DeviceNodeLayoutOfD2xx) {
  // D2XX fills these nodes directly: 104 bytes each on a 64-bit system.
  EXPECT_EQ(sizeof(FT_DEVICE_LIST_INFO_NODE), 16 + 16 + 64 + sizeof(void*));
  EXPECT_EQ(offsetof(FT_DEVICE_LIST_INFO_NODE, SerialNumber), 16u);
  EXPECT_EQ(offsetof(FT_DEVICE_LIST_INFO_NODE, Description), 32u);
}

}  // namespace
