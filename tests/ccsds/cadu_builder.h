// Builds CCSDS test streams: Metop AVHRR source packets from NOAA-shaped
// lines, FY-3 VIRR line streams, transfer frames with headers, counters,
// first header pointers and Reed-Solomon parity (libfec encoder), optional
// randomisation and symbol errors, and QPSK record files.
#pragma once
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "sim/cadu_writer.h"

namespace cadu_builder {

using Bytes = std::vector<uint8_t>;

// One AVHRR scan as carried in an APID 103/104 packet (the simulator's).
using AvhrrScan = SIM_AVHRR_SCAN;

// A scan filled with values derived from seed (all below 1024).
AvhrrScan make_scan(int seed, int day, uint32_t msec, int apid = 103);

// The packet: 14-byte header (secondary header with day/ms/us), 6 spare
// bytes, 10-bit words from byte 20.
Bytes avhrr_packet(const AvhrrScan& s, int seqcnt);

// Transfer frames on one virtual channel, dual-basis parity.
struct FrameWriter {
  int scid = 12;
  int vcid = 9;
  long counter = 0;
  bool randomise = false;  // apply the CCSDS pseudo-random sequence
  Bytes out;               // the units written so far

  // Appends one unit with this zone (882 bytes) and first header pointer.
  void frame(const uint8_t* zone, int fhp);
  // Packs packets back to back into units; the last unit is padded with 0x55.
  void packets(const std::vector<Bytes>& pk);
  // Packs a raw byte stream (no packet headers: first header pointer 2047).
  void stream(const Bytes& data);
};

// A unit without parity (the frame routines don't check it): spacecraft
// scid, channel vcid, counter cnt, first header pointer fhp, zone of fill.
Bytes bare_unit(int scid, int vcid, long cnt, int fhp, uint8_t fill);

// Flips n distinct symbols of every codeword of every unit in units.
void inject_errors(Bytes& units, int n, std::mt19937& rng);

// A FY-3 VIRR stream: for each line, the 24-bit sync 0x845BF5, filler up to
// byte 436 after the sync start, 2048 x 10 words, then gap_bits filler bits.
// lead_bits of filler come first. Returns the packed bytes.
Bytes virr_stream(const std::vector<std::vector<uint16_t>>& lines, long lead_bits, long gap_bits);

}  // namespace cadu_builder
