// Saving pictures: names, geometry, raw round trips, the view burnt into
// images (checked with independent decoders), cancellation and write errors.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cmath>
#include <csignal>
#include <cstring>

#include "common/text.h"
#include "config/prefs.h"
#include "display/chanmap.h"
#include "export/oracle.h"
#include "export/save.h"

using etest::decode_with;
using etest::have_tool;
using testutil::TempDir;

using dtest::FakeUi;
using etest::Opened;

namespace {

std::string recording() {
  return testutil::shared_path("testdata/hrpt/noaa18_hrpt_2012-01-30_30frames.raw16be");
}

bool exists(const std::string& f) {
  struct stat st {};
  return stat(f.c_str(), &st) == 0;
}

}  // namespace

// ---- Names ----

// pic.hrpt with channel text 4 gives pic_c4.ext, then pic_c4_01.ext,
// pic_c4_02.ext; after 1001 names taken it gives up.
TEST(SaveName, ChannelTextAndCounterOnCollision) {
  TempDir d;
  dtest::PicPtr pic(pic_new());
  pava::copy_text(pic->file_name, "/somewhere/pic.hrpt");
  pava::copy_text(pic->work_location, d.path().c_str());
  char out[600];
  for (const char* want : {"pic_c4.ext", "pic_c4_01.ext", "pic_c4_02.ext"}) {
    ASSERT_EQ(create_new_filename2(out, sizeof out, pic.get(), "4", "ext", 0), 1);
    EXPECT_EQ(std::string(out), d.file(want));
    testutil::write_file(out, "x");
  }
  ASSERT_EQ(create_new_filename2(out, sizeof out, pic.get(), "", "ppm", 0), 1);
  EXPECT_EQ(std::string(out), d.file("pic.ppm"));

  for (int k = 3; k <= 1000; k++)
    testutil::write_file(d.file(pava::strprintf("pic_c4_%02d.ext", k)), "");
  EXPECT_EQ(create_new_filename2(out, sizeof out, pic.get(), "4", "ext", 0), 0);
  std::remove(d.file("pic_c4_1000.ext").c_str());
  EXPECT_EQ(create_new_filename2(out, sizeof out, pic.get(), "4", "ext", 0), 1);
  EXPECT_EQ(std::string(out), d.file("pic_c4_1000.ext"));
}

TEST(SaveName, UseSatnameReplacesThePrefixAndBlanks) {
  dtest::PicPtr pic(pic_new());
  PREFS keep = prefs;
  pava::copy_text(prefs.file_hrptbase, "hrpt");
  char out[300];
  // Rows: stored name; satellite; expected result.
  struct Row {
    const char* stored;
    const char* sat;
    const char* want;
  } rows[] = {
      {"hrpt_20230101_1200.hrpt", "NOAA 19", "NOAA-19_20230101_1200.hrpt"},
      // Another family's satellite keeps the name.
      {"hrpt_2023.hrpt", "METOP-B", "hrpt_2023.hrpt"},
  };
  for (const Row& r : rows) {
    pava::copy_text(pic->file_name, r.stored);
    pava::copy_text(pic->sat_name, r.sat);
    convert_satname(pic.get(), out, sizeof out);
    EXPECT_STREQ(out, r.want) << r.stored;
  }
  pava::copy_text(pic->file_name, "hrpt_x.hrpt");
  pava::copy_text(pic->sat_name, "NOAA 19");
  char name[600];
  ASSERT_EQ(create_new_filename2(name, sizeof name, pic.get(), "2", "png", 1, "/nonexistent"), 1);
  EXPECT_STREQ(name, "/nonexistent/NOAA-19_x_c2.png");
  prefs = keep;
}

// ---- Raw round trips on a real recording ----

// Every raw family opens again with the same samples, and the frame headers
// where the family keeps them; multi-channel images give a file a channel.
TEST(SaveRaw, RecordingRoundTripsAndMultiChannel) {
  FakeUi ui;
  TempDir d;
  Opened src;
  ASSERT_EQ(src.open(recording()), 0);
  const int H = src.pic->height;
  ASSERT_GT(H, 20);
  struct Row {
    FILE_TYPE type;
    int lines, hdr_words, width;  // lines compared; header words and pixels kept
  } rows[] = {
      {FT_HRPT, H - 1, 750, 2048},    // the reader keeps the last record empty
      {FT_SEAWIF, H - 1, 685, 1288},  // SeaStar frames
      {FT_MHRPT1, 20, 0, 1540},      {FT_CHRPT, 20, 0, 2048}, {FT_HPT, H, 0, 0},  // compared below
  };
  for (const Row& r : rows) {
    SAVEOPTS o;
    o.type = r.type;
    for (int c = 1; c <= 5; c++) o.channels[c] = 1;
    o.dir = d.path();
    std::vector<std::string> written;
    ASSERT_EQ(save_picture(src.pic, src.view, &o, &written), SAVE_OK);
    ASSERT_EQ(written.size(), 1u);
    Opened back;
    ASSERT_EQ(back.open(written[0]), 0) << written[0];
    EXPECT_EQ(back.pic->file_type, r.type);
    ASSERT_GE(back.pic->height, r.lines) << written[0];
    for (int y = 0; y < r.lines; y++) {
      const XLINE* a = pic_line(src.pic, y);
      const XLINE* b = pic_line(back.pic, y);
      if (r.type == FT_HPT) {
        // HPT lines are read from the first word of each frame: header words
        // first (pixel p, channel c = word c + 5p), the samples 150 pixels on.
        for (int w = 0; w < 750; w++) ASSERT_EQ(b->line[w % 5][w / 5], a->line_hdr[w]) << y;
        for (int c = 0; c < 5; c++)
          for (int p = 0; p + 150 < 2048; p++) ASSERT_EQ(b->line[c][p + 150], a->line[c][p]);
        continue;
      }
      if (r.hdr_words) {
        ASSERT_EQ(std::memcmp(a->line_hdr, b->line_hdr, size_t(r.hdr_words) * 2), 0) << y;
      }
      for (int c = 0; c < 5; c++)
        ASSERT_EQ(std::memcmp(a->line[c], b->line[c], size_t(r.width) * 2), 0)
            << written[0] << " " << y << " " << c;
    }
  }
  // The header of the raw file was rewritten with the lines written.
  bool rewritten = false;
  for (auto& e : ui.entries)
    rewritten |= e.second.find("Rewriting header in") == 0 &&
                 e.second.find("succeeded.") != std::string::npos;
  EXPECT_TRUE(rewritten);

  SAVEOPTS o;
  o.type = FT_PGM1;
  o.channels[2] = o.channels[4] = 1;
  o.multi_channel = 1;
  o.dir = d.path();
  std::vector<std::string> written;
  ASSERT_EQ(save_picture(src.pic, src.view, &o, &written), SAVE_OK);
  ASSERT_EQ(written.size(), 2u);
  EXPECT_NE(written[0].find("_c2.pgm"), std::string::npos);
  EXPECT_NE(written[1].find("_c4.pgm"), std::string::npos);
  EXPECT_NE(testutil::read_file(written[0]), testutil::read_file(written[1]));
}

// ---- The view burnt into images ----

namespace {
// Decoded pixel (r, g, b) of a plain decode (grey repeated).
std::array<int, 3> rgb_at(const etest::Plain& p, int x, int y) {
  if (p.nch == 3) return {p.at(x, y, 0), p.at(x, y, 1), p.at(x, y, 2)};
  return {p.at(x, y), p.at(x, y), p.at(x, y)};
}
}  // namespace

TEST(SaveView, FalseColourViewDecodesToTheDrawnPixels) {
  if (!have_tool("pngtopnm") || !have_tool("giftopnm") || !have_tool("jpegtopnm"))
    GTEST_SKIP() << "netpbm missing";
  FakeUi ui;
  TempDir d;
  Opened src;
  ASSERT_EQ(src.open(recording()), 0);
  src.view->process_data = 1;
  set_std_falseclr(FT_HRPT, &src.view->cmhc);
  src.view->lum_min = 40;
  src.view->lum_max = 900;
  RGBIMAGE shown;
  VIEWINFO v = *src.view;
  draw_pic(src.pic, &v, src.pic->width, src.pic->height, &shown);
  const int W = shown.width, H = shown.height;
  struct Row {
    FILE_TYPE type;
    const char* decoder;
    int mode;  // 0 exact, 1 3-3-2 palette, 2 PSNR
  } rows[] = {{FT_PPM, "cat", 0},
              {FT_PNG, "pngtopnm", 0},
              {FT_GIF, "giftopnm", 1},
              {FT_JPEG, "jpegtopnm", 2}};
  for (const Row& r : rows) {
    SAVEOPTS o;
    o.type = r.type;
    o.channels[1] = o.channels[2] = 1;
    o.dir = d.path();
    std::vector<std::string> written;
    ASSERT_EQ(save_picture(src.pic, src.view, &o, &written), SAVE_OK) << r.type;
    auto p = decode_with(r.decoder, written[0]);
    ASSERT_TRUE(p.ok) << written[0];
    ASSERT_EQ(p.width, W);
    ASSERT_EQ(p.height, H);
    double se = 0;
    for (int y = 0; y < H; y++)
      for (int x = 0; x < W; x++) {
        const uint8_t* s = &shown.rgb[(size_t(y) * size_t(W) + size_t(x)) * 3];
        auto got = rgb_at(p, x, y);
        if (r.mode == 0) {
          ASSERT_EQ(got, (std::array<int, 3>{s[0], s[1], s[2]}))
              << written[0] << " " << x << "," << y;
        } else if (r.mode == 1) {
          const int i = save_index332(s[0], s[1], s[2]);
          std::array<int, 3> want{((i >> 5) & 7) * 255 / 7, ((i >> 2) & 7) * 255 / 7,
                                  (i & 3) * 255 / 3};
          ASSERT_EQ(got, want) << x << "," << y;
        } else {
          for (int c = 0; c < 3; c++) se += (got[size_t(c)] - s[c]) * (got[size_t(c)] - s[c]);
        }
      }
    if (r.mode == 2) {
      double psnr = 10 * std::log10(255.0 * 255 / (se / (W * H * 3.0)));
      EXPECT_GT(psnr, 30.0);
    }
  }
}

// A 10-bit grey picture saved as PGM (maximum 1023, decoded by netpbm) and
// PNG keeps its 10 bits; shifted to 8 bits, PNG is 8-bit grey through the
// luminance table.
TEST(SaveView, GreyPgmAndPngOfTenAndEightBits) {
  FakeUi ui;
  TempDir d;
  auto pic = dtest::make_picture(
      40, 6, 2, [](int ch, int x, int y) { return (ch * 300 + x * 20 + y) % 1024; });
  pic->depth = 10;
  pic->file_type = FT_HRPT;
  std::unique_ptr<VIEWINFO> view(dtest::make_view());
  view->chan_selected = 2;
  const std::pair<FILE_TYPE, int> rows[] = {{FT_PGM, 0}, {FT_PNG, 0}, {FT_PNG, -2}};
  for (auto [t, shift] : rows) {
    SAVEOPTS o;
    o.type = t;
    o.channels[2] = 1;
    o.bitshift = shift;
    o.dir = d.path();
    std::vector<std::string> written;
    ASSERT_EQ(save_picture(pic.get(), view.get(), &o, &written), SAVE_OK);
    auto p = decode_with(t == FT_PGM ? "cat" : "pngtopnm", written[0]);
    ASSERT_TRUE(p.ok);
    EXPECT_TRUE(t != FT_PGM || p.maxval == 1023) << p.maxval;  // two bytes a sample, high first
    for (int y = 0; y < 6; y++)
      for (int x = 0; x < 40; x++) {
        // Window 0..1023; the view's last column shows nothing (the screen
        // map ends there), so the file has it black. pngtopnm follows the
        // sBIT chunk (maxval 1023), else the top ten of 16 bits are the value.
        const int v = (600 + x * 20 + y) % 1024;
        int want = x == 39 ? 0 : shift ? std::min(255, v * 256 / 1023) : v;
        int got = p.maxval == 65535 ? p.at(x, y) >> 6 : p.at(x, y);
        ASSERT_EQ(got, want) << written[0] << " " << x << "," << y;
      }
  }
}

TEST(SaveView, FiveDegreeGridAndCoastAreBurntIn) {
  FakeUi ui;
  TempDir d;
  auto pic = dtest::make_picture(20, 10, 1, [](int, int, int) { return 512; });
  std::unique_ptr<VIEWINFO> view(dtest::make_view());
  view->grid_clr = RGBCLR{0xffff, 0, 0};
  view->cont_clr = RGBCLR{0, 0xffff, 0};
  // Grid bits in olmask: 4 at column 3 (a 5-degree line), 2 only at column 7.
  for (XLINE* l = pic->xline; l; l = l->next) {
    l->olmask[3] = 1 | 2 | 4;
    l->olmask[7] = 1 | 2;
  }
  pic->ovlinfo.ovlarr.assign(200, 0);
  pic->ovlinfo.ovlarr[5 * 20 + 12] = 1;  // coast at (12, 5)
  SAVEOPTS o;
  o.type = FT_PPM;
  o.channels[1] = 1;
  o.grid = o.coast = 1;
  o.new_name = d.file("g.ppm");
  ASSERT_EQ(save_picture(pic.get(), view.get(), &o), SAVE_OK);
  auto p = decode_with("cat", d.file("g.ppm"));
  ASSERT_TRUE(p.ok);
  EXPECT_EQ(rgb_at(p, 3, 4), (std::array<int, 3>{255, 0, 0}));
  EXPECT_EQ(rgb_at(p, 7, 4), (std::array<int, 3>{128, 128, 128}));  // not a 5-degree line
  EXPECT_EQ(rgb_at(p, 12, 5), (std::array<int, 3>{0, 255, 0}));
  EXPECT_EQ(rgb_at(p, 12, 6), (std::array<int, 3>{128, 128, 128}));
}

// ---- Failures and cancellation ----

TEST(SaveFailures, NoChannelsUnwritableDirectoryAndDeclinedOverwrite) {
  FakeUi ui;
  TempDir d;
  auto pic = dtest::make_picture(8, 4, 1, [](int, int x, int) { return x; });
  std::unique_ptr<VIEWINFO> view(dtest::make_view());
  SAVEOPTS o;
  o.type = FT_PPM;
  o.dir = d.path();
  EXPECT_EQ(save_picture(pic.get(), view.get(), &o), SAVE_NO_CHANNELS);
  ASSERT_EQ(ui.msgs.back(),
            (std::pair<std::string, std::string>{"Error", "No channels selected."}));
  o.channels[1] = 1;
  o.new_name = d.path() + "/missing/x.ppm";
  EXPECT_EQ(save_picture(pic.get(), view.get(), &o), SAVE_CANT_OPEN);
  EXPECT_EQ(ui.msgs.back().second, "Can't open file " + o.new_name + ".");
  // An existing typed name: the question is asked, "no" keeps the file.
  o.new_name = d.file("old.ppm");
  testutil::write_file(o.new_name, "keep");
  EXPECT_EQ(save_picture(pic.get(), view.get(), &o), SAVE_DECLINED);
  EXPECT_EQ(testutil::read_file(o.new_name), "keep");
}

TEST(SaveFailures, CancelledSaveKeepsAValidShorterFile) {
  FakeUi ui;
  TempDir d;
  auto pic = dtest::make_picture(16, 120, 1, [](int, int x, int y) { return (x + y) % 256; });
  std::unique_ptr<VIEWINFO> view(dtest::make_view());
  // PPM/PGM, SUN, GIF and raw files keep the lines written (their headers
  // rewritten); JPEG and PNG are completed with black lines.
  for (FILE_TYPE t : {FT_PGM1, FT_PNG, FT_HRPT, FT_GIF, FT_SUN}) {
    ui.cancel_after = 10;
    ui.progress_calls = 0;
    SAVEOPTS o;
    o.type = t;
    o.channels[1] = 1;
    o.dir = d.path();
    std::vector<std::string> written;
    ASSERT_EQ(save_picture(pic.get(), view.get(), &o, &written), SAVE_CANCELLED) << t;
    ASSERT_EQ(written.size(), 1u);
    EXPECT_EQ(ui.msgs.back().first, "Info");
    EXPECT_EQ(ui.msgs.back().second, "Cancelled; 10 of 120 lines saved in " + written[0] + ".");
    EXPECT_FALSE(exists(written[0] + ".part"));
    Opened back;
    if (t == FT_PNG) {
      auto p = decode_with("pngtopnm", written[0]);
      ASSERT_TRUE(p.ok);
      EXPECT_EQ(p.height, 120);
    } else {
      ASSERT_EQ(back.open(written[0]), 0) << written[0];
      EXPECT_EQ(back.pic->height, 10);
      if (t == FT_GIF) {
        auto p = decode_with("giftopnm", written[0]);
        ASSERT_TRUE(p.ok);
        EXPECT_EQ(p.height, 10);
      }
    }
  }
}

TEST(SaveFailures, FullDiskLeavesNoFileAndReportsIt) {
  TempDir d;
  std::string target = d.file("full.ppm");
  pid_t pid = fork();
  ASSERT_GE(pid, 0);
  if (pid == 0) {
    // The child gets a tiny file size limit; writes beyond it fail (EFBIG).
    std::signal(SIGXFSZ, SIG_IGN);
    struct rlimit rl {
      4096, 4096
    };
    setrlimit(RLIMIT_FSIZE, &rl);
    FakeUi ui;
    auto pic = dtest::make_picture(200, 100, 1, [](int, int x, int y) { return (x * y) % 1024; });
    std::unique_ptr<VIEWINFO> view(dtest::make_view());
    SAVEOPTS o;
    o.type = FT_PPM;
    o.channels[1] = 1;
    o.new_name = target;
    int s = save_picture(pic.get(), view.get(), &o);
    bool msg = !ui.msgs.empty() && ui.msgs.back().first == "Error" &&
               ui.msgs.back().second.find("Write error in " + target) == 0;
    _exit(s == SAVE_WRITE_ERR && msg ? 0 : 1);
  }
  int st = 0;
  waitpid(pid, &st, 0);
  ASSERT_TRUE(WIFEXITED(st));
  EXPECT_EQ(WEXITSTATUS(st), 0);
  EXPECT_FALSE(exists(target));
  EXPECT_FALSE(exists(target + ".part"));
}

// ---- pava-cli export ----

// The recording's types and bad arguments; a zoom of 2 halves the saved width
// and height; a 10-bit channel as PGM has maximum 1023.
TEST(CliExport, TypesOfARecordingAndBadArguments) {
  TempDir d;
  const std::string cli = testutil::bin_path("pava-cli");
  Opened src;
  ASSERT_EQ(src.open(recording()), 0);
  const int W = src.pic->width, H = src.pic->height;
  // Rows: output name ("" for the directory); arguments; exit status; decoded size and maximum.
  struct Row {
    std::string out;
    std::vector<std::string> args;
    int status, w, h, maxval;
  } rows[] = {
      {"x.pgm", {"--type", "pgm", "--channel", "4", "--bitshift", "0"}, 0, W, H, 1023},
      {"z.gif", {"--type", "gif", "--zoom", "2"}, 0, W / 2, H / 2, 255},
      {"", {"--type", "tiff"}, 1, 0, 0, 0},
      {"", {"--type", "ppm", "--channel", "9"}, 1, 0, 0, 0},
  };
  for (const Row& r : rows) {
    const std::string out = r.out.empty() ? d.path() : d.file(r.out);
    std::vector<std::string> argv{cli, "export", recording(), "-o", out};
    argv.insert(argv.end(), r.args.begin(), r.args.end());
    auto res = testutil::run(argv);
    EXPECT_EQ(res.status, r.status) << r.args[1] << res.err;
    EXPECT_TRUE(r.status || res.out.find("\"file\"") != std::string::npos) << res.out;
    if (r.out.empty()) continue;
    auto p = decode_with(r.out[0] == 'z' ? "giftopnm" : "cat", out);
    ASSERT_TRUE(p.ok) << out;
    EXPECT_EQ(std::vector<int>({p.width, p.height, p.maxval}),
              std::vector<int>({r.w, r.h, r.maxval}));
  }
  auto res = testutil::run(
      {cli, "export", recording(), "-o", d.path() + "/no/dir/x.png", "--type", "png"});
  EXPECT_NE(res.status, 0);
  EXPECT_NE(res.err.find("Can't open file"), std::string::npos) << res.err;
}
