// GIF reader on arbitrary bytes: no crash, no allocation beyond the input.
#include <cstddef>
#include <cstdint>

#include "export/imgcodec.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  PICINFO* pic = pic_new();
  XLINE* head = nullptr;
  FILE_TYPE t = FT_GIF;
  if (image_decode_buffer(t, data, size, pic, &head) == 0) Remove_Xline(&head);
  pic_delete(pic);
  return 0;
}
