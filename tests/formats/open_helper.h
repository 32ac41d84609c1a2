// A picture opened through open_file, closed and freed on destruction.
#pragma once
#include <cstdio>
#include <memory>
#include <string>

#include "formats/openfile.h"
#include "formats/picinfo.h"

struct OpenedPic {
  PICINFO* pic = pic_new();
  std::unique_ptr<VIEWINFO> view = std::make_unique<VIEWINFO>();
  OpenedPic() = default;
  OpenedPic(const OpenedPic&) = delete;
  OpenedPic& operator=(const OpenedPic&) = delete;
  ~OpenedPic() {
    close_picfile(pic);
    pic_delete(pic);
  }
  int open(const std::string& path, int type = 0) {
    std::snprintf(pic->file_name, sizeof pic->file_name, "%s", path.c_str());
    return open_file(pic, view.get(), nullptr, type);
  }
  XLINE* line(int n) const { return pic_line(pic, n); }
  int lines() const { return pic_line_count(pic); }
};

// A picture of the given type whose file is open for reading, for the header
// readers; closed and freed on destruction.
struct RawPic {
  PICINFO* pic = pic_new();
  RawPic(const std::string& path, int type) {
    pic->file_type = FILE_TYPE(type);
    pic->fp = std::fopen(path.c_str(), "rb");
  }
  RawPic(const RawPic&) = delete;
  RawPic& operator=(const RawPic&) = delete;
  ~RawPic() {
    if (pic->fp) std::fclose(pic->fp);
    pic->fp = nullptr;
    pic_delete(pic);
  }
};

// "YYYY-MM-DD hh:mm:ss.mmm" of a line time, for comparing in one assertion.
inline std::string stamp(const tm_ms& t) {
  char b[96];
  std::snprintf(b, sizeof b, "%04d-%02d-%02d %02d:%02d:%02d.%03d", t.tm.tm_year + 1900,
                t.tm.tm_mon + 1, t.tm.tm_mday, t.tm.tm_hour, t.tm.tm_min, t.tm.tm_sec, t.ms);
  return b;
}
