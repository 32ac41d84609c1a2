#include "reception/ethlink.h"

#include <arpa/inet.h>
#include <errno.h>
#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

char g_ipaddr[64];  // resolved address of the last name

// Line reception state.
int g_rx_sock = 0;
bool g_line_pending = false;
char g_rx_buf[301];

constexpr int kMaxRead = 300;
constexpr int kMaxLine = 100;

}  // namespace

const char* ipname2ip(const char* name) {
  if (!name || !*name) return nullptr;
  struct in_addr a;
  if (inet_pton(AF_INET, name, &a) == 1) {
    std::snprintf(g_ipaddr, sizeof g_ipaddr, "%s", name);
    return g_ipaddr;
  }
  struct addrinfo hints {};
  hints.ai_family = AF_INET;
  hints.ai_socktype = SOCK_STREAM;
  struct addrinfo* res = nullptr;
  if (getaddrinfo(name, nullptr, &hints, &res) != 0 || !res) return nullptr;
  auto* sin = reinterpret_cast<struct sockaddr_in*>(res->ai_addr);
  inet_ntop(AF_INET, &sin->sin_addr, g_ipaddr, sizeof g_ipaddr);
  freeaddrinfo(res);
  return g_ipaddr;
}

int wait_on_sock(int sock, int seconds, int for_read, int for_write) {
  std::printf("wait in progress tv={%ld,%ld} ...\n", long(seconds), 0L);
  std::fflush(stdout);
  if (sock < 0 || sock >= FD_SETSIZE) return -2;
  int r;
  fd_set set;
  do {
    FD_ZERO(&set);
    FD_SET(sock, &set);
    struct timeval tv {
      seconds, 0
    };
    r = select(sock + 1, for_read ? &set : nullptr, for_write ? &set : nullptr, nullptr, &tv);
  } while (r < 0 && errno == EINTR);
  if (r < 0) return -2;
  if (r == 0) return -1;
  int err = 0;
  socklen_t len = sizeof err;
  if (getsockopt(sock, SOL_SOCKET, SO_ERROR, &err, &len) < 0) return errno;
  return err;
}

int open_tcp_clt(const char* name, int port) {
  char host[256];
  std::snprintf(host, sizeof host, "%s", name ? name : "");
  const char* ip = ipname2ip(host);
  if (!ip) {
    std::printf("Can't find '%s'\n", host);
    std::fflush(stdout);
    return 0;
  }
  std::printf("ip=%s  port=%d\n", ip, port);
  std::fflush(stdout);
  int sock = socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK, 0);
  if (sock <= 0) return -1;
  fcntl(sock, F_SETFL, fcntl(sock, F_GETFL) | O_NONBLOCK);
  struct sockaddr_in addr {};
  addr.sin_family = AF_INET;
  addr.sin_port = htons(uint16_t(port));
  inet_pton(AF_INET, ip, &addr.sin_addr);
  if (connect(sock, reinterpret_cast<struct sockaddr*>(&addr), sizeof addr) != 0) {
    if (wait_on_sock(sock, 5, 1, 1) != 0) return -2;
  }
  std::printf("Connected to ESP, ip=%s  port=%d  (sock=%d)\n", ip, port, sock);
  std::fflush(stdout);
  return sock;
}

int close_tcp_clt(int sock) {
  if (sock >= 1) {
    close(sock);
    std::printf("Connection closed");
  } else {
    std::printf("there was no connection.");
  }
  std::fflush(stdout);
  return 0;
}

int open_close_eth(eth_items* eth, int open) {
  if (open) {
    if (eth->sock > 0) return -1;
    eth->sock = open_tcp_clt(eth->ip_addr, std::atoi(eth->port_nr));
    return eth->sock > 0 ? 1 : 0;
  }
  if (eth->sock > 0) {
    close_tcp_clt(eth->sock);
    eth->sock = 0;
    return 1;
  }
  return -1;
}

int open_close_eth(int open) {
  if (!g_recordinfo) return -1;
  return open_close_eth(&g_recordinfo->eth, open);
}

long write_eth(int sock, const void* buffer, size_t length) {
  if (sock < 1) return sock;
  return long(write(sock, buffer, length));
}

long read_eth(int sock, void* buffer, size_t length) {
  if (sock < 1) return sock;
  return long(read(sock, buffer, length));
}

long send_ethcmd(int sock, const char* format, ...) {
  char buf[30];
  va_list ap;
  va_start(ap, format);
  std::vsnprintf(buf, sizeof buf, format, ap);
  va_end(ap);
  return write_eth(sock, buf, std::strlen(buf));
}

int get_tcpdata(int sock, char* line) {
  if (sock) {
    g_rx_sock = sock;
    g_line_pending = false;
    g_rx_buf[0] = '\0';
  }
  if (g_rx_sock <= 0 || g_rx_sock >= FD_SETSIZE) return -1;
  if (!g_line_pending) {
    fd_set set;
    FD_ZERO(&set);
    FD_SET(g_rx_sock, &set);
    struct timeval tv {
      0, 500000
    };
    int r;
    do {
      r = select(g_rx_sock + 1, &set, nullptr, nullptr, &tv);
    } while (r < 0 && errno == EINTR);
    if (r <= 0) return 0;
    char in[kMaxRead + 1];
    ssize_t n = read(g_rx_sock, in, kMaxRead);
    if (n <= 0) {
      close(g_rx_sock);
      g_rx_sock = 0;
      return -1;
    }
    in[n] = '\0';
    size_t have = std::strlen(g_rx_buf);
    std::snprintf(g_rx_buf + have, sizeof g_rx_buf - have, "%s", in);
  }
  line[0] = '\0';
  char* lf = std::strchr(g_rx_buf, '\n');
  if (lf) {
    size_t len = size_t(lf - g_rx_buf);
    if (len > kMaxLine) len = kMaxLine;
    std::memcpy(line, g_rx_buf, len);
    line[len] = '\0';
    char rest[sizeof g_rx_buf];
    std::snprintf(rest, sizeof rest, "%s", lf + 1);
    std::snprintf(g_rx_buf, sizeof g_rx_buf, "%s", rest);
    g_line_pending = true;
  } else {
    g_line_pending = false;
  }
  return 1;
}
