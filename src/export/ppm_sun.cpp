// PPM/PGM and SUN raster writers.
#include <algorithm>
#include <cstring>
#include <vector>

#include "common/bytes.h"
#include "common/text.h"
#include "export/imgcodec.h"

namespace {
inline uint8_t clamp8(uint16_t v) { return uint8_t(std::min<int>(v, 255)); }
int put(FILE* fp, const void* p, size_t n) { return std::fwrite(p, 1, n, fp) == n ? 0 : -1; }
}  // namespace

std::string ppm_header_text(int file_type, int width, int height, int maxval, int height_chars) {
  return pava::strprintf("%s\n#Created by pava\n%d %-*d\n%d\n", file_type == FT_PPM ? "P6" : "P5",
                         width, height_chars, height, file_type == FT_PPM ? 255 : maxval);
}

int ppm_write_header(FILE* fp, int file_type, int width, int height, int maxval) {
  if (!fp) return -1;
  std::string h = ppm_header_text(file_type, width, height, maxval);
  return put(fp, h.data(), h.size());
}

int ppm_write_line(FILE* fp, int file_type, int depth, int width, const uint16_t* r,
                   const uint16_t* g, const uint16_t* b) {
  if (!fp || width <= 0) return -1;
  std::vector<uint8_t> out;
  if (file_type == FT_PPM) {
    out.resize(size_t(width) * 3);
    for (int x = 0; x < width; x++) {
      out[size_t(3 * x)] = clamp8(r[x]);
      out[size_t(3 * x + 1)] = clamp8(g[x]);
      out[size_t(3 * x + 2)] = clamp8(b[x]);
    }
  } else if (depth > 8) {
    out.resize(size_t(width) * 2);
    for (int x = 0; x < width; x++) pava::put_be16(&out[size_t(2 * x)], r[x]);
  } else {
    out.resize(size_t(width));
    for (int x = 0; x < width; x++) out[size_t(x)] = clamp8(r[x]);
  }
  return put(fp, out.data(), out.size());
}

// SUN raster header: eight fields of 8 bytes, each a big-endian 32-bit value
// followed by four zero bytes:
//   0 magic 0x59a66a95 | 8 width | 16 height | 24 depth 8 | 32 length w*h |
//   40 type 1 | 48 map type 1 | 56 map length 3n
// then n red, n green, n blue bytes, then one byte per pixel.
int sun_write_header(FILE* fp, int width, int height, const CLRMAP* map) {
  if (!fp) return -1;
  int n = std::clamp(map ? map->size : 0, 0, 256);
  uint8_t h[64] = {0};
  const uint32_t v[8] = {
      SUN_MAGIC, uint32_t(width), uint32_t(height), 8u, uint32_t(width) * uint32_t(height), 1u,
      1u,        uint32_t(3 * n)};
  for (int i = 0; i < 8; i++) pava::put_be32(h + 8 * i, v[i]);
  if (put(fp, h, sizeof h)) return -1;
  std::vector<uint8_t> cmap(size_t(3 * n));
  for (int i = 0; i < n; i++) {
    cmap[size_t(i)] = uint8_t(map->red[i]);
    cmap[size_t(n + i)] = uint8_t(map->green[i]);
    cmap[size_t(2 * n + i)] = uint8_t(map->blue[i]);
  }
  return n ? put(fp, cmap.data(), cmap.size()) : 0;
}

int sun_write_line(FILE* fp, int width, const uint16_t* v) {
  if (!fp || width <= 0) return -1;
  std::vector<uint8_t> out(static_cast<size_t>(width));
  for (int x = 0; x < width; x++) out[size_t(x)] = clamp8(v[x]);
  return put(fp, out.data(), out.size());
}
