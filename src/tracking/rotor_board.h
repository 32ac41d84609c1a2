// Rotor output through the decoder board: DiSEqC positioner commands written
// to the board's registers, and the board's angle display.
//
// One command: 16 := addr, 17 := cmd, 18 := data[0], 19 := data[1], then
// 12 := 0x40 (X output) or 0x60 (Y output) starts the transmission.
// Display: X angle in tenths of a degree in 8 (low) / 9 (high), Y in 10 / 11;
// register 3 selects what is shown (0 off, 1 X, 2 Y).
#pragma once
#include "reception/recordinfo.h"
#include "tracking/rotor.h"

// Writes one command; shows its angle on the display (1 for X, 2 for Y) when
// cmd is 0x6E and displ_show is set, else switches the display off. 1 at the
// first failed register write, else 0.
int do_dqc(usb_items* usb, const DISEQC* diseqc, int displ_show);

// Writes angle val (degrees) to the display registers of which (1: X, 2: Y)
// and register 3 := which (0: display off). The status of the first failed
// write, else 0.
int set_displxy(usb_items* usb, float val, int which);

// Sends X (inv_x, positioner 0) then Y (inv_y, positioner 1) with deg2step and
// xy_rotorlim; 1 at the first failure.
int send_diseqcxy(usb_items* usb, const ROTOR* rotor, float x, float y);

// One tick of board output: opens the link when closed (1 on failure), sends
// X and Y, writes register 3 with the display state, advances the state
// (displ_mode 0: off; 2: alternate X and Y; else cycle off, X, Y) and shows
// the angle of the new state. 0 on success, 1 on failure.
int pos2godil(usb_items* usb, const ROTOR* rotor, float x, float y, int displ_mode);

// The board display state of pos2godil (process-wide); tests reset it.
int& rotor_display_state();
