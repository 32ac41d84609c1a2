// The tracking cycle on the board emulator with a moved clock: pass list,
// selection, decoder and tuner, rise and set, external commands, abort.
#include <gtest/gtest.h>

#include "tracker_fixture.h"

using namespace tracktest;

namespace {

TEST(TrackerNames, SatTypeRules) {
  struct Row {
    const char* name;
    const char* type;  // null: none
  } rows[] = {
      {"NOAA 19", "HRPT"},        // "NOAA 1"
      {"NOAA 20", "NOAA20"},      // later match overrides
      {"METEOR-M 2", "M2HRPT"},   //
      {"FENGYUN 3C", "FY3-C"},    // holds "C": FY3-C
      {"FENGYUN 3B", "FY3-A,B"},  // holds "B"
      {"FENGYUN 3D", nullptr},    // neither A, B nor C
      {"TERRA", nullptr},         // unknown name
  };
  for (const Row& r : rows) {
    const char* t = sattype_of_name(r.name);
    EXPECT_EQ(std::string(t ? t : "(none)"), r.type ? r.type : "(none)") << r.name;
  }
}

TEST(TrackerExtprog, Conversions) {
  DIRECTION d{};
  d.elev = float(12.34 * kDeg);
  d.azim = float(201.5 * kDeg);
  d.x = float(80 * kDeg);
  d.y = float(95.25 * kDeg);
  struct Row {
    const char* tmpl;
    const char* want;
  } rows[] = {
      {"rot %5.1e", "rot  12.3"},            // width 5, precision 1, elevation
      {"%.1a/%.0x/%.2y", "201.5/80/95.25"},  // azimuth, X, Y
      {"100%% %n %t", "100% NOAA 19 7"},     // "%%", name, whole step
      {"%-8n|", "NOAA 19 |"},                // string flags
      {"%q %5", "%q %5"},                    // unknown letter and a dangling '%' kept
  };
  for (const Row& r : rows) EXPECT_EQ(fillin_satpos(r.tmpl, &d, "NOAA 19", 7), r.want) << r.tmpl;
}

class Extprog : public TrackerTest {};

TEST_F(Extprog, DisabledTemplatesRunNothing) {
  DIRECTION d{};
  for (const char* t : {"", "!up %n"}) {
    std::snprintf(prefs.prog_up, sizeof prefs.prog_up, "%s", t);
    EXPECT_EQ(ext_prog(0, &d, "X", 0), "") << t;
  }
  EXPECT_TRUE(rec_ui().commands.empty());
  std::snprintf(prefs.prog_up, sizeof prefs.prog_up, "echo %%n");
  EXPECT_EQ(ext_prog(0, &d, "X", 0), "echo X");
  EXPECT_EQ(rec_ui().commands, std::vector<std::string>{"echo X"});
}

TEST_F(Extprog, UpOnceThenTrackingupEveryCycle) {
  std::snprintf(prefs.prog_trackingup, sizeof prefs.prog_trackingup, "t");
  std::snprintf(prefs.prog_idledown, sizeof prefs.prog_idledown, "i");
  DIRECTION up{}, down{};
  up.elev = 0.2f;
  down.elev = -0.2f;
  do_extprog("S", 0, 1, &down);  // below, never above: idle only
  do_extprog("S", 0, 1, &up);
  do_extprog("S", 0, 1, &up);
  do_extprog("S", 0, 0, &up);  // not tracked counts as below
  do_extprog("S", 0, 1, &down);
  EXPECT_EQ(rec_ui().commands,
            (std::vector<std::string>{"i", "up S", "t", "t", "down S", "i", "i"}));
}

TEST(TrackerVisible, LimitCountsDistinctSatellitesInListOrder) {
  SAT s[5]{};
  for (int i = 0; i < 5; i++) {
    s[i].next = i < 4 ? &s[i + 1] : nullptr;
    s[i].visible = 1;
  }
  TRACK t[4]{};
  SAT* order[4] = {&s[3], &s[3], &s[1], &s[4]};  // s3 twice: counted once
  for (int i = 0; i < 4; i++) {
    t[i].sat = order[i];
    t[i].next = i < 3 ? &t[i + 1] : nullptr;
  }
  auto visible = [&] {
    std::string v;
    for (const SAT& x : s) v += char('0' + x.visible);
    return v;
  };
  set_visible(t, s, 3);
  EXPECT_EQ(visible(), "01011");
  set_visible(t, s, -1);  // remembered limit
  EXPECT_EQ(visible(), "01011");
  set_visible(nullptr, s, 0);  // no limit: all
  EXPECT_EQ(visible(), "11111");
}

TEST_F(TrackerTest, SkipTrackTenSecondsBeforeRise) {
  time_t rise = first_rise(sats);
  ASSERT_NE(rise, 0);
  glob_g.elev_det = 10;
  struct Row {
    int ahead;
    int skip;
  } rows[] = {{11, 1}, {9, 0}};  // starts in 11 s: skipped; in 9 s: followed
  for (const Row& r : rows) {
    tracker_reset();
    glob_g.sat_changed = 0;
    clock_now() = rise - r.ahead;
    get_newpasses(sats, nullptr, 0, -1);
    ASSERT_NE(glob_g.tracks, nullptr);
    rec->abort = 0;
    do_track(sats);
    ASSERT_NE(tracker_followed(), nullptr);
    EXPECT_EQ(tracker_followed()->skip_track, r.skip) << r.ahead;
    EXPECT_EQ(rec->abort, 0);
  }
}

TEST_F(TrackerTest, ReentrantCycleReturnsAtOnce) {
  // A cycle started from inside a drain (a timeout firing during a long
  // step) must return "keep" without doing anything.
  static int nested = 0;
  static SAT* s_sats = nullptr;
  s_sats = sats;
  UI_OPS ops{};
  ops.drain_events = [] {
    size_t before = rec_ui().events.size();
    if (do_track(s_sats) == 1 && rec_ui().events.size() == before) nested++;
  };
  ui_install(&ops);
  do_track(sats);  // builds the list, draining on the way
  ui_install(nullptr);
  EXPECT_GT(nested, 0);
  EXPECT_EQ(count("passlist"), 1);
}

// One pass from before rise to after set, driven by the manual timer.
TEST_F(TrackerTest, SimulatedPass) {
  prefs.auto_decoder = prefs.auto_tuner = 1;
  glob_g.elev_det = 10;
  rec->usb.ena = 1;
  time_t rise = first_rise(sats);
  ASSERT_NE(rise, 0);
  clock_now() = rise - 120;
  run_track(nullptr, sats);
  run_until(rise + 20 * 60);

  EXPECT_GE(count("passlist"), 2);  // built at start, rebuilt at set
  EXPECT_TRUE(count("rise") == 1 && count("set") == 1 && count("abort") == 1);
  EXPECT_EQ(rec->abort, 1);
  EXPECT_EQ(rec_ui().commands, (std::vector<std::string>{"up NOAA 19", "down NOAA 19"}));
  // Decoder switched to the pass's type and the tuner got NOAA 19's message.
  ASSERT_FALSE(rec_ui().types.empty());
  EXPECT_EQ(rec_ui().types.front(), "HRPT");
  ASSERT_GE(emu->log.serial_tx.size(), 16u);
  EXPECT_EQ(emu->log.serial_tx[0], 'S');
  EXPECT_EQ(std::string(emu->log.serial_tx.begin() + 4, emu->log.serial_tx.begin() + 11),
            "NOAA 19");
  // The board received DiSEqC commands on both outputs and the LED flashed.
  EXPECT_GT(emu->log.diseqc.size(), 100u);
  EXPECT_GT(rec_ui().led_flashes, 100);
  EXPECT_EQ(tracker_timer_count(), 1);  // tracking goes on with the new list
}

TEST_F(TrackerTest, SatTypeRestartsRunningRecording) {
  rec_ui().buttons["Start/Stop"] = 1;  // recording on
  SAT s{};
  std::snprintf(s.satname, sizeof s.satname, "METOP-B");
  EXPECT_STREQ(set_sattype(&s, nullptr), "METOP");
  EXPECT_EQ(rec_ui().buttons["Start/Stop"], 0);
  EXPECT_EQ(rec_ui().entries["!Recording "], "WAIT!");
  tracker_timer_advance(1999);
  EXPECT_EQ(rec_ui().buttons["Start/Stop"], 0);
  tracker_timer_advance(1);
  EXPECT_EQ(rec_ui().buttons["Start/Stop"], 1);
  EXPECT_EQ(tracker_timer_count(), 0);  // one-shot
  // Without a panel the type goes into the recording record.
  rec_ui().panel = 0;
  rec_ui().buttons["Start/Stop"] = 0;
  std::snprintf(s.satname, sizeof s.satname, "FENGYUN 3C");
  set_sattype(&s, nullptr);
  EXPECT_EQ(rec->sat_type, FY3C);
  EXPECT_EQ(tracker_timer_count(), 0);  // not recording: no restart
}

TEST_F(TrackerTest, SelectSatScanDirectionsAndDecoderMessages) {
  TRACK t[2]{};
  SAT s{};
  std::snprintf(s.satname, sizeof s.satname, "NOAA 18");
  t[0].next = &t[1];
  t[0].sat = t[1].sat = &s;
  t[1].going_south = 1;
  EXPECT_EQ(select_sat(&s, t, nullptr, 0), 0);
  EXPECT_TRUE(rec->scan_ver == S_N && rec->scan_hor == E_W);
  EXPECT_EQ(select_sat(&s, t, nullptr, 1), 0);
  EXPECT_TRUE(rec->scan_ver == N_S && rec->scan_hor == W_E);
  EXPECT_EQ(t[0].selected + t[1].selected, 1);
  EXPECT_EQ(select_sat(&s, t, nullptr, 5), 0);  // no such pass
  // Auto tuner with the board gone: the connection's code, shown by
  // get_newpasses as "No decoder connected!".
  prefs.auto_tuner = 1;
  usb_close_connect(&rec->usb);
  emu->present = false;
  EXPECT_EQ(select_sat(&s, t, nullptr, 0), -1);
  EXPECT_EQ(check_connected(&rec->usb, 1), -3);
  glob_g.elev_det = 10;
  get_newpasses(sats, nullptr, 0, -1);
  EXPECT_EQ(rec_ui().entries["!INFO pass"], "No decoder connected!");
}

TEST_F(TrackerTest, BoardTimeoutEndsTracking) {
  rec->usb.ena = 1;
  glob_g.elev_det = 10;
  time_t rise = first_rise(sats);
  clock_now() = rise + 60;
  run_track(nullptr, sats);
  run_until(clock_now() + 3);
  ASSERT_EQ(tracker_timer_count(), 1);
  emu->present = false;  // the open board stops answering
  run_until(clock_now() + 3);
  EXPECT_EQ(tracker_timer_count(), 0);
  EXPECT_EQ(rec_ui().buttons["Start /Stop"], 0);
  ASSERT_FALSE(boardtest::messages().empty());
  EXPECT_EQ(boardtest::messages().back(), "Error|USB Timeout!");
}

TEST_F(TrackerTest, EmptySatelliteList) {
  get_newpasses(nullptr, nullptr, 1, -1);
  EXPECT_EQ(rec_ui().entries["!INFO pass"], "Empty list!");
  EXPECT_EQ(tracker_timer_count(), 0);
}

TEST_F(TrackerTest, RunSunAndStop) {
  run_sun(nullptr, 1);
  EXPECT_EQ(rec_ui().entries["!INFO pass"], "Tracking SUN");
  EXPECT_EQ(tracker_timer_count(), 1);
  tracker_timer_advance(3000);
  EXPECT_EQ(count("rotor"), 3);
  run_sun(nullptr, 0);
  EXPECT_EQ(rec_ui().entries["!INFO pass"], "");
  EXPECT_EQ(tracker_timer_count(), 0);
}

// Started a minute into a pass: the rotor target repeats every rotreptime.
TEST_F(TrackerTest, MidPassRotorRepeat) {
  prefs.rotreptime = 5.f;
  glob_g.elev_det = 10;
  time_t rise = first_rise(sats);
  clock_now() = rise + 60;
  run_track(nullptr, sats);
  int before = count("rotor");
  run_until(clock_now() + 20);
  EXPECT_EQ(count("rotor") - before, 4);  // 20 s: one target per 5 s
}

}  // namespace
