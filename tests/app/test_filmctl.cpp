// The film's frames: the regular, visible files of a folder in name order;
// stepping wraps round both ways.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <string>
#include <vector>

#include "app/core/filmctl.h"
#include "support/testutil.h"

namespace {

TEST(Film, FilesOfAFolderInOrder) {
  testutil::TempDir d;
  for (const char* n : {"b.hpt", "a.raw16", "c.gif", ".hidden"})
    testutil::write_file(d.file(n), "x");
  ASSERT_EQ(mkdir(d.file("sub").c_str(), 0700), 0);  // folders are not frames
  std::vector<std::string> film = film_list(d.path());
  ASSERT_EQ(film.size(), 3u);
  EXPECT_NE(film[0].find("a.raw16"), std::string::npos);
  EXPECT_NE(film[2].find("c.gif"), std::string::npos);
  EXPECT_TRUE(film_list(d.file("no_such_folder")).empty());
}

TEST(Film, StepWraps) {
  struct Row {
    int index, step, n, expect;
  } rows[] = {
      {0, 1, 3, 1},   // forward
      {2, 1, 3, 0},   // past the end: first
      {0, -1, 3, 2},  // before the start: last
      {1, -7, 3, 0},  // several rounds back
      {-1, 1, 3, 0},  // from "none": the first
      {0, 1, 0, -1},  // empty film
      {5, 0, 3, 2},   // an index out of range is brought in
  };
  for (const Row& r : rows)
    EXPECT_EQ(film_step(r.index, r.step, r.n), r.expect)
        << r.index << "+" << r.step << " of " << r.n;
}

}  // namespace
