// The controls of the "Map channels" window, by name: "Ch%d" (channel on),
// "r%d"/"g%d"/"b%d" (its weights), "gamma", "ro"/"go"/"bo" (offsets, quarters of the 10-bit scale).
// The window's callbacks hand a control's name and value here, so the window itself only moves
// numbers between widgets and the map.
#pragma once
#include "display/display_types.h"

// Value range and step of a control kind, for building its widget.
struct MAPCTL_RANGE {
  double min, max, step;
  int digits;
};
// Range of the control called name; returns 0, or -1 for an unknown name.
int mapctl_range(const char* name, MAPCTL_RANGE* range);

// Sets the map's field of control name to value (clamped to its range).
// Returns 0, or -1 for an unknown name or a channel outside 1..25.
int mapctl_set(CLRMAPCHAN* map, const char* name, double value);
// The map's value for control name (0 for an unknown name).
double mapctl_get(const CLRMAPCHAN& map, const char* name);
