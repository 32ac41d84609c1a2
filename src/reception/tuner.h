// The receiver's tuner, reached through the serial port of the decoder board:
// a 16-byte tuning message sent byte by byte through registers 14 (data) and
// 12 (128 sends), with register 13 bit 7 reporting a transmit overflow.
//
// Tuning message:
//   0      'S'
//   1..2   frequency in 0.1 MHz, big-endian: trunc(10 * MHz + 0.5) + offset
//   3      modulation 'P' or 'Q'
//   4..14  satellite name, 11 characters, blank-padded
//   15     checksum: all 16 bytes sum to 0 modulo 256
#pragma once
#include <cstdint>

#include "reception/recordinfo.h"

constexpr int TUNER_MSG_LEN = 16;

// Builds the message for name (up to 11 characters used), hfreq_mhz, modtype
// and offset (0.1 MHz units) into msg.
void tuner_message(uint8_t msg[TUNER_MSG_LEN], const char* name, float hfreq_mhz, char modtype,
                   int offset);

// The modulation for a satellite name: 'P' when it contains "NOAA" or
// "METEOR", else 'Q'.
char tuner_modtype(const char* name);

// Sends msg five times over the board's serial port (register pointer reset
// once; per byte 14 := byte, 12 := 128, 1 ms in fast mode, 0.5 ms after each;
// after the last byte register 13 is read up to three times while bit 7 is
// set; 10 ms between repetitions). Returns the last overflow bit (0 or 1).
int tuner_send(usb_items* usb, const uint8_t msg[TUNER_MSG_LEN]);

struct SAT;
// Tunes to sat with offset (0.1 MHz) on the recording record's board; a null
// sat re-sends the current satellite, else sat becomes the current one (its
// modtype is chosen when not set). Prints "foffset=%d\n". 0 when the board
// reported no overflow or no satellite is known, 1 on overflow.
int set_tuner1(SAT* sat, int offset);
// Tunes to sat with the Tune window's offset when that window is open (its
// hook shows the satellite and returns the offset), else offset 0.
int set_tuner(SAT* sat);
// The Tune window's hook: called with the satellite, returns the offset. Null
// while the window is closed.
void tuner_set_window_hook(int (*hook)(SAT* sat));
// The current satellite (null until one was tuned).
SAT* tuner_current();
