// The picture record: the one picture that is loaded or being recorded, with
// its lines, frame layout, time, calibration, overlay and orbit.
#pragma once
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <vector>

#include "display/display_types.h"
#include "formats/enums.h"
#include "orbit/orbit_types.h"

// Colour map: one entry per sample value (samples are at most 12 bits).
struct CLRMAP {
  int size;
  int red[4096], green[4096], blue[4096];
};

// Layout of one line record in a raw recording file.
struct FRAMEINFO {
  int words_per_frame;  // 10-bit words of one line as stored
  int words_per_line;
  int bytes_per_line;
  int header_len;  // frame header words kept per line
  int leader_len;  // words between header and first channel
  int inter_chan;  // channels stored
  int dist_chan;
};

// Time stamp of a line: UTC calendar time, milliseconds, decoded flag (the
// line-time repair reuses valid as the length of the run of plausible times).
struct tm_ms {
  struct tm tm;
  int ms;
  int valid;
};

// Earth position of a pixel: longitude and latitude, radians. A line keeps
// one per pixel; the position vector of EPOINT is not kept there (a full pass
// would need three times the memory for values nothing reads).
struct GEOPOS {
  float lon, lat;
};

constexpr int XLINE_MAXCHAN = 26;
constexpr int XLINE_HDRWORDS = 750;

// One picture line, in a doubly linked list in line order.
struct XLINE {
  XLINE* prev;
  XLINE* next;
  uint16_t* line[XLINE_MAXCHAN];  // slot k: samples of the k-th channel in file order
  uint16_t* line_hdr;             // 750 frame header words
  uint8_t* olmask;                // width bytes: grid/coast mask
  ::tm_ms tm_ms;
  EPOINT subsatpos;
  GEOPOS* pos;  // width earth positions, made on first need (xline_alloc_pos)
  int width;
  int nrchan;
  int linenr;
  int dec_sync;
  int syncword;
  int faulty;
  int replaces;
};

// Description of an HRI picture.
struct HRIINFO {
  char sat_name[30];
  char chan_desc[5][30];
  int format;
  int encrypted;
  int frames_per_subframe;
  int subframes_per_line;
  int first_subframe;
  int first_line;
  long pic_start;
};

// How the words of a picture file are stored, beside its FILE_TYPE.
enum PIC_CONTAINER {
  CONT_NATIVE = 0,   // the layout of the file type
  CONT_RAW16BE = 1,  // raw16: one 10-bit word per big-endian 16-bit word
  CONT_RAW16LE = 2   // raw16, little-endian
};

struct GIFDECODER;  // decoder state while reading GIF files

struct PICINFO {
  char work_location[300];
  char file_name[200];
  FILE* fp;  // open file of the picture; null: no picture open
  FILE_TYPE file_type;
  SAT_TYPE sat_type;
  int sat_id;
  char sat_name[40];
  int width, height, depth;
  int no_xymapping;
  int reed_solomon;
  int jpg_quality;
  float max_sens_angle;  // degrees
  CLRMAP clrmap;
  FRAMEINFO fri;
  long pic_strt;
  int width_original;
  int ox, oy;
  int nr_chan;
  int lines_per_sec;
  float lin_exp;
  SCANDIR scan_hor, scan_ver;
  int channels_recorded[26];  // 0: frame header words stored; 1..25: channel in file
  struct tm picture_time;
  NOAACAL noaacal;
  XLINE* xline;
  int valid_time;
  OVLINFO ovlinfo;
  int syncsignal_del;
  GIFDECODER* gif_pci;
  HRIINFO hri_pci;
  KEPLER kepler;
  ORBIT orbit;
  char firmware[8];
  int derandomise;  // CCSDS units of the file still carry the pseudo-random sequence

  // Lines by number: kept beside the list (see pic_set_lines, pic_line).
  std::vector<XLINE*> line_index;

  // Container of the samples in the file when the file type alone does not say
  // it: headerless HRPT frames in 16-bit words open as FT_HPT pictures.
  PIC_CONTAINER container;
};

// Appends a zero-filled line with nrchan channels of width samples at the end
// of the list *head (tail: the list's last line when the caller knows it, so
// that building a list stays linear). Allocates line_hdr and olmask.
XLINE* Create_Xline(XLINE** head, int nrchan, int width, XLINE* tail = nullptr);

// The line's earth positions, allocated (zeroed) on first use: only a
// georeferenced picture needs them. Null when the allocation fails.
GEOPOS* xline_alloc_pos(XLINE* line);

// Frees every line of the list and sets *head to null.
void Remove_Xline(XLINE** head);

// Makes head the picture's line list (freeing the old one) and indexes it.
void pic_set_lines(PICINFO* pic, XLINE* head);
// Frees the picture's lines and their index.
void pic_free_lines(PICINFO* pic);
// Rebuilds the index after the list was changed by hand.
void pic_reindex(PICINFO* pic);
// Line n (0-based) in constant time, or null when there is none.
XLINE* pic_line(const PICINFO* pic, int n);
// Number of lines in the list.
int pic_line_count(const PICINFO* pic);

// A plain array of size pointers, each to count zeroed 8-byte cells.
double** alloc_lines(int count, int size);
void free_lines(double** lines, int size);

// Creates a zero-filled picture record (all text empty, no lines).
PICINFO* pic_new();
// Closes nothing: frees lines and the record.
void pic_delete(PICINFO* pic);
