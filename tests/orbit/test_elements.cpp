// Element files and the satellite database: the reader's column rules, names,
// implied decimals, wildcards, selection, the lists, frequencies and picture
// defaults, and "now" with offsets.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "orbit/passes.h"
#include "orbit/satdb.h"
#include "orbit_testutil.h"
#include "support/testutil.h"

namespace {

using namespace orbit_test;

// The first element set of text, read with the reader's own line rules.
struct Read {
  bool ok;
  char name[TLE_LINEBUF];
  KEPLER k;
};
Read read_text(const std::string& text) {
  Read r{};
  FILE* fp = fmemopen(const_cast<char*>(text.data()), text.size(), "r");
  r.ok = read_norad_next_keps(fp, r.name, &r.k) == 1;
  std::fclose(fp);
  return r;
}
std::string set_text(const std::string& name, const std::string& l1 = kL1,
                     const std::string& l2 = kL2, const char* eol = "\n") {
  return name + eol + l1 + eol + l2 + eol;
}

std::string with_field(std::string line, int col, const std::string& field) {
  line.replace(col, field.size(), field);
  return line;
}

std::vector<std::string> sat_names(const SAT* s) {
  std::vector<std::string> v;
  for (; s; s = s->next) v.push_back(s->satname);
  return v;
}
int count(const SAT* s) { return int(sat_names(s).size()); }

TEST(ElementReader, NameCutAtParenthesisAndTrailingBlanks) {
  struct Row {
    std::string text;
    const char* name;
  } rows[] = {
      {set_text("NOAA 19 (remark)   "), "NOAA 19"},           // remark and blanks cut
      {set_text("METOP-B \t", kL1, kL2, "\r\n"), "METOP-B"},  // CRLF and tabs go as well
      {set_text("   "), " "},                                 // blanks keep one character
  };
  for (const Row& r : rows) {
    const Read got = read_text(r.text);
    ASSERT_TRUE(got.ok) << r.name;
    EXPECT_STREQ(got.name, r.name);
    EXPECT_STREQ(got.k.name, r.name);
  }
}

TEST(ElementReader, FieldsByColumn) {
  const Read r = read_text(set_text("NOAA 19"));
  ASSERT_TRUE(r.ok);
  const KEPLER& k = r.k;
  EXPECT_DOUBLE_EQ(k.epoch_day, 300.85690046);
  EXPECT_THAT(std::vector<float>({k.decay_rate, k.bstar, k.d_inclination, k.d_raan, k.eccentricity,
                                  k.d_perigee, k.d_anomaly, k.motion}),
              testing::Pointwise(testing::FloatEq(),
                                 std::vector<float>({0.00000008f, 0.29872e-4f, 99.1965f, 309.6298f,
                                                     0.0014858f, 69.19f, 291.086f, 14.12436128f})));
  EXPECT_FLOAT_EQ(k.inclination, 99.1965f * 3.14159265f / 180.0f);
  EXPECT_EQ(std::vector<long>({k.epoch_year, k.epoch_rev, k.ephemeris_type, k.tle.norad_number}),
            std::vector<long>({120, 60368, '0', 33591}));
  EXPECT_STREQ(k.tle.intl_desig, "09005A  ");
}

TEST(ElementReader, EpochYearAndImpliedDecimalBstar) {
  struct Row {
    int col;            // 18: epoch year, 53: bstar (columns 53-60 of line 1)
    const char* field;  //
    double expect;      // epoch_year or bstar
  } rows[] = {
      {18, "69", 169},               // below 70: 2069
      {18, "70", 70},                // 70 and above: 1970
      {18, "00", 100},               // 2000
      {18, "99", 99},                // 1999
      {53, " 11606-4", 1.1606e-5},   // 0.11606e-4: mantissa 1e-5 * 11606, '-4' divides 4 times
      {53, "-11606-4", -1.1606e-5},  // leading minus
      {53, " 00000+0", 0.0},         // zero
      {53, "        ", 0.0},         // blank field
      {53, " 12345+1", 1.2345},      // positive exponent multiplies
      {53, " 50000-0", 0.5},         // exponent 0 leaves the mantissa
  };
  for (const Row& r : rows) {
    const Read got = read_text(set_text("X", with_field(kL1, r.col, r.field)));
    ASSERT_TRUE(got.ok) << r.field;
    if (r.col == 18) {
      EXPECT_EQ(got.k.epoch_year, r.expect) << r.field;
    } else {
      EXPECT_NEAR(got.k.bstar, r.expect, std::fabs(r.expect) * 1e-6 + 1e-12) << r.field;
      EXPECT_NEAR(got.k.tle.bstar, r.expect, std::fabs(r.expect) * 1e-12 + 1e-15) << r.field;
    }
  }
}

TEST(ElementReader, EpochKeptInDoublePrecision) {
  // Late in the year a float day has a resolution of about 2 s; the text's
  // fraction (1e-8 day) must survive into the model's epoch.
  Read r = read_text(set_text("X", with_field(kL1, 18, "20365.12345678")));
  ASSERT_TRUE(r.ok);
  EXPECT_DOUBLE_EQ(r.k.epoch_day, 365.12345678);
  ORBIT o{};
  calc_orbitconst_v2(&r.k, &o);
  // 2020-01-01 0h is JD 2458849.5, day 1.
  EXPECT_NEAR(r.k.tle.epoch, 2458849.5 + 364.12345678, 1e-9);
  // 2020 is a leap year: day 365 is 30 December.
  EXPECT_EQ(pava::mktime_utc(&o.ref_tm), utc_time(2020, 12, 30, 2, 57, 46));
  EXPECT_EQ(o.ref_ms, 0);
}

TEST(ElementReader, EditedFieldsWinOverTheText) {
  Read r = read_text(set_text("X"));
  ASSERT_TRUE(r.ok);
  ORBIT o{};
  calc_orbitconst_v2(&r.k, &o);
  EXPECT_NEAR(r.k.tle.xno, 2 * M_PI * 14.12436128 / 1440.0, 1e-15);
  // The orbit editor changes the inclination: the model follows the fields.
  r.k.inclination += 0.01f;
  calc_orbitconst_v2(&r.k, &o);
  EXPECT_FLOAT_EQ(static_cast<float>(r.k.tle.xincl), r.k.inclination);
}

TEST(ElementReader, RealSnapshots) {
  struct Row {
    const char* file;
    int sets;
    const char* a_name;
    const char* why;
  } rows[] = {
      {"testdata/tle/weather_2012-12-08.txt", 35, "FENGYUN 1D", "LF"},
      {"testdata/tle/weather_2017-05-07.txt", 47, "METEOR-M 2", "CRLF line ends"},
      {"testdata/tle/weather_2026-02-24.tle", 70, "NOAA 20", "names with a suffix in ()"},
  };
  for (const Row& r : rows) {
    SAT* list = load(testutil::shared_path(r.file), "*");
    EXPECT_EQ(count(list), r.sets) << r.why;
    SAT* s = Find_Sat(list, r.a_name);
    ASSERT_NE(s, nullptr) << r.why;
    EXPECT_TRUE(s->kepler.sgp4_ready) << r.why;
    Remove_Sats(list);
  }
}

TEST(Wildcard, StrcmpwildResults) {
  struct Row {
    const char* text;
    const char* pattern;
    int expect;
    const char* why;
  } rows[] = {
      {"NOAA 19", "NOAA*", 0, "trailing star"},
      {"NOAA 19", "NOAA ?9", 0, "question mark"},
      {"NOAA 19", "NOAA", 2, "text longer than pattern"},
      {"NOAA", "NOAA 19", 3, "pattern longer than text"},
      {"NOAA 19", "NOAA 18", 1, "mismatch"},
      {"NOAA 19", "noaa 19", 1, "case sensitive"},
      {"METOP-B", "*B", 0, "leading star"},
      {"METOP-B", "M*P*B", 0, "two stars"},
      {"METOP-B", "*C", 3, "star without a match"},
      {"NOAA", "NOAA**", 0, "trailing stars skipped"},
      {"", "*", 0, "empty text, star"},
      {"", "", 0, "both empty"},
      {"AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA", "*A*A*A*A*A*A*A*A*A*A*A*A*A*A*A*A*A*A*B", 3,
       "many stars fail fast"},
  };
  for (const Row& r : rows) EXPECT_EQ(strcmpwild(r.text, r.pattern), r.expect) << r.why;
}

TEST(Selection, PiecesAndDuplicates) {
  const std::string file = testutil::source_path("data/weather.txt");
  FILE* fp = std::fopen(file.c_str(), "r");
  ASSERT_NE(fp, nullptr);
  // A satellite matched by two pieces is listed twice.
  SAT* list = read_msat(fp, "NOAA 19;NOAA ?9", nullptr);
  EXPECT_EQ(sat_names(list), (std::vector<std::string>{"NOAA 19", "NOAA 19"}));
  Remove_Sats(list);
  // The file is rewound on every call; the list given is extended.
  list = read_msat(fp, "METOP-?", nullptr);
  EXPECT_EQ(count(list), 3);
  list = read_msat(fp, "NOAA 2*", list);
  EXPECT_EQ(count(list), 5);
  EXPECT_STREQ(list->next->next->next->satname, "NOAA 20");
  Remove_Sats(list);
  std::fclose(fp);
  EXPECT_EQ(read_msat(nullptr, "*", nullptr), nullptr);
}

TEST(Selection, PrepareTrackFromTable) {
  const std::string file = testutil::source_path("data/weather.txt");
  SATSEL table[PREFS_NSATS] = {};
  const char* names[] = {"NOAA 15", "NOAA 18", "NOAA 19", "METOP-C"};
  for (int i = 0; i < 4; i++) {
    std::strcpy(table[i].name, names[i]);
    table[i].on = i != 1;  // NOAA 18 off
  }
  SAT* list = prepare_track(nullptr, file.c_str(), nullptr, table);
  EXPECT_EQ(sat_names(list), (std::vector<std::string>{"NOAA 15", "NOAA 19", "METOP-C"}));
  // An unreadable file gives no list (the old one is removed).
  EXPECT_EQ(prepare_track(list, "/nonexistent/weather.txt", nullptr, table), nullptr);
}

TEST(Database, FilesAndCopies) {
  FNORAD* files = nullptr;
  EXPECT_EQ(add_noradfile(&files, "/nonexistent"), nullptr);
  EXPECT_EQ(add_noradfile(&files, testutil::shared_path("testdata").c_str()), nullptr)
      << "a directory is not an element file";
  FNORAD* f = add_noradfile(&files, testutil::source_path("data/weather.txt").c_str());
  ASSERT_NE(f, nullptr);
  EXPECT_EQ(files, f);
  ASSERT_NE(
      add_noradfile(&files, testutil::shared_path("testdata/tle/weather_2017-05-07.txt").c_str()),
      nullptr);
  // Get_Sat finds the first of any file.
  SAT* m = Get_Sat(files, "METEOR-M 2");
  ASSERT_NE(m, nullptr);
  EXPECT_EQ(m->db, f);
  EXPECT_EQ(m->orbit.width_original, 1570);
  EXPECT_EQ(Get_Sat(files, "METEOR-M"), nullptr) << "exact names only";
  // Copied by name: the METEOR width is 1540.
  SAT* sel = add_sat_to_selected(files, "METEOR-M 2", nullptr);
  ASSERT_NE(sel, nullptr);
  EXPECT_EQ(sel->orbit.width_original, 1540);
  sel = add_sat_to_selected(files, "NOAA 19", sel);
  EXPECT_EQ(add_sat_to_selected(files, "NOT THERE", sel), sel);
  EXPECT_EQ(Find_Sat(sel, "NOAA 19"), sel->next);
  EXPECT_EQ(Find_Sat(sel, "NOAA 1"), nullptr);
  Remove_Sats(sel);
  EXPECT_EQ(Remove_Norad(files), nullptr);
}

TEST(Frequencies, LaterRowsOverride) {
  struct Row {
    const char* name;
    float hfreq, lfreq;
    char modtype;
    const char* why;
  } rows[] = {
      {"NOAA 19", 1698.0f, 137.1f, 'P', "NOAA 19"},
      {"NOAA 1520", 7812.0f, 0.0f, 'Q', "the later NOAA row wins"},
      {"FENGYUN 3C", 1701.3f, 0.0f, 'Q', "FY-3C after FY-3A,B"},
      {"AQUA", 0.0f, 0.0f, 0, "not in the table"},
      {"SAT 15", 0.0f, 0.0f, 0, "number rows need NOAA"},
  };
  for (const Row& r : rows) {
    SAT s{};
    std::strcpy(s.satname, r.name);
    get_satfreq(&s);
    EXPECT_TRUE(s.hfreq == r.hfreq && s.lfreq == r.lfreq && s.modtype == r.modtype) << r.why;
  }
}

TEST(PictureDefaults, ByNameFirstRowWins) {
  struct Row {
    const char* name;
    float angle;
    int width;
    float hfreq;
    const char* why;
  } rows[] = {
      {"NOAA 19", 0.9669124f, 2048, 1698.0f, "NOAA"},
      {"METEOR-M 2", 0.9669124f, 1570, 1700.0f, "Meteor read from a file"},
      {"SEASTAR??", 1.017527f, 2048, 0.0f, "the literal question marks"},
      {"SEASTAR", 0.0f, 0, 0.0f, "no literal question marks: other"},
      {"AQUA", 0.0f, 0, 0.0f, "other: width unchanged"},
  };
  for (const Row& r : rows) {
    SAT* s = from_text(set_text(r.name), "*");
    ASSERT_NE(s, nullptr) << r.why;
    EXPECT_TRUE(s->orbit.max_sens_angle == r.angle && s->orbit.width_original == r.width &&
                s->hfreq == r.hfreq)
        << r.why;
    Remove_Sats(s);
  }
}

time_t g_clock_value = 0;
time_t test_clock() { return g_clock_value; }

TEST(Now, OffsetsAndTheirAsymmetries) {
  orbit_set_clock(test_clock);
  g_clock_value = 1603756800;  // 2020-10-27 00:00:00
  struct tm t;
  // Without an offset record hours_ahead is ignored.
  mom_tm(&t, 5.0f, nullptr);
  EXPECT_EQ(pava::mktime_utc(&t), 1603756800);
  // tz_offset 1.5 h: 1 h plus 30 min; then 2 h ahead and 10.5 s (10 used).
  TM_OFFSET off{1.5f, 10.5f, 0, 0.2f};
  mom_tm(&t, 2.0f, &off);
  EXPECT_EQ(pava::mktime_utc(&t), 1603756800 + 3600 + 1800 + 7200 + 10);
  // Milliseconds: a new second gives 1000 * 0.5, the same second again adds
  // 100 * 2 (the first decimal of reptime 0.2).
  tm_s ts;
  mom_tmms(&ts, 0.0f, &off);
  EXPECT_EQ(ts.ms, 500);
  mom_tmms(&ts, 0.0f, &off);
  EXPECT_EQ(ts.ms, 700);
  g_clock_value++;
  mom_tmms(&ts, 0.0f, &off);
  EXPECT_EQ(ts.ms, 500);
  mom_tmms(&ts, 0.0f, nullptr);
  EXPECT_EQ(ts.ms, 0);
  orbit_set_clock(nullptr);
}

}  // namespace
