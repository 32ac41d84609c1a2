// The board behind the "emulator" FTDI backend when nobody attached one: an
// idle emulated board (no stream source, out-of-sync filler), so that the
// program's windows can talk to registers without hardware.
#pragma once

// When the preference usb_backend names the emulator and no board is
// attached, attaches the process-wide idle board. Returns 1 when a board is
// attached afterwards.
int emulator_board_ensure();
