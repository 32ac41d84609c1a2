// Any file through type detection and the reader it picks.
#include "fuzz_open_common.h"

static const FuzzVariant kVariants[] = {{"p%d.dat", 0}, {"F%d.dat", 0}, {"p%d.raw16", 0}};

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  return fuzz_open(data, size, kVariants);
}
