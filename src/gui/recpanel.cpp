#include "gui/recpanel.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "app/log.h"
#include "common/text.h"
#include "config/prefs.h"
#include "display/draw.h"
#include "display/orbitbind.h"
#include "formats/openfile.h"
#include "formats/picinfo.h"
#include "gui/mainwnd.h"
#include "gui/sgtk.h"
#include "reception/record.h"
#include "reception/usblink.h"

namespace {

constexpr const char* kMain = "Pava";
constexpr int kLiveW = 1024, kLiveH = 600;  // live picture (wraps at the bottom)

// Radio buttons of the satellite type: name, types and the file type.
struct TypeButton {
  const char* name;
  SAT_TYPE sat;
  FILE_TYPE file;
  int auto_code;  // sat_type code of Recordpp_Hrpt_Auto
};
const TypeButton kTypes[] = {
    {"HRPT", HRPT, FT_HRPT, 1},         {"CHRPT", CHRPT, FT_CHRPT, 4},
    {"NOAA20", QNOAA20, FT_QNOAA20, 2}, {"NOAA21", QNOAA21, FT_QNOAA21, 3},
    {"AQUA", AQUA, FT_AQUA, 15},        {"MHRPT", M1HRPT, FT_MHRPT1, 5},
    {"M2HRPT", M2HRPT, FT_MHRPT2, 6},   {"METOP", METOP, FT_METOP, 14},
    {"FY3-A,B", FY3, FT_FY3, 10},       {"FY3-C", FY3, FT_FY3, 12},
    {"FY3-D", FY3D, FT_FY3, 13},        {"(other)", sat_unk, unknown_filetype, 0}};
const char* const kChanButtons[5] = {"   1  ", "   2  ", "   3  ", "   4  ", "   5  "};
const char* const kChrptLabels[5] = {" 1+2", " 3+4", " 5+6", " 7+8", "9+10"};
const char* const kMenuRows[] = {"Record/HRI...", "Record/LRIT...", "Record/METOP...",
                                 "Record/Raw...", "Record/IQTest..."};

bool g_rs_was_on = false;  // RS-FEC was on before NOAA-20/21 switched it off
bool g_zoom_set = false;   // the live picture's zoom was set up once
bool g_syncing = false;    // widgets are being set by the program

// The live picture.
std::vector<guchar> g_live(size_t(kLiveW) * kLiveH * 3, 0);

RECORDINFO* rec_of_main() {
  GtkWidget* m = Find_Window(kMain);
  return m ? Get_Recordinfo_db(m) : nullptr;
}

gboolean on_live_expose(GtkWidget* area, GdkEventExpose* ev, gpointer) {
  GdkRectangle r = ev->area;
  int x1 = std::min(r.x + r.width, kLiveW), y1 = std::min(r.y + r.height, kLiveH);
  if (r.x < kLiveW && r.y < kLiveH && x1 > r.x && y1 > r.y)
    gdk_draw_rgb_image(gtk_widget_get_window(area),
                       gtk_widget_get_style(area)->fg_gc[GTK_STATE_NORMAL], r.x, r.y, x1 - r.x,
                       y1 - r.y, GDK_RGB_DITHER_NONE,
                       &g_live[(size_t(r.y) * kLiveW + size_t(r.x)) * 3], kLiveW * 3);
  return TRUE;
}

// Sample of channel ch (1-based) at pixel p of a converted line.
int line_sample(const uint16_t* line, int nwords, const PICINFO* pci, int p, int ch) {
  long idx;
  if (pci->sat_type == M1HRPT || pci->sat_type == M2HRPT) {
    idx = long(p) * 6 + (ch - 1);
  } else {
    int nch = pci->fri.inter_chan > 0 ? pci->fri.inter_chan : 5;
    long off = long(nwords) - long(pci->width) * nch;
    if (off < 0) off = 0;
    idx = off + long(p) * nch + (ch - 1);
  }
  return idx >= 0 && idx < nwords ? (line[idx] & 1023) >> 2 : 0;
}

// put_line_rec: one line into the live picture at row y; the shown channel,
// or channels 2, 2, 1 as red, green, blue for the false-colour view.
void put_line_rec(void*, const uint16_t* line, int nwords, int y, const PICINFO* pci) {
  RECORDINFO* rdi = rec_of_main();
  if (!rdi) return;
  y %= kLiveH;
  int width = pci->width > 0 ? pci->width : 2048;
  guchar* row = &g_live[size_t(y) * kLiveW * 3];
  for (int x = 0; x < kLiveW; x++) {
    int p = int(long(x) * width / kLiveW);
    int ch = rdi->sh_recchan;
    if (ch > 0) {
      guchar v = guchar(line_sample(line, nwords, pci, p, ch));
      row[3 * x] = row[3 * x + 1] = row[3 * x + 2] = v;
    } else {
      row[3 * x] = row[3 * x + 1] = guchar(line_sample(line, nwords, pci, p, 2));
      row[3 * x + 2] = guchar(line_sample(line, nwords, pci, p, 1));
    }
  }
  GtkWidget* m = Find_Window(kMain);
  if (GtkWidget* area = m ? Find_Widget(m, "Live image") : nullptr)
    gtk_widget_queue_draw_area(area, 0, y, kLiveW, 1);
}

void clear_live(void*) {
  std::fill(g_live.begin(), g_live.end(), 0);
  GtkWidget* m = Find_Window(kMain);
  if (GtkWidget* area = m ? Find_Widget(m, "Live image") : nullptr) gtk_widget_queue_draw(area);
}

void quit_main(void*) { gtk_main_quit(); }

void open_recorded(void*, const char* name, int file_type) {
  GtkWidget* win = Find_Window(kMain);
  if (!win) return;
  PICINFO* pic = Get_Picinfo_db(win);
  VIEWINFO* view = Get_Viewinfo_db(win);
  close_picfile(pic);
  if (!pava::copy_text(pic->file_name, name)) return;
  if (open_file(pic, view, win, file_type) == 0) {
    bind_picture_orbit(pic);
    view_init(pic, view);
  } else {
    close_picfile(pic);
  }
  sync_menu_items(win);
  Update_Main(win);
}

void set_show_channel(void*, int ch) {
  GtkWidget* p = Find_Window(REC_PANEL);
  GtkWidget* opt = p ? Find_Widget(p, "!Show channel") : nullptr;
  if (opt && ch >= 1 && ch <= 10) gtk_combo_box_set_active(GTK_COMBO_BOX(opt), ch - 1);
}

void set_mode_button(void*, const char* name) {
  if (GtkWidget* p = Find_Window(REC_PANEL)) Set_Button(p, name, 1);
}

const TypeButton* type_by_name(const char* name) {
  for (const TypeButton& t : kTypes)
    if (std::strcmp(t.name, name) == 0) return &t;
  return nullptr;
}

// After every command: channels, hardware choice and the "RS cor." LED.
void update_after_command(GtkWidget* p, RECORDINFO* rdi) {
  int pressed[5];
  for (int i = 0; i < 5; i++) pressed[i] = Get_Button(p, kChanButtons[i]) == 1;
  rec_panel_channels(rdi, pressed, Get_Button(p, "  All ") == 1);
  rdi->sel_hw = rdi->hwsel_type ? rdi->file_type == FT_CHRPT : rdi->gen1_dec0;
  int ft = rdi->file_type;
  bool rs_type = ft == FT_METOP || ft == FT_FY3 || ft == FT_QNOAA20 || ft == FT_QNOAA21;
  Set_Led(p, "RS cor.", !rs_type ? 0x222 : rdi->reed_solomon ? 0x0F0 : 0xF00);
}

void set_type_sensitive(GtkWidget* p, int on) {
  for (const TypeButton& t : kTypes) sgtk_set_sensitive(p, t.name, on);
  sgtk_set_sensitive(p, " Close ", on);
  sgtk_set_sensitive(p, "Save", on);
}

void select_type(GtkWidget* p, RECORDINFO* rdi, const TypeButton* t) {
  rdi->sat_type = t->sat;
  rdi->file_type = t->file;
  // The board's mode (names without a mode of their own select HRPT).
  if (rdi->port_type == usb && t->sat != sat_unk) set_sat(&rdi->usb, satmode_code(t->name));
  bool noaa = t->sat == QNOAA20 || t->sat == QNOAA21;
  if (noaa) {
    if (Get_Button(p, "RS-FEC") == 1) g_rs_was_on = true;
    Set_Button(p, "RS-FEC", 0);
  } else if (g_rs_was_on) {
    g_rs_was_on = false;
    Set_Button(p, "RS-FEC", 1);
  }
  static const char* const kRsTypes[] = {"METOP", "NOAA20", "NOAA21", "FY3-A,B", "FY3-C", "FY3-D"};
  bool rs = false;
  for (const char* n : kRsTypes) rs = rs || std::strcmp(n, t->name) == 0;
  sgtk_set_sensitive(p, "RS-FEC", rs);
  sgtk_set_sensitive(p, "Start/Stop", t->sat != sat_unk || Get_Button(p, "Start/Stop") == 1);
  // CHRPT records channel pairs.
  for (int i = 0; i < 5; i++) {
    GtkWidget* b = Find_Widget(p, kChanButtons[i]);
    if (b) gtk_button_set_label(GTK_BUTTON(b), t->sat == CHRPT ? kChrptLabels[i] : kChanButtons[i]);
  }
}

void on_main_destroy(GtkWidget*, gpointer rdi) { static_cast<RECORDINFO*>(rdi)->recording = 0; }

void start_recording(GtkWidget* p, RECORDINFO* rdi) {
  GtkWidget* main = Find_Window(kMain);
  if (rdi->sat_type == sat_unk) {
    Set_Button(p, "Start/Stop", 0);
    Create_Message(p, "Error", "%s", "No (correct) satellite choosen!\n");
    return;
  }
  GtkWidget* nb = main ? Find_Widget(main, "Notebook") : nullptr;
  if (nb) {
    if (rdi->do_live || rdi->port_type == from_file) {
      gtk_notebook_set_current_page(GTK_NOTEBOOK(nb), 1);
      g_zoom_set = true;  // the live picture has a fixed scale
    } else if (gtk_notebook_get_current_page(GTK_NOTEBOOK(nb)) == 1) {
      gtk_notebook_set_current_page(GTK_NOTEBOOK(nb), 0);
    }
  }
  set_type_sensitive(p, 0);
  rdi->recording = 1;
  if (rdi->port_type == usb) ena_dat(&rdi->usb);
  REC_CONTEXT ctx{};
  ctx.main_window = main;
  ctx.show_line = put_line_rec;
  ctx.clear_live = clear_live;
  ctx.quit_main = quit_main;
  ctx.open_recorded = open_recorded;
  ctx.set_show_channel = set_show_channel;
  ctx.set_mode_button = set_mode_button;
  ctx.pace_replay = 1;
  // Closing the main window (or quitting) ends the recording.
  gulong hid = main ? g_signal_connect(main, "destroy", G_CALLBACK(on_main_destroy), rdi) : 0;
  Recordpp_Hrpt(&ctx, rdi, main ? Get_Picinfo_db(main) : nullptr,
                main ? Get_Viewinfo_db(main) : nullptr);
  if (hid && Find_Window(kMain) == main) g_signal_handler_disconnect(main, hid);
  if (GtkWidget* still = Find_Window(REC_PANEL)) {
    rdi->recording = 0;
    set_type_sensitive(still, 1);
    if (rdi->port_type == usb && rdi->usb.ftHandle) dis_dat(&rdi->usb);
    Set_Button(still, "Start/Stop", 0);
  }
}

// rec_func: the panel's command handler, by the widget's name.
void rec_func(GtkWidget* w, gpointer) {
  if (g_syncing) return;
  GtkWidget* p = sgtk_window_of(w);
  RECORDINFO* rdi = rec_of_main();
  if (!p || !rdi) return;
  std::string name = gtk_widget_get_name(w);
  bool active = GTK_IS_TOGGLE_BUTTON(w) && gtk_toggle_button_get_active(GTK_TOGGLE_BUTTON(w));
  if (const TypeButton* t = type_by_name(name.c_str())) {
    if (active) select_type(p, rdi, t);
  } else if (name == "Start/Stop") {
    if (active && !rdi->recording)
      start_recording(p, rdi);
    else if (!active)
      rdi->recording = 0;
    return;  // the panel may be gone
  } else if (name == "Stop") {
    rdi->recording = 0;
  } else if (name == "!Show channel") {
    gchar* text = gtk_combo_box_get_active_text(GTK_COMBO_BOX(w));
    if (text) {
      rdi->sh_recchan = std::strlen(text) > 4 ? std::atoi(text + 4) : 0;
      if (rdi->sh_recchan < 0 || rdi->sh_recchan > 25) rdi->sh_recchan = 0;
      g_free(text);
    }
  } else if (name == "Save") {
    rdi->save_flag = active;
  } else if (name == "Ignore sync") {
    rdi->ignore_sync = active;
  } else if (name == "RS-FEC") {
    rdi->reed_solomon = active;
  } else if (name == "Force start") {
    rdi->force_recstart = 1;
  } else if (name == "Abort") {
    w_dbg("Force stop\n");
    if (rec_panel_abort(rdi)) Set_Entry(p, "!Last rec. ", "%s", "No abort (Still receiving)");
  } else if (name == "South bound/North bound" || name == "To south" || name == "To north") {
    bool north = name == "To north" || (name == "South bound/North bound" && active);
    rdi->scan_ver = north ? S_N : N_S;
    rdi->scan_hor = north ? E_W : W_E;
    if (name != "South bound/North bound") {
      g_syncing = true;
      Set_Button(p, "South bound/North bound", north);
      g_syncing = false;
    }
  } else if (name == "^Lines/screen") {
    rdi->height = int(sgtk_get_value(p, "^Lines/screen"));
  } else if (name == "Auto-zoom") {
    rdi->reczoom = active;
    sgtk_set_sensitive(p, "Keep aspect", active);
    if (active) Set_Button(p, "Auto-shift", 0);
  } else if (name == "Auto-shift") {
    rdi->recshift = active;
    if (active) Set_Button(p, "Auto-zoom", 0);
  } else if (name == "Keep aspect") {
    rdi->reczoomaspect = active;
  } else if (name == "Auto-lum") {
    rdi->autolum = active;
    GtkWidget* m = Find_Window(kMain);
    if (VIEWINFO* v = m ? Get_Viewinfo_db(m) : nullptr)
      Set_Entry(p, "Clum", "%f", double(v->lum_max - v->lum_min));
  } else if (name == "^Clear@\nstart") {
    rdi->recclear_at_start = active;
  } else if (name == "^draw every\n y lines") {
    rdi->show_skipy = int(sgtk_get_value(p, "^draw every\n y lines"));
  } else if (name == "Advanced") {
    sgtk_set_shown(p, "!advanced", active);
  } else if (name == "Decoder" || name == "Generator") {
    if (active) rdi->gen1_dec0 = name == "Generator";
  }
  update_after_command(p, rdi);
}

void on_close(GtkWidget* w, gpointer) {
  GtkWidget* p = sgtk_window_of(w);
  if (GtkWidget* m = Find_Window(kMain))
    for (const char* row : kMenuRows) sgtk_set_sensitive(m, row, 1);
  gtk_widget_destroy(p);
}

void on_destroy(GtkWidget*, gpointer) {
  // Closing the panel ends a recording at the engine's next event drain.
  if (RECORDINFO* rdi = rec_of_main()) rdi->recording = 0;
}

GtkWidget* framed(const char* title, GtkWidget* child) {
  GtkWidget* f = gtk_frame_new(title);
  gtk_container_add(GTK_CONTAINER(f), child);
  return f;
}

}  // namespace

void menu_record_hrpt(GtkWidget* item, const char*) {
  if (GtkWidget* win = sgtk_window_of(item)) Menu_Recorder(win);
}

GtkWidget* rec_live_page() {
  // The area takes the page's size (a larger picture is cut at its edges);
  // no scrolled window, so the notebook's keys keep turning the pages.
  GtkWidget* area = gtk_drawing_area_new();
  gtk_widget_set_name(area, "Live image");
  g_signal_connect(area, "expose-event", G_CALLBACK(on_live_expose), nullptr);
  GtkWidget* page = gtk_vbox_new(FALSE, 0);
  gtk_widget_set_name(page, "Live page");
  gtk_box_pack_start(GTK_BOX(page), area, TRUE, TRUE, 0);
  return page;
}

void Menu_Recorder(GtkWidget* main_window) {
  if (GtkWidget* old = Find_Window(REC_PANEL)) {
    gtk_window_present(GTK_WINDOW(old));
    return;
  }
  RECORDINFO* rdi = Get_Recordinfo_db(main_window);
  if (!rdi) return;
  GCallback cb = G_CALLBACK(rec_func);
  std::vector<SGTK_ITEM> types;
  for (const TypeButton& t : kTypes) types.push_back(sg_radio(t.name, cb));
  std::vector<SGTK_ITEM> chans;
  for (const char* c : kChanButtons) chans.push_back(sg_toggle(c, cb));
  chans.push_back(sg_toggle("  All ", cb));
  GtkWidget* advanced = sgtk_box(
      true,
      {sgtk_row(
           {sg_spin("^Lines/screen", rdi->height > 0 ? rdi->height : 500, 10, 10000, 10, 0, cb),
            sg_spin("^draw every\n y lines", rdi->show_skipy, 0, 100, 1, 0, cb)}),
       sgtk_row({sg_toggle("Auto-zoom", cb), sg_toggle("Auto-shift", cb),
                 sg_toggle("Keep aspect", cb), sg_toggle("Auto-lum", cb), sg_entry("Clum", 10),
                 sg_toggle("^Clear@\nstart", cb)}),
       sgtk_row({sg_toggle("South bound/North bound", cb), sg_button("To south", cb),
                 sg_button("To north", cb)}),
       framed("Hardware select", sgtk_row({sg_radio("Decoder", cb), sg_radio("Generator", cb)}))});
  gtk_widget_set_name(advanced, "!advanced");
  GtkWidget* status =
      sgtk_box(true, {sgtk_row({sg_entry("!Recording ", 28), sg_led("Sync ", 0x444)}),
                      sgtk_row({sg_entry("!Last rec. ", 28), sg_led("RS cor.", 0x222)}),
                      sgtk_row({sg_entry("!RS-Error", 22), sg_entry("Line   ", 8)})});
  GtkWidget* content = sgtk_box(
      true,
      {sgtk_box(
           false,
           {framed("Sat type", sgtk_row(types, true)),
            sgtk_box(true, {framed("Channel selection", sgtk_row(chans)),
                            sgtk_row({sg_option("!Show channel",
                                                "Chan 1|Chan 2|Chan 3|Chan 4|Chan "
                                                "5|Chan 6|Chan 7|Chan 8|Chan 9|Chan "
                                                "10|False clr",
                                                cb)}),
                            framed("During record",
                                   sgtk_row({sg_toggle("Save", cb), sg_toggle("Ignore sync", cb),
                                             sg_toggle("RS-FEC", cb), sg_button("Force start", cb),
                                             sg_button("Abort", cb)})),
                            framed("Status", status)})}),
       framed("Canvas settings", advanced),
       sgtk_row({sg_toggle("Start/Stop", cb), sg_button("Stop", cb), sg_toggle("Advanced", cb),
                 sg_button(" Close ", G_CALLBACK(on_close))})});
  GtkWidget* p = sgtk_window(REC_PANEL, content);
  g_signal_connect(p, "destroy", G_CALLBACK(on_destroy), nullptr);
  gtk_window_set_transient_for(GTK_WINDOW(p), GTK_WINDOW(main_window));
  gtk_widget_show_all(p);

  // Controls in line with the record.
  g_syncing = true;
  const TypeButton* cur = &kTypes[11];
  for (const TypeButton& t : kTypes)
    if (t.sat == rdi->sat_type && t.file == rdi->file_type && t.sat != sat_unk) {
      cur = &t;
      break;
    }
  Set_Button(p, cur->name, 1);
  for (int i = 0; i < 5; i++) Set_Button(p, kChanButtons[i], rdi->channels_recording[i + 1]);
  Set_Button(p, "Save", rdi->save_flag);
  Set_Button(p, "Ignore sync", rdi->ignore_sync);
  Set_Button(p, "RS-FEC", rdi->reed_solomon);
  Set_Button(p, "Auto-zoom", rdi->reczoom);
  Set_Button(p, "Auto-shift", rdi->recshift);
  Set_Button(p, "Keep aspect", rdi->reczoomaspect);
  Set_Button(p, "Auto-lum", rdi->autolum);
  Set_Button(p, "^Clear@\nstart", rdi->recclear_at_start);
  Set_Button(p, "South bound/North bound", rdi->scan_ver == S_N);
  Set_Button(p, rdi->gen1_dec0 ? "Generator" : "Decoder", 1);
  if (GtkWidget* opt = Find_Widget(p, "!Show channel"))
    gtk_combo_box_set_active(GTK_COMBO_BOX(opt), rdi->sh_recchan == 0    ? 10
                                                 : rdi->sh_recchan <= 10 ? rdi->sh_recchan - 1
                                                                         : 0);
  g_syncing = false;
  select_type(p, rdi, cur);
  sgtk_set_sensitive(p, "Keep aspect", rdi->reczoom);
  sgtk_set_shown(p, "!advanced", 0);
  Set_Entry(p, "!Recording ", "%s", "Off");
  update_after_command(p, rdi);
}

void Recordpp_Hrpt_Auto(GtkWidget* parent, const char* spec, int sat_type) {
  GtkWidget* main = Find_Window(kMain);
  if (!Find_Window(REC_PANEL)) Menu_Recorder(main ? main : parent);
  GtkWidget* p = Find_Window(REC_PANEL);
  if (!p) return;
  Set_Button(p, "Decoder", 1);
  REC_AUTO_PLAN plan = rec_auto_plan(spec, sat_type);
  for (const TypeButton& t : kTypes)
    if (t.auto_code == plan.sat_type && t.auto_code != 0) {
      Set_Button(p, t.name, 1);
      break;
    }
  for (int d = 1; d <= 5; d++) {
    char name[16];
    std::snprintf(name, sizeof name, "%s%d  ", "   ", d);
    if (plan.button[d]) Set_Button(p, name, 1);
  }
  if (plan.all) Set_Button(p, "  All ", 1);
  if (plan.generator) Set_Button(p, "Generator", 1);
  Set_Button(p, "Start/Stop", 1);
}

int rec_start_from_spec(GtkWidget* main_window, const char* spec) {
  RECORDINFO scratch{};
  char err[200];
  if (rec_apply_spec(&scratch, spec, err, sizeof err) < 0) {
    Create_Message(main_window, "Error", "%s", err);
    return -1;
  }
  std::string s = spec, type = "hrpt", chans = s;
  size_t colon = s.find(':');
  if (colon != std::string::npos) type = s.substr(0, colon), chans = s.substr(colon + 1);
  static const struct {
    const char* name;
    int code;
  } kNames[] = {{"hrpt", 1},   {"noaa20", 2}, {"noaa21", 3}, {"chrpt", 4},  {"m2hrpt", 6},
                {"fy3ab", 10}, {"fy3c", 12},  {"fy3d", 13},  {"metop", 14}, {"aqua", 15}};
  int code = 1;
  for (auto& n : kNames)
    if (g_ascii_strcasecmp(n.name, type.c_str()) == 0) code = n.code;
  Recordpp_Hrpt_Auto(main_window, chans.c_str(), code);
  return 0;
}
