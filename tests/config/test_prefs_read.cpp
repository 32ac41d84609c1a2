// Parsing of preference lines and files: kinds of values, comments, junk.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>
#include <string>
#include <utility>

#include "common/text.h"
#include "config/prefs_file.h"
#include "config/prefs_items.h"
#include "support/testutil.h"

namespace {

// Defaults, then the text as the contents of a file.
void read_text(const std::string& text) {
  Load_Defaults(&prefs);
  Pref_Text(pref_items, &prefs, text.data(), text.size());
  Pref_Finish(&prefs);
}

TEST(PrefsRead, BooleanValues) {
  struct Row {
    const char* key;
    const char* value;
    int expect;
  } rows[] = {
      {"Sunshadow", "on", 1},       // only y..., on... and 1... count
      {"Sunshadow", "1", 1},        //
      {"Sunshadow", "yoghurt", 1},  // anything beginning with y
      {"Sunshadow", "onion", 1},    // anything beginning with on
      {"Sunshadow", "true", 0},     // true is not one of them
      {"Sunshadow", "Yes", 0},      // case matters
      {"Sunshadow", "", 0},         // empty value
      {"X_Dir_0", "west", 1},       // X zero to the west
      {"X_Dir_0", "yes", 0},        // only west counts here
      {"Y_Dir_0", "south", 1},      // Y zero to the south
      {"Y_Dir_0", "1", 0},          // only south counts here
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(std::string(r.key) + " = " + r.value);
    Load_Defaults(&prefs);
    int* field = !std::strcmp(r.key, "Sunshadow") ? &prefs.sunshadow
                 : !std::strcmp(r.key, "X_Dir_0") ? &prefs.rotor.x_west_is_0
                                                  : &prefs.rotor.y_south_is_0;
    *field = !r.expect;  // so that the row really sets the value
    Set_Pref(pref_items, r.key, r.value);
    EXPECT_EQ(*field, r.expect);
  }
}

TEST(PrefsRead, LineSyntax) {
  struct {
    const char* text;
    int font_size;
    const char* why;
  } rows[] = {
      {"Font_size = 12 # comment", 12, "comment after the value"},
      {"Font_size=13", 13, "no blanks around ="},
      {"Font_size\t=\t14\t\t", 14, "tabs around the value"},
      {"   Font_size = 15", 15, "blanks before the key"},
      {"Font_size = 16\r", 16, "carriage return"},
      {"Font_size = 17#x", 17, "comment right after the value"},
      {"#Font_size = 18", 10, "a commented-out line"},
      {"Font_size 19", 10, "no = sign"},
      {"Font_sizes = 20", 10, "unknown key (longer)"},
      {"font_size = 21", 10, "keys are case sensitive"},
      {"Font_size = abc", 0, "a bad number becomes 0"},
      {"Font_size = ", 0, "an empty value becomes 0"},
      {"Font_size = 99999999999999999999", 2147483647, "a huge number is clamped"},
      {"Font_size = -99999999999999999999", -2147483647 - 1, "a huge negative one too"},
      {"Font_size = 22 23", 22, "parsed as far as the number goes"},
      {"= 24", 10, "no key"},
      {"Font_size = 25\nFont_size = 26", 26, "the last line wins"},
  };
  for (const auto& r : rows) {
    SCOPED_TRACE(std::string(r.why) + ": " + r.text);
    read_text(r.text);
    EXPECT_EQ(prefs.font_size, r.font_size);
  }
}

TEST(PrefsRead, UnknownKeysAreIgnored) {
  read_text("NoSuchKey = 5\nFont_size = 11\nAnother.unknown = yes\n");
  EXPECT_EQ(prefs.font_size, 11);
  EXPECT_EQ(Set_Pref(pref_items, "NoSuchKey", "5"), 0);
  EXPECT_EQ(Set_Pref(pref_items, "Font_size", "5"), 1);
  // A title line is not a key.
  EXPECT_EQ(Set_Pref(pref_items, "Sat_list", "5"), 0);
}

TEST(PrefsRead, Enumerations) {
  read_text("Port_type = ethernet\nRotortype = XY\nHrpt_Record_Scandirection = S_N\n");
  EXPECT_EQ(prefs.port_type, ethernet);
  EXPECT_EQ(prefs.rotor.use_xy, 1);
  EXPECT_EQ(prefs.hrpt_scandir, S_N);
  // An unknown name (or a number) leaves the field as it was.
  Set_Pref(pref_items, "Port_type", "serial");
  EXPECT_EQ(prefs.port_type, ethernet);
  Set_Pref(pref_items, "Port_type", "file");
  EXPECT_EQ(prefs.port_type, from_file);
}

TEST(PrefsRead, Hexadecimal) {
  struct {
    const char* value;
    int expect;
    const char* why;
  } rows[] = {
      {"FF8000", 0xff8000, "upper case"},
      {"0x00ff00", 0x00ff00, "with 0x"},
      {"10", 0x10, "digits only: still base 16"},
      {"zz", 0, "not a number"},
      {"123456789abcdef", -1, "too many digits: clamped to 32 bits"},
  };
  for (const auto& r : rows) {
    SCOPED_TRACE(std::string(r.why) + ": " + r.value);
    read_text(std::string("Clr.raster = ") + r.value);
    EXPECT_EQ(prefs.clr[11], r.expect);
  }
}

TEST(PrefsRead, PairsWithSeparators) {
  struct {
    const char* text;
    int a, b;
    const char* why;
  } rows[] = {
      {"main_window_size = 800x600", 800, 600, "x separator"},
      {"main_window_size = 800 x 600", 800, 600, "blanks around the separator"},
      {"main_window_size = 800,600", 800, 0, "wrong separator: second becomes 0"},
      {"main_window_size = 800", 800, 0, "only the first"},
      {"main_window_size = x600", 0, 600, "only the second"},
      {"main_window_position = -10,20", -10, 20, "negative, comma separator"},
  };
  for (const auto& r : rows) {
    SCOPED_TRACE(std::string(r.why) + ": " + r.text);
    read_text(r.text);
    bool pos = std::strstr(r.text, "position") != nullptr;
    EXPECT_EQ(pos ? prefs.main_wnd_x : prefs.main_wnd_w, r.a);
    EXPECT_EQ(pos ? prefs.main_wnd_y : prefs.main_wnd_h, r.b);
  }
  read_text("Despeckle_limits = 30,400");
  EXPECT_EQ(prefs.sur_ulim, 30);
  EXPECT_EQ(prefs.dsp_llim, 400);
}

TEST(PrefsRead, FloatsAndAngles) {
  read_text(
      "Observer_Lon = -90.0\nObserver_Lat = 45.5\nObserver_Alt = 0.25\nShadow_fact = 3.5\n"
      "Fixed_zoomfactor = 1e999\nrecord.zx = nan\n");
  EXPECT_FLOAT_EQ(prefs.refpos.lon, static_cast<float>(-M_PI / 2));
  EXPECT_FLOAT_EQ(prefs.refpos.lat, static_cast<float>(45.5 * M_PI / 180));
  EXPECT_FLOAT_EQ(prefs.refpos.alt, 0.25f);
  EXPECT_FLOAT_EQ(prefs.shadow_fact, 1.0f) << "limited to at most 1.0";
  EXPECT_EQ(prefs.fix_zoomfactor, 0.0f) << "an infinite number is a bad number";
  EXPECT_EQ(prefs.rec_zx, 0.0f) << "not a number is a bad number";
  read_text("Shadow_fact = 0.75");
  EXPECT_FLOAT_EQ(prefs.shadow_fact, 0.75f);
}

TEST(PrefsRead, ObserverSurvivesDegreeRadianRoundTrip) {
  std::mt19937 rng(20231);  // fixed seed
  std::uniform_real_distribution<double> lon(-180.0, 180.0), lat(-90.0, 90.0);
  testutil::TempDir dir;
  for (int i = 0; i < 200; i++) {
    Load_Defaults(&prefs);
    float lo = static_cast<float>(lon(rng) * M_PI / 180),
          la = static_cast<float>(lat(rng) * M_PI / 180);
    prefs.refpos.lon = lo;
    prefs.refpos.lat = la;
    std::string f = dir.file("pava.ini");
    ASSERT_EQ(Save_Pref(&prefs, f.c_str()), 0);
    pava::copy_text(prefs.prefs_file, f);
    Read_Pref(&prefs);
    SCOPED_TRACE("seed 20231, round " + std::to_string(i));
    // The file holds 1e-6 degrees (1.7e-8 rad): equal to float precision
    // (4 ULP) away from zero, within 1.5e-8 rad close to zero.
    for (auto [back, orig] :
         {std::pair<float, float>{prefs.refpos.lon, lo}, {prefs.refpos.lat, la}}) {
      if (std::fabs(orig) >= 0.1f) {
        EXPECT_FLOAT_EQ(back, orig);
      } else {
        EXPECT_NEAR(back, orig, 1.5e-8);
      }
    }
  }
  prefs.prefs_file[0] = 0;
}

TEST(PrefsRead, TextsAreBoundedByTheirFields) {
  std::string long_dir(120, 'd');
  read_text("Hrpt_File_Dir = " + long_dir + "\nWorking_Dir = " + long_dir + "\n");
  EXPECT_EQ(std::string(prefs.dir_hrpt), long_dir.substr(0, sizeof prefs.dir_hrpt - 1));
  // A value read from the file is not cut at the 20 characters of a default.
  EXPECT_EQ(std::string(prefs.working_dir), long_dir);
  read_text("eth.ip_addr = 10.0.0.1\nuart.command = W%03d %03d\n");
  EXPECT_STREQ(prefs.eth.ip_addr, "10.0.0.1");
  EXPECT_STREQ(prefs.uart.command, "W%03d %03d");
}

TEST(PrefsRead, SatelliteLinesSetTheSelection) {
  read_text(
      "Satellite = \"NOAA 15\" y\n"
      "Satellite = \"NOAA 18\" n\n"
      "Satellite = \"METEOR-M2 2\" n\n"
      "Satellite = \"NO SUCH SAT\" y\n"
      "Satellite = NOAA 19 n\n");
  EXPECT_STREQ(prefs.sats[0].name, "NOAA 15");
  EXPECT_EQ(prefs.sats[0].on, 1);
  EXPECT_STREQ(prefs.sats[0].sel, "TRUE");
  EXPECT_EQ(prefs.sats[1].on + prefs.sats[13].on, 0);
  EXPECT_EQ(prefs.sats[2].on, 1) << "a line without quotes is ignored";
  for (int i = 0; i < PREFS_NSATS; i++) EXPECT_NE(std::string(prefs.sats[i].name), "NO SUCH SAT");
}

TEST(PrefsRead, ColoursConvertedToSixteenBits) {
  read_text("Grid_color = ff8001\nboundary_color = 000080\nClr.number = 123456\n");
  auto rgb = [](const auto& c) { return std::vector<int>{c.red, c.green, c.blue}; };
  EXPECT_EQ(rgb(prefs.grid_clr), (std::vector<int>{0xffff, 0x8080, 0x0101}));
  EXPECT_EQ(prefs.boundary_clr.blue, 0x8080);
  EXPECT_EQ(rgb(prefs.clr_rgb[12]), (std::vector<int>{0x1212, 0x3434, 0x5656}));
}

TEST(PrefsRead, OneCharacterItems) {
  PREFITEMS* list = nullptr;
  char c = 0;
  Create_CPref(&list, "Sep", &c, ':');
  EXPECT_EQ(c, ':');
  Set_Pref(list, "Sep", "xyz");
  EXPECT_EQ(c, 'x');
  char buf[8];
  Format_Pref(list, buf, sizeof buf);
  EXPECT_STREQ(buf, "x");
  Remove_Prefs(list);
}

TEST(PrefsRead, JunkDoesNotBreakTheReader) {
  std::string junk;
  std::mt19937 rng(4711);  // fixed seed
  for (int i = 0; i < 20000; i++) junk.push_back(static_cast<char>(rng() & 0xff));
  // A line far beyond 999 characters whose tail looks like a valid line.
  std::string longline = "Observer_Name = " + std::string(2000, 'n') + "\nFont_size = 7\n";
  std::string hidden = std::string(1200, ' ') + "Font_size = 99\n";
  read_text(junk + "\n" + longline + hidden + std::string("Elev_detect = 3\0junk\n", 21));
  EXPECT_EQ(prefs.font_size, 7) << "the rest of a long line is not read as a line";
  EXPECT_EQ(std::strlen(prefs.observer_name), sizeof prefs.observer_name - 1);
  EXPECT_EQ(prefs.elev_det, 3);
}

TEST(PrefsRead, ClrMapLines) {
  read_text(
      "ClrMap                         = M2 \"METOP\" gamma[1.5] offs[-10,0,3] C1[0.00,0.20,2.00] "
      "C2[1.80,0.80,0.00]\n"
      "ClrMap = M9 \"METOP\" gamma[1.0] offs[0,0,0] C1[1,1,1]\n"
      "ClrMap = M1 \"NOSUCH\" gamma[1.0] offs[0,0,0] C1[1,1,1]\n"
      "ClrMap = M1 \"FY3\" gamma[1.0] offs[0,0,0] C99[1,1,1] C3[0.5,0.5,0.5]\n");
  const CLRMAPCHAN& m = prefs.clrmaps[1][1];
  EXPECT_STREQ(m.satname, "METOP");
  EXPECT_STREQ(m.mapname, "CMap B");
  EXPECT_FLOAT_EQ(m.gamma, 1.5f);
  EXPECT_EQ(m.red_offset, -10);
  EXPECT_EQ(m.blue_offset, 3);
  EXPECT_EQ(m.on[1], 1);
  EXPECT_FLOAT_EQ(m.blue[1], 2.0f);
  EXPECT_FLOAT_EQ(m.red[2], 1.8f);
  EXPECT_EQ(m.on[3], 0);
  EXPECT_EQ(prefs.clrmaps[3][0].on[3], 1) << "a channel out of range is skipped";
  EXPECT_EQ(prefs.clrmaps[1][1].on[0], 0);
  // The load-time copy.
  EXPECT_EQ(std::memcmp(&prefs.clrmaps_loaded, &prefs.clrmaps, sizeof prefs.clrmaps), 0);
  EXPECT_EQ(clrmap_values(&prefs).size(), 2u);
}

}  // namespace
