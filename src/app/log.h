// Reporting channels: errors on standard error, the time-stamped log
// ("pava.log" in the home directory when logging is on, else standard output),
// and the debug text, which goes to a sink that the GUI's debug page plugs into.
#pragma once
#include <string>

// Prints "Fatal error! Program aborted.\n" on standard error and ends the
// process with status -1.
[[noreturn]] void fatal_error();

// Prints "Error: %s\n" on standard error.
void nonfatal_error(const char* text);

// One log line: UTC asctime stamp, two blanks, the message, a newline.
void log_message(const char* fmt, ...) __attribute__((format(printf, 1, 2)));

// Where log lines go: the home directory and the switch (preference "log").
// The path is made once, at the first message after logging was switched on.
void log_configure(const char* home_dir, int enabled);

// n > 0 switches the debug output on, n < 0 off, 0 only asks; returns the state.
int enable_debug(int n);

// Appends a debug text (cut at 144 characters, "...\n" marking the cut) to the
// debug sink when the debug output is on.
void w_dbg(const char* fmt, ...) __attribute__((format(printf, 1, 2)));

// The debug sink: receives each formatted debug text. Without a sink the texts
// are kept in memory (debug_text).
using DebugSink = void (*)(const char* text, void* data);
void debug_set_sink(DebugSink sink, void* data);
// The texts written since start or the last debug_clear (when no sink is set).
const std::string& debug_text();
void debug_clear();

// Writes text into the first "dbg_%d.txt" (counting from 1) that does not exist
// in directory dir ("" or null: the current directory). Returns the file name
// written, or an empty string when no file could be written.
std::string debug_save(const std::string& text, const char* dir = nullptr);
