// The "Map channels" window: the false-colour map of the shown picture.
#pragma once
#include <gtk/gtk.h>

// Opens (or raises) the window for the main window's picture.
void map_channels_open(GtkWidget* main_window);
// Shows the view's current map in the window's controls (when it is open).
void map_channels_sync();
