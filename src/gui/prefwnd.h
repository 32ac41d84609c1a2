// "Edit/Preferences...": every preference on tabs, generated from the
// preference item list; "Apply" takes the values, "Save" also writes the file.
#pragma once
#include <gtk/gtk.h>

void preferences_open(GtkWidget* main_window);
