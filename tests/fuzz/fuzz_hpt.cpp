// HPT and CHPT files, raw16 frames.
#include "fuzz_open_common.h"

static const FuzzVariant kVariants[] = {
    {"p%d.hpt", FT_HPT}, {"p%d.C10", FT_CHPT}, {"p%d.raw16", FT_HPT}, {"p%d.bin", FT_HPT}};

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  return fuzz_open(data, size, kVariants);
}
