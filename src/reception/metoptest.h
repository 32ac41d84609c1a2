// The Metop test: pulls CADUs (1024 bytes, sync marker first) from the board
// in Metop mode without recording them and keeps simple statistics: frames,
// frames in sync, and the count of each virtual channel (VCID, 6 bits of the
// transfer frame header), optionally after removing the CCSDS pseudo-random
// sequence.
#pragma once
#include <cstdint>

#include "reception/recordinfo.h"

constexpr int METOPTEST_FRAME = 1024;

struct METOP_TEST {
  long frames = 0;
  long insync = 0;
  long vcid[64] = {};
  int spacecraft = -1;  // of the last frame
};

// Counts one frame (words, low byte used) with its link status (1: in sync).
void metoptest_frame(METOP_TEST* st, const uint16_t* frame, int status, int derandomise);
// The virtual channels seen, "VC%d:%ld" separated by blanks, busiest first;
// at most size bytes.
void metoptest_vcid_text(const METOP_TEST* st, char* text, int size);
// Board mode Metop and the frame geometry on rdi (type METOP, 1024 units).
// The status of set_sat.
int metoptest_prepare(RECORDINFO* rdi);
