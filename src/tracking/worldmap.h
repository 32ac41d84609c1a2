// The tracker's world map: an equirectangular picture of the whole earth
// (longitude -180..180 left to right, latitude 90..-90 top to bottom) with
// the coastlines, the day/night shading from the sun model, a 30-degree grid,
// the observer, the sub-satellite points and ground tracks of the visible
// satellites, the footprint (radio horizon) of the selected one and the
// points of the received-passes map. Drawn into a plain RGB buffer, so that
// the window, pava-cli and the tests share it.
#pragma once
#include <ctime>
#include <string>
#include <vector>

#include "display/display_types.h"
#include "orbit/orbit_types.h"

struct SAT;

// One coastline polygon, lon/lat in degrees.
using WMAP_POLY = std::vector<DBLFLOAT>;

// The polygons of the GSHHS file name (looked up like the coast overlay's
// file), every level, areas of at least min_area km^2; read once per name and
// kept. Null when the file can't be opened or is not a GSHHS file.
const std::vector<WMAP_POLY>* worldmap_coast(const char* name, double min_area = 1000.0);

// Pixel position (fractional) of lon/lat (degrees) on a map of w x h pixels.
void wmap_lonlat2xy(int w, int h, double lon_deg, double lat_deg, double* x, double* y);

// The colours the map uses, 0xRRGGBB; indexes as the preference's Clr. table.
enum WMAP_CLR {
  WC_MARK_SEL,
  WC_AREA_SEL,
  WC_TRACK_SEL,
  WC_SCAN_SEL,
  WC_MARK_NSEL,
  WC_AREA_NSEL,
  WC_TRACK_NSEL,
  WC_SCAN_NSEL,
  WC_REF_MARK,
  WC_RADIO_HOR,
  WC_RADIO_HOR_OBS,
  WC_RASTER,
  WC_NUMBER,
  WC_COUNT
};

struct WMAP_OPTS {
  int width, height;
  struct tm time;                       // GMT moment shown (positions, sun)
  const std::vector<WMAP_POLY>* coast;  // may be null
  // Background picture of the earth (width x height RGB), e.g. the
  // preference's earth map image; null: sea blue.
  const unsigned char* background;
  int day_night;                          // shade the night side
  float shadow_fact;                      // brightness of the night side (0..1)
  const EPOINT* observer;                 // lon/lat radians; may be null
  SAT* sats;                              // list; satellites with visible set are drawn
  const SAT* current;                     // highlighted (footprint drawn); may be null
  float radio_horizon_deg;                // elevation of the footprint's edge
  int track_before_min, track_after_min;  // ground track around time
  int clr[WC_COUNT];
  // Received-passes map raster (500 x 500, its range in whole degrees) whose
  // track points are shown; null: none.
  const unsigned char* recmap;
  int recmap_lon_min, recmap_lat_min;
};

// Defaults: 720 x 360, the Clr. defaults, day/night on with factor 0.5,
// tracks 10 minutes back and 90 ahead.
WMAP_OPTS worldmap_defaults();

// Angular radius (radians) on the earth of the region that sees an object at
// height_km above an elevation of elev_deg.
double wmap_footprint_radius(double height_km, double elev_deg);

// Draws the map into rgb (resized to width * height * 3). Returns 0, or -1 for
// a size outside 16..8192 pixels.
int draw_worldmap(const WMAP_OPTS& o, std::vector<unsigned char>* rgb);
