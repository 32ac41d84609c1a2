// Reading and writing the preferences file "pava.ini".
#pragma once
#include <cstdio>

#include "config/prefs.h"

struct PICINFO;
struct VIEWINFO;
struct RECORDINFO;

// Finds "pava.ini" in the current directory, the home directory and the
// program's directory (from argv0), in that order, builds the defaults and
// reads the first file found. Returns 1.
int Read_Prefs(const char* argv0);

// Copies the preferences into the recording, view and picture records.
void Load_Prefs(RECORDINFO* rec, VIEWINFO* view, PICINFO* pic);

// Writes the preferences to "pava.ini" (where it was read, else the current
// directory). Returns 0, or non-zero after "Can't open pref-file %s." was shown.
int Save_Prefs();
