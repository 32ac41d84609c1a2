// Malformed element files: the reader never crashes or hangs and yields fewer
// satellites.
#include <gtest/gtest.h>

#include <string>

#include "orbit_testutil.h"

namespace {

const std::string kName = "NOAA 19\n";
const std::string kL1 = orbit_test::kL1 + "\n";
const std::string kL2 = orbit_test::kL2 + "\n";
const std::string kGood = kName + kL1 + kL2;

// Reads every satellite of text; positions each one at a moment so that the
// model runs on whatever was read.
int sats_in(const std::string& text) {
  SAT* list = orbit_test::from_text(text, "*");
  int n = 0;
  const struct tm t = orbit_test::utc(2020, 10, 27);
  for (SAT* s = list; s; s = s->next, n++) {
    EPOINT e{}, xyz{}, sub{};
    calc_sat_earth_v2(&t, 0, &s->kepler, &s->orbit, &e, &xyz, &sub);
  }
  Remove_Sats(list);
  return n;
}

// Every byte value twice over (random junk is the fuzz_tle target's job).
std::string binary_junk() {
  std::string j;
  for (int i = 0; i < 512; i++) j += static_cast<char>(i * 7);
  return j;
}

TEST(MalformedElements, FewerSatellitesNeverACrash) {
  struct Row {
    std::string text;
    int expect;
    const char* why;
  } rows[] = {
      {kGood + kGood, 2, "two good sets"},
      {kName + "1 33591U\n" + "2 33591\n" + kGood, 2, "short lines still pair (garbage values)"},
      {kName + kL1 + kGood, 1, "missing line 2: the set is lost"},
      {kName + kL1 + kName + kL2, 0, "line 2 without its line 1"},
      {kName + kL1.substr(0, 18) + "ab.cdefg" + kL1.substr(26) + kL2, 1, "non-numeric epoch"},
      {kName + kL1 + "2 33591  xx.xxxx yyy.yyyy zzzzzzz  69.1900 291.0860 qq.qqqqqqqq603681\n", 1,
       "non-numeric line 2 (no model state)"},
      {kName + std::string(5000, '1') + "\n" + kGood, 1, "a 5000-character line"},
      // 98 characters and the line feed fill the 99 read at a time: skipped,
      // the pair around it holds; 97 and the line feed are an ordinary line.
      {kName + kL1 + std::string(98, 'x') + "\n" + kL2, 1, "98-character line between the pair"},
      {kName + kL1 + std::string(97, 'x') + "\n" + kL2, 0, "97-character line breaks the pair"},
      {std::string(5000, 'x') + "\n1 short\n2 short\n" + kGood, 2,
       "long line then a short pair (its tail is a line of its own)"},
      {"", 0, "empty file"},
      {"\n\n\n", 0, "blank lines"},
      {kGood.substr(0, kGood.size() - 1), 1, "no final line feed"},
      {"NOAA 19\r\n" + kL1.substr(0, 69) + "\r\n" + kL2.substr(0, 69) + "\r\n", 1, "CRLF"},
      {std::string("NO\0AA\n", 6) + kL1 + kL2, 1, "NUL in the name"},
      {binary_junk() + "\n" + kGood + binary_junk(), 1, "binary junk around a set"},
  };
  for (const Row& r : rows) EXPECT_EQ(sats_in(r.text), r.expect) << r.why;
}

}  // namespace
