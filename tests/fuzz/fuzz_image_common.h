// Shared part of the image reader fuzz targets: decode the bytes as one type;
// no crash, no allocation beyond the input.
#pragma once
#include <cstddef>
#include <cstdint>

#include "export/imgcodec.h"

inline int fuzz_image(FILE_TYPE t, const uint8_t* data, size_t size) {
  PICINFO* pic = pic_new();
  XLINE* head = nullptr;
  if (image_decode_buffer(t, data, size, pic, &head) == 0) Remove_Xline(&head);
  pic_delete(pic);
  return 0;
}
