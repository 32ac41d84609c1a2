#include "sim/rs_encode.h"

#include <cstring>

#include "ccsds/rs.h"

namespace {

// Systematic encoder in the conventional basis: the remainder of data * x^32
// divided by the generator polynomial, by a shift register.
void encode_rs_8(const uint8_t* data, uint8_t* parity, int pad) {
  using namespace ccsds;
  std::memset(parity, 0, RS_NROOTS);
  for (int i = 0; i < RS_NN - RS_NROOTS - pad; i++) {
    const int feedback = CCSDS_index_of[data[i] ^ parity[0]];
    if (feedback != RS_A0)
      for (int j = 1; j < RS_NROOTS; j++)
        parity[j] ^= CCSDS_alpha_to[mod255(feedback + CCSDS_poly[RS_NROOTS - j])];
    std::memmove(parity, parity + 1, RS_NROOTS - 1);
    parity[RS_NROOTS - 1] =
        feedback != RS_A0 ? CCSDS_alpha_to[mod255(feedback + CCSDS_poly[0])] : 0;
  }
}

}  // namespace

void sim_encode_rs_ccsds(const uint8_t* data, uint8_t* parity, int pad) {
  uint8_t conv[ccsds::RS_NN];
  const int n = ccsds::RS_DATA - pad;
  for (int i = 0; i < n; i++) conv[i] = ccsds::Tal1tab[data[i]];
  encode_rs_8(conv, parity, pad);
  for (int i = 0; i < ccsds::RS_NROOTS; i++) parity[i] = ccsds::Taltab[parity[i]];
}

void sim_rs_cadu(uint8_t* cadu) {
  for (int j = 0; j < 4; j++) {
    uint8_t data[ccsds::RS_DATA], parity[ccsds::RS_NROOTS];
    for (int i = 0; i < ccsds::RS_DATA; i++) data[i] = cadu[4 + 4 * i + j];
    sim_encode_rs_ccsds(data, parity, 0);
    for (int i = 0; i < ccsds::RS_NROOTS; i++) cadu[4 + 4 * (ccsds::RS_DATA + i) + j] = parity[i];
  }
}
