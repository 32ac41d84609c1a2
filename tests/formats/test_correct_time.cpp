// Line time repair.
#include <gtest/gtest.h>

#include <vector>

#include "common/timeutil.h"
#include "formats/correct_time.h"

namespace {

// A list of lines with the given times (seconds after 12:00:00 on day 100 and
// milliseconds); every line starts as decoded (valid 1).
struct Lines {
  XLINE* head = nullptr;
  std::vector<XLINE*> v;
  Lines(const std::vector<std::pair<int, int>>& times) {
    XLINE* tail = nullptr;
    for (auto [s, ms] : times) {
      tail = Create_Xline(&head, 1, 4, tail);
      struct tm t {};
      t.tm_year = 124, t.tm_mday = 100, t.tm_hour = 12, t.tm_sec = s;
      pava::mktime_utc(&t);
      tail->tm_ms.tm = t;
      tail->tm_ms.ms = ms;
      tail->tm_ms.valid = 1;
      v.push_back(tail);
    }
  }
  ~Lines() { Remove_Xline(&head); }
  // Seconds after 12:00 and milliseconds of line i.
  int sec(int i) const {
    return v[size_t(i)]->tm_ms.tm.tm_min * 60 + v[size_t(i)]->tm_ms.tm.tm_sec;
  }
  int ms(int i) const { return v[size_t(i)]->tm_ms.ms; }
  std::pair<int, int> at(int i) const { return {sec(i), ms(i)}; }
};

std::vector<std::pair<int, int>> clean(int n, int garbage_at = -1, int garbage_sec = 0) {
  std::vector<std::pair<int, int>> t;
  for (int i = 0; i < n; i++) t.push_back({10 + i / 6, (i % 6) * 166});
  if (garbage_at >= 0) t[size_t(garbage_at)] = {garbage_sec, 999};
  return t;
}

// The result is the longest run of plausible times when it exceeds 5.
TEST(CorrectTime, RunLength) {
  EXPECT_EQ(correct_time(nullptr, 6), 0);
  const int rows[][2] = {{1, 0}, {5, 0}, {6, 6}, {12, 12}};  // lines, result
  for (auto [n, want] : rows) EXPECT_EQ(correct_time(Lines(clean(n)).head, 6), want) << n;
  // valid counts the run ending at each line; clean times stay.
  Lines l(clean(12));
  correct_time(l.head, 6);
  EXPECT_TRUE(l.v[11]->tm_ms.valid == 12 && l.v[5]->tm_ms.valid == 6);
  EXPECT_EQ(l.at(11), std::make_pair(11, 830));
}

TEST(CorrectTime, CorruptLineTakesAnchorTimePlusDistance) {
  // Line 8 jumps back an hour; lines 0-7 make a run, line 7 is the last anchor.
  Lines l(clean(14, 8, -3600));
  int longest = correct_time(l.head, 6);
  EXPECT_EQ(longest, 8);
  // Line 8: anchor line 7 (11 s, 166 ms) + 1 line = 332 ms.
  EXPECT_EQ(l.at(8), std::make_pair(11, 332));
  // Line 9 follows the broken line: its step is implausible too (valid 0 < 4),
  // and the lines after it build a new run from 0; both take anchor times.
  EXPECT_EQ(l.at(9), std::make_pair(11, 498));
  // Lines with run length >= 4 are anchors and keep their own times.
  EXPECT_EQ(l.v[13]->tm_ms.valid, 4);
  EXPECT_EQ(l.at(13), std::make_pair(12, 166));
}

TEST(CorrectTime, MillisecondsCarryIntoSeconds) {
  // Anchor at 830 ms; the next line is broken: 830 + 166 = 996, then 1162 -> +1 s.
  std::vector<std::pair<int, int>> t = {{10, 0},   {10, 166}, {10, 332}, {10, 498},
                                        {10, 830}, {0, 0},    {0, 0}};
  Lines l(t);
  correct_time(l.head, 6);
  EXPECT_EQ(l.at(5), std::make_pair(10, 996));
  EXPECT_EQ(l.at(6), std::make_pair(11, 162));
}

TEST(CorrectTime, LinesBeforeFirstAnchorCountBackInWholeSeconds) {
  // Garbage first line: line 1 restarts the run at 0, line 5 is the first
  // anchor (run 4).
  Lines l(clean(12, 0, 5000));
  correct_time(l.head, 6);
  // Lines 0-4 take line 5's record (10 s, 830 ms) minus k/6 seconds: all in
  // the same second, milliseconds not adjusted.
  for (int i = 0; i < 5; i++) {
    EXPECT_EQ(l.at(i), std::make_pair(10, 830)) << i;
  }
  // Six lines back cross a second: seconds 0, 1000, ... 6000 are all
  // implausible steps, the run of 20 s lines makes line 11 the first anchor.
  std::vector<std::pair<int, int>> t;
  for (int i = 0; i < 7; i++) t.push_back({i * 1000, 0});
  for (int i = 0; i < 6; i++) t.push_back({20, 500});
  Lines m(t);
  correct_time(m.head, 6);
  EXPECT_EQ(m.sec(6), 20);  // 5 lines back: 5 / 6 = 0 s
  EXPECT_EQ(m.sec(5), 19);  // 6 lines back
  EXPECT_EQ(m.sec(0), 19);  // 11 lines back
  EXPECT_EQ(m.ms(0), 500);
}

TEST(CorrectTime, LinesPerSecondZeroMeansSix) {
  // Line 8 of the corrupt-line case: 332 ms at six lines a second, 500 ms steps at two.
  for (auto [r, ms] : {std::pair{0, 332}, std::pair{2, 166 + 500}}) {
    Lines l(clean(14, 8, -3600));
    EXPECT_EQ(correct_time(l.head, r), 8);
    EXPECT_EQ(l.ms(8), ms) << r;
  }
}

}  // namespace
