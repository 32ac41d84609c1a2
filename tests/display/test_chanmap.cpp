// Channel maps: composition, default maps, stored maps, alignment.
#include <gtest/gtest.h>

#include <cstring>
#include <tuple>

#include "common/text.h"
#include "config/prefs.h"
#include "display/chanmap.h"
#include "picture_builder.h"
#include "support/testutil.h"

// The composition's edge cases: offsets alone, clamping, lum scaling after the
// sums, truncation after every channel.
TEST(ChanMapCompose, EdgeCases) {
  struct Row {
    bool metop;  // METOP's default map with every channel off, else an empty map
    std::vector<std::tuple<int, float, float, int>> on;  // channel, red and green weight, value
    float lum;
    int green_offset, r, g;
  } rows[] = {
      // No channel on: METOP's red offset -10 gives -40, clamped; green offset 25 alone gives 100.
      {true, {}, 1, 25, 0, 100},
      // Weight 1.1 on 1023 gives 1125, clamped; 0.5 gives trunc(511.5).
      {false, {{2, 1.1f, 0.5f, 1023}}, 1, 0, 1023, 511},
      // Truncated after every channel: 0.5 + 0.5 of value 1 gives 0.
      {false, {{1, 0.5f, 0, 1}, {2, 0.5f, 0, 1}}, 1, 0, 0, 0},
      // lum 0 leaves the sums unscaled.
      {false, {{1, 1, 0, 3}, {2, 1, 0, 3}}, 0, 0, 6, 0},
      // lum 0.5 halves the sum (halving each share would give 1 + 1).
      {false, {{1, 1, 0, 3}, {2, 1, 0, 3}}, 0.5f, 0, 3, 0},
  };
  for (const Row& row : rows) {
    CLRMAPCHAN m{};
    m.lum = row.lum;
    if (row.metop) {
      ASSERT_EQ(set_std_falseclr(FT_METOP, &m), 1);
      for (int ch = 1; ch <= 25; ch++) m.on[ch] = 0;
    }
    m.green_offset = row.green_offset;
    int v[26] = {}, rec[26] = {};
    for (int ch = 1; ch <= 25; ch++) rec[ch] = 1;
    for (auto [ch, red, green, val] : row.on) {
      m.on[ch] = 1;
      m.red[ch] = red;
      m.green[ch] = green;
      v[ch] = val;
    }
    int r, g, b;
    compose_pixel(m, rec, v, &r, &g, &b);
    EXPECT_EQ(r, row.r) << "row " << &row - rows;
    EXPECT_EQ(g, row.g) << "row " << &row - rows;
  }
}

class StoredMaps : public ::testing::Test {
 protected:
  void SetUp() override {
    saved_ = prefs;
    std::memset(prefs.clrmaps, 0, sizeof prefs.clrmaps);
    std::memset(prefs.clrmaps_loaded, 0, sizeof prefs.clrmaps_loaded);
    view_.reset(dtest::make_view());
  }
  void TearDown() override { prefs = saved_; }
  PREFS saved_;
  std::unique_ptr<VIEWINFO> view_;
};

// The map chosen for a picture: the family's stored map 1 when it has a
// channel on, else the default; a Meteor picture with an empty map 1 shows
// the "METEOR" default.
TEST_F(StoredMaps, ChoiceWhenShown) {
  auto pic = dtest::make_picture(4, 2, 3, [](int, int, int) { return 0; });
  pic->sat_type = M2HRPT;
  pic->file_type = FT_MHRPT2;
  set_falseclr(pic.get(), view_.get());
  EXPECT_STREQ(view_->cmhc.mapname, "METEOR");
  EXPECT_TRUE(view_->cmhc.on[3]);

  // A stored NOAA map 1 with a channel on wins, with lum reset to 1.0.
  CLRMAPCHAN& st = prefs.clrmaps[0][0];
  st.on[4] = 1;
  st.red[4] = 0.7f;
  st.lum = 0.3f;
  pava::copy_text(st.mapname, "mine");
  pic->sat_type = HRPT;
  pic->file_type = FT_HRPT;
  set_falseclr(pic.get(), view_.get());
  EXPECT_STREQ(view_->cmhc.mapname, "mine");
  EXPECT_FLOAT_EQ(view_->cmhc.lum, 1.0f);
  EXPECT_FLOAT_EQ(view_->cmhc.red[4], 0.7f);
}

// Store, get, undo and save; the saved map in the ClrMap lines.
TEST_F(StoredMaps, StoreGetUndoSave) {
  testutil::TempDir dir;
  pava::copy_text(prefs.prefs_file, dir.file("pava.ini").c_str());

  CLRMAP_BUTTONS b{};
  prefs.clrmaps_loaded[1][2].on[5] = 1;
  prefs.clrmaps_loaded[1][2].blue[5] = 0.9f;
  view_->cmhc.on[3] = 1;
  view_->cmhc.green[3] = 1.5f;
  ASSERT_EQ(clrmap_store(view_.get(), 1, 2, &b), 0);
  EXPECT_FLOAT_EQ(prefs.clrmaps[1][2].green[3], 1.5f);

  view_->cmhc = CLRMAPCHAN{};
  ASSERT_EQ(clrmap_get(view_.get(), 1, 2), 0);
  EXPECT_FLOAT_EQ(view_->cmhc.green[3], 1.5f);

  ASSERT_EQ(clrmap_store(view_.get(), 1, 0, &b), 0);
  ASSERT_EQ(clrmap_undo(view_.get(), 1, 2, &b), 0);
  EXPECT_TRUE(prefs.clrmaps[1][2].on[5]);
  EXPECT_FALSE(prefs.clrmaps[1][2].on[3]);
  EXPECT_FLOAT_EQ(view_->cmhc.blue[5], 0.9f);

  ASSERT_EQ(clrmap_save(&b), 0);
  // The stored map is in the preferences file's ClrMap lines.
  std::string ini = testutil::read_file(dir.file("pava.ini"));
  EXPECT_NE(ini.find("M1 \"METOP\""), std::string::npos) << ini;
  EXPECT_NE(ini.find("C3[0.00,1.50,0.00]"), std::string::npos);

  // Bad slots are refused.
  EXPECT_EQ(clrmap_store(view_.get(), 4, 0, &b), -1);
  EXPECT_EQ(clrmap_get(view_.get(), 0, 3), -1);
}

// Alignment: reset, auto by file type, the extremes of vshift.
TEST(ChanMapAlign, ResetAndAuto) {
  std::unique_ptr<VIEWINFO> v(dtest::make_view());
  align_set(v.get(), 4, 2, 3, 1);
  align_set(v.get(), 6, 0, -5, 0);
  EXPECT_EQ(v->min_vshift, -5);
  EXPECT_EQ(v->max_vshift, 3);
  EXPECT_EQ(align_reset(v.get()), 2184);
  for (int ch = 1; ch <= 25; ch++) EXPECT_EQ(v->hshift[ch] | v->vshift[ch] | v->tilt[ch], 0) << ch;
  EXPECT_EQ(align_auto(v.get(), FT_CHRPT), 3840);
  EXPECT_EQ(v->hshift[10], -2);
  EXPECT_EQ(v->tilt[7], 4);
  align_set(v.get(), 2, 0, 4, 0);
  EXPECT_EQ(align_auto(v.get(), FT_MHRPT1), 3840);
  EXPECT_EQ(v->vshift[2], -1);  // the earlier 4 was reset
  EXPECT_EQ(v->hshift[7], 0);
  EXPECT_EQ(v->min_vshift, -2);

  // Tilt: a vertical shift growing to `tilt` lines at the last column.
  int sx, sy;
  v->tilt[5] = 4;
  v->hshift[5] = 1;
  align_source(v.get(), 5, 0, 10, 101, &sx, &sy);
  EXPECT_EQ(sx * 100 + sy, 110);
  align_source(v.get(), 5, 100, 10, 101, &sx, &sy);
  EXPECT_EQ(sy, 14);
}
