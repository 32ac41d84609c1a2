// Fengyun-3 streams: VIRR lines located by an inner sync pattern in the
// packet zone of virtual channel 5 (day) and MERSI packets by another one on
// channel 3 (only dumped to a test file).
#pragma once
#include <cstdint>

#include "ccsds/cadu.h"

constexpr int FY3_PACKET_BUF = 30000;
// Words of a VIRR line: 1600 header words, then 2048 x 10 channel words.
constexpr int FY3_LINE_WORDS = 1600 + 2048 * 10;

// Bit offset from the frame start of the first bit of the VIRR pattern
// 0x845BF5, searched bit by bit over frame bytes 14..895 with a process-wide
// shift register that carries over from frame to frame (a pattern split over
// two frames is found in the second; its offset then points before byte 14).
// 0 when not found.
int search_inner_sync(const uint8_t* frame);
// The same for the 28-bit MERSI pattern 0x7FF8004 with its own register.
int search_inner_sync_mersi(const uint8_t* frame);

// Copies n bytes of src to buffer[pos] and returns the new position pos + n,
// n clipped so that pos + n <= 30000; nothing is copied unless pos >= 0,
// n >= 1 and pos + n <= 29999. n < 1 leaves pos unchanged.
int copy_packet(int n, int pos, uint8_t* buffer, const uint8_t* src);

// Fills a VIRR line (1600 + 2048 x channels words) from the packet buffer
// (FY3_PACKET_BUF bytes whose first byte holds the line sync at bit shift):
// 10-bit words from buffer byte 436 into words 1600 onward, then the header
// words 0-11 from hdr. appl is not used by VIRR (may be null).
void pckt2line(const CCSDS_PACKET* hdr, APPL_DATA* appl, int channels, int shift,
               const uint8_t* buffer, uint16_t* line);

// Appends a MERSI packet (length bytes, 8-bit words from bit (shift+3) mod 8
// of the buffer's first byte) to "mersitest.bin" in the working directory,
// opened on first use and kept open.
void wr_mersi(const uint8_t* buffer, int shift, int length);

// One frame (1024 bytes) of the FY3 stream. vcid_value: fy3_virr_day (21)
// fills line (FY3_LINE_WORDS words) when a line start is found; fy3_mersi
// (19) dumps the completed packet. Frames of another virtual channel (than
// vcid_value & 15) are ignored. Returns 1 at a line start, else 0.
int fy3_frame2line(const uint8_t* frame_bytes, int vcid_value, uint16_t* line, int fill_gaps);
// Narrows a frame of 1024 words to bytes, then fy3_frame2line.
int fy3frame2line(const uint16_t* frame_words, int vcid_value, uint16_t* line, int fill_gaps);

// Empties the packet buffer and the sync registers (start of a file).
void fy3_reset();
// Fill position of the packet buffer (for tests).
int fy3_fill_pos();
