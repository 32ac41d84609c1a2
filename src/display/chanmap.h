// Channel maps: the false-colour composition of a pixel, the default maps per
// file type, the stored maps per satellite family, and the channel alignment.
#pragma once
#include "display/display_types.h"
#include "formats/picinfo.h"

// Satellite families of the stored maps, in the order of prefs.clrmaps.
constexpr const char* CLRMAP_FAMILIES[4] = {"NOAA", "METOP", "METEOR", "FY3"};

// Clears a map: all weights and offsets 0, channels off, gamma and lum 1.0.
void clrmap_reset(CLRMAPCHAN* map);

// Composition of one pixel from the channel values v[1..25] (v[0] unused).
// recorded[ch]: the channel is in the picture. Every channel's share is
// truncated as it is added; lum (when not 0) scales the sums; the results are
// clamped to 0..1023.
void compose_pixel(const CLRMAPCHAN& map, const int recorded[26], const int v[26], int* r, int* g,
                   int* b);

// Default map of a file type into *map. Returns 1 when set, 0 when the type
// has no default (the map is then left as it is).
int set_std_falseclr(FILE_TYPE ft, CLRMAPCHAN* map);

// Family index (0..3) of a satellite type; 0 for types without a family.
int clrmap_family(SAT_TYPE st);

// The map shown with a picture: the family's stored map 1 when it has a
// channel on (with lum 1.0), else the file type's default.
void set_falseclr(const PICINFO* pic, VIEWINFO* view);

// State of the map window's store buttons and of " Save mappings ".
enum STORE_STATE { STORE_PLAIN = 0, STORE_CHANGED = 1, STORE_SAVED = 2 };
struct CLRMAP_BUTTONS {
  int store[3];        // STORE_STATE of " Store map 1".." Store map 3"
  int save_sensitive;  // " Save mappings " can be pressed
};
// Colour of a store button in that state (white, red, green).
RGBCLR store_button_colour(int state);

// Store, get and undo of stored map n (0..2) of family fam, and saving them
// all. store: cmhc -> stored map; get: stored map -> cmhc; undo: the copy
// taken when the preferences were loaded -> stored map and cmhc. Return 0, or
// -1 for a bad family or map number; clrmap_save returns Save_Prefs' result.
int clrmap_store(VIEWINFO* view, int fam, int n, CLRMAP_BUTTONS* buttons);
int clrmap_get(VIEWINFO* view, int fam, int n);
int clrmap_undo(VIEWINFO* view, int fam, int n, CLRMAP_BUTTONS* buttons);
int clrmap_save(CLRMAP_BUTTONS* buttons);

// The "CMap A/B/C" / "Clum" choice: choice 0..2 loads that stored map into
// cmhc, switches the false colour on and returns 1.0 for the "Clum" slider;
// choice 3 ("Clum") sets cmhc.lum from clum and returns it. Either way lum is
// then written into stored map 1 of the family.
float clrmap_choose(VIEWINFO* view, int fam, int choice, float clum);

// " Std colour ": the default map of the picture's file type on a cleared map.
// Returns the view's gamma for the main window's "Gamma" slider.
float clrmap_std_colour(const PICINFO* pic, VIEWINFO* view);

// LED colours of the "Aligned" indicator.
constexpr int ALIGN_LED_RESET = 2184;
constexpr int ALIGN_LED_AUTO = 3840;

// Sets the alignment of channel ch (1..25) and updates min/max_vshift.
void align_set(VIEWINFO* view, int ch, int hshift, int vshift, int tilt);
// " Reset align ": all shifts and tilts 0. Returns the LED colour.
int align_reset(VIEWINFO* view);
// " Auto align ": reset, then the fixed shifts of the file type. Returns the
// LED colour.
int align_auto(VIEWINFO* view, FILE_TYPE ft);
// Source position of channel ch for picture pixel (x, y): the shifts and the
// tilt (a vertical shift growing across the line: tilt lines at the last
// column of a line of width pixels) applied.
void align_source(const VIEWINFO* view, int ch, int x, int y, int width, int* sx, int* sy);

// Slot of channel ch in a line (channels are stored in file order), or -1
// when the channel is not recorded.
int chan_slot(const PICINFO* pic, int ch);
