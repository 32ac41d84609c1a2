// Synthetic passes with bit errors at 1e-4 streamed by the board emulator,
// taken in through the USB link and written as the recorder does, then opened:
// after Reed-Solomon the CCSDS pictures equal the clean pass; an HRPT picture
// has no more damage than the errors explain.
#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <string>

#include "ccsds/cadu.h"
#include "ccsds/qpsk_files.h"
#include "formats/framehdr.h"
#include "formats/hrptfile.h"
#include "formats/openfile.h"
#include "reception/board_fixture.h"
#include "sim/sim.h"
#include "support/testutil.h"

namespace {

using PicPtr = std::unique_ptr<PICINFO, void (*)(PICINFO*)>;

PicPtr open_pic(const std::string& path, bool reed_solomon) {
  PicPtr pic(pic_new(), [](PICINFO* p) {
    close_picfile(p);
    pic_delete(p);
  });
  std::snprintf(pic->file_name, sizeof pic->file_name, "%s", path.c_str());
  VIEWINFO view{};
  view.reed_solomon = reed_solomon ? 1 : 0;
  EXPECT_EQ(open_file(pic.get(), &view, nullptr, 0), 0) << path;
  return pic;
}

void synth(int format, const char* sat, double bit_errors, const std::string& out) {
  SIM_REQUEST r;
  r.sat = sat;
  r.tle_path = testutil::source_path("data/weather.txt");
  r.coast_path = testutil::source_path("data/gshhs_c.b");
  r.start.tm_year = 120, r.start.tm_mon = 9, r.start.tm_mday = 26;
  r.start.tm_hour = 7, r.start.tm_min = 26, r.start.tm_sec = 30;
  r.seconds = 30;
  r.format = format;
  r.seed = 3;
  r.bit_errors = bit_errors;
  auto pass = std::make_unique<SIM_PASS>();
  std::string err;
  ASSERT_EQ(sim_prepare(r, pass.get(), &err), 0) << err;
  ASSERT_EQ(sim_write(*pass, out.c_str(), &err), 0) << err;
}

// Samples of the two pictures that differ, and lines in which more than 1 %
// of the samples differ; -1 when the pictures do not even have the same size.
struct Diff {
  long samples = 0;
  int lines = 0;
};
Diff compare(const PICINFO* a, const PICINFO* b) {
  Diff d;
  if (pic_line_count(a) != pic_line_count(b)) return Diff{-1, -1};
  for (int i = 0; i < pic_line_count(a); i++) {
    const XLINE *x = pic_line(a, i), *y = pic_line(b, i);
    long n = 0;
    for (int c = 0; c < x->nrchan && c < y->nrchan; c++)
      for (int p = 0; p < x->width; p++) n += x->line[c][p] != y->line[c][p];
    d.samples += n;
    if (n * 100 > long(x->nrchan) * x->width) d.lines++;
  }
  return d;
}

}  // namespace

class SimBoard : public boardtest::BoardTest {
 protected:
  // Takes n frames through the link into path as the recorder does: the
  // header block, then each frame by write_frame.
  void record(const std::string& path, const std::string& head, size_t n, PICINFO* w,
              int (*write_frame)(PICINFO*, const uint16_t*)) {
    w->fp = std::fopen(path.c_str(), "wb");
    ASSERT_NE(w->fp, nullptr);
    std::fwrite(head.data(), 1, head.size(), w->fp);
    std::vector<uint16_t> frame(size_t(w->fri.words_per_frame));
    size_t k = 0;
    for (; k < n && usb_get_hrpt_frame(frame.data(), rec.get()) == 1; k++)
      write_frame(w, frame.data());
    std::fclose(w->fp);
    w->fp = nullptr;
    EXPECT_EQ(k, n) << "a frame out of sync or lost";
  }
};

// Metop (mode 4, six-bit codes) and FY-3 VIRR: every unit passes the link,
// and Reed-Solomon on reading removes every error.
TEST_F(SimBoard, CcsdsPassWithErrorsEqualsCleanAfterReedSolomon) {
  struct Row {
    int format;
    const char* sat;
    int mode;  // board mode code
    SAT_TYPE type;
  } rows[] = {
      {SIM_METOP, "METOP-B", 4, METOP},  // AVHRR packets on channel 9
      {SIM_FY3, "FENGYUN 3C", 6, FY3},   // VIRR lines on channel 5
  };
  testutil::TempDir dir;
  for (const Row& row : rows) {
    SCOPED_TRACE(row.sat);
    const std::string clean = dir.file("clean"), noisy = dir.file("noisy"),
                      rec_path = dir.file("rec");
    synth(row.format, row.sat, 0, clean);
    synth(row.format, row.sat, 1e-4, noisy);
    fresh_board();
    ASSERT_EQ(boardemu_load_cadu(emu.get(), noisy.c_str(), QPSK_HDR_LEN), 0);
    const size_t units = emu->frames.size() / CADU_LEN;
    start_stream(row.mode, row.type, CADU_LEN);
    PicPtr w(pic_new(), pic_delete);
    w->fri.words_per_frame = CADU_LEN;
    record(rec_path, testutil::read_file(noisy).substr(0, QPSK_HDR_LEN), units, w.get(),
           dump_METOP_line);
    PicPtr a = open_pic(clean, false), raw = open_pic(rec_path, false),
           fixed = open_pic(rec_path, true);
    ASSERT_EQ(pic_line_count(a.get()), 180);
    Diff before = compare(a.get(), raw.get()), after = compare(a.get(), fixed.get());
    EXPECT_GT(before.samples, 0) << "the errors did not reach the picture";
    EXPECT_EQ(after.samples, 0);
  }
}

// HRPT (mode 0, two bytes a word): about ten samples in 10^4 change, lines
// keep their place (none differs in more than 1 % of its samples), and the
// sync words are hit in few lines (60 sync bits a line: 0.6 %).
TEST_F(SimBoard, HrptPassWithErrorsOnlyLosesTheHitSamples) {
  testutil::TempDir dir;
  const std::string clean = dir.file("clean.hrpt"), noisy = dir.file("noisy.hrpt"),
                    rec_path = dir.file("rec.hrpt");
  synth(SIM_HRPT, "NOAA 19", 0, clean);
  synth(SIM_HRPT, "NOAA 19", 1e-4, noisy);
  // The board's source: the frames of the noisy recording.
  PicPtr src = open_pic(noisy, false);
  const FRAMEINFO fri = src->fri;
  const int words = 11090;
  std::string bytes = testutil::read_file(noisy);
  const size_t rec_len = size_t(fri.bytes_per_line);
  for (size_t at = HRPT_HDRSIZE; at + rec_len <= bytes.size(); at += rec_len) {
    std::vector<uint16_t> w(size_t(fri.words_per_line) + 4);
    for (int g = 0; g < fri.words_per_line / 4; g++)
      hrpt1_unpack(reinterpret_cast<const uint8_t*>(bytes.data()) + at + HRPT_PREFIX + 5 * g,
                   &w[size_t(4 * g)]);
    emu->frames.insert(emu->frames.end(), w.begin(), w.begin() + words);
  }
  emu->words_per_frame = words;
  ASSERT_EQ(emu->frames.size(), size_t(180 * words));
  start_stream(0, HRPT, words);

  PicPtr w(pic_new(), pic_delete);
  w->fri = fri;
  w->fri.words_per_frame = words;
  record(rec_path, bytes.substr(0, HRPT_HDRSIZE), 180, w.get(), [](PICINFO* p, const uint16_t* f) {
    return write_hrpt1_line(p, f, is_hrptsync(f, 0) ? 0x10 : 0);
  });
  PicPtr a = open_pic(clean, false), b = open_pic(rec_path, false);
  Diff d = compare(a.get(), b.get());
  const double total = 180.0 * 2048 * 5;
  EXPECT_EQ(d.lines, 0);
  EXPECT_GT(d.samples / total, 0.5e-3);
  EXPECT_LT(d.samples / total, 1.5e-3);
  int no_sync = 0;
  for (int i = 0; i < pic_line_count(b.get()); i++) no_sync += !pic_line(b.get(), i)->syncword;
  EXPECT_LE(no_sync, 6) << "seed 3";
}
