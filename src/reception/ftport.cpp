#include "reception/ftport.h"

#include <cstdio>
#include <cstring>

#include "config/prefs.h"

namespace {

const FT_PORT_OPS* g_ops = nullptr;        // selection in force
const FT_PORT_OPS* g_installed = nullptr;  // installed by the caller

// Capture: a table that forwards to the backend underneath and appends
// whatever the reads return to the capture file.
const FT_PORT_OPS* g_inner = nullptr;
FILE* g_capture = nullptr;

const FT_PORT_OPS* selected() {
  if (g_installed) return g_installed;
  if (!g_ops && ftport_select(prefs.usb_backend) != 0) ftport_select("auto");
  return g_ops;
}

int cap_create_list(uint32_t* n) { return g_inner->create_list(n); }
int cap_get_list(FT_DEVICE_LIST_INFO_NODE* l, uint32_t* n) { return g_inner->get_list(l, n); }
int cap_open(const char* s, void** h) { return g_inner->open_serial(s, h); }
int cap_timeouts(void* h, uint32_t r, uint32_t w) { return g_inner->set_timeouts(h, r, w); }
int cap_purge(void* h, uint32_t m) { return g_inner->purge(h, m); }
int cap_status(void* h, uint32_t* rx, uint32_t* tx, uint32_t* ev) {
  return g_inner->get_status(h, rx, tx, ev);
}
int cap_read(void* h, void* buf, uint32_t n, uint32_t* got) {
  int st = g_inner->read(h, buf, n, got);
  if (st == FT_OK && g_capture && *got) std::fwrite(buf, 1, *got, g_capture);
  return st;
}
int cap_write(void* h, const void* buf, uint32_t n, uint32_t* w) {
  return g_inner->write(h, buf, n, w);
}
int cap_close(void* h) { return g_inner->close(h); }

const FT_PORT_OPS kCapture = {"capture", cap_create_list, cap_get_list, cap_open,  cap_timeouts,
                              cap_purge, cap_status,      cap_read,     cap_write, cap_close};

}  // namespace

const FT_PORT_OPS* ftport() {
  const FT_PORT_OPS* ops = selected();
  if (g_capture) {
    g_inner = ops;
    return &kCapture;
  }
  return ops;
}

int ftport_select(const char* name) {
  const FT_PORT_OPS* ops = nullptr;
  if (!name || !*name || !std::strcmp(name, "auto")) {
    ops = ftport_d2xx();
    if (!ops) ops = ftport_libftdi();
  } else if (!std::strcmp(name, "d2xx")) {
    ops = ftport_d2xx();
  } else if (!std::strcmp(name, "libftdi")) {
    ops = ftport_libftdi();
  } else if (!std::strcmp(name, "emulator")) {
    ops = ftport_emulator();
  }
  if (!ops) return -1;
  g_ops = ops;
  return 0;
}

void ftport_install(const FT_PORT_OPS* ops) { g_installed = ops; }

int ftport_capture_start(const char* path) {
  ftport_capture_stop();
  g_capture = std::fopen(path, "wb");
  return g_capture ? 0 : -1;
}

void ftport_capture_stop() {
  if (g_capture) std::fclose(g_capture);
  g_capture = nullptr;
}
