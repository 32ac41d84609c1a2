// Reed-Solomon (255,223) encoder of the CCSDS telemetry channel code, for the
// channel access data units the simulator sends (the decoder is in ccsds/rs.h).
#pragma once
#include <cstdint>

// 32 parity symbols of 223 - pad data symbols, both in the dual basis.
void sim_encode_rs_ccsds(const uint8_t* data, uint8_t* parity, int pad);

// Fills the parity of the four codewords interleaved in a 1024-byte unit
// (4-byte sync marker, then symbol i of codeword j at byte 4 + 4i + j) from
// its data symbols.
void sim_rs_cadu(uint8_t* cadu);
