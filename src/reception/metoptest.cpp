#include "reception/metoptest.h"

#include <algorithm>
#include <cstdio>

#include "ccsds/cadu.h"
#include "reception/usblink.h"

namespace {

constexpr int kAsm = 4;  // sync marker bytes before the transfer frame

}  // namespace

void metoptest_frame(METOP_TEST* st, const uint16_t* frame, int status, int derandomise) {
  st->frames++;
  if (status == 1) st->insync++;
  uint8_t hdr[2] = {uint8_t(frame[kAsm]), uint8_t(frame[kAsm + 1])};
  if (derandomise) ccsds_derandomise(hdr, 2);
  st->vcid[hdr[1] & 63]++;
  st->spacecraft = ((hdr[0] & 63) << 2) | (hdr[1] >> 6);
}

void metoptest_vcid_text(const METOP_TEST* st, char* text, int size) {
  int order[64];
  for (int i = 0; i < 64; i++) order[i] = i;
  std::stable_sort(order, order + 64, [st](int a, int b) { return st->vcid[a] > st->vcid[b]; });
  int used = 0;
  if (size > 0) text[0] = 0;
  for (int k = 0; k < 64 && st->vcid[order[k]] > 0; k++) {
    int n = std::snprintf(text + used, size_t(size - used), "%sVC%d:%ld", used ? " " : "", order[k],
                          st->vcid[order[k]]);
    if (n < 0 || used + n >= size) {
      text[used] = 0;  // no half entry
      break;
    }
    used += n;
  }
}

int metoptest_prepare(RECORDINFO* rdi) {
  rdi->sat_type = METOP;
  rdi->file_type = FT_METOP;
  rdi->fri.words_per_frame = METOPTEST_FRAME;
  return set_sat(&rdi->usb, satmode_code("METOP"));
}
