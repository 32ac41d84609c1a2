// Helpers of the export tests: independent decoders (Debian's netpbm tools
// turn a file into plain PNM, parsed here) and pictures opened by pava.
#pragma once
#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

#include "display/draw.h"
#include "display/picture_builder.h"
#include "formats/openfile.h"
#include "support/testutil.h"

namespace etest {

struct Plain {
  bool ok = false;
  int width = 0, height = 0, maxval = 0, nch = 0;
  std::vector<int> v;  // (y * width + x) * nch + c
  int at(int x, int y, int c = 0) const { return v[size_t((y * width + x) * nch + c)]; }
};

inline bool have_tool(const std::string& t) {
  return testutil::run({"/bin/sh", "-c", "command -v " + t + " >/dev/null"}).status == 0;
}

// Runs "tool file | pnmtoplainpnm" and parses the result (P1, P2 or P3).
inline Plain decode_with(const std::string& tool, const std::string& file) {
  Plain p;
  auto r = testutil::run({"/bin/sh", "-c", tool + " '" + file + "' 2>/dev/null | pnmtoplainpnm"});
  if (r.status != 0) return p;
  std::istringstream in(r.out);
  std::string magic;
  in >> magic;
  p.nch = magic == "P3" ? 3 : 1;
  in >> p.width >> p.height;
  if (magic != "P1")
    in >> p.maxval;
  else
    p.maxval = 1;
  p.v.resize(size_t(p.width) * size_t(p.height) * size_t(p.nch));
  if (magic == "P1") {
    // Plain PBM digits may run together; 1 is black.
    for (int& x : p.v) {
      char ch = 0;
      while (in.get(ch) && ch != '0' && ch != '1') {
      }
      x = ch == '1' ? 0 : 1;
    }
  } else {
    for (int& x : p.v) in >> x;
  }
  p.ok = bool(in);
  return p;
}

// A file opened as the viewer opens it, closed with the object.
struct Opened {
  PICINFO* pic = pic_new();
  VIEWINFO* view = new VIEWINFO();
  ~Opened() {
    close_picfile(pic);
    pic_delete(pic);
    delete view;
  }
  int open(const std::string& f) {
    std::snprintf(pic->file_name, sizeof pic->file_name, "%s", f.c_str());
    int r = open_file(pic, view, nullptr, 0);
    if (!r) view_init(pic, view);
    return r;
  }
};

}  // namespace etest
