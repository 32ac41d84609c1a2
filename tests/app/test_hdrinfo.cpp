// The "File header" rows: lines that do not exist say so instead of showing
// stale values.
#include <gtest/gtest.h>

#include <string>

#include "app/core/hdrinfo.h"
#include "display/display_types.h"

namespace {

TEST(FileHeader, MissingLines) {
  PICINFO* pic = pic_new();
  VIEWINFO view{};
  for (int line : {-1, 0, 100000}) {
    HDR_ROWS rows = framehdr_rows(pic, &view, line);
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0].second, std::to_string(line) + ": no header");
  }
  EXPECT_EQ(framehdr_rows(nullptr, &view, 0).size(), 1u);
  pic_delete(pic);
}

}  // namespace
