// The board's USB stream on arbitrary bytes: unpacking in every mode, frame
// pulling and the sync wait must end when the bytes run out, never read or
// write out of bounds, and deliver only flagged words of the right width.
//
// Input: byte 0 selects the satellite type (mode), fast mode and ignore_sync;
// byte 1 the frame length; the rest is what the board sends.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "app/ui_ops.h"
#include "reception/ftport.h"
#include "reception/usblink.h"

namespace {

const uint8_t* g_data = nullptr;
size_t g_size = 0, g_pos = 0;
RECORDINFO* g_rec = nullptr;

int f_list(uint32_t* n) {
  *n = 1;
  return FT_OK;
}
int f_get_list(FT_DEVICE_LIST_INFO_NODE* l, uint32_t* n) {
  std::memset(l, 0, sizeof *l);
  std::strcpy(l->SerialNumber, "FUZZ");
  *n = 1;
  return FT_OK;
}
int f_open(const char*, void** h) {
  *h = &g_pos;
  return FT_OK;
}
int f_ok2(void*, uint32_t, uint32_t) { return FT_OK; }
int f_purge(void*, uint32_t) { return FT_OK; }
int f_status(void*, uint32_t* a, uint32_t* b, uint32_t* c) {
  *a = *b = *c = 0;
  return FT_OK;
}
int f_read(void*, void* buf, uint32_t n, uint32_t* got) {
  size_t k = g_size - g_pos < n ? g_size - g_pos : n;
  std::memcpy(buf, g_data + g_pos, k);
  g_pos += k;
  *got = uint32_t(k);
  return FT_OK;
}
int f_write(void*, const void*, uint32_t n, uint32_t* w) {
  *w = n;
  return FT_OK;
}
int f_close(void*) { return FT_OK; }
const FT_PORT_OPS kFuzz = {"fuzz",  f_list,   f_get_list, f_open,  f_ok2,
                           f_purge, f_status, f_read,     f_write, f_close};

// The bytes ran out: the "user" stops the recording.
void stop_when_empty() {
  if (g_rec && g_pos >= g_size) g_rec->recording = 0;
}

const SAT_TYPE kTypes[] = {HRPT, METOP, FY3, FY3D, IQTEST, QNOAA20, AQUA, CHRPT};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 2) return 0;
  static bool init = false;
  if (!init) {
    UI_OPS ops{};
    ops.drain_events = stop_when_empty;
    ui_install(&ops);
    ftport_install(&kFuzz);
    init = true;
  }
  auto rec = std::make_unique<RECORDINFO>();
  g_rec = rec.get();
  g_data = data + 2;
  g_size = size - 2;
  g_pos = 0;
  usb_unpacker_reset();
  rec->port_type = usb;
  rec->recording = 1;
  rec->sat_type = kTypes[data[0] & 7];
  rec->usb.fast_ftd = (data[0] >> 3) & 1;
  rec->ignore_sync = (data[0] >> 4) & 1;
  rec->fri.words_per_frame = 1 + data[1] * 8;
  rec->fri.words_per_line = rec->fri.words_per_frame;
  usb_init_connect(&rec->usb);
  const int mask = usb_unpack_mode(rec->sat_type, rec->usb.fast_ftd) == 2 ? 0xFFF : 0xCFF;
  if (data[0] & 0x20) {
    usb_wait_for_insync(rec.get(), data[1] & 3);
  } else {
    int w = 0;
    for (int i = 0; i < 64 && rec->recording; i++) {
      get_usb_data(rec.get(), &w);
      if (w & ~mask) std::abort();  // wider than the mode can produce
    }
  }
  std::vector<uint16_t> frame(size_t(rec->fri.words_per_frame) + 1, 0xABCD);
  rec->recording = 1;
  for (int k = 0; k < 1000 && rec->recording; k++) {
    int st = usb_get_hrpt_frame(frame.data(), rec.get());
    if (st != 1 && st != 2) std::abort();
    if (frame.back() != 0xABCD) std::abort();  // wrote past the frame
    if (g_pos >= g_size) rec->recording = 0;
  }
  usb_close_connect(&rec->usb);
  g_rec = nullptr;
  return 0;
}
