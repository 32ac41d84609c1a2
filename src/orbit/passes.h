// Pass prediction: stepping through time with the position functions to find
// rise, culmination and set of a satellite over the observer, and the merged
// list of the next passes of all selected satellites.
#pragma once
#include <ctime>

#include "orbit/orbit_types.h"
#include "orbit/satdb.h"
#include "tracking/rotor_types.h"

// What a horizon search waits for.
enum SEARCH_MODE { mode_unk = 0, search_up = 1, search_down = 2, search_maxelev = 3 };

// One predicted pass: an element of a doubly linked list of zero-filled heap
// records. Times are GMT, whole seconds; angles radians.
struct TRACK {
  TRACK *prev, *next;
  SAT* sat;       // set when the pass is put into a list
  EPOINT up_pos;  // sub-satellite point at rise
  struct tm up_time;
  EPOINT down_pos;  // sub-satellite point at set
  struct tm down_time;
  EPOINT maxelev_pos;  // sub-satellite point at the highest elevation
  struct tm maxelev_time;
  float max_elev;
  int pass_e1_w0;  // 1: culmination east of the observer
  int selected;
  int going_south;  // 1: southbound pass
  int done;
};

// Steps the moment *start_tm by sec_incr seconds (may be negative) from sat
// over the observer refpos until the awaited event: search_up elevation >=
// elev_hor; search_down elevation < elev_hor; search_maxelev elevation lower
// than the previous sample (only when mom_elev is given) or below elev_hor;
// mode_unk never. Returns 1 when met (start_tm then holds its moment and
// pos_subsat the sub-satellite point), 0 after more than a day of stepping.
// mom_elev (may be null) receives the last sample's elevation.
int search_horizon(SAT* sat, int sec_incr, SEARCH_MODE search_mode, struct tm* start_tm,
                   EPOINT* pos_subsat, const ROTOR* rot, float* mom_elev, const EPOINT* refpos,
                   float elev_hor);

// Finds the first pass from *start_tm (backwards first when forward is false,
// so that a pass in progress counts) whose highest elevation reaches elev_det
// radians (the moon: any), trying at most 100 passes. Fills tr; with stop_tm
// given the whole pass is searched and stop_tm receives its set time, else
// only the rise. Returns true when a pass was found. start_tm is not changed.
bool predict(SAT* sat, const struct tm* start_tm, struct tm* stop_tm, TRACK* tr,
             const EPOINT* refpos, const ROTOR* rot, float elev_hor, float elev_det, bool forward);

// Predicts the next nr passes of every satellite of sat_list from now (mom_tmms
// with prefs.tm_off, shifted by offset_min minutes; observer prefs.refpos,
// horizon prefs.elev_horiz; elev_det in whole degrees), replacing each
// satellite's track list, and returns a new list of the nr earliest passes of
// all satellites in time order (copies; null when none).
TRACK* first_passes(SAT* sat_list, int nr, int offset_min, int elev_det);

// Appends a zero-filled TRACK at the tail of *list and returns it ("OUT OF
// MEM!" and exit status 1 when memory runs out).
TRACK* Create_Track(TRACK** list);
// Frees track and every element after it (unlinking it from its predecessor).
void Remove_Tracks(TRACK* track);
