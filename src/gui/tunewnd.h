// The "Tune" window: tunes the receiver by hand to the current satellite or a
// manual frequency, as absolute frequency or as an offset.
#pragma once
#include <gtk/gtk.h>

// Opens (or raises) the window.
void Menu_Tuner(GtkWidget* item, const char* path);
// Its control handler (data: unused).
void tune_func(GtkWidget* widget, gpointer data);
// Forgets the window (when it is destroyed).
void close_tunewnd(GtkWidget* widget, gpointer data);
