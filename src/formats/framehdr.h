// HRPT frame header of a line: sync test, spacecraft address, line time, the
// decoded header record, satellite names, and the frame layout of the raw
// recording formats (shared with the CCSDS readers).
#pragma once
#include <cstdint>
#include <cstdio>
#include <ctime>

#include "formats/picinfo.h"

// The HRPT minor frame sync, words 0-5.
constexpr uint16_t HRPT_SYNC[6] = {644, 367, 860, 413, 527, 149};

// HRPT frame sync test on words 0-5. Strict (lenient 0): all six words match.
// Lenient: true as soon as one of words 0-4 matches; otherwise whether word 5
// does.
int is_hrptsync(const uint16_t* words, int lenient);

// Decoded frame header of one line.
struct HRPT_FRAMEHDR {
  uint16_t sync_word[6];
  int avhrr_sync;
  uint16_t minor_framenr;
  uint16_t spacecraft_addr;
  int resync;
  char chan3ab;  // 'a' or 'b': which of AVHRR channels 3A/3B is sent
  uint16_t day_count;
  uint32_t msec_count;  // milliseconds of the day
  uint16_t telemetry[5];
  uint16_t target_temp[5];
  uint16_t back_scan[10][5];
  uint16_t space_scan[10][5];
  int avhrr_synclate;
  uint16_t period_998_khz;
  uint8_t ch3_patchtemp;
  char sat_name[20];
  struct tm sat_time;
  uint16_t msec;
};

// Decodes the header words of a line (at least 103 words) of a file type into
// hdr. The status bits of word 6 only for FT_HRPT; the Meteor types carry
// hours, minutes and seconds in words 8-10 instead of the HRPT time code.
void decode_framehdr(const uint16_t* words, int file_type, HRPT_FRAMEHDR* hdr);

// Spacecraft address of a frame by file type (see the table in framehdr.cpp).
int frm2id(const uint16_t* words, int file_type);

// Satellite name of a spacecraft address, in one static buffer that each call
// overwrites. xrptid2name is the same function.
const char* spacecrftaddr2name(int address, int sat_type);
const char* xrptid2name(int address, int sat_type);

// Time of a line from its frame header words; reference supplies the year
// (and the day of the year when the header has none). Meteor types: whole
// seconds in Moscow time, milliseconds made up from a state kept between calls
// (hrpt_frame_time_reset clears it).
tm_ms hrpt_frame_extr_time(const uint16_t* words, int file_type, const struct tm* reference);
void hrpt_frame_time_reset();

// Fills sat_name (as an HRPT satellite) and sat_time/msec of hdr from its
// address and time code. Returns 'y', or 'd' when the header had no day count
// and the reference's day was taken.
int interpret_framehdr(HRPT_FRAMEHDR* hdr, const struct tm* reference);

// Decodes the header of picture line n (0-based) with the picture's file type.
// Returns 0 when the line does not exist, else 1.
int get_hrpt_framehdr(const PICINFO* pic, const VIEWINFO* view, int line, HRPT_FRAMEHDR* hdr);

// From line start on (at most 1000 lines): the first line whose whole second
// is one more than that of the previous line after exactly five equal-second
// steps (six lines a second: a clean time code). Returns its line number, or 0
// when the picture has no header words, a line is missing or none was found.
int search_first_reliable_frame(int start, const PICINFO* pic, const VIEWINFO* view,
                                HRPT_FRAMEHDR* hdr);

// Reads 1024-byte CCSDS frames from the file's current position and returns
// the spacecraft identifier that came in 12 frames in a row, or 0 at the end of
// the file.
int read_ahrpt_satid(FILE* fp);

// sat_id from the frames of pic->fp (read_ahrpt_satid); when found, sat_name
// from the identifier for sat_type.
void get_sattype(PICINFO* pic, int sat_type);

// Frame layout of a line record for a file type, the recorded channel slots
// (channels_recorded: 26 entries, slot 0 = header words) and the width.
FRAMEINFO calc_hrptframeinfo(int file_type, const int* channels_recorded, int width);
