// FTDI's D2XX library, loaded at run time: the program builds and runs without
// it, and uses it when "libftd2xx.so" can be loaded.
#include <dlfcn.h>

#include "reception/ftport.h"

namespace {

// The library's entry points (FT_STATUS and DWORD are 32-bit on Linux).
using CreateList = uint32_t (*)(uint32_t*);
using GetList = uint32_t (*)(FT_DEVICE_LIST_INFO_NODE*, uint32_t*);
using OpenEx = uint32_t (*)(void*, uint32_t, void**);
using SetTimeouts = uint32_t (*)(void*, uint32_t, uint32_t);
using Purge = uint32_t (*)(void*, uint32_t);
using GetStatus = uint32_t (*)(void*, uint32_t*, uint32_t*, uint32_t*);
using Read = uint32_t (*)(void*, void*, uint32_t, uint32_t*);
using Write = uint32_t (*)(void*, const void*, uint32_t, uint32_t*);
using Close = uint32_t (*)(void*);

struct D2xx {
  CreateList create_list;
  GetList get_list;
  OpenEx open_ex;
  SetTimeouts set_timeouts;
  Purge purge;
  GetStatus get_status;
  Read read;
  Write write;
  Close close;
} g_lib;

int d_create_list(uint32_t* n) { return int(g_lib.create_list(n)); }
int d_get_list(FT_DEVICE_LIST_INFO_NODE* l, uint32_t* n) { return int(g_lib.get_list(l, n)); }
int d_open(const char* serial, void** h) {
  return int(g_lib.open_ex(const_cast<char*>(serial), FT_OPEN_BY_SERIAL_NUMBER, h));
}
int d_timeouts(void* h, uint32_t r, uint32_t w) { return int(g_lib.set_timeouts(h, r, w)); }
int d_purge(void* h, uint32_t m) { return int(g_lib.purge(h, m)); }
int d_status(void* h, uint32_t* rx, uint32_t* tx, uint32_t* ev) {
  return int(g_lib.get_status(h, rx, tx, ev));
}
int d_read(void* h, void* b, uint32_t n, uint32_t* got) { return int(g_lib.read(h, b, n, got)); }
int d_write(void* h, const void* b, uint32_t n, uint32_t* w) {
  return int(g_lib.write(h, b, n, w));
}
int d_close(void* h) { return int(g_lib.close(h)); }

const FT_PORT_OPS kD2xx = {"d2xx",  d_create_list, d_get_list, d_open,  d_timeouts,
                           d_purge, d_status,      d_read,     d_write, d_close};

template <class F>
bool sym(void* lib, const char* name, F* f) {
  *f = reinterpret_cast<F>(dlsym(lib, name));
  return *f != nullptr;
}

}  // namespace

const FT_PORT_OPS* ftport_d2xx() {
  static int state = 0;  // 0 not tried, 1 loaded, -1 not available
  if (state == 0) {
    state = -1;
    void* lib = dlopen("libftd2xx.so", RTLD_NOW | RTLD_LOCAL);
    if (lib && sym(lib, "FT_CreateDeviceInfoList", &g_lib.create_list) &&
        sym(lib, "FT_GetDeviceInfoList", &g_lib.get_list) &&
        sym(lib, "FT_OpenEx", &g_lib.open_ex) && sym(lib, "FT_SetTimeouts", &g_lib.set_timeouts) &&
        sym(lib, "FT_Purge", &g_lib.purge) && sym(lib, "FT_GetStatus", &g_lib.get_status) &&
        sym(lib, "FT_Read", &g_lib.read) && sym(lib, "FT_Write", &g_lib.write) &&
        sym(lib, "FT_Close", &g_lib.close))
      state = 1;
    else if (lib)
      dlclose(lib);
  }
  return state == 1 ? &kD2xx : nullptr;
}
