// Received-passes map files: the PGM header reader and the range comment
// parser on arbitrary bytes.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

#include "tracking/recmap.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string text(reinterpret_cast<const char*>(data), size);
  RECMAP_RANGE mn{}, mx{};
  get_range(text.c_str(), &mn, &mx);
  FILE* fp = fmemopen(const_cast<uint8_t*>(data), size, "rb");
  if (fp) {
    int w = 0, h = 0;
    read_pgmhdr_plottrack(fp, &w, &h, &mn, &mx);
    std::fclose(fp);
  }
  return 0;
}
