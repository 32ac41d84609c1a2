// Little- and big-endian field access for the binary file layouts.
#pragma once
#include <cstdint>
#include <cstring>

namespace pava {

inline uint16_t get_le16(const uint8_t* p) { return uint16_t(p[0] | (p[1] << 8)); }
inline uint32_t get_le32(const uint8_t* p) {
  return uint32_t(p[0]) | (uint32_t(p[1]) << 8) | (uint32_t(p[2]) << 16) | (uint32_t(p[3]) << 24);
}
inline uint16_t get_be16(const uint8_t* p) { return uint16_t((p[0] << 8) | p[1]); }
inline uint32_t get_be32(const uint8_t* p) {
  return (uint32_t(p[0]) << 24) | (uint32_t(p[1]) << 16) | (uint32_t(p[2]) << 8) | uint32_t(p[3]);
}
inline void put_le16(uint8_t* p, uint16_t v) {
  p[0] = uint8_t(v);
  p[1] = uint8_t(v >> 8);
}
inline void put_le32(uint8_t* p, uint32_t v) {
  for (int i = 0; i < 4; i++) p[i] = uint8_t(v >> (8 * i));
}
inline void put_be16(uint8_t* p, uint16_t v) {
  p[0] = uint8_t(v >> 8);
  p[1] = uint8_t(v);
}
inline void put_be32(uint8_t* p, uint32_t v) {
  for (int i = 0; i < 4; i++) p[i] = uint8_t(v >> (24 - 8 * i));
}
inline float get_lef(const uint8_t* p) {
  uint32_t u = get_le32(p);
  float f;
  std::memcpy(&f, &u, 4);
  return f;
}
inline void put_lef(uint8_t* p, float f) {
  uint32_t u;
  std::memcpy(&u, &f, 4);
  put_le32(p, u);
}

}  // namespace pava
