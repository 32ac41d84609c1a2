// Reed-Solomon (255,223) decoder of the CCSDS telemetry channel code.
//
// Code: GF(2^8) with field polynomial x^8+x^7+x^2+x+1 (0x187), 32 parity
// symbols (up to 16 symbol errors per codeword), generator roots
// alpha^(PRIM*(FCR+i)), i = 0..31, with FCR 112 and PRIM 11. A 1024-byte
// channel access data unit is the 4-byte sync marker followed by four
// codewords interleaved symbol by symbol (frame byte 4 + 4*i + j is symbol i
// of codeword j).
//
// The transmitted symbols are in the CCSDS dual (Berlekamp) basis; some
// downlinks (Meteor) send the conventional basis instead. Taltab converts a
// conventional-basis symbol to the dual basis, Tal1tab back.
#pragma once
#include <cstdint>

namespace ccsds {

constexpr int RS_NN = 255;
constexpr int RS_NROOTS = 32;
constexpr int RS_FCR = 112;
constexpr int RS_PRIM = 11;
constexpr int RS_IPRIM = 116;  // PRIM * IPRIM == 1 (mod 255)
constexpr int RS_A0 = 255;     // log of zero
constexpr int RS_DATA = 223;

// Field and basis tables (generated at compile time in rs.cpp).
extern const uint8_t (&CCSDS_alpha_to)[256];  // alpha^i, entry 255 is 0
extern const uint8_t (&CCSDS_index_of)[256];  // log; log(0) = 255
extern const uint8_t (&CCSDS_poly)[33];       // generator polynomial, log form
extern const uint8_t (&Taltab)[256];          // conventional -> dual basis
extern const uint8_t (&Tal1tab)[256];         // dual -> conventional basis

}  // namespace ccsds

// x modulo 255 for x >= 0, by folding.
inline int mod255(int x) {
  while (x >= 255) {
    x -= 255;
    x = (x >> 8) + (x & 255);
  }
  return x;
}

// Decodes one conventional-basis codeword of 255 - pad symbols in place
// (parity included). eras_pos/no_eras: known erasure positions (may be null/0);
// when eras_pos is given the error positions found are written to it (room for
// 32). Returns the number of corrected symbols (0: clean), or -1 when the word
// is uncorrectable (then data is unchanged) or pad is outside 0..254.
int decode_rs_8(uint8_t* data, int* eras_pos, int no_eras, int pad);

// As decode_rs_8 for a dual-basis codeword; data is rewritten only when
// corrections were made.
int decode_rs_ccsds(uint8_t* data, int* eras_pos, int no_eras, int pad);

// Corrects the four interleaved codewords of frame[offset .. offset+1019]
// (dual basis, or conventional when conventional != 0). Only the 223 data
// symbols of a codeword are written back; the parity bytes stay as received.
// Returns the sum of corrected symbols plus 256 per uncorrectable codeword.
int Decode_RS(uint8_t* frame, int offset, int conventional);

// Decode_RS(frame_bytes, 4, 0): a 1024-byte unit with its sync marker.
int rs_decode_frm(uint8_t* frame_bytes);

// The recorder's entry: frame of 1024 words holding one byte each. Decodes a
// byte copy and, unless keep != 0, writes the bytes back as words. Result:
// r & 255 corrected symbols, (r >> 8) & 255 uncorrectable codewords.
int rs_decode_frm2(uint16_t* frame_words, int keep);
