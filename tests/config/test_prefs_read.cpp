// Parsing of preference lines and files: kinds of values, comments, junk.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>
#include <string>
#include <utility>
#include <vector>

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

// The value of key as the file would write it.
std::string written(const char* key) {
  char buf[1100] = "";
  for (const PREFITEMS* it = pref_items; it; it = it->next)
    if (!std::strcmp(it->name, key)) Format_Pref(it, buf, sizeof buf);
  return buf;
}

TEST(PrefsRead, ValueKindsAndLineSyntax) {
  struct {
    const char* text;
    const char* key;
    const char* expect;  // as written back
  } rows[] = {
      // Booleans: only y..., on... and 1... count (all default to off).
      {"Sunshadow = on", "Sunshadow", "yes"},
      {"Sunshadow = 1", "Sunshadow", "yes"},
      {"Sunshadow = yoghurt", "Sunshadow", "yes"},             // anything beginning with y
      {"Sunshadow = 1\nSunshadow = true", "Sunshadow", "no"},  // true is not one of them
      {"Sunshadow = 1\nSunshadow = Yes", "Sunshadow", "no"},   // case matters
      {"Sunshadow = 1\nSunshadow =", "Sunshadow", "no"},       // empty value
      {"X_Dir_0 = west", "X_Dir_0", "west"},                   // X zero to the west
      {"X_Dir_0 = west\nX_Dir_0 = yes", "X_Dir_0", "east"},    // only west counts here
      {"Y_Dir_0 = south", "Y_Dir_0", "south"},                 // Y zero to the south
      // Line syntax; the default font size is 10.
      {"Font_size = 12 # comment", "Font_size", "12"},  // comment after the value
      {"Font_size=13", "Font_size", "13"},              // no blanks around =
      {"Font_size\t=\t14\t\t", "Font_size", "14"},      // tabs around the value
      {"   Font_size = 15", "Font_size", "15"},         // blanks before the key
      {"Font_size = 16\r", "Font_size", "16"},          // carriage return
      {"Font_size = 17#x", "Font_size", "17"},          // comment right after the value
      {"#Font_size = 18", "Font_size", "10"},           // a commented-out line
      {"Font_size 19", "Font_size", "10"},              // no = sign
      {"Font_sizes = 20", "Font_size", "10"},           // unknown key (longer)
      {"font_size = 21", "Font_size", "10"},            // keys are case sensitive
      {"Font_size = abc", "Font_size", "0"},            // a bad number becomes 0
      {"Font_size = ", "Font_size", "0"},               // an empty value becomes 0
      {"Font_size = 99999999999999999999", "Font_size", "2147483647"},  // clamped
      {"Font_size = 22 23", "Font_size", "22"},               // parsed as far as the number goes
      {"= 24", "Font_size", "10"},                            // no key
      {"Font_size = 25\nFont_size = 26", "Font_size", "26"},  // the last line wins
      {"NoSuchKey = 5\nFont_size = 11\nAnother.unknown = yes", "Font_size", "11"},
      // Enumerations: an unknown name (or a number) leaves the field as it was.
      {"Port_type = ethernet\nPort_type = serial", "Port_type", "ethernet"},
      // Hexadecimal.
      {"Clr.raster = FF8000", "Clr.raster", "ff8000"},             // upper case
      {"Clr.raster = 0x00ff00", "Clr.raster", "00ff00"},           // with 0x
      {"Clr.raster = 10", "Clr.raster", "000010"},                 // digits only: still base 16
      {"Clr.raster = zz", "Clr.raster", "000000"},                 // not a number
      {"Clr.raster = 123456789abcdef", "Clr.raster", "ffffffff"},  // clamped to 32 bits
      // Pairs with separators.
      {"main_window_size = 800x600", "main_window_size", "800x600"},
      {"main_window_size = 800 x 600", "main_window_size", "800x600"},  // blanks around x
      {"main_window_size = 800,600", "main_window_size", "800x0"},      // wrong separator
      {"main_window_size = 800", "main_window_size", "800x0"},          // only the first
      {"main_window_position = -10,20", "main_window_position", "-10,20"},
      {"Despeckle_limits = 30,400", "Despeckle_limits", "30,400"},
  };
  for (const auto& r : rows) {
    SCOPED_TRACE(r.text);
    read_text(r.text);
    EXPECT_EQ(written(r.key), r.expect);
  }
  // The keys reach their own fields.
  read_text(
      "Sunshadow = on\nX_Dir_0 = west\nY_Dir_0 = south\nFont_size = 12\nClr.raster = ff8000\n"
      "main_window_size = 800x600\nmain_window_position = -10,20\nDespeckle_limits = 30,400\n"
      "Port_type = ethernet\nRotortype = XY\nHrpt_Record_Scandirection = S_N\n");
  EXPECT_EQ(
      std::vector<int>({prefs.sunshadow, prefs.rotor.x_west_is_0, prefs.rotor.y_south_is_0,
                        prefs.font_size, prefs.clr[11], prefs.main_wnd_w, prefs.main_wnd_h,
                        prefs.main_wnd_x, prefs.main_wnd_y, prefs.sur_ulim, prefs.dsp_llim,
                        prefs.port_type, prefs.rotor.use_xy, prefs.hrpt_scandir}),
      std::vector<int>({1, 1, 1, 12, 0xff8000, 800, 600, -10, 20, 30, 400, ethernet, 1, S_N}));
  EXPECT_EQ(Set_Pref(pref_items, "NoSuchKey", "5"), 0);
  EXPECT_EQ(Set_Pref(pref_items, "Font_size", "5"), 1);
  EXPECT_EQ(Set_Pref(pref_items, "Sat_list", "5"), 0);  // a title line is not a key
}

TEST(PrefsRead, FloatsLimitedAndBadNumbers) {
  // Observer angles: written as degrees in FormatsAndAlignment, read back below.
  read_text("Observer_Alt = 0.25\nShadow_fact = 3.5\nFixed_zoomfactor = 1e999\nrecord.zx = nan\n");
  EXPECT_FLOAT_EQ(prefs.refpos.alt, 0.25f);
  EXPECT_FLOAT_EQ(prefs.shadow_fact, 1.0f) << "limited to at most 1.0";
  EXPECT_EQ(prefs.fix_zoomfactor, 0.0f) << "an infinite number is a bad number";
  EXPECT_EQ(prefs.rec_zx, 0.0f) << "not a number is a bad number";
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
  read_text("Grid_color = ff8001\nClr.number = 123456\n");
  auto rgb = [](const auto& c) { return std::vector<int>{c.red, c.green, c.blue}; };
  EXPECT_EQ(rgb(prefs.grid_clr), (std::vector<int>{0xffff, 0x8080, 0x0101}));
  EXPECT_EQ(rgb(prefs.clr_rgb[12]), (std::vector<int>{0x1212, 0x3434, 0x5656}));
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
  // gamma, offsets, channel 1 on with its blue weight, channel 2's red, channel 3 off.
  EXPECT_EQ(std::vector<float>({m.gamma, float(m.red_offset), float(m.blue_offset), float(m.on[1]),
                                m.blue[1], m.red[2], float(m.on[3])}),
            std::vector<float>({1.5f, -10, 3, 1, 2.0f, 1.8f, 0}));
  EXPECT_EQ(prefs.clrmaps[3][0].on[3], 1) << "a channel out of range is skipped";
  EXPECT_EQ(prefs.clrmaps[1][1].on[0], 0);
  // The load-time copy.
  EXPECT_EQ(std::memcmp(&prefs.clrmaps_loaded, &prefs.clrmaps, sizeof prefs.clrmaps), 0);
}

}  // namespace
