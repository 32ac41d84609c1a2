// Element updates: the new file replaces the old one only when it holds
// element sets; every failure keeps the old file and leaves no download
// behind. The download runs curl on file: addresses.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "support/testutil.h"
#include "tracking/elements_update.h"

namespace {

TEST(ElementsUpdate, ReplacesOnlyWithElements) {
  if (std::system("command -v curl >/dev/null 2>&1") != 0) GTEST_SKIP() << "curl missing";
  testutil::TempDir dir;
  std::string target = dir.file("weather.txt");
  std::string shipped = testutil::source_path("data/weather.txt");
  std::string junk = dir.file("junk.txt");
  testutil::write_file(junk, "<html>rate limited</html>\n");
  struct {
    std::string url;
    int want;
    bool replaced;
  } rows[] = {
      {"file://" + junk, -3, false},                  // no element set: old kept
      {"file://" + dir.file("none.txt"), -2, false},  // download fails
      {"file://" + shipped, 15, true},                // the shipped file's 15 sets
  };
  for (const auto& r : rows) {
    testutil::write_file(target, "old\n");
    std::string msg;
    EXPECT_EQ(update_elements(r.url.c_str(), target.c_str(), &msg), r.want) << r.url;
    EXPECT_FALSE(msg.empty());
    EXPECT_EQ(testutil::read_file(target) == "old\n", !r.replaced) << r.url;
    EXPECT_NE(access((target + ".new").c_str(), F_OK), 0) << "download left behind";
  }
  EXPECT_EQ(testutil::read_file(target), testutil::read_file(shipped));

  // No tool at all.
  std::string path = std::getenv("PATH");
  setenv("PATH", dir.path().c_str(), 1);
  EXPECT_EQ(update_elements(("file://" + shipped).c_str(), target.c_str(), nullptr), -1);
  setenv("PATH", path.c_str(), 1);
}

TEST(ElementsUpdate, AgeOfTheSets) {
  double newest = 0, oldest = 0;
  // 2024-06-20 00:00 UTC: NOAA 21's set (2024-06-17 20:53:36) is the newest,
  // the 2020-10-26 sets are the oldest (NOAA 15 at 20:33:12).
  EXPECT_EQ(elements_age(testutil::source_path("data/weather.txt").c_str(), 1718841600.0, &newest,
                         &oldest),
            15);
  EXPECT_NEAR(newest, 2.13, 0.01);
  EXPECT_NEAR(oldest, 1332.1, 0.2);
  EXPECT_EQ(elements_age("/nonexistent", 0, &newest, &oldest), 0);
}

}  // namespace
