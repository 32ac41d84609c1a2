// pava-cli prefs: the effective preferences as one JSON object, and --write.
#include <gtest/gtest.h>
#include <unistd.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "config/prefs_keys.h"
#include "support/testutil.h"

namespace {

using json = nlohmann::ordered_json;

class PrefsCli : public ::testing::Test {
 protected:
  void SetUp() override {
    if (access(testutil::bin_path("pava-cli").c_str(), X_OK) != 0)
      GTEST_SKIP() << "pava-cli not built";
  }
  // Runs pava-cli in the test's directory, with HOME set to home (default: there too).
  testutil::RunResult cli(std::vector<std::string> args, std::string home = "") {
    args.insert(args.begin(), testutil::bin_path("pava-cli"));
    return testutil::run(args, dir_.path(), {"HOME=" + (home.empty() ? dir_.path() : home)});
  }
  testutil::TempDir dir_;
};

// The file found in the current directory (HOME has none), printed and
// written; the written file prints the same object again.
TEST_F(PrefsCli, PrintsTheEffectiveValuesAndWritesThem) {
  testutil::write_file(
      dir_.file("pava.ini"),
      "Font_size = 12 # comment\nSatellite = \"NOAA 15\" y\nX_Dir_0 = west\nNoSuchKey = 1\n"
      "Observer_Lat = -33.5\nmain_window_size = 640x480\nPort_type = file\n"
      "ClrMap = M1 \"NOAA\" gamma[1.0] offs[0,0,0] C1[0.00,0.00,1.00] C2[1.10,1.10,0.00]\n");
  testutil::RunResult r = cli({"prefs"}, dir_.file("nohome"));
  ASSERT_EQ(r.status, 0) << r.err;
  ASSERT_EQ(r.out.find('\n'), r.out.size() - 1) << "one JSON object on one line";
  json j = json::parse(r.out);
  std::vector<std::string> keys;
  for (auto& [k, v] : j.items()) keys.push_back(k);
  std::vector<std::string> expect = pref_keys();
  expect.insert(expect.end(), {"Satellite", "ClrMap"});
  EXPECT_EQ(keys, expect);
  EXPECT_EQ(j["Font_size"], "12");
  EXPECT_EQ(j["Observer_Lat"], "-33.500000");
  EXPECT_EQ(j["Satellite"]["NOAA 15"], "y");
  EXPECT_EQ(j["Satellite"].size(), 14u);
  EXPECT_EQ(j["ClrMap"][0],
            "M1 \"NOAA\" gamma[1.0] offs[0,0,0] C1[0.00,0.00,1.00] C2[1.10,1.10,0.00]");

  std::string out = dir_.file("out.ini");
  testutil::RunResult w = cli({"prefs", "--file", dir_.file("pava.ini"), "--write", out});
  ASSERT_EQ(w.status, 0) << w.err;
  EXPECT_EQ(json::parse(w.out)["written"], out);
  EXPECT_NE(testutil::read_file(out).find("\nmain_window_size             = 640x480\n"),
            std::string::npos);
  testutil::RunResult b = cli({"prefs", "--file", out});
  ASSERT_EQ(b.status, 0) << b.err;
  EXPECT_EQ(json::parse(b.out), j);
}

TEST_F(PrefsCli, FailuresExitNonZero) {
  testutil::RunResult r = cli({"prefs", "--write", dir_.file("nodir/pava.ini")});
  EXPECT_NE(r.status, 0);
  EXPECT_NE(r.err.find("Can't open pref-file " + dir_.file("nodir/pava.ini") + "."),
            std::string::npos)
      << r.err;
  EXPECT_EQ(r.out, "");
  testutil::RunResult m = cli({"prefs", "--file", dir_.file("missing.ini")});
  EXPECT_NE(m.status, 0);
  EXPECT_EQ(m.out, "");
}

}  // namespace
