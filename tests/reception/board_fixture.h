// A test fixture with the board emulator attached as the FTDI backend, waits
// recorded instead of slept, and a UI whose event drain can stop recording.
#pragma once
#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "app/ui_ops.h"
#include "reception/boardemu.h"
#include "reception/ftport.h"
#include "reception/usblink.h"

namespace boardtest {

inline std::vector<long>& sleeps() {
  static std::vector<long> s;
  return s;
}
inline void record_sleep(long us) { sleeps().push_back(us); }

// Drains counted; after stop_after drains (when >= 0) recording is switched off.
struct DrainState {
  int drains = 0;
  int stop_after = -1;
  RECORDINFO* rec = nullptr;
};
inline DrainState& drain_state() {
  static DrainState d;
  return d;
}
inline void on_drain() {
  DrainState& d = drain_state();
  d.drains++;
  if (d.stop_after >= 0 && d.drains >= d.stop_after && d.rec) d.rec->recording = 0;
}
inline std::vector<std::string>& messages() {
  static std::vector<std::string> m;
  return m;
}
inline void on_message(const char* title, const char* text) {
  messages().push_back(std::string(title) + "|" + text);
}

class BoardTest : public ::testing::Test {
 protected:
  void SetUp() override {
    emu = std::make_unique<BOARDEMU>();
    emu->timeout_scale = 0.001;  // a 1000 ms time-out costs 1 ms
    boardemu_attach(emu.get());
    ftport_install(ftport_emulator());
    sleeps().clear();
    usb_set_sleep_hook(record_sleep);
    usb_unpacker_reset();
    rec = std::make_unique<RECORDINFO>();
    rec->port_type = usb;
    rec->recording = 1;
    drain_state() = DrainState{};
    drain_state().rec = rec.get();
    messages().clear();
    UI_OPS ops{};
    ops.drain_events = on_drain;
    ops.message = on_message;
    ui_install(&ops);
  }
  void TearDown() override {
    usb_close_connect(&rec->usb);
    ui_install(nullptr);
    usb_set_sleep_hook(nullptr);
    ftport_install(nullptr);
    boardemu_attach(nullptr);
    usb_unpacker_reset();
  }
  // A new board in place of the current one, the link closed.
  void fresh_board() {
    usb_close_connect(&rec->usb);
    usb_unpacker_reset();
    emu = std::make_unique<BOARDEMU>();
    emu->timeout_scale = 0.001;
    boardemu_attach(emu.get());
  }
  // Opens the link and selects a board mode (register 1) and the data stream.
  void start_stream(int code, SAT_TYPE sat, int words_per_frame) {
    rec->sat_type = sat;
    rec->fri.words_per_frame = words_per_frame;
    ASSERT_EQ(usb_init_connect(&rec->usb), 0);
    ASSERT_EQ(set_sat(&rec->usb, code), 0);
    ASSERT_EQ(ena_dat(&rec->usb), 0);
  }

  std::unique_ptr<BOARDEMU> emu;
  std::unique_ptr<RECORDINFO> rec;
};

}  // namespace boardtest
