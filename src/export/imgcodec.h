// Image file codecs: writers of PPM/PGM, SUN raster, GIF, JPEG and PNG in
// three steps (header, one call per line, finish), and the readers that open
// PPM/PGM, GIF and SUN raster files as pictures. Lines are 16-bit values;
// every 8-bit format clamps values above 255 to 255.
#pragma once
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "formats/picinfo.h"

// ---- PPM / PGM ----

// Writes "P6" (FT_PPM) or "P5", "# Created by pava", "%d %d" and the maximum
// value (255 for FT_PPM, else maxval). Returns 0, or -1 on a short write.
int ppm_write_header(FILE* fp, int file_type, int width, int height, int maxval);
// The header text; height_chars > 0 pads the height with blanks to that many
// characters (a header rewritten in place keeps its length).
std::string ppm_header_text(int file_type, int width, int height, int maxval, int height_chars = 0);
// One line of width pixels: FT_PPM three bytes (r, g, b clamped to 255); grey
// two bytes high first when depth > 8, else one byte clamped to 255.
int ppm_write_line(FILE* fp, int file_type, int depth, int width, const uint16_t* r,
                   const uint16_t* g, const uint16_t* b);

// ---- SUN raster ----
constexpr uint32_t SUN_MAGIC = 0x59a66a95u;
// 64-byte header (eight 8-byte fields, value big-endian in the first four
// bytes) and the colour map of n = min(palette size, 256) entries. 0 or -1.
int sun_write_header(FILE* fp, int width, int height, const CLRMAP* map);
// One byte per pixel (clamped to 255).
int sun_write_line(FILE* fp, int width, const uint16_t* v);

// ---- GIF ----
constexpr int GIF_HASH_SIZE = 5123;
struct code_entry {
  int32_t code_value;  // -1: empty
  uint16_t prefix;
  uint8_t suffix;
};
// Encoder state of one GIF file.
struct dec_param {
  FILE* fp;
  int width, height, depth;
  int bits;      // current code size minus one
  int Max_Code;  // 2^(bits+1) - 1
  int Clear_code;
  int next_code;
  int string_code;  // current prefix, -1 at the start of a string
  int root_bits;
  uint32_t bit_buffer;
  int bit_count;
  int byte_count;
  uint8_t gif_buffer[256];  // byte 0: sub-block length
  std::vector<code_entry> table;
  int error;
};
// Header, both colour tables (2^depth entries from map), image descriptor,
// code size and a Clear code. width: bytes per line; each byte holds 8/depth
// pixels from its top bits, so the image is width * (8/depth) pixels wide.
// Returns 0, or -1 when the table can't be made or the header not written.
int gif_write_header(dec_param* gp, FILE* fp, int width, int height, int depth, const CLRMAP* map);
// Compresses one line of width values (the low 8 bits of each are used).
int gif_write_line(dec_param* gp, const uint16_t* v);
// Last prefix, End code, a code 0, the last sub-block, terminator and ';'.
int gif_write_finish(dec_param* gp);

// ---- JPEG (libjpeg) ----
struct JPEGENC;
// Deleter (the compressor is destroyed with it).
struct JPEGENC_deleter {
  void operator()(JPEGENC* e) const;
};
using JPEGENC_ptr = std::unique_ptr<JPEGENC, JPEGENC_deleter>;
// Starts a compressor on fp for width x height RGB at quality (1..100,
// baseline). On a library error shows "JPEG Error!" with the library's
// message through ui().message and returns -1.
int jpeg_write_header(JPEGENC_ptr* enc, FILE* fp, int width, int height, int quality);
int jpeg_write_line(JPEGENC* enc, const uint16_t* r, const uint16_t* g, const uint16_t* b);
int jpeg_write_finish(JPEGENC* enc);

// ---- PNG (libpng) ----
enum PNG_KIND { PNG_GREY8 = 0, PNG_GREY16 = 1, PNG_RGB8 = 2 };
struct PNGENC;
// Starts a PNG of width x height on fp. PNG_GREY16 holds 10-bit values
// scaled to 16 bits by bit replication, with an sBIT chunk of 10. 0 or -1.
int png_write_header(PNGENC** enc, FILE* fp, int width, int height, PNG_KIND kind);
int png_write_line(PNGENC* enc, const uint16_t* r, const uint16_t* g, const uint16_t* b);
// Ends the file and frees the encoder (also after a failure; enc may be null).
int png_write_finish(PNGENC* enc);
// Writes an RGB buffer (3 bytes a pixel, rows top to bottom) as an 8-bit RGB
// PNG file. 0, or -1 when the file can't be written.
int png_write_rgb(const char* path, int width, int height, const uint8_t* rgb);

// ---- Readers ----
// Reason codes of the readers, as open_file returns them.
constexpr int IMG_READ_ERR = 'r';   // header damaged, truncated or absurd
constexpr int IMG_DEPTH_ERR = 'd';  // depth not supported
constexpr int IMG_NOPIC = 'p';      // no image in the file

// Reads the header and all pixels of a PPM/PGM (FT_PPM, FT_PGM), GIF or SUN
// raster file open in pic->fp (file_type set) and keeps the lines until
// image_read_all takes them: width, height, depth, palette, channels (1 grey,
// 3 red/green/blue) are set. Every size is checked against the file's size
// before anything is allocated. Returns 0 or a reason code.
int image_read_hdr(PICINFO* pic);
// The lines decoded by image_read_hdr (ownership passes to the caller).
XLINE* image_read_all(PICINFO* pic);

// Decoding from memory (fuzzing, tests): the picture's lines of the image in
// data, as image_read_hdr + image_read_all would give them. Returns 0 or a
// reason code; *head gets the lines.
int image_decode_buffer(FILE_TYPE type, const uint8_t* data, size_t size, PICINFO* pic,
                        XLINE** head);

// File type of the first bytes of a SUN raster file (FT_SUN) or 0.
int image_sun_magic(const uint8_t* first4, size_t n);
