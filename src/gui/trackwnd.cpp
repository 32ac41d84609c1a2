#include "gui/trackwnd.h"

#include <cmath>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <string>
#include <vector>

#include "app/log.h"
#include "config/datadir.h"
#include "config/prefs.h"
#include "gui/sgtk.h"
#include "orbit/satdb.h"
#include "orbit/satpos.h"
#include "tracking/elements_update.h"
#include "tracking/recmap.h"
#include "tracking/tracker.h"
#include "tracking/worldmap.h"

namespace {

constexpr double kR2D = 180.0 / 3.14159265358979323846;
constexpr int kDisplayMs = 1000;  // numbers, compass and time line
constexpr int kMapEvery = 5;      // world map redrawn every 5th display tick

GtkWidget* g_page = nullptr;  // the tracker page (its window finds the widgets)
GtkWidget* g_map = nullptr;   // the world map's drawing area
SAT* g_sats = nullptr;
guint g_display_id = 0;
int g_ticks = 0;
int g_syncing = 0;  // controls set by the program, not the user
std::string g_last_sent;
std::vector<unsigned char> g_map_rgb;
int g_map_w = 0, g_map_h = 0;
std::vector<unsigned char> g_earth;  // the earth map image at the map's size
int g_earth_w = 0, g_earth_h = 0;

// ---- Lifetime ----
//
// Core calls let pending events run; the page may be destroyed (the program
// quits) inside one. The satellites and the core's lists are then released
// when the outermost call returns.
int g_busy = 0;
bool g_release = false;

void release_page() {
  run_sun(nullptr, 0);
  run_track(nullptr, nullptr);
  tracker_reset();
  tracker_timer_install(nullptr);
  g_sats = Remove_Sats(g_sats);
  glob_g.tracks = nullptr;
}

struct Busy {
  Busy() { g_busy++; }
  ~Busy() {
    if (--g_busy == 0 && g_release) {
      g_release = false;
      release_page();
    }
  }
  Busy(const Busy&) = delete;
  Busy& operator=(const Busy&) = delete;
};

// ---- GLib timeouts for the core ----

struct Timeout {
  int (*fn)(void*);
  void* data;
};
gboolean on_timeout(gpointer p) {
  auto* t = static_cast<Timeout*>(p);
  Busy busy;
  return t->fn(t->data) ? TRUE : FALSE;
}
unsigned add_timeout(int ms, int (*fn)(void*), void* data) {
  return g_timeout_add_full(G_PRIORITY_DEFAULT, guint(ms), on_timeout, new Timeout{fn, data},
                            [](gpointer p) { delete static_cast<Timeout*>(p); });
}
// An id whose handler already ended is no longer there: no complaint then.
void remove_timeout(unsigned id) {
  if (GSource* s = g_main_context_find_source_by_id(nullptr, id)) g_source_destroy(s);
}
const TRACKER_TIMER kTimer = {add_timeout, remove_timeout};

// ---- Reporting of the core ----

std::string hhmmss(const struct tm& gmt, bool with_date) {
  time_t t = timegm(const_cast<struct tm*>(&gmt)) + time_t(std::lround(prefs.utc_offset * 3600));
  struct tm x;
  gmtime_r(&t, &x);
  char buf[40];
  if (with_date)
    std::snprintf(buf, sizeof buf, "%02d-%02d %02d:%02d:%02d", x.tm_mon + 1, x.tm_mday, x.tm_hour,
                  x.tm_min, x.tm_sec);
  else
    std::snprintf(buf, sizeof buf, "%02d:%02d:%02d", x.tm_hour, x.tm_min, x.tm_sec);
  return buf;
}

void ui_entry(const char* name, const char* text) {
  if (std::strcmp(name, "Last sent:") == 0) {
    g_last_sent = text;
    if (GtkWidget* t = Find_Window("Test")) Set_Entry(t, name, "%s", text);
    return;
  }
  if (std::strcmp(name, "!Recording ") == 0) {
    if (GtkWidget* r = Find_Window("Record (A)HRPT")) Set_Entry(r, name, "%s", text);
    return;
  }
  if (g_page) Set_Entry(g_page, name, "%s", text);
}

void ui_list_rows(const TRACK* tracks) {
  GtkWidget* list = g_page ? Find_Widget(g_page, "list") : nullptr;
  if (!list) return;
  sgtk_list_clear(list);
  int n = 0;
  for (const TRACK* t = tracks; t; t = t->next, n++) {
    char elev[40], freq[20];
    std::snprintf(elev, sizeof elev, "%.0f %s %s", double(t->max_elev) * kR2D,
                  t->pass_e1_w0 ? "E" : "W", t->going_south ? "N-S" : "S-N");
    std::snprintf(freq, sizeof freq, "%.1f", t->sat ? double(t->sat->hfreq) : 0.0);
    sgtk_list_append(list, {t->sat ? t->sat->satname : "?", hhmmss(t->up_time, true), elev,
                            hhmmss(t->down_time, false), freq});
  }
  if (prefs.log) log_message("Tracker: %d passes in the list", n);
}

gboolean led_off(gpointer) {
  if (g_page) Set_Led(g_page, "Send", 0x000);
  return FALSE;
}
void ui_led(const char* name, int state) {
  if (!g_page) return;
  Set_Led(g_page, name, state ? 0x0f0 : 0x000);
  if (state == 2) g_timeout_add(150, led_off, nullptr);
}

int ui_button(const char* name, int on, int sensitive) {
  GtkWidget* any = std::strcmp(name, "Start /Stop") == 0 ? g_page : Find_Window("Record (A)HRPT");
  if (!any || !Find_Widget(any, name)) return 0;
  int was = Get_Button(any, name);
  g_syncing = 1;
  if (on >= 0) Set_Button(any, name, on);
  if (sensitive >= 0) sgtk_set_sensitive(any, name, sensitive);
  g_syncing = 0;
  if (any == g_page && on >= 0) glob_g.tracking = on;
  return was;
}

int ui_recorder_type(const char* type) {
  GtkWidget* panel = Find_Window("Record (A)HRPT");
  if (!panel || !Find_Widget(panel, type)) return -1;
  Set_Button(panel, type, 1);
  return 0;
}

void ui_event(const char* kind, const char* sat, const char* detail) {
  if (std::strcmp(kind, "rotor") == 0) return;  // every cycle
  w_dbg("Tracker: %s %s %s\n", kind, sat ? sat : "", detail);
  if (prefs.log) log_message("Tracker: %s %s %s", kind, sat ? sat : "", detail);
}

const TRACKER_UI kUi = {ui_entry, ui_list_rows, ui_led, ui_button, ui_recorder_type, ui_event};

// ---- Satellites ----

constexpr const char* kDefaultUrl =
    "https://celestrak.org/NORAD/elements/gp.php?GROUP=weather&FORMAT=tle";

// Age of the oldest set of the element file.
void show_element_age() {
  double newest = 0, oldest = 0;
  std::string path = data_file_path(prefs.kepler_file);
  if (elements_age(path.c_str(), double(std::time(nullptr)), &newest, &oldest) > 0)
    Set_Entry(g_page, "!Elements age", "%.1f days", oldest);
  else
    Set_Entry(g_page, "!Elements age", "%s", "");
}

// (Re)reads the satellites: the pattern of "^Select" when given, else the
// preferences' table.
void load_sats() {
  std::string pattern = sgtk_get_text(g_page, "^Select");
  std::string path = data_file_path(prefs.kepler_file);
  run_track(nullptr, nullptr);
  tracker_reset();
  FILE* fp = std::fopen(path.c_str(), "r");
  if (!fp) {
    g_sats = Remove_Sats(g_sats);
    Set_Entry(g_page, "!INFO pass", "NORAD-file '%s' not found", prefs.kepler_file);
    return;
  }
  std::fclose(fp);
  g_sats =
      prepare_track(g_sats, path.c_str(), pattern.empty() ? nullptr : pattern.c_str(), prefs.sats);
  if (!g_sats) {
    Set_Entry(g_page, "!INFO pass", "%s",
              "No satellites defined. See Preferences, tab 'Tracker', 'Satellite list'.");
    return;
  }
  show_element_age();
  get_newpasses(g_sats, g_page, glob_g.tracking, -1);
}

// The satellite of the selected pass, else the first listed.
SAT* current_sat() {
  if (SAT* s = tracker_followed()) return s;
  for (TRACK* t = glob_g.tracks; t; t = t->next)
    if (t->selected && t->sat) return t->sat;
  return glob_g.tracks ? glob_g.tracks->sat : g_sats;
}

// ---- Controls ----

void on_startstop(GtkWidget* w, gpointer) {
  Busy busy;
  if (g_syncing) return;
  glob_g.tracking = gtk_toggle_button_get_active(GTK_TOGGLE_BUTTON(w));
  if (glob_g.tracking)
    get_newpasses(g_sats, w, 1, -1);
  else
    run_track(w, nullptr);
}
void on_pause(GtkWidget* w, gpointer) {
  glob_g.rotor_pause = gtk_toggle_button_get_active(GTK_TOGGLE_BUTTON(w));
}
void on_reselect(GtkWidget* w, gpointer) {
  Busy busy;
  GtkWidget* list = Find_Widget(g_page, "list");
  GtkTreeModel* model;
  GtkTreeIter it;
  GtkTreeSelection* sel = list ? gtk_tree_view_get_selection(GTK_TREE_VIEW(list)) : nullptr;
  int n = 0;
  if (sel && gtk_tree_selection_get_selected(sel, &model, &it)) {
    GtkTreePath* path = gtk_tree_model_get_path(model, &it);
    n = gtk_tree_path_get_indices(path)[0];
    gtk_tree_path_free(path);
  } else {
    n = glob_g.sel_sat + 1;  // nothing chosen: the next pass
    int count = 0;
    for (TRACK* t = glob_g.tracks; t; t = t->next) count++;
    if (n >= count) n = 0;
  }
  glob_g.sat_changed = 1;
  get_newpasses(g_sats, w, glob_g.tracking, n);
}
void on_makelist(GtkWidget* w, gpointer) {
  Busy busy;
  get_newpasses(g_sats, w, glob_g.tracking, -1);
}
void on_add(GtkWidget*, gpointer) {
  Busy busy;
  load_sats();
}

// New elements from the address of "^Elements URL"; the old file stays when
// the download fails or holds none.
void on_update(GtkWidget*, gpointer) {
  Busy busy;
  std::string url = sgtk_get_text(g_page, "^Elements URL");
  if (url.empty()) url = kDefaultUrl;
  Set_Entry(g_page, "!INFO pass", "%s", "Downloading elements...");
  sgtk_drain_events();
  if (!g_page) return;
  std::string msg;
  int n = update_elements(url.c_str(), data_file_path(prefs.kepler_file).c_str(), &msg);
  if (prefs.log) log_message("Tracker: %s", msg.c_str());
  if (n > 0) load_sats();
  if (g_page) Set_Entry(g_page, "!INFO pass", "%s", msg.c_str());
}

// Tracking stops and the rotor is sent to its park position through the
// configured outputs.
void on_storm(GtkWidget*, gpointer) {
  Busy busy;
  if (glob_g.tracking) ui_button("Start /Stop", 0, -1);
  run_track(nullptr, nullptr);
  SAT park{};
  std::snprintf(park.satname, sizeof park.satname, "%s", "STORM");
  park.skip_track = 1;
  park.dir.elev = -1.0f;
  tm_s moment{};
  mom_tmms(&moment, float(glob_g.test_min) / 60.f, &prefs.tm_off);
  track_the_sat(1.f, &park, nullptr, &moment);
}
void on_sun(GtkWidget* w, gpointer) {
  run_sun(w, gtk_toggle_button_get_active(GTK_TOGGLE_BUTTON(w)));
}
void on_spin(GtkWidget* w, gpointer data) {
  int v = gtk_spin_button_get_value_as_int(GTK_SPIN_BUTTON(w));
  *static_cast<int*>(data) = v;
}
void on_test(GtkWidget*, gpointer) {
  if (GtkWidget* t = Find_Window("Test")) {
    gtk_window_present(GTK_WINDOW(t));
    return;
  }
  GtkWidget* t = sgtk_window("Test", sgtk_row({sg_entry("Last sent:", 40)}));
  Set_Entry(t, "Last sent:", "%s", g_last_sent.c_str());
  gtk_widget_show_all(t);
}

// ---- Drawing ----

gboolean on_compass_expose(GtkWidget* area, GdkEventExpose*, gpointer) {
  GtkAllocation a;
  gtk_widget_get_allocation(area, &a);
  cairo_t* cr = gdk_cairo_create(gtk_widget_get_window(area));
  double cx = a.width / 2.0, cy = a.height / 2.0, r = std::min(cx, cy) - 4;
  cairo_set_source_rgb(cr, 0.1, 0.1, 0.15);
  cairo_paint(cr);
  cairo_set_source_rgb(cr, 0.5, 0.5, 0.5);
  cairo_set_line_width(cr, 1);
  for (double f : {1.0, 2.0 / 3, 1.0 / 3}) {  // elevation 0, 30, 60
    cairo_arc(cr, cx, cy, r * f, 0, 2 * M_PI);
    cairo_stroke(cr);
  }
  cairo_move_to(cr, cx - r, cy);
  cairo_line_to(cr, cx + r, cy);
  cairo_move_to(cr, cx, cy - r);
  cairo_line_to(cr, cx, cy + r);
  cairo_stroke(cr);
  auto spot = [&](double az_deg, double el_deg, double red, double green, double blue) {
    if (el_deg < 0) el_deg = 0;
    double d = r * (90 - el_deg) / 90, az = az_deg / kR2D;
    cairo_set_source_rgb(cr, red, green, blue);
    cairo_arc(cr, cx + d * std::sin(az), cy - d * std::cos(az), 4, 0, 2 * M_PI);
    cairo_fill(cr);
  };
  if (SAT* s = current_sat()) spot(s->dir.azim * kR2D, s->dir.elev * kR2D, 1, 0, 0);
  spot(prefs.rotor.to_rotor.azim, prefs.rotor.to_rotor.elev, 0, 1, 0);
  cairo_destroy(cr);
  return TRUE;
}

// The coming passes on a time line of the next 12 hours.
gboolean on_timeline_expose(GtkWidget* area, GdkEventExpose*, gpointer) {
  GtkAllocation a;
  gtk_widget_get_allocation(area, &a);
  cairo_t* cr = gdk_cairo_create(gtk_widget_get_window(area));
  cairo_set_source_rgb(cr, 0.1, 0.1, 0.15);
  cairo_paint(cr);
  const tm_s& m = tracker_moment();
  tm_s now = m;
  if (now.tm.tm_year == 0) mom_tmms(&now, float(glob_g.test_min) / 60.f, &prefs.tm_off);
  double t0 = double(timegm(&now.tm)), span = 12 * 3600.0;
  cairo_set_source_rgb(cr, 0.5, 0.5, 0.5);
  for (int h = 0; h <= 12; h++) {
    double x = a.width * h / 12.0 + 0.5;
    cairo_move_to(cr, x, a.height - 6);
    cairo_line_to(cr, x, a.height);
  }
  cairo_stroke(cr);
  int row = 0;
  for (TRACK* t = glob_g.tracks; t; t = t->next, row++) {
    double up = double(timegm(&t->up_time)) - t0, down = double(timegm(&t->down_time)) - t0;
    if (down < 0 || up > span) continue;
    double x0 = std::max(0.0, up) / span * a.width, x1 = std::min(span, down) / span * a.width;
    if (t->selected)
      cairo_set_source_rgb(cr, 1, 0.5, 0);
    else
      cairo_set_source_rgb(cr, 0.5, 0.25, 0);
    double y = 2 + (row % 3) * (a.height - 10) / 3.0;
    cairo_rectangle(cr, x0, y, std::max(2.0, x1 - x0), (a.height - 10) / 3.0 - 2);
    cairo_fill(cr);
  }
  cairo_destroy(cr);
  return TRUE;
}

// The earth map image of the preferences at the map's size, when it exists.
void load_earth(int w, int h) {
  if (g_earth_w == w && g_earth_h == h) return;
  g_earth.clear();
  g_earth_w = w, g_earth_h = h;
  std::string path = data_file_path(prefs.earthmap_file);
  if (!prefs.earthmap_file[0] || !g_file_test(path.c_str(), G_FILE_TEST_IS_REGULAR)) return;
  GdkPixbuf* pb = gdk_pixbuf_new_from_file_at_scale(path.c_str(), w, h, FALSE, nullptr);
  if (!pb) return;
  if (gdk_pixbuf_get_width(pb) == w && gdk_pixbuf_get_height(pb) == h &&
      gdk_pixbuf_get_bits_per_sample(pb) == 8) {
    int n = gdk_pixbuf_get_n_channels(pb), stride = gdk_pixbuf_get_rowstride(pb);
    const guchar* px = gdk_pixbuf_get_pixels(pb);
    g_earth.resize(size_t(w) * size_t(h) * 3);
    for (int y = 0; y < h; y++)
      for (int x = 0; x < w; x++)
        for (int k = 0; k < 3; k++)
          g_earth[(size_t(y) * size_t(w) + size_t(x)) * 3 + size_t(k)] = px[y * stride + x * n + k];
  }
  g_object_unref(pb);
}

void render_map() {
  if (!g_map || !gtk_widget_get_mapped(g_map)) return;
  GtkAllocation a;
  gtk_widget_get_allocation(g_map, &a);
  if (a.width < 16 || a.height < 16) return;
  WMAP_OPTS o = worldmap_defaults();
  o.width = a.width;
  o.height = a.height;
  tm_s now{};
  mom_tmms(&now, float(glob_g.test_min) / 60.f, &prefs.tm_off);
  o.time = now.tm;
  o.coast = worldmap_coast("gshhs_l.b");
  if (!o.coast) o.coast = worldmap_coast(prefs.coast_file);
  load_earth(o.width, o.height);
  o.background = g_earth.empty() ? nullptr : g_earth.data();
  o.day_night = 1;
  o.shadow_fact = prefs.sunshadow ? prefs.shadow_fact : 0.5f;
  o.observer = &prefs.refpos;
  o.sats = g_sats;
  o.current = current_sat();
  o.radio_horizon_deg = prefs.radio_horizon;
  for (int i = 0; i < WC_COUNT && i < PREFS_NCOLOURS; i++) o.clr[i] = prefs.clr[i];
  // The received-passes map's range follows the observer (whole degrees).
  o.recmap = recmap_raster();
  o.recmap_lon_min = int(prefs.refpos.lon * kR2D) - 25;
  o.recmap_lat_min = int(prefs.refpos.lat * kR2D) - 25;
  if (draw_worldmap(o, &g_map_rgb) == 0) {
    g_map_w = o.width;
    g_map_h = o.height;
    gtk_widget_queue_draw(g_map);
  }
}

gboolean on_map_expose(GtkWidget* area, GdkEventExpose*, gpointer) {
  GtkAllocation a;
  gtk_widget_get_allocation(area, &a);
  if (g_map_w != a.width || g_map_h != a.height) render_map();
  if (g_map_w == a.width && g_map_h == a.height && !g_map_rgb.empty())
    gdk_draw_rgb_image(gtk_widget_get_window(area),
                       gtk_widget_get_style(area)->fg_gc[GTK_STATE_NORMAL], 0, 0, g_map_w, g_map_h,
                       GDK_RGB_DITHER_NONE, g_map_rgb.data(), g_map_w * 3);
  return TRUE;
}

// Positions, numbers, compass and time line; the map every few ticks.
gboolean on_display(gpointer) {
  if (!g_page) return FALSE;
  tm_s now{};
  mom_tmms(&now, float(glob_g.test_min) / 60.f, &prefs.tm_off);
  for (SAT* s = g_sats; s; s = s->next)
    calc_satrelpos(&s->pos, &s->dir, &prefs.refpos, s, &now, &prefs.rotor);
  if (SAT* s = current_sat()) {
    Set_Entry(g_page, "!Satellite ", "%s", s->satname);
    Set_Entry(g_page, "!Azim", "%.1f", double(s->dir.azim) * kR2D);
    Set_Entry(g_page, "!Elev", "%.1f", double(s->dir.elev) * kR2D);
  }
  const DIRECTION& to = prefs.rotor.to_rotor;
  if (prefs.rotor.use_xy)
    Set_Entry(g_page, "!Rotor", "X %.1f Y %.1f", double(to.x), double(to.y));
  else
    Set_Entry(g_page, "!Rotor", "%.1f %.1f", double(to.azim), double(to.elev));
  // The next pass and the time to it.
  double t_now = double(timegm(&now.tm));
  for (TRACK* t = glob_g.tracks; t; t = t->next) {
    double up = double(timegm(&t->up_time)) - t_now, down = double(timegm(&t->down_time)) - t_now;
    if (down < 0) continue;
    const char* name = t->sat ? t->sat->satname : "?";
    if (up <= 0) {
      Set_Entry(g_page, "!Next pass", "%s up, sets in %02d:%02d", name, int(down) / 60,
                int(down) % 60);
    } else {
      int u = int(up);
      Set_Entry(g_page, "!Next pass", "%s in %02d:%02d:%02d", name, u / 3600, u / 60 % 60, u % 60);
    }
    break;
  }
  if (GtkWidget* c = Find_Widget(g_page, "Compass")) gtk_widget_queue_draw(c);
  if (GtkWidget* c = Find_Widget(g_page, "Timeline")) gtk_widget_queue_draw(c);
  if (g_ticks++ % kMapEvery == 0) render_map();
  return TRUE;
}

void on_page_destroy(GtkWidget*, gpointer) {
  if (g_display_id) g_source_remove(g_display_id);
  g_display_id = 0;
  tracker_ui_install(nullptr);
  g_page = nullptr;
  if (g_busy)
    g_release = true;
  else
    release_page();
}

void on_map_destroy(GtkWidget*, gpointer) { g_map = nullptr; }

// Builds the first list once the page is shown (the main loop runs then). It
// only shows the passes: decoder and tuner are switched when the user starts
// tracking or picks a pass, not under a recording started from the command
// line.
gboolean first_list(gpointer) {
  if (!g_page) return FALSE;
  Busy busy;
  int decoder = prefs.auto_decoder, tuner = prefs.auto_tuner;
  prefs.auto_decoder = prefs.auto_tuner = 0;
  load_sats();
  prefs.auto_decoder = decoder;
  prefs.auto_tuner = tuner;
  return FALSE;
}

}  // namespace

GtkWidget* trackwnd_page() {
  tracker_timer_install(&kTimer);
  tracker_ui_install(&kUi);
  char times[60];
  if (prefs.utc_offset == 0.0f)
    std::snprintf(times, sizeof times, "Times: UTC");
  else
    std::snprintf(times, sizeof times, "Times: local (UTC%+.1f h)", double(prefs.utc_offset));
  static char times_label[60];
  std::snprintf(times_label, sizeof times_label, "%s", times);
  glob_g.elev_det = prefs.elev_det;
  GtkWidget* timeline = sgtk_item(sg_drawing("Timeline", 400, 40));
  g_signal_connect(timeline, "expose-event", G_CALLBACK(on_timeline_expose), nullptr);
  GtkWidget* compass = sgtk_item(sg_drawing("Compass", 150, 150));
  g_signal_connect(compass, "expose-event", G_CALLBACK(on_compass_expose), nullptr);

  GtkWidget* controls =
      sgtk_box(true, {sgtk_row({sg_toggle("Start /Stop", G_CALLBACK(on_startstop)),
                                sg_toggle("Pause /Continue", G_CALLBACK(on_pause)),
                                sg_button("Reselect", G_CALLBACK(on_reselect)),
                                sg_button("Make list", G_CALLBACK(on_makelist)),
                                sg_button("Goto storm", G_CALLBACK(on_storm)),
                                sg_check("^Track Sun", G_CALLBACK(on_sun)), sg_led("Send", 0x000),
                                sg_button("Test", G_CALLBACK(on_test))}),
                      sgtk_row({sg_spin("!Nr in list", glob_g.nr_inlist, 1, 50, 1, 0,
                                        G_CALLBACK(on_spin), &glob_g.nr_inlist),
                                sg_spin("!max. elev >", glob_g.elev_det, 0, 90, 1, 0,
                                        G_CALLBACK(on_spin), &glob_g.elev_det),
                                sg_spin("Minute offset", 0, -1440, 1440, 1, 0, G_CALLBACK(on_spin),
                                        &glob_g.test_min),
                                sg_entry("^Select", 16), sg_button("Add ", G_CALLBACK(on_add))}),
                      sgtk_row({sg_entry("!INFO pass", 22), sg_entry("!FREQ pass", 16),
                                sg_entry("!Next pass", 26)}),
                      sgtk_row({sg_entry("!Satellite ", 12), sg_entry("!Azim", 6),
                                sg_entry("!Elev", 6), sg_entry("!Rotor", 14),
                                sg_entry("^Rotor connect", 16), sg_entry("!Elements age", 10)}),
                      sgtk_row({sg_persist(sg_entry("^Elements URL", 40)),
                                sg_button("Update elements", G_CALLBACK(on_update))}),
                      sgtk_box(false, {sgtk_item(sg_label(times_label)), timeline}, true)});
  GtkWidget* list = sgtk_box(
      false, {compass, sgtk_item(sg_list("list", "Satellite|Up time|Max Elev|Down at|Freq"))},
      true);
  GtkWidget* page = sgtk_box(true, {controls, list}, true);
  gtk_widget_set_name(page, "Tracker page");
  g_page = page;
  Set_Entry(page, "^Elements URL", "%s", kDefaultUrl);  // the stored address replaces it
  g_signal_connect(page, "destroy", G_CALLBACK(on_page_destroy), nullptr);
  g_display_id = g_timeout_add(kDisplayMs, on_display, nullptr);
  g_idle_add(first_list, nullptr);
  return page;
}

GtkWidget* trackwnd_map_page() {
  GtkWidget* area = gtk_drawing_area_new();
  gtk_widget_set_name(area, "World map");
  gtk_widget_set_size_request(area, 360, 180);
  g_signal_connect(area, "expose-event", G_CALLBACK(on_map_expose), nullptr);
  g_signal_connect(area, "destroy", G_CALLBACK(on_map_destroy), nullptr);
  g_map = area;
  GtkWidget* page = sgtk_box(true, {area}, true);
  gtk_widget_set_name(page, "Map page");
  return page;
}

GtkWidget* trackwnd_window_content() {
  GtkWidget* sw = gtk_scrolled_window_new(nullptr, nullptr);
  gtk_scrolled_window_set_policy(GTK_SCROLLED_WINDOW(sw), GTK_POLICY_AUTOMATIC,
                                 GTK_POLICY_AUTOMATIC);
  gtk_scrolled_window_add_with_viewport(
      GTK_SCROLLED_WINDOW(sw), sgtk_box(true, {trackwnd_page(), trackwnd_map_page()}, true));
  return sw;
}
