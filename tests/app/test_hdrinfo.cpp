// The "File header" rows of the sample NOAA 18 recording: a clean sync, the
// satellite named from its address, the pass's date; lines that do not exist
// say so instead of showing stale values.
#include <gtest/gtest.h>

#include <map>
#include <string>

#include "app/core/hdrinfo.h"
#include "common/text.h"
#include "display/display_types.h"
#include "formats/openfile.h"
#include "support/testutil.h"

namespace {

struct Opened {
  PICINFO* pic = pic_new();
  VIEWINFO view{};
  int status;
  explicit Opened(const std::string& path) {
    pava::copy_text(pic->file_name, path.c_str());
    status = open_file(pic, &view, nullptr, 0);
  }
  ~Opened() {
    close_picfile(pic);
    pic_delete(pic);
  }
};

TEST(FileHeader, SampleLineDecoded) {
  std::string path = testutil::shared_path("testdata/hrpt/noaa18_hrpt_2012-01-30_30frames.raw16be");
  Opened o(path);
  if (o.status != 0) GTEST_SKIP() << "sample not readable: " << o.status;
  HDR_ROWS rows = framehdr_rows(o.pic, &o.view, 3);
  std::map<std::string, std::string> m(rows.begin(), rows.end());
  EXPECT_EQ(m["Line"], "3");
  EXPECT_NE(m["Sync"].find("(ok)"), std::string::npos) << m["Sync"];
  EXPECT_NE(m["Spacecraft"].find("NOAA 18"), std::string::npos) << m["Spacecraft"];
  EXPECT_EQ(m["Time"].substr(0, 10), "2012-01-30") << m["Time"];
  EXPECT_TRUE(m.count("First reliable frame"));
}

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
