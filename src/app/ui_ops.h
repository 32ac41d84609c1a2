// How the core talks to the user without knowing the toolkit: a record of
// function pointers that the GTK layer fills in, batch mode and pava-cli
// implement with the log and standard error, and tests replace with a fake.
#pragma once

struct UI_OPS {
  // A message box with the title "Error", "Info", "Warning" or "Status".
  void (*message)(const char* title, const char* text);
  // Sets the status entry or label called name of the window win (null: the
  // main window) to text.
  void (*set_entry)(const char* win, const char* name, const char* text);
  // Sets a LED of window win to a colour 0xRGB (4 bits a component).
  void (*set_led)(const char* win, const char* name, int rgb12);
  // Progress of a long operation, 0..1; returns non-zero when the user
  // cancelled it.
  int (*progress)(double fraction, const char* text);
  // A yes/no question; returns non-zero for yes.
  int (*ask)(const char* title, const char* question);
  // Lets pending toolkit events run (keeps a window alive during long loops).
  void (*drain_events)();
};

// The operations in use; never null (defaults print to standard error).
const UI_OPS& ui();
// Installs ops (null restores the defaults). Members left null keep their
// default behaviour.
void ui_install(const UI_OPS* ops);
