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
