// The "Debug" page of the main window: the debug texts of w_dbg in "Courier
// 10", a "disabled/enabled" toggle (green on, red off), "clear" and "Save this"
// (into the first free "dbg_%d.txt" of the current directory).
#pragma once
#include <gtk/gtk.h>

// Builds the page and makes it the sink of the debug texts.
GtkWidget* nb_debug();
// Appends text to the page's text and scrolls to its end.
void debug_page_append(GtkWidget* page, const char* text);
