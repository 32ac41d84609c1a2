// The "Record IQ" window: the IQ test recorder with the board's symbol rates
// (generator and decoder dividers, VCO) and a live raw picture.
#pragma once
#include <gtk/gtk.h>

// Opens (or raises) the window; the other recorders' menu entries are made
// insensitive until it closes.
void Menu_Rec_IQTest(GtkWidget* item, const char* path);
// Command handler of the window's controls.
void Record_Raw_Commands(GtkWidget* widget, gpointer data);
