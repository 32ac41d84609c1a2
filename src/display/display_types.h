// Records of the display subsystem: the picture's orbit binding, overlay
// tables, calibration, channel maps and the view state.
#pragma once
#include <cstdint>
#include <ctime>
#include <vector>

#include "formats/enums.h"
#include "orbit/orbit_types.h"

// A picture's binding to its orbit, with the user's corrections.
struct ORBIT {
  int valid;
  struct tm start_tm;
  int start_ms;
  struct tm start_tm_sat;
  int start_ms_sat;
  struct tm start_tm_comp;
  long ref_time;
  struct tm ref_tm;
  int ref_ms;
  float height;  // metres above the earth used by the scan geometry
  int data_age;  // days
  float loop_time;
  float k2_n, k2_w, dh_w;
  float max_sens_angle;  // degrees
  SCANDIR scan_hor, scan_ver;
  int width_original;
  int use_sattime;
  int offset_gmt;    // hours
  int offset_sec;    // seconds added to every line time
  float offset_lon;  // degrees added to every longitude
  // Which elements the picture is bound with (ORBIT_ELEM_*) and a line of
  // text saying so for the file information.
  int elements;
  char elements_text[160];
};

enum ORBIT_ELEM { ORBIT_ELEM_NONE = 0, ORBIT_ELEM_HEADER = 1, ORBIT_ELEM_FILE = 2 };

struct DBLFLOAT {
  float a, b;
};
struct DBLINT {
  int a, b;
};

// Overlay tables of a picture, rebuilt as a whole.
struct OVLINFO {
  std::vector<DBLFLOAT> xy2lola;  // width*height + 2 entries, degrees
  std::vector<DBLINT> lola2xy;    // range_lon*range_lat entries
  std::vector<char> ovlarr;       // width*height mask bytes
  int offset_lon, offset_lat;     // hundredths of a degree
  int range_lon, range_lat;       // hundredths of a degree
  // Orbit corrections the tables were built with (cache key).
  int built;
  int built_offset_gmt, built_offset_sec, built_use_sattime;
  float built_offset_lon;
  int scale;        // cells of lola2xy per degree (100 unless the pass is too wide)
  int built_coast;  // coast file drawn: 1, damaged (drawn so far): -1, nothing to place: 2
  // Grid drawing: per pixel the cells floor(lon/step) and floor(lat/step),
  // biased by 1024, packed low and high 16 bits; for the steps noted.
  std::vector<uint32_t> cells;
  int cells_step_lon, cells_step_lat;
};

// Thermal calibration coefficients of one NOAA satellite.
struct NOAACAL {
  float d0[5], d1[5], d2[5], d3[5], d4[5];
  float nuc[6];
  float a[6], b[6];
  float Ns[6];
  float b0[6], b1[6], b2[6];
  float c1, c2;
};

// A colour with 16-bit components, as the toolkit keeps colours.
struct RGBCLR {
  uint16_t red, green, blue;
};

// One false-colour channel map.
struct CLRMAPCHAN {
  char satname[20];
  char mapname[20];
  int red_offset, green_offset, blue_offset;  // quarters of the 10-bit scale
  int on[26];
  float red[26], green[26], blue[26];
  float lum;  // 0: no scaling
  float gamma;
};

// Zoom state of the view.
struct ZOOMVAL {
  float zx, zy;  // zoom factors
  float dx, dy;  // screen pixels per picture pixel
  int ox, oy;    // picture pixel at the view's origin
};

// The view of the one picture that is shown.
struct VIEWINFO {
  int redraw;
  ZOOMVAL zval, zval_pre;
  int lum_min, lum_max;
  std::vector<int> lin_xtbl, revlin_xtbl;
  int coordxy;
  long lumstat[4096];
  int invert;
  float gamma;
  SCANDIR scan_hor, scan_ver;
  int channel_selected[26];
  int chan_selected;
  int linearize;
  int keep_xyrel;
  int despeckle, destrip;
  int reed_solomon;
  int grid, boundaries;
  int fixzooming, zooming;
  int skip_faulty_lines, mark_faulty_lines;
  int mask_skip;
  int map_temp;
  std::vector<int> xmap;
  int xmap_offset;
  std::vector<int> ymap;
  int ymap_offset;
  float fix_zoomfactor;
  int refresh_pic;
  long foffset;
  int slide_mode;
  char slide_file[200];
  int slide_speed;
  RGBCLR grid_clr, cont_clr;
  int process_data;
  CLRMAPCHAN cmhc;
  int hshift[26], vshift[26], tilt[26];
  int min_vshift, max_vshift;
  int sur_ulim, dsp_llim;
};
