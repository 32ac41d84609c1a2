// The toolkit layer: windows, rows of controls and menus built from short
// descriptions, every widget named by its label so that callbacks find it by
// window and name instead of keeping pointers. A name with a leading "!" is an
// entry or indicator, "^" a labelled input; entries and labelled inputs get a
// label with the name's text (prefix removed) in front of them.
//
// Widget states marked persistent, window positions and the file selector's
// folder are kept in the GUI-settings file "pava_gui.ini" in the home
// directory (see app/core/guistate.h).
#pragma once
#include <gtk/gtk.h>

#include <string>
#include <vector>

// Kinds of widget in a description row.
enum SGTK_KIND {
  SGK_BUTTON,
  SGK_TOGGLE,    // toggle button
  SGK_CHECK,     // check button
  SGK_RADIO,     // radio button; consecutive radios of a row form a group
  SGK_ENTRY,     // text entry (read-only when the name starts with "!")
  SGK_SPIN,      // spin button
  SGK_OPTION,    // option menu (choices "A|B|C")
  SGK_LABEL,     // plain text
  SGK_LED,       // small coloured square, colour 0xRGB
  SGK_PROGRESS,  // progress bar
  SGK_LIST,      // list with column titles "A|B"
  SGK_DRAWING,   // drawing area of a given size
  SGK_SEPARATOR,
};

// One widget of a description. Use the sg_* makers below.
struct SGTK_ITEM {
  SGTK_KIND kind;
  const char* name;
  GCallback cb;  // clicked / toggled / value-changed / changed / activate
  gpointer data;
  double val, min, max, step;  // spin; LED colour in val; entry or drawing width in val
  int digits;                  // spin decimals; drawing height
  const char* choices;         // option menu choices, list column titles
  int persist;                 // state kept in the GUI-settings file
};

SGTK_ITEM sg_button(const char* name, GCallback cb = nullptr, gpointer data = nullptr);
SGTK_ITEM sg_toggle(const char* name, GCallback cb = nullptr, gpointer data = nullptr);
SGTK_ITEM sg_check(const char* name, GCallback cb = nullptr, gpointer data = nullptr);
SGTK_ITEM sg_radio(const char* name, GCallback cb = nullptr, gpointer data = nullptr);
SGTK_ITEM sg_entry(const char* name, int width_chars, GCallback cb = nullptr,
                   gpointer data = nullptr);
SGTK_ITEM sg_spin(const char* name, double val, double min, double max, double step, int digits,
                  GCallback cb = nullptr, gpointer data = nullptr);
SGTK_ITEM sg_option(const char* name, const char* choices, GCallback cb = nullptr,
                    gpointer data = nullptr);
SGTK_ITEM sg_label(const char* name);
SGTK_ITEM sg_led(const char* name, int rgb12);
SGTK_ITEM sg_progress(const char* name);
SGTK_ITEM sg_list(const char* name, const char* titles);
SGTK_ITEM sg_drawing(const char* name, int width, int height);
SGTK_ITEM sg_separator();
// The same item with its state kept in the GUI-settings file.
SGTK_ITEM sg_persist(SGTK_ITEM item);

// A row (or column) of the described widgets.
GtkWidget* sgtk_row(const std::vector<SGTK_ITEM>& items, bool vertical = false);
// One described widget (for entries and labelled inputs: the label and the
// widget in a box; the named widget is found with Find_Widget).
GtkWidget* sgtk_item(const SGTK_ITEM& item);
// A box of the given children, packed without expansion except the last
// child when expand_last.
GtkWidget* sgtk_box(bool vertical, const std::vector<GtkWidget*>& children,
                    bool expand_last = false);

// A top-level window named and titled name, holding content; its position is
// restored from the GUI-settings file. Closing destroys it (the main window
// passes its own close handler instead).
GtkWidget* sgtk_window(const char* name, GtkWidget* content);

// ---- Menus from a table ----
enum SGTK_MKIND { SGM_ITEM, SGM_CHECK, SGM_RADIO, SGM_SEPARATOR };
// path "Menu/Sub/Item" (submenus made on demand); a separator's path names its
// menu ("File/separator"). cb gets the item and its path; for check and radio
// items it runs on every change of state. Consecutive radio items of one menu
// form a group.
using SgtkMenuCb = void (*)(GtkWidget* item, const char* path);
struct SGTK_MENU {
  const char* path;
  SGTK_MKIND kind;
  SgtkMenuCb cb;
  const char* accel;  // gtk_accelerator_parse form ("<control>q"), or null
};
// Builds the menu bar of window from n entries; every item is named by its
// path and found with Find_Widget(window, path).
GtkWidget* sgtk_menubar(GtkWidget* window, const SGTK_MENU* items, int n);

// ---- Finding and setting ----

// The window a widget belongs to (for menu items: the window of the menu bar).
GtkWidget* sgtk_window_of(GtkWidget* widget);
// The top-level window called name (widget name or title), or null.
GtkWidget* Find_Window(const char* name);
// The widget called name in the window of any (also tried with "!" and "^"
// in front), or null.
GtkWidget* Find_Widget(GtkWidget* any, const char* name);
// Toggles, check buttons, radios and check menu items: set the state.
// Returns 0, or -1 when there is no such widget.
int Set_Button(GtkWidget* any, const char* name, int on);
// Their state (0/1), or -1 when there is no such widget.
int Get_Button(GtkWidget* any, const char* name);
// Text of an entry, label or progress bar. Returns 0 or -1.
int Set_Entry(GtkWidget* any, const char* name, const char* fmt, ...)
    __attribute__((format(printf, 3, 4)));
// Colour 0xRGB (4 bits each) of a LED. Returns 0 or -1.
int Set_Led(GtkWidget* any, const char* name, int rgb12);
// Text of an entry or label ("" when there is none).
std::string sgtk_get_text(GtkWidget* any, const char* name);
// Value of a spin button (0 when there is none).
double sgtk_get_value(GtkWidget* any, const char* name);
void sgtk_set_value(GtkWidget* any, const char* name, double value);
// Background colour of a widget (button, toggle, drawing), 0xRRGGBB.
void sgtk_set_colour(GtkWidget* widget, int rgb24);
// Sensitive / shown.
void sgtk_set_sensitive(GtkWidget* any, const char* name, int on);
void sgtk_set_shown(GtkWidget* any, const char* name, int on);

// Fraction 0..1 and text of a progress bar.
void sgtk_progress_set(GtkWidget* bar, double fraction, const char* text);
// Appends a row of texts to a list; empties a list.
void sgtk_list_append(GtkWidget* list, const std::vector<std::string>& cells);
void sgtk_list_clear(GtkWidget* list);

// A message box titled title ("Error", "Info", "Warning", "Status") with the
// text and an "OK" button; returns at once with the box.
GtkWidget* Create_Message(GtkWidget* parent, const char* title, const char* fmt, ...)
    __attribute__((format(printf, 3, 4)));
// A yes/no question; blocks in a nested loop; returns 1 for "Yes".
int sgtk_ask(GtkWidget* parent, const char* title, const char* question);

// ---- GUI-settings file ----

// Reads the settings file of the home directory home (at start).
void sgtk_state_load(const char* home);
// Takes the states of window's persistent widgets and its position into the
// settings; sgtk_state_save writes the file.
void sgtk_state_store(GtkWidget* window);
// Brings window's persistent widgets in line with the settings.
void sgtk_state_restore(GtkWidget* window);
void sgtk_state_save();
// A free text setting ("Open/folder").
std::string sgtk_state_get(const char* key);
void sgtk_state_set(const char* key, const std::string& value);

// Lets pending toolkit events run.
void sgtk_drain_events();
