#include "gui/tunewnd.h"

#include <cstring>

#include "common/text.h"
#include "gui/sgtk.h"
#include "orbit/satdb.h"
#include "reception/emuboard.h"
#include "reception/tuner.h"

namespace {

constexpr const char* kWnd = "Tune";
constexpr int kNameLen = 11;  // characters the tuner receives

GtkWidget* g_wnd = nullptr;
GtkWidget* g_absbox = nullptr;
GtkWidget* g_offbox = nullptr;
int g_offset = 0;
bool g_syncing = false;  // the window is being filled in, not edited

// The working record: lives for the process, since tuning makes it the
// tuner's current satellite.
SAT& work() {
  static SAT s;
  return s;
}

void take_satellite(const SAT* sat) {
  SAT& w = work();
  if (sat && sat != &w) {
    std::memcpy(static_cast<void*>(&w), static_cast<const void*>(sat), sizeof w);
    w.prev = w.next = nullptr;  // a copy is in no list and owns nothing
    w.db = nullptr;
    w.track = nullptr;
    w.fp_pos = nullptr;
  }
}

void show_satellite() {
  if (!g_wnd) return;
  g_syncing = true;
  Set_Entry(g_wnd, "Name", "%s", work().satname);
  Set_Entry(g_wnd, "Freq", "%.1f", double(work().hfreq));
  sgtk_set_value(g_wnd, "Frequency", work().hfreq);
  Set_Button(g_wnd, "QPSK", work().modtype == 'Q');
  g_syncing = false;
}

// set_tuner's view of the open window: show sat, work on a copy, give the
// offset.
int window_hook(SAT* sat) {
  take_satellite(sat ? sat : tuner_current());
  show_satellite();
  return g_offset;
}

void on_name_changed(GtkWidget* w, gpointer) {
  if (g_syncing) return;
  char name[kNameLen + 1];
  pava::copy_text(name, gtk_entry_get_text(GTK_ENTRY(w)));
  pava::copy_text(work().satname, name);
}

}  // namespace

void tune_func(GtkWidget* widget, gpointer) {
  if (!g_wnd || g_syncing) return;
  const char* name = gtk_widget_get_name(widget);
  if (!std::strcmp(name, "Absolute")) {
    if (!gtk_toggle_button_get_active(GTK_TOGGLE_BUTTON(widget))) return;
    gtk_widget_show(g_absbox);
    gtk_widget_hide(g_offbox);
  } else if (!std::strcmp(name, "F-Offset")) {
    if (!gtk_toggle_button_get_active(GTK_TOGGLE_BUTTON(widget))) return;
    gtk_widget_hide(g_absbox);
    gtk_widget_show(g_offbox);
  } else if (!std::strcmp(name, "^Freq-offset")) {
    g_offset = gtk_spin_button_get_value_as_int(GTK_SPIN_BUTTON(widget));
  } else if (!std::strcmp(name, "Name")) {
    on_name_changed(widget, nullptr);
  } else if (!std::strcmp(name, "^Frequency")) {
    work().hfreq = float(gtk_spin_button_get_value(GTK_SPIN_BUTTON(widget)));
    Set_Entry(g_wnd, "Freq", "%.1f", double(work().hfreq));
  } else if (!std::strcmp(name, "QPSK")) {
    work().modtype = gtk_toggle_button_get_active(GTK_TOGGLE_BUTTON(widget)) ? 'Q' : 'P';
  } else if (!std::strcmp(name, "Set")) {
    emulator_board_ensure();
    set_tuner1(&work(), g_offset);
    std::fflush(stdout);
  } else if (!std::strcmp(name, " Close ")) {
    gtk_widget_destroy(g_wnd);
  }
}

void close_tunewnd(GtkWidget*, gpointer) {
  g_wnd = g_absbox = g_offbox = nullptr;
  tuner_set_window_hook(nullptr);
}

void Menu_Tuner(GtkWidget*, const char*) {
  if (g_wnd) {
    gtk_window_present(GTK_WINDOW(g_wnd));
    return;
  }
  if (SAT* cur = tuner_current()) {
    take_satellite(cur);
  } else {
    std::memset(static_cast<void*>(&work()), 0, sizeof(SAT));
    pava::copy_text(work().satname, "Manually");
  }
  if (work().hfreq == 0) work().hfreq = 1700.0f;
  if (!work().modtype) work().modtype = 'P';

  GCallback cb = G_CALLBACK(tune_func);
  g_absbox = sgtk_row({sg_spin("^Frequency", work().hfreq, 100, 3000, 0.1, 1, cb)});
  g_offbox = sgtk_row({sg_spin("^Freq-offset", g_offset, -1000, 1000, 1, 0, cb)});
  GtkWidget* content = sgtk_box(
      true, {sgtk_row({sg_entry("Name", kNameLen + 1), sg_entry("!Freq", 8)}),
             sgtk_row({sg_radio("Absolute", cb), sg_radio("F-Offset", cb)}), g_absbox, g_offbox,
             sgtk_row({sg_toggle("QPSK", cb), sg_button("Set", cb), sg_button(" Close ", cb)})});
  g_wnd = sgtk_window(kWnd, content);
  g_signal_connect(Find_Widget(g_wnd, "Name"), "changed", G_CALLBACK(on_name_changed), nullptr);
  g_signal_connect(g_wnd, "destroy", G_CALLBACK(close_tunewnd), nullptr);
  gtk_widget_show_all(g_wnd);
  Set_Button(g_wnd, "F-Offset", 1);
  gtk_widget_hide(g_absbox);
  show_satellite();
  tuner_set_window_hook(window_hook);
}
