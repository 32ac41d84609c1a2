#include "gui/mainwnd.h"

#include "display/orbitbind.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "app/core/filmctl.h"
#include "app/core/hdrinfo.h"
#include "app/core/keplerctl.h"
#include "app/core/redraw.h"
#include "app/core/viewctl.h"
#include "app/log.h"
#include "common/text.h"
#include "config/prefs.h"
#include "display/chanmap.h"
#include "display/display_types.h"
#include "display/draw.h"
#include "display/georef.h"
#include "formats/openfile.h"
#include "formats/picinfo.h"
#include "gui/debugpage.h"
#include "gui/hwtestwnd.h"
#include "gui/iqwnd.h"
#include "gui/lumwnd.h"
#include "gui/mapwnd.h"
#include "gui/metopwnd.h"
#include "gui/prefwnd.h"
#include "gui/recpanel.h"
#include "gui/savewnd.h"
#include "gui/sgtk.h"
#include "gui/trackwnd.h"
#include "gui/tunewnd.h"
#include "gui/viewer.h"

namespace {

constexpr const char* kMain = "Pava";
constexpr const char* kCanvas = "Is_Canvas2";
constexpr const char* kSyncing = "pava_syncing";  // menu callbacks held off

gint64 g_start_us = 0;             // when the program started (main_mark_start)
bool g_first_draw_pending = true;  // the first drawn picture is logged once

// ---- Records and redraw ----

GtkWidget* main_window(GtkWidget* any) {
  GtkWidget* w = sgtk_window_of(any);
  if (w && g_object_get_data(G_OBJECT(w), "pava_pci")) return w;
  return Find_Window(kMain);
}

REDRAW_CTX* redraw_ctx(GtkWidget* widget) {
  GtkWidget* top = main_window(widget);
  return top ? static_cast<REDRAW_CTX*>(g_object_get_data(G_OBJECT(top), "pava_redraw")) : nullptr;
}

GtkWidget* canvas(GtkWidget* window) {
  return static_cast<GtkWidget*>(g_object_get_data(G_OBJECT(window), "CNVS_ID2"));
}

bool syncing(GtkWidget* window) { return g_object_get_data(G_OBJECT(window), kSyncing) != nullptr; }

void add_idle(int (*fn)(void*), void* data) {
  g_idle_add(reinterpret_cast<GSourceFunc>(reinterpret_cast<void*>(fn)), data);
}

void correct_zoom(REDRAW_CTX* ctx) {
  int w, h;
  gtk_image_viewer_get_size(canvas(GTK_WIDGET(ctx->user)), &w, &h);
  correct_zoomval(ctx->view, ctx->pic, w, h);
}

// Status of the last drawing (a DRAW_STATUS), for draw_failed.
int& last_draw_status(GtkWidget* window) {
  static int fallback = 0;
  auto* s = static_cast<int*>(g_object_get_data(G_OBJECT(window), "pava_draw_status"));
  return s ? *s : fallback;
}

void draw_failed(REDRAW_CTX* ctx);

int draw_canvas(REDRAW_CTX* ctx) {
  GtkWidget* win = GTK_WIDGET(ctx->user);
  GtkWidget* area = canvas(win);
  gint64 t0 = g_get_monotonic_time();
  int r = gtk_image_viewer_render(area);
  last_draw_status(win) = r;
  if (prefs.log) {
    // The logged time runs to the picture on screen: the expose is done now.
    gint64 t1 = g_get_monotonic_time();
    if (GdkWindow* gw = gtk_widget_get_window(area)) gdk_window_process_updates(gw, FALSE);
    int w, h;
    gtk_image_viewer_get_size(area, &w, &h);
    log_message("Picture drawn (%dx%d) in %.1f ms (draw_pic %.1f ms)", w, h,
                double(g_get_monotonic_time() - t0) / 1000, double(t1 - t0) / 1000);
    if (g_first_draw_pending && g_start_us) {
      g_first_draw_pending = false;
      log_message("First picture drawn %.0f ms after start",
                  double(g_get_monotonic_time() - g_start_us) / 1000);
    }
  }
  // Without an orbit the redraw logic calls draw_failed; a missing coast
  // file is reported here (the orbit is fine then).
  if (r == DRAW_NO_COAST && ctx->pic->orbit.valid) draw_failed(ctx);
  return r;
}

// The overlay could not be drawn: its items go off (the picture is drawn
// without it) and the user is told why.
void draw_failed(REDRAW_CTX* ctx) {
  GtkWidget* w = GTK_WIDGET(ctx->user);
  int status = last_draw_status(w);
  if (status != DRAW_NO_ORBIT && status != DRAW_NO_COAST) return;
  ctx->view->grid = 0;
  ctx->view->boundaries = 0;
  g_object_set_data(G_OBJECT(w), kSyncing, GINT_TO_POINTER(1));
  Set_Button(w, "View/Grid", 0);
  Set_Button(w, "View/Coast", 0);
  g_object_set_data(G_OBJECT(w), kSyncing, nullptr);
  draw_report(status);
}

// ---- Viewer owner ----

// The viewer's buffer is drawn by draw_pic: what pava-cli render draws for
// the same size and settings.
int render_view(void* user, uint8_t* rgb, int w, int h) {
  GtkWidget* win = GTK_WIDGET(user);
  auto* img = static_cast<RGBIMAGE*>(g_object_get_data(G_OBJECT(win), "pava_rgb"));
  PICINFO* pic = Get_Picinfo_db(win);
  VIEWINFO* view = Get_Viewinfo_db(win);
  if (!img || !pic || !view || w <= 0 || h <= 0) return DRAW_NO_PICTURE;
  DRAWOPTS opts;
  opts.map_window_open = Find_Window("Map channels") != nullptr;
  int r = draw_pic(pic, view, w, h, img, &opts);
  if (img->rgb.size() == size_t(w) * size_t(h) * 3)
    std::memcpy(rgb, img->rgb.data(), img->rgb.size());
  else
    std::memset(rgb, 0, size_t(w) * size_t(h) * 3);
  return r;
}

void view_changed(void* user) { Update_Main(GTK_WIDGET(user)); }

void view_pointer(void* user, int sx, int sy, int inside) {
  GtkWidget* win = GTK_WIDGET(user);
  std::string pos, pix;
  if (inside) {
    int w, h;
    gtk_image_viewer_get_size(canvas(win), &w, &h);
    view_readout(Get_Viewinfo_db(win), Get_Picinfo_db(win), w, h, sx, sy, &pos, &pix);
    int px, py;
    if (view_scr2pic(Get_Viewinfo_db(win), Get_Picinfo_db(win), w, h, sx, sy, &px, &py))
      g_object_set_data(G_OBJECT(win), "pava_cursor_line", GINT_TO_POINTER(py));
  }
  Set_Entry(win, "!Position", "%s", pos.c_str());
  Set_Entry(win, "!Pixel", "%s", pix.c_str());
}

// configure_event_main: the viewer renewed its buffer; draw it again.
void configure_event_main(void* user, int, int) { Update_Main(GTK_WIDGET(user)); }

// ---- Menu callbacks ----

void on_close_window(GtkWidget* w, gpointer) { gtk_widget_destroy(sgtk_window_of(w)); }

void after_open(GtkWidget* win) {
  PICINFO* pic = Get_Picinfo_db(win);
  if (pic->fp) view_init(pic, Get_Viewinfo_db(win));
  gtk_window_set_title(GTK_WINDOW(win), main_title(pic).c_str());
  sync_menu_items(win);
  sgtk_set_sensitive(win, "File/Close", pic->fp != nullptr);
  if (Get_Button(win, "View/Palette/Grey_Palette") == 1)
    load_greyscale(win, nullptr);
  else
    load_palette(win, nullptr);
  Update_Main(win);
}

// file_ok_sel: opens the chosen file and reports failures in message boxes.
void file_ok_sel(GtkWidget* win, const char* name) {
  PICINFO* pic = Get_Picinfo_db(win);
  VIEWINFO* view = Get_Viewinfo_db(win);
  close_picfile(pic);
  gtk_image_viewer_clear(canvas(win));
  int r = pava::copy_text(pic->file_name, name) ? open_file(pic, view, win, 0) : 'o';
  if (!r) bind_picture_orbit(pic);
  if (r) {
    for (const std::string& m : open_file_messages(r, pic))
      Create_Message(win, "Error", "%s", m.c_str());
    close_picfile(pic);
  }
  after_open(win);
}

void on_open_response(GtkWidget* dialog, gint response, gpointer data) {
  GtkWidget* win = GTK_WIDGET(data);
  gchar* folder = gtk_file_chooser_get_current_folder(GTK_FILE_CHOOSER(dialog));
  if (folder) sgtk_state_set("Open/folder", folder);
  g_free(folder);
  gchar* name = nullptr;
  if (response == GTK_RESPONSE_ACCEPT)
    name = gtk_file_chooser_get_filename(GTK_FILE_CHOOSER(dialog));
  sgtk_state_store(dialog);
  gtk_widget_destroy(dialog);
  if (name) file_ok_sel(win, name);
  g_free(name);
}

void add_filter(GtkWidget* chooser, const char* title, const char* const* patterns) {
  GtkFileFilter* f = gtk_file_filter_new();
  gtk_file_filter_set_name(f, title);
  for (; *patterns; patterns++) gtk_file_filter_add_pattern(f, *patterns);
  gtk_file_chooser_add_filter(GTK_FILE_CHOOSER(chooser), f);
}

void menu_open(GtkWidget* item, const char*) {
  GtkWidget* win = main_window(item);
  if (GtkWidget* old = Find_Window("Open")) {
    gtk_window_present(GTK_WINDOW(old));
    return;
  }
  GtkWidget* d = gtk_file_chooser_dialog_new("Open", GTK_WINDOW(win), GTK_FILE_CHOOSER_ACTION_OPEN,
                                             GTK_STOCK_CANCEL, GTK_RESPONSE_CANCEL, GTK_STOCK_OPEN,
                                             GTK_RESPONSE_ACCEPT, nullptr);
  gtk_widget_set_name(d, "Open");
  static const char* const kAll[] = {"*", nullptr};
  static const char* const kRaw[] = {"*.hpt", "*.HPT", "*.C10", "*.raw16",
                                     "*.hrp", "*.dat", "*.bin", nullptr};
  static const char* const kImages[] = {"*.gif", "*.pgm", "*.ppm", "*.jpg", "*.ras", nullptr};
  add_filter(d, "All files", kAll);
  add_filter(d, "Recordings", kRaw);
  add_filter(d, "Pictures", kImages);
  // The remembered folder, else the current one (never the "Recently Used"
  // list, which has no folder to type a name into).
  std::string folder = sgtk_state_get("Open/folder");
  if (folder.empty() || !g_file_test(folder.c_str(), G_FILE_TEST_IS_DIR)) {
    gchar* cwd = g_get_current_dir();
    folder = cwd;
    g_free(cwd);
  }
  gtk_file_chooser_set_current_folder(GTK_FILE_CHOOSER(d), folder.c_str());
  sgtk_state_restore(d);
  g_signal_connect(d, "response", G_CALLBACK(on_open_response), win);
  gtk_widget_show_all(d);
}

// ---- "View/Film...": the files of the picture's folder one after the other ----

struct Film {
  std::vector<std::string> frames;
  int index = -1;
  guint timer = 0;
};

Film* film_of() {
  GtkWidget* dlg = Find_Window("Film");
  return dlg ? static_cast<Film*>(g_object_get_data(G_OBJECT(dlg), "pava_film")) : nullptr;
}

void film_show(int step) {
  Film* f = film_of();
  GtkWidget* win = Find_Window(kMain);
  if (!f || !win) return;
  f->index = film_step(f->index, step, int(f->frames.size()));
  if (f->index < 0) return;
  const std::string& name = f->frames[size_t(f->index)];
  gchar* base = g_path_get_basename(name.c_str());
  Set_Entry(Find_Window("Film"), "!File", "%d/%d %s", f->index + 1, int(f->frames.size()), base);
  g_free(base);
  file_ok_sel(win, name.c_str());
}

gboolean film_tick(gpointer) {
  film_show(1);
  return TRUE;
}

void film_stop(Film* f) {
  if (f && f->timer) g_source_remove(f->timer);
  if (f) f->timer = 0;
}

void on_film_next(GtkWidget*, gpointer) { film_show(1); }
void on_film_prev(GtkWidget*, gpointer) { film_show(-1); }
void on_film_play(GtkWidget* w, gpointer) {
  Film* f = film_of();
  if (!f) return;
  film_stop(f);
  if (gtk_toggle_button_get_active(GTK_TOGGLE_BUTTON(w))) {
    double s = sgtk_get_value(w, "^Delay (s)");
    f->timer = g_timeout_add(guint(std::max(0.2, s) * 1000), film_tick, nullptr);
  }
}

void menu_film(GtkWidget* item, const char*) {
  GtkWidget* win = main_window(item);
  if (GtkWidget* old = Find_Window("Film")) {
    gtk_window_present(GTK_WINDOW(old));
    return;
  }
  PICINFO* pic = Get_Picinfo_db(win);
  auto* film = new Film();
  gchar* folder = pic->file_name[0] ? g_path_get_dirname(pic->file_name) : g_get_current_dir();
  film->frames = film_list(folder);
  g_free(folder);
  film->index = film_index(film->frames, pic->file_name);
  GtkWidget* dlg = sgtk_window(
      "Film", sgtk_box(true, {sgtk_item(sg_entry("!File", 40)),
                              sgtk_row({sg_button("<<", G_CALLBACK(on_film_prev)),
                                        sg_button(">>", G_CALLBACK(on_film_next)),
                                        sg_toggle("Play", G_CALLBACK(on_film_play)),
                                        sg_spin("^Delay (s)", 2, 0.2, 60, 0.2, 1),
                                        sg_button("Close", G_CALLBACK(on_close_window))})}));
  g_object_set_data_full(G_OBJECT(dlg), "pava_film", film, [](gpointer p) {
    auto* f = static_cast<Film*>(p);
    film_stop(f);
    delete f;
  });
  Set_Entry(dlg, "!File", "%d files", int(film->frames.size()));
  gtk_window_set_transient_for(GTK_WINDOW(dlg), GTK_WINDOW(win));
  gtk_widget_show_all(dlg);
}

void menu_close(GtkWidget* item, const char*) {
  GtkWidget* win = main_window(item);
  PICINFO* pic = Get_Picinfo_db(win);
  close_picfile(pic);
  pic->file_name[0] = '\0';
  gtk_image_viewer_clear(canvas(win));
  gtk_window_set_title(GTK_WINDOW(win), kMain);
  Set_Entry(win, "!Satellite", "%s", "");
  sgtk_set_sensitive(win, "File/Close", 0);
}

// "File/File info...": the picture's type, satellite, size, channels, times,
// orbit validity and firmware in a window of its own (made anew each time).
void menu_file_info(GtkWidget* item, const char*) {
  GtkWidget* win = main_window(item);
  if (GtkWidget* old = Find_Window("File info")) gtk_widget_destroy(old);
  GtkWidget* content = gtk_vbox_new(FALSE, 2);
  gtk_box_pack_start(GTK_BOX(content), sgtk_item(sg_list("Info", "Item|Value")), TRUE, TRUE, 0);
  gtk_box_pack_start(GTK_BOX(content), sgtk_row({sg_button("Close", G_CALLBACK(on_close_window))}),
                     FALSE, FALSE, 0);
  GtkWidget* info = sgtk_window("File info", content);
  GtkWidget* list = Find_Widget(info, "Info");
  for (const auto& row : file_info_rows(Get_Picinfo_db(win)))
    sgtk_list_append(list, {row.first, row.second});
  gtk_window_set_default_size(GTK_WINDOW(info), 420, 320);
  gtk_window_set_transient_for(GTK_WINDOW(info), GTK_WINDOW(win));
  gtk_widget_show_all(info);
}

// "Edit/File header...": the decoded frame header of the line last under the
// mouse (the first line before the mouse was on the picture).
void menu_file_header(GtkWidget* item, const char*) {
  GtkWidget* win = main_window(item);
  if (GtkWidget* old = Find_Window("File header")) gtk_widget_destroy(old);
  GtkWidget* content = gtk_vbox_new(FALSE, 2);
  gtk_box_pack_start(GTK_BOX(content), sgtk_item(sg_list("Header", "Item|Value")), TRUE, TRUE, 0);
  gtk_box_pack_start(GTK_BOX(content), sgtk_row({sg_button("Close", G_CALLBACK(on_close_window))}),
                     FALSE, FALSE, 0);
  GtkWidget* dlg = sgtk_window("File header", content);
  GtkWidget* list = Find_Widget(dlg, "Header");
  int line = GPOINTER_TO_INT(g_object_get_data(G_OBJECT(win), "pava_cursor_line"));
  for (const auto& row : framehdr_rows(Get_Picinfo_db(win), Get_Viewinfo_db(win), line))
    sgtk_list_append(list, {row.first, row.second});
  gtk_window_set_default_size(GTK_WINDOW(dlg), 420, 360);
  gtk_window_set_transient_for(GTK_WINDOW(dlg), GTK_WINDOW(win));
  gtk_widget_show_all(dlg);
}

// "Edit/Kepler...": a changed element or offset takes effect at once: the
// positions are computed again and the picture redrawn.
void on_kepler_field(GtkWidget* w, gpointer data) {
  GtkWidget* win = Find_Window(kMain);
  if (!win) return;
  PICINFO* pic = Get_Picinfo_db(win);
  if (kepler_set(pic, static_cast<const char*>(data),
                 gtk_spin_button_get_value(GTK_SPIN_BUTTON(w))) != 1)
    return;
  if (pic->orbit.valid) add_subsatpos(pic);
  Update_Main(win);
}

void menu_kepler(GtkWidget* item, const char*) {
  GtkWidget* win = main_window(item);
  if (GtkWidget* old = Find_Window("Kepler")) gtk_widget_destroy(old);
  PICINFO* pic = Get_Picinfo_db(win);
  static std::vector<std::string> labels;  // the controls' names outlive the window
  if (labels.empty())
    for (const KEPLER_FIELD* f = kepler_fields(); f->name; f++)
      labels.push_back(std::string("^") + f->name);
  std::vector<SGTK_ITEM> items;
  int i = 0;
  for (const KEPLER_FIELD* f = kepler_fields(); f->name; f++, i++)
    items.push_back(sg_spin(labels[size_t(i)].c_str(), kepler_get(pic, f->name), f->min, f->max,
                            f->step, f->digits, G_CALLBACK(on_kepler_field),
                            const_cast<char*>(f->name)));
  items.push_back(sg_button("Close", G_CALLBACK(on_close_window)));
  GtkWidget* dlg = sgtk_window(
      "Kepler", sgtk_box(true, {gtk_label_new(pic->kepler.name), sgtk_row(items, true)}));
  gtk_window_set_transient_for(GTK_WINDOW(dlg), GTK_WINDOW(win));
  gtk_widget_show_all(dlg);
}

void menu_preferences(GtkWidget* item, const char*) {
  if (GtkWidget* win = main_window(item)) preferences_open(win);
}

void menu_quit(GtkWidget* item, const char*) {
  GtkWidget* win = main_window(item);
  sgtk_state_store(win);
  gtk_widget_destroy(win);
}

void menu_prog_info(GtkWidget* item, const char*) {
  Create_Message(item, "Program info",
                 "Pava\nRelease: %s\nWeather satellite program for HRPT/CHRPT/HRI.", "2023.3");
}

// Menu_Viewbuts: the View check items set their VIEWINFO flag.
void Menu_Viewbuts(GtkWidget* item, const char* path) {
  GtkWidget* win = main_window(item);
  if (!win || syncing(win)) return;
  std::string refusal;
  int on = gtk_check_menu_item_get_active(GTK_CHECK_MENU_ITEM(item));
  int r = view_item_apply(path, on, Get_Picinfo_db(win), Get_Viewinfo_db(win), &refusal);
  if (r == 1) {
    gtk_check_menu_item_set_active(GTK_CHECK_MENU_ITEM(item), FALSE);
    Create_Message(win, "Error", "%s", refusal.c_str());
    return;
  }
  Update_Main(win);
}

// "Zoom/Values...": the zoom factors and origin, set with "Apply".
void on_zoom_apply(GtkWidget* w, gpointer) {
  GtkWidget* win = Find_Window(kMain);
  if (!win) return;
  int sw, sh;
  gtk_image_viewer_get_size(canvas(win), &sw, &sh);
  zoom_set(Get_Viewinfo_db(win), Get_Picinfo_db(win), sw, sh, float(sgtk_get_value(w, "^zx")),
           float(sgtk_get_value(w, "^zy")), int(sgtk_get_value(w, "^ox")),
           int(sgtk_get_value(w, "^oy")));
  Update_Main(win);
}

void menu_zoom_values(GtkWidget* item, const char*) {
  GtkWidget* win = main_window(item);
  if (GtkWidget* old = Find_Window("Zoom values")) gtk_widget_destroy(old);
  const ZOOMVAL& z = Get_Viewinfo_db(win)->zval;
  GtkWidget* dlg = sgtk_window(
      "Zoom values",
      sgtk_row({sg_spin("^zx", z.zx, 1, 1000, 0.5, 2), sg_spin("^zy", z.zy, 1, 1000, 0.5, 2),
                sg_spin("^ox", z.ox, 0, 100000, 1, 0), sg_spin("^oy", z.oy, 0, 100000, 1, 0),
                sg_button("Apply", G_CALLBACK(on_zoom_apply)),
                sg_button("Close", G_CALLBACK(on_close_window))},
               true));
  gtk_window_set_transient_for(GTK_WINDOW(dlg), GTK_WINDOW(win));
  gtk_widget_show_all(dlg);
}

// Menu_Zoombuts: the Zoom items act as their keys.
void Menu_Zoombuts(GtkWidget* item, const char* path) {
  GtkWidget* win = main_window(item);
  if (!win) return;
  int key = zoom_key_of_path(path);
  if (key) gtk_image_viewer_zoom(canvas(win), key);
}

void menu_channel(GtkWidget* item, const char* path) {
  GtkWidget* win = main_window(item);
  if (!win || syncing(win) || !gtk_check_menu_item_get_active(GTK_CHECK_MENU_ITEM(item))) return;
  if (view_select_channel(Get_Viewinfo_db(win), view_channel_of_path(path)) == 0) Update_Main(win);
}

void menu_lum(GtkWidget* item, const char*) {
  if (GtkWidget* win = main_window(item)) lum_window_open(win);
}
void on_lum_button(GtkWidget* w, gpointer) { menu_lum(w, nullptr); }
void update_lum(REDRAW_CTX*) { lum_window_update(); }

void menu_save(GtkWidget* item, const char*) {
  if (GtkWidget* win = main_window(item)) save_window_open(win);
}

void menu_channel_map(GtkWidget* item, const char*) {
  if (GtkWidget* win = main_window(item)) map_channels_open(win);
}

// ---- Display controls ----

// "CMap A/B/C": stored map 1..3 of the picture's family, in false colour.
void on_cmap(GtkWidget* w, gpointer choice) {
  GtkWidget* win = main_window(w);
  if (!win || syncing(win)) return;
  VIEWINFO* view = Get_Viewinfo_db(win);
  PICINFO* pic = Get_Picinfo_db(win);
  float clum = clrmap_choose(view, clrmap_family(pic->sat_type), GPOINTER_TO_INT(choice),
                             float(sgtk_get_value(win, "^Clum")));
  sync_menu_items(win);
  g_object_set_data(G_OBJECT(win), kSyncing, GINT_TO_POINTER(1));
  sgtk_set_value(win, "^Clum", clum);
  g_object_set_data(G_OBJECT(win), kSyncing, nullptr);
  map_channels_sync();
  Update_Main(win);
}

void on_clum(GtkWidget* w, gpointer) {
  GtkWidget* win = main_window(w);
  if (syncing(win)) return;
  clrmap_choose(Get_Viewinfo_db(win), clrmap_family(Get_Picinfo_db(win)->sat_type), 3,
                float(gtk_spin_button_get_value(GTK_SPIN_BUTTON(w))));
  Update_Main(win);
}

void on_gamma(GtkWidget* w, gpointer) {
  GtkWidget* win = main_window(w);
  if (syncing(win)) return;
  Get_Viewinfo_db(win)->gamma = float(gtk_spin_button_get_value(GTK_SPIN_BUTTON(w)));
  Update_Main(win);
}

// ---- The menu table ----

const SGTK_MENU kMenu[] = {
    {"File/Open...", SGM_ITEM, menu_open, "<control>o"},
    {"File/Close", SGM_ITEM, menu_close, nullptr},
    {"File/Save as...", SGM_ITEM, menu_save, nullptr},
    {"File/File info...", SGM_ITEM, menu_file_info, nullptr},
    {"File/separator", SGM_SEPARATOR, nullptr, nullptr},
    {"File/Quit", SGM_ITEM, menu_quit, "<control>q"},
    {"Edit/File header...", SGM_ITEM, menu_file_header, nullptr},
    {"Edit/Kepler...", SGM_ITEM, menu_kepler, nullptr},
    {"Edit/separator", SGM_SEPARATOR, nullptr, nullptr},
    {"Edit/Preferences...", SGM_ITEM, menu_preferences, nullptr},
    {"View/North bound", SGM_CHECK, Menu_Viewbuts, nullptr},
    {"View/Grid", SGM_CHECK, Menu_Viewbuts, nullptr},
    {"View/Coast", SGM_CHECK, Menu_Viewbuts, nullptr},
    {"View/Position XY", SGM_CHECK, Menu_Viewbuts, nullptr},
    {"View/Invert", SGM_CHECK, Menu_Viewbuts, nullptr},
    {"View/Temperature", SGM_CHECK, Menu_Viewbuts, nullptr},
    {"View/Linearize", SGM_CHECK, Menu_Viewbuts, nullptr},
    {"View/Aspect", SGM_CHECK, Menu_Viewbuts, nullptr},
    {"View/Despeckle", SGM_CHECK, Menu_Viewbuts, nullptr},
    {"View/Destrip metop, fy3", SGM_CHECK, Menu_Viewbuts, nullptr},
    {"View/Reed Solomon", SGM_CHECK, Menu_Viewbuts, nullptr},
    {"View/Mark faulty lines", SGM_CHECK, Menu_Viewbuts, nullptr},
    {"View/Skip faulty lines", SGM_CHECK, Menu_Viewbuts, nullptr},
    {"View/Set skip/Use Pre sync", SGM_CHECK, Menu_Viewbuts, nullptr},
    {"View/Set skip/Use Post sync", SGM_CHECK, Menu_Viewbuts, nullptr},
    {"View/Palette/Load_Palette", SGM_RADIO, load_palette, nullptr},
    {"View/Palette/Grey_Palette", SGM_RADIO, load_greyscale, nullptr},
    {"View/Lum...", SGM_ITEM, menu_lum, nullptr},
    {"View/Channel_map...", SGM_ITEM, menu_channel_map, nullptr},
    {"View/Film...", SGM_ITEM, menu_film, nullptr},
    {"Zoom/100% (f)", SGM_ITEM, Menu_Zoombuts, nullptr},
    {"Zoom/In (i)", SGM_ITEM, Menu_Zoombuts, nullptr},
    {"Zoom/Out (o)", SGM_ITEM, Menu_Zoombuts, nullptr},
    {"Zoom/Var (z)", SGM_ITEM, Menu_Zoombuts, nullptr},
    {"Zoom/Fix (ctrl)", SGM_ITEM, Menu_Zoombuts, nullptr},
    {"Zoom/Last (l)", SGM_ITEM, Menu_Zoombuts, nullptr},
    {"Zoom/dx->dy (c)", SGM_ITEM, Menu_Zoombuts, nullptr},
    {"Zoom/dy->dx (C)", SGM_ITEM, Menu_Zoombuts, nullptr},
    {"Zoom/zx->zy", SGM_ITEM, Menu_Zoombuts, nullptr},
    {"Zoom/zy->zx", SGM_ITEM, Menu_Zoombuts, nullptr},
    {"Zoom/Values...", SGM_ITEM, menu_zoom_values, nullptr},
    {"Record/(A)HRPT...", SGM_ITEM, menu_record_hrpt, nullptr},
    {"Record/IQTest...", SGM_ITEM, Menu_Rec_IQTest, nullptr},
    {"Channel/False clr", SGM_RADIO, menu_channel, nullptr},
    {"Channel/Ch1", SGM_RADIO, menu_channel, nullptr},
    {"Channel/Ch2", SGM_RADIO, menu_channel, nullptr},
    {"Channel/Ch3", SGM_RADIO, menu_channel, nullptr},
    {"Channel/Ch4", SGM_RADIO, menu_channel, nullptr},
    {"Channel/Ch5", SGM_RADIO, menu_channel, nullptr},
    {"Channel/Ch6", SGM_RADIO, menu_channel, nullptr},
    {"Channel/Ch7", SGM_RADIO, menu_channel, nullptr},
    {"Channel/Ch8", SGM_RADIO, menu_channel, nullptr},
    {"Channel/Ch9", SGM_RADIO, menu_channel, nullptr},
    {"Channel/Ch10", SGM_RADIO, menu_channel, nullptr},
    {"Help/Prog info", SGM_ITEM, menu_prog_info, nullptr},
    {"Help/Test interface", SGM_ITEM, Menu_Test2, nullptr},
    {"Help/Test Metop", SGM_ITEM, Menu_MetopTest, nullptr},
    {"Help/Manually tune", SGM_ITEM, Menu_Tuner, nullptr},
};

void on_destroy(GtkWidget* w, gpointer) {
  gtk_main_quit();
  (void)w;
}

// The picture's keys work whenever the viewer page is in front, unless a text
// field has the focus (it needs the letters).
gboolean on_window_key(GtkWidget* win, GdkEventKey* ev, gpointer) {
  if (ev->state & (GDK_CONTROL_MASK | GDK_MOD1_MASK)) return FALSE;
  GtkWidget* focus = gtk_window_get_focus(GTK_WINDOW(win));
  if (focus && GTK_IS_EDITABLE(focus) && gtk_editable_get_editable(GTK_EDITABLE(focus)))
    return FALSE;
  if (!ev->string || !ev->string[0] || !std::strchr("fiolcCz", ev->string[0]) || ev->string[1])
    return FALSE;
  GtkWidget* area = canvas(win);
  if (!area || !gtk_widget_get_realized(area) || !gtk_widget_get_mapped(area) || focus == area)
    return FALSE;
  return gtk_widget_event(area, reinterpret_cast<GdkEvent*>(ev));
}

gboolean on_delete(GtkWidget* w, GdkEvent*, gpointer) {
  sgtk_state_store(w);
  return FALSE;
}

GtkWidget* display_controls() {
  return sgtk_row({
      sg_button("Lum thr.", G_CALLBACK(on_lum_button)),
      sg_button("CMap A", G_CALLBACK(on_cmap), GINT_TO_POINTER(0)),
      sg_button("CMap B", G_CALLBACK(on_cmap), GINT_TO_POINTER(1)),
      sg_button("CMap C", G_CALLBACK(on_cmap), GINT_TO_POINTER(2)),
      sg_spin("^Clum", 1.0, 0.1, 1.0, 0.05, 2, G_CALLBACK(on_clum)),
      sg_entry("!Position", 18),
      sg_entry("!Pixel", 8),
      sg_spin("^Gamma", 1.0, 0.2, 5.0, 0.1, 1, G_CALLBACK(on_gamma)),
      sg_entry("!Satellite", 10),
  });
}

}  // namespace

GtkWidget* make_gui(PICINFO* pic, VIEWINFO* view, RECORDINFO* rec) {
  // 1. The window, sized from the preferences (natural size when both are 0).
  GtkWidget* window = sgtk_window(kMain, nullptr);
  if (!window) fatal_error();
  int w = prefs.main_wnd_w, h = prefs.main_wnd_h;
  if (w == 0 && h == 0) w = h = -1;
  gtk_window_set_default_size(GTK_WINDOW(window), w, h);
  g_signal_connect(window, "delete-event", G_CALLBACK(on_delete), nullptr);
  g_signal_connect(window, "destroy", G_CALLBACK(on_destroy), nullptr);
  g_signal_connect(window, "key-press-event", G_CALLBACK(on_window_key), nullptr);
  g_object_set_data(G_OBJECT(window), "pava_pci", pic);
  g_object_set_data(G_OBJECT(window), "pava_vwi", view);
  g_object_set_data(G_OBJECT(window), "pava_rdi", rec);
  g_object_set_data_full(G_OBJECT(window), "pava_rgb", new RGBIMAGE(),
                         [](gpointer p) { delete static_cast<RGBIMAGE*>(p); });
  g_object_set_data_full(G_OBJECT(window), "pava_draw_status", new int(0),
                         [](gpointer p) { delete static_cast<int*>(p); });

  auto* ctx = new REDRAW_CTX();
  ctx->pic = pic;
  ctx->view = view;
  ctx->add_idle = add_idle;
  ctx->correct_zoom = correct_zoom;
  ctx->draw = draw_canvas;
  ctx->draw_failed = draw_failed;
  ctx->update_lum = update_lum;
  ctx->user = window;
  g_object_set_data_full(G_OBJECT(window), "pava_redraw", ctx, [](gpointer p) {
    // A redraw still queued must not run on a freed record.
    while (g_idle_remove_by_data(p)) {
    }
    delete static_cast<REDRAW_CTX*>(p);
  });

  // 2.-3. Menu bar and display controls.
  GtkWidget* menubar = sgtk_menubar(window, kMenu, int(G_N_ELEMENTS(kMenu)));

  // 4. The drawing area.
  static const IMAGE_VIEWER_OPS ops = {render_view, view_changed, view_pointer,
                                       configure_event_main};
  GtkWidget* area = gtk_image_viewer_new(pic, view, &ops, window);
  gtk_widget_set_size_request(area, 640, 480);
  gtk_widget_set_name(area, "GTK_DRAWING_AREA");
  g_object_set_data(G_OBJECT(area), "sgtk_id", const_cast<char*>(kCanvas));
  g_object_set_data(G_OBJECT(window), "CNVS_ID2", area);

  // 5. The notebook; with sep_track_wnd the tracker has its own window.
  GtkWidget* notebook = gtk_notebook_new();
  gtk_widget_set_name(notebook, "Notebook");
  sgtk_persist_widget(notebook);  // the page in front outlives the run
  bool sep = prefs.sep_track_wnd != 0;
  auto add_page = [&](GtkWidget* page, const char* name) {
    gtk_notebook_append_page(GTK_NOTEBOOK(notebook), page, gtk_label_new(name));
  };
  add_page(area, "Viewer");
  add_page(rec_live_page(), "Live");
  if (!sep) {
    add_page(trackwnd_page(), "Tracker");
    add_page(trackwnd_map_page(), "Map");
  }
  add_page(nb_debug(), "Debug");
  if (sep) {
    GtkWidget* trk = sgtk_window("Tracker", trackwnd_window_content());
    gtk_window_set_default_size(GTK_WINDOW(trk), 500, 200);
    sgtk_set_sensitive(trk, "Add ", 0);
    gtk_window_move(GTK_WINDOW(trk), prefs.trk_wnd_x, prefs.trk_wnd_y);
    gtk_widget_show_all(trk);
  }

  GtkWidget* content = sgtk_box(true, {menubar, display_controls(), notebook}, true);
  gtk_container_add(GTK_CONTAINER(window), content);
  // A notebook turns only to shown pages: show them before the stored page
  // is restored.
  gtk_widget_show_all(content);

  // 6. Position, palette, menu items in line with the records.
  if (pic->fp) view_init(pic, view);
  sgtk_state_restore(window);
  if (prefs.main_wnd_x || prefs.main_wnd_y)
    gtk_window_move(GTK_WINDOW(window), prefs.main_wnd_x, prefs.main_wnd_y);
  gtk_window_set_title(GTK_WINDOW(window), main_title(pic).c_str());
  load_palette(window, nullptr);
  sync_menu_items(window);
  sgtk_set_sensitive(window, "File/Close", pic->fp != nullptr);
  // The picture takes the keys, when it is in front (a hidden, unrealised
  // focus widget would get key events it can't take).
  // (-1: no page chosen yet, the first one will be.)
  if (gtk_notebook_get_current_page(GTK_NOTEBOOK(notebook)) <= 0) gtk_widget_grab_focus(area);
  return window;
}

PICINFO* Get_Picinfo_db(GtkWidget* widget) {
  GtkWidget* w = main_window(widget);
  return w ? static_cast<PICINFO*>(g_object_get_data(G_OBJECT(w), "pava_pci")) : nullptr;
}
VIEWINFO* Get_Viewinfo_db(GtkWidget* widget) {
  GtkWidget* w = main_window(widget);
  return w ? static_cast<VIEWINFO*>(g_object_get_data(G_OBJECT(w), "pava_vwi")) : nullptr;
}
RECORDINFO* Get_Recordinfo_db(GtkWidget* widget) {
  GtkWidget* w = main_window(widget);
  return w ? static_cast<RECORDINFO*>(g_object_get_data(G_OBJECT(w), "pava_rdi")) : nullptr;
}

void load_palette(GtkWidget* item, const char*) {
  if (item && GTK_IS_CHECK_MENU_ITEM(item) &&
      !gtk_check_menu_item_get_active(GTK_CHECK_MENU_ITEM(item)))
    return;
  PICINFO* pic = Get_Picinfo_db(item);
  if (!pic) return;
  // A picture without a palette of its own is shown in grey.
  if (pic->clrmap.size <= 0) load_grey_clrmap(pic);
  Update_Main(item);
}

void load_greyscale(GtkWidget* item, const char*) {
  if (item && GTK_IS_CHECK_MENU_ITEM(item) &&
      !gtk_check_menu_item_get_active(GTK_CHECK_MENU_ITEM(item)))
    return;
  PICINFO* pic = Get_Picinfo_db(item);
  if (!pic) return;
  load_grey_clrmap(pic);
  Update_Main(item);
}

void sync_menu_items(GtkWidget* window) {
  GtkWidget* win = main_window(window);
  if (!win) return;
  VIEWINFO* view = Get_Viewinfo_db(win);
  PICINFO* pic = Get_Picinfo_db(win);
  g_object_set_data(G_OBJECT(win), kSyncing, GINT_TO_POINTER(1));
  for (const char* const* p = view_item_paths(); *p; p++)
    Set_Button(win, *p, view_item_state(*p, view));
  int ch = view_selected_channel(view);
  Set_Button(win, ch == 0 ? "Channel/False clr" : ("Channel/Ch" + std::to_string(ch)).c_str(), 1);
  Set_Entry(win, "!Satellite", "%10s", pic->sat_name);
  // The sliders show the record's values when it has any (a zero-filled
  // record keeps the sliders' defaults).
  if (view->gamma > 0) sgtk_set_value(win, "^Gamma", view->gamma);
  if (view->cmhc.lum > 0) sgtk_set_value(win, "^Clum", view->cmhc.lum);
  g_object_set_data(G_OBJECT(win), kSyncing, nullptr);
}

int Get_Enable_Update(GtkWidget* window) {
  REDRAW_CTX* ctx = redraw_ctx(window);
  return ctx ? ctx->enable_update : 0;
}

void Set_Enable_Update(GtkWidget* window, int on) {
  if (REDRAW_CTX* ctx = redraw_ctx(window)) ctx->enable_update = on;
}

void main_mark_start() { g_start_us = g_get_monotonic_time(); }

void Update_Main(GtkWidget* widget) { Update_Main(redraw_ctx(widget)); }
void Update_Main_Wait(GtkWidget* widget) { Update_Main_Wait(redraw_ctx(widget)); }
