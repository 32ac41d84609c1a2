// HPT (".hpt", 5 channels) and CHPT (".C10", 10 channels) files: headerless
// streams of HRPT/CHRPT frames in a big-endian bit packing; and raw16 files:
// headerless HRPT frames of 11090 words, one 10-bit word per 16-bit word.
#pragma once
#include <cstdint>
#include <cstdio>
#include <ctime>

#include "formats/picinfo.h"

// Four 10-bit words as a big-endian bit stream of five bytes.
void hpt_pack(const uint16_t* words, uint8_t* bytes);
void hpt_unpack(const uint8_t* bytes, uint16_t* words);

// Sets the geometry of an HPT (nch 5) or CHPT (nch 10) picture open in pic->fp
// and counts its lines. Returns 0.
int read_hpt_hdr(PICINFO* pic, int nch);

// Reads groups of five bytes from fp and unpacks them into words (four a
// group), or skips them when words is null. 0 when a group can't be read.
int read_hptqwords(FILE* fp, uint16_t* words, int groups);

// How many times words_per_frame / 4 groups can be read in a row from pic_strt
// (a step shorter than the record, kept so).
int hpt_lines_in_file(PICINFO* pic);

// Reads line *line into words (words_per_frame / 4 groups) and advances *line
// by one in scan direction (-1 for a south-to-north view). Status: 1, | 0x0C
// when the line starts with the frame sync, | 0xE0 when the next frame does.
// With the view skipping faulty lines, lines lacking a sync the view's mask
// asks for are passed over. 0 when the line number runs below 0 or the file
// ends.
int read_hpt_line(PICINFO* pic, const VIEWINFO* view, int* line, uint16_t* words);

// Reads all lines into a new list and returns its head.
XLINE* read_hpt_all(PICINFO* pic, VIEWINFO* view);

// Appends one record of fri.words_per_line / 4 groups (taking
// fri.words_per_frame words): the last group shortened to four bytes, written
// twice for FT_CHPT. 0 when no file is open, else 1.
int write_hpt_line(PICINFO* pic, const uint16_t* words);

// raw16 files. Bytes per frame and the container recognised from the first
// six words (the HRPT sync, big- or little-endian); CONT_NATIVE when neither.
constexpr int RAW16_FRAME_WORDS = 11090;
constexpr int RAW16_FRAME_BYTES = RAW16_FRAME_WORDS * 2;
PIC_CONTAINER raw16_container(const uint8_t* first12);
// Container of the file at path: by the sync, else by a name containing
// ".raw16" (then the byte order whose first frame has no word above 1023,
// big-endian when both fit); CONT_NATIVE when it is no raw16 file.
PIC_CONTAINER detect_raw16(const char* path);

// Geometry of a raw16 picture (an FT_HPT picture with header words) open in
// pic->fp with pic->container set; the satellite from the first frame.
// Returns 0, or 112 ('p') when the file holds no whole frame.
int read_raw16_hdr(PICINFO* pic);
XLINE* read_raw16_all(PICINFO* pic);
// Writes one frame of 11090 words in the container's byte order.
int write_raw16_line(FILE* fp, PIC_CONTAINER container, const uint16_t* words);

// Reference time for headerless files whose frames carry no year: a date in
// the file's base name (YYYY-MM-DD or YYYYMMDD), else the file's modification
// time; normalised (tm_yday set).
struct tm file_reference_time(const char* path, FILE* fp);
