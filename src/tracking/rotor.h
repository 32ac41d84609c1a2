// Rotor output formats: DiSEqC positioner commands for the decoder board,
// the serial command text built from the user's template.
#pragma once
#include <cstddef>

#include "tracking/rotor_types.h"

// One DiSEqC positioner command.
struct DISEQC {
  int addr;
  int cmd;
  int data[2];
  int nr;  // 0: X positioner, 1: Y positioner
  int invert;
  float val;  // the angle in degrees, for the display
};

// Serial output: index into the serial device table, rate.
struct UART_ITEMS {
  int portnr;
  int speed;
};

// The "go to angular position" command for one axis: the angle is clamped to
// 0..180 degrees, 90 degrees being the centre; each degree away from it is
// deg2step steps (8 when 0), negated when inv is set, clamped to +-limit when
// limit is not 0.
DISEQC val2diseqc(float val, int deg2step, int inv, int limit);

// Builds the serial command from the user's template (two or three printf
// conversions; with three the first is the integer id) with the angles a and b,
// sent as floating point when the template contains an 'f', else rounded to
// integers. At most size - 2 characters, then a trailing backslash-r or
// backslash-n becomes a carriage return or line feed, and anything else gets a
// line feed appended. dst holds size bytes. Conversions other than d and f are
// kept as text.
void load_cmd(char* dst, size_t size, const char* format, int id, float a, float b);

// Sends text (its length, no terminator) to the serial port of uart; 1 when
// that port is not open, else 0.
int pos2uart(const UART_ITEMS* uart, const char* text);
