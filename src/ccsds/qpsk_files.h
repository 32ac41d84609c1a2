// QPSK record files (Metop, FY-3, NOAA-20/21, Aqua): header block and lines.
#pragma once
#include <cstdio>

#include "display/display_types.h"
#include "formats/picinfo.h"

// Reads the header block (when present) of the QPSK file open in pic->fp and
// sets the picture's geometry for pic->file_type (FT_METOP, FT_FY3, FT_AQUA,
// FT_QNOAA20, FT_QNOAA21). Returns 0 or a one-byte error code of open_file.
int read_qpsk_hdr(PICINFO* pic, VIEWINFO* view);

// Reads all lines of the QPSK file into a new list and returns its head.
XLINE* read_qpsk_all(PICINFO* pic, VIEWINFO* view);

// Statistics of a recorded QPSK file: frames per virtual channel.
void pri_vcid(FILE* fp);
