// Raw destinations not covered elsewhere: a recording saved as SeaStar (8
// channels of 1288 pixels) opens again with its frame headers and samples
// where they were.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "display/draw.h"
#include "display/picture_builder.h"
#include "export/save.h"
#include "formats/openfile.h"
#include "support/testutil.h"

namespace {

struct Opened {
  PICINFO* pic = pic_new();
  VIEWINFO* view = dtest::make_view();
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

TEST(SaveRawFamilies, SeaStarKeepsHeadersAndSamples) {
  testutil::TempDir d;
  Opened src;
  ASSERT_EQ(
      src.open(testutil::shared_path("testdata/hrpt/noaa18_hrpt_2012-01-30_30frames.raw16be")), 0);
  const int H = src.pic->height;
  // Rows: destination; pixels of each channel compared; header words kept.
  struct Row {
    FILE_TYPE type;
    int width, hdr_words;
  } rows[] = {{FT_SEAWIF, 1288, 685}};
  for (const Row& r : rows) {
    SAVEOPTS o;
    o.type = r.type;
    for (int c = 1; c <= 5; c++) o.channels[c] = 1;
    o.dir = d.path();
    std::vector<std::string> written;
    ASSERT_EQ(save_picture(src.pic, src.view, &o, &written), SAVE_OK) << r.type;
    Opened back;
    ASSERT_EQ(back.open(written[0]), 0) << written[0];
    EXPECT_EQ(back.pic->file_type, r.type);
    ASSERT_GE(back.pic->height, H - 1) << written[0];
    for (int y = 0; y < H - 1; y++) {
      const XLINE* a = pic_line(src.pic, y);
      const XLINE* b = pic_line(back.pic, y);
      ASSERT_EQ(std::memcmp(a->line_hdr, b->line_hdr, size_t(r.hdr_words) * 2), 0)
          << written[0] << " line " << y;
      for (int c = 0; c < 5; c++)
        ASSERT_EQ(std::memcmp(a->line[c], b->line[c], size_t(r.width) * 2), 0)
            << written[0] << " line " << y << " channel " << c;
    }
  }
}

}  // namespace
