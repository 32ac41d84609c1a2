#include "tracking/rotor_board.h"

#include "reception/usblink.h"

namespace {
int g_displ_state = 0;
}

int& rotor_display_state() { return g_displ_state; }

int set_displxy(usb_items* usb, float val, int which) {
  int v = int(10.f * val);  // tenths of a degree
  int st = 0;
  if (which == 1) {
    st = usb_write_reg(usb, 8, v & 0xFF);
    if (!st) st = usb_write_reg(usb, 9, (v >> 8) & 0xFF);
  } else if (which == 2) {
    st = usb_write_reg(usb, 10, v & 0xFF);
    if (!st) st = usb_write_reg(usb, 11, (v >> 8) & 0xFF);
  }
  if (!st) st = usb_write_reg(usb, 3, which);
  return st;
}

int do_dqc(usb_items* usb, const DISEQC* d, int displ_show) {
  const bool show = d->cmd == 0x6E && displ_show;
  const int regs[5][2] = {{16, d->addr},
                          {17, d->cmd},
                          {18, d->data[0]},
                          {19, d->data[1]},
                          {12, d->nr != 1 ? 0x40 : 0x60}};
  for (const auto& r : regs)
    if (usb_write_reg(usb, r[0], r[1] & 0xFF) != 0) return 1;
  int which = show ? (d->nr != 1 ? 1 : 2) : 0;
  return set_displxy(usb, d->val, which) != 0 ? 1 : 0;
}

int send_diseqcxy(usb_items* usb, const ROTOR* rotor, float x, float y) {
  DISEQC dx = val2diseqc(x, rotor->deg2step, rotor->inv_x, rotor->xy_rotorlim);
  dx.nr = 0;
  if (do_dqc(usb, &dx, 0)) return 1;
  DISEQC dy = val2diseqc(y, rotor->deg2step, rotor->inv_y, rotor->xy_rotorlim);
  dy.nr = 1;
  if (do_dqc(usb, &dy, 0)) return 1;
  return 0;
}

int pos2godil(usb_items* usb, const ROTOR* rotor, float x, float y, int displ_mode) {
  if (!usb->ftHandle && usb_init_connect(usb) != 0) return 1;
  if (send_diseqcxy(usb, rotor, x, y)) return 1;
  if (usb_write_reg(usb, 3, g_displ_state)) return 1;
  if (displ_mode == 0)
    g_displ_state = 0;
  else if (displ_mode == 2)
    g_displ_state = g_displ_state == 1 ? 2 : 1;
  else
    g_displ_state = (g_displ_state + 1) % 3;
  int st;
  if (g_displ_state == 1)
    st = set_displxy(usb, x, 1);
  else if (g_displ_state == 2)
    st = set_displxy(usb, y, 2);
  else
    st = usb_write_reg(usb, 3, 0);
  return st ? 1 : 0;
}
