// The IQ test's own view of the board stream: with the bit-reversal switch on
// (the default) every byte is one sample with its bit order reversed and no
// flags; with it off the two-byte words of the normal link. Frames end early
// at a frame-start flag. Its unpacker state is separate from the link's.
#pragma once
#include <cstdint>

#include "reception/usblink.h"

// The bit-reversal switch (process-wide, on at start).
int& iq_bitreverse();
// The IQ unpacker's state (one instance); reset to empty.
USB_UNPACKER& iq_unpacker();
void iq_unpacker_reset();

// The byte with bit i moved to bit 7 - i.
inline unsigned iq_reverse_bits(unsigned b) {
  b = ((b & 0xF0) >> 4) | ((b & 0x0F) << 4);
  b = ((b & 0xCC) >> 2) | ((b & 0x33) << 2);
  return ((b & 0xAA) >> 1) | ((b & 0x55) << 1);
}

// The next word of the IQ stream into *out: 1; a null out discards the buffer
// and returns 0. Reading and stopping as get_usb_data.
int get_usb_data_iq(RECORDINFO* rdi, int* out);

// Fills up to rdi->fri.words_per_frame words (low 10 bits) of frame: waits
// for a frame start (IQTEST counts as started at once; ignore_sync too); after
// the start a further frame-start flag ends the frame early, leaving the rest
// of frame as it was, and is carried to the next frame. 1 when the last word
// was in sync, 2 when not, 0 with a null frame.
int usb_get_iqdata(uint16_t* frame, RECORDINFO* rdi);

// Counts over n words (1024 when n is 0) those with bit 0 set, bit 1 set,
// bit 0 clear, bit 1 clear, into counts[4]; text (size bytes) receives
// "%6d %6d %6d %6d".
void collect_bits_counts(const uint16_t* frame, int n, int counts[4], char* text, int size);

// Appends words_per_frame bytes (low byte of each word) to rdi->fp; 0, or -1
// when no file is open or the write failed.
int dump_IQ_line(RECORDINFO* rdi, const uint16_t* frame);
