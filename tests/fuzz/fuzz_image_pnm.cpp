// PPM/PGM reader on arbitrary bytes.
#include "fuzz_image_common.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  return fuzz_image(size > 1 && data[1] == '6' ? FT_PPM : FT_PGM, data, size);
}
