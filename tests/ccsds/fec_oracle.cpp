#include "fec_oracle.h"

extern "C" {
#include <fec.h>
}

namespace fec_oracle {
void encode_ccsds(const uint8_t* data, uint8_t* parity, int pad) {
  encode_rs_ccsds(const_cast<uint8_t*>(data), parity, pad);
}
void encode_8(const uint8_t* data, uint8_t* parity, int pad) {
  encode_rs_8(const_cast<uint8_t*>(data), parity, pad);
}
int decode_ccsds(uint8_t* data, int pad) { return decode_rs_ccsds(data, nullptr, 0, pad); }
int decode_8(uint8_t* data, int pad) { return decode_rs_8(data, nullptr, 0, pad); }
}  // namespace fec_oracle
