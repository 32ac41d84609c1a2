// Fengyun-3 VIRR and MERSI streams.
#include "ccsds/fy3.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace {

struct Fy3State {
  uint8_t buf[FY3_PACKET_BUF];
  int pos = 0;
  long last_cnt = 0;     // VCDU counter of the last line start
  uint32_t sr_virr = 0;  // shift registers of the two sync searches
  uint32_t sr_mersi = 0;
  int mersi_started = 0;
  int mersi_shift = 0;
  int virr_shift = 0;  // bit of the buffer's first byte where its line sync starts
  CCSDS_PACKET hdr{};
};
Fy3State g_fy3;

// Bit-by-bit search of a pattern of nbits over frame bytes 14..895.
int search_pattern(const uint8_t* frame, uint32_t* sr, uint32_t pattern, int nbits) {
  uint32_t mask = (1u << nbits) - 1;
  for (int b = CADU_ZONE_OFS; b < CADU_PARITY_OFS; b++) {
    for (int k = 0; k < 8; k++) {
      *sr = ((*sr << 1) | ((frame[b] >> (7 - k)) & 1)) & mask;
      if (*sr == pattern) return b * 8 + k - (nbits - 1);
    }
  }
  return 0;
}

// Position after a counter jump: each lost frame leaves a frame's room. The
// result is kept within a range that copy_packet handles without overflow.
int gap_position(long jump, int pos) {
  long long p = (long long)jump * CADU_ZONE_LEN + pos - CADU_ZONE_LEN;
  return int(std::clamp<long long>(p, -1000000, FY3_PACKET_BUF));
}

}  // namespace

int search_inner_sync(const uint8_t* frame) {
  return search_pattern(frame, &g_fy3.sr_virr, 0x845BF5, 24);
}

int search_inner_sync_mersi(const uint8_t* frame) {
  return search_pattern(frame, &g_fy3.sr_mersi, 0x7FF8004, 28);
}

int copy_packet(int n, int pos, uint8_t* buffer, const uint8_t* src) {
  if (n < 1) return pos;
  if ((long)pos + n > FY3_PACKET_BUF) n = FY3_PACKET_BUF - pos;
  if (pos >= 0 && n >= 1 && pos + n <= FY3_PACKET_BUF - 1)
    std::memcpy(buffer + pos, src, size_t(n));
  return pos + n;
}

void pckt2line(const CCSDS_PACKET* hdr, APPL_DATA*, int channels, int shift, const uint8_t* buffer,
               uint16_t* line) {
  // 10-bit words from buffer byte 436 at the line's bit shift; reads past the
  // buffer give zeros.
  long bit = 436L * 8 + (shift & 7);
  const long end_bits = long(FY3_PACKET_BUF) * 8;
  int n = 2048 * channels;
  for (int k = 0; k < n; k++) {
    int v = 0;
    for (int i = 0; i < 10; i++, bit++) {
      int b = bit < end_bits ? (buffer[bit >> 3] >> (7 - (bit & 7))) & 1 : 0;
      v = (v << 1) | b;
    }
    line[1600 + k] = uint16_t(v);
  }
  std::fill(line, line + 1600, uint16_t(0));
  ccsds_line_header(line, hdr);
}

void wr_mersi(const uint8_t* buffer, int shift, int length) {
  static FILE* fp = nullptr;
  if (!fp) fp = std::fopen("mersitest.bin", "wb");
  if (!fp) return;
  length = std::min(length, FY3_PACKET_BUF - 1);
  if (length <= 0) return;
  uint8_t out[FY3_PACKET_BUF];
  int s = (shift + 3) % 8;
  for (int i = 0; i < length; i++) {
    int hi = buffer[i] << s;
    int lo = s ? buffer[i + 1] >> (8 - s) : 0;
    out[i] = uint8_t(hi | lo);
  }
  std::fwrite(out, 1, size_t(length), fp);
  std::fflush(fp);
}

int fy3_frame2line(const uint8_t* frame, int vcid_value, uint16_t* line, int fill_gaps) {
  VCDU v;
  read_vcduhdr(&v, frame + 4);
  if (v.vc_id != (vcid_value & 15)) return 0;
  const uint8_t* zone = frame + CADU_ZONE_OFS;
  if (vcid_value == fy3_virr_day) {
    int p = search_inner_sync(frame);
    if (p) {
      int shift = p % 8, b = p / 8;
      g_fy3.last_cnt = v.cnt;
      // Complete the line with the zone bytes before the sync.
      g_fy3.pos = copy_packet(b - CADU_ZONE_OFS, g_fy3.pos, g_fy3.buf, zone);
      if (read_ccsds(&v) == 0) g_fy3.hdr = v.ccsds;
      // The buffered line starts at the previous sync, so its shift applies
      // (the same as this one's when lines are whole bytes long).
      pckt2line(&g_fy3.hdr, nullptr, 10, g_fy3.virr_shift, g_fy3.buf, line);
      g_fy3.virr_shift = shift;
      g_fy3.pos = copy_packet(CADU_PARITY_OFS - b, 0, g_fy3.buf, frame + b);
      return 1;
    }
    if (fill_gaps) {
      g_fy3.pos = gap_position(long(v.cnt) - g_fy3.last_cnt, g_fy3.pos);
      g_fy3.last_cnt = v.cnt;
    }
    g_fy3.pos = copy_packet(CADU_ZONE_LEN, g_fy3.pos, g_fy3.buf, zone);
    return 0;
  }
  if (vcid_value == fy3_mersi) {
    int p = search_inner_sync_mersi(frame);
    if (p) {
      int shift = p % 8, b = p / 8;
      g_fy3.pos = copy_packet(b - CADU_ZONE_OFS, g_fy3.pos, g_fy3.buf, zone);
      if (g_fy3.mersi_started) wr_mersi(g_fy3.buf, g_fy3.mersi_shift, g_fy3.pos);
      g_fy3.mersi_started = 1;
      g_fy3.mersi_shift = shift;
      g_fy3.pos = copy_packet(CADU_PARITY_OFS - b, 0, g_fy3.buf, frame + b);
      return 1;
    }
    g_fy3.pos = copy_packet(CADU_ZONE_LEN, g_fy3.pos, g_fy3.buf, zone);
    return 0;
  }
  return 0;
}

int fy3frame2line(const uint16_t* frame_words, int vcid_value, uint16_t* line, int fill_gaps) {
  uint8_t b[CADU_LEN];
  for (int i = 0; i < CADU_LEN; i++) b[i] = uint8_t(frame_words[i]);
  return fy3_frame2line(b, vcid_value, line, fill_gaps);
}

void fy3_reset() {
  std::memset(g_fy3.buf, 0, sizeof g_fy3.buf);
  g_fy3.pos = 0;
  g_fy3.last_cnt = 0;
  g_fy3.sr_virr = g_fy3.sr_mersi = 0;
  g_fy3.mersi_started = 0;
  g_fy3.mersi_shift = 0;
  g_fy3.virr_shift = 0;
  g_fy3.hdr = CCSDS_PACKET{};
}

int fy3_fill_pos() { return g_fy3.pos; }
