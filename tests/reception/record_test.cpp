// The recording engine with a scripted frame source: stop thresholds, status
// texts, satellite identification, live-line pacing, abort, record file.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "app/ui_ops.h"
#include "common/text.h"
#include "config/prefs.h"
#include "formats/hrptfile.h"
#include "formats/openfile.h"
#include "reception/record.h"
#include "support/testutil.h"

namespace {

// Scripted source: statuses in turn (the last one repeats), HRPT address word.
struct Script {
  std::vector<int> status;
  std::vector<int> ids;  // spacecraft address per frame (word 6 bits 3-6), cycled
  size_t n = 0;
};
Script g_script;
std::vector<std::pair<std::string, std::string>> g_entries;

int scripted(uint16_t* frame, RECORDINFO* rdi) {
  Script& s = g_script;
  std::memset(frame, 0, sizeof(uint16_t) * size_t(rdi->fri.words_per_frame));
  if (!s.ids.empty()) frame[6] = uint16_t(s.ids[s.n % s.ids.size()] << 3);
  int st = s.status[std::min(s.n, s.status.size() - 1)];
  s.n++;
  return st;
}
void on_entry(const char*, const char* name, const char* text) {
  g_entries.emplace_back(name, text);
}

void count_line(void* lines, const uint16_t*, int, int, const PICINFO*) {
  ++*static_cast<int*>(lines);
}

class RecordTest : public ::testing::Test {
 protected:
  void SetUp() override {
    rec = std::make_unique<RECORDINFO>();
    view = std::make_unique<VIEWINFO>();
    pic = pic_new();
    rec->port_type = from_file;
    rec->recording = 1;
    rec->one_record = 1;
    rec->sat_type = HRPT;
    rec->file_type = FT_HRPT;
    for (int k = 0; k <= 5; k++) rec->channels_recording[k] = 1;
    rec->sh_recchan = 1;
    pava::copy_text(rec->work_location, dir.path());
    pava::copy_text(rec->file_hrptbase, "hrpt");
    pava::copy_text(rec->file_hrptext, "hrpt");
    g_script = Script{};
    g_entries.clear();
    UI_OPS ops{};
    ops.set_entry = on_entry;
    ui_install(&ops);
    rec_set_frame_source(scripted);
    ctx.data = &live;
    ctx.show_line = count_line;
    ctx.on_pass = [](void*, const REC_RESULT* r) { g_last = *r; };
    pava::copy_text(prefs.file_hrptbase, "hrpt");
  }
  void TearDown() override {
    rec_set_frame_source(nullptr);
    ui_install(nullptr);
    pic_delete(pic);
  }
  REC_RESULT run(int max_frames) {
    ctx.max_frames = max_frames;
    EXPECT_EQ(Recordpp_Hrpt(&ctx, rec.get(), pic, view.get()), 0);
    return g_last;
  }
  std::vector<std::string> recording_texts() const {
    std::vector<std::string> v;
    for (auto& e : g_entries)
      if (e.first == "!Recording " && (e.second == "No transm!" || e.second == "Restored."))
        v.push_back(e.second);
    return v;
  }

  static REC_RESULT g_last;
  testutil::TempDir dir;
  std::unique_ptr<RECORDINFO> rec;
  std::unique_ptr<VIEWINFO> view;
  PICINFO* pic = nullptr;
  int live = 0;  // lines drawn
  REC_CONTEXT ctx{};
};
REC_RESULT RecordTest::g_last;

// Out-of-sync limit: frames written before a run of status 2 ends the pass.
TEST_F(RecordTest, StopThresholdsByType) {
  struct Row {
    SAT_TYPE sat;
    FILE_TYPE ft;
    int stop_after;
    int frames;  // expected frames written
  } rows[] = {
      {HRPT, FT_HRPT, 3, 3},     // x1
      {FY3D, FT_FY3, 4, 4},      // FY3D counts like HRPT (x1), not x36
      {METOP, FT_METOP, 2, 72},  // x36
      {CHRPT, FT_CHRPT, 3, 6},   // x2
      {HRPT, FT_HRPT, 0, 400},   // 0: never, the frame budget ends it
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(r.sat);
    rec->recording = 1;
    rec->sat_type = r.sat;
    rec->file_type = r.ft;
    rec->hrpt_stop_after_out_sync = r.stop_after;
    g_script = Script{{2}, {}};
    REC_RESULT res = run(400);
    EXPECT_EQ(res.frames, r.frames);
    EXPECT_EQ(res.stop, r.stop_after ? REC_STOP_OUTSYNC : REC_STOP_FRAMES);
  }
}

TEST_F(RecordTest, NoTransmissionAndRestored) {
  struct Row {
    std::vector<int> status;
    std::vector<std::string> texts;
  } rows[] = {
      {{1, 1, 0, 0, 1}, {"No transm!", "Restored."}},  // 1 -> 0 -> 1
      {{0, 0, 0}, {}},                                 // the first status shows nothing
      {{1, 2, 1}, {}},                                 // out of sync is not "no transmission"
  };
  for (const Row& r : rows) {
    rec->recording = 1;
    g_entries.clear();
    g_script = Script{r.status, {}};
    run(int(r.status.size()));
    EXPECT_EQ(recording_texts(), r.texts);
  }
}

TEST_F(RecordTest, SatelliteIdentification) {
  rec->save_flag = 1;
  rec->use_satname = 1;
  struct Row {
    std::vector<int> ids;
    int frames;
    const char* name;
  } rows[] = {
      {{13}, 5, "NOAA 18"},  // five equal identifiers
      {{13}, 4, ""},         // four are not enough
      {{13, 15}, 40, ""},    // alternating: never
      {{0}, 20, ""},         // zero is no identifier
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(r.frames);
    rec->recording = 1;
    g_script = Script{{1}, r.ids};
    REC_RESULT res = run(r.frames);
    EXPECT_STREQ(res.sat_name, r.name);
    std::string base = strip_filename(res.file_name);
    // Renamed only when a satellite was found (hrpt... -> NOAA-18...).
    EXPECT_EQ(base.rfind(*r.name ? "NOAA-18" : "hrpt", 0), 0u) << base;
    // The rewritten header: frame count and name.
    std::string b = testutil::read_file(res.file_name);
    ASSERT_GE(b.size(), size_t(HRPT_HDRSIZE));
    EXPECT_EQ(uint8_t(b[24]) | uint8_t(b[25]) << 8, r.frames);
    EXPECT_EQ(std::string(b.c_str() + 4), r.name);
    EXPECT_EQ(b.size(), size_t(HRPT_HDRSIZE) + size_t(r.frames) * 13872);
  }
}

TEST_F(RecordTest, ShowSkipyZeroIsOne) {
  const int rows[][2] = {{0, 20}, {1, 20}, {2, 10}, {5, 4}};  // show_skipy, lines drawn
  for (const auto& r : rows) {
    rec->recording = 1;
    rec->show_skipy = r[0];
    g_script = Script{{1}, {}};
    live = 0;
    run(20);
    EXPECT_EQ(live, r[1]) << "show_skipy " << r[0];
  }
}

TEST_F(RecordTest, AbortFromTracker) {
  g_script = Script{{1}, {}};
  ctx.on_frame = [](void*, RECORDINFO* rdi, int, int frames) {
    if (frames == 7) rdi->abort = 1;
  };
  REC_RESULT res = run(100);
  EXPECT_EQ(res.stop, REC_STOP_ABORT);
  EXPECT_EQ(res.frames, 7);
  EXPECT_EQ(rec->abort, 0);
  EXPECT_NE(std::find_if(g_entries.begin(), g_entries.end(),
                         [](auto& e) { return e.second == "Aborted by tracker."; }),
            g_entries.end());
}

TEST_F(RecordTest, NoChannelsAndUnknownType) {
  for (int& c : rec->channels_recording) c = 0;
  EXPECT_EQ(Recordpp_Hrpt(&ctx, rec.get(), pic, view.get()), -1);
  // A type without a line buffer records nothing.
  rec->sat_type = IQTEST;
  rec->fri.words_per_frame = 1024;
  EXPECT_EQ(Recordpp_one_Hrpt(&ctx, rec.get(), pic, view.get(), nullptr), REC_STOP_FILE);
  EXPECT_EQ(g_script.n, 0u);
}

TEST(RecordSpec, Parsing) {
  struct Row {
    const char* chantext;
    int code;  // board mode, -1 error
    SAT_TYPE sat;
    std::vector<int> chans;
  } rows[] = {
      {"hrpt:124", 0, HRPT, {1, 2, 4}}, {"124", 0, HRPT, {1, 2, 4}},  // type defaults to HRPT
      {"c13", 0, CHRPT, {1, 3}},                                      // 'c' makes it CHRPT
      {"metop:a", 4, METOP, {}},                                      // a: all 25
      {"fy3c:0", 11, FY3, {10}},                                      // 0 is channel 10
      {"noaa21:1", 2, QNOAA21, {1}},    {"bogus:1", -1, sat_unk, {}},
      {"hrpt:", -1, sat_unk, {}},       {"hrpt:1x", -1, sat_unk, {}},
  };
  for (const Row& r : rows) {
    RECORDINFO rec{};
    char err[100] = "";
    int code = rec_apply_chantext(&rec, r.chantext, err, sizeof err);
    EXPECT_EQ(code, r.code) << r.chantext;
    if (code < 0) {
      EXPECT_NE(err[0], 0) << r.chantext;
      continue;
    }
    EXPECT_EQ(rec.sat_type, r.sat) << r.chantext;
    std::vector<int> got;
    for (int k = 1; k <= 25; k++)
      if (rec.channels_recording[k]) got.push_back(k);
    if (!r.chans.empty())
      EXPECT_EQ(got, r.chans) << r.chantext;
    else
      EXPECT_EQ(got.size(), 25u) << r.chantext;
  }
}

TEST(RecorderPanel, AbortRefusedWhileInSync) {
  RECORDINFO rec{};
  rec.insync = 1;
  EXPECT_EQ(rec_panel_abort(&rec), 1);  // "No abort (Still receiving)"
  EXPECT_EQ(rec.abort, 0);
  rec.insync = 0;
  EXPECT_EQ(rec_panel_abort(&rec), 0);
  EXPECT_EQ(rec.abort, 1);
}

TEST(RecorderPanel, AutoPlanAndChannels) {
  struct Row {
    const char* chantext;
    int sat_type;
    int want_type;
    std::vector<int> buttons;  // pressed channel buttons
    std::vector<int> chans;    // channels recorded from them
  } rows[] = {
      // 'c' makes any type CHRPT; digits 1 and 3 press buttons 1 and 2: pairs 1+2, 3+4.
      {"c13", METOP, CHRPT, {1, 2}, {1, 2, 3, 4}},
      // 0 is channel 10: no button for HRPT, button 5 (9+10) for CHRPT.
      {"0", HRPT, HRPT, {}, {}},
      {"c0", HRPT, CHRPT, {5}, {9, 10}},
      {"124", HRPT, HRPT, {1, 2, 4}, {1, 2, 4}},
      {"6", METOP, METOP, {}, {}},  // beyond the five buttons
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(r.chantext);
    REC_AUTO_PLAN p = rec_auto_plan(r.chantext, r.sat_type);
    EXPECT_EQ(p.sat_type, r.want_type);
    std::vector<int> b;
    int pressed[5] = {0};
    for (int d = 1; d <= 5; d++)
      if (p.button[d]) b.push_back(d), pressed[d - 1] = 1;
    EXPECT_EQ(b, r.buttons);
    RECORDINFO rec{};
    rec.file_type = r.want_type == CHRPT ? FT_CHRPT : r.want_type == METOP ? FT_METOP : FT_HRPT;
    rec_panel_channels(&rec, pressed, p.all);
    std::vector<int> ch;
    for (int k = 1; k <= 25; k++)
      if (rec.channels_recording[k]) ch.push_back(k);
    EXPECT_EQ(ch, r.chans);
  }
  // Types with fixed channel sets ignore the buttons.
  RECORDINFO rec{};
  const int none[5] = {0};
  const struct {
    FILE_TYPE ft;
    int last;
  } fixed[] = {{FT_QNOAA20, 10}, {FT_AQUA, 10}, {FT_MHRPT2, 6}, {FT_FY3, 25}};
  for (auto f : fixed) {
    rec.file_type = f.ft;
    rec_panel_channels(&rec, none, 0);
    for (int k = 1; k <= 25; k++) EXPECT_EQ(rec.channels_recording[k], k <= f.last) << f.ft;
  }
}

}  // namespace
