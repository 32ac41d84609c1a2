// Georeferencing of a picture: earth positions of every pixel from the orbit,
// the overlay tables (pixel <-> lon/lat, grid and coast mask), the
// X-linearisation tables and the screen-to-picture maps of the view.
#pragma once
#include <cstdio>
#include <vector>

#include "display/display_types.h"
#include "formats/picinfo.h"

// Earth radius of the scan geometry, metres.
constexpr double GEO_EARTH_RADIUS_M = 6378160.0;
// Height used by the linearisation when the orbit has none, metres.
constexpr float GEO_DEFAULT_HEIGHT_M = 800000.0f;

// Angle at the earth's centre between the sub-satellite point and the point
// the sensor sees at pixel x of a scan with half-width n (pixels) whose edge
// sensor angle is max_angle degrees, seen from height metres. Signed: positive
// for x < n; the sign flips for scandir W_E. Radians; 0 when n is 0.
float x2earthangle(float height, SCANDIR scandir, int x, int n, float max_angle);

// Earth positions of every line: pos (per pixel), subsatpos and the per-line
// grid mask olmask. Line times get the orbit's offset_gmt hours and offset_sec
// seconds. Does nothing (returns 0) without lines or without a valid picture
// time; returns the number of lines done, or -1 when the orbit model failed on
// the first line (positions then stay as they were).
int add_subsatpos(PICINFO* pic);

// The two steps of add_subsatpos for one line: the positions of its pixels
// from the earth-rotation reference (earth.lon), the satellite's position
// vector and the orbit inclination (radians); and its grid mask against the
// line before (prev may be null).
void line_positions(XLINE* l, const EPOINT& earth, const EPOINT& sat, float inclination,
                    const ORBIT& orbit);
void line_olmask(const XLINE* prev, XLINE* l);

// Longitude and latitude of picture pixel (x, y) into *out (radians; the
// orbit's offset_lon included in lon). line: the y-th line when the caller
// has it, else null (a y past the last line takes the last line). x is
// clamped into the line. Returns 1; 0 when the picture has no lines.
int xy2lonlat(int x, int y, const XLINE* line, const PICINFO* pic, EPOINT* out);

// Pixel-to-lon/lat table (degrees, offset_lon degrees added to longitudes):
// entry y*width+x, then (min lon, min lat) and (max lon, max lat) over the
// lines with a valid time. Lines missing from the list leave zero entries.
std::vector<DBLFLOAT> mklut_xy2lonlat(const XLINE* first, int width, int height, float offset_lon);

// Lon/lat-to-pixel table from xy2lola at `scale` cells per degree (100: the
// hundredths of a degree of OVLINFO), with its holes filled in storage order.
// Writes the corner and ranges (in cells). Empty on a bad table or when the
// table would exceed max_cells entries.
std::vector<DBLINT> mklut_lonlat2xy(const std::vector<DBLFLOAT>& xy2lola, int width, int height,
                                    int* offset_lon, int* offset_lat, int* range_lon,
                                    int* range_lat, int scale = 100,
                                    long max_cells = 16L * 1000 * 1000);

// Grid bits (2, 4, 8) of the whole-degree crossings into ovlarr (width*height).
void lonlat2ovl(const std::vector<DBLFLOAT>& xy2lola, int width, int height,
                std::vector<char>& ovlarr);

// Builds the overlay tables of the picture, or keeps them when they were built
// with the orbit's current corrections. coast: an open GSHHS file whose
// polygons are drawn into the mask (bit 1), or null. Returns 1 when the tables
// were rebuilt, 0 when kept, -1 when they could not be made.
int create_overlay(FILE* coast, PICINFO* pic);

// Frees the overlay tables (a rebuild follows on the next create_overlay).
void free_overlay(OVLINFO* ovl);

// Makes the X-linearisation tables of the view (only when it linearises).
// Returns the new lin_xtbl, or null when nothing was made.
const int* mk_lintbl(const PICINFO* pic, VIEWINFO* view);

// Picture column (pic.ox included) shown at screen column sx.
int scrx2picx(int sx, VIEWINFO* view, const PICINFO* pic);
// Picture line (pic.oy included) shown at screen row sy.
int scry2picy(int sy, const VIEWINFO* view, const PICINFO* pic);

// Screen maps of a drawing area of wnd_width x wnd_height into view->xmap and
// view->ymap (also copied to *xmap, *ymap when given): for each screen column
// the index into a picture line (-1: nothing), for each row the picture line
// (-1: nothing). single_channel: the data hold one value per pixel, else
// interleaved raw words of the frame layout. Returns 0; 1 or 2 when a map
// cannot be allocated.
int map_xy(int wnd_width, int wnd_height, int no_xymapping, int single_channel, PICINFO* pic,
           VIEWINFO* view, std::vector<int>* xmap = nullptr, std::vector<int>* ymap = nullptr);
