// pava-cli info / line / header: open a recording as pava does and print what
// was read.
#include <memory>
#include <string>

#include "app/cli/cli.h"
#include "display/orbitbind.h"
#include "formats/framehdr.h"
#include "formats/openfile.h"
#include "formats/picinfo.h"

namespace {

struct Opened {
  PICINFO* pic = pic_new();
  std::unique_ptr<VIEWINFO> view = std::make_unique<VIEWINFO>();
  ~Opened() {
    close_picfile(pic);
    pic_delete(pic);
  }
};

// Type given by its enumeration name ("FT_MHRPT1"); 0 (detect) for "".
int parse_type(const std::string& name) {
  if (name.empty()) return 0;
  for (int t = 0; t <= FT_IQTEST; t++)
    if (name == file_type_name(t)) return t;
  return -1;
}

// Reed-Solomon correction on reading CCSDS files recorded without it
// (--reed-solomon, as the view's "Reed Solomon" item).
bool g_reed_solomon = false;

// Opens file into o; false after reporting the failure.
bool open_for_cli(Opened& o, const std::string& file, const std::string& type) {
  o.view->reed_solomon = g_reed_solomon ? 1 : 0;
  int ft = parse_type(type);
  if (ft < 0) {
    cli_fail("unknown file type name " + type);
    return false;
  }
  if (file.size() >= sizeof o.pic->file_name) {
    cli_fail("file name too long: " + file);
    return false;
  }
  std::snprintf(o.pic->file_name, sizeof o.pic->file_name, "%s", file.c_str());
  int r = open_file(o.pic, o.view.get(), nullptr, ft);
  if (r) {
    std::string msg = open_error_cmdline(r, o.pic->file_name);
    if (!msg.empty() && msg.back() == '\n') msg.pop_back();
    cli_fail(msg);
    return false;
  }
  return true;
}

// Time of a line, null when the line carries none.
json time_json(const XLINE* l) {
  if (!l || !l->tm_ms.valid) return nullptr;
  return cli_iso_time(l->tm_ms.tm, l->tm_ms.ms);
}

void cmd_info(const std::string& file, const std::string& type) {
  Opened o;
  if (!open_for_cli(o, file, type)) return;
  cli_load_prefs();
  bind_picture_orbit(o.pic, nullptr, false);  // the elements in use, no pixel positions
  const PICINFO* pic = o.pic;
  json chans = json::array();
  for (int c = 1; c <= 25; c++)
    if (pic->channels_recorded[c]) chans.push_back(c);
  int n = pic_line_count(pic), with_sync = 0, with_dec = 0;
  for (const XLINE* l = pic->xline; l; l = l->next) {
    with_sync += l->syncword ? 1 : 0;
    with_dec += l->dec_sync ? 1 : 0;
  }
  json j;
  j["file"] = file;
  j["file_type"] = file_type_name(pic->file_type);
  j["file_type_code"] = int(pic->file_type);
  j["sat_type"] = sat_type_name(pic->sat_type);
  j["sat_name"] = pic->sat_name;
  j["sat_id"] = pic->sat_id;
  j["width"] = pic->width;
  j["height"] = pic->height;
  j["depth"] = pic->depth;
  j["nr_chan"] = pic->nr_chan;
  j["channels"] = chans;
  j["header_words"] = pic->channels_recorded[0] != 0;
  j["valid_time"] = pic->valid_time != 0;
  j["start"] = time_json(pic_line(pic, 0));
  j["end"] = time_json(n ? pic_line(pic, n - 1) : nullptr);
  j["lines_with_syncword"] = with_sync;
  j["lines_with_dec_sync"] = with_dec;
  j["elements"] = pic->orbit.elements_text;
  cli_emit(j);
}

void cmd_line(const std::string& file, const std::string& type, int line, int channel, int first,
              int count) {
  Opened o;
  if (!open_for_cli(o, file, type)) return;
  const PICINFO* pic = o.pic;
  const XLINE* l = pic_line(pic, line);
  if (!l) {
    cli_fail("no line " + std::to_string(line) + " (picture has " +
             std::to_string(pic_line_count(pic)) + ")");
    return;
  }
  // Channel numbers count the recorded channels; slot k of a line is the k-th.
  int slot = -1;
  if (channel >= 1 && channel <= 25 && pic->channels_recorded[channel]) {
    slot = 0;
    for (int c = 1; c < channel; c++) slot += pic->channels_recorded[c] ? 1 : 0;
  }
  if (slot < 0 || slot >= l->nrchan || !l->line[slot]) {
    cli_fail("channel " + std::to_string(channel) + " is not recorded");
    return;
  }
  if (first < 0 || first >= l->width) {
    cli_fail("first pixel " + std::to_string(first) + " outside 0.." +
             std::to_string(l->width - 1));
    return;
  }
  int end = count < 0 || first + count > l->width ? l->width : first + count;
  json samples = json::array();
  for (int p = first; p < end; p++) samples.push_back(l->line[slot][p]);
  json j;
  j["line"] = line;
  j["time"] = time_json(l);
  j["time_valid"] = l->tm_ms.valid;
  j["syncword"] = l->syncword != 0;
  j["dec_sync"] = l->dec_sync != 0;
  j["channel"] = channel;
  j["first"] = first;
  j["count"] = end - first;
  j["samples"] = samples;
  cli_emit(j);
}

json u16_array(const uint16_t* v, int n) {
  json a = json::array();
  for (int i = 0; i < n; i++) a.push_back(v[i]);
  return a;
}

void cmd_header(const std::string& file, const std::string& type, int line) {
  Opened o;
  if (!open_for_cli(o, file, type)) return;
  HRPT_FRAMEHDR h;
  if (!get_hrpt_framehdr(o.pic, o.view.get(), line, &h)) {
    cli_fail("no line " + std::to_string(line));
    return;
  }
  int day_kind = interpret_framehdr(&h, &o.pic->picture_time);
  json back = json::array(), space = json::array();
  for (int i = 0; i < 10; i++) {
    back.push_back(u16_array(h.back_scan[i], 5));
    space.push_back(u16_array(h.space_scan[i], 5));
  }
  json j;
  j["line"] = line;
  j["sync_word"] = u16_array(h.sync_word, 6);
  j["avhrr_sync"] = h.avhrr_sync != 0;
  j["minor_framenr"] = h.minor_framenr;
  j["spacecraft_addr"] = h.spacecraft_addr;
  j["resync"] = h.resync != 0;
  j["chan3ab"] = h.chan3ab ? std::string(1, h.chan3ab) : std::string();
  j["day_count"] = h.day_count;
  j["msec_count"] = h.msec_count;
  j["telemetry"] = u16_array(h.telemetry, 5);
  j["target_temp"] = u16_array(h.target_temp, 5);
  j["back_scan"] = back;
  j["space_scan"] = space;
  j["avhrr_synclate"] = h.avhrr_synclate != 0;
  j["period_998_khz"] = h.period_998_khz;
  j["ch3_patchtemp"] = h.ch3_patchtemp;
  j["sat_name"] = h.sat_name;
  j["sat_time"] = cli_iso_time(h.sat_time, h.msec);
  j["day_from"] = day_kind == 'y' ? "header" : "reference";
  cli_emit(j);
}

}  // namespace

void cli_add_formats(CLI::App& app) {
  auto type = std::make_shared<std::string>();
  auto file = std::make_shared<std::string>();
  auto line = std::make_shared<int>(0);
  auto channel = std::make_shared<int>(1);
  auto first = std::make_shared<int>(0);
  auto count = std::make_shared<int>(-1);

  CLI::App* info = app.add_subcommand("info", "open a recording and describe it as JSON");
  info->add_option("FILE", *file, "picture or recording file")->required();
  info->add_flag("--reed-solomon", g_reed_solomon,
                 "correct CCSDS frames recorded without correction");
  info->add_option("--type", *type, "file type name (e.g. FT_MHRPT1) instead of detection");
  info->callback([=] { cmd_info(*file, *type); });

  CLI::App* ln = app.add_subcommand("line", "time and samples of one line of a recording");
  ln->add_option("FILE", *file, "picture or recording file")->required();
  ln->add_option("--line", *line, "line number (from 0)")->required();
  ln->add_option("--channel", *channel, "channel number (from 1)")->required();
  ln->add_option("--first", *first, "first pixel (from 0)");
  ln->add_option("--count", *count, "number of samples (default: to the end of the line)");
  ln->add_flag("--reed-solomon", g_reed_solomon,
               "correct CCSDS frames recorded without correction");
  ln->add_option("--type", *type, "file type name instead of detection");
  ln->callback([=] { cmd_line(*file, *type, *line, *channel, *first, *count); });

  CLI::App* hd = app.add_subcommand("header", "decoded frame header of one line as JSON");
  hd->add_option("FILE", *file, "picture or recording file")->required();
  hd->add_option("--line", *line, "line number (from 0)")->required();
  hd->add_flag("--reed-solomon", g_reed_solomon,
               "correct CCSDS frames recorded without correction");
  hd->add_option("--type", *type, "file type name instead of detection");
  hd->callback([=] { cmd_header(*file, *type, *line); });
}
