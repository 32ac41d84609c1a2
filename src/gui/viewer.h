// The image viewer widget: a drawing area that shows an RGB buffer (width x
// height x 3 bytes) rendered by its owner for the visible screen area, and
// turns keys and mouse into zoom and scroll steps on the view's ZOOMVAL:
//   f whole picture, i / o zoom in / out about the centre, l last zoom,
//   c / C make y follow x / x follow y, z variable zoom (drag a rectangle),
//   ctrl + left / right click zoom in / out by the fixed factor at the point,
//   drag to pan, scroll wheel to scroll (with ctrl: zoom at the pointer).
// Mirroring follows the view's scan directions. The widget never draws on its
// own initiative: after a zoom or scroll step it asks its owner to redraw.
#pragma once
#include <gtk/gtk.h>

#include <cstdint>

struct PICINFO;
struct VIEWINFO;

struct IMAGE_VIEWER_OPS {
  // Renders the screen area w x h into rgb (w*h*3 bytes); returns 0 on success.
  int (*render)(void* user, uint8_t* rgb, int w, int h);
  // A zoom or scroll step changed the view: the owner requests a redraw.
  void (*changed)(void* user);
  // The pointer is at screen point (sx, sy) (inside 0: it left the widget).
  void (*pointer)(void* user, int sx, int sy, int inside);
  // The drawing area got a new size (buffer renewed).
  void (*resized)(void* user, int w, int h);
};

// Creates the viewer for the view and picture records; ops are copied.
GtkWidget* gtk_image_viewer_new(PICINFO* pic, VIEWINFO* view, const IMAGE_VIEWER_OPS* ops,
                                void* user);
// Renders the buffer through ops.render and shows it. Returns render's result.
int gtk_image_viewer_render(GtkWidget* viewer);
// Clears the picture (nothing open).
void gtk_image_viewer_clear(GtkWidget* viewer);
// Current size of the drawing area.
void gtk_image_viewer_get_size(GtkWidget* viewer, int* w, int* h);
// Runs a zoom key ('f', 'i', 'o', 'l', 'c', 'C', 'x', 'y', 'z' variable zoom,
// 'F' fixed zoom) as the key or menu item would. Returns 0, or -1 when unknown.
int gtk_image_viewer_zoom(GtkWidget* viewer, int key);
// The last rendered buffer (w*h*3 bytes) or null.
const uint8_t* gtk_image_viewer_pixels(GtkWidget* viewer, int* w, int* h);
