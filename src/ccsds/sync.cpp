#include "ccsds/sync.h"

int is_ahrptsync(const uint8_t* b, int loose) {
  static const uint8_t asm_[4] = {0x1A, 0xCF, 0xFC, 0x1D};
  if (!loose) return b[0] == asm_[0] && b[1] == asm_[1] && b[2] == asm_[2] && b[3] == asm_[3];
  if (b[0] == asm_[0] || b[1] == asm_[1] || b[2] == asm_[2]) return 1;
  return b[3] == asm_[3];
}
