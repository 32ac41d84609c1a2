// Synthetic recordings made with the project's own writers: the sample files
// of tests/data and the inputs of the round-trip tests.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include "formats/picinfo.h"

namespace fmtsamples {

// Deterministic 10-bit values (xorshift, fixed seed).
struct Rng {
  uint32_t s;
  explicit Rng(uint32_t seed) : s(seed ? seed : 1) {}
  uint16_t next10() {
    s ^= s << 13;
    s ^= s >> 17;
    s ^= s << 5;
    return uint16_t(s & 0x3FF);
  }
};

// Start of all sample passes: 2024-03-05 10:20:30 UTC (day of year 65).
struct tm sample_start();

// One HRPT-family frame: header words (sync, ID word 6, day count in word 8,
// milliseconds of the day in words 9-11, the rest random), samples of nch
// channels interleaved by pixel, leader words. Words beyond the header are
// random 10-bit values drawn from rng.
std::vector<uint16_t> hrpt_frame(int header_len, int leader_len, int nch, int width, uint16_t word6,
                                 int day, long msec, Rng& rng);
// Milliseconds of the day of line i of a pass at 6 lines a second.
long line_msec(int i);

// Writers of whole files; each returns the words of every line it wrote (the
// frame words as passed to the line writer).
std::vector<std::vector<uint16_t>> write_hrpt_file(const std::string& path, int file_type,
                                                   int width, int nlines, uint32_t seed);
std::vector<std::vector<uint16_t>> write_hpt_file(const std::string& path, int file_type,
                                                  int nlines, uint32_t seed);
// MHRPT1 lines: 6 x 1540 words (pixel * 6 + channel); with_header false gives
// a headerless file starting with garbage_frames frames of zeros.
std::vector<std::vector<uint16_t>> write_mhrpt1_file(const std::string& path, int nlines,
                                                     bool with_header, int garbage_frames,
                                                     uint32_t seed);
// MHRPT2 lines: 6 x 1570 words; line syncs alternate between positions pos_a
// and pos_b of zone 0 (equal positions: only one position in the file).
std::vector<std::vector<uint16_t>> write_mhrpt2_file(const std::string& path, int nlines, int pos_a,
                                                     int pos_b, uint32_t seed);
std::vector<std::vector<uint16_t>> write_raw16_file(const std::string& path, bool little_endian,
                                                    int nlines, uint32_t seed);

// Writes every sample of tests/data into dir.
void write_all_samples(const std::string& dir);
// Names of the sample files.
std::vector<std::string> sample_names();

}  // namespace fmtsamples
