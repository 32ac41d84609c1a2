// Shared part of the file-reader fuzz targets: the input's last byte picks a
// file name and a forced file type from the target's table, the rest is the
// file, opened through open_file as pava opens it.
#pragma once
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

#include "formats/openfile.h"
#include "formats/picinfo.h"

struct FuzzVariant {
  const char* name;  // file name in the temporary directory; %d: the process id
  int file_type;     // 0: detect
};

template <size_t N>
int fuzz_open(const uint8_t* data, size_t size, const FuzzVariant (&variants)[N]) {
  if (size == 0) return 0;
  const FuzzVariant& v = variants[data[size - 1] % N];
  size--;
  const char* tmp = std::getenv("TMPDIR");
  char name[64];
  std::snprintf(name, sizeof name, v.name, int(getpid()));
  std::string path = std::string(tmp && *tmp ? tmp : "/tmp") + "/" + name;
  FILE* fp = std::fopen(path.c_str(), "wb");
  if (!fp) return 0;
  std::fwrite(data, 1, size, fp);
  std::fclose(fp);
  PICINFO* pic = pic_new();
  auto view = std::make_unique<VIEWINFO>();
  std::snprintf(pic->file_name, sizeof pic->file_name, "%s", path.c_str());
  if (open_file(pic, view.get(), nullptr, v.file_type) == 0) {
    // Touch every line as the display would.
    long sum = 0;
    for (XLINE* l = pic->xline; l; l = l->next)
      for (int c = 0; c < l->nrchan; c++)
        sum += l->line[c][l->width ? l->width - 1 : 0] * (l->width > 0);
    (void)sum;
  }
  close_picfile(pic);
  pic_delete(pic);
  std::remove(path.c_str());
  return 0;
}
