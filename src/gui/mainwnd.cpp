#include "gui/mainwnd.h"

#include <gdk/gdkkeysyms.h>

#include "app/core/redraw.h"
#include "app/log.h"
#include "config/prefs.h"
#include "display/display_types.h"
#include "formats/picinfo.h"

namespace {

void add_idle(int (*fn)(void*), void* data) {
  g_idle_add(reinterpret_cast<GSourceFunc>(reinterpret_cast<void*>(fn)), data);
}

REDRAW_CTX* redraw_ctx(GtkWidget* widget) {
  if (!widget) return nullptr;
  GtkWidget* top = gtk_widget_get_toplevel(widget);
  if (!top) return nullptr;
  return static_cast<REDRAW_CTX*>(g_object_get_data(G_OBJECT(top), "pava_redraw"));
}

int draw_canvas(REDRAW_CTX* ctx) {
  GtkWidget* area = static_cast<GtkWidget*>(g_object_get_data(G_OBJECT(ctx->user), "CNVS_ID2"));
  if (area) gtk_widget_queue_draw(area);
  return 0;
}

void on_quit(GtkWidget*, gpointer) { gtk_main_quit(); }

GtkWidget* build_menubar(GtkWidget* window) {
  GtkWidget* bar = gtk_menu_bar_new();
  GtkWidget* file = gtk_menu_item_new_with_label("File");
  GtkWidget* menu = gtk_menu_new();
  GtkWidget* quit = gtk_menu_item_new_with_label("Quit");
  g_signal_connect(quit, "activate", G_CALLBACK(on_quit), window);
  GtkAccelGroup* accel = gtk_accel_group_new();
  gtk_window_add_accel_group(GTK_WINDOW(window), accel);
  gtk_widget_add_accelerator(quit, "activate", accel, GDK_q, GDK_CONTROL_MASK, GTK_ACCEL_VISIBLE);
  gtk_menu_shell_append(GTK_MENU_SHELL(menu), quit);
  gtk_menu_item_set_submenu(GTK_MENU_ITEM(file), menu);
  gtk_menu_shell_append(GTK_MENU_SHELL(bar), file);
  return bar;
}

}  // namespace

GtkWidget* make_gui(PICINFO* pic, VIEWINFO* view, RECORDINFO* rec) {
  GtkWidget* window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
  if (!window) fatal_error();
  gtk_widget_set_name(window, "Pava");
  gtk_window_set_title(GTK_WINDOW(window), "Pava");
  int w = prefs.main_wnd_w, h = prefs.main_wnd_h;
  if (w == 0 && h == 0) w = h = -1;
  gtk_window_set_default_size(GTK_WINDOW(window), w, h);
  g_signal_connect(window, "destroy", G_CALLBACK(on_quit), nullptr);
  g_object_set_data(G_OBJECT(window), "pava_pci", pic);
  g_object_set_data(G_OBJECT(window), "pava_vwi", view);
  g_object_set_data(G_OBJECT(window), "pava_rdi", rec);

  auto* ctx = new REDRAW_CTX();
  ctx->pic = pic;
  ctx->view = view;
  ctx->add_idle = add_idle;
  ctx->draw = draw_canvas;
  ctx->user = window;
  g_object_set_data_full(G_OBJECT(window), "pava_redraw", ctx,
                         [](gpointer p) { delete static_cast<REDRAW_CTX*>(p); });

  GtkWidget* vbox = gtk_vbox_new(FALSE, 0);
  gtk_container_add(GTK_CONTAINER(window), vbox);
  gtk_box_pack_start(GTK_BOX(vbox), build_menubar(window), FALSE, FALSE, 0);

  GtkWidget* notebook = gtk_notebook_new();
  gtk_box_pack_start(GTK_BOX(vbox), notebook, TRUE, TRUE, 0);
  GtkWidget* area = gtk_drawing_area_new();
  gtk_widget_set_size_request(area, 640, 480);
  g_object_set_data(G_OBJECT(area), "sgtk_id", const_cast<char*>("Is_Canvas2"));
  g_object_set_data(G_OBJECT(window), "CNVS_ID2", area);
  const char* pages[] = {"Viewer", "Live", "Tracker", "Map", "Debug"};
  const char* pages_sep[] = {"Viewer", "Live", "Debug"};
  bool sep = prefs.sep_track_wnd != 0;
  int n = sep ? 3 : 5;
  for (int i = 0; i < n; i++) {
    const char* name = sep ? pages_sep[i] : pages[i];
    GtkWidget* page = i == 0 ? area : gtk_vbox_new(FALSE, 0);
    gtk_notebook_append_page(GTK_NOTEBOOK(notebook), page, gtk_label_new(name));
  }
  if (prefs.main_wnd_x || prefs.main_wnd_y)
    gtk_window_move(GTK_WINDOW(window), prefs.main_wnd_x, prefs.main_wnd_y);
  return window;
}

int Get_Enable_Update(GtkWidget* window) {
  REDRAW_CTX* ctx = redraw_ctx(window);
  return ctx ? ctx->enable_update : 0;
}

void Set_Enable_Update(GtkWidget* window, int on) {
  if (REDRAW_CTX* ctx = redraw_ctx(window)) ctx->enable_update = on;
}

void Update_Main(GtkWidget* widget) { Update_Main(redraw_ctx(widget)); }
void Update_Main_Wait(GtkWidget* widget) { Update_Main_Wait(redraw_ctx(widget)); }
