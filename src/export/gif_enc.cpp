// GIF87a writer: LZW with a 5123-entry open-addressing string table.
//
// Stream layout: "GIF87a", screen width/height (LE16), flags
// 0x80|(depth-1)<<4|(depth-1), background 0, aspect 0, global colour table
// (2^depth x RGB); ',' left 0, top 0, width, height, flags 0x80|(depth-1),
// the same table again as a local one; code-size byte; sub-blocks of at most
// 255 data bytes; 0 terminator; ';'.
#include <algorithm>
#include <cstring>

#include "common/bytes.h"
#include "export/imgcodec.h"

namespace {

int put(dec_param* gp, const void* p, size_t n) {
  if (std::fwrite(p, 1, n, gp->fp) != n) gp->error = 1;
  return gp->error ? -1 : 0;
}

// Writes the collected sub-block (length byte and data).
void flush_block(dec_param* gp) {
  if (gp->byte_count == 0) return;
  gp->gif_buffer[0] = uint8_t(gp->byte_count);
  put(gp, gp->gif_buffer, size_t(gp->byte_count) + 1);
  gp->byte_count = 0;
}

void put_byte(dec_param* gp, uint8_t b) {
  gp->gif_buffer[++gp->byte_count] = b;
  if (gp->byte_count == 255) flush_block(gp);
}

// Codes are packed least significant bit first, bits + 1 bits each.
void put_code(dec_param* gp, int code) {
  gp->bit_buffer |= uint32_t(code) << gp->bit_count;
  gp->bit_count += gp->bits + 1;
  while (gp->bit_count >= 8) {
    put_byte(gp, uint8_t(gp->bit_buffer & 0xff));
    gp->bit_buffer >>= 8;
    gp->bit_count -= 8;
  }
}

void reset_table(dec_param* gp) {
  for (code_entry& e : gp->table) e.code_value = -1;
  gp->bits = gp->root_bits;
  gp->Max_Code = (1 << (gp->bits + 1)) - 1;
  gp->next_code = gp->Clear_code + 2;
}

// After a code that the decoder answers with a new table entry but the encoder
// did not assign (the last prefix, a prefix before a Clear of a full table),
// the decoder may widen its codes: follow it.
void follow_decoder(dec_param* gp) {
  if (gp->next_code > gp->Max_Code && gp->bits < 11) {
    gp->bits++;
    gp->Max_Code = (1 << (gp->bits + 1)) - 1;
  }
}

void clear(dec_param* gp) {
  put_code(gp, gp->Clear_code);
  reset_table(gp);
}

// Table slot of (prefix, c): the slot holding it (found) or the empty slot
// where it goes; -1 when the probe sequence comes back to its start (full).
int probe(dec_param* gp, int prefix, int c, bool* found) {
  int h0 = prefix ^ (c << 4);
  int h = h0 + (h0 >> 2);
  const int start = h;
  const int step = start == 0 ? 1 : GIF_HASH_SIZE - start;
  for (;;) {
    const code_entry& e = gp->table[size_t(h)];
    if (e.code_value == -1) {
      *found = false;
      return h;
    }
    if (e.prefix == prefix && e.suffix == c) {
      *found = true;
      return h;
    }
    h -= step;
    if (h < 0) h += GIF_HASH_SIZE;
    if (h == start) return -1;
  }
}

void add_pixel(dec_param* gp, int c) {
  if (gp->string_code < 0) {
    gp->string_code = c;
    return;
  }
  bool found = false;
  int slot = probe(gp, gp->string_code, c, &found);
  if (found) {
    gp->string_code = gp->table[size_t(slot)].code_value;
    return;
  }
  put_code(gp, gp->string_code);
  if (slot < 0) {
    // The table is full: start afresh.
    follow_decoder(gp);
    clear(gp);
    gp->string_code = c;
    return;
  }
  code_entry& e = gp->table[size_t(slot)];
  e.code_value = gp->next_code++;
  e.prefix = uint16_t(gp->string_code);
  e.suffix = uint8_t(c);
  gp->string_code = c;
  if (gp->next_code > gp->Max_Code + 1) {
    if (gp->bits > 10) {
      clear(gp);  // codes never exceed 12 bits
    } else {
      gp->bits++;
      gp->Max_Code = (1 << (gp->bits + 1)) - 1;
    }
  }
}

}  // namespace

int gif_write_header(dec_param* gp, FILE* fp, int width, int height, int depth, const CLRMAP* map) {
  if (!gp || !fp || depth < 1 || depth > 8 || width <= 0 || height <= 0) return -1;
  gp->fp = fp;
  gp->width = width;
  gp->height = height;
  gp->depth = depth;
  gp->error = 0;
  gp->root_bits = std::max(depth, 2);
  gp->Clear_code = 1 << gp->root_bits;
  gp->bit_buffer = 0;
  gp->bit_count = 0;
  gp->byte_count = 0;
  gp->string_code = -1;
  try {
    gp->table.assign(GIF_HASH_SIZE, code_entry{-1, 0, 0});
  } catch (...) {
    return -1;
  }
  reset_table(gp);
  const int pixels = width * (8 / depth);
  uint8_t scr[13];
  std::memcpy(scr, "GIF87a", 6);
  pava::put_le16(scr + 6, uint16_t(pixels));
  pava::put_le16(scr + 8, uint16_t(height));
  scr[10] = uint8_t(0x80 | (depth - 1) << 4 | (depth - 1));
  scr[11] = 0;
  scr[12] = 0;
  std::vector<uint8_t> ct(size_t(3) << depth, 0);
  for (int i = 0; i < (1 << depth); i++) {
    if (!map || i >= 4096) break;
    ct[size_t(3 * i)] = uint8_t(map->red[i]);
    ct[size_t(3 * i + 1)] = uint8_t(map->green[i]);
    ct[size_t(3 * i + 2)] = uint8_t(map->blue[i]);
  }
  uint8_t desc[10];
  desc[0] = ',';
  pava::put_le16(desc + 1, 0);
  pava::put_le16(desc + 3, 0);
  pava::put_le16(desc + 5, uint16_t(pixels));
  pava::put_le16(desc + 7, uint16_t(height));
  desc[9] = uint8_t(0x80 | (depth - 1));
  // The palette goes out twice, as global and as local table.
  put(gp, scr, sizeof scr);
  put(gp, ct.data(), ct.size());
  put(gp, desc, sizeof desc);
  put(gp, ct.data(), ct.size());
  uint8_t cs = uint8_t(gp->root_bits);
  put(gp, &cs, 1);
  put_code(gp, gp->Clear_code);
  return gp->error ? -1 : 0;
}

int gif_write_line(dec_param* gp, const uint16_t* v) {
  if (!gp || gp->table.empty()) return -1;
  const int d = gp->depth, per = 8 / d, mask = (1 << d) - 1;
  for (int x = 0; x < gp->width; x++) {
    const int byte = v[x] & 0xff;
    for (int j = 0; j < per; j++) add_pixel(gp, (byte >> (8 - d * (j + 1))) & mask);
  }
  return gp->error ? -1 : 0;
}

int gif_write_finish(dec_param* gp) {
  if (!gp || gp->table.empty()) return -1;
  if (gp->string_code >= 0) {
    put_code(gp, gp->string_code);
    follow_decoder(gp);
  }
  put_code(gp, gp->Clear_code + 1);
  put_code(gp, 0);  // one more code after End, kept on purpose
  if (gp->bit_count > 0) put_byte(gp, uint8_t(gp->bit_buffer & 0xff));
  gp->bit_buffer = 0;
  gp->bit_count = 0;
  flush_block(gp);
  const uint8_t tail[2] = {0, ';'};
  put(gp, tail, 2);
  gp->table.clear();
  gp->table.shrink_to_fit();
  return gp->error ? -1 : 0;
}
