// Reed-Solomon decoder: agreement with libfec, frame-level behaviour.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <set>
#include <vector>

#include "ccsds/rs.h"
#include "fec_oracle.h"

namespace {

// Flips n distinct symbols of a codeword to other values.
void corrupt(uint8_t* cw, int len, int n, std::mt19937& rng) {
  std::set<int> pos;
  while (int(pos.size()) < n) pos.insert(int(rng() % len));
  for (int p : pos) cw[p] ^= uint8_t(1 + rng() % 255);
}

// A random 1024-byte frame with marker and four dual-basis codewords.
std::vector<uint8_t> random_frame(std::mt19937& rng) {
  std::vector<uint8_t> f(1024);
  f[0] = 0x1A, f[1] = 0xCF, f[2] = 0xFC, f[3] = 0x1D;
  for (int j = 0; j < 4; j++) {
    uint8_t cw[255];
    for (int i = 0; i < 223; i++) cw[i] = uint8_t(rng());
    fec_oracle::encode_ccsds(cw, cw + 223, 0);
    for (int i = 0; i < 255; i++) f[4 + 4 * i + j] = cw[i];
  }
  return f;
}

// Flips n distinct data symbols of interleaved codeword j of a frame.
void hit(std::vector<uint8_t>& f, int j, int n, std::mt19937& rng) {
  std::set<int> pos;
  while (int(pos.size()) < n) pos.insert(int(rng() % 223));
  for (int i : pos) f[4 + 4 * i + j] ^= uint8_t(1 + rng() % 255);
}

}  // namespace

// Both bases against libfec on random codewords with 0..20 errors: same
// result, same corrected data; 17 or more errors never claimed corrected
// differently from libfec.
TEST(RsOracle, AgreesWithLibfecOnRandomCodewords) {
  const unsigned seed = 20261121;
  std::mt19937 rng(seed);
  int n_checked = 0, n_fail = 0, n_fixed = 0;
  for (int trial = 0; trial < 12000; trial++) {
    bool dual = trial & 1;
    int pad = (trial % 7 == 0) ? int(rng() % 100) : 0;
    int len = 255 - pad;
    std::vector<uint8_t> cw(len);
    for (int i = 0; i < len - 32; i++) cw[i] = uint8_t(rng());
    if (dual)
      fec_oracle::encode_ccsds(cw.data(), cw.data() + len - 32, pad);
    else
      fec_oracle::encode_8(cw.data(), cw.data() + len - 32, pad);
    int nerr = int(rng() % 21);
    auto orig = cw;
    corrupt(cw.data(), len, nerr, rng);
    auto mine = cw, ref = cw;
    int rm = dual ? decode_rs_ccsds(mine.data(), nullptr, 0, pad)
                  : decode_rs_8(mine.data(), nullptr, 0, pad);
    int rr =
        dual ? fec_oracle::decode_ccsds(ref.data(), pad) : fec_oracle::decode_8(ref.data(), pad);
    // libfec reports failure with any negative value; ours is -1.
    ASSERT_EQ(rm, rr < 0 ? -1 : rr) << "seed " << seed << " trial " << trial << " errors " << nerr;
    if (rr >= 0) {
      ASSERT_EQ(mine, ref) << "seed " << seed << " trial " << trial;
    } else {
      ASSERT_EQ(mine, cw) << "failed word changed, seed " << seed << " trial " << trial;
      n_fail++;
    }
    if (nerr <= 16) {
      ASSERT_EQ(rm, nerr) << "seed " << seed << " trial " << trial;
      ASSERT_EQ(mine, orig);
      n_fixed++;
    }
    n_checked++;
  }
  EXPECT_GE(n_checked, 10000);
  EXPECT_GT(n_fail, 500);
  EXPECT_GT(n_fixed, 8000);
}

// Edge cases of the frame decoder.
TEST(RsFrame, EdgeCases) {
  std::mt19937 rng(4242);
  // A clean frame returns 0 and stays as it was.
  auto f = random_frame(rng);
  auto clean = f;
  EXPECT_EQ(rs_decode_frm(f.data()), 0);
  EXPECT_EQ(f, clean);

  // 16 errors in codeword 1 are corrected; 17 in codeword 2 fail (256) while
  // codewords 0 and 3 (3 and 5 errors) are still corrected.
  f = clean;
  hit(f, 1, 16, rng);
  EXPECT_EQ(rs_decode_frm(f.data()), 16);
  EXPECT_EQ(f, clean);
  hit(f, 0, 3, rng);
  hit(f, 2, 17, rng);
  hit(f, 3, 5, rng);
  auto before = f;
  int r = rs_decode_frm(f.data());
  EXPECT_EQ(r, 256 + 3 + 5);
  for (int i = 0; i < 1020; i++) EXPECT_EQ(f[4 + i], (i % 4 == 2 ? before : clean)[4 + i]) << i;

  // Errors only in parity bytes: counted, but the parity bytes stay as received.
  f = clean;
  f[4 + 4 * 230 + 0] ^= 0x11;
  f[4 + 4 * 250 + 3] ^= 0x22;
  before = f;
  EXPECT_EQ(rs_decode_frm(f.data()), 2);
  EXPECT_EQ(f, before);

  // pad 255 (and beyond) is rejected at once.
  uint8_t cw[255] = {0};
  EXPECT_EQ(decode_rs_8(cw, nullptr, 0, 255), -1);
  EXPECT_EQ(decode_rs_ccsds(cw, nullptr, 0, 255), -1);
}

TEST(RsFrame, WordFrameEntryPacksCounts) {
  std::mt19937 rng(99);
  auto f = random_frame(rng);
  auto clean = f;
  for (int i = 0; i < 10; i++) f[4 + 4 * i] ^= 0x40;         // 10 errors in codeword 0
  for (int i = 0; i < 20; i++) f[4 + 4 * (i * 3) + 1] ^= 1;  // 20 in codeword 1
  for (int keep : {0, 1}) {
    std::vector<uint16_t> w(f.begin(), f.end()), before = w;
    EXPECT_EQ(rs_decode_frm2(w.data(), keep) & 0xFFFF, 10 + 256);  // 10 corrected, 1 failure
    if (keep)
      EXPECT_EQ(w, before);  // not rewritten
    else
      for (int i = 0; i < 1020; i += 4) EXPECT_EQ(w[4 + i], clean[4 + i]);  // codeword 0 fixed
  }
}

// Erasures (known bad positions) against libfec: e errors and f erasures with
// 2e + f up to 32 and beyond. Success and corrected data agree; the count
// differs by design: every root of the locator counts here, so an erased
// symbol that was right counts too, while libfec leaves those out.
TEST(RsOracle, ErasuresAgreeWithLibfec) {
  const unsigned seed = 8675309;
  std::mt19937 rng(seed);
  for (int trial = 0; trial < 2000; trial++) {
    uint8_t cw[255];
    for (int i = 0; i < 223; i++) cw[i] = uint8_t(rng());
    fec_oracle::encode_8(cw, cw + 223, 0);
    int nf = int(rng() % 25), ne = int(rng() % 12);
    std::vector<int> order(255);
    for (int i = 0; i < 255; i++) order[i] = i;
    std::shuffle(order.begin(), order.end(), rng);
    uint8_t bad[255];
    std::memcpy(bad, cw, 255);
    int eras[32] = {0}, eras_ref[32] = {0};
    int right = 0;
    for (int i = 0; i < nf; i++) {
      eras[i] = eras_ref[i] = order[i];
      if (rng() & 1)
        bad[order[i]] ^= uint8_t(1 + rng() % 255);
      else
        right++;  // erased, but the symbol is right
    }
    for (int i = 0; i < ne; i++) bad[order[nf + i]] ^= uint8_t(1 + rng() % 255);
    uint8_t mine[255], ref[255];
    std::memcpy(mine, bad, 255);
    std::memcpy(ref, bad, 255);
    int rm = decode_rs_8(mine, eras, nf, 0);
    int rr = fec_oracle::decode_8_eras(ref, eras_ref, nf, 0);
    bool clean = std::memcmp(bad, cw, 255) == 0;  // clean words return 0 in both
    ASSERT_EQ(rm < 0, rr < 0) << "seed " << seed << " trial " << trial;
    if (2 * ne + nf <= 32) {
      ASSERT_EQ(rm, clean ? 0 : rr + right) << "seed " << seed << " trial " << trial;
    }
    if (rr >= 0) {
      ASSERT_EQ(std::memcmp(mine, ref, 255), 0) << "seed " << seed << " trial " << trial;
      // Positions found: the erasures and the errors.
      std::set<int> found(eras, eras + rm), expect(order.begin(), order.begin() + nf + ne);
      if (!clean && 2 * ne + nf <= 32) {
        ASSERT_EQ(found, expect) << "trial " << trial;
      }
    }
    if (2 * ne + nf <= 32) {
      ASSERT_EQ(std::memcmp(mine, cw, 255), 0) << "trial " << trial;
    }
  }
}
