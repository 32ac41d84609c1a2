// Log file and debug text.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>

#include "app/log.h"
#include "support/testutil.h"

namespace {

TEST(DebugText, CutAt144Characters) {
  debug_clear();
  enable_debug(1);
  w_dbg("%s", std::string(200, 'a').c_str());
  EXPECT_EQ(debug_text(), std::string(144, 'a') + "...\n");
  debug_clear();
  w_dbg("%s", std::string(143, 'b').c_str());
  EXPECT_EQ(debug_text(), std::string(143, 'b'));
  debug_clear();
  enable_debug(-1);
  w_dbg("hidden");
  EXPECT_EQ(debug_text(), "");
  EXPECT_EQ(enable_debug(0), 0);
  enable_debug(1);
}

TEST(Log, FileInHomeOrStandardOutput) {
  testutil::TempDir dir;
  log_configure(dir.path().c_str(), 1);
  log_message("hello %d", 42);
  std::string text = testutil::read_file(dir.file("pava.log"));
  // "Sat Nov 21 09:46:14 2026  hello 42\n"
  ASSERT_EQ(text.size(), 24 + 2 + 8 + 1);
  EXPECT_EQ(text.substr(24), "  hello 42\n");

  // An unwritable home: the line goes to standard output.
  chmod(dir.path().c_str(), 0500);
  log_configure((dir.path() + "/missing").c_str(), 1);
  testing::internal::CaptureStdout();
  log_message("to stdout");
  std::string out = testing::internal::GetCapturedStdout();
  EXPECT_EQ(out.substr(24), "  to stdout\n");
  chmod(dir.path().c_str(), 0700);
  log_configure("", 0);
}

}  // namespace
