// PPM/PGM reader on arbitrary bytes: no crash, no allocation beyond the input.
#include <cstddef>
#include <cstdint>

#include "export/imgcodec.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  PICINFO* pic = pic_new();
  XLINE* head = nullptr;
  FILE_TYPE t = size > 1 && data[1] == '6' ? FT_PPM : FT_PGM;
  if (image_decode_buffer(t, data, size, pic, &head) == 0) Remove_Xline(&head);
  pic_delete(pic);
  return 0;
}
