// Headless rendering of a loaded picture: the view a set of options asks for,
// drawn by draw_pic into an RGB buffer (pava-cli render, tests).
#pragma once
#include "display/draw.h"

struct RENDEROPTS {
  int width = 0, height = 0;  // size of the drawing; 0: the picture's
  int channel = 0;            // channel shown in grey (0: channel 1)
  int false_colour = 0;       // the family's channel map instead of one channel
  int grid = 0, coast = 0;
  int lum_auto = 1;  // window from the histogram of a first drawing
  int lum_min = 0, lum_max = 1023;
  float gamma = 1.0f;
  int invert = 0;
  int temperature = 0;  // NOAA thermal channel (3..5) in the temperature colours
  int linearize = 0, despeckle = 0;
  int north_up = 0;    // mirror as the pass's scan directions ask
  int offset_sec = 0;  // orbit corrections
  float offset_lon = 0;
  const char* coast_file = nullptr;  // null: the preference
  int grid_rgb = 0xc0c0c0;           // grid and coast colours, 0xRRGGBB (the
  int coast_rgb = 0xffff00;          // preferences Grid_color, boundary_color)
};

// Sets up *view for the options and draws the picture into out. The picture's
// orbit corrections are set from the options (positions recomputed when the
// picture is bound to an orbit). Returns draw_pic's status, or DRAW_NO_PICTURE
// for a channel the picture does not have.
int render_picture(PICINFO* pic, const RENDEROPTS& o, VIEWINFO* view, RGBIMAGE* out);
