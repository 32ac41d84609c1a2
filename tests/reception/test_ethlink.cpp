// The network link against loopback TCP peers started by the test.
#include <dirent.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <string>
#include <thread>

#include "reception/ethlink.h"

namespace {

// A listening socket on a free loopback port.
struct Listener {
  int fd = -1;
  int port = 0;
  explicit Listener(int backlog = 4) {
    fd = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    bind(fd, reinterpret_cast<sockaddr*>(&a), sizeof a);
    socklen_t len = sizeof a;
    getsockname(fd, reinterpret_cast<sockaddr*>(&a), &len);
    port = ntohs(a.sin_port);
    listen(fd, backlog);
  }
  int accept_one() { return accept(fd, nullptr, nullptr); }
  ~Listener() { close(fd); }
};

int open_fds() {
  int n = 0;
  if (DIR* d = opendir("/proc/self/fd")) {
    while (readdir(d)) n++;
    closedir(d);
  }
  return n;
}

eth_items link_to(int port) {
  eth_items e{};
  std::snprintf(e.ip_addr, sizeof e.ip_addr, "127.0.0.1");
  std::snprintf(e.port_nr, sizeof e.port_nr, "%d", port);
  return e;
}

TEST(EthLink, OpenTwiceAndCloseTwice) {
  Listener peer;
  eth_items e = link_to(peer.port);
  EXPECT_EQ(open_close_eth(&e, 1), 1);
  int first = e.sock;
  EXPECT_GT(first, 0);
  EXPECT_EQ(open_close_eth(&e, 1), -1);
  EXPECT_EQ(e.sock, first);
  EXPECT_EQ(open_close_eth(&e, 0), 1);
  EXPECT_EQ(e.sock, 0);
  EXPECT_EQ(open_close_eth(&e, 0), -1);
}

TEST(EthLink, FailuresToConnect) {
  // Unresolvable name.
  testing::internal::CaptureStdout();
  EXPECT_EQ(open_tcp_clt("no-such-host.invalid", 1234), 0);
  EXPECT_NE(testing::internal::GetCapturedStdout().find("Can't find 'no-such-host.invalid'\n"),
            std::string::npos);
  // Nobody listening: refused, reported as a connection that did not come up.
  int port;
  {
    Listener gone;
    port = gone.port;
  }
  EXPECT_EQ(open_tcp_clt("127.0.0.1", port), -2);
}

TEST(EthLink, LinesArriveAndAreSplit) {
  Listener peer;
  int s = open_tcp_clt("localhost", peer.port);
  ASSERT_GT(s, 0);
  int c = peer.accept_one();
  ASSERT_GT(c, 0);

  // Two lines in one read: two calls, the second without new data.
  const char two[] = "first\nsecond\n";
  ASSERT_EQ(write(c, two, sizeof two - 1), long(sizeof two - 1));
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  char line[101];
  // The pending flag is consumed by an empty line; then nothing within 0.5 s.
  std::string got_lines;
  for (int sock : {s, 0, 0}) {
    EXPECT_EQ(get_tcpdata(sock, line), 1);
    got_lines += std::string(line) + "|";
  }
  EXPECT_EQ(got_lines, "first|second||");
  EXPECT_EQ(get_tcpdata(0, line), 0);

  // A long line is cut to 100 characters.
  std::string longline = std::string(150, 'x') + "\n";
  ASSERT_EQ(write(c, longline.data(), longline.size()), long(longline.size()));
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  EXPECT_EQ(get_tcpdata(0, line), 1);
  EXPECT_EQ(std::string(line), std::string(100, 'x'));

  // The peer closes: -1, the socket is closed.
  close(c);
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  int r = get_tcpdata(0, line);
  if (r == 1) r = get_tcpdata(0, line);  // a pending empty line first
  EXPECT_EQ(r, -1);
}

// A host name that resolves but whose connection never comes up: -2 after the
// link's own time-out, the socket left open (the caller owns it).
TEST(EthLink, ConnectionThatNeverComesUpTimesOutAndKeepsItsSocket) {
  // A listener whose queue is full drops further connection attempts.
  Listener peer(0);
  int fillers[4];
  for (int& f : fillers) {
    f = socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK, 0);
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    a.sin_port = htons(uint16_t(peer.port));
    connect(f, reinterpret_cast<sockaddr*>(&a), sizeof a);
  }
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  int before = open_fds();
  auto t0 = std::chrono::steady_clock::now();
  int s = open_tcp_clt("localhost", peer.port);
  double secs = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
  int after = open_fds();
  for (int f : fillers) close(f);
  if (s > 0) {
    close(s);
    GTEST_SKIP() << "the kernel accepted the connection; no time-out to observe";
  }
  EXPECT_EQ(s, -2);
  EXPECT_TRUE(secs >= 4.5 && secs < 8.0) << secs;
  EXPECT_EQ(after, before + 1) << "the socket of the failed connect was closed";
}

}  // namespace
