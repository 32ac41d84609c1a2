// Debian's libftdi1 as the open-source backend. libftdi's reads return what
// has arrived at once; the blocking read with a time-out that the link
// expects is built on top of it.
#include <ftdi.h>
#include <time.h>

#include <cstdio>
#include <cstring>
#include <vector>

#include "reception/ftport.h"

namespace {

constexpr int kVendor = 0x0403;
// FT232R/FT245R, FT2232, FT4232, FT232H, FT-X.
constexpr int kProducts[] = {0x6001, 0x6010, 0x6011, 0x6014, 0x6015};

struct Port {
  ftdi_context* ctx;
  uint32_t read_ms = 1000, write_ms = 1000;
};

std::vector<FT_DEVICE_LIST_INFO_NODE> g_list;  // last enumeration

double now_ms() {
  struct timespec ts;
  clock_gettime(CLOCK_MONOTONIC, &ts);
  return double(ts.tv_sec) * 1e3 + double(ts.tv_nsec) / 1e6;
}

int l_create_list(uint32_t* n) {
  g_list.clear();
  ftdi_context* ctx = ftdi_new();
  if (!ctx) return FT_INSUFFICIENT_RESOURCES;
  for (int pid : kProducts) {
    ftdi_device_list* devs = nullptr;
    if (ftdi_usb_find_all(ctx, &devs, kVendor, pid) <= 0) {
      if (devs) ftdi_list_free(&devs);
      continue;
    }
    for (ftdi_device_list* d = devs; d; d = d->next) {
      FT_DEVICE_LIST_INFO_NODE node{};
      node.ID = uint32_t(kVendor << 16 | pid);
      char manu[64];
      ftdi_usb_get_strings(ctx, d->dev, manu, sizeof manu, node.Description,
                           sizeof node.Description, node.SerialNumber, sizeof node.SerialNumber);
      g_list.push_back(node);
    }
    ftdi_list_free(&devs);
  }
  ftdi_free(ctx);
  *n = uint32_t(g_list.size());
  return FT_OK;
}

int l_get_list(FT_DEVICE_LIST_INFO_NODE* list, uint32_t* n) {
  uint32_t k = 0;
  for (; k < *n && k < g_list.size(); k++) list[k] = g_list[k];
  *n = k;
  return FT_OK;
}

int l_open(const char* serial, void** handle) {
  ftdi_context* ctx = ftdi_new();
  if (!ctx) return FT_INSUFFICIENT_RESOURCES;
  for (int pid : kProducts) {
    if (ftdi_usb_open_desc(ctx, kVendor, pid, nullptr, serial && *serial ? serial : nullptr) == 0) {
      ftdi_set_bitmode(ctx, 0xFF, BITMODE_RESET);
      ftdi_set_latency_timer(ctx, 2);
      *handle = new Port{ctx};
      return FT_OK;
    }
  }
  ftdi_free(ctx);
  return FT_DEVICE_NOT_FOUND;
}

int l_timeouts(void* h, uint32_t r, uint32_t w) {
  auto* p = static_cast<Port*>(h);
  p->read_ms = r;
  p->write_ms = w;
  p->ctx->usb_read_timeout = int(r);
  p->ctx->usb_write_timeout = int(w);
  return FT_OK;
}

int l_purge(void* h, uint32_t mask) {
  auto* p = static_cast<Port*>(h);
  int r = 0;
  if ((mask & FT_PURGE_RX) && (mask & FT_PURGE_TX))
    r = ftdi_tcioflush(p->ctx);
  else if (mask & FT_PURGE_RX)
    r = ftdi_tciflush(p->ctx);
  else if (mask & FT_PURGE_TX)
    r = ftdi_tcoflush(p->ctx);
  return r < 0 ? FT_IO_ERROR : FT_OK;
}

int l_status(void*, uint32_t* rx, uint32_t* tx, uint32_t* ev) {
  // libftdi does not report the queue fill; the link only prints it.
  *rx = *tx = *ev = 0;
  return FT_OK;
}

int l_read(void* h, void* buf, uint32_t n, uint32_t* got) {
  auto* p = static_cast<Port*>(h);
  *got = 0;
  double t0 = now_ms();
  while (*got < n) {
    int r = ftdi_read_data(p->ctx, static_cast<unsigned char*>(buf) + *got, int(n - *got));
    if (r < 0) return FT_IO_ERROR;
    *got += uint32_t(r);
    if (*got >= n || now_ms() - t0 >= p->read_ms) break;
    if (r == 0) {
      struct timespec ts = {0, 500000};
      nanosleep(&ts, nullptr);
    }
  }
  return FT_OK;
}

int l_write(void* h, const void* buf, uint32_t n, uint32_t* written) {
  auto* p = static_cast<Port*>(h);
  int r = ftdi_write_data(p->ctx, static_cast<const unsigned char*>(buf), int(n));
  if (r < 0) {
    *written = 0;
    return FT_IO_ERROR;
  }
  *written = uint32_t(r);
  return FT_OK;
}

int l_close(void* h) {
  auto* p = static_cast<Port*>(h);
  ftdi_usb_close(p->ctx);
  ftdi_free(p->ctx);
  delete p;
  return FT_OK;
}

const FT_PORT_OPS kLibftdi = {"libftdi", l_create_list, l_get_list, l_open,  l_timeouts,
                              l_purge,   l_status,      l_read,     l_write, l_close};

}  // namespace

const FT_PORT_OPS* ftport_libftdi() { return &kLibftdi; }
