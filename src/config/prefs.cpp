#include "config/prefs.h"

#include "config/prefs_file.h"

PREFS prefs;

int Read_Prefs(const char*) { return 1; }
void Load_Prefs(RECORDINFO*, VIEWINFO*, PICINFO*) {}
int Save_Prefs() { return 0; }
