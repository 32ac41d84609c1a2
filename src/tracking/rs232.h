// Serial ports over the POSIX terminal interface, numbered 0..29:
// /dev/ttyS0..15, /dev/ttyUSB0..5, /dev/ttyAMA0..1, /dev/ttyACM0..1,
// /dev/rfcomm0..1, /dev/ircomm0..1.
#pragma once

constexpr int RS232_NPORTS = 30;

// Opens port at baud: 8 data bits, receiver on, modem lines ignored, parity
// errors ignored, raw, non-blocking; DTR and RTS raised. Returns 0, or 1 on
// failure (unknown port, rate not accepted, device missing).
int RS232_OpenComport(int port, int baud);
// Restores the saved settings and closes the port.
void RS232_CloseComport(int port);
// Reads what is waiting (non-blocking); returns the byte count, 0 when none.
int RS232_PollComport(int port, unsigned char* buf, int size);
// Sends one byte / n bytes; returns the bytes written, -1 on error.
int RS232_SendByte(int port, unsigned char byte);
int RS232_SendBuf(int port, const unsigned char* buf, int n);
void RS232_cputs(int port, const char* text);
int RS232_IsCTSEnabled(int port);
int RS232_IsDSREnabled(int port);
void RS232_enableDTR(int port);
void RS232_disableDTR(int port);
void RS232_enableRTS(int port);
void RS232_disableRTS(int port);

// action >= 1 opens port at baud when closed, 0 closes it when open, < 0 only
// asks. Returns 1 while the port is open.
int RS232_Open_Close(int action, int port, int baud);

// The device of port (for messages and settings dialogs).
const char* RS232_DeviceName(int port);
// Uses path instead of the standard device for port (a device given by the
// user, such as a /dev/serial/by-id name, or a pseudo terminal in tests).
// Null restores the standard name.
void RS232_SetDeviceName(int port, const char* path);
