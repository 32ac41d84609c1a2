// File type detection, opening, messages, names of new recording files.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstring>
#include <string>
#include <vector>

#include "common/timeutil.h"
#include "format_samples.h"
#include "open_helper.h"
#include "reception/recordinfo.h"
#include "support/testutil.h"

namespace {

TEST(DetectFile, MagicIdentifierAndName) {
  testutil::TempDir dir;
  const std::string asm_ = "\x1A\xCF\xFC\x1D";
  struct Row {
    const char* name;
    std::string bytes;
    FILE_TYPE type;
    const char* what;
  };
  const Row rows[] = {
      {"a.ppm", "P6\n4 4\n255\n", FT_PPM, "PPM"},
      {"a.gif", "GIF89a", FT_GIF, "GIF"},
      {"a.jpg", std::string("\xFF\xD8\xFF\xE0\x00\x10JFIF", 10), FT_JPEG,
       "JPEG (recognised, not opened)"},
      {"a.raw", "HRPT....", FT_HRPT, "HRPT header"},
      {"a.raw5", "M2HR....", FT_MHRPT2, "MHRPT2 header"},
      {"a.q1", asm_ + "QNO1", FT_QNOAA21, "CCSDS: NOAA 21 identifier"},
      {"a.q3", asm_ + "METx", FT_METOP, "CCSDS: three letters MET"},
      {"a.q4", asm_ + "FY3x", FT_FY3, "CCSDS: three letters FY3"},
      {"Fy3_pass.dat", asm_ + "????", FT_FY3, "unknown identifier, name starts with F: FY-3"},
      {"metop.dat", asm_ + "????", FT_METOP, "any other name: Metop"},
      {"x.hpt", "HRPT....", FT_HPT, "a file named .hpt that starts with HRPT is HPT"},
      {"x.C10", "CHRP....", FT_CHPT, ".C10 overrides the content too"},
      {"b.txt", "hello", unknown_filetype, "nothing matches"},
      {"empty", "", unknown_filetype, "zero-length file"},
  };
  for (const Row& r : rows) {
    std::string p = dir.file(r.name);
    testutil::write_file(p, r.bytes);
    EXPECT_EQ(detect_file(p.c_str()), r.type) << r.what;
  }
  EXPECT_EQ(detect_file(dir.file("missing").c_str()), unknown_filetype);
  EXPECT_EQ(detect_file(dir.file("missing.hpt").c_str()), FT_HPT);  // by name alone
}

TEST(OpenFile, ResultCodes) {
  testutil::TempDir dir;
  OpenedPic o;
  // JPEG is recognised but not opened, with the unknown-type message.
  std::string jpg = dir.file("pic.jpg");
  testutil::write_file(jpg, std::string("\xFF\xD8\xFF\xE0\x00\x10JFIF\x00", 11));
  EXPECT_EQ(open_error_boxes(o.open(jpg), jpg.c_str(), 0),
            std::vector<std::string>{"Unknown file type of \n" + jpg + ".\n"});
  EXPECT_EQ(o.open(dir.file("missing")), 't');
  EXPECT_EQ(o.open(dir.file("missing.hpt")), 'o');
  EXPECT_EQ(o.open(dir.file("missing"), FT_HRPT), 'o');
  // A picture file of the image codecs opens.
  std::string pgm = dir.file("a.pgm");
  testutil::write_file(pgm, "P5\n4 4\n255\n0123456789abcdef");
  EXPECT_EQ(o.open(pgm), 0);
  // A type without a reader.
  EXPECT_EQ(o.open(pgm, FT_LRIT), 't');
  EXPECT_EQ(o.pic->fp, nullptr);
}

TEST(OpenFile, ReopenReplacesThePicture) {
  testutil::TempDir dir;
  std::string a = dir.file("a.hrpt"), b = dir.file("b.hpt");
  fmtsamples::write_hrpt_file(a, FT_HRPT, 512, 8, 1);
  fmtsamples::write_hpt_file(b, FT_HPT, 2, 2);
  OpenedPic o;
  ASSERT_EQ(o.open(a), 0);
  EXPECT_EQ(o.lines(), 8);
  ASSERT_EQ(o.open(b), 0);
  EXPECT_EQ(o.lines(), 2);
  EXPECT_STREQ(o.pic->sat_name, "");
  EXPECT_FALSE(o.pic->valid_time);
}

TEST(OpenMessages, FileSelectorAndCommandLine) {
  struct Row {
    int code;
    std::vector<std::string> boxes;
    std::string cmdline;
  };
  const Row rows[] = {
      {'d',
       {"Depth=16 currently not supported.\n", "read problem in f.x.\n"},
       "ERROR: Problem with reading f.x (code d = 100).\n"},
      {'o', {"Can't open file."}, "ERROR: Can't open f.x\n"},
      {'p', {"No picture found in f.x.\n"}, "ERROR: Problem with reading f.x (code p = 112).\n"},
      {'r', {"read problem in f.x.\n"}, "ERROR: Problem with reading f.x (code r = 114).\n"},
      {'t', {"Unknown file type of \nf.x.\n"}, "ERROR: f.x is unknown file type.\n"},
      {'z', {"Unknown error 122 (z).\n"}, "ERROR: Problem with reading f.x (code z = 122).\n"},
  };
  for (const Row& r : rows) {
    EXPECT_EQ(open_error_boxes(r.code, "f.x", 16), r.boxes) << r.code;
    EXPECT_EQ(open_error_cmdline(r.code, "f.x"), r.cmdline) << r.code;
  }
}

TEST(FileNames, StripFixSearch) {
  // Any of "/", "\\" and ":" ends the directory part.
  for (const char* p : {"/a/b/c", "C:\\rec\\c", "disk:c", "a\\b/c", "c"}) {
    EXPECT_STREQ(strip_filename(p), "c") << p;
  }
  char p[] = "//a//b///c/";
  fix_path(p);
  EXPECT_STREQ(p, "/a/b/c/");

  testutil::TempDir dir;
  testutil::write_file(dir.file("x.tle"), "1");
  char found[200];
  EXPECT_TRUE(
      search_file("x.tle", found, sizeof found, "/nonexistent", dir.path().c_str(), nullptr));
  EXPECT_EQ(std::string(found), dir.file("x.tle"));
  EXPECT_FALSE(search_file("y.tle", found, sizeof found, dir.path().c_str(), nullptr, nullptr));
}

TEST(FileNames, ThreeRecordingsInOneMinute) {
  testutil::TempDir dir;
  struct tm t {};
  t.tm_year = 124, t.tm_mon = 2, t.tm_mday = 5, t.tm_hour = 10, t.tm_min = 20;
  time_t now = pava::mktime_utc(&t);
  std::string d = dir.path() + "/";
  const struct Row {
    const char *base, *ext;
    int style, n;
    const char* name;
  } rows[] = {
      {"noaa", ".raw", 0, 1, "noaa_20240305_1020.raw"},  // three in the same minute
      {"noaa", ".raw", 0, 2, "noaa_20240305_1020_01.raw"},
      {"noaa", ".raw", 0, 3, "noaa_20240305_1020_02.raw"},
      {"metop", ".raw", 1, 1, "metop_2024-03-05_1020.raw"},
      {"noaa", ".hpt", 0, 1, "2024-03-05_1020_noaa.hpt"},  // ".hpt": the time first
      {"noaa", ".hpt", 0, 2, "2024-03-05_1020_noaa_01.hpt"},
      {nullptr, nullptr, 0, 1, "_20240305_1020"},  // missing base and extension count as empty
  };
  for (const Row& r : rows) {
    char name[300];
    EXPECT_EQ(create_new_filename_at(name, sizeof name, d.c_str(), r.base, r.ext, r.style, now),
              r.n);
    EXPECT_EQ(std::string(name), d + r.name);
    testutil::write_file(name, "x");
  }
}

TEST(FileNames, RecordingFileInNewDirectories) {
  testutil::TempDir dir;
  auto rec = std::make_unique<RECORDINFO>();
  std::snprintf(rec->work_location, sizeof rec->work_location, "%s/work/", dir.path().c_str());
  rec->file_loc = "hrpt/2024";
  int n = open_new_recfile("noaa", ".raw", rec.get());
  ASSERT_GE(n, 1);
  ASSERT_NE(rec->fp, nullptr);
  std::string name = rec->file_name;
  EXPECT_EQ(name.rfind(dir.path() + "/work/hrpt/2024/noaa_", 0), 0u) << name;
  EXPECT_EQ(name.find("//"), std::string::npos);
  close_recfile(rec.get());
  EXPECT_EQ(rec->fp, nullptr);
  struct stat st {};
  EXPECT_EQ(stat(name.c_str(), &st), 0);
}

}  // namespace
