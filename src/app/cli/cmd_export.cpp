// pava-cli export: the Save window's path without a window.
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "app/cli/cli.h"
#include "app/ui_ops.h"
#include "display/draw.h"
#include "export/save.h"
#include "formats/openfile.h"

namespace {

struct TypeName {
  const char* name;
  FILE_TYPE type;
};
const TypeName kTypes[] = {{"pgm", FT_PGM}, {"ppm", FT_PPM},   {"pgm1", FT_PGM1},
                           {"gif", FT_GIF}, {"jpeg", FT_JPEG}, {"sun", FT_SUN},
                           {"png", FT_PNG}, {"hrpt", FT_HRPT}, {"chrpt", FT_CHRPT},
                           {"hpt", FT_HPT}, {"chpt", FT_CHPT}, {"mhrpt", FT_MHRPT1}};

struct ExportArgs {
  std::string file, out, type;
  std::vector<int> channels;
  bool false_colour = false, grid = false, coast = false, use_satname = false, multi = false;
  float zoom = 1.0f;
  int bitshift = SAVE_BITSHIFT_DEFAULT;
};

bool g_tty = false;

int cli_progress(double f, const char* text) {
  if (g_tty) {
    std::fprintf(stderr, "\r%s %3d%%", text, int(f * 100.0 + 0.5));
    if (f >= 1.0) std::fputc('\n', stderr);
  }
  return 0;
}
// The user asked for this output name: an existing file is replaced.
int cli_ask(const char*, const char*) { return 1; }

bool is_dir(const std::string& p) {
  struct stat st {};
  return stat(p.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

void cmd_export(const ExportArgs& a) {
  cli_load_prefs();
  FILE_TYPE type = unknown_filetype;
  for (const TypeName& t : kTypes)
    if (a.type == t.name) type = t.type;
  if (type == unknown_filetype) {
    cli_fail("unknown --type " + a.type);
    return;
  }
  std::unique_ptr<PICINFO, void (*)(PICINFO*)> pic(pic_new(), pic_delete);
  auto view = std::make_unique<VIEWINFO>();
  if (a.file.size() >= sizeof pic->file_name) {
    cli_fail("file name too long: " + a.file);
    return;
  }
  std::snprintf(pic->file_name, sizeof pic->file_name, "%s", a.file.c_str());
  int r = open_file(pic.get(), view.get(), nullptr, 0);
  if (r) {
    std::string msg = open_error_cmdline(r, pic->file_name);
    if (!msg.empty() && msg.back() == '\n') msg.pop_back();
    cli_fail(msg);
    return;
  }
  view_init(pic.get(), view.get());
  if (view->grid_clr.red == 0 && view->grid_clr.green == 0 && view->grid_clr.blue == 0)
    view->grid_clr = RGBCLR{0xffff, 0xffff, 0xffff};
  if (view->cont_clr.red == 0 && view->cont_clr.green == 0 && view->cont_clr.blue == 0)
    view->cont_clr = RGBCLR{0xffff, 0xffff, 0};
  SAVEOPTS o;
  o.type = type;
  o.use_satname = a.use_satname;
  o.multi_channel = a.multi;
  o.bitshift = a.bitshift;
  o.grid = a.grid;
  o.coast = a.coast;
  o.zoom = a.zoom;
  view->process_data = a.false_colour ? 1 : 0;
  for (int c : a.channels) {
    if (c < 1 || c > 25 || !pic->channels_recorded[c]) {
      cli_fail("channel " + std::to_string(c) + " is not in the picture");
      return;
    }
    o.channels[c] = 1;
  }
  if (a.channels.empty()) {
    for (int c = 1; c <= 25; c++) {
      bool want = save_is_raw(type) || a.multi ? pic->channels_recorded[c] != 0
                  : a.false_colour             ? pic->channels_recorded[c] && view->cmhc.on[c]
                                               : c == view->chan_selected;
      o.channels[c] = want ? 1 : 0;
    }
  } else if (!a.false_colour) {
    view->chan_selected = a.channels.front();
  }
  if ((a.grid || a.coast) && !pic->orbit.valid)
    ui().message(DRAW_MSG_TITLE, "No orbit data available.");
  if (is_dir(a.out) || a.multi)
    o.dir = a.out;
  else
    o.new_name = a.out;
  UI_OPS ops{};
  ops.progress = cli_progress;
  ops.ask = cli_ask;
  g_tty = isatty(2) != 0;
  ui_install(&ops);
  std::vector<std::string> written;
  int s = save_picture(pic.get(), view.get(), &o, &written);
  ui_install(nullptr);
  if (s != SAVE_OK && s != SAVE_CANCELLED) {
    cli_fail(save_status_text(s, a.out.c_str()).empty() ? "saving failed"
                                                        : save_status_text(s, a.out.c_str()));
    return;
  }
  for (const std::string& f : written) {
    json j;
    j["file"] = f;
    j["type"] = a.type;
    j["source"] = a.file;
    cli_emit(j);
  }
}

}  // namespace

void cli_add_export(CLI::App& app) {
  auto args = std::make_shared<ExportArgs>();
  CLI::App* c = app.add_subcommand("export", "Save a picture as an image or raw file");
  c->add_option("file", args->file, "Picture file")->required();
  c->add_option("-o,--output", args->out, "Output file, or directory for a made-up name")
      ->required();
  c->add_option("--type", args->type, "pgm|ppm|pgm1|gif|jpeg|sun|png|hrpt|chrpt|hpt|chpt|mhrpt")
      ->required();
  c->add_option("--channel", args->channels, "Channels to save (default: the shown one)");
  c->add_flag("--false-colour", args->false_colour, "Save the false-colour view");
  c->add_flag("--grid", args->grid, "Burn the 5-degree grid in");
  c->add_flag("--coast", args->coast, "Burn the coastlines in");
  c->add_option("--zoom", args->zoom, "Picture pixels per saved pixel")
      ->check(CLI::Range(1.0, 64.0));
  c->add_option("--bitshift", args->bitshift,
                "Bit shift of the values (default as the Save window)")
      ->check(CLI::Range(-8, 8));
  c->add_flag("--use-satname", args->use_satname, "Name the file after the satellite");
  c->add_flag("--multi-channel", args->multi, "One file per channel");
  c->callback([args]() { cmd_export(*args); });
}
