// Luminance window and table, despeckling, NOAA calibration and the
// temperature colours.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

#include "display/lumcal.h"
#include "picture_builder.h"
#include "support/testutil.h"

namespace {

// Runs the independent KLM calibration script on queries; empty when python3
// with numpy is not there.
std::vector<double> oracle(const std::vector<std::string>& queries) {
  std::vector<std::string> argv = {"/usr/bin/python3",
                                   testutil::source_path("tests/display/noaa_klm_oracle.py")};
  argv.insert(argv.end(), queries.begin(), queries.end());
  testutil::RunResult r = testutil::run(argv);
  std::vector<double> out;
  if (r.status != 0) return out;
  std::istringstream in(r.out);
  double v;
  while (in >> v) out.push_back(v);
  return out;
}

}  // namespace

// The automatic window: a single non-empty entry, entry 0 ignored, the 1/50
// threshold.
TEST(LumWindow, Thresholds) {
  struct Row {
    std::vector<std::pair<int, long>> counts;  // (entry, count)
    int lo, hi;
  } rows[] = {
      {{}, 7, 9},  // nothing above the threshold: unchanged
      // One entry; entry 0 never counts, not even for the maximum.
      {{{500, 40}, {0, 100000}}, 500, 500},
      // Threshold max/50 = 20: entries must exceed it.
      {{{300, 1000}, {100, 20}, {101, 21}, {900, 21}, {950, 5}}, 101, 900},
  };
  for (const Row& r : rows) {
    std::vector<long> h(1024, 0);
    for (auto [i, n] : r.counts) h[size_t(i)] = n;
    int lo = 7, hi = 9;
    calc_lum_thresholds(h.data(), 1024, &lo, &hi);
    EXPECT_TRUE(lo == r.lo && hi == r.hi) << lo << " " << hi;
  }
}

// The luminance table: equal window ends, inversion's off-by-one, linear and
// gamma forms computed from the formulas.
TEST(LumTable, EdgeCases) {
  std::vector<int> t;
  // lum_min = lum_max = 500: the table uses 501 as maximum.
  ASSERT_EQ(map_z(500, 500, 1.0f, 0, 256, 1024, &t), 0);
  EXPECT_EQ(std::vector<int>(t.begin() + 499, t.begin() + 503), (std::vector<int>{0, 0, 255, 255}));

  // Gamma exactly 1.0 (and 0) uses the integer linear formula.
  for (float g : {1.0f, 0.0f}) {
    ASSERT_EQ(map_z(100, 900, g, 0, 256, 1024, &t), 0);
    for (int i = 0; i < 1024; i++) {
      long e = i < 100 ? 0 : i > 900 ? 255 : std::min(255L, long(i - 100) * 256 / 800);
      ASSERT_EQ(t[size_t(i)], e) << "i=" << i << " g=" << g;
    }
  }
  // Gamma 2.2: trunc((i^(1/g) - min^(1/g)) * n / (max^(1/g) - min^(1/g))).
  ASSERT_EQ(map_z(100, 900, 2.2f, 0, 256, 1024, &t), 0);
  const double ig = 1.0 / double(2.2f);
  for (int i = 100; i <= 900; i += 7) {
    double e =
        (std::pow(i, ig) - std::pow(100, ig)) * 256 / (std::pow(900, ig) - std::pow(100, ig));
    EXPECT_NEAR(t[size_t(i)], std::min(255.0, std::floor(e)), 1.0) << i;
  }

  // Inverted: input 0 maps to n, not n-1; the top maps to 1.
  ASSERT_EQ(map_z(100, 900, 1.0f, 1, 256, 1024, &t), 0);
  EXPECT_EQ(t[0], 256);
  EXPECT_EQ(t[1023], 1);
  EXPECT_EQ(t[500], 256 - (400 * 256 / 800));

  EXPECT_EQ(map_z(0, 10, 1.0f, 0, 256, 0, &t), 3);  // nothing to make
}

// Despeckle: an isolated outlier is replaced by the mean of its four
// neighbours; edges, gradients and small deviations stay.
TEST(Despeckle, GetPix) {
  const uint16_t up[5] = {100, 100, 100, 100, 100};
  const uint16_t cur[5] = {100, 100, 900, 100, 100};
  const uint16_t dn[5] = {100, 100, 104, 100, 100};
  const int U = 50, L = 100;
  EXPECT_EQ(get_pix(up, cur, dn, 2, 5, U, L), (100 + 104 + 100 + 100) / 4);
  // Below the lower limit: kept.
  const uint16_t small[5] = {100, 100, 150, 100, 100};
  EXPECT_EQ(get_pix(up, small, up, 2, 5, U, L), 150);
  // An edge (left and right differ a lot): kept.
  const uint16_t edge[5] = {100, 100, 900, 900, 900};
  EXPECT_EQ(get_pix(up, edge, up, 2, 5, U, L), 900);
  // First and last pixel, and lines without neighbours: kept.
  EXPECT_EQ(get_pix(up, cur, dn, 0, 5, U, L), 100);
  EXPECT_EQ(get_pix(nullptr, cur, dn, 2, 5, U, L), 900);
  EXPECT_EQ(get_pix(up, cur, nullptr, 2, 5, U, L), 900);
}

// Calibration: the NOAA 15 set as fallback for other numbers, one message per run.
TEST(NoaaCal, SetsAndFallback) {
  dtest::FakeUi ui;
  load_cal_reset_message();

  NOAACAL c{}, n15{};
  EXPECT_EQ(load_cal("NOAA 15", &n15), 15);
  EXPECT_EQ(load_cal("NOAA 19", &c), 19);
  EXPECT_EQ(std::memcmp(&c, &n15, sizeof c), 0) << "NOAA 15's set";
  load_cal("NOAA 18", &c);  // no second message in a run
  using Msg = std::pair<std::string, std::string>;
  EXPECT_EQ(ui.msgs, (std::vector<Msg>{{"Error",
                                        "No temperature mapping\n for NOAA 19 available!\n Assume "
                                        "NOAA15...\n(message give one time)"}}));
}

// NOAA 15 channels 3-5: radiance <-> temperature and the count calibration
// against the independent KLM computation, within 0.1 K.
TEST(NoaaCal, KlmOracleNoaa15) {
  NOAACAL c{};
  load_cal("NOAA 15", &c);
  std::vector<std::string> q;
  const double temps[] = {200.0, 230.0, 260.0, 290.0, 320.0};
  for (int ch = 3; ch <= 5; ch++)
    for (double t : temps) q.push_back("rad:" + std::to_string(ch) + ":" + std::to_string(t));
  // Earth counts against space 990 and black body 450 at 290 K.
  const int counts[] = {300, 400, 500, 600, 700, 800};
  for (int ch = 3; ch <= 5; ch++)
    for (int ce : counts)
      q.push_back("count:" + std::to_string(ch) + ":990:450:290:" + std::to_string(ce));
  std::vector<double> o = oracle(q);
  if (o.empty()) GTEST_SKIP() << "/usr/bin/python3 with numpy not available";
  ASSERT_EQ(o.size(), q.size());
  size_t k = 0;
  for (int ch = 3; ch <= 5; ch++)
    for (double t : temps) {
      double n = noaa_radiance(c, ch, t);
      // The oracle's radiance read back as a temperature; the radiance itself.
      EXPECT_NEAR(noaa_temperature(c, ch, o[k]), t, 0.1) << "ch " << ch << " T " << t;
      EXPECT_NEAR(n, o[k], std::fabs(o[k]) * 1e-4);
      k++;
    }
  for (int ch = 3; ch <= 5; ch++)
    for (int ce : counts) {
      double nbb = noaa_radiance(c, ch, 290.0);
      double n = noaa_count_radiance(c, ch, nbb, 990, 450, ce);
      double t = n > 0 ? noaa_temperature(c, ch, n) : 0;
      if (!std::isnan(o[k])) {
        EXPECT_NEAR(t, o[k], 0.1) << "ch " << ch << " count " << ce;
      }
      k++;
    }
}

// A line of a synthetic NOAA 15 picture: PRT cycle in words 17-19, black
// body and space samples, earth counts; temperatures against the oracle.
TEST(NoaaCal, LineTemperatures) {
  auto pic = dtest::make_picture(8, 12, 5, [](int ch, int x, int) { return 300 + 50 * x + ch; });
  load_cal("NOAA 15", &pic->noaacal);
  dtest::set_noaa15_cal_words(pic.get());  // black-body mean 440 + ch
  std::vector<std::string> q;
  for (int k = 1; k <= 4; k++)
    q.push_back("prt:" + std::to_string(k) + ":" + std::to_string(250 + 3 * k));
  std::vector<double> prt = oracle(q);
  if (prt.empty()) GTEST_SKIP() << "/usr/bin/python3 with numpy not available";
  double tbb = (prt[0] + prt[1] + prt[2] + prt[3]) / 4;
  q.clear();
  for (int ch = 3; ch <= 5; ch++)
    for (int x = 0; x < 8; x++)
      q.push_back("count:" + std::to_string(ch) + ":990:" + std::to_string(440 + ch) + ":" +
                  std::to_string(tbb) + ":" + std::to_string(300 + 50 * x + ch));
  std::vector<double> o = oracle(q);
  ASSERT_EQ(o.size(), q.size());
  const XLINE* line = pic_line(pic.get(), 7);
  size_t k = 0;
  for (int ch = 3; ch <= 5; ch++) {
    std::vector<int> t;
    ASSERT_EQ(map_noaatemp(pic.get(), line, ch, &t), 0);
    for (int x = 0; x < 8; x++, k++) {
      if (std::isnan(o[k])) continue;
      EXPECT_NEAR(t[size_t(x)], 10 * o[k], 1.01) << "ch " << ch << " x " << x;
    }
  }
  // Not a thermal channel; a picture without any PRT reading.
  std::vector<int> t;
  EXPECT_EQ(map_noaatemp(pic.get(), line, 2, &t), -1);
  for (XLINE* l = pic->xline; l; l = l->next)
    l->line_hdr[17] = l->line_hdr[18] = l->line_hdr[19] = 0;
  EXPECT_EQ(map_noaatemp(pic.get(), line, 4, &t), -1);
}

// Temperature colours (warm red, cold blue and the readout's inverse checked
// through draw_pic): clamping, the index formula, the rising hue.
TEST(TempColour, Scale) {
  int r, g, b;
  EXPECT_EQ(map_temp(1500, &r, &g, &b), 0);     // 150 K: clamped to 203 K
  EXPECT_EQ(map_temp(4000, &r, &g, &b), 1023);  // 400 K: clamped to 343 K
  EXPECT_EQ(map_temp(2730, &r, &g, &b), (273 - 203) * 1023 / 140);
  for (int i = 1; i < 1024; i++) ASSERT_GT(temp_hue(i), temp_hue(i - 1));
  // The components follow 127(1 + sin(h + 240)), 127(1 + sin h), 127(1 + sin(h + 120)).
  auto colour = [](int idx) {
    double h = temp_hue(idx) * M_PI / 180;
    return std::vector<int>{int(127 * (1 + std::sin(h + 4 * M_PI / 3))),
                            int(127 * (1 + std::sin(h))),
                            int(127 * (1 + std::sin(h + 2 * M_PI / 3)))};
  };
  int idx = map_temp(3000, &r, &g, &b);
  EXPECT_EQ((std::vector<int>{r, g, b}), colour(idx));
}
