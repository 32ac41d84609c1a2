// What the main window's menu items, keys and mouse do to the view: the View
// check items and their VIEWINFO flags, the channel choice, zooming and
// scrolling (ZOOMVAL), screen-to-picture mapping for the readouts, and the
// messages of opening a file. The GTK layer reads its controls, calls one of
// these and shows the result; none of this knows the toolkit.
#pragma once
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

struct PICINFO;
struct VIEWINFO;

// ---- View check items ("View/Grid", "View/Set skip/Use Pre sync", ...) ----

// The paths of the View check items, in menu order; null-terminated.
const char* const* view_item_paths();

// Applies the state on (0/1) of the View check item path to view. "View/Grid"
// and "View/Coast" can be switched on only when the picture has a valid time
// and a valid orbit: then the flag stays off, *refusal gets the text of the
// "Error" box ("Valid time: %s\nValid kepler data: %s") and the result is 1.
// Returns 0 when applied, -1 for a path that is not a View check item.
int view_item_apply(const char* path, int on, const PICINFO* pic, VIEWINFO* view,
                    std::string* refusal);

// The state the View check item path should show for view (0/1), -1 for an
// unknown path.
int view_item_state(const char* path, const VIEWINFO* view);

// ---- Channel choice ("Channel/False clr", "Channel/Ch1".."Channel/Ch10") ----

constexpr int VIEW_MENU_CHANNELS = 10;

// ch 0: false colour (process_data on); 1..VIEW_MENU_CHANNELS: that single
// channel. Returns 0, or -1 for a channel out of range (view unchanged).
int view_select_channel(VIEWINFO* view, int ch);
// The channel item the view stands for: 0 false colour, else the channel.
int view_selected_channel(const VIEWINFO* view);

// ---- Zoom and scroll (screen sw x sh pixels) ----

// Fits the zoom values to the drawing area: zoom factors at least 1 (the whole
// picture) and at most VIEW_MAX_PIXZOOM screen pixels per picture pixel, the
// origin kept inside the picture, dx/dy recomputed; with keep_xyrel the
// axes get equal scales (the y axis follows x when it can).
void correct_zoomval(VIEWINFO* view, const PICINFO* pic, int sw, int sh);
constexpr float VIEW_MAX_PIXZOOM = 32.0f;

// A zoom command by its key: 'f' whole picture, 'i' in, 'o' out (by the zoom
// step about the centre), 'l' swap current and previous zoom, 'c' dx->dy
// (y follows x), 'C' dy->dx, 'x' zx->zy, 'y' zy->zx. The previous zoom is kept
// in zval_pre. Returns 0, or -1 for an unknown key.
int zoom_key(VIEWINFO* view, const PICINFO* pic, int sw, int sh, int key);

// The key of a "Zoom/..." menu path ("Zoom/In (i)" -> 'i'; "Zoom/zx->zy" ->
// 'x'; "Zoom/Var (z)" -> 'z'; "Zoom/Fix (ctrl)" -> 'F'), 0 when none.
int zoom_key_of_path(const char* path);

// The zoom step of In/Out: fix_zoomfactor when above 1, else 2.
float zoom_step(const VIEWINFO* view);

// Zooms by factor about screen point (sx, sy), which keeps its picture pixel.
void zoom_at(VIEWINFO* view, const PICINFO* pic, int sw, int sh, int sx, int sy, float factor);
// Fixed zoom at screen point (sx, sy): in (in != 0) or out by the zoom step.
void zoom_fixed(VIEWINFO* view, const PICINFO* pic, int sw, int sh, int sx, int sy, int in);
// Scroll wheel: steps_x, steps_y wheel steps (positive: right / down shows
// what lies left / above), each a tenth of the drawing area.
void zoom_wheel(VIEWINFO* view, const PICINFO* pic, int sw, int sh, int steps_x, int steps_y);
// Sets the zoom factors and origin (the "Zoom/Values..." window), keeping the
// previous zoom in zval_pre; the values are fitted like any zoom.
void zoom_set(VIEWINFO* view, const PICINFO* pic, int sw, int sh, float zx, float zy, int ox,
              int oy);
// Zooms to the screen rectangle between two corners (drag-to-zoom); a
// rectangle under 3 pixels on a side is ignored (returns 1), else 0.
int zoom_rect(VIEWINFO* view, const PICINFO* pic, int sw, int sh, int sx0, int sy0, int sx1,
              int sy1);
// Moves the view so that the picture follows the mouse by (dsx, dsy) screen
// pixels (drag-to-pan, scroll wheel).
void zoom_pan(VIEWINFO* view, const PICINFO* pic, int sw, int sh, int dsx, int dsy);

// ---- Screen to picture ----

// Picture pixel under screen point (sx, sy), honouring the mirrored scan
// directions (scan_hor E_W, scan_ver S_N). Returns 1 when inside the picture.
int view_scr2pic(const VIEWINFO* view, const PICINFO* pic, int sw, int sh, int sx, int sy, int* px,
                 int* py);

// The readouts under the mouse: "Position" ("x=%5.2f,y=%5.2f": picture x,y
// with coordxy or without positions, else longitude and latitude in degrees)
// and "Pixel" ("%8d": value of the shown channel). Empty texts outside the
// picture. Returns 1 when inside.
int view_readout(const VIEWINFO* view, const PICINFO* pic, int sw, int sh, int sx, int sy,
                 std::string* position, std::string* pixel);

// Slot of the line's channel arrays holding channel ch (1..25): the number of
// recorded channels before it; ch - 1 when the picture lists none.
int view_channel_slot(const PICINFO* pic, int ch);

// ---- Messages ----

// The message box texts (title "Error") for a non-zero result of open_file.
std::vector<std::string> open_file_messages(int code, const PICINFO* pic);

// Fills the picture's palette with the grey scale of 256 entries.
void load_grey_clrmap(PICINFO* pic);

// Title of the main window: "Pava", or with a picture open "Pava    File
// <base name>" ("Pava    File (name too long!)" when the base name plus 4
// reaches 90 characters).
std::string main_title(const PICINFO* pic);

// The channel of a "Channel/..." radio item: 0 for "Channel/False clr", 1..10
// for "Channel/Ch1".."Channel/Ch10", -1 for anything else.
int view_channel_of_path(const char* path);

// The rows of the "File info" window: label and value of the picture's file,
// type, satellite, size, channels, first and last line time, time and orbit
// validity, and the decoder firmware (four bytes in hex).
std::vector<std::pair<std::string, std::string>> file_info_rows(const PICINFO* pic);
