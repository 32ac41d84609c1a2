// Meteor MSU-MR recordings: MHRPT1 (256-byte frames, 50 a line, 1540 pixels)
// and MHRPT2 (1024-byte CCSDS frames, MSU-MR bytes in four zones, 1570 pixels).
#pragma once
#include <cstdint>
#include <cstdio>

#include "formats/hrptfile.h"
#include "formats/picinfo.h"

typedef HRPTHDR MHRPTHDR;

constexpr int MHRPT_LINEBYTES = 12800;  // one MHRPT1 line: 50 frames of 256 bytes
constexpr int MHRPT1_FRAME = 256;
constexpr int MHRPT2_FRAME = 1024;
constexpr int MHRPT_NCHAN = 6;

// The MSU-MR line sync.
constexpr uint8_t MSU_SYNC[8] = {0x02, 0x18, 0xA7, 0xA3, 0x92, 0xDD, 0x9A, 0xBF};
// MSU-MR zones of an MHRPT2 frame.
constexpr int MSU_ZONE_START[4] = {22, 278, 534, 790};
constexpr int MSU_ZONE_LEN[4] = {238, 238, 238, 234};

// Number of the first n bytes (n <= 8) that differ from the pattern made of
// first4 followed by last4.
int cmp_sync(const uint8_t* bytes, const uint8_t* first4, const uint8_t* last4, int n);

// Header of a Meteor file (256 bytes MHRPT1, 1024 MHRPT2). A file that does not
// start with "MHRP" or "M2HR" is read as headerless (*headerless set, the
// record cleared). Null when not even 131 bytes can be read.
MHRPTHDR* read_mhrpthdr(FILE* fp, int file_type, MHRPTHDR* h, int* headerless);

// Writes the Meteor header of pic to pic->fp ("MHRP"/"M2HR", 6 channels, width
// 1540/1570 by default); sets pic->fri. 1 without a file, else 0.
int write_mhrpthdr(PICINFO* pic);

// The opening part of read_hrpt1_hdr for the Meteor types: geometry, start of
// the lines. Returns 0, 114 when the header can't be read, 112 when no line
// start was found.
int read_meteor_hdr(PICINFO* pic);

// Frame layout of a Meteor line.
FRAMEINFO calc_mhrptframeinfo(int file_type, const int* channels_recorded, int width);

// From the start of the file, reads 256-byte frames; mode 1 stops at the first
// frame whose bytes 22-29 are the line sync (fewer than 4 bytes wrong) and
// steps back to its start, mode 2 stops at once. Returns 1 when found.
int search_startofline(FILE* fp, int mode);

// Bytes 22-29 of a 256-byte frame are the line sync.
int m1hrpt_is_startframe(const uint8_t* frame);
// Position of the line sync within the zones of a 1024-byte frame, or 0.
int m2hrpt_is_startframe(const uint8_t* frame);

// Finds the two line sync positions of an MHRPT2 file from its start; true when
// both were found (then msu_syncpos gives them in ascending order).
int search_msu(FILE* fp);
int get_msupos(FILE* fp);
const int* msu_syncpos();

// Reads 1024-byte frames into frame until one has the line sync at the first
// position (returns the zone of that position, 0-3) or at the second (4 +
// zone); -1 at the end of the file.
int gotosync(FILE* fp, uint8_t* frame);

// Running state of the unpacking of one line's MSU-MR bytes: groups of five
// bytes carry four pixels of one channel, groups rotate over the six channels.
struct MSU_UNPACK {
  long k;  // data bytes of the line so far
  uint8_t grp[5];
};

// Unpacks bytes start..start+length-1 of a frame (or zone piece) into the
// line's words (pixel * 6 + channel, at most nwords); piece 0 restarts the
// byte counter.
void msu2line(const uint8_t* frame, int start, int length, int piece, uint16_t* words, int nwords,
              MSU_UNPACK* st);
// MHRPT1: the data bytes of frame index fi of a line (72-253 of frame 0,
// 22-253 of the others).
void mn1frame2line(const uint8_t* frame, int fi, uint16_t* words, int nwords, MSU_UNPACK* st);
// MHRPT2: zone piece of a frame.
void mn2frame2line(const uint8_t* frame, int start, int length, int piece, uint16_t* words,
                   int nwords, MSU_UNPACK* st);

// Reads all lines of an MHRPT1 file from pic_strt (12800 bytes a line).
XLINE* read_mhrpt1_all(PICINFO* pic);
// Reads all lines of an MHRPT2 file (line syncs at the positions of search_msu).
XLINE* read_mhrpt2_all(PICINFO* pic);

// Writes the 6 x width words of a line (pixel * 6 + channel) as one 12800-byte
// MHRPT1 line to pic->fp. 0 without a file, else 1.
int write_mhrpt1_line(PICINFO* pic, const uint16_t* words);
// Writes a frame start: sync marker and 18 zero bytes, with the line sync and
// 42 zero bytes after them when asked. Returns the bytes written.
int write_start(FILE* fp, int with_line_sync);
// Writes fri.words_per_frame words as one byte each, bit 0 of word 3 replaced
// by its bit 4.
int dump_mhrpt1_line(PICINFO* pic, const uint16_t* words);
