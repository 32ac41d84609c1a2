#include "tracking/rs232.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <string>

namespace {

const char* const kDevices[RS232_NPORTS] = {
    "/dev/ttyS0",   "/dev/ttyS1",   "/dev/ttyS2",   "/dev/ttyS3",   "/dev/ttyS4",   "/dev/ttyS5",
    "/dev/ttyS6",   "/dev/ttyS7",   "/dev/ttyS8",   "/dev/ttyS9",   "/dev/ttyS10",  "/dev/ttyS11",
    "/dev/ttyS12",  "/dev/ttyS13",  "/dev/ttyS14",  "/dev/ttyS15",  "/dev/ttyUSB0", "/dev/ttyUSB1",
    "/dev/ttyUSB2", "/dev/ttyUSB3", "/dev/ttyUSB4", "/dev/ttyUSB5", "/dev/ttyAMA0", "/dev/ttyAMA1",
    "/dev/ttyACM0", "/dev/ttyACM1", "/dev/rfcomm0", "/dev/rfcomm1", "/dev/ircomm0", "/dev/ircomm1"};

struct Port {
  int fd = -1;
  struct termios saved {};
  std::string override_name;
};
Port g_ports[RS232_NPORTS];

// The layer's messages go to a reporter that prints nothing: callers see only
// the failure result.
void report(const char*) {}

bool valid(int port) { return port >= 0 && port < RS232_NPORTS; }

speed_t baud_code(int baud) {
  switch (baud) {
    case 50:
      return B50;
    case 75:
      return B75;
    case 110:
      return B110;
    case 134:
      return B134;
    case 150:
      return B150;
    case 200:
      return B200;
    case 300:
      return B300;
    case 600:
      return B600;
    case 1200:
      return B1200;
    case 1800:
      return B1800;
    case 2400:
      return B2400;
    case 4800:
      return B4800;
    case 9600:
      return B9600;
    case 19200:
      return B19200;
    case 38400:
      return B38400;
    case 57600:
      return B57600;
    case 115200:
      return B115200;
    case 230400:
      return B230400;
    case 460800:
      return B460800;
    case 500000:
      return B500000;
    case 576000:
      return B576000;
    case 921600:
      return B921600;
    case 1000000:
      return B1000000;
    default:
      return B0;
  }
}

void set_modem_bits(int port, int bits, bool on) {
  if (!valid(port) || g_ports[port].fd < 0) return;
  int status;
  if (ioctl(g_ports[port].fd, TIOCMGET, &status) == -1) {
    report("unable to get portstatus");
    return;
  }
  if (on)
    status |= bits;
  else
    status &= ~bits;
  if (ioctl(g_ports[port].fd, TIOCMSET, &status) == -1) report("unable to set portstatus");
}

int modem_bit(int port, int bit) {
  if (!valid(port) || g_ports[port].fd < 0) return 0;
  int status = 0;
  ioctl(g_ports[port].fd, TIOCMGET, &status);
  return (status & bit) ? 1 : 0;
}

}  // namespace

const char* RS232_DeviceName(int port) {
  if (!valid(port)) return "";
  return g_ports[port].override_name.empty() ? kDevices[port] : g_ports[port].override_name.c_str();
}

void RS232_SetDeviceName(int port, const char* path) {
  if (valid(port)) g_ports[port].override_name = path ? path : "";
}

int RS232_OpenComport(int port, int baud) {
  if (!valid(port)) {
    report("illegal comport number (must be 0...28)\n");
    return 1;
  }
  speed_t code = baud_code(baud);
  if (code == B0) {
    report("invalid baudrate\n");
    return 1;
  }
  Port& p = g_ports[port];
  if (p.fd >= 0) return 0;
  int fd = open(RS232_DeviceName(port), O_RDWR | O_NOCTTY | O_NDELAY | O_CLOEXEC);
  if (fd == -1) {
    report("unable to open comport ");
    return 1;
  }
  if (tcgetattr(fd, &p.saved) == -1) {
    report("unable to read portsettings ");
    close(fd);
    return 1;
  }
  struct termios t {};
  t.c_cflag = CS8 | CLOCAL | CREAD;
  t.c_iflag = IGNPAR;
  t.c_oflag = 0;
  t.c_lflag = 0;
  t.c_cc[VMIN] = 0;
  t.c_cc[VTIME] = 0;
  cfsetispeed(&t, code);
  cfsetospeed(&t, code);
  if (tcsetattr(fd, TCSANOW, &t) == -1) {
    report("unable to adjust portsettings ");
    close(fd);
    return 1;
  }
  p.fd = fd;
  set_modem_bits(port, TIOCM_DTR | TIOCM_RTS, true);
  return 0;
}

void RS232_CloseComport(int port) {
  if (!valid(port) || g_ports[port].fd < 0) return;
  Port& p = g_ports[port];
  set_modem_bits(port, TIOCM_DTR | TIOCM_RTS, false);
  tcsetattr(p.fd, TCSANOW, &p.saved);
  close(p.fd);
  p.fd = -1;
}

int RS232_PollComport(int port, unsigned char* buf, int size) {
  if (!valid(port) || g_ports[port].fd < 0 || size <= 0) return 0;
  ssize_t n = read(g_ports[port].fd, buf, size_t(size));
  return n > 0 ? int(n) : 0;
}

int RS232_SendByte(int port, unsigned char byte) { return RS232_SendBuf(port, &byte, 1); }

int RS232_SendBuf(int port, const unsigned char* buf, int n) {
  if (!valid(port) || g_ports[port].fd < 0 || n < 0) return -1;
  int done = 0;
  int tries = 0;
  while (done < n) {
    ssize_t w = write(g_ports[port].fd, buf + done, size_t(n - done));
    if (w > 0) {
      done += int(w);
      continue;
    }
    // The port is non-blocking: give a full output queue a moment to drain.
    if (w < 0 && (errno == EAGAIN || errno == EINTR) && ++tries < 100) {
      usleep(2000);
      continue;
    }
    return done ? done : -1;
  }
  return done;
}

void RS232_cputs(int port, const char* text) {
  while (text && *text) RS232_SendByte(port, static_cast<unsigned char>(*text++));
}

int RS232_IsCTSEnabled(int port) { return modem_bit(port, TIOCM_CTS); }
int RS232_IsDSREnabled(int port) { return modem_bit(port, TIOCM_DSR); }
void RS232_enableDTR(int port) { set_modem_bits(port, TIOCM_DTR, true); }
void RS232_disableDTR(int port) { set_modem_bits(port, TIOCM_DTR, false); }
void RS232_enableRTS(int port) { set_modem_bits(port, TIOCM_RTS, true); }
void RS232_disableRTS(int port) { set_modem_bits(port, TIOCM_RTS, false); }

int RS232_Open_Close(int action, int port, int baud) {
  if (!valid(port)) return 0;
  if (action >= 1 && g_ports[port].fd < 0) RS232_OpenComport(port, baud);
  if (action == 0 && g_ports[port].fd >= 0) RS232_CloseComport(port);
  return g_ports[port].fd >= 0 ? 1 : 0;
}
