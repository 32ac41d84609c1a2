// The CCSDS Reed-Solomon encoder: parity equal to libfec's encode_rs_ccsds,
// and units the project's decoder accepts and repairs.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <vector>

#include "ccsds/rs.h"
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

TEST(SimRsEncode, DecoderRepairsEncodedUnits) {
  const unsigned seed = 9;
  std::mt19937 rng(seed);
  std::vector<uint8_t> cadu(1024);
  const uint8_t asm_[4] = {0x1A, 0xCF, 0xFC, 0x1D};
  std::memcpy(cadu.data(), asm_, 4);
  for (size_t i = 4; i < cadu.size(); i++) cadu[i] = uint8_t(rng());
  sim_rs_cadu(cadu.data());
  std::vector<uint8_t> clean = cadu;
  // A clean unit decodes without corrections.
  EXPECT_EQ(Decode_RS(cadu.data(), 4, 0), 0);
  // 16 symbol errors in each codeword are corrected.
  for (int j = 0; j < 4; j++)
    for (int e = 0; e < 16; e++) cadu[size_t(4 + 4 * (e * 13 % 255) + j)] ^= uint8_t(1 + e);
  EXPECT_EQ(Decode_RS(cadu.data(), 4, 0), 64) << "seed " << seed;
  // The data symbols are restored (the decoder leaves the parity as received).
  EXPECT_EQ(std::memcmp(cadu.data(), clean.data(), 4 + 4 * 223), 0);
}
