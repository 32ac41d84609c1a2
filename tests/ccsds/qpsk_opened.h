// A QPSK record file opened for the record readers; closed and freed on
// destruction.
#pragma once
#include <memory>
#include <string>

#include "ccsds/qpsk_files.h"
#include "formats/open_helper.h"

struct Opened : RawPic {
  std::unique_ptr<VIEWINFO> view = std::make_unique<VIEWINFO>();
  Opened(const std::string& path, FILE_TYPE ft, int view_rs = 0) : RawPic(path, ft) {
    view->reed_solomon = view_rs;
  }
  // Header and all lines; the header reader's code on failure.
  int read_all() {
    int r = read_qpsk_hdr(pic, view.get());
    if (r == 0) pic_set_lines(pic, read_qpsk_all(pic, view.get()));
    return r;
  }
};
