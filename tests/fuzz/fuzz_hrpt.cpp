// Raw HRPT, CHRPT and SeaStar recording files.
#include "fuzz_open_common.h"

static const FuzzVariant kVariants[] = {
    {"p%d.raw", FT_HRPT}, {"p%d.raw", FT_CHRPT}, {"p%d.raw", FT_SEAWIF}};

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  return fuzz_open(data, size, kVariants);
}
