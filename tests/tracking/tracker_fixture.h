// A tracker on the board emulator: preferences for an observer in the
// Netherlands, the shipped weather elements, a clock the test moves, and a UI
// fake that records entries, buttons, events and commands.
#pragma once
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "config/prefs.h"
#include "reception/board_fixture.h"
#include "support/testutil.h"
#include "tracking/recmap.h"
#include "tracking/tracker.h"

namespace tracktest {

struct Event {
  std::string kind, sat, detail;
  time_t t;
};

inline time_t& clock_now() {
  static time_t t = 0;
  return t;
}
inline time_t fake_clock() { return clock_now(); }

struct Record {
  std::map<std::string, std::string> entries;
  std::vector<std::string> entry_log;  // "name=text"
  std::vector<Event> events;
  std::vector<std::string> commands;
  std::map<std::string, int> buttons;
  int led_flashes = 0;
  std::vector<std::string> types;
  int panel = 1;  // a recorder panel takes the type
};
inline Record& rec_ui() {
  static Record r;
  return r;
}

inline void on_entry(const char* name, const char* text) {
  rec_ui().entries[name] = text;
  rec_ui().entry_log.push_back(std::string(name) + "=" + text);
}
inline void on_event(const char* kind, const char* sat, const char* detail) {
  rec_ui().events.push_back({kind, sat ? sat : "", detail, clock_now()});
}
inline int on_button(const char* name, int on, int) {
  int& b = rec_ui().buttons[name];
  int was = b;
  if (on >= 0) b = on;
  return was;
}
inline void on_led(const char*, int state) {
  if (state == 2) rec_ui().led_flashes++;
}
inline int on_type(const char* type) {
  rec_ui().types.push_back(type);
  return rec_ui().panel ? 0 : -1;
}
inline int on_run(const char* cmd) {
  rec_ui().commands.push_back(cmd);
  return 0;
}

constexpr double kDeg = 3.14159265358979 / 180.;

class TrackerTest : public boardtest::BoardTest {
 protected:
  void SetUp() override {
    BoardTest::SetUp();
    saved_prefs = prefs;
    saved_rec = g_recordinfo;
    g_recordinfo = rec.get();
    rec->recording = 0;
    rec_ui() = Record{};
    TRACKER_UI ops{};
    ops.set_entry = on_entry;
    ops.event = on_event;
    ops.button = on_button;
    ops.led = on_led;
    ops.select_recorder_type = on_type;
    tracker_ui_install(&ops);
    tracker_timer_install(nullptr);
    tracker_set_run_hook(on_run);
    tracker_reset();
    orbit_set_clock(fake_clock);
    clock_now() = 1603756800;  // 2020-10-27 00:00 UTC, a day after the elements' epoch
    prefs.refpos = EPOINT{};
    prefs.refpos.lon = float(5.0 * kDeg);
    prefs.refpos.lat = float(52.0 * kDeg);
    prefs.elev_horiz = 0.f;
    prefs.reptime = 1.f;
    prefs.rotreptime = 0.f;
    prefs.tm_off = TM_OFFSET{};
    prefs.ext_prog_on = 1;
    std::snprintf(prefs.prog_up, sizeof prefs.prog_up, "up %%n");
    std::snprintf(prefs.prog_down, sizeof prefs.prog_down, "down %%n");
    prefs.prog_trackingup[0] = prefs.prog_idledown[0] = 0;
    prefs.auto_decoder = prefs.auto_tuner = 0;
    prefs.rotor = ROTOR{};
    prefs.rotor.storm.elev = 90.f;
    prefs.rotor.storm.azim = 180.f;
    prefs.rotctld_on = 0;
    glob_g = GLOB_G{};
    glob_g.nr_inlist = 4;
    glob_g.tracking = 1;
    sats = prepare_track(nullptr, testutil::source_path("data/weather.txt").c_str(), "NOAA 19",
                         nullptr);
    ASSERT_NE(sats, nullptr);
  }
  void TearDown() override {
    tracker_reset();
    recmap_close();
    if (sats) Remove_Sats(sats);
    tracker_ui_install(nullptr);
    tracker_set_run_hook(nullptr);
    orbit_set_clock(nullptr);
    g_recordinfo = saved_rec;
    prefs = saved_prefs;
    BoardTest::TearDown();
  }

  // Moves the clock to t and lets the manual timer run the cycles on the way,
  // one simulated second per tick.
  void run_until(time_t t) {
    while (clock_now() < t) {
      clock_now()++;
      tracker_timer_advance(1000);
    }
  }
  int count(const std::string& kind) const {
    int n = 0;
    for (const Event& e : rec_ui().events) n += e.kind == kind;
    return n;
  }

  PREFS saved_prefs;
  RECORDINFO* saved_rec = nullptr;
  SAT* sats = nullptr;
};

// Rise time of the first pass (above 10 degrees) of the list from now.
inline time_t first_rise(SAT* sats) {
  TRACK* t = first_passes(sats, 1, 0, 10);
  if (!t) return 0;
  struct tm up = t->up_time;
  Remove_Tracks(t);
  return timegm(&up);
}

}  // namespace tracktest
