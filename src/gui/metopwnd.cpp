#include "gui/metopwnd.h"

#include <cstring>
#include <vector>

#include "gui/sgtk.h"
#include "reception/emuboard.h"
#include "reception/metoptest.h"
#include "reception/usblink.h"

namespace {

constexpr const char* kWnd = "Test Metop";
constexpr long kShowEvery = 16;  // frames between display updates

void show(GtkWidget* w, const METOP_TEST& st) {
  char text[200];
  Set_Entry(w, "!Frames", "%ld", st.frames);
  Set_Entry(w, "!In sync", "%ld", st.insync);
  Set_Entry(w, "!Spacecraft", "%d", st.spacecraft);
  metoptest_vcid_text(&st, text, sizeof text);
  Set_Entry(w, "!VCID", "%s", text);
}

void run(GtkWidget* button) {
  RECORDINFO* r = g_recordinfo;
  emulator_board_ensure();
  if (r->recording || usb_init_connect(&r->usb) != 0) {
    Set_Button(button, "Start/Stop", 0);
    if (!r->recording) usb_report_connect_error(r);
    return;
  }
  const SAT_TYPE saved_type = r->sat_type;
  const int saved_words = r->fri.words_per_frame;
  metoptest_prepare(r);
  usb_unpacker_reset();
  ena_dat(&r->usb);
  r->recording = 1;
  METOP_TEST st;
  std::vector<uint16_t> frame(METOPTEST_FRAME);
  while (r->recording) {
    int status = get_hrpt_frame(frame.data(), r);
    GtkWidget* w = Find_Window(kWnd);
    if (!w) break;
    if (!r->recording) break;
    metoptest_frame(&st, frame.data(), status, Get_Button(w, "Derandomise") == 1);
    Set_Led(w, "Sync ", status == 1 ? 0x0F0 : 0x800);
    if (st.frames % kShowEvery == 0) {
      show(w, st);
      sgtk_drain_events();
    }
  }
  r->recording = 0;
  dis_dat(&r->usb);
  r->sat_type = saved_type;
  r->fri.words_per_frame = saved_words;
  if (GtkWidget* w = Find_Window(kWnd)) {
    show(w, st);
    Set_Led(w, "Sync ", 0x444);
    Set_Button(w, "Start/Stop", 0);
  }
}

void on_command(GtkWidget* w, gpointer) {
  const char* name = gtk_widget_get_name(w);
  if (!g_recordinfo) return;
  if (!std::strcmp(name, "Start/Stop")) {
    if (gtk_toggle_button_get_active(GTK_TOGGLE_BUTTON(w)))
      run(w);
    else
      g_recordinfo->recording = 0;
  } else if (!std::strcmp(name, " Close ")) {
    gtk_widget_destroy(sgtk_window_of(w));
  }
}

void on_destroy(GtkWidget*, gpointer) {
  if (g_recordinfo) g_recordinfo->recording = 0;
}

}  // namespace

void Menu_MetopTest(GtkWidget*, const char*) {
  if (GtkWidget* old = Find_Window(kWnd)) {
    gtk_window_present(GTK_WINDOW(old));
    return;
  }
  GCallback cb = G_CALLBACK(on_command);
  GtkWidget* content = sgtk_box(
      true,
      {sgtk_row({sg_toggle("Start/Stop", cb), sg_check("Derandomise"), sg_led("Sync ", 0x444),
                 sg_button(" Close ", cb)}),
       sgtk_row({sg_entry("!Frames", 10), sg_entry("!In sync", 10), sg_entry("!Spacecraft", 5)}),
       sgtk_row({sg_entry("!VCID", 50)})});
  GtkWidget* wnd = sgtk_window(kWnd, content);
  g_signal_connect(wnd, "destroy", G_CALLBACK(on_destroy), nullptr);
  gtk_widget_show_all(wnd);
}
