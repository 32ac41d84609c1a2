// Rotor output formats and the serial layer, the latter through a real
// pseudo-terminal pair made by socat.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <chrono>
#include <string>
#include <thread>

#include "support/testutil.h"
#include "tracking/rotor.h"
#include "tracking/rs232.h"

namespace {

TEST(Diseqc, AnglesToPositionerCommands) {
  // Each row: angle, steps per degree, inverted, limit, expected data bytes.
  const struct {
    float angle;
    int deg2step, inv, limit;
    int d0, d1;
  } rows[] = {
      {90.f, 8, 0, 0, 0xE0, 0x00},    // centre
      {100.f, 8, 0, 0, 0xD0, 0x50},   // -80 steps
      {100.f, 8, 1, 0, 0xE0, 0x50},   // inverted: +80
      {100.f, 0, 0, 0, 0xD0, 0x50},   // 0 steps per degree means 8
      {200.f, 8, 0, 0, 0xD2, 0xD0},   // above 180 sent as 180: -720 steps
      {-5.f, 8, 0, 0, 0xE2, 0xD0},    // below 0 sent as 0: +720 steps
      {45.f, 8, 0, 100, 0xE0, 0x64},  // 360 steps limited to 100
      {135.f, 8, 0, 100, 0xD0, 0x64},
  };
  for (const auto& r : rows) {
    DISEQC d = val2diseqc(r.angle, r.deg2step, r.inv, r.limit);
    EXPECT_EQ(d.addr, 0x31);
    EXPECT_EQ(d.cmd, 0x6E);
    EXPECT_EQ(d.data[0], r.d0) << r.angle;
    EXPECT_EQ(d.data[1], r.d1) << r.angle;
  }
  EXPECT_FLOAT_EQ(val2diseqc(200.f, 8, 0, 0).val, 180.f);
}

TEST(SerialCommand, Templates) {
  // Each row: template, id, a, b, expected text.
  const struct {
    const char* tmpl;
    int id;
    float a, b;
    const char* expect;
  } rows[] = {
      {"P%d %d\\r", 0, 12.4f, 33.6f, "P12 34\r"},
      {"P%d %d\\n", 0, 12.4f, 33.6f, "P12 34\n"},
      {"P%d %d", 0, 12.4f, 33.6f, "P12 34\n"},
      {"%d AZ%.1f EL%.1f", 7, 12.44f, 33.66f, "7 AZ12.4 EL33.7\n"},  // id stays an integer
      {"%d AZ%d EL%f", 7, 12.5f, 33.5f, "7 AZ12.500000 EL33.500000\n"},
      {"AZ%5.1f", 0, 1.25f, 0.f, "AZ  1.2\n"},
      {"%d%% %d", 0, 12.4f, 33.6f, "12% 34\n"},
      {"%s %n %d", 0, 12.4f, 33.6f, "%s %n 12\n"},  // only d and f are conversions
  };
  for (const auto& r : rows) {
    char out[100];
    load_cmd(out, sizeof out, r.tmpl, r.id, r.a, r.b);
    EXPECT_EQ(std::string(out), r.expect) << r.tmpl;
  }
  // Cut at size - 2 characters before the line end is added.
  char small[8];
  load_cmd(small, sizeof small, "ABCDEFGHIJ %d %d", 0, 1.f, 2.f);
  EXPECT_EQ(std::string(small), "ABCDEF\n");
}

// A pseudo-terminal pair: one end for the port layer, the other read here.
struct PtyPair {
  pid_t pid = -1;
  std::string a, b;
  testutil::TempDir dir;
  bool start() {
    a = dir.file("ttyA");
    b = dir.file("ttyB");
    pid = fork();
    if (pid == 0) {
      execlp("socat", "socat", ("pty,raw,echo=0,link=" + a).c_str(),
             ("pty,raw,echo=0,link=" + b).c_str(), static_cast<char*>(nullptr));
      _exit(127);
    }
    for (int i = 0; i < 100; i++) {
      struct stat st;
      if (stat(a.c_str(), &st) == 0 && stat(b.c_str(), &st) == 0) return true;
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return false;
  }
  ~PtyPair() {
    if (pid > 0) {
      kill(pid, SIGTERM);
      waitpid(pid, nullptr, 0);
    }
  }
};

std::string read_some(int fd, size_t want) {
  std::string got;
  for (int i = 0; i < 100 && got.size() < want; i++) {
    char buf[256];
    ssize_t n = read(fd, buf, sizeof buf);
    if (n > 0)
      got.append(buf, size_t(n));
    else
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return got;
}

TEST(Serial, CommandsArriveThroughAPseudoTerminal) {
  if (system("command -v socat >/dev/null 2>&1") != 0) GTEST_SKIP() << "socat not installed";
  PtyPair pty;
  ASSERT_TRUE(pty.start());
  const int port = 21;
  RS232_SetDeviceName(port, pty.a.c_str());
  UART_ITEMS uart{port, 9600};
  EXPECT_EQ(pos2uart(&uart, "x"), 1);  // not open yet
  EXPECT_EQ(RS232_Open_Close(-1, port, 9600), 0);
  EXPECT_EQ(RS232_Open_Close(1, port, 9600), 1);
  int peer = open(pty.b.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK);
  ASSERT_GE(peer, 0);

  char cmd[100];
  load_cmd(cmd, sizeof cmd, "P%d %d\\r", 0, 12.4f, 33.6f);
  EXPECT_EQ(pos2uart(&uart, cmd), 0);
  EXPECT_EQ(read_some(peer, 7), "P12 34\r");

  // And back: what the rotor answers is polled without blocking.
  ASSERT_EQ(write(peer, "OK\n", 3), 3);
  std::string back;
  for (int i = 0; i < 100 && back.size() < 3; i++) {
    unsigned char buf[16];
    int n = RS232_PollComport(port, buf, sizeof buf);
    back.append(reinterpret_cast<char*>(buf), size_t(n));
    if (!n) std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  EXPECT_EQ(back, "OK\n");
  close(peer);
  EXPECT_EQ(RS232_Open_Close(0, port, 9600), 0);
  RS232_SetDeviceName(port, nullptr);
}

TEST(Serial, RejectedPortsAndRates) {
  EXPECT_EQ(RS232_OpenComport(30, 9600), 1);
  EXPECT_EQ(RS232_OpenComport(-1, 9600), 1);
  EXPECT_EQ(RS232_OpenComport(0, 9601), 1);
  EXPECT_STREQ(RS232_DeviceName(29), "/dev/ircomm1");
  EXPECT_STREQ(RS232_DeviceName(16), "/dev/ttyUSB0");
  RS232_SetDeviceName(3, "/nonexistent/tty");
  EXPECT_EQ(RS232_OpenComport(3, 9600), 1);
  RS232_SetDeviceName(3, nullptr);
}

}  // namespace
