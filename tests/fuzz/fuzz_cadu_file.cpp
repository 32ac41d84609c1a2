// QPSK record file readers on arbitrary files (Metop and FY-3 paths, with
// Reed-Solomon and gap filling on).
#include <cstdint>
#include <cstdio>

#include "ccsds/qpsk_files.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0 || size > (1 << 20)) return 0;
  for (FILE_TYPE ft : {FT_METOP, FT_FY3}) {
    FILE* fp = fmemopen(const_cast<uint8_t*>(data), size, "rb");
    if (!fp) return 0;
    PICINFO* pic = pic_new();
    VIEWINFO* view = new VIEWINFO();
    view->reed_solomon = 1;
    view->destrip = 1;
    pic->fp = fp;
    pic->file_type = ft;
    if (read_qpsk_hdr(pic, view) == 0) pic_set_lines(pic, read_qpsk_all(pic, view));
    std::fclose(fp);
    pic->fp = nullptr;
    pic_delete(pic);
    delete view;
  }
  return 0;
}
