// Received-passes map: sub-satellite points of tracked passes plotted into a
// 500 x 500 grey-scale raster around the observer (north up, 10 pixels per
// degree, 25 degrees each side), saved as binary PGM after each pass with a
// ring of numbered copies.
//
// File:  "P5\n#range=[lon_min:lon_max],[lat_min:lat_max]\n500 500\n255\n"
//        then 250000 pixel bytes, row 0 northernmost.
// Pixels: 255 track point, 136 observer mark, 102 grid line, 0 background.
#pragma once
#include <cstdio>
#include <vector>

#include "orbit/orbit_types.h"

constexpr int RECMAP_W = 500;
constexpr int RECMAP_H = 500;
constexpr int RECMAP_SIZE = RECMAP_W * RECMAP_H;

// Range of a map in whole degrees (lon, lat used).
struct RECMAP_RANGE {
  int lon, lat;
};

// Byte index of pixel (x, y), y counted from the south edge; each axis
// clamped onto the map.
int xy2arr(int x, int y);

// flip: turns the raster upside down and zeroes pixels below 250 (old files);
// clean: every pixel other than 255 becomes 0. Both on the first 499 rows and
// columns only. raster holds RECMAP_SIZE bytes.
void process(unsigned char* raster, int flip, int clean);

// Parses "range=[a:b],[c:d]" (or the old form "[a-b],[c-d]") into min/max.
// Returns 1 when four numbers were read.
int get_range(const char* text, RECMAP_RANGE* min, RECMAP_RANGE* max);

// Reads a PGM/PPM header ("P5" or "P6"), keeping a "range" comment. 1 when a
// header was read.
int read_pgmhdr_plottrack(FILE* fp, int* width, int* height, RECMAP_RANGE* min, RECMAP_RANGE* max);

// The raster of the map file path, or 250000 zero bytes when it cannot be read.
std::vector<unsigned char> read_plottrack(const char* path, RECMAP_RANGE* min, RECMAP_RANGE* max);

// Builds the header with "%s%c#%s%c%d %d%c %d%c" (the comment cut to 29
// characters, the header to 59) and writes it when fp is given. Returns the
// header length.
int write_pgmhdr(FILE* fp, int width, int height, const char* magic, const char* comment_format,
                 ...) __attribute__((format(printf, 5, 6)));

// Keeps a numbered copy of the saved map name ("base%d.pgm", base = name up to
// its first '.'); nkeep != 0: a ring of nkeep + 1 slots with one free slot
// marking the newest copy. Returns the slot written, or -1.
int cp2new(const char* name, int nkeep);

// One tick: with pos, loads the map when needed and plots pos (plot set);
// without, saves the map to name + ".pgm" and makes the numbered copy once.
// refpos: the observer (radians).
void recmap(int plot, const EPOINT* pos, const char* name, int nkeep, const EPOINT* refpos);

// Drops the raster (the next point loads the file again).
void recmap_close();
// The raster in memory (null when none), for tests and drawing.
const unsigned char* recmap_raster();
