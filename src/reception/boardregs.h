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

// ---- Register page of the hardware test panel ----

// Registers listed on the page, in order; their controls are named "A_%02x"
// (address) and "D_%02x" (value).
extern const int hwtest_regs[];
extern const int hwtest_nregs;

// A value entry's text as hexadecimal ("0x" prefix allowed); text that is not
// hexadecimal gives 0.
int hwtest_parse_value(const char* text);

// An edited value entry: writes the parsed value to register hwtest_regs[index]
// and prints "%d  %s   %s  %x\n" (index, the A_ and D_ names, value). The
// write's status.
int hwtest_write_entry(usb_items* usb, int index, const char* text);

// "Read ": opens, switches data off, flushes and reads every listed register;
// texts[i] (8 bytes each) receives "0x%x" of the value, which stays 0 when a
// read fails.
void hwtest_read_all(usb_items* usb, char (*texts)[8]);

// Colour of the "!ocu" LED: 0x0F0 when the link is open, 0xF00 when not.
int hwtest_led(const usb_items* usb);
