#include "gui/mapwnd.h"

#include <string>
#include <vector>

#include "app/core/mapctl.h"
#include "display/chanmap.h"
#include "display/display_types.h"
#include "formats/picinfo.h"
#include "gui/mainwnd.h"
#include "gui/sgtk.h"

namespace {

constexpr const char* kWnd = "Map channels";
constexpr const char* kSyncing = "pava_syncing";
constexpr int kMaxRows = 10;  // channels shown with controls

// The button states of the store buttons live as long as the program.
CLRMAP_BUTTONS g_buttons{};

GtkWidget* main_of(GtkWidget*) { return Find_Window("Pava"); }

int family(GtkWidget* win) {
  PICINFO* pic = Get_Picinfo_db(win);
  return pic ? clrmap_family(pic->sat_type) : 0;
}

// Channels that get a row: those the picture has (the first kMaxRows).
std::vector<int> channels_of(const PICINFO* pic) {
  std::vector<int> out;
  for (int ch = 1; ch <= 25 && int(out.size()) < kMaxRows; ch++)
    if (pic && chan_slot(pic, ch) >= 0) out.push_back(ch);
  if (out.empty())
    for (int ch = 1; ch <= 5; ch++) out.push_back(ch);
  return out;
}

// A control changed: its value goes into the view's map, the picture is drawn.
void on_control(GtkWidget* w, gpointer data) {
  GtkWidget* dlg = sgtk_window_of(w);
  if (g_object_get_data(G_OBJECT(dlg), kSyncing)) return;
  GtkWidget* win = main_of(w);
  VIEWINFO* view = win ? Get_Viewinfo_db(win) : nullptr;
  if (!view) return;
  const char* name = static_cast<const char*>(data);
  double v = GTK_IS_TOGGLE_BUTTON(w) ? gtk_toggle_button_get_active(GTK_TOGGLE_BUTTON(w))
                                     : gtk_spin_button_get_value(GTK_SPIN_BUTTON(w));
  if (mapctl_set(&view->cmhc, name, v) != 0) return;
  view->process_data = 1;  // the map is what is shown
  sync_menu_items(win);
  Update_Main(win);
}

void show_buttons(GtkWidget* dlg) {
  for (int n = 0; n < 3; n++) {
    std::string name = " Store map " + std::to_string(n + 1);
    if (GtkWidget* b = Find_Widget(dlg, name.c_str()))
      sgtk_set_colour(b, [](RGBCLR c) {
        return (c.red >> 8) << 16 | (c.green >> 8) << 8 | c.blue >> 8;
      }(store_button_colour(g_buttons.store[n])));
  }
  sgtk_set_sensitive(dlg, " Save mappings ", g_buttons.save_sensitive);
}

// After a map operation: controls, main window and picture follow.
void map_changed(GtkWidget* w) {
  map_channels_sync();
  if (GtkWidget* win = main_of(w)) {
    Get_Viewinfo_db(win)->process_data = 1;
    sync_menu_items(win);
    Update_Main(win);
  }
}

void on_store(GtkWidget* w, gpointer n) {
  GtkWidget* win = main_of(w);
  clrmap_store(Get_Viewinfo_db(win), family(win), GPOINTER_TO_INT(n), &g_buttons);
  show_buttons(sgtk_window_of(w));
}
void on_get(GtkWidget* w, gpointer n) {
  GtkWidget* win = main_of(w);
  if (clrmap_get(Get_Viewinfo_db(win), family(win), GPOINTER_TO_INT(n)) == 0) map_changed(w);
}
void on_undo(GtkWidget* w, gpointer n) {
  GtkWidget* win = main_of(w);
  if (clrmap_undo(Get_Viewinfo_db(win), family(win), GPOINTER_TO_INT(n), &g_buttons) == 0)
    map_changed(w);
  show_buttons(sgtk_window_of(w));
}
void on_save(GtkWidget* w, gpointer) {
  if (clrmap_save(&g_buttons) != 0) Create_Message(w, "Error", "%s", "Can't save preferences.");
  show_buttons(sgtk_window_of(w));
}
void on_std(GtkWidget* w, gpointer) {
  GtkWidget* win = main_of(w);
  float gamma = clrmap_std_colour(Get_Picinfo_db(win), Get_Viewinfo_db(win));
  sgtk_set_value(win, "^Gamma", gamma);
  map_changed(w);
}
void on_reset_align(GtkWidget* w, gpointer) {
  GtkWidget* win = main_of(w);
  Set_Led(w, "!Aligned", align_reset(Get_Viewinfo_db(win)));
  Update_Main(win);
}
void on_auto_align(GtkWidget* w, gpointer) {
  GtkWidget* win = main_of(w);
  Set_Led(w, "!Aligned", align_auto(Get_Viewinfo_db(win), Get_Picinfo_db(win)->file_type));
  Update_Main(win);
}
void on_align_settings(GtkWidget* w, gpointer) {
  Create_Message(w, "Info", "%s", "Not available yet.");
}
void on_redraw(GtkWidget* w, gpointer) {
  if (GtkWidget* win = main_of(w)) Update_Main(win);
}
void on_close(GtkWidget* w, gpointer) { gtk_widget_destroy(sgtk_window_of(w)); }
void on_destroyed(GtkWidget*, gpointer) {
  // The gamma of the map is used only while the window is open.
  if (GtkWidget* win = Find_Window("Pava")) Update_Main(win);
}

// Names of the controls outlive the window's callbacks: kept per channel.
const char* keep(const std::string& s) {
  static std::vector<std::string*> names;
  for (const std::string* n : names)
    if (*n == s) return n->c_str();
  names.push_back(new std::string(s));
  return names.back()->c_str();
}

SGTK_ITEM spin(const char* name, const CLRMAPCHAN& m) {
  MAPCTL_RANGE r{};
  mapctl_range(name, &r);
  return sg_spin(keep(std::string("^") + name), mapctl_get(m, name), r.min, r.max, r.step, r.digits,
                 G_CALLBACK(on_control), const_cast<char*>(keep(name)));
}

}  // namespace

void map_channels_open(GtkWidget* main_window) {
  if (GtkWidget* old = Find_Window(kWnd)) {
    gtk_window_present(GTK_WINDOW(old));
    return;
  }
  PICINFO* pic = Get_Picinfo_db(main_window);
  VIEWINFO* view = Get_Viewinfo_db(main_window);
  if (!pic || !view) return;
  const CLRMAPCHAN& m = view->cmhc;
  std::vector<GtkWidget*> rows;
  for (int ch : channels_of(pic)) {
    std::string n = std::to_string(ch);
    std::string chname = "Ch" + n;
    rows.push_back(
        sgtk_row({sg_toggle(keep(chname), G_CALLBACK(on_control), const_cast<char*>(keep(chname))),
                  spin(keep("r" + n), m), spin(keep("g" + n), m), spin(keep("b" + n), m)}));
  }
  rows.push_back(sgtk_row({spin("gamma", m), spin("ro", m), spin("go", m), spin("bo", m)}));
  std::vector<SGTK_ITEM> store, get, undo;
  for (int i = 0; i < 3; i++) {
    std::string n = std::to_string(i + 1);
    store.push_back(sg_button(keep(" Store map " + n), G_CALLBACK(on_store), GINT_TO_POINTER(i)));
    get.push_back(sg_button(keep(" Get map " + n), G_CALLBACK(on_get), GINT_TO_POINTER(i)));
    undo.push_back(sg_button(keep(" Undo map " + n), G_CALLBACK(on_undo), GINT_TO_POINTER(i)));
  }
  rows.push_back(sgtk_row(store));
  rows.push_back(sgtk_row(get));
  rows.push_back(sgtk_row(undo));
  rows.push_back(
      sgtk_row({sg_button(" Save mappings ", G_CALLBACK(on_save)),
                sg_button(" Std colour ", G_CALLBACK(on_std)), sg_entry("!Sattype:", 10)}));
  rows.push_back(
      sgtk_row({sg_button(" Align settings ", G_CALLBACK(on_align_settings)),
                sg_button(" Reset align ", G_CALLBACK(on_reset_align)),
                sg_button(" Auto align ", G_CALLBACK(on_auto_align)), sg_led("!Aligned", 0)}));
  rows.push_back(sgtk_row(
      {sg_button(" Redraw ", G_CALLBACK(on_redraw)), sg_button(" Close ", G_CALLBACK(on_close))}));
  GtkWidget* dlg = sgtk_window(kWnd, sgtk_box(true, rows));
  g_signal_connect(dlg, "destroy", G_CALLBACK(on_destroyed), nullptr);
  gtk_window_set_transient_for(GTK_WINDOW(dlg), GTK_WINDOW(main_window));
  gtk_widget_show_all(dlg);
  map_channels_sync();
  show_buttons(dlg);
}

void map_channels_sync() {
  GtkWidget* dlg = Find_Window(kWnd);
  GtkWidget* win = Find_Window("Pava");
  if (!dlg || !win) return;
  PICINFO* pic = Get_Picinfo_db(win);
  const CLRMAPCHAN& m = Get_Viewinfo_db(win)->cmhc;
  g_object_set_data(G_OBJECT(dlg), kSyncing, GINT_TO_POINTER(1));
  for (int ch : channels_of(pic)) {
    std::string n = std::to_string(ch);
    Set_Button(dlg, ("Ch" + n).c_str(), m.on[ch]);
    for (const char* k : {"r", "g", "b"}) {
      std::string name = k + n;
      sgtk_set_value(dlg, ("^" + name).c_str(), mapctl_get(m, name.c_str()));
    }
  }
  for (const char* name : {"gamma", "ro", "go", "bo"})
    sgtk_set_value(dlg, (std::string("^") + name).c_str(), mapctl_get(m, name));
  Set_Entry(dlg, "!Sattype:", "%s", CLRMAP_FAMILIES[family(win)]);
  g_object_set_data(G_OBJECT(dlg), kSyncing, nullptr);
}
