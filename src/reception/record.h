// The recording engine: waits for the decoder link to be in sync, opens a
// record file, pulls frames, corrects the CCSDS ones, converts them into live
// picture lines, writes every frame, watches sync and the stop conditions, and
// at the end rewrites the header and renames the file after the satellite.
//
// The engine reports through ui() (entries and LEDs of the recorder panel)
// and, where a window is involved, through the nullable REC_CONTEXT that the
// panel or pava-cli hands in.
#pragma once
#include <cstdint>

#include "display/display_types.h"
#include "formats/picinfo.h"
#include "reception/recordinfo.h"

// Window name of the recorder panel (its entries and LEDs).
constexpr const char* REC_PANEL = "Record (A)HRPT";

// Why a pass ended.
enum REC_STOP {
  REC_STOP_NONE = 0,
  REC_STOP_USER,     // recording switched off
  REC_STOP_TYPE,     // satellite type changed
  REC_STOP_OUTSYNC,  // out-of-sync limit
  REC_STOP_ABORT,    // abort from the tracker
  REC_STOP_DEVICE,   // the board went away
  REC_STOP_END,      // end of the replayed data (stop_at_file_end)
  REC_STOP_FILE,     // the record file could not be opened
  REC_STOP_FRAMES    // frame budget of the caller reached
};
const char* rec_stop_name(int why);

// Outcome of one pass.
struct REC_RESULT {
  char file_name[100];  // record file after renaming (empty without save)
  char sat_name[40];
  int frames;  // frames written (Meteor: lines)
  int corrected, uncorrectable;
  int stop;  // REC_STOP
};

// What the engine needs from the window it runs in; every member may be null.
struct REC_CONTEXT {
  void* data;         // handed back to the callbacks
  void* main_window;  // non-null: a main window exists
  // Live drawing of a finished line (words of the line buffer) at row y.
  void (*show_line)(void* data, const uint16_t* line, int nwords, int y, const PICINFO* pci);
  // Clears the live picture at the start of a pass.
  void (*clear_live)(void* data);
  // Quits the toolkit's main loop (one_record with a main window).
  void (*quit_main)(void* data);
  // Opens the just-written file for viewing (file type forced when not 0).
  void (*open_recorded)(void* data, const char* file_name, int file_type);
  // Sets the panel's "!Show channel" to channel ch.
  void (*set_show_channel)(void* data, int ch);
  // Sets the panel's mode button after the board's mode was read (name of the
  // mode table, "(other)" when unknown).
  void (*set_mode_button)(void* data, const char* name);
  // A batch log line (null: log_message).
  void (*log)(void* data, const char* text);
  // After every frame (for callers that count or stop); rdi may be changed.
  void (*on_frame)(void* data, RECORDINFO* rdi, int status, int frames);
  // At the end of every pass.
  void (*on_pass)(void* data, const REC_RESULT* res);
  int stop_at_file_end;  // end the pass when the replayed file wraps
  int max_frames;        // > 0: end the pass after this many frames
  int pace_replay;       // replay a file at the type's real frame rate
};

// Frames a second of a type as the board delivers them (for paced replays).
double rec_frame_rate(int sat_type);

// Runs passes until recording is switched off (or after one pass when
// one_record is set). ctx may be null. Returns 0, or -1 when the device
// could not be opened or no channel is selected.
int Recordpp_Hrpt(const REC_CONTEXT* ctx, RECORDINFO* rdi, PICINFO* pci, VIEWINFO* vwi);

// Prepares the picture record, the recorded channels, the frame geometry and
// the file names for the current type.
void set_rec_par(RECORDINFO* rdi, PICINFO* pci);

// One pass; res (may be null) receives its outcome. Returns the REC_STOP.
int Recordpp_one_Hrpt(const REC_CONTEXT* ctx, RECORDINFO* rdi, PICINFO* pci, VIEWINFO* vwi,
                      REC_RESULT* res);

// The next frame of the replayed file rdi->sim_file (recorded HRPT, CHRPT,
// Meteor or QPSK file, or raw 16-bit HRPT frames) into frame. Always 1;
// *wrapped is set when the file started over. A null frame closes the file.
int frame_from_file(uint16_t* frame, RECORDINFO* rdi, int* wrapped);

// Aqua: writes words_per_frame words of the frame as bytes to the record file.
// 1 when written, 0 without a file.
int dump_METOPx_line(PICINFO* pci, const uint16_t* frame);

// Test routine: words 10..799 of every 10th frame (n counts the frames) into
// line, four times each, until 11090 words are filled. Returns 1 when the line
// is complete (and starts over), else 0.
int mtpframe2line_sim(const uint16_t* frame, uint16_t* line, int n);

// A recording specification "type:chans" (or "chans"): type one of hrpt,
// chrpt, m2hrpt, metop, noaa20, noaa21, aqua, fy3ab, fy3c, fy3d (default hrpt,
// 'c' in chans also CHRPT); chans digits 1..9 and 0 (10), 'a' all. Sets
// sat_type, file_type and channels_recording; returns the board mode code, or
// -1 with a message in err (size bytes) when the text is wrong.
int rec_apply_spec(RECORDINFO* rdi, const char* spec, char* err, int size);

// ---- Recorder panel logic (the panel's widgets call these) ----

// "Abort": refused while in sync (returns 1, the panel then shows "No abort
// (Still receiving)"); else sets abort and returns 0.
int rec_panel_abort(RECORDINFO* rdi);

// Channels to record from the panel's five channel buttons (pressed[0..4])
// and its "  All " button, by rdi->file_type; channel 0 (frame header) on.
void rec_panel_channels(RECORDINFO* rdi, const int pressed[5], int all);

// What Recordpp_Hrpt_Auto presses for spec and sat_type: the type (CHRPT when
// spec holds a 'c'), channel buttons 1..5, "  All ", "Generator".
struct REC_AUTO_PLAN {
  int sat_type;
  int button[6];  // 1..5
  int all;
  int generator;
};
REC_AUTO_PLAN rec_auto_plan(const char* spec, int sat_type);

// Test seam: a frame source used instead of the board (null restores).
void rec_set_frame_source(int (*src)(uint16_t* frame, RECORDINFO* rdi));
