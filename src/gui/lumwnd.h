// The luminance window "Lum thr.": the histogram of the shown values with the
// luminance window marked, its minimum and maximum, automatic thresholds.
#pragma once
#include <gtk/gtk.h>

// Opens (or raises) the window for the main window's picture.
void lum_window_open(GtkWidget* main_window);
// After a drawing: histogram and controls show the view's state (when open).
void lum_window_update();
