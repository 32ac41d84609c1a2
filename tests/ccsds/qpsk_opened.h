// A QPSK record file opened for the record readers; closed and freed on
// destruction.
#pragma once
#include <cstdio>
#include <memory>
#include <string>

#include "ccsds/qpsk_files.h"

struct Opened {
  PICINFO* pic = pic_new();
  std::unique_ptr<VIEWINFO> view = std::make_unique<VIEWINFO>();
  Opened(const std::string& path, FILE_TYPE ft, int view_rs = 0) {
    pic->fp = std::fopen(path.c_str(), "rb");
    pic->file_type = ft;
    view->reed_solomon = view_rs;
  }
  Opened(const Opened&) = delete;
  Opened& operator=(const Opened&) = delete;
  ~Opened() {
    if (pic->fp) std::fclose(pic->fp);
    pic->fp = nullptr;
    pic_delete(pic);
  }
  // Header and all lines; the header reader's code on failure.
  int read_all() {
    int r = read_qpsk_hdr(pic, view.get());
    if (r == 0) pic_set_lines(pic, read_qpsk_all(pic, view.get()));
    return r;
  }
};
