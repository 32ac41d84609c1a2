// An FTDI port that reads a memory stream round and round, so that the
// unpacking benchmarks time the link's own work and not a device.
#pragma once

#include <cstdint>
#include <cstring>
#include <vector>

#include "reception/ftport.h"

namespace mem_port {

inline const std::vector<uint8_t>* src = nullptr;
inline size_t pos = 0;

inline int list(uint32_t* n) {
  *n = 1;
  return FT_OK;
}
inline int get_list(FT_DEVICE_LIST_INFO_NODE* l, uint32_t* n) {
  std::memset(l, 0, sizeof *l);
  std::strcpy(l->SerialNumber, "MEM");
  *n = 1;
  return FT_OK;
}
inline int open(const char*, void** h) {
  *h = &pos;
  return FT_OK;
}
inline int timeouts(void*, uint32_t, uint32_t) { return FT_OK; }
inline int purge(void*, uint32_t) { return FT_OK; }
inline int status(void*, uint32_t* a, uint32_t* b, uint32_t* c) {
  *a = *b = *c = 0;
  return FT_OK;
}
inline int read(void*, void* buf, uint32_t n, uint32_t* got) {
  auto* out = static_cast<uint8_t*>(buf);
  for (uint32_t k = 0; k < n;) {
    if (pos >= src->size()) pos = 0;
    uint32_t c = uint32_t(src->size() - pos);
    if (c > n - k) c = n - k;
    std::memcpy(out + k, src->data() + pos, c);
    pos += c;
    k += c;
  }
  *got = n;
  return FT_OK;
}
inline int write(void*, const void*, uint32_t n, uint32_t* w) {
  *w = n;
  return FT_OK;
}
inline int close(void*) { return FT_OK; }

inline const FT_PORT_OPS ops = {"memory", list,   get_list, open,  timeouts,
                                purge,    status, read,     write, close};

// Reads `s` from its start on.
inline void use(const std::vector<uint8_t>* s) {
  src = s;
  pos = 0;
}

}  // namespace mem_port
