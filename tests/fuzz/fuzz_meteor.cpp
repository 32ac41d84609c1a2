// Meteor MHRPT1 and MHRPT2 files, with and without header.
#include "fuzz_open_common.h"

static const FuzzVariant kVariants[] = {
    {"p%d.m1", FT_MHRPT1}, {"p%d.m2", FT_MHRPT2}, {"p%d.m1n", FT_MHRPT1N}, {"p%d.m2n", FT_MHRPT2N}};

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  return fuzz_open(data, size, kVariants);
}
