// Every format of the simulator through pava-cli: the recording opens as its
// type with satellite, line count and times; bit errors arrive at the asked
// rate and a lock loss takes out the lines of its seconds; bad options fail.
#include <gtest/gtest.h>

#include <fstream>
#include <nlohmann/json.hpp>

#include "support/testutil.h"

namespace {

constexpr const char* kStart = "2020-10-26T07:26:30Z";

struct Row {
  const char* format;
  const char* sat;        // name in the element file
  const char* file_type;  // as pava-cli info reports it
  const char* sat_name;   // "" when the format does not carry it
  int width;
  bool sync_marks;  // the reader marks lines without sync (else: they are lost)
};

const Row kRows[] = {
    // NOAA recorder file: 16000-byte header, one record a frame
    {"hrpt", "NOAA 19", "FT_HRPT", "NOAA 19", 2048, true},
    // FY-1 recorder file: ten channels, 1600 header words
    {"chrpt", "FENGYUN 1D", "FT_CHRPT", "FENGYUN 1D", 2048, true},
    // packed frames without header: no name, no times
    {"hpt", "NOAA 19", "FT_HPT", "", 2048, true},
    // Meteor 256-byte frames, Moscow time per line
    {"mhrpt1", "METEOR-M 2", "FT_MHRPT1", "METEOR-M 2", 1540, true},
    // Meteor 1024-byte frames, line sync at two places
    {"mhrpt2", "METEOR-M 2", "FT_MHRPT2", "METEOR-M 2", 1570, false},
    // AVHRR packets in units; the name from the spacecraft identifier
    {"metop", "METOP-B", "FT_METOP", "METOP-B", 2048, false},
    // VIRR lines found by their inner sync
    {"fy3", "FENGYUN 3C", "FT_FY3", "FY3-C", 2048, false},
    {"noaa20", "NOAA 20", "FT_QNOAA20", "NOAA20", 2048, false},
};

// The shipped elements plus NOAA 19's under FY-1D's name: an orbit of the
// same kind (the shipped file has no FY-1).
std::string elements(const testutil::TempDir& dir) {
  std::string path = dir.file("elements.txt");
  std::ofstream out(path);
  std::string all = testutil::read_file(testutil::source_path("data/weather.txt"));
  size_t at = all.find("NOAA 19");
  size_t l1 = all.find('\n', at) + 1, l3 = all.find('\n', all.find('\n', l1) + 1) + 1;
  out << all << "FENGYUN 1D\n" << all.substr(l1, l3 - l1);
  return path;
}

testutil::RunResult synth(const std::string& tle, const char* sat, const char* format,
                          const std::string& out, double seconds,
                          std::vector<std::string> extra = {}, const char* start = kStart) {
  extra.insert(extra.begin(),
               {testutil::bin_path("pava-cli"), "synth", "--sat", sat, "--tle", tle, "--start",
                start, "--seconds", std::to_string(seconds), "--format", format, "-o", out,
                "--coast", testutil::source_path("data/gshhs_c.b")});
  return testutil::run(extra);
}

nlohmann::json info(const std::string& path) {
  auto r = testutil::run({testutil::bin_path("pava-cli"), "info", path});
  EXPECT_EQ(r.status, 0) << r.err;
  return nlohmann::json::parse(r.out, nullptr, false);
}

long differing_bits(const std::string& a, const std::string& b) {
  long n = 0;
  for (size_t i = 0; i < a.size() && i < b.size(); i++)
    n += __builtin_popcount(unsigned(uint8_t(a[i] ^ b[i])));
  return n;
}

}  // namespace

// 6 lines a second from the start; 2 s without lock spoil 12 of the 72 lines;
// bit errors at 1e-3 flip that share of the bits of the clean recording.
TEST(SimFormatsAll, OpenAsTypeWithNameLinesTimesAndSyncLoss) {
  testutil::TempDir dir;
  const std::string tle = elements(dir);
  for (const Row& row : kRows) {
    SCOPED_TRACE(row.format);
    const std::string ext = std::string(".") + row.format;  // .hpt is known by its name
    std::string clean = dir.file("c" + ext), noisy = dir.file("e" + ext), gap = dir.file("g" + ext);
    auto r = synth(tle, row.sat, row.format, clean, 12);
    ASSERT_EQ(r.status, 0) << r.err;
    ASSERT_EQ(synth(tle, row.sat, row.format, gap, 12, {"--sync-loss", "2"}).status, 0);
    ASSERT_EQ(
        synth(tle, row.sat, row.format, noisy, 12, {"--bit-errors", "1e-3", "--seed", "1"}).status,
        0);
    std::string a = testutil::read_file(clean), b = testutil::read_file(noisy);
    ASSERT_EQ(a.size(), b.size());
    ASSERT_EQ(a.size(), testutil::read_file(gap).size());
    double rate = double(differing_bits(a, b)) / (8.0 * double(a.size()));
    EXPECT_TRUE(rate > 0.7e-3 && rate < 1.3e-3) << rate;
    auto c = info(clean), g = info(gap);
    ASSERT_TRUE(c.is_object() && g.is_object());
    EXPECT_TRUE(c["file_type"] == row.file_type && c["height"] == 72 && c["width"] == row.width &&
                c["lines_with_syncword"] == 72)
        << c;
    int spoilt = row.sync_marks ? int(c["lines_with_syncword"]) - int(g["lines_with_syncword"])
                                : int(c["height"]) - int(g["height"]);
    EXPECT_NEAR(spoilt, 12, 2);
    if (!*row.sat_name) continue;
    EXPECT_EQ(c["sat_name"], row.sat_name);
    ASSERT_TRUE(c["start"].is_string() && c["end"].is_string()) << c.dump();
    std::string start = c["start"], end = c["end"];
    EXPECT_EQ(start.substr(0, 19), "2020-10-26T07:26:30");
    EXPECT_EQ(end.substr(0, 19), "2020-10-26T07:26:41");
  }
}

TEST(SimFormatsAll, UnwrittenFormatsAndBadOptionsFail) {
  testutil::TempDir dir;
  const std::string tle = elements(dir), x = dir.file("x");
  // An FY-3 whose picture the reader does not take (MERSI): a message, no crash.
  EXPECT_NE(synth(tle, "FENGYUN 3D", "fy3", dir.file("x.fy3"), 5).status, 0);
  // Unknown format, absurd numbers, bad start.
  EXPECT_NE(synth(tle, "NOAA 19", "bogus", x, 5).status, 0);
  EXPECT_NE(synth(tle, "NOAA 19", "hrpt", x, -5).status, 0);
  EXPECT_NE(synth(tle, "NOAA 19", "hrpt", x, 5, {"--clouds", "3"}).status, 0);
  EXPECT_NE(synth(tle, "NOAA 19", "hrpt", x, 5, {}, "yesterday").status, 0);
  // Unknown satellite: named in the message.
  auto r = synth(tle, "NOAA 99", "hrpt", x, 5);
  EXPECT_NE(r.status, 0);
  EXPECT_NE(r.err.find("NOAA 99"), std::string::npos);
}

// Same bytes whatever the number of worker threads.
TEST(SimFormatsAll, DeterministicAcrossThreads) {
  testutil::TempDir dir;
  const std::string tle = elements(dir);
  ASSERT_EQ(synth(tle, "NOAA 19", "hrpt", dir.file("a"), 5, {"--threads", "1"}).status, 0);
  ASSERT_EQ(synth(tle, "NOAA 19", "hrpt", dir.file("b"), 5, {"--threads", "3"}).status, 0);
  EXPECT_EQ(testutil::read_file(dir.file("a")), testutil::read_file(dir.file("b")));
}
