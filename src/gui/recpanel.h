// The recorder panel "Record (A)HRPT" and the main window's live page.
#pragma once
#include <gtk/gtk.h>

// Opens the panel (or brings it to the front).
void Menu_Recorder(GtkWidget* main_window);

// The menu row "Record/(A)HRPT...".
void menu_record_hrpt(GtkWidget* item, const char* path);

// The "Live" page of the main notebook: the picture being recorded.
GtkWidget* rec_live_page();

// Opens the panel when needed and starts a recording of sat_type (1 HRPT,
// 2 NOAA20, 3 NOAA21, 4 CHRPT, 6 M2HRPT, 10 FY3-A,B, 12 FY3-C, 13 FY3-D,
// 14 METOP, 15 AQUA; a 'c' in spec forces CHRPT) with the channels of spec
// (digits, 0 = 10; 'a' all; 'g' the generator). Returns when the recording
// ends.
void Recordpp_Hrpt_Auto(GtkWidget* parent, const char* spec, int sat_type);

// The command line's recording ("hrpt:124"): the type before the colon, the
// channels after it. Returns -1 after a message when the text is wrong.
int rec_start_from_spec(GtkWidget* main_window, const char* spec);
