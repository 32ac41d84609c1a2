// Bounded text copies into the fixed-size text fields of the records.
#pragma once
#include <cstddef>
#include <cstring>
#include <string>

namespace pava {

// Copies src into dst (size n, n >= 1), always terminated. Returns false when
// src did not fit and was cut.
inline bool copy_text(char* dst, std::size_t n, const char* src) {
  if (n == 0) return false;
  if (!src) src = "";
  std::size_t len = std::strlen(src);
  bool fits = len < n;
  if (!fits) len = n - 1;
  std::memcpy(dst, src, len);
  dst[len] = '\0';
  return fits;
}

template <std::size_t N>
inline bool copy_text(char (&dst)[N], const char* src) {
  return copy_text(dst, N, src);
}

template <std::size_t N>
inline bool copy_text(char (&dst)[N], const std::string& src) {
  return copy_text(dst, N, src.c_str());
}

// printf into a std::string.
std::string strprintf(const char* fmt, ...) __attribute__((format(printf, 1, 2)));

}  // namespace pava
