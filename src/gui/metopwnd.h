// The Metop test panel "Test Metop": pulls CADUs from the board in Metop mode
// and shows frame, sync and virtual-channel counts, without recording.
#pragma once
#include <gtk/gtk.h>

// Opens (or raises) the panel.
void Menu_MetopTest(GtkWidget* item, const char* path);
