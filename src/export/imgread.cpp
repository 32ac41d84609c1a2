// Readers of PPM/PGM, GIF and SUN raster files into picture lines. The whole
// file is read into memory (its size is known); every size taken from a
// header is checked against the bytes that are there before anything is
// allocated for it.
#include <sys/stat.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "common/bytes.h"
#include "export/imgcodec.h"

namespace {

// Decoded image: channels (1 grey or 3 RGB) of width x height values.
struct Decoded {
  int width = 0, height = 0, depth = 8, nch = 1;
  std::vector<uint16_t> px;  // (y * width + x) * nch + c
  CLRMAP* map = nullptr;     // palette to fill (the picture's)
};

void grey_map(CLRMAP* m, int n) {
  m->size = n;
  for (int i = 0; i < n && i < 4096; i++) m->red[i] = m->green[i] = m->blue[i] = i * 255 / (n - 1);
}

// ---- PPM / PGM ----
// "P5"|"P6", whitespace, width, height, maxval (each after optional
// "#"-comment lines), one whitespace byte, then the samples: 1 byte each when
// maxval < 256, else 2 bytes big-endian; P6 has r, g, b per pixel.
bool pnm_number(const uint8_t* d, size_t n, size_t* pos, long* out) {
  size_t p = *pos;
  for (;;) {
    while (p < n && (d[p] == ' ' || d[p] == '\t' || d[p] == '\n' || d[p] == '\r')) p++;
    if (p < n && d[p] == '#') {
      while (p < n && d[p] != '\n') p++;
      continue;
    }
    break;
  }
  if (p >= n || d[p] < '0' || d[p] > '9') return false;
  long v = 0;
  while (p < n && d[p] >= '0' && d[p] <= '9') {
    v = v * 10 + (d[p] - '0');
    if (v > 1000000) return false;
    p++;
  }
  *pos = p;
  *out = v;
  return true;
}

int decode_pnm(const uint8_t* d, size_t n, Decoded* img) {
  if (n < 2 || d[0] != 'P' || (d[1] != '5' && d[1] != '6')) return IMG_READ_ERR;
  const bool rgb = d[1] == '6';
  size_t pos = 2;
  long w, h, maxval;
  if (!pnm_number(d, n, &pos, &w) || !pnm_number(d, n, &pos, &h) ||
      !pnm_number(d, n, &pos, &maxval))
    return IMG_READ_ERR;
  if (w <= 0 || h <= 0 || maxval <= 0 || maxval > 65535) return IMG_READ_ERR;
  if (maxval > 4095) return IMG_DEPTH_ERR;  // palettes have at most 12 bits
  if (pos >= n) return IMG_READ_ERR;
  pos++;  // the single whitespace byte before the samples
  const size_t bps = maxval > 255 ? 2 : 1;
  const size_t nch = rgb ? 3 : 1;
  const size_t need = size_t(w) * size_t(h) * bps * nch;
  if (need / size_t(h) / bps / nch != size_t(w) || need > n - pos) return IMG_READ_ERR;
  img->width = int(w);
  img->height = int(h);
  img->nch = int(nch);
  int depth = 1;
  while ((1L << depth) - 1 < maxval) depth++;
  img->depth = depth;
  img->px.resize(size_t(w) * size_t(h) * nch);
  const uint8_t* s = d + pos;
  for (size_t i = 0; i < img->px.size(); i++)
    img->px[i] = bps == 2 ? uint16_t(std::min<long>(pava::get_be16(s + 2 * i), maxval)) : s[i];
  grey_map(img->map, int(maxval) + 1);
  return 0;
}

// Palette (n entries of r, g, b) to channels: grey palettes give one channel.
void apply_palette(const std::vector<uint8_t>& idx, const uint8_t* pal, int n, Decoded* img) {
  bool grey = true;
  for (int i = 0; i < n; i++)
    if (pal[3 * i] != pal[3 * i + 1] || pal[3 * i] != pal[3 * i + 2]) grey = false;
  img->nch = grey ? 1 : 3;
  img->depth = 8;
  img->px.resize(idx.size() * size_t(img->nch));
  for (size_t i = 0; i < idx.size(); i++) {
    const int k = idx[i] < n ? idx[i] : 0;
    for (int c = 0; c < img->nch; c++) img->px[i * size_t(img->nch) + size_t(c)] = pal[3 * k + c];
  }
  grey_map(img->map, 256);
}

// ---- SUN raster ----
// 32-byte header of eight big-endian 32-bit fields (magic, width, height,
// depth, length, type, map type, map length); files of this program have each
// field in an 8-byte slot (value, four zero bytes), which the reader accepts
// too. Colour map: n red, n green, n blue bytes. Pixels one byte each, rows
// padded to an even length when the length field says so.
int decode_sun(const uint8_t* d, size_t n, Decoded* img) {
  if (n < 32 || pava::get_be32(d) != SUN_MAGIC) return IMG_READ_ERR;
  // Slot width: 8 when the second word is zero (the 8-byte field layout).
  const size_t slot = pava::get_be32(d + 4) == 0 ? 8 : 4;
  const size_t hdr = slot * 8;
  if (n < hdr) return IMG_READ_ERR;
  uint32_t f[8];
  for (int i = 0; i < 8; i++) f[i] = pava::get_be32(d + size_t(i) * slot);
  const uint32_t w = f[1], h = f[2], depth = f[3], length = f[4], type = f[5], maptype = f[6],
                 maplen = f[7];
  if (w == 0 || h == 0 || w > 1000000 || h > 1000000) return IMG_READ_ERR;
  if (depth != 8) return IMG_DEPTH_ERR;
  if (type > 1 || maptype > 1) return IMG_DEPTH_ERR;  // encoded data, raw maps
  if (maplen > 768 || maplen % 3 || maplen > n - hdr) return IMG_READ_ERR;
  const int ncol = int(maplen / 3);
  uint8_t pal[768];
  for (int i = 0; i < 256; i++) pal[3 * i] = pal[3 * i + 1] = pal[3 * i + 2] = uint8_t(i);
  if (maptype == 1)
    for (int i = 0; i < ncol; i++) {
      pal[3 * i] = d[hdr + size_t(i)];
      pal[3 * i + 1] = d[hdr + size_t(ncol + i)];
      pal[3 * i + 2] = d[hdr + size_t(2 * ncol + i)];
    }
  const size_t start = hdr + maplen;
  const uint64_t plain = uint64_t(w) * h;
  const uint64_t padded = uint64_t(w + (w & 1)) * h;
  const size_t stride = (length == padded && length != plain) ? size_t(w + (w & 1)) : size_t(w);
  if (uint64_t(stride) * h > n - start) return IMG_READ_ERR;
  std::vector<uint8_t> idx(size_t(w) * h);
  for (uint32_t y = 0; y < h; y++)
    std::memcpy(&idx[size_t(y) * w], d + start + size_t(y) * stride, w);
  img->width = int(w);
  img->height = int(h);
  apply_palette(idx, pal, maptype == 1 ? ncol : 256, img);
  return 0;
}

// ---- GIF ----
// "GIF87a"/"GIF89a", screen descriptor (7 bytes, flags bit 7: global table of
// 2^((flags&7)+1) entries), then blocks: '!' extension (label, sub-blocks),
// ',' image (left, top, width, height LE16, flags: bit 7 local table, bit 6
// interlaced), LZW code size, sub-blocks, 0; ';' trailer. The first image is
// read.
struct BitReader {
  std::vector<uint8_t> data;
  size_t pos = 0;
  int get(int nbits) {
    if (pos + size_t(nbits) > data.size() * 8) return -1;
    int v = 0;
    for (int i = 0; i < nbits; i++, pos++) v |= ((data[pos >> 3] >> (pos & 7)) & 1) << i;
    return v;
  }
};

int decode_gif(const uint8_t* d, size_t n, Decoded* img) {
  if (n < 13 || std::memcmp(d, "GIF", 3) != 0) return IMG_READ_ERR;
  size_t p = 13;
  uint8_t pal[768] = {0};
  int npal = 0;
  if (d[10] & 0x80) {
    npal = 2 << (d[10] & 7);
    if (size_t(3 * npal) > n - p) return IMG_READ_ERR;
    std::memcpy(pal, d + p, size_t(3 * npal));
    p += size_t(3 * npal);
  }
  for (;;) {
    if (p >= n) return IMG_NOPIC;
    const uint8_t b = d[p++];
    if (b == ';') return IMG_NOPIC;
    if (b == '!') {
      if (p >= n) return IMG_READ_ERR;
      p++;  // label
      while (p < n && d[p]) p += size_t(d[p]) + 1;
      if (p >= n) return IMG_READ_ERR;
      p++;
      continue;
    }
    if (b != ',') return IMG_READ_ERR;
    break;
  }
  if (n - p < 9) return IMG_READ_ERR;
  const int w = pava::get_le16(d + p + 4), h = pava::get_le16(d + p + 6);
  const uint8_t flags = d[p + 8];
  p += 9;
  if (w == 0 || h == 0) return IMG_NOPIC;
  if (flags & 0x80) {
    npal = 2 << (flags & 7);
    if (size_t(3 * npal) > n - p) return IMG_READ_ERR;
    std::memcpy(pal, d + p, size_t(3 * npal));
    p += size_t(3 * npal);
  }
  if (npal == 0) {
    npal = 256;
    for (int i = 0; i < 256; i++) pal[3 * i] = pal[3 * i + 1] = pal[3 * i + 2] = uint8_t(i);
  }
  if (p >= n) return IMG_READ_ERR;
  const int root = d[p++];
  if (root < 1 || root > 11) return IMG_READ_ERR;
  BitReader br;
  while (p < n && d[p]) {
    const size_t len = d[p];
    if (len > n - p - 1) return IMG_READ_ERR;
    br.data.insert(br.data.end(), d + p + 1, d + p + 1 + len);
    p += len + 1;
  }
  // LZW: codes of size root+1 growing to 12 bits; Clear = 2^root, End = +1.
  const size_t total = size_t(w) * size_t(h);
  std::vector<uint8_t> out;
  const int clear = 1 << root, end = clear + 1;
  std::vector<uint16_t> prefix(4096);
  std::vector<uint8_t> suffix(4096), stack(4097);
  int size = root + 1, avail = clear + 2, old = -1;
  uint8_t first = 0;
  for (int c = 0; c < clear; c++) suffix[size_t(c)] = uint8_t(c);
  while (out.size() < total) {
    int code = br.get(size);
    if (code < 0 || code == end) break;
    if (code == clear) {
      size = root + 1;
      avail = clear + 2;
      old = -1;
      continue;
    }
    if (old < 0) {
      if (code >= clear) return IMG_READ_ERR;
      out.push_back(uint8_t(code));
      old = code;
      first = uint8_t(code);
      continue;
    }
    int in = code, sp = 0;
    if (code > avail) return IMG_READ_ERR;
    if (code == avail) {
      stack[size_t(sp++)] = first;
      code = old;
    }
    while (code >= clear) {
      if (sp >= 4096) return IMG_READ_ERR;
      stack[size_t(sp++)] = suffix[size_t(code)];
      code = prefix[size_t(code)];
    }
    first = uint8_t(code);
    stack[size_t(sp++)] = first;
    while (sp > 0 && out.size() < total) out.push_back(stack[size_t(--sp)]);
    if (avail < 4096) {
      prefix[size_t(avail)] = uint16_t(old);
      suffix[size_t(avail)] = first;
      avail++;
      if (avail >= (1 << size) && size < 12) size++;
    }
    old = in;
  }
  const bool interlaced = flags & 0x40;
  int rows = h;
  if (out.size() < total) {
    if (interlaced || out.size() < size_t(w)) return IMG_READ_ERR;
    rows = int(out.size() / size_t(w));
    out.resize(size_t(rows) * size_t(w));
  }
  if (interlaced) {
    // Rows come in four passes: every 8th from 0, every 8th from 4, every 4th
    // from 2, every 2nd from 1.
    std::vector<uint8_t> lin(out.size());
    static const int kStart[4] = {0, 4, 2, 1}, kStep[4] = {8, 8, 4, 2};
    int src = 0;
    for (int pass = 0; pass < 4; pass++)
      for (int y = kStart[pass]; y < h; y += kStep[pass], src++)
        std::memcpy(&lin[size_t(y) * size_t(w)], &out[size_t(src) * size_t(w)], size_t(w));
    out.swap(lin);
  }
  img->width = w;
  img->height = rows;
  apply_palette(out, pal, npal, img);
  return 0;
}

int decode(FILE_TYPE type, const uint8_t* d, size_t n, Decoded* img) {
  switch (type) {
    case FT_PPM:
    case FT_PGM:
      return decode_pnm(d, n, img);
    case FT_GIF:
      return decode_gif(d, n, img);
    case FT_SUN:
      return decode_sun(d, n, img);
    default:
      return 't';
  }
}

// Picture record and lines from a decoded image.
XLINE* to_lines(const Decoded& img, PICINFO* pic) {
  pic->width = pic->width_original = img.width;
  pic->height = img.height;
  pic->depth = img.depth;
  pic->nr_chan = img.nch;
  std::memset(pic->channels_recorded, 0, sizeof pic->channels_recorded);
  for (int c = 1; c <= img.nch; c++) pic->channels_recorded[c] = 1;
  pic->fri = FRAMEINFO{};
  pic->fri.inter_chan = img.nch;
  pic->fri.words_per_frame = pic->fri.words_per_line = img.nch * img.width;
  pic->scan_hor = W_E;
  pic->scan_ver = N_S;
  pic->no_xymapping = 0;
  XLINE* head = nullptr;
  XLINE* tail = nullptr;
  for (int y = 0; y < img.height; y++) {
    tail = Create_Xline(&head, img.nch, img.width, tail);
    tail->linenr = y;
    const uint16_t* row = &img.px[size_t(y) * size_t(img.width) * size_t(img.nch)];
    for (int x = 0; x < img.width; x++)
      for (int c = 0; c < img.nch; c++) tail->line[c][x] = row[x * img.nch + c];
  }
  return head;
}

}  // namespace

int image_sun_magic(const uint8_t* b, size_t n) {
  return n >= 4 && pava::get_be32(b) == SUN_MAGIC ? FT_SUN : 0;
}

int image_decode_buffer(FILE_TYPE type, const uint8_t* data, size_t size, PICINFO* pic,
                        XLINE** head) {
  *head = nullptr;
  Decoded img;
  img.map = &pic->clrmap;
  int r = decode(type, data, size, &img);
  if (r) return r;
  *head = to_lines(img, pic);
  return 0;
}

int image_read_hdr(PICINFO* pic) {
  if (!pic->fp) return IMG_READ_ERR;
  struct stat st {};
  if (fstat(fileno(pic->fp), &st) != 0) return IMG_READ_ERR;
  const long size = long(st.st_size);
  if (size <= 0) return IMG_READ_ERR;
  std::vector<uint8_t> buf(static_cast<size_t>(size));
  std::rewind(pic->fp);
  if (std::fread(buf.data(), 1, buf.size(), pic->fp) != buf.size()) return IMG_READ_ERR;
  XLINE* head = nullptr;
  int r = image_decode_buffer(pic->file_type, buf.data(), buf.size(), pic, &head);
  if (r) return r;
  pic->xline = head;  // taken over by image_read_all
  return 0;
}

XLINE* image_read_all(PICINFO* pic) { return pic->xline; }
