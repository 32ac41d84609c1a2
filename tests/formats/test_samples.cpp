// The sample files of tests/data: made by the writers (golden comparison) and
// described by pava-cli as expected. PAVA_REGEN_SAMPLES=1 rewrites them.
#include <gtest/gtest.h>
#include <unistd.h>
#include <nlohmann/json.hpp>

#include <cstdlib>
#include <string>

#include "format_samples.h"
#include "support/testutil.h"

namespace {

std::string data_dir() { return testutil::source_path("tests/data"); }

TEST(Samples, WritersStillMakeTheCheckedInFiles) {
  if (const char* regen = std::getenv("PAVA_REGEN_SAMPLES"); regen && *regen == '1')
    fmtsamples::write_all_samples(data_dir());
  testutil::TempDir dir;
  fmtsamples::write_all_samples(dir.path());
  for (const std::string& n : fmtsamples::sample_names()) {
    std::string want = testutil::read_file(data_dir() + "/" + n);
    ASSERT_FALSE(want.empty()) << n;
    EXPECT_LE(want.size(), 140000u) << n;
    EXPECT_TRUE(testutil::read_file(dir.file(n)) == want)
        << n << " differs from its writer's output";
  }
}

TEST(Samples, CliInfoAndLine) {
  std::string cli = testutil::bin_path("pava-cli");
  if (access(cli.c_str(), X_OK) != 0) GTEST_SKIP() << "pava-cli not built";
  struct Row {
    const char* name;
    const char* type;
    const char* sat;
    int width, height, nchan;
    const char* start;  // first line time, null: the lines carry none
  };
  const Row rows[] = {
      {"noaa19_sample.hrpt", "FT_HRPT", "NOAA 19", 512, 12, 5, "2024-03-05T10:20:30.500Z"},
      {"fy1d_sample.chrpt", "FT_CHRPT", "FENGYUN 1D", 256, 8, 10, "2024-03-05T10:20:30.500Z"},
      {"seastar_sample.seaw", "FT_SEAWIF", "Seastar", 128, 8, 8, "2024-03-05T10:20:30.500Z"},
      {"meteor_sample.mhrpt1", "FT_MHRPT1", "METEOR-M2", 1540, 7, 6, "2024-03-05T10:20:30.498Z"},
      {"meteor_sample.mhrpt2", "FT_MHRPT2", "METEOR-M2 2", 1570, 10, 6, "2024-03-05T10:20:30.498Z"},
      {"noaa19_sample.hpt", "FT_HPT", "", 2048, 3, 5, nullptr},
      {"fy1d_sample.C10", "FT_CHPT", "", 2048, 2, 10, nullptr},
      {"noaa18_2024-03-05.raw16le", "FT_HPT", "NOAA 18", 2048, 3, 5, "2024-03-05T10:20:30.000Z"},
  };
  for (const Row& r : rows) {
    auto res = testutil::run({cli, "info", data_dir() + "/" + r.name});
    ASSERT_EQ(res.status, 0) << r.name << ": " << res.err;
    auto j = nlohmann::json::parse(res.out);
    nlohmann::json want = {{"file_type", r.type}, {"sat_name", r.sat}, {"width", r.width},
                           {"height", r.height},  {"nchan", r.nchan},  {"start", nullptr}};
    if (r.start) want["start"] = r.start;
    nlohmann::json got = {{"file_type", j["file_type"]},   {"sat_name", j["sat_name"]},
                          {"width", j["width"]},           {"height", j["height"]},
                          {"nchan", j["channels"].size()}, {"start", j["start"]}};
    EXPECT_EQ(got, want) << r.name;
  }
  auto res = testutil::run({cli, "header", data_dir() + "/noaa19_sample.hrpt", "--line", "1"});
  ASSERT_EQ(res.status, 0) << res.err;
  auto j = nlohmann::json::parse(res.out);
  EXPECT_EQ(j["spacecraft_addr"], 15);
  EXPECT_EQ(j["sat_name"], "NOAA 19");
  EXPECT_EQ(j["sat_time"], "2024-03-05T10:20:30.166Z");
  // Failures: a message on standard error and a non-zero status.
  res = testutil::run({cli, "info", data_dir() + "/missing.hpt"});
  EXPECT_NE(res.status, 0);
  EXPECT_NE(res.err.find("Can't open"), std::string::npos) << res.err;
  res = testutil::run(
      {cli, "line", data_dir() + "/noaa19_sample.hrpt", "--line", "99", "--channel", "1"});
  EXPECT_NE(res.status, 0);
}

}  // namespace
