// Register-level helpers of the decoder board beyond the stream: the I2C test
// message and the DiSEqC continuous test of the hardware test panel, and the
// symbol-rate dividers of the IQ test.
//
// Rate registers:
//   20, 21   generator divider, low byte then high byte (49.152 / d MSymb/s)
//   22, 23   decoder divider, low byte then high byte (21.292 * VCO / 20 / d)
#pragma once
#include "reception/recordinfo.h"

// The I2C test message: address and four data bytes (defaults 0xC2; 0x0D,
// 0x26 = divider 3366; 0x8E; 0xA0).
struct I2C_TESTMSG {
  int addr;
  int data[4];
};
I2C_TESTMSG& i2c_testmsg();

// Sends the I2C test message: 14 := address, 12 := 3; per data byte 14 :=
// byte, 12 := 3 (1 for the last); finally 12 := 0. Stops at the first failed
// write and returns its status; 0 when all went out.
int do_i2c(RECORDINFO* rdi);

// One step of the continuous DiSEqC test: 12 := 64, then 96. Returns 1 (a
// timer callback that keeps running).
int deqcont(RECORDINFO* rdi);

constexpr int RATE_DIV_MIN = 1;
constexpr int RATE_DIV_MAX = 2047;

// Writes a divider (clamped to 1..2047) to registers 20/21 (generator) or
// 22/23 (decoder); the status of the first failed write, else 0.
int set_gen_divider(usb_items* usb, int div);
int set_dec_divider(usb_items* usb, int div);

// Rates in MSymb/s for a divider (clamped as above); vco is 20 or 40.
double gen_rate_msps(int div);
double dec_rate_msps(int div, int vco);
// The rate text shown beside a divider: "%.3f".
void rate_text(double msps, char* text, int size);

// Presets: "2MSymb/s" and "40kSymb/s" dividers for a VCO value.
void rate_preset_2msymb(int vco, int* gen_div, int* dec_div);
void rate_preset_40ksymb(int vco, int* gen_div, int* dec_div);

// The VCO control skips 30: moving onto 30 lands on 40 when the previous
// value was 20, else on 20. Returns the value to use.
int vco_step(int previous, int wanted);
