#include "gui/viewer.h"

#include <gdk/gdkkeysyms.h>

#include <vector>

#include "app/core/viewctl.h"
#include "display/display_types.h"
#include "formats/picinfo.h"

namespace {

constexpr const char* kKey = "gtk_image_viewer";

struct Viewer {
  PICINFO* pic;
  VIEWINFO* view;
  IMAGE_VIEWER_OPS ops;
  void* user;
  std::vector<uint8_t> rgb;
  int w = 0, h = 0;
  bool have_picture = false;
  // Mouse drag: start and last point; a rubber band while variable zooming.
  bool dragging = false;
  int x0 = 0, y0 = 0, x1 = 0, y1 = 0;
};

Viewer* get(GtkWidget* w) {
  return w ? static_cast<Viewer*>(g_object_get_data(G_OBJECT(w), kKey)) : nullptr;
}

void changed(Viewer* v) {
  if (v->ops.changed) v->ops.changed(v->user);
}

void set_cursor(GtkWidget* area, GdkCursorType type, bool on) {
  if (!gtk_widget_get_window(area)) return;
  GdkCursor* c = on ? gdk_cursor_new(type) : nullptr;
  gdk_window_set_cursor(gtk_widget_get_window(area), c);
  if (c) gdk_cursor_unref(c);
}

gboolean on_expose(GtkWidget* area, GdkEventExpose* ev, gpointer) {
  Viewer* v = get(area);
  GdkWindow* win = gtk_widget_get_window(area);
  GdkGC* gc = area->style->black_gc;
  if (v && v->have_picture && v->w > 0 && v->h > 0 &&
      v->rgb.size() == size_t(v->w) * size_t(v->h) * 3) {
    GdkRectangle r = ev->area;
    int rx1 = MIN(r.x + r.width, v->w), ry1 = MIN(r.y + r.height, v->h);
    if (rx1 > r.x && ry1 > r.y)
      gdk_draw_rgb_image(win, gc, r.x, r.y, rx1 - r.x, ry1 - r.y, GDK_RGB_DITHER_NONE,
                         v->rgb.data() + (size_t(r.y) * size_t(v->w) + size_t(r.x)) * 3, v->w * 3);
  } else {
    gdk_draw_rectangle(win, area->style->bg_gc[GTK_STATE_NORMAL], TRUE, ev->area.x, ev->area.y,
                       ev->area.width, ev->area.height);
  }
  if (v && v->dragging && v->view->zooming) {
    int x = MIN(v->x0, v->x1), y = MIN(v->y0, v->y1);
    gdk_draw_rectangle(win, area->style->white_gc, FALSE, x, y, ABS(v->x1 - v->x0),
                       ABS(v->y1 - v->y0));
  }
  return TRUE;
}

gboolean on_configure(GtkWidget* area, GdkEventConfigure* ev, gpointer) {
  Viewer* v = get(area);
  if (!v) return FALSE;
  if (ev->width != v->w || ev->height != v->h) {
    v->w = ev->width;
    v->h = ev->height;
    v->rgb.assign(size_t(v->w) * size_t(v->h) * 3, 0);
    if (v->ops.resized) v->ops.resized(v->user, v->w, v->h);
  }
  return FALSE;
}

gboolean on_key(GtkWidget* area, GdkEventKey* ev, gpointer) {
  int key = 0;
  switch (ev->keyval) {
    case GDK_f:
      key = 'f';
      break;
    case GDK_i:
      key = 'i';
      break;
    case GDK_o:
      key = 'o';
      break;
    case GDK_l:
      key = 'l';
      break;
    case GDK_c:
      key = 'c';
      break;
    case GDK_C:
      key = 'C';
      break;
    case GDK_z:
      key = 'z';
      break;
    default:
      return FALSE;
  }
  // Keys with ctrl belong to the menu accelerators.
  if (ev->state & (GDK_CONTROL_MASK | GDK_MOD1_MASK)) return FALSE;
  return gtk_image_viewer_zoom(area, key) == 0;
}

gboolean on_press(GtkWidget* area, GdkEventButton* ev, gpointer) {
  Viewer* v = get(area);
  gtk_widget_grab_focus(area);
  if (!v || ev->type != GDK_BUTTON_PRESS) return FALSE;
  bool fixed = (ev->state & GDK_CONTROL_MASK) || v->view->fixzooming;
  if (fixed && (ev->button == 1 || ev->button == 3)) {
    float f = zoom_step(v->view);
    zoom_at(v->view, v->pic, v->w, v->h, int(ev->x), int(ev->y), ev->button == 1 ? f : 1 / f);
    changed(v);
    return TRUE;
  }
  if (ev->button == 1) {
    v->dragging = true;
    v->x0 = v->x1 = int(ev->x);
    v->y0 = v->y1 = int(ev->y);
    return TRUE;
  }
  return FALSE;
}

gboolean on_motion(GtkWidget* area, GdkEventMotion* ev, gpointer) {
  Viewer* v = get(area);
  if (!v) return FALSE;
  int x = int(ev->x), y = int(ev->y);
  if (v->ops.pointer) v->ops.pointer(v->user, x, y, 1);
  if (v->dragging) {
    if (v->view->zooming) {
      v->x1 = x;
      v->y1 = y;
      gtk_widget_queue_draw(area);
    } else if (x != v->x1 || y != v->y1) {
      zoom_pan(v->view, v->pic, v->w, v->h, x - v->x1, y - v->y1);
      v->x1 = x;
      v->y1 = y;
      changed(v);
    }
  }
  return TRUE;
}

gboolean on_release(GtkWidget* area, GdkEventButton* ev, gpointer) {
  Viewer* v = get(area);
  if (!v || ev->button != 1 || !v->dragging) return FALSE;
  v->dragging = false;
  if (v->view->zooming) {
    zoom_rect(v->view, v->pic, v->w, v->h, v->x0, v->y0, int(ev->x), int(ev->y));
    v->view->zooming = 0;
    set_cursor(area, GDK_CROSSHAIR, false);
    changed(v);
  }
  return TRUE;
}

gboolean on_leave(GtkWidget*, GdkEventCrossing*, gpointer data) {
  auto* v = static_cast<Viewer*>(data);
  if (v->ops.pointer) v->ops.pointer(v->user, 0, 0, 0);
  return FALSE;
}

gboolean on_scroll(GtkWidget* area, GdkEventScroll* ev, gpointer) {
  Viewer* v = get(area);
  if (!v) return FALSE;
  bool up = ev->direction == GDK_SCROLL_UP, down = ev->direction == GDK_SCROLL_DOWN;
  if (ev->state & GDK_CONTROL_MASK) {
    if (!up && !down) return FALSE;
    float f = zoom_step(v->view);
    zoom_at(v->view, v->pic, v->w, v->h, int(ev->x), int(ev->y), up ? f : 1 / f);
  } else {
    // One wheel step scrolls a tenth of the drawing area.
    int step_x = v->w / 10, step_y = v->h / 10;
    int dx = ev->direction == GDK_SCROLL_LEFT    ? step_x
             : ev->direction == GDK_SCROLL_RIGHT ? -step_x
                                                 : 0;
    int dy = up ? step_y : down ? -step_y : 0;
    zoom_pan(v->view, v->pic, v->w, v->h, dx, dy);
  }
  changed(v);
  return TRUE;
}

void on_destroy(GtkWidget*, gpointer data) { delete static_cast<Viewer*>(data); }

}  // namespace

GtkWidget* gtk_image_viewer_new(PICINFO* pic, VIEWINFO* view, const IMAGE_VIEWER_OPS* ops,
                                void* user) {
  GtkWidget* area = gtk_drawing_area_new();
  auto* v = new Viewer();
  v->pic = pic;
  v->view = view;
  if (ops) v->ops = *ops;
  v->user = user;
  g_object_set_data(G_OBJECT(area), kKey, v);
  GTK_WIDGET_SET_FLAGS(area, GTK_CAN_FOCUS);
  gtk_widget_add_events(area, GDK_BUTTON_PRESS_MASK | GDK_BUTTON_RELEASE_MASK |
                                  GDK_POINTER_MOTION_MASK | GDK_KEY_PRESS_MASK |
                                  GDK_LEAVE_NOTIFY_MASK | GDK_SCROLL_MASK);
  g_signal_connect(area, "expose-event", G_CALLBACK(on_expose), nullptr);
  g_signal_connect(area, "configure-event", G_CALLBACK(on_configure), nullptr);
  g_signal_connect(area, "key-press-event", G_CALLBACK(on_key), nullptr);
  g_signal_connect(area, "button-press-event", G_CALLBACK(on_press), nullptr);
  g_signal_connect(area, "button-release-event", G_CALLBACK(on_release), nullptr);
  g_signal_connect(area, "motion-notify-event", G_CALLBACK(on_motion), nullptr);
  g_signal_connect(area, "leave-notify-event", G_CALLBACK(on_leave), v);
  g_signal_connect(area, "scroll-event", G_CALLBACK(on_scroll), nullptr);
  g_signal_connect(area, "destroy", G_CALLBACK(on_destroy), v);
  return area;
}

int gtk_image_viewer_render(GtkWidget* viewer) {
  Viewer* v = get(viewer);
  if (!v || v->w <= 0 || v->h <= 0 || !v->ops.render) return 1;
  int r = v->ops.render(v->user, v->rgb.data(), v->w, v->h);
  v->have_picture = true;
  gtk_widget_queue_draw(viewer);
  return r;
}

void gtk_image_viewer_clear(GtkWidget* viewer) {
  Viewer* v = get(viewer);
  if (!v) return;
  v->have_picture = false;
  gtk_widget_queue_draw(viewer);
}

void gtk_image_viewer_get_size(GtkWidget* viewer, int* w, int* h) {
  Viewer* v = get(viewer);
  *w = v ? v->w : 0;
  *h = v ? v->h : 0;
}

int gtk_image_viewer_zoom(GtkWidget* viewer, int key) {
  Viewer* v = get(viewer);
  if (!v) return -1;
  if (key == 'z') {
    v->view->zooming = 1;
    v->view->fixzooming = 0;
    set_cursor(viewer, GDK_CROSSHAIR, true);
    return 0;
  }
  if (key == 'F') {
    v->view->fixzooming = 1;
    v->view->zooming = 0;
    set_cursor(viewer, GDK_CROSSHAIR, false);
    return 0;
  }
  if (key == 'f') {
    v->view->zooming = v->view->fixzooming = 0;
    set_cursor(viewer, GDK_CROSSHAIR, false);
  }
  if (zoom_key(v->view, v->pic, v->w, v->h, key) != 0) return -1;
  changed(v);
  return 0;
}

const uint8_t* gtk_image_viewer_pixels(GtkWidget* viewer, int* w, int* h) {
  Viewer* v = get(viewer);
  if (!v || !v->have_picture) return nullptr;
  *w = v->w;
  *h = v->h;
  return v->rgb.data();
}
