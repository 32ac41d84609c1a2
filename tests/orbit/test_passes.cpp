// Pass prediction: horizon searches, one pass, the merged list of all
// satellites' next passes.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "config/prefs.h"
#include "orbit/passes.h"
#include "orbit_testutil.h"

namespace {

using namespace orbit_test;

// The NOAA 19 pass over 52N 5E rising 2020-10-27 05:32:55 and setting 05:47:54,
// and the low one before it (03:54:15, highest 3.12 degrees).
const EPOINT kObs = observer(52, 5, 10);

// NOAA 19 over the observer.
class Predict : public ::testing::Test {
 protected:
  void TearDown() override { Remove_Sats(s); }
  bool run(const struct tm& start, float elev_det, bool forward, bool with_stop = true) {
    tr = TRACK{};
    return predict(s, &start, with_stop ? &stop : nullptr, &tr, &kObs, nullptr, 0.0f, elev_det,
                   forward);
  }
  SAT* s = weather("NOAA 19");
  TRACK tr{};
  struct tm stop {};
};

TEST_F(Predict, WholePassAndItsLimits) {
  ASSERT_TRUE(run(utc(2020, 10, 27, 4, 10), 0.0f, true));
  EXPECT_EQ(secs(tr.up_time), secs(utc(2020, 10, 27, 5, 32, 55)));
  EXPECT_EQ(secs(tr.down_time), secs(utc(2020, 10, 27, 5, 47, 54)));
  EXPECT_EQ(secs(stop), secs(tr.down_time));
  // The reported maximum is the first sample lower than its predecessor.
  DIRECTION before{}, at{};
  tm_s t{tr.maxelev_time, 0};
  calc_satrelpos(nullptr, &at, &kObs, s, &t);
  t.tm.tm_sec -= 1;
  pava::mktime_utc(&t.tm);
  calc_satrelpos(nullptr, &before, &kObs, s, &t);
  EXPECT_FLOAT_EQ(tr.max_elev, at.elev);
  EXPECT_LT(at.elev, before.elev);
  // A northern observer sees descending passes as going south.
  EXPECT_EQ(tr.going_south, tr.maxelev_pos.lat < tr.up_pos.lat);
  EXPECT_EQ(tr.pass_e1_w0, kObs.lon < tr.maxelev_pos.lon);
  // Without a stop time only the rise is searched.
  ASSERT_TRUE(run(utc(2020, 10, 27, 4, 10), 0.0f, true, false));
  EXPECT_EQ(secs(tr.up_time), secs(utc(2020, 10, 27, 5, 32, 55)));
  EXPECT_EQ(tr.max_elev, 0.0f);
  // No pass reaches 91 degrees: the search ends after 100 passes.
  EXPECT_FALSE(run(utc(2020, 10, 27, 4, 10), static_cast<float>(91 * kDeg), false));
}

TEST_F(Predict, StartedInsideAPassFindsItsRealRise) {
  const struct tm start = utc(2020, 10, 27, 5, 40);
  ASSERT_TRUE(run(start, 0.0f, false));
  EXPECT_EQ(secs(tr.up_time), secs(utc(2020, 10, 27, 5, 32, 55)));
  EXPECT_LT(secs(tr.up_time), secs(start));
  // Forward from the same moment the next pass comes.
  ASSERT_TRUE(run(start, 0.0f, true));
  EXPECT_GT(secs(tr.up_time), secs(start));
}

TEST_F(Predict, PassJustBelowTheDetectionElevationIsSkipped) {
  const struct tm start = utc(2020, 10, 27, 3, 30);
  ASSERT_TRUE(run(start, 0.0f, false));
  const TRACK low = tr;
  EXPECT_EQ(secs(low.up_time), secs(utc(2020, 10, 27, 3, 54, 15)));
  // Exactly the pass's maximum still accepts it...
  ASSERT_TRUE(run(start, low.max_elev, false));
  EXPECT_EQ(secs(tr.up_time), secs(low.up_time));
  // ...a little more skips it and returns the next one.
  ASSERT_TRUE(run(start, low.max_elev + 1e-5f, false));
  EXPECT_EQ(secs(tr.up_time), secs(utc(2020, 10, 27, 5, 32, 55)));
  // The highest elevation of the first pass examined is kept.
  EXPECT_FLOAT_EQ(s->maxelev_firstpass, low.max_elev);
}

TEST_F(Predict, MoonAcceptsAnyPass) {
  s->type = moon;
  ASSERT_TRUE(run(utc(2020, 10, 27), static_cast<float>(89 * kDeg), true));
  EXPECT_LT(tr.max_elev, 89 * kDeg);
  EXPECT_GT(tr.max_elev, 0.0f);
  // The moon stays up for hours.
  EXPECT_GT(secs(tr.down_time) - secs(tr.up_time), 6 * 3600);
}

TEST(PredictGeostationary, NeverSets) {
  SAT* s = load(testutil::shared_path("testdata/tle/weather_2026-02-24.tle"), "METEOSAT-9");
  ASSERT_NE(s, nullptr);
  const EPOINT under = observer(0, 46);
  struct tm t = utc(2026, 2, 24, 12);
  EPOINT pos{};
  // search_down gives up after one day of stepping...
  EXPECT_EQ(search_horizon(s, 30, search_down, &t, &pos, nullptr, nullptr, &under, 0.0f), 0);
  EXPECT_GE(secs(t) - secs(utc(2026, 2, 24, 12)), 86399);
  // A zero step ends as well.
  t = utc(2026, 2, 24, 12);
  EXPECT_EQ(search_horizon(s, 0, mode_unk, &t, &pos, nullptr, nullptr, &under, 0.0f), 0);
  // ...and so predict finds no pass.
  const struct tm start = utc(2026, 2, 24, 12);
  TRACK tr{};
  struct tm stop;
  EXPECT_FALSE(predict(s, &start, &stop, &tr, &under, nullptr, 0.0f, 0.0f, false));
  // Seen from the other side of the earth it never rises.
  const EPOINT away = observer(0, -134);
  EXPECT_FALSE(predict(s, &start, &stop, &tr, &away, nullptr, 0.0f, 0.0f, false));
  Remove_Sat(s);
}

time_t g_now = 0;
time_t fixed_now() { return g_now; }

TEST(FirstPasses, MergedInTimeOrder) {
  SAT* list = weather("*");
  prefs.refpos = kObs;
  prefs.elev_horiz = 0.0f;
  prefs.tm_off = TM_OFFSET{};
  g_now = secs(utc(2020, 10, 27));
  orbit_set_clock(fixed_now);
  TRACK* merged = first_passes(list, 10, 0, 10);
  orbit_set_clock(nullptr);
  int n = 0;
  time_t last = 0;
  for (TRACK* t = merged; t; t = t->next, n++) {
    ASSERT_NE(t->sat, nullptr);
    EXPECT_GE(secs(t->up_time), last);
    last = secs(t->up_time);
    EXPECT_GE(t->max_elev, 10 * 3.14159265f / 180.0f);
    EXPECT_EQ(t->done, 0);
    // The copy's source in the satellite's own list is marked taken.
    bool found = false;
    for (TRACK* o = t->sat->track; o; o = o->next)
      if (secs(o->up_time) == secs(t->up_time)) found = o->done == 1;
    EXPECT_TRUE(found);
  }
  EXPECT_EQ(n, 10);
  // The first merged pass is the earliest of all satellites' first passes.
  time_t earliest = secs(merged->up_time);
  for (SAT* s = list; s; s = s->next) EXPECT_GE(secs(s->track->up_time), earliest);
  Remove_Tracks(merged);
  // Shifted by offset_min the list starts later.
  orbit_set_clock(fixed_now);
  merged = first_passes(list, 3, 600, 10);
  orbit_set_clock(nullptr);
  ASSERT_NE(merged, nullptr);
  EXPECT_GT(secs(merged->down_time), g_now + 600 * 60);
  Remove_Tracks(merged);
  Remove_Sats(list);
}

}  // namespace
