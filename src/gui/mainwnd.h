// The main window "Pava".
#pragma once
#include <gtk/gtk.h>

struct PICINFO;
struct VIEWINFO;
struct RECORDINFO;

// Builds the main window with the three records attached ("pava_pci",
// "pava_vwi", "pava_rdi"); a failure ends the process through fatal_error.
GtkWidget* make_gui(PICINFO* pic, VIEWINFO* view, RECORDINFO* rec);

// Requests a redraw of the main picture from any widget of the main window.
void Update_Main(GtkWidget* widget);
// Redraws now.
void Update_Main_Wait(GtkWidget* widget);

// The window's update flag ("Is_Canvas2").
int Get_Enable_Update(GtkWidget* window);
void Set_Enable_Update(GtkWidget* window, int on);
