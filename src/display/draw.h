// Drawing of the picture into a screen-sized RGB buffer: screen maps, channel
// map or single channel, despeckling, temperature colours, luminance table and
// palette, then grid and coast. No toolkit involved: the GUI hands the buffer
// to its drawing area, pava-cli writes it to a file.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include "display/display_types.h"
#include "formats/picinfo.h"

// An RGB picture, 3 bytes a pixel, rows top to bottom.
struct RGBIMAGE {
  int width = 0, height = 0;
  std::vector<uint8_t> rgb;
};

// Results of draw_pic (one place maps them to the user's texts).
enum DRAW_STATUS {
  DRAW_OK = 0,
  DRAW_NO_ORBIT = 1,     // grid or coast asked for without a valid orbit
  DRAW_NO_COAST = 2,     // coast asked for, coast file not there or not usable
  DRAW_NO_LUMTABLE = 3,  // the luminance table could not be made: nothing drawn
  DRAW_NO_PICTURE = 112  // 'p': no picture lines
};

// Title of the message box of a drawing status.
constexpr const char* DRAW_MSG_TITLE = "Orbit info 'error";
// Text of a drawing status ("" for DRAW_OK).
const char* draw_status_text(int status);
// Shows the message of a failed drawing (statuses 1 and 2) through ui().
void draw_report(int status);

// Options of one drawing.
struct DRAWOPTS {
  int map_window_open = 0;           // the "Map channels" window is open: map gamma
  const char* coast_file = nullptr;  // null: the preference Coast_File_name
  int threads = 0;                   // worker threads (0: as many as useful)
};

// Palette size and luminance table size of the drawing.
constexpr int DRAW_PALETTE = 256;
constexpr int DRAW_LUMTABLE = 1024;

// Draws the view of the picture into out (resized to width x height): every
// screen pixel from its picture pixel through the screen maps of map_xy, the
// channel map (view->process_data) or the single channel chan_selected, the
// temperature scale (map_temp on a NOAA thermal channel), the luminance table
// and palette; then the grid (view->grid) and the coastlines
// (view->boundaries). Fills view->lumstat. The picture stays drawn when the
// overlay cannot be: the status says why. The result does not depend on the
// number of threads.
int draw_pic(PICINFO* pic, VIEWINFO* view, int width, int height, RGBIMAGE* out,
             const DRAWOPTS* opts = nullptr);

// The value (0..1023, before the luminance table) shown for picture pixel
// (x, y) in the view: the composed (R+G+B)/3 or the channel value.
int pixel_value(const PICINFO* pic, const VIEWINFO* view, int x, int y);

// Texts of the position readout for picture pixel (x, y): "%5.2f,%5.2f" in
// degrees, or "[x=%d,y=%d]" when view->coordxy is set; temp_text gets "%d C"
// from the shown colour when temperatures are shown, else "". Returns 0, or
// -1 when the pixel has no position (no orbit: the x,y text is given).
int Update_Coord(const PICINFO* pic, const VIEWINFO* view, int x, int y, const uint8_t* rgb,
                 std::string* pos_text, std::string* temp_text);

// Grid step (1, 2 or 5 degrees) for a visible span of span degrees.
int grid_step(double span);

// Makes the picture-wide preparations of a view: the false-colour map and
// alignment of its family, the luminance defaults. For pava-cli and tests.
void view_init(const PICINFO* pic, VIEWINFO* view);
