// Debian libfec as the independent reference: encoder for building test
// frames and decoder to compare with. Kept in its own translation unit because
// libfec's C names equal the product's.
#pragma once
#include <cstdint>

namespace fec_oracle {
// Parity of 223 - pad data symbols (dual basis, libfec encode_rs_ccsds).
void encode_ccsds(const uint8_t* data, uint8_t* parity, int pad);
// Parity in the conventional basis (libfec encode_rs_8).
void encode_8(const uint8_t* data, uint8_t* parity, int pad);
int decode_ccsds(uint8_t* data, int pad);
int decode_8(uint8_t* data, int pad);
}  // namespace fec_oracle
