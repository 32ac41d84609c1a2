// HPT/CHPT files and raw16 frames.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utime.h>

#include <cstring>
#include <string>
#include <vector>

#include "common/bytes.h"
#include "format_samples.h"
#include "formats/framehdr.h"
#include "formats/hptfile.h"
#include "open_helper.h"
#include "support/testutil.h"

namespace {

TEST(HptFile, RoundTripHptAndChpt) {
  testutil::TempDir dir;
  struct Row {
    const char* name;
    int type, nch, records;
  };
  for (const Row& r : {Row{"rt.hpt", FT_HPT, 5, 4}, Row{"rt.C10", FT_CHPT, 10, 3}}) {
    std::string p = dir.file(r.name);
    auto words = fmtsamples::write_hpt_file(p, r.type, r.records, 9);
    OpenedPic o;
    ASSERT_EQ(o.open(p), 0) << r.name;
    // HRPT satellite type for CHPT too.
    EXPECT_EQ(
        std::vector<long>(
            {o.pic->file_type, o.pic->sat_type, o.pic->pic_strt, o.pic->fri.bytes_per_line}),
        std::vector<long>({r.type, HRPT, r.nch == 5 ? 925 : 2000, r.nch == 5 ? 13864 : 27728}));
    ASSERT_EQ(o.lines(), r.records);
    for (int i = 0; i < r.records; i++) {
      EXPECT_TRUE(o.line(i)->syncword);
      // Samples counted from the first word of the record.
      for (int px = 0; px < 2048; px += 5)
        for (int ch = 0; ch < r.nch; ch++)
          ASSERT_EQ(o.line(i)->line[ch][px], words[size_t(i)][size_t(ch + r.nch * px)])
              << r.name << " line " << i << " pixel " << px;
    }
  }
}

// The line count uses a 13860-byte step over 13864-byte records: N lines, or
// N + 1 from 3465 records on.
TEST(HptFile, CountWithTheShorterStep) {
  testutil::TempDir dir;
  std::string p = dir.file("big.hpt");
  for (long n : {1L, 2L, 3464L, 3465L, 3466L}) {
    FILE* fp = std::fopen(p.c_str(), "wb");
    ASSERT_EQ(ftruncate(fileno(fp), 925 + 13864 * n), 0);  // sparse
    std::fclose(fp);
    RawPic r(p, FT_HPT);
    read_hpt_hdr(r.pic, 5);
    EXPECT_EQ(r.pic->height, n < 3465 ? n : n + 1) << n;  // = 13864 n / 13860
  }
}

TEST(HptFile, SkippingFaultyLines) {
  testutil::TempDir dir;
  std::string p = dir.file("skip.hpt");
  // 925 skipped bytes, five records of random words without sync.
  fmtsamples::Rng rng(99);
  std::string b(925 + 5 * 13864, '\0');
  for (size_t i = 925; i < b.size(); i++) b[i] = char(rng.next10() & 0xFF);
  auto put_sync_group = [&](size_t off) {
    uint16_t w[8] = {644, 367, 860, 413, 527, 149, 1, 2};
    hpt_pack(w, reinterpret_cast<uint8_t*>(&b[off]));
    hpt_pack(w + 4, reinterpret_cast<uint8_t*>(&b[off + 5]));
  };
  // Line 2 starts with the sync, and the eight words after its frame too.
  put_sync_group(925 + 2 * 13864);
  put_sync_group(925 + 2 * 13864 + 13860);
  testutil::write_file(p, b);

  RawPic r(p, FT_HPT);
  PICINFO* pic = r.pic;
  read_hpt_hdr(pic, 5);
  auto view = std::make_unique<VIEWINFO>();
  std::vector<uint16_t> w(11092);
  int line = 1;
  // Without skipping: line 1 as it is.
  EXPECT_EQ(read_hpt_line(pic, view.get(), &line, w.data()), 1);
  EXPECT_EQ(line, 2);
  // Skipping with both masks: line 1 lacks both syncs, line 2 is returned.
  view->skip_faulty_lines = 1;
  view->mask_skip = 0x0C | 0xE0;
  line = 1;
  EXPECT_EQ(read_hpt_line(pic, view.get(), &line, w.data()), 1 | 0x0C | 0xE0);
  EXPECT_EQ(line, 3);
  EXPECT_EQ(w[0], 644);
  // South-to-north: from line 3 down to line 2.
  view->scan_ver = S_N;
  line = 3;
  EXPECT_EQ(read_hpt_line(pic, view.get(), &line, w.data()), 1 | 0x0C | 0xE0);
  EXPECT_EQ(line, 1);
  // Running below line 0 gives 0.
  view->skip_faulty_lines = 0;
  line = 0;
  EXPECT_EQ(read_hpt_line(pic, view.get(), &line, w.data()), 0);
}

TEST(HptFile, ShorterThanItsSkippedStart) {
  testutil::TempDir dir;
  for (auto [name, size] : {std::pair{"short.hpt", 500}, std::pair{"empty.C10", 0}}) {
    testutil::write_file(dir.file(name), std::string(size_t(size), 'x'));
    OpenedPic o;
    EXPECT_EQ(o.open(dir.file(name)), 0) << name;
    EXPECT_TRUE(o.lines() == 0 && o.pic->height == 0) << name;
  }
}

// ---- raw16 ----

const char* kRealRaw16 = "testdata/hrpt/noaa18_hrpt_2012-01-30_30frames.raw16be";

TEST(Raw16, RealNoaa18FramesWithDateInName) {
  std::string p = testutil::shared_path(kRealRaw16);
  if (access(p.c_str(), R_OK) != 0) GTEST_SKIP() << "no " << p;
  OpenedPic o;
  ASSERT_EQ(o.open(p), 0);
  EXPECT_EQ(std::vector<int>({o.pic->file_type, o.pic->container, o.pic->sat_type, o.pic->nr_chan,
                              o.pic->channels_recorded[0]}),
            std::vector<int>({FT_HPT, CONT_RAW16BE, HRPT, 5, 1}));
  EXPECT_STREQ(o.pic->sat_name, "NOAA 18");
  ASSERT_EQ(o.lines(), 30);
  EXPECT_TRUE(o.pic->valid_time);
  EXPECT_EQ(stamp(o.line(0)->tm_ms), "2012-01-30 13:46:35.026");
  EXPECT_EQ(stamp(o.line(6)->tm_ms), "2012-01-30 13:46:36.026");  // 6 lines a second
  // Samples: word 750 + 5p + c of each frame, read here independently.
  std::string raw = testutil::read_file(p);
  const uint8_t* r = reinterpret_cast<const uint8_t*>(raw.data());
  for (int L : {0, 17, 29})
    for (int px : {0, 1, 1000, 2047})
      for (int c = 0; c < 5; c++)
        EXPECT_EQ(o.line(L)->line[c][px],
                  pava::get_be16(r + size_t(L) * 22180 + 2 * size_t(750 + 5 * px + c)))
            << "line " << L << " pixel " << px << " channel " << c;
  for (int L = 0; L < 30; L++) EXPECT_TRUE(o.line(L)->syncword) << L;
  HRPT_FRAMEHDR h;
  ASSERT_EQ(get_hrpt_framehdr(o.pic, o.view.get(), 1, &h), 1);
  EXPECT_EQ(h.spacecraft_addr, 13);
  EXPECT_EQ(h.day_count, 30);
}

TEST(Raw16, YearFromModificationTimeWithoutDateInName) {
  std::string src = testutil::shared_path(kRealRaw16);
  if (access(src.c_str(), R_OK) != 0) GTEST_SKIP() << "no " << src;
  testutil::TempDir dir;
  std::string p = dir.file("noaa18_pass.raw16");
  testutil::write_file(p, testutil::read_file(src));
  struct utimbuf ut {};
  ut.actime = ut.modtime = 1433160000;  // 2015-06-01 12:00 UTC
  ASSERT_EQ(utime(p.c_str(), &ut), 0);
  OpenedPic o;
  ASSERT_EQ(o.open(p), 0);
  EXPECT_EQ(stamp(o.line(0)->tm_ms).substr(0, 13), "2015-01-30 13");  // the day from the frames
}

// (A little-endian file with its sync opens as the raw16le sample does.)
TEST(Raw16, LittleEndianAndRecognisedByName) {
  testutil::TempDir dir;
  std::string p = dir.file("pass_20240305.raw16");
  fmtsamples::write_raw16_file(p, true, 8, 3);
  // Without a sync at the start only the name tells: still little-endian by
  // the word values.
  std::string b = testutil::read_file(p);
  b[0] = b[1] = 0;
  std::string q = dir.file("nosync.raw16");
  testutil::write_file(q, b);
  EXPECT_EQ(detect_raw16(q.c_str()), CONT_RAW16LE);
  EXPECT_EQ(detect_file(q.c_str()), FT_HPT);
  std::string other = dir.file("nosync.bin");
  testutil::write_file(other, b);
  EXPECT_EQ(detect_file(other.c_str()), unknown_filetype);
  // A raw16 file of less than one frame: no picture.
  std::string tiny = dir.file("tiny.raw16");
  testutil::write_file(tiny, b.substr(0, 1000));
  OpenedPic o;
  EXPECT_EQ(o.open(tiny), 'p');
}

TEST(Raw16, ReferenceTimeFromName) {
  struct Row {
    const char* path;
    int year, mon, mday;
  };
  const Row rows[] = {{"/x/noaa18_2012-01-30_a.raw16", 112, 0, 30},
                      {"/x/20240305_1020_noaa19.raw16", 124, 2, 5},
                      {"/2019-01-01/pass_20231231.raw16", 123, 11, 31},   // only the base name
                      {"/x/pass_2023-13-01_20220101.raw16", 122, 0, 1}};  // invalid month skipped
  for (const Row& r : rows) {
    struct tm t = file_reference_time(r.path, nullptr);
    EXPECT_TRUE(t.tm_year == r.year && t.tm_mon == r.mon && t.tm_mday == r.mday) << r.path;
  }
}

}  // namespace
