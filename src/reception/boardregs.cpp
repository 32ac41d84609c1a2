#include "reception/boardregs.h"

#include <cstdio>

#include "reception/usblink.h"

namespace {

I2C_TESTMSG g_i2c = {194, {0x0D, 0x26, 142, 160}};

int clamp_div(int d) {
  return d < RATE_DIV_MIN ? RATE_DIV_MIN : d > RATE_DIV_MAX ? RATE_DIV_MAX : d;
}

int write_pair(usb_items* usb, int reg, int div) {
  div = clamp_div(div);
  int st = usb_write_reg(usb, reg, div & 0xFF);
  if (st) return st;
  return usb_write_reg(usb, reg + 1, (div >> 8) & 0xFF);
}

}  // namespace

I2C_TESTMSG& i2c_testmsg() { return g_i2c; }

int do_i2c(RECORDINFO* rdi) {
  usb_items* usb = &rdi->usb;
  int st = usb_write_reg(usb, 14, g_i2c.addr);
  if (!st) st = usb_write_reg(usb, 12, 3);
  for (int i = 0; i < 4 && !st; i++) {
    st = usb_write_reg(usb, 14, g_i2c.data[i]);
    if (!st) st = usb_write_reg(usb, 12, i == 3 ? 1 : 3);
  }
  if (!st) st = usb_write_reg(usb, 12, 0);
  return st;
}

int deqcont(RECORDINFO* rdi) {
  usb_write_reg(&rdi->usb, 12, 64);
  usb_write_reg(&rdi->usb, 12, 96);
  return 1;
}

int set_gen_divider(usb_items* usb, int div) { return write_pair(usb, 20, div); }
int set_dec_divider(usb_items* usb, int div) { return write_pair(usb, 22, div); }

double gen_rate_msps(int div) { return 49.152 / clamp_div(div); }
double dec_rate_msps(int div, int vco) { return 21.292 * vco / 20.0 / clamp_div(div); }

void rate_text(double msps, char* text, int size) {
  std::snprintf(text, size_t(size), "%.3f", msps);
}

void rate_preset_2msymb(int vco, int* gen_div, int* dec_div) {
  *gen_div = 23;
  *dec_div = vco / 2;
}

void rate_preset_40ksymb(int vco, int* gen_div, int* dec_div) {
  *gen_div = 1228;
  *dec_div = vco * 525 / 20;
}

int vco_step(int previous, int wanted) {
  if (wanted != 30) return wanted;
  return previous != 20 ? 20 : 40;
}
