// Image codecs against Debian's decoders (netpbm, ImageMagick) and the
// readers behind open_file.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>

#include "common/bytes.h"
#include "export/imgcodec.h"
#include "export/oracle.h"

using etest::decode_with;
using etest::have_tool;
using testutil::TempDir;

namespace {

struct Image {
  int w, h;
  std::vector<uint16_t> r, g, b;
};

// Smooth "photographic" content plus noise, values 0..maxv.
Image photo(int w, int h, int maxv, uint32_t seed) {
  std::mt19937 rng(seed);
  std::normal_distribution<double> noise(0, 3);
  Image im{w, h, {}, {}, {}};
  for (int y = 0; y < h; y++)
    for (int x = 0; x < w; x++) {
      auto f = [&](double ph) {
        double v = 0.5 + 0.3 * std::sin(x * 0.05 + ph) * std::cos(y * 0.07) +
                   0.15 * std::sin(x * y * 1e-3);
        return uint16_t(std::clamp(int(v * maxv + noise(rng)), 0, maxv));
      };
      im.r.push_back(f(0));
      im.g.push_back(f(1));
      im.b.push_back(f(2));
    }
  return im;
}

CLRMAP* grey_map(int n) {
  static CLRMAP m;
  m.size = n;
  for (int i = 0; i < n; i++) m.red[i] = m.green[i] = m.blue[i] = n > 1 ? i * 255 / (n - 1) : 0;
  return &m;
}

}  // namespace

// ---- GIF ----

namespace {

// Writes indices (0..2^depth-1, w x h) packed 8/depth to a byte as a GIF.
std::string write_gif(const TempDir& d, const std::string& name, const std::vector<int>& idx, int w,
                      int h, int depth) {
  const int per = 8 / depth;
  const int wb = (w + per - 1) / per;
  std::string f = d.file(name);
  FILE* fp = std::fopen(f.c_str(), "wb");
  dec_param gp;
  EXPECT_EQ(gif_write_header(&gp, fp, wb, h, depth, grey_map(1 << depth)), 0);
  std::vector<uint16_t> line(static_cast<size_t>(wb));
  for (int y = 0; y < h; y++) {
    std::fill(line.begin(), line.end(), 0);
    for (int x = 0; x < wb * per; x++) {
      int v = x < w ? idx[size_t(y * w + x)] : 0;
      line[size_t(x / per)] |= uint16_t(v << (8 - depth * (x % per + 1)));
    }
    EXPECT_EQ(gif_write_line(&gp, line.data()), 0);
  }
  EXPECT_EQ(gif_write_finish(&gp), 0);
  std::fclose(fp);
  return f;
}

// LZW codes of a GIF's first image as the standard decoder reads them (code
// size from the code-size byte, growing at 2^size entries, Clear resets).
struct Codes {
  std::vector<int> codes, sizes;
  int root = 0;
  std::string trailer;  // bytes after the data sub-blocks
};
Codes gif_codes(const std::string& s) {
  Codes c;
  size_t p = 13;
  const auto* u = reinterpret_cast<const uint8_t*>(s.data());
  if (u[10] & 0x80) p += size_t(3 << ((u[10] & 7) + 1));
  p += 10;  // ',' and the image descriptor
  if (u[p - 1] & 0x80) p += size_t(3 << ((u[p - 1] & 7) + 1));
  c.root = u[p++];
  std::vector<uint8_t> data;
  while (u[p]) {
    data.insert(data.end(), u + p + 1, u + p + 1 + u[p]);
    p += size_t(u[p]) + 1;
  }
  c.trailer = s.substr(p);
  const int clear = 1 << c.root;
  int size = c.root + 1, avail = clear + 2;
  bool first = true;
  size_t bit = 0;
  auto read = [&] {
    int v = 0;
    for (int i = 0; i < size; i++, bit++) v |= ((data[bit >> 3] >> (bit & 7)) & 1) << i;
    c.codes.push_back(v);
    c.sizes.push_back(size);
    return v;
  };
  while (bit + size_t(size) <= data.size() * 8) {
    int v = read();
    if (v == clear) {
      size = c.root + 1, avail = clear + 2, first = true;
      continue;
    }
    if (v == clear + 1) {
      if (bit + size_t(size) <= data.size() * 8) read();  // what follows End, same size
      break;
    }
    if (!first && avail < 4096 && ++avail >= (1 << size) && size < 12) size++;
    first = false;
  }
  return c;
}

}  // namespace

// Random and photographic-like inputs of depth 1 to 8 decode (netpbm) to the
// exact input; so does a large noise picture that fills the code table several
// times, whose stream restarts with Clear at 12 bits and is framed as GIF87a,
// the palette twice, Clear first, then End, a zero code, the block terminator
// and ';'.
TEST(GifWriter, InputsOfDepth1To8AndTableRestarts) {
  TempDir d;
  const bool netpbm = have_tool("giftopnm");
  for (int n = 0; n <= 16; n++) {
    const bool large = n == 16;  // else random (n even) or photographic of depth n / 2 + 1
    const int depth = large ? 8 : n / 2 + 1, kind = large ? 0 : n % 2;
    const uint32_t seed = large ? 4242 : uint32_t(100 * depth + kind);
    std::mt19937 rng(seed);
    const int w = large ? 512 : 8 * (13 + depth), h = large ? 400 : 37;  // whole bytes of pixels
    const int maxv = (1 << depth) - 1;
    std::vector<int> idx(size_t(w * h));
    Image ph = photo(w, h, maxv, seed);
    for (size_t i = 0; i < idx.size(); i++)
      idx[i] = kind == 0 ? int(rng() % uint32_t(maxv + 1)) : ph.r[i];
    std::string f = write_gif(d, "g" + std::to_string(n) + ".gif", idx, w, h, depth);
    if (large) {
      std::string s = testutil::read_file(f);
      EXPECT_EQ(s.substr(0, 6), "GIF87a");
      EXPECT_EQ(s.substr(13, 768), s.substr(13 + 768 + 10, 768));  // global == local table
      Codes c = gif_codes(s);
      ASSERT_GE(c.codes.size(), 3u);
      EXPECT_EQ(std::vector<int>({c.codes[0], c.codes[c.codes.size() - 2], c.codes.back()}),
                std::vector<int>({256, 257, 0}));
      EXPECT_EQ(c.trailer, std::string("\0;", 2));
      // Clear codes after the first, at 12 bits, each followed by a code of depth + 1 bits.
      int clears = 0;
      for (size_t i = 1; i + 1 < c.codes.size(); i++)
        if (c.codes[i] == 256) {
          clears++;
          EXPECT_TRUE(c.sizes[i] == 12 && c.sizes[i + 1] == depth + 1) << i;
        }
      EXPECT_GE(clears, 3) << "seed " << seed;
    }
    if (!netpbm) continue;
    auto p = decode_with("giftopnm", f);
    ASSERT_TRUE(p.ok) << "depth " << depth << " seed " << seed;
    ASSERT_EQ(p.width, w);
    ASSERT_EQ(p.height, h);
    for (size_t i = 0; i < idx.size(); i++) {
      const int want = p.maxval == 1 ? idx[i] : idx[i] * 255 / maxv;
      ASSERT_EQ(p.v[i * size_t(p.nch)], want)
          << "depth " << depth << " seed " << seed << " px " << i;
    }
  }
}

// ---- JPEG and PNG (pixels checked through the save tests) ----

TEST(JpegWriter, LibraryErrorShowsJpegErrorAndFails) {
  TempDir d;
  dtest::FakeUi ui;
  FILE* fp = std::fopen(d.file("x.jpg").c_str(), "wb");
  JPEGENC_ptr enc;
  EXPECT_EQ(jpeg_write_header(&enc, fp, 70000, 10, 90), -1);  // above libjpeg's limit
  enc.reset();
  std::fclose(fp);
  ASSERT_EQ(ui.msgs.size(), 1u);
  EXPECT_EQ(ui.msgs[0].first, "JPEG Error!");
  EXPECT_NE(ui.msgs[0].second.find("65500"), std::string::npos) << ui.msgs[0].second;
}

// An RGB buffer written whole (the world map's path); a missing directory fails.
TEST(PngWriter, RgbBufferDecodesExactly) {
  if (!have_tool("pngtopnm")) GTEST_SKIP() << "netpbm missing";
  TempDir d;
  std::vector<uint8_t> rgb(12 * 5 * 3);
  for (size_t i = 0; i < rgb.size(); i++) rgb[i] = uint8_t(i * 7);
  ASSERT_EQ(png_write_rgb(d.file("buf.png").c_str(), 12, 5, rgb.data()), 0);
  auto p = decode_with("pngtopnm", d.file("buf.png"));
  ASSERT_TRUE(p.ok);
  EXPECT_EQ(p.v, std::vector<int>(rgb.begin(), rgb.end()));
  EXPECT_EQ(png_write_rgb((d.path() + "/no/such/dir.png").c_str(), 2, 2, rgb.data()), -1);
}

// ---- SUN raster ----

TEST(SunRaster, HeaderLayoutAndStandardDecoderAfterHeaderRepack) {
  TempDir d;
  Image im = photo(40, 12, 255, 5);
  std::string f = d.file("s.ras");
  FILE* fp = std::fopen(f.c_str(), "wb");
  ASSERT_EQ(sun_write_header(fp, im.w, im.h, grey_map(256)), 0);
  for (int y = 0; y < im.h; y++) ASSERT_EQ(sun_write_line(fp, im.w, &im.r[size_t(y * im.w)]), 0);
  std::fclose(fp);
  std::string s = testutil::read_file(f);
  ASSERT_EQ(s.size(), 64u + 768 + size_t(im.w * im.h));
  const auto* u = reinterpret_cast<const uint8_t*>(s.data());
  const uint32_t want[8] = {0x59a66a95u, 40, 12, 8, 480, 1, 1, 768};
  for (int i = 0; i < 8; i++) {
    EXPECT_EQ(pava::get_be32(u + 8 * i), want[i]) << "field " << i;
    EXPECT_EQ(pava::get_be32(u + 8 * i + 4), 0u) << "field " << i;
  }
  if (!have_tool("rasttopnm")) GTEST_SKIP() << "netpbm missing";
  // Standard SUN files have 4-byte fields: repack the header, keep the rest.
  std::string std_hdr;
  for (int i = 0; i < 8; i++) std_hdr += s.substr(size_t(8 * i), 4);
  testutil::write_file(d.file("std.ras"), std_hdr + s.substr(64));
  auto p = decode_with("rasttopnm", d.file("std.ras"));
  ASSERT_TRUE(p.ok);
  for (int i = 0; i < im.w * im.h; i++) ASSERT_EQ(p.v[size_t(i * p.nch)], im.r[size_t(i)]);
}

// ---- Readers through open_file ----

using etest::Opened;

TEST(ImageReaders, SavedFilesOpenAgainWithTheirPixels) {
  TempDir d;
  Image im = photo(33, 21, 255, 9);  // odd width
  // Rows: the file written by the writers; the expected type and channels.
  struct Row {
    std::string file;
    FILE_TYPE type;
    int nch;
  } rows[] = {{d.file("a.pgm"), FT_PGM, 1},
              {d.file("a.ppm"), FT_PPM, 3},
              {d.file("a.ras"), FT_SUN, 1},
              {d.file("a.gif"), FT_GIF, 1}};
  for (const Row& row : rows) {
    FILE* fp = std::fopen(row.file.c_str(), "wb");
    dec_param gp;
    if (row.type == FT_PGM || row.type == FT_PPM) ppm_write_header(fp, row.type, im.w, im.h, 255);
    if (row.type == FT_SUN) sun_write_header(fp, im.w, im.h, grey_map(256));
    if (row.type == FT_GIF) gif_write_header(&gp, fp, im.w, im.h, 8, grey_map(256));
    for (int y = 0; y < im.h; y++) {
      const size_t i = size_t(y * im.w);
      if (row.type == FT_PGM || row.type == FT_PPM)
        ppm_write_line(fp, row.type, 8, im.w, &im.r[i], &im.g[i], &im.b[i]);
      if (row.type == FT_SUN) sun_write_line(fp, im.w, &im.r[i]);
      if (row.type == FT_GIF) gif_write_line(&gp, &im.r[i]);
    }
    if (row.type == FT_GIF) gif_write_finish(&gp);
    std::fclose(fp);
    EXPECT_EQ(detect_file(row.file.c_str()), row.type) << row.file;
    Opened o;
    ASSERT_EQ(o.open(row.file), 0) << row.file;
    EXPECT_EQ(std::vector<int>({o.pic->width, o.pic->height, o.pic->depth, o.pic->nr_chan}),
              std::vector<int>({im.w, im.h, 8, row.nch}));
    for (int y = 0; y < im.h; y++) {
      const XLINE* l = pic_line(o.pic, y);
      ASSERT_TRUE(l);
      for (int x = 0; x < im.w; x++) {
        ASSERT_EQ(l->line[0][x], im.r[size_t(y * im.w + x)]) << row.file;
        if (row.nch == 3) {
          ASSERT_EQ(l->line[2][x], im.b[size_t(y * im.w + x)]);
        }
      }
    }
  }
}

TEST(ImageReaders, PgmCommentsSixteenBitAndInterlacedGif) {
  TempDir d;
  // Comment lines between every field; 16-bit samples of a 10-bit file.
  std::string s = "P5\n# one\n#two\n2 # three\n2\n# four\n1023\n";
  s += std::string("\x03\xff\x00\x01\x02\x00\x01\x23", 8);
  testutil::write_file(d.file("c.pgm"), s);
  Opened o;
  ASSERT_EQ(o.open(d.file("c.pgm")), 0);
  EXPECT_EQ(std::vector<int>({o.pic->depth, o.view->lum_max, pic_line(o.pic, 0)->line[0][0],
                              pic_line(o.pic, 1)->line[0][1]}),
            std::vector<int>({10, 1023, 1023, 0x123}));
  if (!have_tool("convert")) GTEST_SKIP() << "imagemagick missing";
  // An interlaced GIF made by ImageMagick from a PGM of known rows.
  std::string g = "P5\n7 19\n255\n";
  for (int y = 0; y < 19; y++)
    for (int x = 0; x < 7; x++) g += char(y * 13 + x);
  testutil::write_file(d.file("i.pgm"), g);
  auto r =
      testutil::run({"/usr/bin/convert", d.file("i.pgm"), "-interlace", "GIF", d.file("i.gif")});
  ASSERT_EQ(r.status, 0) << r.err;
  auto id = testutil::run({"/usr/bin/identify", "-format", "%[interlace]", d.file("i.gif")});
  ASSERT_EQ(id.out, "GIF") << "not interlaced";
  // ImageMagick may reduce the colours: giftopnm says what the file holds.
  auto p = decode_with("giftopnm", d.file("i.gif"));
  ASSERT_TRUE(p.ok);
  Opened og;
  ASSERT_EQ(og.open(d.file("i.gif")), 0);
  ASSERT_EQ(og.pic->height, 19);
  for (int y = 0; y < 19; y++)
    for (int x = 0; x < 7; x++) ASSERT_EQ(pic_line(og.pic, y)->line[0][x], p.at(x, y)) << y;
}

TEST(ImageReaders, DamagedHeadersAreRejectedWithoutLargeAllocations) {
  TempDir d;
  // Rows: file content; expected open_file result.
  struct Row {
    std::string data;
    int code;
    const char* what;
  } rows[] = {
      {"P5\n100000 100000\n255\n" + std::string(10, 'x'), 'r', "PGM far larger than the file"},
      {"P6\n4 4\n255\n" + std::string(47, 'x'), 'r', "PPM one byte short"},
      {"P5\n4 4\n70000\n", 'r', "maxval above 65535"},
      {"P5\n1 1\n65535\n\x01\x02", 'd', "16-bit depth not supported"},
      {"P5\n# only a comment", 'r', "no size"},
      {std::string("\x59\xa6\x6a\x95\0\0\0\0", 8) + std::string(8, '\0'), 'r', "SUN header cut"},
      {std::string("GIF87a\xff\xff\xff\xff\0\0\0,\0\0\0\0\xff\xff\xff\xff\0\x08\x02\x4c\x01\0;",
                   28),
       'r', "GIF of 65535 x 65535 with three data bytes"},
      {std::string("GIF89a\x01\0\x01\0\0\0\0;", 14), 'p', "GIF without an image"},
  };
  for (const Row& row : rows) {
    testutil::write_file(d.file("bad"), row.data);
    // The name decides nothing for these types: detection is by content.
    Opened o;
    EXPECT_EQ(o.open(d.file("bad")), row.code) << row.what;
    EXPECT_EQ(o.pic->xline, nullptr) << row.what;
  }
}
