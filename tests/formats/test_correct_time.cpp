// Line time repair.
#include <gtest/gtest.h>

#include <array>
#include <vector>

#include "common/timeutil.h"
#include "formats/correct_time.h"

namespace {

// Line times: seconds after 12:00:00 on day 100, milliseconds.
using Times = std::vector<std::pair<int, int>>;

// A pass at six lines a second from 12:00:10; line garbage_at gets garbage_sec.
Times clean(int n, int garbage_at = -1, int garbage_sec = 0) {
  Times t;
  for (int i = 0; i < n; i++) t.push_back({10 + i / 6, (i % 6) * 166});
  if (garbage_at >= 0) t[size_t(garbage_at)] = {garbage_sec, 999};
  return t;
}

Times before_first_anchor() {
  // Seconds 0, 1000, ... 6000 are all implausible steps; the run of 20 s
  // lines makes line 11 the first anchor.
  Times t;
  for (int i = 0; i < 7; i++) t.push_back({i * 1000, 0});
  for (int i = 0; i < 6; i++) t.push_back({20, 500});
  return t;
}

TEST(CorrectTime, RepairsLineTimes) {
  EXPECT_EQ(correct_time(nullptr, 6), 0);
  struct Row {
    const char* what;
    Times in;
    int r, result;
    std::vector<std::array<int, 4>> want;  // line, seconds, ms, valid (-1: any)
  };
  const Row rows[] = {
      {"five lines: not trusted", clean(5), 6, 0, {}},
      {"six lines", clean(6), 6, 6, {{5, 10, 830, 6}}},
      {"clean times stay; valid counts the run", clean(12), 6, 12, {{11, 11, 830, 12}}},
      // Line 8 jumps back an hour: anchor line 7 (11 s, 166 ms) + 1 line.
      // Line 9's step is implausible too and takes anchor time + 2; lines with
      // a run of 4 or more are anchors and keep their own times.
      {"corrupt line",
       clean(14, 8, -3600),
       6,
       8,
       {{8, 11, 332, -1}, {9, 11, 498, -1}, {13, 12, 166, 4}}},
      {"lines per second 0 means 6", clean(14, 8, -3600), 0, 8, {{8, 11, 332, -1}}},
      {"two lines a second: 500 ms steps", clean(14, 8, -3600), 2, 8, {{8, 11, 666, -1}}},
      // Anchor at 830 ms: 830 + 166 = 996, then 1162 carries into the second.
      {"milliseconds carry",
       {{10, 0}, {10, 166}, {10, 332}, {10, 498}, {10, 830}, {0, 0}, {0, 0}},
       6,
       0,
       {{5, 10, 996, -1}, {6, 11, 162, -1}}},
      // Line 5 is the first anchor: lines 0-4 take its record minus k/6
      // seconds, all in the same second; milliseconds not adjusted.
      {"back from the first anchor",
       clean(12, 0, 5000),
       6,
       10,
       {{0, 10, 830, -1}, {4, 10, 830, -1}}},
      {"back in whole seconds",
       before_first_anchor(),
       6,
       0,
       {{6, 20, 500, -1}, {5, 19, 500, -1}, {0, 19, 500, -1}}},
  };
  for (const Row& r : rows) {
    XLINE* head = nullptr;
    XLINE* tail = nullptr;
    std::vector<XLINE*> v;
    for (auto [s, ms] : r.in) {
      tail = Create_Xline(&head, 1, 4, tail);
      struct tm t {};
      t.tm_year = 124, t.tm_mday = 100, t.tm_hour = 12, t.tm_sec = s;
      pava::mktime_utc(&t);
      tail->tm_ms = tm_ms{t, ms, 1};
      v.push_back(tail);
    }
    EXPECT_EQ(correct_time(head, r.r), r.result) << r.what;
    for (auto [i, sec, ms, valid] : r.want) {
      const tm_ms& t = v[size_t(i)]->tm_ms;
      EXPECT_EQ(std::vector<int>({t.tm.tm_min * 60 + t.tm.tm_sec, t.ms}),
                std::vector<int>({sec, ms}))
          << r.what << ", line " << i;
      EXPECT_TRUE(valid < 0 || t.valid == valid) << r.what << ", line " << i;
    }
    Remove_Xline(&head);
  }
}

}  // namespace
