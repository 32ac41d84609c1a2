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

const int hwtest_regs[] = {0x00, 0x01, 0x02, 0x03, 0x04, 0x08, 0x09, 0x0A, 0x0B, 0x0C, 0x0D,
                           0x0E, 0x0F, 0x10, 0x11, 0x12, 0x13, 0x14, 0x15, 0x16, 0x17, 0x18};
const int hwtest_nregs = int(sizeof hwtest_regs / sizeof hwtest_regs[0]);

int hwtest_parse_value(const char* text) {
  unsigned v = 0;
  if (!text || std::sscanf(text, "%x", &v) != 1) return 0;
  return int(v);
}

int hwtest_write_entry(usb_items* usb, int index, const char* text) {
  if (index < 0 || index >= hwtest_nregs) return -1;
  int reg = hwtest_regs[index];
  int v = hwtest_parse_value(text);
  std::printf("%d  A_%02x   D_%02x  %x\n", index, reg, reg, v);
  return usb_write_reg(usb, reg, v);
}

void hwtest_read_all(usb_items* usb, char (*texts)[8]) {
  int values[sizeof hwtest_regs / sizeof hwtest_regs[0]] = {};
  if (usb_init_connect(usb) == 0) {
    dis_dat(usb);
    usb_flush_tx(usb);
    for (int i = 0; i < hwtest_nregs; i++) {
      unsigned char v = 0;
      if (usb_read_reg(usb, hwtest_regs[i], &v) == 0) values[i] = v;
    }
  }
  for (int i = 0; i < hwtest_nregs; i++) std::snprintf(texts[i], 8, "0x%x", values[i]);
}

int hwtest_led(const usb_items* usb) { return usb->ftHandle ? 0x0F0 : 0xF00; }
