// pava-cli render and lonlat: the picture as the GUI would draw it, and the
// positions of picture pixels.
//
//   pava-cli render FILE -o OUT.png [--width W --height H] [--channel N |
//       --false-colour] [--grid] [--coast] [--lum auto|MIN:MAX] [--gamma G]
//       [--invert] [--temperature] [--linearize] [--despeckle] [--north-up]
//       [--offset-sec S] [--offset-lon DEG] [--tle FILE]
//     prints {"file", "out", "width", "height", "lum_min", "lum_max", "status"}
//   pava-cli lonlat FILE --line L --x X [--x X...] [--tle FILE]
//     prints {"line", "x", "lon", "lat", "elements"} per pixel (degrees)
#include <png.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "app/cli/cli.h"
#include "common/text.h"
#include "config/prefs.h"
#include "display/draw.h"
#include "display/georef.h"
#include "display/orbitbind.h"
#include "display/render.h"
#include "formats/openfile.h"

namespace {

struct PicCloser {
  void operator()(PICINFO* p) const {
    close_picfile(p);
    pic_delete(p);
  }
};
using PicHandle = std::unique_ptr<PICINFO, PicCloser>;

// Opens a picture file from the command line and binds it to its orbit
// (elements from tle, or the preference's file when empty); null after a
// message.
PicHandle open_picture(const std::string& path, VIEWINFO* view, const std::string& tle) {
  PicHandle pic(pic_new());
  if (!pava::copy_text(pic->file_name, path)) {
    cli_fail("file name too long: " + path);
    return nullptr;
  }
  int r = open_file(pic.get(), view, nullptr, 0);
  if (r != 0) {
    cli_fail(pava::strprintf("can't open %s (status %d)", path.c_str(), r));
    return nullptr;
  }
  bind_picture_orbit(pic.get(), tle.empty() ? nullptr : tle.c_str());
  return pic;
}

// Writes an RGB buffer as an 8-bit PNG. Returns false on failure.
bool write_png(const std::string& path, const RGBIMAGE& im) {
  FILE* fp = std::fopen(path.c_str(), "wb");
  if (!fp) return false;
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  png_infop info = png ? png_create_info_struct(png) : nullptr;
  bool ok = png && info;
  if (ok && setjmp(png_jmpbuf(png)) == 0) {
    png_init_io(png, fp);
    png_set_IHDR(png, info, png_uint_32(im.width), png_uint_32(im.height), 8, PNG_COLOR_TYPE_RGB,
                 PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_info(png, info);
    for (int y = 0; y < im.height; y++)
      png_write_row(png, const_cast<png_bytep>(&im.rgb[size_t(y) * size_t(im.width) * 3]));
    png_write_end(png, nullptr);
  } else {
    ok = false;
  }
  png_destroy_write_struct(png ? &png : nullptr, info ? &info : nullptr);
  return std::fclose(fp) == 0 && ok;
}

struct RenderArgs {
  std::string file, out, lum = "auto", tle;
  int width = 0, height = 0, channel = 0;
  bool false_colour = false, grid = false, coast = false, invert = false, temperature = false;
  bool linearize = false, despeckle = false, north_up = false;
  float gamma = 1.0f, offset_lon = 0;
  int offset_sec = 0;
};

void run_render(const RenderArgs& a) {
  RENDEROPTS o;
  if (a.lum != "auto") {
    int lo = 0, hi = 0;
    char end = 0;
    if (std::sscanf(a.lum.c_str(), "%d:%d%c", &lo, &hi, &end) != 2 || lo < 0 || hi > 1023 ||
        lo > hi) {
      cli_fail("--lum: auto or MIN:MAX with 0 <= MIN <= MAX <= 1023");
      return;
    }
    o.lum_auto = 0;
    o.lum_min = lo;
    o.lum_max = hi;
  }
  if (a.width < 0 || a.height < 0 || a.width > 20000 || a.height > 20000) {
    cli_fail("--width/--height: 0..20000");
    return;
  }
  if (a.temperature && (a.channel < 3 || a.channel > 5)) {
    cli_fail("--temperature needs --channel 3, 4 or 5");
    return;
  }
  cli_load_prefs();
  auto view = std::make_unique<VIEWINFO>();
  PicHandle pic = open_picture(a.file, view.get(), a.tle);
  if (!pic) return;
  o.width = a.width;
  o.height = a.height;
  o.channel = a.channel;
  o.false_colour = a.false_colour;
  o.grid = a.grid;
  o.coast = a.coast;
  o.gamma = a.gamma;
  o.invert = a.invert;
  o.temperature = a.temperature;
  o.linearize = a.linearize;
  o.despeckle = a.despeckle;
  o.north_up = a.north_up;
  o.offset_sec = a.offset_sec;
  o.offset_lon = a.offset_lon;
  o.grid_rgb = prefs.grid_color;  // the colours pava shows
  o.coast_rgb = prefs.boundary_color;
  RGBIMAGE im;
  int st = render_picture(pic.get(), o, view.get(), &im);
  if (st == DRAW_NO_PICTURE || st == DRAW_NO_LUMTABLE) {
    cli_fail(pava::strprintf("%s: %s", a.file.c_str(), draw_status_text(st)));
    return;
  }
  // A missing overlay leaves the picture drawn: a warning, not a failure.
  if (st != DRAW_OK) std::fprintf(stderr, "pava-cli: %s\n", draw_status_text(st));
  if (!write_png(a.out, im)) {
    cli_fail("can't write " + a.out);
    return;
  }
  json j;
  j["file"] = a.file;
  j["out"] = a.out;
  j["width"] = im.width;
  j["height"] = im.height;
  j["lum_min"] = view->lum_min;
  j["lum_max"] = view->lum_max;
  j["status"] = st == DRAW_OK ? "ok" : draw_status_text(st);
  cli_emit(j);
}

struct LonlatArgs {
  std::string file, tle;
  int line = 0;
  std::vector<int> xs;
};

void run_lonlat(const LonlatArgs& a) {
  cli_load_prefs();
  auto view = std::make_unique<VIEWINFO>();
  PicHandle pic = open_picture(a.file, view.get(), a.tle);
  if (!pic) return;
  if (!pic->orbit.valid || !pic->valid_time) {
    cli_fail(pava::strprintf("%s: %s", a.file.c_str(), draw_status_text(DRAW_NO_ORBIT)));
    return;
  }
  if (a.line < 0 || a.line >= pic_line_count(pic.get())) {
    cli_fail(pava::strprintf("--line: 0..%d", pic_line_count(pic.get()) - 1));
    return;
  }
  for (int x : a.xs) {
    if (x < 0 || x >= pic->width) {
      cli_fail(pava::strprintf("--x: 0..%d", pic->width - 1));
      return;
    }
    EPOINT e{};
    xy2lonlat(x, a.line, nullptr, pic.get(), &e);
    json j;
    j["line"] = a.line;
    j["x"] = x;
    j["lon"] = e.lon * 180.0 / M_PI;
    j["lat"] = e.lat * 180.0 / M_PI;
    j["elements"] = pic->orbit.elements_text;
    cli_emit(j);
  }
}

}  // namespace

void cli_add_display(CLI::App& app) {
  auto ra = std::make_shared<RenderArgs>();
  CLI::App* r = app.add_subcommand("render", "Draw a picture file as pava shows it, into a PNG");
  r->add_option("FILE", ra->file, "Picture file")->required();
  r->add_option("-o", ra->out, "PNG file to write")->required();
  r->add_option("--width", ra->width, "Width of the drawing (default: the picture's)");
  r->add_option("--height", ra->height, "Height of the drawing (default: the picture's)");
  auto* ch = r->add_option("--channel", ra->channel, "Channel shown in grey (1..25)");
  auto* fc = r->add_flag("--false-colour", ra->false_colour, "The satellite family's colour map");
  ch->excludes(fc);
  r->add_flag("--grid", ra->grid, "Longitude/latitude grid");
  r->add_flag("--coast", ra->coast, "Coastlines");
  r->add_option("--lum", ra->lum, "Luminance window: auto or MIN:MAX (0..1023)");
  r->add_option("--gamma", ra->gamma, "Gamma");
  r->add_flag("--invert", ra->invert, "Invert the grey scale");
  r->add_flag("--temperature", ra->temperature, "NOAA thermal channel in temperature colours");
  r->add_flag("--linearize", ra->linearize, "Remove the stretch of the swath's edges");
  r->add_flag("--despeckle", ra->despeckle, "Remove isolated bad pixels");
  r->add_flag("--north-up", ra->north_up, "Mirror as the pass direction asks");
  r->add_option("--offset-sec", ra->offset_sec, "Seconds added to the line times");
  r->add_option("--offset-lon", ra->offset_lon, "Degrees added to the longitudes");
  r->add_option("--tle", ra->tle, "Element file (default: the preference's)");
  r->callback([ra]() { run_render(*ra); });

  auto la = std::make_shared<LonlatArgs>();
  CLI::App* l = app.add_subcommand("lonlat", "Longitude and latitude of picture pixels");
  l->add_option("FILE", la->file, "Picture file")->required();
  l->add_option("--line", la->line, "Picture line (from 0)")->required();
  l->add_option("--x", la->xs, "Pixel in the line (repeatable)")->required();
  l->add_option("--tle", la->tle, "Element file (default: the preference's)");
  l->callback([la]() { run_lonlat(*la); });
}
