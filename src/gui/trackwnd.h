// The tracker page ("Tracker" notebook page, or the window "Tracker" with
// sep_track_wnd) and the world map page ("Map"): the pass list, the tracking
// controls, the followed satellite's numbers, a time line and a compass,
// driven by the tracking cycle of src/tracking.
#pragma once
#include <gtk/gtk.h>

// The tracker page's content. Builds the satellite list from the preferences'
// element file and the first pass list; installs the GTK timer and the
// window's reporting into the tracker core.
GtkWidget* trackwnd_page();
// The world map page's content (a drawing area redrawn every few seconds).
GtkWidget* trackwnd_map_page();
// Both, scrolled, for the tracker's own window (which keeps its size).
GtkWidget* trackwnd_window_content();
