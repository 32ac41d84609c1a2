// A host name that resolves but whose connection never comes up: -2 after
// the link's own time-out, and the socket is left open (the caller owns it).
#include <dirent.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <thread>

#include "reception/ethlink.h"

namespace {

int open_fds() {
  int n = 0;
  if (DIR* d = opendir("/proc/self/fd")) {
    while (readdir(d)) n++;
    closedir(d);
  }
  return n;
}

TEST(EthLinkTimeout, NameResolvesConnectionHangsSocketStaysOpen) {
  // A listener with a full queue drops further attempts: the connect hangs.
  int ls = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in a{};
  a.sin_family = AF_INET;
  a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  ASSERT_EQ(bind(ls, reinterpret_cast<sockaddr*>(&a), sizeof a), 0);
  socklen_t len = sizeof a;
  getsockname(ls, reinterpret_cast<sockaddr*>(&a), &len);
  listen(ls, 0);
  int fillers[4];
  for (int& f : fillers) {
    f = socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK, 0);
    connect(f, reinterpret_cast<sockaddr*>(&a), sizeof a);
  }
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  int before = open_fds();
  int s = open_tcp_clt("localhost", ntohs(a.sin_port));
  int after = open_fds();
  for (int f : fillers) close(f);
  close(ls);
  if (s > 0) {
    close(s);
    GTEST_SKIP() << "the kernel accepted the connection; no time-out to observe";
  }
  EXPECT_EQ(s, -2);
  EXPECT_EQ(after, before + 1) << "the socket of the failed connect was closed";
}

}  // namespace
