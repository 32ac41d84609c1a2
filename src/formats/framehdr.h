// HRPT frame header of a line: sync test, spacecraft address, line time.
#pragma once
#include <cstdint>
#include <ctime>

#include "formats/picinfo.h"

// HRPT frame sync test on words 0-5 (lenient: see the implementation).
int is_hrptsync(const uint16_t* words, int lenient);

// Time of a line from its frame header words; reference supplies the year
// (and the day when the header has none).
tm_ms hrpt_frame_extr_time(const uint16_t* words, int file_type, const struct tm* reference);
