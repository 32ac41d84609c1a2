// The command line of pava: option effects on the records, and the messages
// and exit statuses of the real program without a display.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "app/core/options.h"
#include "config/prefs.h"
#include "formats/picinfo.h"
#include "reception/recordinfo.h"
#include "support/testutil.h"

namespace {

struct Records {
  std::unique_ptr<PICINFO> pic = std::make_unique<PICINFO>();
  std::unique_ptr<VIEWINFO> view = std::make_unique<VIEWINFO>();
  std::unique_ptr<RECORDINFO> rec = std::make_unique<RECORDINFO>();
};

void parse(Records& r, std::vector<std::string> words) {
  words.insert(words.begin(), "pava");
  std::vector<char*> argv;
  for (auto& w : words) argv.push_back(&w[0]);
  do_options(int(argv.size()), argv.data(), r.pic.get(), r.view.get(), r.rec.get());
}

// No display: the program must do without one for everything tested here.
testutil::RunResult pava(std::vector<std::string> args, const std::string& cwd = "") {
  args.insert(args.begin(), testutil::bin_path("pava"));
  return testutil::run(args, cwd, {"DISPLAY="});
}

TEST(Options, EffectsOnTheRecords) {
  Records r;
  prefs.main_wnd_w = prefs.main_wnd_h = 0;
  prefs.log = 0;
  parse(r, {"-w", "640", "-h", "480", "-sn", "-t", "fy3", "-record", "hrpt:124", "-log", "-log_rs",
            std::string(60, 'x')});
  EXPECT_EQ(prefs.main_wnd_w, 640);
  EXPECT_EQ(prefs.main_wnd_h, 480);
  EXPECT_EQ(r.view->scan_ver, S_N);
  EXPECT_EQ(r.pic->file_type, FT_FY3);
  EXPECT_STREQ(r.rec->rec_chan, "hrpt:124");
  EXPECT_EQ(r.rec->one_record, 1);
  EXPECT_EQ(r.rec->batch_mode, 0);
  EXPECT_EQ(prefs.log, 1);
  EXPECT_EQ(std::string(r.rec->fndrs), std::string(49, 'x'));  // cut at 49, no error

  Records c;
  parse(c, {"-cbatch", "hrpt:a", "-i", "pic.hpt"});
  EXPECT_EQ(c.rec->one_record, 0);
  EXPECT_EQ(c.rec->batch_mode, 1);
  EXPECT_STREQ(c.pic->file_name, "pic.hpt");
}

TEST(PavaProgram, MessagesAndStatuses) {
  testutil::TempDir dir;
  const struct {
    std::vector<std::string> args;
    int status;
    std::string out, err;
  } rows[] = {
      {{"-V"}, 0, "", "* Version: 2023.3\n"},
      {{"-w"}, 0, "", "Error: Missing option for -w \n"},
      {{"-t", "xyz"}, 0, "", "Error: Wrong or incomplete option '-t' \n"},
      {{"-log", "pic.gif"}, 0, "", "Error: Wrong or incomplete option '-log' \n"},
      {{"-nosuch"}, 0, "", "Error: Wrong or incomplete option '-nosuch' \n"},
      // An option word is not a value.
      {{"-record", "-log"}, 0, "", "Error: Missing option for -record \n"},
      // Text values longer than their fields are refused, never cut or copied.
      {{"-record", "hrpt:12345678"},
       1,
       "",
       "Error: Option -record: value too long (at most 9 characters).\n"},
      {{"-i", std::string(300, 'a')},
       1,
       "",
       "Error: Option -i: value too long (at most 199 characters).\n"},
      {{"-batch", "hrpt:a"}, 0, "", ""},  // needs no window
      {{"-sim", "/nonexistent/file"},
       0,
       "'/nonexistent/file' doesn't exist.\n",
       "Error: Missing option for -sim \n"},
      {{"-pr_vcid", "/nonexistent/file"},
       0,
       "No file /nonexistent/file\n",
       "Error: Missing option for -pr_vcid \n"},
      // Start-up reporting of a file that can't be opened (more in test_pava_open_errors.sh).
      {{"nosuch.dat"}, 1, "", "ERROR: nosuch.dat is unknown file type.\n"},
      {{}, 1, "", "Error: can't open display.\n"},  // a window is needed
  };
  for (const auto& row : rows) {
    testutil::RunResult r = pava(row.args, dir.path());
    std::string cmd;
    for (const auto& a : row.args) cmd += " " + a.substr(0, 20);
    EXPECT_EQ(r.status, row.status) << cmd;
    EXPECT_EQ(r.out, row.out) << cmd;
    EXPECT_EQ(r.err, row.err) << cmd;
  }

  auto h = pava({"-H"});
  EXPECT_EQ(h.status, 0);
  EXPECT_EQ(h.out, "  Options:\n  \n  options for selecting (wild-cards allowed)s:\n");
  for (std::string s :
       {std::string(62, '*') + "\n* Weather satellite program for HRPT/CHRPT/HRI.\n",
        "the Pava developers\n*" + std::string(61, '-') + "\n", std::string("* Release: 2023.3\n"),
        std::string("record one time "),
        std::string("         pava -record hrpt:a      record HRPT, all channels\n")})
    EXPECT_NE(h.err.find(s), std::string::npos) << s;
  for (const char* opt :
       {"-H", "--help", "-V", "-i <file>", "-w <width>", "-h <height>", "-sn", "-t <type>",
        "-record <chan>", "-crecord <chan>", "-batch <chan>", "-cbatch <chan>", "-log",
        "-pr_vcid <ofile>", "-ts", "-plottrack", "-sim <ifile>", "-log_rs <logfile>"}) {
    EXPECT_NE(h.err.find(std::string("    ") + opt + " "), std::string::npos) << opt;
  }
}

TEST(PavaProgram, PrintVcidStatisticsThenTheOptionMessage) {
  // Printing is the whole job of -pr_vcid: the statistics, then the parser's
  // wrong-option message and status 0.
  auto r = pava({"-pr_vcid", testutil::shared_path("testdata/ccsds/snpp_7cadus_2vcids.dat")});
  EXPECT_EQ(r.status, 0);
  // Seven frames: no identifier came more than ten times in a row.
  EXPECT_NE(r.out.find("scid=0\n"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("VCID  6:     4 frames"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("VCID 16:     3 frames"), std::string::npos) << r.out;
  EXPECT_EQ(r.err, "Error: Wrong or incomplete option '-pr_vcid' \n");
}

}  // namespace
