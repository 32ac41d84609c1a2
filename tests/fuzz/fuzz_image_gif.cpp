// GIF reader on arbitrary bytes.
#include "fuzz_image_common.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  return fuzz_image(FT_GIF, data, size);
}
