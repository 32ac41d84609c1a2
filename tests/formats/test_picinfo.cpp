// The picture record's line list and its index.
#include <gtest/gtest.h>

#include "formats/picinfo.h"

namespace {

TEST(Xline, ListIndexAndRemoval) {
  PICINFO* pic = pic_new();
  XLINE* head = nullptr;
  XLINE* tail = nullptr;
  for (int i = 0; i < 100; i++) {
    tail = Create_Xline(&head, 5, 2048, tail);
    tail->linenr = i;
  }
  XLINE* walked = Create_Xline(&head, 3, 10);  // appended by walking the list
  EXPECT_EQ(walked->prev, tail);
  EXPECT_EQ(head->nrchan, 5);
  EXPECT_EQ(head->line[4][2047], 0);
  EXPECT_EQ(head->line[5], nullptr);
  ASSERT_NE(head->line_hdr, nullptr);
  pic_set_lines(pic, head);
  EXPECT_EQ(pic_line_count(pic), 101);
  EXPECT_EQ(pic_line(pic, 57)->linenr, 57);
  EXPECT_EQ(pic_line(pic, 100), walked);
  EXPECT_EQ(pic_line(pic, 101), nullptr);
  EXPECT_EQ(pic_line(pic, -1), nullptr);
  pic_free_lines(pic);
  EXPECT_EQ(pic->xline, nullptr);
  EXPECT_EQ(pic_line(pic, 0), nullptr);
  pic_delete(pic);
}

}  // namespace
