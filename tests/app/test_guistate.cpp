// The GUI-settings file: names and values kept to one line, damaged lines.
// Writing and reading back is checked by test_gui_main.sh on the real program.
#include <gtest/gtest.h>

#include "app/core/guistate.h"
#include "support/testutil.h"

namespace {

TEST(GuiState, KeysAndValuesStayOneLine) {
  GUISTATE st;
  // A widget name with "=" or a newline would break the line format.
  EXPECT_EQ(guistate_key("W=1", "a\nb"), "W_1/a_b");
  guistate_set(&st, "k", "two\nlines");
  EXPECT_EQ(st.values["k"], "two lines");
  // A value may contain "=": only the first one separates.
  testutil::TempDir dir;
  testutil::write_file(dir.file("g.ini"), "a/b=x=y\r\n");
  GUISTATE back;
  ASSERT_EQ(guistate_read(&back, dir.file("g.ini")), 0);
  EXPECT_EQ(back.values["a/b"], "x=y");
}

TEST(GuiState, DamagedFile) {
  testutil::TempDir dir;
  std::string damaged = "no equals sign\n=no key\n" + std::string(5000, 'x') + "=long\nok/w=1\n";
  testutil::write_file(dir.file("g.ini"), damaged);
  GUISTATE st;
  st.values["old"] = "gone";
  ASSERT_EQ(guistate_read(&st, dir.file("g.ini")), 0);
  ASSERT_EQ(st.values.size(), 1u);
  EXPECT_EQ(st.values["ok/w"], "1");
  // Missing file: empty settings and 'o'; unwritable place: 'o'.
  EXPECT_EQ(guistate_read(&st, dir.file("missing.ini")), 'o');
  EXPECT_TRUE(st.values.empty());
  EXPECT_EQ(guistate_write(st, dir.file("no/such/dir.ini")), 'o');
}

}  // namespace
