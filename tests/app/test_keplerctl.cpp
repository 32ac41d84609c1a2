// The "Kepler" window's fields: each name reaches its own field, values are
// clamped, changed elements make the orbit model prepare again while the
// offsets leave it prepared.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>

#include "app/core/keplerctl.h"

namespace {

TEST(KeplerFields, EachNameItsOwnField) {
  for (const KEPLER_FIELD* f = kepler_fields(); f->name; f++) {
    PICINFO* pic = pic_new();
    pic->kepler.sgp4_ready = 1;
    double mid = f->min + (f->max - f->min) * 0.37;
    if (f->digits == 0) mid = std::round(mid);
    ASSERT_EQ(kepler_set(pic, f->name, mid), 1) << f->name;
    EXPECT_NEAR(kepler_get(pic, f->name), mid, std::fabs(mid) * 1e-6 + 1e-9) << f->name;
    EXPECT_EQ(pic->kepler.sgp4_ready, f->is_offset ? 1 : 0) << f->name;
    // No other field moved.
    for (const KEPLER_FIELD* g = kepler_fields(); g->name; g++)
      if (g != f) {
        EXPECT_EQ(kepler_get(pic, g->name), 0) << f->name << " moved " << g->name;
      }
    pic_delete(pic);
  }
}

TEST(KeplerFields, ClampedAndUnknown) {
  PICINFO* pic = pic_new();
  EXPECT_EQ(kepler_set(pic, "offset_lon", 500), 1);
  EXPECT_FLOAT_EQ(pic->orbit.offset_lon, 180);
  EXPECT_EQ(kepler_set(pic, "offset_sec", NAN), 1);
  EXPECT_EQ(pic->orbit.offset_sec, -86400);
  EXPECT_EQ(kepler_set(pic, "Nonsense", 1), -1);
  EXPECT_EQ(kepler_set(pic, nullptr, 1), -1);
  EXPECT_EQ(kepler_get(pic, "Nonsense"), 0);
  EXPECT_EQ(kepler_set(nullptr, "RAAN", 1), -1);
  pic_delete(pic);
}

}  // namespace
