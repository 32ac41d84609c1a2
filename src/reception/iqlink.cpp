#include "reception/iqlink.h"

#include <cstdio>
#include <cstring>

#include "app/ui_ops.h"

namespace {

USB_UNPACKER g_iq;
int g_reverse = 1;
constexpr int kDropDrain = 1001;

}  // namespace

int& iq_bitreverse() { return g_reverse; }
USB_UNPACKER& iq_unpacker() { return g_iq; }
void iq_unpacker_reset() { std::memset(&g_iq, 0, sizeof g_iq); }

int get_usb_data_iq(RECORDINFO* rdi, int* out) {
  USB_UNPACKER& u = g_iq;
  if (!out) {
    u.pos = u.nbuf;
    return 0;
  }
  u.mode = 2;
  u.stopped = 0;
  for (;;) {
    while (u.pos < u.nbuf) {
      unsigned b = u.buf[u.pos++];
      if (g_reverse) {
        *out = int(iq_reverse_bits(b));
        return 1;
      }
      if (usb_unpack_byte(&u, b, 0, out)) return 1;
    }
    if (!usb_read_block(rdi, &u)) {
      *out = u.partial ? u.held : 0;
      u.partial = 0;
      u.stopped = 1;
      return 1;
    }
  }
}

int usb_get_iqdata(uint16_t* frame, RECORDINFO* rdi) {
  if (!frame) return 0;
  USB_UNPACKER& u = g_iq;
  int n = rdi->fri.words_per_frame;
  int k = 0;
  bool started = u.start_pending != 0;
  if (started) {
    k = 1;
    n--;
  }
  u.start_pending = 0;
  if (rdi->sat_type == IQTEST) started = true;
  int word = 0, dropped = 0;
  while (n > 0) {
    get_usb_data_iq(rdi, &word);
    if (u.stopped) break;
    if (word & USBW_START) {
      if (started && k > 0 && !rdi->ignore_sync) {
        // The next frame began: this one ends here, its start kept for it.
        u.start_pending = 1;
        break;
      }
      started = true;
    }
    if (rdi->ignore_sync) started = true;
    if (!started) {
      if (++dropped >= kDropDrain) {
        dropped = 0;
        ui().drain_events();
        if (!rdi->recording) break;
      }
      continue;
    }
    frame[k++] = uint16_t(word & 0x3FF);
    n--;
  }
  return (word & USBW_INSYNC) ? 1 : 2;
}

void collect_bits_counts(const uint16_t* frame, int n, int counts[4], char* text, int size) {
  if (n <= 0) n = 1024;
  counts[0] = counts[1] = counts[2] = counts[3] = 0;
  for (int i = 0; i < n; i++) {
    counts[0] += frame[i] & 1;
    counts[1] += (frame[i] >> 1) & 1;
  }
  counts[2] = n - counts[0];
  counts[3] = n - counts[1];
  if (text)
    std::snprintf(text, size_t(size), "%6d %6d %6d %6d", counts[0], counts[1], counts[2],
                  counts[3]);
}

int dump_IQ_line(RECORDINFO* rdi, const uint16_t* frame) {
  if (!rdi->fp || rdi->fri.words_per_frame <= 0) return -1;
  for (int i = 0; i < rdi->fri.words_per_frame; i++)
    if (std::fputc(frame[i] & 0xFF, rdi->fp) == EOF) return -1;
  return 0;
}
