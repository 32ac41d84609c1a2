// Writing "pava.ini": formats, key order, round trip, failures; finding the
// file at start; copying into the records.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "app/ui_ops.h"
#include "common/text.h"
#include "config/prefs_file.h"
#include "config/prefs_items.h"
#include "config/prefs_keys.h"
#include "display/display_types.h"
#include "formats/picinfo.h"
#include "reception/recordinfo.h"
#include "support/testutil.h"

namespace {

std::vector<std::string> g_messages;
void fake_message(const char* title, const char* text) {
  g_messages.push_back(std::string(title) + "|" + text);
}

// Installs the fake message box for one test.
struct FakeUi {
  FakeUi() {
    g_messages.clear();
    UI_OPS ops{};
    ops.message = fake_message;
    ui_install(&ops);
  }
  ~FakeUi() { ui_install(nullptr); }
};

std::vector<std::string> lines_of(const std::string& text) {
  std::vector<std::string> out;
  std::istringstream in(text);
  std::string l;
  while (std::getline(in, l)) out.push_back(l);
  return out;
}

void read_file(const std::string& f) {
  pava::copy_text(prefs.prefs_file, f);
  Read_Pref(&prefs);
  prefs.prefs_file[0] = 0;
}

// Every item's value as written.
std::vector<std::string> snapshot() {
  std::vector<std::string> out;
  char buf[1100];
  for (PREFITEMS* it = pref_items; it; it = it->next) {
    Format_Pref(it, buf, sizeof buf);
    out.push_back(std::string(it->name) + "=" + buf);
  }
  return out;
}

TEST(PrefsWrite, KeysInTheFileOrder) {
  testutil::TempDir dir;
  Load_Defaults(&prefs);
  std::string f = dir.file("pava.ini");
  ASSERT_EQ(Save_Pref(&prefs, f.c_str()), 0);
  std::vector<std::string> l = lines_of(testutil::read_file(f)), got;
  ASSERT_GE(l.size(), 2u);
  EXPECT_EQ(l[0], "#Preferences pava");
  EXPECT_EQ(l[1], "# pava.ini");
  for (std::size_t i = 2; i < l.size(); i++)
    got.push_back(l[i].substr(0, l[i].find_first_of(" =")));
  std::vector<std::string> expect = pref_keys();
  expect.push_back("Sat_list");
  expect.insert(expect.end(), PREFS_NSATS, "Satellite");
  EXPECT_EQ(got, expect);
}

TEST(PrefsWrite, FormatsAndAlignment) {
  testutil::TempDir dir;
  Load_Defaults(&prefs);
  prefs.rotor.x_west_is_0 = 1;
  prefs.port_type = 77;  // a value without a name
  prefs.clr[0] = 0xab;
  prefs.refpos.lon = static_cast<float>(-90.0 * M_PI / 180);
  std::string f = dir.file("pava.ini");
  ASSERT_EQ(Save_Pref(&prefs, f.c_str()), 0);
  std::string text = testutil::read_file(f);
  // The longest key is 28 characters ("Hrpt_Record_Start_Stop_Times").
  const char* expect[] = {
      "\nFont_size                    = 10\n",
      "\nmain_window_size             = 0x0\n",
      "\nLinearize                    = yes\n",
      "\nX_Dir_0                      = west\n",
      "\nPort_type = 77\n",
      "\nParallel_port_address        = 378\n",
      "\nClr.sat_mark_sel             = 0000ab\n",
      "\nFixed_zoomfactor             = 1.000000\n",
      "\nObserver_Lon                 = -90.0000",  // -pi/2 as a float
      "\nHrpt_Record_Start_Stop_Times = 5,50\n",
      "\nRotortype                    = AzEl\n",
      "\nSatellite                    = \"NOAA 19\" y\n",
      "\neth.ip_addr                  = 192.168.1.70\n",
      "\nusb_id                       = \n",
  };
  for (const char* e : expect) EXPECT_NE(text.find(e), std::string::npos) << e;
}

// Gives every item a value other than its default, in its own kind.
void change_every_item() {
  int k = 0;
  for (PREFITEMS* it = pref_items; it; it = it->next, k++) {
    if (it->type == 't') continue;
    if (it->bval[0]) {
      *it->bval[0] = !*it->bval[0];
    } else if (it->ival[0] && it->enumtbl) {
      *it->ival[0] = it->enumtbl->i[1] == *it->ival[0] ? it->enumtbl->i[0] : it->enumtbl->i[1];
    } else if (it->ival[0]) {
      *it->ival[0] = it->hex_nrdig ? 0x10203 * k : 1000 + k;
      if (it->ival[1]) *it->ival[1] = -k;
    } else if (it->fval[0]) {
      *it->fval[0] = 0.25f * k;
      if (!std::strcmp(it->name, "Shadow_fact")) *it->fval[0] = 0.75f;
      if (!std::strcmp(it->name, "Observer_Lon") || !std::strcmp(it->name, "Observer_Lat"))
        *it->fval[0] = 0.5f;
    } else if (it->sval[0] && !it->sval[1]) {  // Satellite items: below
      std::string v = "value " + std::to_string(k) + std::string(k % 30, 'v');
      pava::copy_text(it->sval[0], it->slen[0], v.c_str());
    }
  }
  // Selections change in memory only, as the tracker's satellite list does.
  for (auto& s : prefs.sats) s.on = !s.on;
}

TEST(PrefsWrite, WrittenFileReadsBackTheSameValues) {
  testutil::TempDir dir;
  Load_Defaults(&prefs);
  std::vector<std::string> defaults = snapshot();
  change_every_item();
  // A stored colour map too.
  CLRMAPCHAN& m = prefs.clrmaps[2][0];
  m.gamma = 1.2f;
  m.red_offset = -10;
  m.on[3] = 1;
  m.red[3] = 0.5f;
  m.green[3] = 1.25f;
  m.blue[3] = 2.0f;
  PREFS before = prefs;
  std::string f = dir.file("pava.ini");
  ASSERT_EQ(Save_Pref(&prefs, f.c_str()), 0);
  std::vector<std::string> changed = snapshot();  // selections as texts after the save
  for (std::size_t i = 0; i < changed.size(); i++)
    if (changed[i].rfind("# pava.ini", 0) && changed[i].rfind("Sat_list", 0)) {
      EXPECT_NE(changed[i], defaults[i]) << "the test leaves an item at its default";
    }
  read_file(f);
  EXPECT_EQ(snapshot(), changed);
  // The snapshot holds every value as text, selections included; colour maps:
  EXPECT_EQ(clrmap_values(&prefs), clrmap_values(&before));
  // Written again, the file is the same byte for byte.
  std::string g = dir.file("again.ini");
  ASSERT_EQ(Save_Pref(&prefs, g.c_str()), 0);
  EXPECT_EQ(testutil::read_file(g), testutil::read_file(f));
  EXPECT_NE(
      testutil::read_file(f).find("\nClrMap                         = M1 \"METEOR\" gamma[1.2] "
                                  "offs[-10,0,0] C3[0.50,1.25,2.00]\n"),
      std::string::npos);
}

TEST(PrefsWrite, UnwritableFileGivesMessageAndKeepsTheOldFile) {
  testutil::TempDir dir;
  FakeUi fake;
  Load_Defaults(&prefs);
  // A name so long that no temporary name fits beside it: fails even for root.
  std::string f = dir.file(std::string(250, 'p'));
  testutil::write_file(f, "old contents\n");
  EXPECT_EQ(Save_Pref(&prefs, f.c_str()), 'o');
  ASSERT_EQ(g_messages.size(), 1u);
  EXPECT_EQ(g_messages[0], "Error|Can't open pref-file " + f + ".");
  EXPECT_EQ(testutil::read_file(f), "old contents\n");

  // No temporary file is left behind.
  auto files = std::filesystem::directory_iterator(dir.path());
  EXPECT_EQ(std::distance(begin(files), end(files)), 1);
}

// Current directory, home directory and program directory, restored after.
class PrefsSearch : public ::testing::Test {
 protected:
  void SetUp() override {
    char buf[4096];
    ASSERT_NE(getcwd(buf, sizeof buf), nullptr);
    old_cwd_ = buf;
    const char* h = std::getenv("HOME");
    had_home_ = h != nullptr;
    if (h) old_home_ = h;
    for (const char* d : {"cur", "home", "prog"}) mkdir(dir_.file(d).c_str(), 0755);
    ASSERT_EQ(chdir(dir_.file("cur").c_str()), 0);
    setenv("HOME", dir_.file("home").c_str(), 1);
  }
  void TearDown() override {
    if (chdir(old_cwd_.c_str()) != 0) ADD_FAILURE() << "chdir back";
    if (had_home_)
      setenv("HOME", old_home_.c_str(), 1);
    else
      unsetenv("HOME");
    Load_Defaults(&prefs);
    prefs.prefs_file[0] = 0;
  }
  testutil::TempDir dir_;
  std::string old_cwd_, old_home_;
  bool had_home_ = false;
};

TEST_F(PrefsSearch, CurrentBeforeHomeBeforeProgramDirectory) {
  const std::string prog = dir_.file("prog") + "/pava";
  struct Row {
    const char* where;
    int font;
  } rows[] = {{"cur", 21}, {"home", 22}, {"prog", 23}};
  for (const Row& r : rows)
    testutil::write_file(dir_.file(r.where) + "/pava.ini",
                         "Font_size = " + std::to_string(r.font) + "\n");
  for (const Row& r : rows) {
    SCOPED_TRACE(r.where);
    EXPECT_EQ(Read_Prefs(prog.c_str()), 1);
    EXPECT_EQ(prefs.font_size, r.font);
    EXPECT_EQ(std::string(prefs.prefs_file), dir_.file(r.where) + "/pava.ini");
    unlink((dir_.file(r.where) + "/pava.ini").c_str());
  }
  EXPECT_EQ(Read_Prefs(prog.c_str()), 1);
  EXPECT_EQ(prefs.font_size, 10) << "no file: the defaults stand";
  EXPECT_STREQ(prefs.prefs_file, "");
  EXPECT_EQ(std::string(prefs.home_dir), dir_.file("home"));
  EXPECT_EQ(std::string(prefs.prog_dir), dir_.file("prog"));
  char buf[4096];
  ASSERT_NE(getcwd(buf, sizeof buf), nullptr);
  EXPECT_EQ(std::string(prefs.cur_dir), buf);
}

TEST_F(PrefsSearch, SaveGoesWhereTheFileWasRead) {
  testutil::write_file(dir_.file("home") + "/pava.ini", "Font_size = 14\n");
  Read_Prefs((dir_.file("prog") + "/pava").c_str());
  prefs.font_size = 15;
  ASSERT_EQ(Save_Prefs(), 0);
  EXPECT_NE(testutil::read_file(dir_.file("home") + "/pava.ini")
                .find("Font_size                    = 15\n"),
            std::string::npos);
  unlink((dir_.file("home") + "/pava.ini").c_str());
  // Without a file, into the current directory.
  Read_Prefs((dir_.file("prog") + "/pava").c_str());
  ASSERT_EQ(Save_Prefs(), 0);
  EXPECT_EQ(access((dir_.file("cur") + "/pava.ini").c_str(), R_OK), 0);
}

TEST(PrefsLoad, CopiesIntoTheRecords) {
  Load_Defaults(&prefs);
  std::string text =
      "Hrpt_File_Dir = /data/hrpt\nMetop_File_Base = mymetop\nHrpt_Record_Start_Stop_Times = 7,70\n"
      "Port_type = ethernet\neth.ip_addr = 10.1.2.3\neth.port_nr = 6000\nuart.speed = 4800\n"
      "Keep_xy_relation = no\nDespeckle_limits = 11,22\nFixed_zoomfactor = 2.5\n"
      "Grid_color = ff0000\nWorking_Dir = /work/pics\nuse_usbid = yes\nusb_id = FT12345\n"
      "Hrpt_Record_Showchan = 40\nrecord.line_insync_thr = 9\n";
  Pref_Text(pref_items, &prefs, text.data(), text.size());
  Pref_Finish(&prefs);
  auto rec = std::make_unique<RECORDINFO>();
  auto view = std::make_unique<VIEWINFO>();
  auto pic = std::make_unique<PICINFO>();
  *rec = RECORDINFO{};
  rec->eth.sock = 5;
  Load_Prefs(rec.get(), view.get(), pic.get());
  // An open link stays open (sock 5); Hrpt_Record_Showchan is clamped to 0..25.
  EXPECT_EQ(std::vector<std::string>({rec->dir_hrpt, rec->file_metopbase, rec->file_hrptext,
                                      rec->usb.usbport_id, rec->eth.ip_addr, rec->work_location,
                                      pic->work_location}),
            std::vector<std::string>({"/data/hrpt", "mymetop", ".dat", "FT12345", "10.1.2.3",
                                      "/work/pics", "/work/pics"}));
  EXPECT_EQ(std::vector<int>({rec->hrpt_start_after_in_sync, rec->hrpt_stop_after_out_sync,
                              rec->port_type, rec->usb.ena, rec->usb.usb_use_id, rec->eth.sock,
                              rec->uart.speed, rec->sh_recchan, rec->line_insync_thr,
                              view->keep_xyrel, view->linearize, view->sur_ulim, view->dsp_llim}),
            std::vector<int>({7, 70, ethernet, 0, 1, 5, 4800, 25, 9, 0, 1, 11, 22}));
  EXPECT_FLOAT_EQ(view->fix_zoomfactor, 2.5f);
  EXPECT_TRUE(view->grid_clr.red == 0xffff && view->grid_clr.green == 0);
  // The default boundary colour ffff00.
  EXPECT_TRUE(view->cont_clr.red == 0xffff && view->cont_clr.blue == 0);
}

}  // namespace
