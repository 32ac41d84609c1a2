// Coastlines from a GSHHS shoreline file, drawn into the picture's overlay
// mask through the lon/lat-to-pixel table.
#pragma once
#include <cstdio>
#include <string>
#include <vector>

#include "display/display_types.h"

// One polygon header as read, in host order, with the bounds in degrees
// (longitudes above 180 brought down by 360) and the area in km^2.
struct GSHHS {
  int id, n, level, west, east, south, north, area, version;
  short greenwich, source;
  double west_deg, east_deg, south_deg, north_deg;
  double area_km2;
};

// Results of read_polygon.
enum GSHHS_RESULT {
  GSHHS_EOF = 0,       // no further polygon
  GSHHS_ACCEPTED = 1,  // inside the window: its points follow
  GSHHS_SKIPPED = -1,  // outside the window: its points were skipped
  GSHHS_CORRUPT = -2   // not a 40-byte GSHHS header (other layout, damage) or cut short
};

// Reads the next polygon header from fp and decides whether the polygon is
// drawn: it must overlap the window lon_min..lon_max, lat_min..lat_max
// (degrees), have an area above min_area km^2 and a level of at most
// max_level (0: any). A rejected polygon's points are skipped. Never reads
// past a header whose point count does not fit in the file.
int read_polygon(FILE* fp, GSHHS* h, double lon_min, double lon_max, double lat_min, double lat_max,
                 int max_level, double min_area);

// Reads the h.n points of an accepted polygon (lon, lat in degrees; lon in
// -180..180). Returns 1, or GSHHS_CORRUPT when the file ends early or a point
// lies outside the earth.
int read_polygon_points(FILE* fp, const GSHHS& h, std::vector<DBLFLOAT>* pts);

// Draws a polygon into ovl->ovlarr (bit 1) as straight segments between
// consecutive points, each point placed through ovl->lola2xy. A point that
// falls outside the picture breaks the outline there. Returns the number of
// segments drawn.
int overlay2lut(const std::vector<DBLFLOAT>& pts, OVLINFO* ovl, int width, int height);

// Reads every polygon of an open coast file (whole earth, any level, area
// above 10000 km^2) into the mask. Returns the polygons drawn, or
// GSHHS_CORRUPT when the file is not a GSHHS file of the 40-byte layout (the
// polygons read before the damage stay drawn).
int draw_coast_file(FILE* fp, OVLINFO* ovl, int width, int height);

// Opens the coast file `name`: first in the installation's data directory,
// then as given. *used gets the path opened. Null when neither opens.
FILE* open_coast_file(const char* name, std::string* used = nullptr);

// Minimum polygon area of the coast drawing, km^2.
constexpr double COAST_MIN_AREA_KM2 = 10000.0;
