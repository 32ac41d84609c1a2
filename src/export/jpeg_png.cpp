// JPEG writer (libjpeg, version 62 interface) and PNG writer (libpng).
#include <algorithm>
#include <csetjmp>
#include <cstring>
#include <vector>

// clang-format off
#include <cstdio>
#include <jpeglib.h>
#include <png.h>
// clang-format on

#include "app/ui_ops.h"
#include "export/imgcodec.h"

// ---- JPEG ----

struct JPEGENC {
  jpeg_compress_struct cinfo;
  jpeg_error_mgr jerr;
  jmp_buf jb;
  bool created = false;
  std::vector<JSAMPLE> row;
};

namespace {
// Library errors come back here: the message goes to the user, the
// operation fails instead of the process ending.
void jpeg_fail(j_common_ptr c) {
  char msg[JMSG_LENGTH_MAX];
  (*c->err->format_message)(c, msg);
  ui().message("JPEG Error!", msg);
  JPEGENC* e = static_cast<JPEGENC*>(c->client_data);
  longjmp(e->jb, 1);
}
}  // namespace

void JPEGENC_deleter::operator()(JPEGENC* e) const {
  if (e && e->created) jpeg_destroy_compress(&e->cinfo);
  delete e;
}

int jpeg_write_header(JPEGENC_ptr* out, FILE* fp, int width, int height, int quality) {
  if (!fp || width <= 0 || height <= 0) return -1;
  JPEGENC* e = new JPEGENC();
  out->reset(e);
  e->cinfo.err = jpeg_std_error(&e->jerr);
  e->jerr.error_exit = jpeg_fail;
  e->cinfo.client_data = e;
  if (setjmp(e->jb)) return -1;
  jpeg_create_compress(&e->cinfo);
  e->created = true;
  jpeg_stdio_dest(&e->cinfo, fp);
  e->cinfo.image_width = JDIMENSION(width);
  e->cinfo.image_height = JDIMENSION(height);
  e->cinfo.input_components = 3;
  e->cinfo.in_color_space = JCS_RGB;
  jpeg_set_defaults(&e->cinfo);
  e->cinfo.data_precision = 8;
  jpeg_set_quality(&e->cinfo, quality > 0 ? quality : 90, TRUE);
  jpeg_start_compress(&e->cinfo, TRUE);
  e->row.resize(size_t(width) * 3);
  return 0;
}

int jpeg_write_line(JPEGENC* e, const uint16_t* r, const uint16_t* g, const uint16_t* b) {
  if (!e || !e->created) return -1;
  const size_t w = e->row.size() / 3;
  for (size_t x = 0; x < w; x++) {
    e->row[3 * x] = JSAMPLE(r[x] > 255 ? 255 : r[x]);
    e->row[3 * x + 1] = JSAMPLE(g[x] > 255 ? 255 : g[x]);
    e->row[3 * x + 2] = JSAMPLE(b[x] > 255 ? 255 : b[x]);
  }
  if (setjmp(e->jb)) return -1;
  JSAMPROW rows[1] = {e->row.data()};
  jpeg_write_scanlines(&e->cinfo, rows, 1);
  return 0;
}

int jpeg_write_finish(JPEGENC* e) {
  if (!e || !e->created) return -1;
  if (setjmp(e->jb)) return -1;
  jpeg_finish_compress(&e->cinfo);
  return 0;
}

// ---- PNG ----

struct PNGENC {
  png_structp png = nullptr;
  png_infop info = nullptr;
  PNG_KIND kind = PNG_RGB8;
  int width = 0;
  std::vector<png_byte> row;
  bool failed = false;
};

namespace {
void png_fail(png_structp p, png_const_charp msg) {
  ui().message("PNG Error!", msg);
  png_longjmp(p, 1);
}
void png_warn(png_structp, png_const_charp) {}
}  // namespace

int png_write_header(PNGENC** out, FILE* fp, int width, int height, PNG_KIND kind) {
  *out = nullptr;
  if (!fp || width <= 0 || height <= 0) return -1;
  PNGENC* e = new PNGENC();
  *out = e;
  e->kind = kind;
  e->width = width;
  e->png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, png_fail, png_warn);
  if (!e->png) return e->failed = true, -1;
  e->info = png_create_info_struct(e->png);
  if (!e->info) return e->failed = true, -1;
  if (setjmp(png_jmpbuf(e->png))) return e->failed = true, -1;
  png_init_io(e->png, fp);
  // A fast deflate level with the "Sub" filter alone: a full pass saves in
  // about a second, at a size close to that of the slow settings.
  png_set_compression_level(e->png, 1);
  png_set_filter(e->png, PNG_FILTER_TYPE_BASE, PNG_FILTER_SUB);
  const int ctype = kind == PNG_RGB8 ? PNG_COLOR_TYPE_RGB : PNG_COLOR_TYPE_GRAY;
  png_set_IHDR(e->png, e->info, png_uint_32(width), png_uint_32(height),
               kind == PNG_GREY16 ? 16 : 8, ctype, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
               PNG_FILTER_TYPE_DEFAULT);
  if (kind == PNG_GREY16) {
    png_color_8 sig{};
    sig.gray = 10;
    png_set_sBIT(e->png, e->info, &sig);
  }
  png_write_info(e->png, e->info);
  e->row.resize(size_t(width) * (kind == PNG_RGB8 ? 3 : kind == PNG_GREY16 ? 2 : 1));
  return 0;
}

int png_write_line(PNGENC* e, const uint16_t* r, const uint16_t* g, const uint16_t* b) {
  if (!e || e->failed) return -1;
  auto c8 = [](uint16_t v) { return png_byte(v > 255 ? 255 : v); };
  for (int x = 0; x < e->width; x++) {
    switch (e->kind) {
      case PNG_RGB8:
        e->row[size_t(3 * x)] = c8(r[x]);
        e->row[size_t(3 * x + 1)] = c8(g[x]);
        e->row[size_t(3 * x + 2)] = c8(b[x]);
        break;
      case PNG_GREY8:
        e->row[size_t(x)] = c8(r[x]);
        break;
      case PNG_GREY16: {
        // 10 bits to 16 by replicating the top bits into the low ones.
        unsigned v = r[x] > 1023 ? 1023u : r[x];
        unsigned w = (v << 6) | (v >> 4);
        e->row[size_t(2 * x)] = png_byte(w >> 8);
        e->row[size_t(2 * x + 1)] = png_byte(w & 0xff);
        break;
      }
    }
  }
  if (setjmp(png_jmpbuf(e->png))) return e->failed = true, -1;
  png_write_row(e->png, e->row.data());
  return 0;
}

int png_write_finish(PNGENC* e) {
  if (!e) return -1;
  int r = e->failed ? -1 : 0;
  if (e->png && !e->failed) {
    if (setjmp(png_jmpbuf(e->png)))
      r = -1;
    else
      png_write_end(e->png, e->info);
  }
  if (e->png) png_destroy_write_struct(&e->png, e->info ? &e->info : nullptr);
  delete e;
  return r;
}

int png_write_rgb(const char* path, int width, int height, const uint8_t* rgb) {
  FILE* fp = path ? std::fopen(path, "wb") : nullptr;
  if (!fp) return -1;
  PNGENC* e = nullptr;
  int r = png_write_header(&e, fp, width, height, PNG_RGB8);
  std::vector<uint16_t> R(size_t(std::max(width, 1))), G(R.size()), B(R.size());
  for (int y = 0; r == 0 && y < height; y++) {
    const uint8_t* p = rgb + size_t(y) * size_t(width) * 3;
    for (int x = 0; x < width; x++) {
      R[size_t(x)] = p[3 * x];
      G[size_t(x)] = p[3 * x + 1];
      B[size_t(x)] = p[3 * x + 2];
    }
    r = png_write_line(e, R.data(), G.data(), B.data());
  }
  if (png_write_finish(e) != 0) r = -1;
  if (std::fclose(fp) != 0) r = -1;
  if (r != 0) std::remove(path);
  return r;
}
