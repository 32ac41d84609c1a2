// pava-cli vcid and rs on the real CADU recordings of the shared test data;
// the expected counts are those established by independent tools.
#include <gtest/gtest.h>
#include <unistd.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include "support/testutil.h"

namespace {

std::string cadu(const std::string& name) {
  return testutil::shared_path("testdata/ccsds/" + name);
}

bool have_cli() { return access(testutil::bin_path("pava-cli").c_str(), X_OK) == 0; }

testutil::RunResult cli(std::vector<std::string> args) {
  args.insert(args.begin(), testutil::bin_path("pava-cli"));
  return testutil::run(args);
}

// The rs output: its frame objects, and the summary (the last line).
std::vector<nlohmann::json> rs_lines(const std::string& out, nlohmann::json* summary) {
  std::istringstream in(out);
  std::vector<nlohmann::json> frames;
  for (std::string line; std::getline(in, line);) {
    if (line.empty()) continue;
    *summary = nlohmann::json::parse(line);
    if (summary->contains("frame")) frames.push_back(*summary);
  }
  return frames;
}

}  // namespace

TEST(CliCcsds, RsCountsOnRealRecordings) {
  if (!have_cli()) GTEST_SKIP() << "pava-cli not built";
  struct Row {
    const char* file;
    const char* basis;
    int frames, uncorrectable, gaps, missing, status;
    bool derandomised;
  } rows[] = {
      // Meteor LRPT: conventional basis clean, one counter gap of two frames.
      {"meteor_m2_lrpt_2025-09-14.cadu", "conventional", 886, 0, 1, 2, 0, false},
      // ... and every codeword fails in the dual basis: rejected.
      {"meteor_m2_lrpt_2025-09-14.cadu", "dual", 886, 3544, 1, 2, 2, false},
      // Suomi-NPP, still randomised: dual basis clean, one frame missing.
      {"snpp_synchronized_cadus_2016-02-10.dat", "dual", 65, 0, 1, 1, 0, true},
      // Two virtual channels, each counter continuous.
      {"snpp_7cadus_2vcids.dat", "dual", 7, 0, 0, 0, 0, true},
      // NOAA-21, interleave 5 in 1279 bytes: one 1024-byte unit, all four
      // codewords fail, the rest is left over; rejected.
      {"noaa21_jpss2_block.dat", "dual", 1, 4, 0, 0, 2, true},
  };
  for (const auto& r : rows) {
    SCOPED_TRACE(std::string(r.file) + " " + r.basis);
    auto res = cli({"rs", cadu(r.file), "--basis", r.basis});
    EXPECT_EQ(res.status, r.status) << res.err;
    nlohmann::json s;
    EXPECT_EQ(rs_lines(res.out, &s).size(), size_t(r.frames));
    nlohmann::json want = {{"frames", r.frames},
                           {"corrected", 0},
                           {"uncorrectable", r.uncorrectable},
                           {"counter_gaps", r.gaps},
                           {"missing_frames", r.missing},
                           {"derandomised", r.derandomised}};
    for (auto& [k, v] : want.items()) EXPECT_EQ(s[k], v) << k;
  }
  auto res = cli({"rs", cadu("noaa21_jpss2_block.dat")});
  nlohmann::json s;
  rs_lines(res.out, &s);
  EXPECT_EQ(s["trailing_bytes"], 255);
  EXPECT_NE(res.err.find("no frame passes Reed-Solomon"), std::string::npos);
  // Frame objects: five fields; the two channels of the two-VCID file.
  std::vector<int> vcids;
  for (const auto& j : rs_lines(cli({"rs", cadu("snpp_7cadus_2vcids.dat")}).out, &s)) {
    EXPECT_TRUE(j.size() == 5u && j["corrected"] == 0 && j["uncorrectable"] == 0) << j;
    vcids.push_back(j["vcid"]);
  }
  EXPECT_EQ(vcids.size(), 7u);
  EXPECT_EQ(std::count(vcids.begin(), vcids.end(), 16), 3);
  EXPECT_EQ(std::count(vcids.begin(), vcids.end(), 6), 4);
  // Forcing no derandomising on a randomised file garbles the headers.
  rs_lines(cli({"rs", cadu("snpp_7cadus_2vcids.dat"), "--derandomise", "no"}).out, &s);
  EXPECT_EQ(s["derandomised"], false);
  // Bad options.
  EXPECT_NE(cli({"rs", cadu("snpp_7cadus_2vcids.dat"), "--basis", "other"}).status, 0);
  EXPECT_NE(cli({"rs", "/nonexistent/file"}).status, 0);
}

TEST(CliCcsds, VcidStatistics) {
  if (!have_cli()) GTEST_SKIP() << "pava-cli not built";
  auto r = cli({"vcid", cadu("snpp_synchronized_cadus_2016-02-10.dat")});
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.out, "scid=157\nVCID 16:    65 frames\n");
  r = cli({"vcid", cadu("snpp_7cadus_2vcids.dat")});
  EXPECT_EQ(r.out, "scid=0\nVCID  6:     4 frames\nVCID 16:     3 frames\n");
  r = cli({"vcid", cadu("meteor_m2_lrpt_2025-09-14.cadu"), "--basis", "conventional"});
  EXPECT_NE(r.out.find("vcdu.cnt=639506  increment=-1\nvcdu.cnt=639509  increment=-3\n"),
            std::string::npos);
  EXPECT_NE(r.out.find("scid=0\nVCID  5:   886 frames\n"), std::string::npos);
  r = cli({"vcid", cadu("noaa21_jpss2_block.dat")});
  EXPECT_EQ(r.status, 0);
  EXPECT_NE(r.err.find("255 bytes after the last whole frame"), std::string::npos);
}
