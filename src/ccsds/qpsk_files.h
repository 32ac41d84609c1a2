// QPSK record files (Metop, FY-3, NOAA-20/21, Aqua): header block and lines.
//
// A record file is an optional 1024-byte header block followed by the
// received units, 1024 bytes each, as the recorder got them. Header block
// (little-endian numbers, all other bytes zero):
//
//   0    4  1A CF FC 1D            56  4  element set epoch year (int32)
//   4    8  identifier, NUL-ended  60 32  epoch day, decay, inclination,
//   16   9  "Firmware="                   RAAN, eccentricity, perigee,
//   25   4  decoder firmware bytes        anomaly (degrees), mean motion
//   29   1  orbit time offset (s)  92  4  revolution number
//   30  18  start time: nine int16 106 3  "RS="
//           sec min hour mday mon  109 1  1: Reed-Solomon was on
//           year-1900 wday yday    111 1  1: vertical scan not the normal one
//           isdst                  130 1  1
//                                  131 4  orbit longitude offset (float32)
#pragma once
#include <cstdint>
#include <cstdio>

#include "display/display_types.h"
#include "formats/picinfo.h"

constexpr int QPSK_HDR_LEN = 1024;

// Reads the header block (when present) of the QPSK file open in pic->fp and
// sets the picture's geometry for pic->file_type (FT_METOP, FT_FY3, FT_AQUA,
// FT_QNOAA20, FT_QNOAA21). Also finds out whether the units still carry the
// CCSDS pseudo-random sequence (pic->derandomise). Returns 0, 111 ('o') when
// no file is open, 114 ('r') when the file holds no whole unit, or 116 ('t')
// for another file type.
int read_qpsk_hdr(PICINFO* pic, VIEWINFO* view);

// Reads all lines of the QPSK file into a new list and returns its head (null
// when no line was found); sets pic->height.
XLINE* read_qpsk_all(PICINFO* pic, VIEWINFO* view);

// The readers behind read_qpsk_all. With view->reed_solomon set and a file
// recorded without correction, every unit is corrected on reading.
XLINE* read_metop_all(PICINFO* pic, VIEWINFO* view);
XLINE* read_aqua_all(PICINFO* pic, VIEWINFO* view);
XLINE* read_qnoaa_all(PICINFO* pic, VIEWINFO* view);
XLINE* read_fy3_all(PICINFO* pic, VIEWINFO* view);

// Geometry of a FY-3 VIRR picture (10 channels, 25 for FY-3D/E names).
void read_fy31_hdr(PICINFO* pic);

// Writes the 1024-byte header block at the start of file (and returns to its
// end): id is the identifier ("METOPx", "FY3x", "NOAA20", "NOAA21", "AQUA").
// Returns 0, or 1 when there is no file.
int write_metfy_hdr_file(PICINFO* pic, FILE* file, const char* id);
int write_fy3hdr_file(PICINFO* pic, FILE* file);
int write_metophdr_file(PICINFO* pic, FILE* file);
int write_qnoaahdr_file(PICINFO* pic, FILE* file);
int write_aquahdr_file(PICINFO* pic, FILE* file);

// Appends fri.words_per_frame bytes (low 8 bits of each word, at most 1024) of
// a received frame to pic->fp; byte 3 gets bit 4 of its word in bit 0.
// Returns 1 when written, 0 without a file.
int dump_METOP_line(PICINFO* pic, const uint16_t* frame_words);

// Statistics of a recorded QPSK file: frames per virtual channel.
void pri_vcid(FILE* fp);

// Options of the statistics and Reed-Solomon scans.
enum { CCSDS_DERAND_AUTO = 0, CCSDS_DERAND_YES = 1, CCSDS_DERAND_NO = 2 };

// Whether the units from the current position on still carry the
// pseudo-random sequence: up to 16 units are read as stored and derandomised
// and scored by Reed-Solomon (conventional selects the basis) and by the
// consistency of their headers; true when the derandomised reading scores
// higher. The file position is restored.
bool ccsds_probe_randomised(FILE* fp, int conventional);

// True when the 1024 bytes are a record header block ("Firmware"/"firmware"
// at 16, "RS" at 106).
bool qpsk_is_hdr_block(const uint8_t* b);

// pri_vcid with its options: output to out, basis for the randomisation
// probe, derandomise mode (CCSDS_DERAND_*). Returns the number of bytes after
// the last whole unit.
long ccsds_vcid_stats(FILE* fp, FILE* out, int conventional, int derand_mode);
