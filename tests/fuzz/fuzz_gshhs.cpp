// Arbitrary bytes as a GSHHS coast file: read it into the overlay of a small
// georeferenced picture as the coast drawing does.
#include <cstddef>
#include <cstdint>
#include <cstdio>

#include "display/coast.h"
#include "formats/picinfo.h"

namespace {

// A 64 x 64 overlay over 0..6.4 E, 50..43.6 N, made once.
OVLINFO& overlay() {
  static OVLINFO ovl = [] {
    OVLINFO o{};
    const int w = 64, h = 64;
    o.xy2lola.resize(size_t(w * h) + 2);
    for (int y = 0; y < h; y++)
      for (int x = 0; x < w; x++) o.xy2lola[size_t(y * w + x)] = {0.1f * x, 50.0f - 0.1f * y};
    o.xy2lola[size_t(w * h)] = {0.0f, 43.7f};
    o.xy2lola[size_t(w * h) + 1] = {6.3f, 50.0f};
    o.scale = 10;
    o.offset_lon = 0;
    o.offset_lat = 437;
    o.range_lon = 63;
    o.range_lat = 63;
    o.lola2xy.resize(63 * 63);
    for (int j = 0; j < 63; j++)
      for (int i = 0; i < 63; i++) o.lola2xy[size_t(j * 63 + i)] = {i, 63 - j};
    return o;
  }();
  return ovl;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  FILE* fp = fmemopen(const_cast<uint8_t*>(data), size, "rb");
  if (!fp) return 0;
  OVLINFO& o = overlay();
  o.ovlarr.assign(64 * 64, 0);
  draw_coast_file(fp, &o, 64, 64);
  std::fclose(fp);
  return 0;
}
