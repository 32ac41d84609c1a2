// The network link to a rotor controller: a small TCP client that sends one
// text line per position update and can read text lines back. Every wait is
// bounded (5 s to connect, 0.5 s to read).
#pragma once
#include <cstddef>

#include "reception/recordinfo.h"

// Opens (open = 1) or closes (open = 0) the link of eth. Opening: 1 when the
// connection came up, 0 when not, -1 when it was already open. Closing: 1 when
// a connection was closed, -1 when there was none.
int open_close_eth(eth_items* eth, int open);
// The same on the recording record's link.
int open_close_eth(int open);

// Connects to name (host name or dotted IPv4 address) at port. Returns the
// socket (> 0), 0 when the name cannot be resolved, -1 when no socket could
// be made, -2 when the connection did not come up within 5 s (that socket is
// left open).
int open_tcp_clt(const char* name, int port);

// Closes sock when it is >= 1 ("Connection closed"), else prints "there was no
// connection.". Returns 0.
int close_tcp_clt(int sock);

// Plain write/read; a socket < 1 is returned unchanged without any call.
long write_eth(int sock, const void* buffer, size_t length);
long read_eth(int sock, void* buffer, size_t length);

// Formats at most 29 characters and writes them.
long send_ethcmd(int sock, const char* format, ...) __attribute__((format(printf, 2, 3)));

// Line reception. A non-zero sock (re)starts reception on that socket; 0
// continues on the stored one. Returns 1 when a call completed (line holds a
// complete line of at most 100 characters, or is empty), 0 when nothing
// arrived within 0.5 s, -1 when the peer closed or an error occurred (the
// socket is then closed). line must hold 101 bytes.
int get_tcpdata(int sock, char* line);

// Dotted address of name in a process-wide buffer, or null.
const char* ipname2ip(const char* name);

// Waits up to seconds for sock to become ready for reading and/or writing.
// Returns 0 when ready without error, the socket's pending error otherwise,
// -1 on time-out, -2 when select fails.
int wait_on_sock(int sock, int seconds, int for_read, int for_write);
