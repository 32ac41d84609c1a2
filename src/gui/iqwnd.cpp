#include "gui/iqwnd.h"

#include <cstring>
#include <vector>

#include "formats/picinfo.h"
#include "gui/sgtk.h"
#include "reception/boardregs.h"
#include "reception/emuboard.h"
#include "reception/iqrecord.h"
#include "reception/usblink.h"

namespace {

constexpr int kLiveW = 512, kLiveH = 200;  // live raw picture
const char* const kOtherRecorders[] = {"Record/(A)HRPT...", "Record/LRIT..."};

std::vector<uint32_t> g_live(size_t(kLiveW) * kLiveH, 0);
bool g_syncing = false;

PICINFO& iq_pic() {
  static PICINFO p;
  return p;
}

RECORDINFO* rdi() { return g_recordinfo; }

GtkWidget* window() { return Find_Window(IQ_WINDOW); }

void set_main_recorders(int on) {
  if (GtkWidget* m = Find_Window("Pava"))
    for (const char* path : kOtherRecorders) sgtk_set_sensitive(m, path, on);
}

// One frame as a grey row of the live picture (low byte of each sample).
void draw_frame(const uint16_t* frame, int n, int row) {
  GtkWidget* w = window();
  if (!w || Get_Button(w, "Show during record") != 1 || n <= 0) return;
  uint32_t* px = &g_live[size_t(row % kLiveH) * kLiveW];
  for (int x = 0; x < kLiveW; x++) {
    uint32_t g = frame[size_t(x) * size_t(n) / kLiveW] & 0xFF;
    px[x] = (g << 16) | (g << 8) | g;
  }
  if (GtkWidget* area = Find_Widget(w, "Live")) gtk_widget_queue_draw(area);
}

gboolean on_expose(GtkWidget* area, GdkEventExpose*, gpointer) {
  cairo_surface_t* s =
      cairo_image_surface_create_for_data(reinterpret_cast<unsigned char*>(g_live.data()),
                                          CAIRO_FORMAT_RGB24, kLiveW, kLiveH, kLiveW * 4);
  cairo_t* cr = gdk_cairo_create(gtk_widget_get_window(area));
  cairo_set_source_surface(cr, s, 0, 0);
  cairo_paint(cr);
  cairo_destroy(cr);
  cairo_surface_destroy(s);
  return TRUE;
}

void show_rates(GtkWidget* w) {
  const IQ_RATES& r = iq_rates();
  char text[20];
  rate_text(gen_rate_msps(r.gen_div), text, sizeof text);
  Set_Entry(w, "!bps generator", "%s", text);
  rate_text(dec_rate_msps(r.dec_div, r.vco), text, sizeof text);
  Set_Entry(w, "!bps decoder", "%s", text);
}

void set_dividers(GtkWidget* w, int gen, int dec) {
  g_syncing = true;
  sgtk_set_value(w, "!Div generator", gen);
  sgtk_set_value(w, "!Div decoder", dec);
  g_syncing = false;
  IQ_RATES& r = iq_rates();
  r.gen_div = gen;
  r.dec_div = dec;
  set_gen_divider(&rdi()->usb, gen);
  set_dec_divider(&rdi()->usb, dec);
  show_rates(w);
}

void lock_controls(GtkWidget* w, int on) {
  for (const char* n : {" Close ", "Save", "IQTEST"}) sgtk_set_sensitive(w, n, !on);
}

void show_board_mode(GtkWidget* w) {
  if (GtkWidget* b = Find_Widget(w, "IQTEST"))
    gtk_button_set_label(GTK_BUTTON(b), get_sat_set_but_rawd(rdi()));
}

void start_stop(GtkWidget* w) {
  RECORDINFO* r = rdi();
  if (!gtk_toggle_button_get_active(GTK_TOGGLE_BUTTON(w))) {
    r->recording = 0;
    return;
  }
  if (r->recording) return;  // already running further down the stack
  if (r->sat_type != IQTEST) {
    Set_Button(w, "Start/Stop", 0);
    Create_Message(w, "Error", "No (correct) satellite choosen!\n");
    return;
  }
  r->recording = 1;
  if (r->port_type == usb) ena_dat(&r->usb);
  lock_controls(w, 1);
  iq_set_draw_hook(draw_frame);
  Recordpp_IQTest(r, &iq_pic());
  iq_set_draw_hook(nullptr);
  r->recording = 0;
  if (r->port_type == usb) dis_dat(&r->usb);
  if (GtkWidget* win = window()) {  // it may have gone meanwhile
    lock_controls(win, 0);
    Set_Button(win, "Start/Stop", 0);
  }
}

void on_destroy(GtkWidget*, gpointer) {
  if (rdi()) rdi()->recording = 0;
  iq_set_draw_hook(nullptr);
  set_main_recorders(1);
}

}  // namespace

void Record_Raw_Commands(GtkWidget* w, gpointer) {
  RECORDINFO* r = rdi();
  if (!r || g_syncing) return;
  const char* name = gtk_widget_get_name(w);
  if (!std::strcmp(name, "Start/Stop") && !gtk_toggle_button_get_active(GTK_TOGGLE_BUTTON(w))) {
    r->recording = 0;
    return;
  }
  if (!r->recording) {
    iq_prepare_command(r);
    show_board_mode(w);
  }
  if (!std::strcmp(name, "^Lines/screen")) {
    r->height = gtk_spin_button_get_value_as_int(GTK_SPIN_BUTTON(w));
  } else if (!std::strcmp(name, "Save")) {
    r->save_flag = gtk_toggle_button_get_active(GTK_TOGGLE_BUTTON(w));
  } else if (!std::strcmp(name, "Ignore sync")) {
    r->ignore_sync = gtk_toggle_button_get_active(GTK_TOGGLE_BUTTON(w));
  } else if (!std::strcmp(name, "Start/Stop")) {
    start_stop(w);
  } else if (!std::strcmp(name, "Stop")) {
    r->recording = 0;
  } else if (!std::strcmp(name, " Close ")) {
    gtk_widget_destroy(sgtk_window_of(w));
    return;
  } else if (!std::strcmp(name, "^VCO fr")) {
    IQ_RATES& rt = iq_rates();
    int v = vco_step(rt.vco, gtk_spin_button_get_value_as_int(GTK_SPIN_BUTTON(w)));
    rt.vco = v;
    g_syncing = true;
    gtk_spin_button_set_value(GTK_SPIN_BUTTON(w), v);
    g_syncing = false;
    show_rates(w);
  } else if (!std::strcmp(name, "!Div generator")) {
    iq_rates().gen_div = gtk_spin_button_get_value_as_int(GTK_SPIN_BUTTON(w));
    set_gen_divider(&r->usb, iq_rates().gen_div);
    show_rates(w);
  } else if (!std::strcmp(name, "!Div decoder")) {
    iq_rates().dec_div = gtk_spin_button_get_value_as_int(GTK_SPIN_BUTTON(w));
    set_dec_divider(&r->usb, iq_rates().dec_div);
    show_rates(w);
  } else if (!std::strcmp(name, "2MSymb/s") || !std::strcmp(name, "40kSymb/s")) {
    int gen, dec;
    if (name[0] == '2')
      rate_preset_2msymb(iq_rates().vco, &gen, &dec);
    else
      rate_preset_40ksymb(iq_rates().vco, &gen, &dec);
    set_dividers(w, gen, dec);
  }
}

void Menu_Rec_IQTest(GtkWidget*, const char*) {
  if (GtkWidget* old = window()) {
    gtk_window_present(GTK_WINDOW(old));
    return;
  }
  if (!rdi()) return;
  emulator_board_ensure();
  GCallback cb = G_CALLBACK(Record_Raw_Commands);
  const IQ_RATES& rt = iq_rates();
  GtkWidget* rate = gtk_frame_new("Rate");
  GtkWidget* table = gtk_table_new(3, 3, FALSE);
  const char* heads[] = {"", "Div", "MSymb/sec"};
  for (int c = 0; c < 3; c++)
    gtk_table_attach_defaults(GTK_TABLE(table), gtk_label_new(heads[c]), guint(c), guint(c + 1), 0,
                              1);
  struct Row {
    const char* title;
    SGTK_ITEM div;
    const char* bps;
  } rows[] = {
      {"Gen", sg_spin("!Div generator", rt.gen_div, RATE_DIV_MIN, RATE_DIV_MAX, 1, 0, cb),
       "!bps generator"},
      {"Dec", sg_spin("!Div decoder", rt.dec_div, RATE_DIV_MIN, RATE_DIV_MAX, 1, 0, cb),
       "!bps decoder"},
  };
  for (guint i = 0; i < 2; i++) {
    gtk_table_attach_defaults(GTK_TABLE(table), gtk_label_new(rows[i].title), 0, 1, i + 1, i + 2);
    gtk_table_attach_defaults(GTK_TABLE(table), sgtk_item(rows[i].div), 1, 2, i + 1, i + 2);
    gtk_table_attach_defaults(GTK_TABLE(table), sgtk_item(sg_entry(rows[i].bps, 8)), 2, 3, i + 1,
                              i + 2);
  }
  gtk_container_add(
      GTK_CONTAINER(rate),
      sgtk_box(true, {table, sgtk_row({sg_spin("^VCO fr", rt.vco, 20, 40, 10, 0, cb),
                                       sg_button("2MSymb/s", cb), sg_button("40kSymb/s", cb)})}));
  GtkWidget* content = sgtk_box(
      true,
      {sgtk_row({sg_toggle("Start/Stop", cb), sg_button("IQTEST", cb), sg_check("Save", cb),
                 sg_check("Ignore sync", cb), sg_button(" Close ", cb)}),
       sgtk_row(
           {sg_entry("!Recording ", 24), sg_led("Sync ", 0x444), sg_entry("!kbytes received", 8)}),
       sgtk_row({sg_entry("!IQc", 30), sg_spin("^Lines/screen", kLiveH, 10, 10000, 10, 0, cb)}),
       rate, sgtk_row({sg_check("Show during record")}),
       sgtk_item(sg_drawing("Live", kLiveW, kLiveH))});
  GtkWidget* wnd = sgtk_window(IQ_WINDOW, content);
  g_signal_connect(Find_Widget(wnd, "Live"), "expose-event", G_CALLBACK(on_expose), nullptr);
  g_signal_connect(wnd, "destroy", G_CALLBACK(on_destroy), nullptr);
  g_syncing = true;  // states shown, not commands
  Set_Button(wnd, "Show during record", 1);
  Set_Button(wnd, "Save", rdi()->save_flag);
  Set_Button(wnd, "Ignore sync", rdi()->ignore_sync);
  g_syncing = false;
  rdi()->height = kLiveH;
  gtk_widget_show_all(wnd);
  show_rates(wnd);
  show_board_mode(wnd);
  set_main_recorders(0);
}
