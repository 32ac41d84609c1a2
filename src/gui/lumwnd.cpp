#include "gui/lumwnd.h"

#include <vector>

#include "app/core/lumctl.h"
#include "display/display_types.h"
#include "display/lumcal.h"
#include "gui/mainwnd.h"
#include "gui/sgtk.h"

namespace {

constexpr const char* kWnd = "Lum thr.";
constexpr const char* kSyncing = "pava_syncing";
constexpr int kLumValues = 1024;  // entries of the histogram draw_pic fills

VIEWINFO* view_of_main() {
  GtkWidget* win = Find_Window("Pava");
  return win ? Get_Viewinfo_db(win) : nullptr;
}

gboolean on_expose(GtkWidget* area, GdkEventExpose*, gpointer) {
  VIEWINFO* view = view_of_main();
  GtkAllocation a;
  gtk_widget_get_allocation(area, &a);
  cairo_t* cr = gdk_cairo_create(gtk_widget_get_window(area));
  cairo_set_source_rgb(cr, 0, 0, 0);
  cairo_paint(cr);
  if (view) {
    std::vector<int> bars = lum_histogram_bars(view->lumstat, kLumValues, a.width, a.height);
    cairo_set_source_rgb(cr, 0.8, 0.8, 0.8);
    for (int c = 0; c < int(bars.size()); c++)
      if (bars[size_t(c)] > 0)
        cairo_rectangle(cr, c, a.height - bars[size_t(c)], 1, bars[size_t(c)]);
    cairo_fill(cr);
    // The luminance window.
    cairo_set_source_rgb(cr, 1, 0, 0);
    cairo_set_line_width(cr, 1);
    for (int v : {view->lum_min, view->lum_max}) {
      double x = lum_value_column(v, kLumValues, a.width) + 0.5;
      cairo_move_to(cr, x, 0);
      cairo_line_to(cr, x, a.height);
    }
    cairo_stroke(cr);
  }
  cairo_destroy(cr);
  return TRUE;
}

void on_limit(GtkWidget* w, gpointer) {
  GtkWidget* dlg = sgtk_window_of(w);
  if (g_object_get_data(G_OBJECT(dlg), kSyncing)) return;
  VIEWINFO* view = view_of_main();
  if (!view) return;
  int lo = int(sgtk_get_value(dlg, "^Min")), hi = int(sgtk_get_value(dlg, "^Max"));
  if (lo >= hi) return;  // an empty window draws nothing useful
  view->lum_min = lo;
  view->lum_max = hi;
  Update_Main(Find_Window("Pava"));
}

void on_auto(GtkWidget*, gpointer) {
  VIEWINFO* view = view_of_main();
  if (!view) return;
  calc_lum_thresholds(view->lumstat, kLumValues, &view->lum_min, &view->lum_max);
  lum_window_update();
  Update_Main(Find_Window("Pava"));
}

void on_full(GtkWidget*, gpointer) {
  VIEWINFO* view = view_of_main();
  if (!view) return;
  view->lum_min = 0;
  view->lum_max = kLumValues - 1;
  lum_window_update();
  Update_Main(Find_Window("Pava"));
}

void on_close(GtkWidget* w, gpointer) { gtk_widget_destroy(sgtk_window_of(w)); }

}  // namespace

void lum_window_open(GtkWidget* main_window) {
  if (GtkWidget* old = Find_Window(kWnd)) {
    gtk_window_present(GTK_WINDOW(old));
    return;
  }
  VIEWINFO* view = Get_Viewinfo_db(main_window);
  if (!view) return;
  GtkWidget* content = sgtk_box(
      true,
      {sgtk_item(sg_drawing("Histogram", 256, 120)),
       sgtk_row({sg_spin("^Min", view->lum_min, 0, kLumValues - 1, 1, 0, G_CALLBACK(on_limit)),
                 sg_spin("^Max", view->lum_max, 0, kLumValues - 1, 1, 0, G_CALLBACK(on_limit))}),
       sgtk_row({sg_button("Auto", G_CALLBACK(on_auto)), sg_button("Full", G_CALLBACK(on_full)),
                 sg_button(" Close ", G_CALLBACK(on_close))})});
  GtkWidget* dlg = sgtk_window(kWnd, content);
  g_signal_connect(Find_Widget(dlg, "Histogram"), "expose-event", G_CALLBACK(on_expose), nullptr);
  gtk_window_set_transient_for(GTK_WINDOW(dlg), GTK_WINDOW(main_window));
  gtk_widget_show_all(dlg);
}

void lum_window_update() {
  GtkWidget* dlg = Find_Window(kWnd);
  VIEWINFO* view = view_of_main();
  if (!dlg || !view) return;
  g_object_set_data(G_OBJECT(dlg), kSyncing, GINT_TO_POINTER(1));
  sgtk_set_value(dlg, "^Min", view->lum_min);
  sgtk_set_value(dlg, "^Max", view->lum_max);
  g_object_set_data(G_OBJECT(dlg), kSyncing, nullptr);
  if (GtkWidget* area = Find_Widget(dlg, "Histogram")) gtk_widget_queue_draw(area);
}
