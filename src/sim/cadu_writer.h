// Builders of CCSDS streams: Metop AVHRR source packets, and source packets
// packed back to back into the zones of channel access data units with
// counters, first header pointers and Reed-Solomon parity.
//
// AVHRR packet (APID 103/104), bytes:
//   0   6  primary header: 00001aaa aaaaaaaa | 11ssssss ssssssss | length - 7
//   6   8  secondary header: day since 2000-01-01 (16), ms of day (32), us (16)
//   14  6  spare
//   20     10-bit words, most significant bit first: space view 10 x 5,
//          ramp calibration 5, earth view 2048 x 5 (channel-interleaved),
//          IR target temperature 5, patch temperature 5, IR back scan 10 x 5
#pragma once
#include <cstdint>
#include <functional>
#include <vector>

// One AVHRR scan as carried in an APID 103/104 packet (all words below 1024).
struct SIM_AVHRR_SCAN {
  int apid = 103;
  int day = 0;        // days since 2000-01-01
  uint32_t msec = 0;  // milliseconds of day
  uint16_t space[10][5] = {};
  uint16_t ramp[5] = {};
  uint16_t earth[2048 * 5] = {};  // channel-interleaved
  uint16_t target[5] = {};
  uint16_t patch[5] = {};
  uint16_t backscan[10][5] = {};
};

// The packet of the scan with sequence count seqcnt (14 bits).
std::vector<uint8_t> sim_avhrr_packet(const SIM_AVHRR_SCAN& s, int seqcnt);

// A 14-byte primary and secondary header at p: APID, unsegmented, sequence
// count, total packet length len (bytes), time.
void sim_packet_header(uint8_t* p, int apid, int seqcnt, long len, int day, uint32_t msec);

// Packs source packets back to back into 882-byte packet zones and hands each
// full zone with its first header pointer (2047: no packet starts in it) to
// on_zone.
struct SIM_MPDU_PACKER {
  std::function<void(const uint8_t* zone, int fhp)> on_zone;
  uint8_t zone[882];
  int fill = 0;
  int fhp = 2047;

  // Appends a packet (or, with starts false, bytes that continue one).
  void packet(const uint8_t* p, size_t n, bool starts = true);
  // Pads the zone in progress with 0x55 and hands it over.
  void flush();
};

// A unit of 1024 bytes at unit: marker, transfer frame header (version 01,
// spacecraft scid, virtual channel vcid, 24-bit counter), first header
// pointer, the zone, and the Reed-Solomon parity of the four interleaved
// codewords (dual basis).
void sim_cadu_build(int scid, int vcid, long counter, const uint8_t* zone, int fhp, uint8_t* unit);
