#include "gui/ui_gtk.h"

#include "app/ui_ops.h"
#include "gui/sgtk.h"

namespace {

constexpr const char* kMain = "Pava";
constexpr const char* kProgressWnd = "Status";

bool g_cancelled = false;

void message(const char* title, const char* text) {
  Create_Message(Find_Window(kMain), title, "%s", text ? text : "");
}

void set_entry(const char* win, const char* name, const char* text) {
  if (GtkWidget* w = Find_Window(win ? win : kMain)) Set_Entry(w, name, "%s", text ? text : "");
}

void set_led(const char* win, const char* name, int rgb12) {
  if (GtkWidget* w = Find_Window(win ? win : kMain)) Set_Led(w, name, rgb12);
}

void on_cancel(GtkWidget*, gpointer) { g_cancelled = true; }

// A "Status" window with a bar "!Progress" and "Cancel", made at the first
// step and closed when the fraction reaches 1.
int progress(double fraction, const char* text) {
  GtkWidget* w = Find_Window(kProgressWnd);
  if (fraction >= 1.0) {
    if (w) gtk_widget_destroy(w);
    bool c = g_cancelled;
    g_cancelled = false;
    return c ? 1 : 0;
  }
  if (!w) {
    g_cancelled = false;
    w = sgtk_window(kProgressWnd, sgtk_row({sg_progress("!Progress"),
                                            sg_button("Cancel", G_CALLBACK(on_cancel))}));
    gtk_window_set_default_size(GTK_WINDOW(w), 300, -1);
    if (GtkWidget* main = Find_Window(kMain))
      gtk_window_set_transient_for(GTK_WINDOW(w), GTK_WINDOW(main));
    gtk_widget_show_all(w);
  }
  sgtk_progress_set(Find_Widget(w, "!Progress"), fraction, text);
  sgtk_drain_events();
  return g_cancelled ? 1 : 0;
}

int ask(const char* title, const char* question) {
  return sgtk_ask(Find_Window(kMain), title, question ? question : "");
}

}  // namespace

void ui_gtk_install() {
  static const UI_OPS ops = {message, set_entry, set_led, progress, ask, sgtk_drain_events};
  ui_install(&ops);
}
