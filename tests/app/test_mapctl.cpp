// The "Map channels" controls by name: every name reaches its own field,
// values are clamped to the control's range, bad names change nothing.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "app/core/mapctl.h"
#include "display/chanmap.h"

namespace {

CLRMAPCHAN cleared() {
  CLRMAPCHAN m;
  clrmap_reset(&m);
  return m;
}

TEST(MapCtl, EveryControlSetsItsOwnField) {
  struct Row {
    const char* name;
    double value;
    double expect;  // what mapctl_get gives back
  } rows[] = {
      {"Ch3", 1, 1},        // channel toggle
      {"r1", 0.75, 0.75},   // weights of three different channels
      {"g2", -0.5, -0.5},   //
      {"b25", 1.25, 1.25},  // highest channel
      {"gamma", 1.7, 1.7},  //
      {"ro", 12, 12},       // offsets
      {"go", -3.4, -3},     // rounded to whole quarters
      {"r4", 9, 2},         // clamped to the range
      {"Ch5", 0.3, 0},      // a toggle is on or off
      {"r2", NAN, -2},      // NaN is the minimum, never stored
  };
  for (const Row& r : rows) {
    CLRMAPCHAN m = cleared();
    CLRMAPCHAN before = m;
    ASSERT_EQ(mapctl_set(&m, r.name, r.value), 0) << r.name;
    EXPECT_NEAR(mapctl_get(m, r.name), r.expect, 1e-6) << r.name;
    // Nothing but that one field changed: set it back and compare bytes.
    ASSERT_EQ(mapctl_set(&m, r.name, mapctl_get(before, r.name)), 0);
    EXPECT_EQ(std::memcmp(&m, &before, sizeof m), 0) << r.name << " touched another field";
  }
}

TEST(MapCtl, UnknownNamesAreRefused) {
  const char* bad[] = {"", "Ch0", "Ch26", "r", "r1x", "x1", "g-1", "gammas", "Ch", nullptr};
  for (const char* name : bad) {
    CLRMAPCHAN m = cleared();
    CLRMAPCHAN before = m;
    MAPCTL_RANGE range;
    EXPECT_EQ(mapctl_set(&m, name, 1), -1) << (name ? name : "null");
    EXPECT_EQ(mapctl_range(name, &range), -1);
    EXPECT_EQ(mapctl_get(m, name), 0);
    EXPECT_EQ(std::memcmp(&m, &before, sizeof m), 0);
  }
}

}  // namespace
