// The serial output of the decoder board's FPGA as the hardware test panel
// uses it: bytes go out one by one through register 14 (data) with 12 := 128
// (send); register 13 is the serial status.
#pragma once
#include <cstdint>

#include "reception/recordinfo.h"

// Sends n bytes; the status of the first failed write, else 0.
int fpga_uart_send(usb_items* usb, const uint8_t* bytes, int n);
// The serial status register, or -1 when it cannot be read.
int fpga_uart_state(usb_items* usb);
// A byte entry of the panel: decimal, or hexadecimal with "0x"; anything
// else, and values outside 0..255, give 0.
int hwpanel_byte(const char* text);
