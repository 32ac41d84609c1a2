// Reading and writing the preferences file "pava.ini".
#pragma once
#include <cstdio>

#include "config/prefs.h"

struct PICINFO;
struct VIEWINFO;
struct RECORDINFO;

// Notes the current directory, the home directory and the program's directory
// (from argv0; a bare name is looked up in PATH) in prefs, finds "pava.ini" in
// them in that order ("%s%c%s": directory, "/", name), builds the defaults
// and reads the first file found (prefs.prefs_file; empty when none exists).
// Returns 1.
int Read_Prefs(const char* argv0);

// Copies the preferences into the recording, view and picture records (any
// may be null): file directories, bases and extensions, sync thresholds,
// recorder settings, board, serial and network settings, port type (rec);
// linearisation, aspect, despeckle limits, fixed zoom, grid and coast colours
// (view); working directory (pic).
void Load_Prefs(RECORDINFO* rec, VIEWINFO* view, PICINFO* pic);

// Writes the preferences to "pava.ini" (where it was read, else the current
// directory). Returns 0, or 'o' after "Can't open pref-file %s." was shown.
int Save_Prefs();
