// The Save window "Save": file type, channels, zoom, linearisation and
// overlays, target directory and name; a progress bar "Saving..." with
// "Cancel". It fills a SAVEOPTS record and leaves the work to save_picture.
#pragma once
#include <gtk/gtk.h>

// Opens (or raises) the window for the main window's picture.
void save_window_open(GtkWidget* main_window);
