#include "reception/hwpanel.h"

#include <cstdlib>

#include "reception/usblink.h"

int fpga_uart_send(usb_items* usb, const uint8_t* bytes, int n) {
  for (int i = 0; i < n; i++) {
    int st = usb_write_reg(usb, 14, bytes[i]);
    if (!st) st = usb_write_reg(usb, 12, 128);
    if (st) return st;
  }
  return 0;
}

int fpga_uart_state(usb_items* usb) {
  unsigned char v = 0;
  return usb_read_reg(usb, 13, &v) == 0 ? v : -1;
}

int hwpanel_byte(const char* text) {
  if (!text) return 0;
  char* end = nullptr;
  long v = std::strtol(text, &end, 0);
  while (end && (*end == ' ' || *end == '\t')) end++;
  if (end == text || (end && *end) || v < 0 || v > 255) return 0;
  return int(v);
}
