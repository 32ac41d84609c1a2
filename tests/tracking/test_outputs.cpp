// Rotor outputs against real peers: a serial port through a socat pseudo
// terminal pair, a loopback TCP peer for the "gotopos" lines, and hamlib's
// rotctld with its dummy rotor.
#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <thread>

#include "reception/ethlink.h"
#include "tracker_fixture.h"
#include "tracking/rotor.h"
#include "tracking/rs232.h"

using namespace tracktest;

namespace {

// A child process ended with its process group at scope exit.
struct Child {
  pid_t pid = -1;
  explicit Child(const std::vector<std::string>& argv) {
    pid = fork();
    if (pid == 0) {
      setpgid(0, 0);
      int devnull = open("/dev/null", O_WRONLY);
      dup2(devnull, 1);
      dup2(devnull, 2);
      std::vector<char*> a;
      for (const auto& s : argv) a.push_back(const_cast<char*>(s.c_str()));
      a.push_back(nullptr);
      execvp(a[0], a.data());
      _exit(127);
    }
  }
  ~Child() {
    if (pid > 0) {
      kill(pid, SIGTERM);
      waitpid(pid, nullptr, 0);
    }
  }
};

// Everything that arrives on fd within ms after the last byte.
std::string drain_fd(int fd, int ms) {
  std::string out;
  for (;;) {
    pollfd p{fd, POLLIN, 0};
    if (poll(&p, 1, ms) <= 0) break;
    char buf[256];
    ssize_t n = read(fd, buf, sizeof buf);
    if (n <= 0) break;
    out.append(buf, size_t(n));
  }
  return out;
}

int listener(int* port) {
  int s = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in a{};
  a.sin_family = AF_INET;
  a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  bind(s, reinterpret_cast<sockaddr*>(&a), sizeof a);
  listen(s, 4);
  socklen_t len = sizeof a;
  getsockname(s, reinterpret_cast<sockaddr*>(&a), &len);
  *port = ntohs(a.sin_port);
  return s;
}

class Outputs : public TrackerTest {
 protected:
  // A satellite standing at azimuth 12.4, elevation 33.6 degrees, followed.
  void SetUp() override {
    TrackerTest::SetUp();
    std::snprintf(sat.satname, sizeof sat.satname, "TEST");
    sat.dir.azim = float(12.4 * kDeg);
    sat.dir.elev = float(33.6 * kDeg);
    pass.sat = &sat;
    pass.pass_e1_w0 = 1;
    pass.selected = 1;
    prefs.ext_prog_on = 0;
  }
  void TearDown() override {
    RS232_Open_Close(0, 0, 0);
    RS232_SetDeviceName(0, nullptr);
    open_close_eth(0);
    TrackerTest::TearDown();
  }
  int tick() { return track_the_sat(1.f, &sat, &pass, &tracker_moment()); }
  SAT sat{};
  TRACK pass{};
};

TEST_F(Outputs, SerialTemplatesThroughPty) {
  if (std::system("command -v socat >/dev/null 2>&1") != 0) GTEST_SKIP() << "socat missing";
  testutil::TempDir dir;
  std::string a = dir.file("a"), b = dir.file("b");
  Child socat({"socat", "pty,raw,echo=0,link=" + a, "pty,raw,echo=0,link=" + b});
  struct stat st {};
  for (int i = 0; i < 200 && (stat(a.c_str(), &st) || stat(b.c_str(), &st)); i++)
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  ASSERT_EQ(stat(b.c_str(), &st), 0) << "socat did not start";
  int peer = open(b.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK);
  ASSERT_GE(peer, 0);
  RS232_SetDeviceName(0, a.c_str());
  rec->uart.ena = 1;
  rec->uart.portnr = 0;
  rec->uart.speed = 9600;
  const UART_ITEMS port{0, 9600};
  EXPECT_EQ(pos2uart(&port, "x"), 1);  // not open yet
  struct Row {
    const char* tmpl;
    const char* bytes;
    const char* shown;
  } rows[] = {
      {"P%d %d\\r", "P12 34\r", "port 0:P12 34"},  // integers, backslash-r -> CR
      {"G%d %.2f %.2f", "G1 12.40 33.60\n", "port 0:G1 12.40 33.60"},  // id + floats
      {"A%.1f E%.1f\\n", "A12.4 E33.6\n", "port 0:A12.4 E33.6"},       // backslash-n -> LF
  };
  for (const Row& r : rows) {
    std::snprintf(rec->uart.command, sizeof rec->uart.command, "%s", r.tmpl);
    ASSERT_EQ(tick(), 1);
    EXPECT_EQ(drain_fd(peer, 300), r.bytes) << r.tmpl;
    EXPECT_EQ(rec_ui().entries["^Rotor connect"], "Open to 0");
    EXPECT_EQ(rec_ui().entries["Last sent:"], r.shown);
  }
  // And back: what the rotor answers is polled without blocking.
  ASSERT_EQ(write(peer, "OK\n", 3), 3);
  std::string back;
  for (int i = 0; i < 100 && back.size() < 3; i++) {
    unsigned char buf[16];
    int n = RS232_PollComport(0, buf, sizeof buf);
    back.append(reinterpret_cast<char*>(buf), size_t(n));
    if (!n) std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  EXPECT_EQ(back, "OK\n");
  glob_g.rotor_pause = 1;
  tick();
  EXPECT_EQ(rec_ui().entries["Last sent:"], "UART paused!");
  EXPECT_EQ(drain_fd(peer, 100), "");
  glob_g.rotor_pause = 0;
  close(peer);
  // A port that cannot be opened.
  RS232_Open_Close(0, 0, 0);
  RS232_SetDeviceName(0, dir.file("missing").c_str());
  EXPECT_EQ(tick(), 1);  // does not stop the cycle
  EXPECT_EQ(rec_ui().entries["^Rotor connect"], "Failed: port 0");
  EXPECT_EQ(rec_ui().entries["Last sent:"], "UART closed!");
}

TEST_F(Outputs, NetworkGotoposLines) {
  int port = 0;
  int ls = listener(&port);
  rec->eth.ena = 1;
  std::snprintf(rec->eth.ip_addr, sizeof rec->eth.ip_addr, "127.0.0.1");
  std::snprintf(rec->eth.port_nr, sizeof rec->eth.port_nr, "%d", port);
  ASSERT_EQ(tick(), 1);
  int conn = accept(ls, nullptr, nullptr);
  ASSERT_GE(conn, 0);
  EXPECT_EQ(rec_ui().entries["^Rotor connect"], "Open to 127.0.0.1");
  tick();
  EXPECT_EQ(drain_fd(conn, 300), "gotopos=1,12.4,33.6\ngotopos=1,12.4,33.6\n");
  // Without a pass the first number is 0.
  track_the_sat(1.f, &sat, nullptr, &tracker_moment());
  EXPECT_EQ(drain_fd(conn, 300), "gotopos=0,12.4,33.6\n");

  // The peer closes: writes fail without ending the process or the cycle,
  // and the link is opened again on a later cycle.
  close(conn);
  auto t0 = std::chrono::steady_clock::now();
  for (int i = 0; i < 4; i++) EXPECT_EQ(tick(), 1);
  EXPECT_LT(std::chrono::steady_clock::now() - t0, std::chrono::seconds(2));
  const std::vector<std::string>& log = rec_ui().entry_log;
  EXPECT_NE(std::find(log.begin(), log.end(), "^Rotor connect=Failed: 127.0.0.1"), log.end());
  conn = accept(ls, nullptr, nullptr);  // reconnected
  EXPECT_GE(conn, 0);
  close(conn);
  close(ls);

  // Nobody listens any more: "Failed", "UART closed!", tracking switched off.
  open_close_eth(0);
  rec_ui().buttons["Start /Stop"] = 1;
  EXPECT_EQ(tick(), 1);
  EXPECT_EQ(rec_ui().entries["^Rotor connect"], "Failed: 127.0.0.1");
  EXPECT_EQ(rec_ui().entries["Last sent:"], "UART closed!");
  EXPECT_EQ(rec_ui().buttons["Start /Stop"], 0);
  // Output switched off: the link is closed.
  rec->eth.ena = 0;
  tick();
  EXPECT_LE(rec->eth.sock, 0);
}

TEST_F(Outputs, RotctldPeerThatNeverAnswers) {
  int port = 0;
  int ls = listener(&port);
  std::string reply;
  auto t0 = std::chrono::steady_clock::now();
  EXPECT_EQ(rotctld_send_pos("127.0.0.1", port, 10.f, 20.f, &reply), -3);
  EXPECT_LT(std::chrono::steady_clock::now() - t0, std::chrono::seconds(4));
  close(ls);
  EXPECT_EQ(rotctld_send_pos("127.0.0.1", port, 10.f, 20.f, &reply), -1);  // refused
  rotctld_close();
}

}  // namespace
