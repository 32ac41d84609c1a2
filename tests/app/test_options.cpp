// The command line of pava: option effects and the messages and exit
// statuses of the parser, through the real parser and the real program.
#include <gmock/gmock.h>
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

testutil::RunResult pava(std::vector<std::string> args) {
  args.insert(args.begin(), testutil::bin_path("pava"));
  // No display: the program must do without one for everything tested here.
  return testutil::run(args, "", {"DISPLAY="});
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

TEST(Options, TypeWords) {
  const struct {
    const char* word;
    FILE_TYPE type;
  } rows[] = {{"m1", FT_MHRPT1}, {"m2", FT_MHRPT2},       {"mp", FT_METOP},       {"aqua", FT_AQUA},
              {"fy3", FT_FY3},   {"qnoaa20", FT_QNOAA20}, {"qnoaa21", FT_QNOAA21}};
  for (const auto& row : rows) {
    Records r;
    parse(r, {"-t", row.word});
    EXPECT_EQ(r.pic->file_type, row.type) << row.word;
  }
}

TEST(Options, ParserExitsAndMessages) {
  Records r;
  // Each row: words, exit status, text expected on standard error.
  const struct {
    std::vector<std::string> words;
    int status;
    const char* err;
  } rows[] = {
      {{"-w"}, 0, "Error: Missing option for -w \n"},
      {{"-t", "xyz"}, 0, "Error: Wrong or incomplete option '-t' \n"},
      {{"-log", "pic.gif"}, 0, "Error: Wrong or incomplete option '-log' \n"},
      {{"-nosuch"}, 0, "Error: Wrong or incomplete option '-nosuch' \n"},
      {{"-record", "-log"}, 0, "Error: Missing option for -record \n"},
      {{"-V"}, 0, "* Version: 2023.3\n"},
      {{"-record", "hrpt:12345678"},
       1,
       "Error: Option -record: value too long (at most 9 characters).\n"},
  };
  for (const auto& row : rows) {
    EXPECT_EXIT(parse(r, row.words), testing::ExitedWithCode(row.status),
                testing::HasSubstr(row.err));
  }
}

TEST(Options, HelpListing) {
  Records r;
  EXPECT_EXIT(
      parse(r, {"-H"}), testing::ExitedWithCode(0),
      testing::AllOf(
          testing::HasSubstr("* Release: 2023.3\n"), testing::HasSubstr("    -record <chan>"),
          testing::HasSubstr("record one time "),
          testing::HasSubstr("         pava -record hrpt:a      record HRPT, all channels\n")));
}

TEST(PavaProgram, WithoutDisplay) {
  auto v = pava({"-V"});
  EXPECT_EQ(v.status, 0);
  EXPECT_EQ(v.err, "* Version: 2023.3\n");

  auto h = pava({"-H"});
  EXPECT_EQ(h.status, 0);
  EXPECT_EQ(h.out, "  Options:\n  \n  options for selecting (wild-cards allowed)s:\n");
  EXPECT_NE(
      h.err.find(std::string(62, '*') + "\n* Weather satellite program for HRPT/CHRPT/HRI.\n"),
      std::string::npos);
  EXPECT_NE(h.err.find("the Pava developers\n*" + std::string(61, '-') + "\n"), std::string::npos);
  for (const char* opt :
       {"-H", "--help", "-V", "-i <file>", "-w <width>", "-h <height>", "-sn", "-t <type>",
        "-record <chan>", "-crecord <chan>", "-batch <chan>", "-cbatch <chan>", "-log",
        "-pr_vcid <ofile>", "-ts", "-plottrack", "-sim <ifile>", "-log_rs <logfile>"}) {
    EXPECT_NE(h.err.find(std::string("    ") + opt + " "), std::string::npos) << opt;
  }

  auto w = pava({"-w"});
  EXPECT_EQ(w.status, 0);
  EXPECT_EQ(w.err, "Error: Missing option for -w \n");

  auto b = pava({"-batch", "hrpt:a"});
  EXPECT_EQ(b.status, 0);
  EXPECT_EQ(b.err, "");

  auto longname = pava({"-i", std::string(300, 'a')});
  EXPECT_EQ(longname.status, 1);
  EXPECT_EQ(longname.err, "Error: Option -i: value too long (at most 199 characters).\n");

  auto sim = pava({"-sim", "/nonexistent/file"});
  EXPECT_EQ(sim.status, 0);
  EXPECT_EQ(sim.out, "'/nonexistent/file' doesn't exist.\n");
  EXPECT_EQ(sim.err, "Error: Missing option for -sim \n");

  auto vcid = pava({"-pr_vcid", "/nonexistent/file"});
  EXPECT_EQ(vcid.out, "No file /nonexistent/file\n");
  EXPECT_EQ(vcid.err, "Error: Missing option for -pr_vcid \n");
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
  auto snpp = pava(
      {"-pr_vcid", testutil::shared_path("testdata/ccsds/snpp_synchronized_cadus_2016-02-10.dat")});
  EXPECT_NE(snpp.out.find("scid=157\nVCID 16:    65 frames\n"), std::string::npos) << snpp.out;
}

TEST(PavaProgram, FileErrorsAtStart) {
  testutil::TempDir dir;
  auto unknown =
      testutil::run({testutil::bin_path("pava"), "nosuch.dat"}, dir.path(), {"DISPLAY="});
  EXPECT_EQ(unknown.status, 1);
  EXPECT_EQ(unknown.err, "ERROR: nosuch.dat is unknown file type.\n");
  auto hpt = testutil::run({testutil::bin_path("pava"), "nosuch.hpt"}, dir.path(), {"DISPLAY="});
  EXPECT_EQ(hpt.status, 1);
  EXPECT_EQ(hpt.err, "ERROR: Can't open nosuch.hpt\n");
  // A window is needed and there is no display.
  auto plain = testutil::run({testutil::bin_path("pava")}, dir.path(), {"DISPLAY="});
  EXPECT_EQ(plain.status, 1);
  EXPECT_EQ(plain.err, "Error: can't open display.\n");
}

}  // namespace
