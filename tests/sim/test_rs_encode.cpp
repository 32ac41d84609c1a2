// The CCSDS Reed-Solomon encoder: parity equal to libfec's encode_rs_ccsds.
// Units with it pass the decoder in the board test of passes with errors.
#include <gtest/gtest.h>

#include <cstring>
#include <random>

#include "fec_oracle.h"
#include "sim/rs_encode.h"

TEST(SimRsEncode, ParityEqualsLibfec) {
  const unsigned seed = 8;
  std::mt19937 rng(seed);
  for (int pad : {0, 1, 50, 222}) {
    for (int trial = 0; trial < 20; trial++) {
      uint8_t data[223], mine[32], ref[32];
      for (int i = 0; i < 223 - pad; i++) data[i] = uint8_t(rng());
      sim_encode_rs_ccsds(data, mine, pad);
      fec_oracle::encode_ccsds(data, ref, pad);
      ASSERT_EQ(std::memcmp(mine, ref, 32), 0) << "pad " << pad << " seed " << seed;
    }
  }
}
