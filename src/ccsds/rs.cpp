// CCSDS Reed-Solomon (255,223) decoder.
//
// Decoding steps (Berlekamp-Massey form):
//   1. syndromes S_i = c(alpha^(PRIM*(FCR+i))), i = 0..31; all zero: clean;
//   2. Berlekamp-Massey: error locator lambda(x) from the syndromes;
//   3. Chien search: roots of lambda give the error positions;
//   4. Forney: error values from omega(x) = S(x)*lambda(x) mod x^32.
//
// Fast path: most received codewords are clean. Instead of 32 Horner
// evaluations over 255 symbols, the codeword is divided by the generator
// polynomial g(x) with a table-driven shift register (one 32-byte table row
// XORed in per symbol). The remainder r(x) is zero exactly when every syndrome
// is zero (the syndromes are the values of c(x) at g's roots, and g has 32
// distinct roots); when it is not, S_i = r(alpha_i) needs only 32 symbols.
#include "ccsds/rs.h"

#include <cstring>

namespace ccsds {
namespace {

constexpr int kPoly = 0x187;

struct Tables {
  uint8_t alpha_to[256]{};
  uint8_t index_of[256]{};
  uint8_t poly[33]{};
  uint8_t tal[256]{};
  uint8_t tal1[256]{};
  // mul_root[i][x] = x * alpha^(PRIM*(FCR+i)), the Horner step of syndrome i.
  uint8_t mul_root[RS_NROOTS][256]{};
  // gen_row[fb]: fb * (g(x) - x^32), packed as 32 bytes in four big-endian
  // 64-bit words (byte 0 = coefficient of x^31).
  uint64_t gen_row[256][4]{};
};

constexpr uint8_t gf_mul(const Tables& t, int a, int b) {
  if (a == 0 || b == 0) return 0;
  int s = t.index_of[a] + t.index_of[b];
  if (s >= 255) s -= 255;
  return t.alpha_to[s];
}

constexpr Tables make_tables() {
  Tables t{};
  // Antilog: alpha = x modulo the field polynomial.
  int x = 1;
  for (int i = 0; i < 255; i++) {
    t.alpha_to[i] = uint8_t(x);
    t.index_of[x] = uint8_t(i);
    x <<= 1;
    if (x & 0x100) x ^= kPoly;
  }
  t.alpha_to[255] = 0;
  t.index_of[0] = RS_A0;

  // Generator polynomial, poly form, gp[32] = 1 (monic): product of
  // (x + alpha^(PRIM*(FCR+i))).
  uint8_t gp[33]{};
  gp[0] = 1;
  for (int i = 0; i < RS_NROOTS; i++) {
    int root = t.alpha_to[((RS_FCR + i) * RS_PRIM) % 255];
    for (int j = i + 1; j > 0; j--) gp[j] = uint8_t(gp[j - 1] ^ gf_mul(t, gp[j], root));
    gp[0] = gf_mul(t, gp[0], root);
  }
  for (int i = 0; i <= RS_NROOTS; i++) t.poly[i] = t.index_of[gp[i]];

  // Dual basis: bit 7-i of the dual representation of z is the trace of
  // z * alpha^(117*i) (the CCSDS basis built on beta = alpha^117).
  for (int z = 0; z < 256; z++) {
    int v = 0;
    for (int i = 0; i < 8; i++) {
      int y = gf_mul(t, z, t.alpha_to[(117 * i) % 255]);
      int tr = 0;
      for (int k = 0; k < 8; k++) {
        tr ^= y;
        y = gf_mul(t, y, y);
      }
      if (tr & 1) v |= 1 << (7 - i);
    }
    t.tal[z] = uint8_t(v);
    t.tal1[v] = uint8_t(z);
  }

  for (int i = 0; i < RS_NROOTS; i++) {
    int root = t.alpha_to[((RS_FCR + i) * RS_PRIM) % 255];
    for (int v = 0; v < 256; v++) t.mul_root[i][v] = gf_mul(t, v, root);
  }
  for (int fb = 0; fb < 256; fb++) {
    for (int j = 0; j < 32; j++) {
      uint64_t b = gf_mul(t, fb, gp[31 - j]);
      t.gen_row[fb][j / 8] |= b << (56 - 8 * (j % 8));
    }
  }
  return t;
}

constexpr Tables T = make_tables();

static_assert(T.alpha_to[8] == 0x87, "field polynomial");
static_assert(T.tal[1] == 0x7B && T.tal1[1] == 0xCC, "dual basis");
static_assert(T.poly[0] == 0 && T.poly[32] == 0, "generator polynomial");

// Remainder register of the division by g(x): 32 coefficients, x^31 first.
struct Rem {
  uint64_t w[4];
};

inline void rem_step(Rem& r, unsigned sym) {
  const uint64_t* g = T.gen_row[r.w[0] >> 56];
  r.w[0] = ((r.w[0] << 8) | (r.w[1] >> 56)) ^ g[0];
  r.w[1] = ((r.w[1] << 8) | (r.w[2] >> 56)) ^ g[1];
  r.w[2] = ((r.w[2] << 8) | (r.w[3] >> 56)) ^ g[2];
  r.w[3] = ((r.w[3] << 8) | sym) ^ g[3];
}

inline bool rem_zero(const Rem& r) { return (r.w[0] | r.w[1] | r.w[2] | r.w[3]) == 0; }

// Syndromes (poly form) from the remainder: S_i = r(alpha_i) by Horner's rule.
void rem_syndromes(const Rem& r, uint8_t s[RS_NROOTS]) {
  uint8_t coef[32];
  for (int j = 0; j < 32; j++) coef[j] = uint8_t(r.w[j / 8] >> (56 - 8 * (j % 8)));
  for (int i = 0; i < RS_NROOTS; i++) {
    const uint8_t* m = T.mul_root[i];
    unsigned v = 0;
    for (int j = 0; j < 32; j++) v = m[v] ^ coef[j];
    s[i] = uint8_t(v);
  }
}

// Berlekamp-Massey, Chien search and Forney on a conventional-basis codeword
// of 255 - pad symbols whose syndromes (poly form) are not all zero. The
// corrections are applied only when the whole word decodes.
int rs_correct(uint8_t* data, int pad, const uint8_t syn[RS_NROOTS], int* eras_pos, int no_eras) {
  const uint8_t* alpha_to = T.alpha_to;
  const uint8_t* index_of = T.index_of;
  int s[RS_NROOTS];
  for (int i = 0; i < RS_NROOTS; i++) s[i] = index_of[syn[i]];

  // lambda (poly form) = 1, or the erasure locator.
  int lambda[RS_NROOTS + 1] = {0};
  int b[RS_NROOTS + 1], t[RS_NROOTS + 1];
  lambda[0] = 1;
  if (no_eras > RS_NROOTS) return -1;
  if (no_eras > 0) {
    lambda[1] = alpha_to[mod255(RS_PRIM * (RS_NN - 1 - eras_pos[0]))];
    for (int i = 1; i < no_eras; i++) {
      int u = mod255(RS_PRIM * (RS_NN - 1 - eras_pos[i]));
      for (int j = i + 1; j > 0; j--) {
        int tmp = index_of[lambda[j - 1]];
        if (tmp != RS_A0) lambda[j] ^= alpha_to[mod255(u + tmp)];
      }
    }
  }
  for (int i = 0; i <= RS_NROOTS; i++) b[i] = index_of[lambda[i]];

  // Berlekamp-Massey iteration.
  int el = no_eras;
  for (int r = no_eras + 1; r <= RS_NROOTS; r++) {
    int discr = 0;
    for (int i = 0; i < r; i++) {
      if (lambda[i] != 0 && s[r - i - 1] != RS_A0)
        discr ^= alpha_to[mod255(index_of[lambda[i]] + s[r - i - 1])];
    }
    discr = index_of[discr];
    if (discr == RS_A0) {
      std::memmove(&b[1], &b[0], RS_NROOTS * sizeof(int));
      b[0] = RS_A0;
      continue;
    }
    t[0] = lambda[0];
    for (int i = 0; i < RS_NROOTS; i++)
      t[i + 1] = b[i] != RS_A0 ? lambda[i + 1] ^ alpha_to[mod255(discr + b[i])] : lambda[i + 1];
    if (2 * el <= r + no_eras - 1) {
      el = r + no_eras - el;
      for (int i = 0; i <= RS_NROOTS; i++)
        b[i] = lambda[i] == 0 ? RS_A0 : mod255(index_of[lambda[i]] - discr + RS_NN);
    } else {
      std::memmove(&b[1], &b[0], RS_NROOTS * sizeof(int));
      b[0] = RS_A0;
    }
    std::memcpy(lambda, t, sizeof(lambda));
  }

  // lambda to log form, and its degree.
  int deg_lambda = 0;
  for (int i = 0; i <= RS_NROOTS; i++) {
    lambda[i] = index_of[lambda[i]];
    if (lambda[i] != RS_A0) deg_lambda = i;
  }

  // Chien search: lambda at alpha^(PRIM*i); the root index steps by IPRIM.
  int reg[RS_NROOTS + 1];
  std::memcpy(&reg[1], &lambda[1], RS_NROOTS * sizeof(int));
  int root[RS_NROOTS], loc[RS_NROOTS], count = 0;
  for (int i = 1, k = RS_IPRIM - 1; i <= RS_NN; i++, k = mod255(k + RS_IPRIM)) {
    int q = 1;
    for (int j = deg_lambda; j > 0; j--) {
      if (reg[j] != RS_A0) {
        reg[j] = mod255(reg[j] + j);
        q ^= alpha_to[reg[j]];
      }
    }
    if (q != 0) continue;
    root[count] = i;
    loc[count] = k;
    if (++count == deg_lambda) break;
  }
  if (deg_lambda != count) return -1;

  // omega(x) = S(x) * lambda(x) mod x^32, log form.
  int omega[RS_NROOTS + 1];
  int deg_omega = deg_lambda - 1;
  for (int i = 0; i <= deg_omega; i++) {
    int tmp = 0;
    for (int j = i; j >= 0; j--) {
      if (s[i - j] != RS_A0 && lambda[j] != RS_A0) tmp ^= alpha_to[mod255(s[i - j] + lambda[j])];
    }
    omega[i] = index_of[tmp];
  }

  // Forney: value at X = omega(X) * X^(FCR-1) / lambda'(X); lambda' from the
  // odd terms of lambda.
  uint8_t value[RS_NROOTS];
  for (int j = count - 1; j >= 0; j--) {
    int num1 = 0;
    for (int i = deg_omega; i >= 0; i--) {
      if (omega[i] != RS_A0) num1 ^= alpha_to[mod255(omega[i] + i * root[j])];
    }
    int num2 = alpha_to[mod255(root[j] * (RS_FCR - 1) + RS_NN)];
    int den = 0;
    int top = (deg_lambda < RS_NROOTS - 1 ? deg_lambda : RS_NROOTS - 1) & ~1;
    for (int i = top; i >= 0; i -= 2) {
      if (lambda[i + 1] != RS_A0) den ^= alpha_to[mod255(lambda[i + 1] + i * root[j])];
    }
    if (den == 0) return -1;
    value[j] =
        num1 == 0 ? 0 : alpha_to[mod255(index_of[num1] + index_of[num2] + RS_NN - index_of[den])];
  }
  // Apply, skipping positions in the virtual (padded) part.
  for (int j = 0; j < count; j++) {
    if (loc[j] >= pad) data[loc[j] - pad] ^= value[j];
  }
  if (eras_pos) {
    for (int j = 0; j < count; j++) eras_pos[j] = loc[j];
  }
  return count;
}

// Remainder of one codeword of len symbols, read with a stride, each symbol
// converted through conv (null: none).
inline Rem remainder_of(const uint8_t* p, int len, int stride, const uint8_t* conv) {
  Rem r{{0, 0, 0, 0}};
  if (conv) {
    for (int i = 0; i < len; i++) rem_step(r, conv[p[i * stride]]);
  } else {
    for (int i = 0; i < len; i++) rem_step(r, p[i * stride]);
  }
  return r;
}

}  // namespace

const uint8_t (&CCSDS_alpha_to)[256] = T.alpha_to;
const uint8_t (&CCSDS_index_of)[256] = T.index_of;
const uint8_t (&CCSDS_poly)[33] = T.poly;
const uint8_t (&Taltab)[256] = T.tal;
const uint8_t (&Tal1tab)[256] = T.tal1;

}  // namespace ccsds

using namespace ccsds;

int decode_rs_8(uint8_t* data, int* eras_pos, int no_eras, int pad) {
  if (pad < 0 || pad > 254) return -1;
  int len = RS_NN - pad;
  Rem r = remainder_of(data, len, 1, nullptr);
  if (rem_zero(r)) return 0;
  uint8_t syn[RS_NROOTS];
  rem_syndromes(r, syn);
  return rs_correct(data, pad, syn, eras_pos, no_eras);
}

int decode_rs_ccsds(uint8_t* data, int* eras_pos, int no_eras, int pad) {
  if (pad < 0 || pad > 254) return -1;
  int len = RS_NN - pad;
  uint8_t cdata[RS_NN];
  for (int i = 0; i < len; i++) cdata[i] = T.tal1[data[i]];
  Rem r = remainder_of(cdata, len, 1, nullptr);
  if (rem_zero(r)) return 0;
  uint8_t syn[RS_NROOTS];
  rem_syndromes(r, syn);
  int n = rs_correct(cdata, pad, syn, eras_pos, no_eras);
  if (n > 0) {
    for (int i = 0; i < len; i++) data[i] = T.tal[cdata[i]];
  }
  return n;
}

int Decode_RS(uint8_t* frame, int offset, int conventional) {
  uint8_t* p = frame + offset;
  const uint8_t* conv = conventional ? nullptr : T.tal1;
  // Remainders of the four interleaved codewords in one pass over the frame.
  Rem r[4] = {};
  if (conv) {
    for (int i = 0; i < RS_NN; i++) {
      const uint8_t* q = p + 4 * i;
      rem_step(r[0], conv[q[0]]);
      rem_step(r[1], conv[q[1]]);
      rem_step(r[2], conv[q[2]]);
      rem_step(r[3], conv[q[3]]);
    }
  } else {
    for (int i = 0; i < RS_NN; i++) {
      const uint8_t* q = p + 4 * i;
      rem_step(r[0], q[0]);
      rem_step(r[1], q[1]);
      rem_step(r[2], q[2]);
      rem_step(r[3], q[3]);
    }
  }
  int result = 0;
  for (int j = 0; j < 4; j++) {
    if (rem_zero(r[j])) continue;
    uint8_t cw[RS_NN], syn[RS_NROOTS];
    for (int i = 0; i < RS_NN; i++) cw[i] = conv ? conv[p[4 * i + j]] : p[4 * i + j];
    rem_syndromes(r[j], syn);
    int n = rs_correct(cw, 0, syn, nullptr, 0);
    if (n < 0) {
      result += 256;
      continue;
    }
    result += n;
    if (n > 0) {
      for (int i = 0; i < RS_DATA; i++) p[4 * i + j] = conventional ? cw[i] : T.tal[cw[i]];
    }
  }
  return result;
}

int rs_decode_frm(uint8_t* frame_bytes) { return Decode_RS(frame_bytes, 4, 0); }

int rs_decode_frm2(uint16_t* frame_words, int keep) {
  uint8_t bytes[1024];
  for (int i = 0; i < 1024; i++) bytes[i] = uint8_t(frame_words[i]);
  int r = rs_decode_frm(bytes);
  if (!keep) {
    for (int i = 0; i < 1024; i++) frame_words[i] = bytes[i];
  }
  return r;
}
