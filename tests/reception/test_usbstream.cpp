// The stream unpacker byte by byte: the three packings, their flags and the
// marker detectors, independent of any device. Round trips with the
// emulator's packings are in the link tests (every packing, real sources).
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "reception/usblink.h"

namespace {

// Feeds bytes; returns the words completed.
std::vector<int> feed(USB_UNPACKER* u, const std::vector<uint8_t>& bytes) {
  std::vector<int> words;
  for (uint8_t b : bytes) {
    int w;
    if (usb_unpack_byte(u, b, 0, &w)) words.push_back(w);
  }
  return words;
}
// The same from a fresh unpacker in mode.
std::vector<int> unpack(int mode, const std::vector<uint8_t>& bytes) {
  USB_UNPACKER u{};
  u.mode = mode;
  return feed(&u, bytes);
}

const uint8_t kAsm[4] = {0x1A, 0xCF, 0xFC, 0x1D};

// 1024-byte frames starting with the marker, payload bytes from a counter.
std::vector<uint8_t> cadu_stream(int nframes, uint8_t first_payload = 0x55) {
  std::vector<uint8_t> s;
  for (int f = 0; f < nframes; f++) {
    s.insert(s.end(), kAsm, kAsm + 4);
    for (int i = 4; i < 1024; i++) s.push_back(uint8_t(first_payload + i + f));
  }
  return s;
}

TEST(UsbUnpack, Mode2TwoBytesPerWord) {
  struct Row {
    uint8_t b1, b2;
    int word;
    const char* what;
  } rows[] = {
      {0x3F, 0x8F, 0x3FF, "all ten data bits"},
      {0x05, 0x9A, 0x4A5, "low nibble 5, bits 4-7 = 0xA, frame start"},
      {0x20, 0xA0, 0xA00, "data bit 9 and in sync"},
      {0x40, 0xF0, 0xC00, "bit 6 of both bytes is unused"},
  };
  for (const Row& r : rows) {
    auto w = unpack(2, {r.b1, r.b2});
    ASSERT_EQ(w.size(), 1u) << r.what;
    EXPECT_EQ(w[0], r.word) << r.what;
  }
}

TEST(UsbUnpack, Mode0MarkerSearch) {
  auto s = cadu_stream(3);
  auto w = unpack(0, s);
  ASSERT_EQ(w.size(), s.size());
  // Output lags three bytes: the marker's first byte leaves with its detection.
  EXPECT_EQ(w[3], 0x1A | USBW_START | USBW_INSYNC);
  EXPECT_EQ(w[2] & USBW_INSYNC, 0);
  // A marker 1024 bytes after the previous one keeps sync, with a frame start.
  for (size_t i = 4; i < w.size(); i++) {
    EXPECT_EQ(w[i] & ~0xFF, (i - 3) % 1024 ? USBW_INSYNC : USBW_START | USBW_INSYNC) << i;
    EXPECT_EQ(w[i] & 0xFF, s[i - 3]) << i;
  }
}

TEST(UsbUnpack, Mode0MissingMarkerDropsSyncAtOnce) {
  auto s = cadu_stream(2);
  s[1024 + 3] ^= 0xFF;  // second marker damaged
  auto w = unpack(0, s);
  EXPECT_NE(w[1026] & USBW_INSYNC, 0);  // last byte of frame 1 still in sync
  // Position 3 of frame 2 still carries the frame start, but sync is gone.
  EXPECT_EQ(w[1027], 0x1A | USBW_START);
  EXPECT_EQ(w[1028] & USBW_INSYNC, 0);
}

TEST(UsbUnpack, Mode0MarkerElsewhereIgnoredInSyncTakenOutOfSync) {
  // In sync: a marker in the middle of a frame changes nothing.
  auto s = cadu_stream(2);
  std::memcpy(&s[500], kAsm, 4);
  auto w = unpack(0, s);
  EXPECT_EQ(w[503] & USBW_START, 0);
  EXPECT_NE(w[503] & USBW_INSYNC, 0);
  EXPECT_EQ(w[1027], 0x1A | USBW_START | USBW_INSYNC);
  // Out of sync: a marker anywhere synchronises on it.
  std::vector<uint8_t> t(777, 0x33);
  auto c = cadu_stream(1);
  t.insert(t.end(), c.begin(), c.end());
  auto x = unpack(0, t);
  EXPECT_EQ(x[777 + 3], 0x1A | USBW_START | USBW_INSYNC);
  for (int i = 0; i < 777 + 3; i++) EXPECT_EQ(x[i] & USBW_INSYNC, 0) << i;
}

TEST(UsbUnpack, Mode4AllMarkersClearMeansOutOfSync) {
  USB_UNPACKER u{};
  u.mode = 4;
  u.grp_cnt = 3;
  // Bit 7 clear everywhere: every byte starts a group, the counter runs down
  // to 0 and nothing reaches the in-sync level.
  std::vector<uint8_t> clear(100);
  for (size_t i = 0; i < clear.size(); i++) clear[i] = uint8_t(i & 0x7F);
  auto w = feed(&u, clear);
  EXPECT_TRUE(w.empty());
  EXPECT_EQ(u.grp_cnt, 0);
  // A continuation after each start (the board's out-of-sync pattern) does
  // output, always flagged out of sync.
  std::vector<uint8_t> pairs;
  for (int i = 0; i < 50; i++) {
    pairs.push_back(uint8_t(i & 0x3F));
    pairs.push_back(uint8_t(0x80 | (i & 0x3F)));
  }
  w = feed(&u, pairs);
  EXPECT_EQ(w.size(), 50u);
  for (int x : w) EXPECT_EQ(x & USBW_INSYNC, 0);
}

}  // namespace
