// The fields of the "Kepler" window by name: the picture's orbital elements
// and its time and longitude offsets, read and written as numbers, so that
// the window is generated from this list.
#pragma once
#include "formats/picinfo.h"

struct KEPLER_FIELD {
  const char* name;  // label of the control
  double min, max;   // range of the control
  double step;
  int digits;
  int is_offset;  // 1: an orbit correction (takes effect at once)
};

// The fields in window order, ending with a null name.
const KEPLER_FIELD* kepler_fields();

// Value of field name of the picture (0 for an unknown name).
double kepler_get(const PICINFO* pic, const char* name);
// Sets field name (value clamped to its range). Returns 1 when the value
// changed, 0 when it was the same, -1 for an unknown name. Changed elements
// make the orbit model prepare itself again.
int kepler_set(PICINFO* pic, const char* name, double value);
