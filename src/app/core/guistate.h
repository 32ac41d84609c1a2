// The GUI-settings file: widget states that outlive a run (toggles, entries,
// spin values, window positions, the file selector's folder), one line
// "window/widget=value" each, in "pava_gui.ini" in the home directory. Plain
// text with a decimal point; unknown or malformed lines are skipped.
#pragma once
#include <map>
#include <string>

struct GUISTATE {
  std::map<std::string, std::string> values;  // key "window/widget"
};

// The file's name in the home directory.
constexpr const char* GUISTATE_FILE = "pava_gui.ini";

// Path of the settings file for home directory home ("" : current directory).
std::string guistate_path(const std::string& home);

// Reads the file into st (replacing its values). Returns 0, or 'o' when the
// file can't be opened (st then stays empty). Lines longer than 1000 bytes,
// lines without "=", and empty keys are skipped.
int guistate_read(GUISTATE* st, const std::string& path);
// Writes st sorted by key. Returns 0, or 'o' when the file can't be written.
int guistate_write(const GUISTATE& st, const std::string& path);

// Key of a widget: "window/widget". Newlines and "=" in either part are
// replaced by "_" so that a key always stays one line.
std::string guistate_key(const std::string& window, const std::string& widget);
// A value for storing: newlines replaced by blanks.
void guistate_set(GUISTATE* st, const std::string& key, const std::string& value);
// The stored value, or null.
const std::string* guistate_get(const GUISTATE& st, const std::string& key);
