#include "formats/openfile.h"

#include <cstdio>
#include <cstring>

FILE_TYPE detect_file(const char* path) {
  if (!path) return unknown_filetype;
  if (std::strstr(path, ".hpt")) return FT_HPT;
  if (std::strstr(path, ".C10")) return FT_CHPT;
  return unknown_filetype;
}

int open_file(PICINFO* pic, VIEWINFO*, void*, int file_type) {
  if (file_type == 0) file_type = detect_file(pic->file_name);
  if (file_type == error_filetype) return 'o';
  if (file_type == unknown_filetype) return 't';
  FILE* fp = std::fopen(pic->file_name, "rb");
  if (!fp) return 'o';
  std::fclose(fp);
  return 't';
}

void close_picfile(PICINFO* pic) {
  if (pic->fp) std::fclose(pic->fp);
  pic->fp = nullptr;
  pic_free_lines(pic);
}
