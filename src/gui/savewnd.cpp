#include "gui/savewnd.h"

#include <gdk/gdkkeysyms.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "app/ui_ops.h"
#include "common/text.h"
#include "display/display_types.h"
#include "export/save.h"
#include "formats/picinfo.h"
#include "gui/mainwnd.h"
#include "gui/sgtk.h"

namespace {

constexpr const char* kWnd = "Save";

// The "File type" choices in list order; the raw families pick the variant
// of the picture's satellite.
struct TypeChoice {
  const char* label;
  FILE_TYPE type;
  FILE_TYPE chinese;  // for FY-1 (CHRPT) pictures
};
const TypeChoice kTypes[] = {
    {"(C)HRPT", FT_HRPT, FT_CHRPT}, {"(C)HPT", FT_HPT, FT_CHPT}, {"MHRPT", FT_MHRPT1, FT_MHRPT1},
    {"PGM1", FT_PGM1, FT_PGM1},     {"PGM", FT_PGM, FT_PGM},     {"PPM", FT_PPM, FT_PPM},
    {"Jpeg", FT_JPEG, FT_JPEG},     {"PNG", FT_PNG, FT_PNG},     {"GIF", FT_GIF, FT_GIF},
    {"SUN", FT_SUN, FT_SUN},
};
constexpr int kDefaultType = 5;  // "PPM"
constexpr const char* kTypeList = "(C)HRPT|(C)HPT|MHRPT|PGM1|PGM|PPM|Jpeg|PNG|GIF|SUN";

// Channel toggle names ("Ch1" .. "Ch25"); the toolkit names widgets by them.
const char* chan_name(int c) {
  static std::vector<std::string> names;
  if (names.empty())
    for (int i = 0; i <= 25; i++) names.push_back("Ch" + std::to_string(i));
  return names[size_t(c)].c_str();
}

// Save in progress: re-entry held off, "Cancel" and Escape set cancelled.
struct SaveRun {
  bool busy = false;
  bool cancelled = false;
  int last_percent = -1;
};
SaveRun g_run;

GtkWidget* main_of() { return Find_Window("Pava"); }

FILE_TYPE chosen_type(GtkWidget* dlg, const PICINFO* pic) {
  GtkWidget* box = Find_Widget(dlg, "^File type");
  int i = box ? gtk_combo_box_get_active(GTK_COMBO_BOX(box)) : kDefaultType;
  if (i < 0 || i >= int(G_N_ELEMENTS(kTypes))) i = kDefaultType;
  return pic && pic->sat_type == CHRPT ? kTypes[i].chinese : kTypes[i].type;
}

// "^Bitshift" shows the default of the chosen type.
void on_type(GtkWidget* w, gpointer) {
  GtkWidget* dlg = sgtk_window_of(w);
  PICINFO* pic = Get_Picinfo_db(main_of());
  VIEWINFO* view = Get_Viewinfo_db(main_of());
  if (!pic || !view) return;
  Set_Entry(dlg, "^Bitshift", "%d", default_bitshift(pic, chosen_type(dlg, pic), view));
}

// The progress bar of the window, in place of the separate status window
// while this window saves.
int save_progress(double fraction, const char*) {
  GtkWidget* dlg = Find_Window(kWnd);
  int percent = int(fraction * 100);
  if (dlg && percent != g_run.last_percent) {
    g_run.last_percent = percent;
    sgtk_progress_set(Find_Widget(dlg, "!Progress"), fraction, "Saving...");
  }
  sgtk_drain_events();
  return g_run.cancelled ? 1 : 0;
}

// Escape cancels a save that runs. A key snooper sees it: the save runs
// inside the key or button handler that started it, where the window's own
// key handler is not called again.
gint escape_snooper(GtkWidget*, GdkEventKey* ev, gpointer) {
  if (ev->type != GDK_KEY_PRESS || ev->keyval != GDK_Escape) return FALSE;
  g_run.cancelled = true;
  return TRUE;
}

void do_save(GtkWidget* dlg) {
  if (g_run.busy) return;
  GtkWidget* main = main_of();
  PICINFO* pic = Get_Picinfo_db(main);
  VIEWINFO* view = Get_Viewinfo_db(main);
  if (!pic || !view) return;
  SAVEOPTS o;
  o.type = chosen_type(dlg, pic);
  for (int c = 1; c <= 25; c++) o.channels[c] = Get_Button(dlg, chan_name(c)) == 1;
  o.multi_channel = Get_Button(dlg, "Multi-channel") == 1;
  o.use_satname = Get_Button(dlg, "Use satname") == 1;
  o.grid = Get_Button(dlg, "Grid") == 1;
  o.coast = Get_Button(dlg, "Coast") == 1;
  o.zoom = float(sgtk_get_value(dlg, "^Zoom"));
  std::string shift = sgtk_get_text(dlg, "^Bitshift");
  char* end = nullptr;
  long b = std::strtol(shift.c_str(), &end, 10);
  if (!shift.empty() && end && *end == '\0' && b >= -8 && b <= 8) o.bitshift = int(b);
  o.dir = sgtk_get_text(dlg, "^Save to");
  o.new_name = sgtk_get_text(dlg, "New name");
  // A bare new name goes into the target directory.
  if (!o.new_name.empty() && o.new_name.find('/') == std::string::npos && !o.dir.empty())
    o.new_name = o.dir + (o.dir.back() == '/' ? "" : "/") + o.new_name;
  VIEWINFO v = *view;
  v.linearize = Get_Button(dlg, "Linearise") == 1;
  v.grid = o.grid;
  v.boundaries = o.coast;

  // Progress goes to this window's bar while saving.
  const UI_OPS saved = ui();
  UI_OPS ops = saved;
  ops.progress = save_progress;
  g_run = SaveRun();
  g_run.busy = true;
  Set_Entry(dlg, "!Status", "%s", "");
  sgtk_set_sensitive(dlg, "Save", 0);
  sgtk_set_sensitive(dlg, "Cancel", 1);
  ui_install(&ops);
  guint snooper = gtk_key_snooper_install(escape_snooper, nullptr);
  std::vector<std::string> written;
  int status = save_picture(pic, &v, &o, &written);
  gtk_key_snooper_remove(snooper);
  ui_install(&saved);
  g_run.busy = false;
  // The window may have been closed meanwhile.
  if ((dlg = Find_Window(kWnd)) == nullptr) return;
  sgtk_set_sensitive(dlg, "Save", 1);
  sgtk_set_sensitive(dlg, "Cancel", 0);
  sgtk_progress_set(Find_Widget(dlg, "!Progress"), 0, "");
  // "Saved." comes from the save itself; a cancel is told in its message box.
  if (status != SAVE_OK && status != SAVE_CANCELLED && status != SAVE_DECLINED)
    Set_Entry(dlg, "!Status", "%s",
              save_status_text(status, written.empty() ? "" : written.back().c_str()).c_str());
}

void on_save(GtkWidget* w, gpointer) { do_save(sgtk_window_of(w)); }
void on_cancel(GtkWidget*, gpointer) { g_run.cancelled = g_run.busy; }
void on_close(GtkWidget* w, gpointer) {
  if (g_run.busy) {
    g_run.cancelled = true;
    return;
  }
  gtk_widget_destroy(sgtk_window_of(w));
}

// Closing during a save cancels it first; the window goes afterwards.
gboolean on_delete(GtkWidget*, GdkEvent*, gpointer) {
  if (!g_run.busy) return FALSE;
  g_run.cancelled = true;
  return TRUE;
}

// Ctrl+S saves.
gboolean on_key(GtkWidget* dlg, GdkEventKey* ev, gpointer) {
  if ((ev->state & GDK_CONTROL_MASK) && (ev->keyval == GDK_s || ev->keyval == GDK_S)) {
    do_save(dlg);
    return TRUE;
  }
  return FALSE;
}

}  // namespace

void save_window_open(GtkWidget* main_window) {
  if (GtkWidget* old = Find_Window(kWnd)) {
    gtk_window_present(GTK_WINDOW(old));
    gtk_widget_grab_focus(Find_Widget(old, "^File type"));
    return;
  }
  PICINFO* pic = Get_Picinfo_db(main_window);
  VIEWINFO* view = Get_Viewinfo_db(main_window);
  if (!pic || !view) return;
  if (!pic->xline) {
    Create_Message(main_window, "Error", "%s", save_status_text(SAVE_NO_PICTURE, "").c_str());
    return;
  }
  // The picture's channels; the one shown is preselected (all of them for
  // the false-colour view).
  std::vector<SGTK_ITEM> chans;
  for (int c = 1; c <= 25; c++)
    if (pic->channels_recorded[c]) chans.push_back(sg_check(chan_name(c)));
  GtkWidget* content = sgtk_box(
      true,
      {sgtk_row({sg_option("^File type", kTypeList, G_CALLBACK(on_type)), sg_check("Multi-channel"),
                 sg_check("Use satname")}),
       sgtk_item(sg_label("Channel select")), sgtk_row(chans),
       sgtk_row({sg_spin("^Zoom", 1, 1, 16, 1, 0), sg_check("Linearise"), sg_check("Grid"),
                 sg_check("Coast")}),
       sgtk_row({sg_entry("^Save to", 30), sg_entry("^Bitshift", 4)}),
       sgtk_row({sg_entry("New name", 36)}), sgtk_row({sg_entry("!Status", 36)}),
       sgtk_row({sg_progress("!Progress")}),
       sgtk_row({sg_button("Save", G_CALLBACK(on_save)), sg_button("Cancel", G_CALLBACK(on_cancel)),
                 sg_button("Close", G_CALLBACK(on_close))})});
  GtkWidget* dlg = sgtk_window(kWnd, content);
  g_signal_connect(dlg, "delete-event", G_CALLBACK(on_delete), nullptr);
  g_signal_connect(dlg, "key-press-event", G_CALLBACK(on_key), nullptr);
  gtk_window_set_transient_for(GTK_WINDOW(dlg), GTK_WINDOW(main_window));

  const bool false_colour = view->process_data != 0;
  for (int c = 1; c <= 25; c++)
    if (pic->channels_recorded[c])
      Set_Button(dlg, chan_name(c), false_colour || c == view->chan_selected);
  Set_Button(dlg, "Linearise", view->linearize != 0);
  Set_Button(dlg, "Grid", view->grid != 0);
  Set_Button(dlg, "Coast", view->boundaries != 0);
  Set_Entry(dlg, "^Save to", "%s", pic->work_location);
  gtk_combo_box_set_active(GTK_COMBO_BOX(Find_Widget(dlg, "^File type")), kDefaultType);
  sgtk_set_sensitive(dlg, "Cancel", 0);
  gtk_widget_show_all(dlg);
  gtk_widget_grab_focus(Find_Widget(dlg, "^File type"));
}
