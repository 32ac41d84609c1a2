// Two-line element files and the satellite database: reading NORAD element
// sets, the lists of selected satellites (SAT) and of element files (FNORAD),
// per-satellite frequencies and picture defaults, and "now" with the
// trackers' offsets.
#pragma once
#include <cstdio>
#include <ctime>

#include "config/prefs.h"
#include "display/display_types.h"
#include "formats/enums.h"
#include "orbit/orbit_types.h"

struct TRACK;
struct FNORAD;

// One selected satellite: an element of a doubly linked list of zero-filled
// heap records. Plain data: copying a SAT copies its elements and model state.
struct SAT {
  SAT *prev, *next;
  FNORAD* db;         // element file the satellite came from (may be null)
  struct tm up_time;  // next rise (GMT)
  char satname[40];
  int m_ilum;  // moon illumination code 0..200
  KEPLER kepler;
  ORBIT orbit;              // max_sens_angle and width_original filled here
  EPOINT pos;               // last sub-satellite point
  DIRECTION dir;            // last look direction
  float max_elev;           // radians
  float maxelev_firstpass;  // radians
  int pass_e1_w0;
  struct tm maxelev_time;
  int visible, selected, skip_track;
  SATTYPE type;     // satellite, or the sun or moon standing in for one
  float hfreq;      // high-band downlink, MHz
  float lfreq;      // low-band downlink, MHz
  char modtype;     // 'P' PSK/HRPT family, 'Q' QPSK
  TRACK* track;     // predicted passes
  int do_forcepos;  // replace the computed sub-satellite point
  EPOINT forced_pos;
  char posfile[300];  // file a forced position is replayed from
  FILE* fp_pos;
};

// One element file that was read: its satellites and its path.
struct FNORAD {
  FNORAD *prev, *next;
  SAT* sat;
  char* fn;
};

// Size of the name buffer read_norad_next_keps fills (one line).
constexpr int TLE_LINEBUF = 101;

// Reads the next element set of fp: the name line and lines 1 and 2. name_out
// (TLE_LINEBUF bytes, may be null) receives the name cut at "(" without
// trailing blanks; kepler_out the elements (angles in radians and degrees), its
// tle the same elements in double precision from the text. The model state is
// not prepared. Returns 1 when a set was read, 0 at end of file.
int read_norad_next_keps(FILE* fp, char* name_out, KEPLER* kepler_out);

// Appends to list a SAT for every element set of fp whose name matches a
// pattern of selection (patterns separated by ";", see strcmpwild; at most 90
// characters are used); a set matched by two patterns is appended twice. The
// file is rewound first. Returns the head of the list (null when fp is null).
SAT* read_msat(FILE* fp, const char* selection, SAT* list);

// Matches text against pattern ('*' any run, '?' any one character, case
// sensitive). Returns 0 on a match, 1 on a mismatch, 2 when text is longer
// than the pattern, 3 when the pattern is longer than the text.
int strcmpwild(const char* text, const char* pattern);

// Reads every satellite of the element file at path into a new FNORAD
// appended to *files (which it becomes when empty). Returns the new record, or
// null when path is not a regular file or cannot be read.
FNORAD* add_noradfile(FNORAD** files, const char* path);

// The first SAT of any file whose satname equals name exactly, or null.
SAT* Get_Sat(FNORAD* files, const char* name);

// Appends a copy of the named satellite of files to list (METEOR width 1540).
// Returns the head of the list; list unchanged when the name is unknown.
SAT* add_sat_to_selected(FNORAD* files, const char* name, SAT* list);

// The SAT of list named exactly name, or null.
SAT* Find_Sat(SAT* list, const char* name);

// Replaces list by the satellites of the element file at path: those matching
// selection when it is given (not null, not empty), else those of each entry of
// table (PREFS_NSATS entries) whose on flag is set, in table order. Returns the
// new head, or null when the file cannot be opened (list is removed anyway).
SAT* prepare_track(SAT* list, const char* path, const char* selection, const SATSEL* table);

// Fills hfreq, lfreq and modtype from the satellite's name.
void get_satfreq(SAT* sat);

// Converts the angles of kepler (inclination, raan, perigee, anomaly) in place
// from degrees to radians.
void kepler_d2r(KEPLER* kepler);

// The current GMT time. With an offset record: shifted by tz_offset hours
// (fraction as minutes), then by 3600 * hours_ahead + sec_offset seconds;
// without one plain GMT (hours_ahead ignored).
void mom_tm(struct tm* tm_out, float hours_ahead, const TM_OFFSET* offset);

// As mom_tm, plus milliseconds: 1000 * fraction of sec_offset on a new second,
// growing by 100 * (first decimal of reptime) when the same second comes again;
// 0 without an offset record.
void mom_tmms(tm_s* tms_out, float hours_ahead, const TM_OFFSET* offset);

// The clock mom_tm and mom_tmms read: seconds since 1970. Tests and benchmarks
// install a fixed clock; null restores the system clock.
using OrbitClockFn = time_t (*)();
void orbit_set_clock(OrbitClockFn clock);

// List records. Create_Sat and Create_Norad append a zero-filled record at the
// tail of *list (it becomes *list when empty) and return it; on allocation
// failure "FATAL ERROR: Out of memory! \n" and exit status -1.
SAT* Create_Sat(SAT** list);
// Unlinks and frees sat (and its passes); returns the head of the rest.
SAT* Remove_Sat(SAT* sat);
// Removes sat and every element after it; returns the head of the rest (null
// when sat was the head).
SAT* Remove_Sats(SAT* sat);
FNORAD* Create_Norad(FNORAD** list);
// Removes files from this one to the end with their satellites; returns the
// head of what remains (null when the head was given).
FNORAD* Remove_Norad(FNORAD* files);

// Print the lists to standard output.
void pri_sats(const SAT* list);
void FNORAD_pri(const FNORAD* files);
