// The tracker's engine: the list of coming passes, the choice of the pass to
// follow, decoder and tuner preparation for it, and the periodic cycle that
// computes every satellite's position, drives the rotor outputs, runs the
// user's external commands at rise and set and stops a running recording when
// the followed satellite sets.
//
// The core never touches a window: it reports through TRACKER_UI, and it runs
// from timeouts it asks for through TRACKER_TIMER (the GTK layer plugs its
// main loop in; tests and pava-cli drive the built-in manual timer). The
// cycle's moment comes from the orbit clock (orbit_set_clock) shifted by
// glob_g.test_min and the preference tm_off.
#pragma once
#include <string>

#include "orbit/passes.h"
#include "orbit/satdb.h"

// The tracker's process-wide state.
struct GLOB_G {
  int redraw;       // a redraw was requested while one was running
  int redrawing;    // a redraw is running
  int sel_sat;      // index of the selected pass in the list
  int nr_inlist;    // passes to put in the list
  int elev_det;     // minimum maximum-elevation (degrees) of a listed pass
  TRACK* tracks;    // head of the current pass list
  int sat_changed;  // the user changed the selection: next cycle keeps the list
  int rotor_pause;  // rotor output paused
  int test_min;     // the cycle's clock runs this many minutes ahead
  int tracking;     // tracking switched on
};
extern GLOB_G glob_g;

// How the tracker reports to its window. Every member may be null (nothing
// shown). Entry names are the window's labels: "!INFO pass", "!FREQ pass",
// "!Next pass", "^Rotor connect", "Last sent:", "!Recording ".
struct TRACKER_UI {
  void (*set_entry)(const char* name, const char* text);
  // The pass list changed: fill the list ("Satellite", "Up time", "Max Elev",
  // "Down at", "Freq") from tracks.
  void (*list_rows)(const TRACK* tracks);
  // LED name ("Send") on (1), off (0) or flashed (2).
  void (*led)(const char* name, int state);
  // A start/stop button: "Start /Stop" of the tracker or "Start/Stop" of the
  // recorder panel; on and sensitive as given (-1 leaves it). Returns whether
  // the button was on before.
  int (*button)(const char* name, int on, int sensitive);
  // Selects the recorder type (a mode name such as "HRPT", "M2HRPT",
  // "FY3-A,B"). Returns 0 when a panel took it, -1 when there is no panel.
  int (*select_recorder_type)(const char* type);
  // Something happened that a log or simulation wants to see: kind is one of
  // "passlist", "select", "decoder", "tuner", "rise", "set", "extprog",
  // "rotor", "abort", "delimiter"; sat may be null; detail is free text.
  void (*event)(const char* kind, const char* sat, const char* detail);
};
void tracker_ui_install(const TRACKER_UI* ops);  // null: all no-ops
const TRACKER_UI& tracker_ui();

// Timeouts. add_timeout calls fn(data) every period_ms until it returns 0 or
// the id is removed; ids are > 0.
struct TRACKER_TIMER {
  unsigned (*add_timeout)(int period_ms, int (*fn)(void*), void* data);
  void (*remove_timeout)(unsigned id);
};
// Null installs the built-in manual timer (driven by tracker_timer_advance).
void tracker_timer_install(const TRACKER_TIMER* ops);
// Manual timer: lets ms milliseconds pass, firing every due timeout in time
// order. Returns the number of handler calls.
int tracker_timer_advance(long ms);
// Manual timer: the number of timeouts that are set.
int tracker_timer_count();

// Runs a finished external command; the default is system(). Returns its
// status.
void tracker_set_run_hook(int (*run)(const char* command));
// The pass delimiter for the board (sent once at rise and once at set of the
// selected pass); default: nothing beyond the "delimiter" event.
void tracker_set_delimit_hook(void (*send)(int rising));

// Starts (sats given) or stops (null) the tracking timeout; see the .cpp.
void run_track(void* widget, SAT* sats);
// Follows the sun with the rotor (on) or stops that.
void run_sun(void* widget, int on);
int do_suntrack(void* data);

// One cycle; nonzero keeps the timeout.
int do_track(SAT* sats);

// Rebuilds (sel < 0 or no list) the pass list and selects pass sel.
void get_newpasses(SAT* sats, void* widget, int activate, int sel);
// Selects the n-th pass: 0, -1 (no decoder connected) or another negative code.
int select_sat(SAT* sats, TRACK* tracks, void* widget, int n);
// The recorder type for a satellite name, or null ("HRPT", "NOAA20", "NOAA21",
// "AQUA", "M2HRPT", "METOP", "FY3-A,B", "FY3-C").
const char* sattype_of_name(const char* name);
// Switches the recorder to the type of sat's name; restarts a running
// recording 2000 ms later. Returns the type or null.
const char* set_sattype(SAT* sat, void* widget);
// Reconnects first when flag is set (-3 on failure); then the firmware read's
// status (0 when the board answers).
int check_connected(usb_items* usb, int flag);

// Follows sat for one cycle; 1, or 0 to end tracking.
int track_the_sat(float step, SAT* sat, TRACK* pass, const tm_s* moment);

// External commands. mode: 0 prog_up, 1 prog_trackingup, 2 prog_down,
// 3 prog_idledown. Runs nothing for an empty template or one starting with
// '!'. Returns the command that ran ("" when none).
std::string ext_prog(int mode, const DIRECTION* dir, const char* name, int value);
void do_extprog(const char* name, int value, int tracking, const DIRECTION* dir);
// Fills the conversions of tmpl (%e elevation, %a azimuth, %x, %y angles in
// degrees with the given width and precision; %n name; %t value; "%%" a
// percent sign; other letters kept). At most strlen(tmpl) + 100 characters.
std::string fillin_satpos(const char* tmpl, const DIRECTION* dir, const char* name, int value);

// Marks visible satellites: the listed passes' first, then the others, up to
// the limit n (n >= 0 becomes the remembered limit; 0: no limit).
void set_visible(TRACK* tracks, SAT* sats, int n);

// The moment of the last cycle.
const tm_s& tracker_moment();
// Followed satellite of the last cycle (null when none).
SAT* tracker_followed();
// Clears every process-wide state (list, flags, timeouts, hooks stay).
void tracker_reset();

// hamlib rotctld output: connects to host:port when needed and sends
// "P az el\n"; the reply must be "RPRT 0". Returns 0, or -1 when no
// connection, -2 on a failed write, -3 on no / a bad reply (the link is then
// closed). reply (may be null) receives the reply line.
int rotctld_send_pos(const char* host, int port, float az_deg, float el_deg, std::string* reply);
// Sends "p\n" and reads the two lines back; 0 on success.
int rotctld_get_pos(const char* host, int port, float* az_deg, float* el_deg);
// Sends "S\n" (stop); 0 on "RPRT 0".
int rotctld_stop(const char* host, int port);
void rotctld_close();
