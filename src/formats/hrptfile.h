// Raw HRPT, CHRPT and SeaStar recording files: a 16000-byte header and one
// record per received frame. All numbers little-endian, floats IEEE single.
#pragma once
#include <cstdint>
#include <cstdio>

#include "formats/picinfo.h"

constexpr int HRPT_HDRSIZE = 16000;
constexpr int HRPT_PREFIX = 7;  // "FRAME"/"FRAMe" + uint16 byte count

// Orbital elements as stored in a header (48 bytes at offset 48), angles in
// degrees.
struct KEPLER1 {
  int32_t noradnr, internat, epoch_year;
  float epoch_day, decay_rate, inclination, raan, eccentricity, perigee, anomaly, motion;
  int32_t epoch_rev;
};

// In-memory file header of the HRPT family (HRPTHDR and CHRPTHDR layouts; the
// per-channel arrays are sized for CHRPT's ten channels, HRPT uses eight).
struct HRPTHDR {
  char sign[4];
  char sat_name[16];
  uint8_t kan_tot;  // channel mask of version-3 headers
  uint8_t filetype;
  int16_t width, height, depth;
  int8_t offset_gmt, offset_sec;
  int16_t tm_comp[9];  // sec, min, hour, mday, mon, year, wday, yday, isdst
  KEPLER1 kepler;
  char hdr_version[8];
  int16_t hdrlen;
  int16_t x_offset, y_offset;
  uint8_t satdir;  // 0 north-to-south, 1 south-to-north
  uint8_t reserve2;
  int16_t tm_satstrt[9];
  char tm_comp_sat_vlg;  // 's' satellite time, 'c' computer clock
  float offset_lon;
  int16_t dmin[10], dmax[10];
  int16_t ro, go, bo;
  float kr[10], kg[10], kb[10];
  uint8_t channel[11];  // slot 0 header words, 1.. channels
  int16_t widthmax;
  float alphamax;
  char endhdr[8];
};
typedef HRPTHDR CHRPTHDR;

// Header record <-> the 16000 bytes of the HRPT (chrpt 0) or CHRPT (chrpt 1)
// layout. The colour tables and reserve are written as zeros.
void hrpthdr_encode(const HRPTHDR* h, int chrpt, uint8_t* bytes);
void hrpthdr_decode(const uint8_t* bytes, int chrpt, HRPTHDR* h);

// Write the header record at the file's current position: 1 without a file,
// else 0 (write errors are not reported).
int write_hrpt1hdr_file(FILE* fp, const HRPTHDR* h);
int write_chrpt1hdr_file(FILE* fp, const CHRPTHDR* h);
// Rewind and read the 16000 header bytes into h; null on a short read.
HRPTHDR* read_hrpt1hdr_file(FILE* fp, HRPTHDR* h);
CHRPTHDR* read_chrpt1hdr_file(FILE* fp, CHRPTHDR* h);

// Builds the header of pic (file type, satellite, geometry, channels, start
// times, elements, offsets) and writes it to pic->fp at its current position.
// Sets pic->fri. Returns 1 when no file is open, 2 when out of memory, else 0.
int write_hrpt1_hdr(PICINFO* pic);

// Fills pic from the header of the file open in pic->fp (also the Meteor
// types). Returns 0, or 114 ('r') when the header can't be read or is absurd.
int read_hrpt1_hdr(PICINFO* pic);

// Packing of four 10-bit words into five bytes: bytes 0-3 are the upper eight
// bits of w0..w3, byte 4 their low two bits (w0 in bits 7-6 ... w3 in 1-0).
void hrpt1_pack(const uint16_t* words, uint8_t* bytes);
void hrpt1_unpack(const uint8_t* bytes, uint16_t* words);

// Appends one line record to pic->fp: prefix "FRAME" (flags bit 0x10: found by
// the decoder's sync) or "FRAMe", byte count, fri.words_per_line / 4 packed
// groups. Takes fri.words_per_frame words from words (the rest of the last
// group is zero). Returns 0 when no file is open, else 1.
int write_hrpt1_line(PICINFO* pic, const uint16_t* words, int flags);

// Number of lines, counted from pic_strt at the step words_per_frame / 4 * 5 +
// 10 bytes (used when the header has no line count).
int hrpt_lines_in_file(PICINFO* pic);

// Reads all lines of the file into a new list and returns its head; sets
// height to the lines read and valid_time from the line times.
XLINE* read_hrpt1_all(PICINFO* pic);

// The first 131 bytes (common to the HRPT, CHRPT and Meteor headers).
void hrpthdr_encode_common(const HRPTHDR* h, uint8_t* bytes);
void hrpthdr_decode_common(const uint8_t* bytes, HRPTHDR* h);
// Header fields from the picture (name, geometry, direction, elements in
// degrees, start times, offsets, version and end marks) and back.
void hrpthdr_from_pic(const PICINFO* pic, HRPTHDR* h);
void hrpthdr_to_pic(const HRPTHDR* h, PICINFO* pic);
// A colour map of 1024 grey entries.
void pic_grey_clrmap(PICINFO* pic);

// Size of an open file in bytes (0 when unknown).
long pava_file_size(FILE* fp);
