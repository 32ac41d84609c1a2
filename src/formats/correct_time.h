// Repair of received line times, so that every line of a picture has a time.
#pragma once
#include "formats/picinfo.h"

// Marks runs of plausible line times (valid of each line's tm_ms counts the
// run ending there), gives implausible lines times interpolated from the last
// good anchor at lines_per_sec lines a second (0 means 6) and fills the lines
// before the first anchor backwards. Returns the longest run when it exceeds
// 5, else 0 (the picture's times are not to be trusted).
int correct_time(XLINE* first, int lines_per_sec);
