// The CCSDS attached sync marker 1A CF FC 1D.
#pragma once
#include <cstdint>

// Strict (loose 0): all four bytes equal the marker. Loose: true when the
// first, second or third byte matches, or else whether the fourth does.
int is_ahrptsync(const uint8_t* bytes, int loose);
