// The main window "Pava": menu bar, display controls, and the notebook with
// the picture viewer, the live view, the tracker, the map and the debug page.
#pragma once
#include <gtk/gtk.h>

struct PICINFO;
struct VIEWINFO;
struct RECORDINFO;

// Builds the main window with the three records attached ("pava_pci",
// "pava_vwi", "pava_rdi"); a failure ends the process through fatal_error.
GtkWidget* make_gui(PICINFO* pic, VIEWINFO* view, RECORDINFO* rec);

// The records of the window that widget belongs to (null when none).
PICINFO* Get_Picinfo_db(GtkWidget* widget);
VIEWINFO* Get_Viewinfo_db(GtkWidget* widget);
RECORDINFO* Get_Recordinfo_db(GtkWidget* widget);

// Requests a redraw of the main picture from any widget of the main window.
void Update_Main(GtkWidget* widget);
// Redraws now.
void Update_Main_Wait(GtkWidget* widget);

// The window's update flag ("Is_Canvas2").
int Get_Enable_Update(GtkWidget* window);
void Set_Enable_Update(GtkWidget* window, int on);

// Radio items of "View/Palette": load the picture's standard palette (or the
// grey scale) when they become active, then redraw.
void load_palette(GtkWidget* item, const char* path);
void load_greyscale(GtkWidget* item, const char* path);

// Brings the menu check items, the channel choice and the "Satellite" entry
// in line with the records (their callbacks are held off meanwhile).
void sync_menu_items(GtkWidget* window);

// Notes the start of the program (for the timing line of the first drawing
// under "-log").
void main_mark_start();
