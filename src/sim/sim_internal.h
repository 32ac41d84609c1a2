// Pieces the simulator's writers share: the line pipeline over worker
// threads, deterministic random numbers and channel errors, line times.
#pragma once
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <functional>
#include <string>
#include <vector>

#include "formats/picinfo.h"
#include "sim/sim.h"

namespace sim {

// Deterministic random numbers (splitmix64).
struct Rng {
  uint64_t s;
  explicit Rng(uint64_t seed) : s(seed) {}
  uint64_t next() {
    uint64_t z = (s += 0x9E3779B97F4A7C15ull);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
    return z ^ (z >> 31);
  }
  double uniform() { return (next() >> 11) * (1.0 / 9007199254740992.0); }
};

// Errors of the channel: bit flips with probability p per bit (geometric
// gaps between them), and a stretch of noise while the receiver has no lock.
struct Channel {
  Rng rng;
  double p;
  explicit Channel(const SIM_PASS& pass);
  // Flips bits of words of bits bits each.
  void flip(uint16_t* w, long n, int bits);
  void flip(uint8_t* b, long n);
  void noise(uint16_t* w, long n, int bits);
  void noise(uint8_t* b, long n);

 private:
  long gap();
};

// Lines [first, last) of the pass fall into the lock loss of the request.
void sync_loss_lines(const SIM_PASS& pass, int* first, int* last);

// Computes every line (sim_line) on worker threads in blocks and calls
// make(i, line, out) there to turn it into the format's words; then calls
// sink(i, words) on the calling thread in line order. Stops early when sink
// returns false; returns false then.
bool for_each_line(const SIM_PASS& pass,
                   const std::function<void(int, const SIM_LINE&, std::vector<uint16_t>*)>& make,
                   const std::function<bool(int, std::vector<uint16_t>&)>& sink);

// Time of line i: seconds since 1970 (whole) and milliseconds.
void line_time(const SIM_PASS& pass, int i, time_t* secs, int* ms);

// Days since 1 January 2000 and milliseconds of the day of line i (the
// CCSDS secondary header's time).
void line_time_ccsds(const SIM_PASS& pass, int i, int* day, uint32_t* msec);

// A PICINFO for the writers of the formats library, filled from the pass.
PICINFO* new_pic(const SIM_PASS& pass, int file_type, FILE* fp);

// The CCSDS writers (sim_ccsds.cpp): Metop, NOAA-20 and FY-3 record files.
int write_ccsds(const SIM_PASS& pass, FILE* fp, std::string* err);

}  // namespace sim
