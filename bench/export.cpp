// Saving a full pass (5400 lines of 5 channels x 2048, the real recording's
// frames repeated) as a false-colour JPEG and PNG, against the budgets of
// 1.5 s and 2 s; the peer is encoding an already drawn RGB buffer with the
// same libraries (png_write_rgb, and JPEG through the codec), so the ratio
// shows what composing the view costs on top of the encoder.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "display/chanmap.h"
#include "display/draw.h"
#include "export/save.h"
#include "formats/openfile.h"

namespace {

struct Pass {
  PICINFO* pic = nullptr;
  std::unique_ptr<VIEWINFO> view;
  std::string dir;
};

Pass& pass() {
  static Pass p;
  if (p.pic) return p;
  p.pic = pic_new();
  p.view = std::make_unique<VIEWINFO>();
  std::snprintf(p.pic->file_name, sizeof p.pic->file_name, "%s",
                PAVA_SHARED_DIR "/testdata/hrpt/noaa18_hrpt_2012-01-30_30frames.raw16be");
  if (open_file(p.pic, p.view.get(), nullptr, 0) != 0) return p;
  // Repeat the 30 lines to 5400.
  const int n0 = pic_line_count(p.pic);
  XLINE* head = nullptr;
  XLINE* tail = nullptr;
  for (int y = 0; y < 5400; y++) {
    const XLINE* s = pic_line(p.pic, y % n0);
    tail = Create_Xline(&head, s->nrchan, s->width, tail);
    for (int c = 0; c < s->nrchan; c++)
      std::memcpy(tail->line[c], s->line[c], size_t(s->width) * 2);
    std::memcpy(tail->line_hdr, s->line_hdr, 750 * 2);
  }
  pic_set_lines(p.pic, head);
  p.pic->height = 5400;
  view_init(p.pic, p.view.get());
  p.view->process_data = 1;
  set_std_falseclr(FT_HRPT, &p.view->cmhc);
  char tmpl[] = "/tmp/pava-bench-XXXXXX";
  if (mkdtemp(tmpl)) {
    p.dir = tmpl;
    std::atexit([] { rmdir(pass().dir.c_str()); });
  } else {
    p.dir = "/tmp";
  }
  return p;
}

void save_as(benchmark::State& state, FILE_TYPE type, double budget_s) {
  Pass& p = pass();
  if (!p.pic || pic_line_count(p.pic) != 5400) {
    state.SkipWithError("recording not found");
    return;
  }
  SAVEOPTS o;
  o.type = type;
  o.channels[1] = o.channels[2] = 1;
  o.new_name = p.dir + (type == FT_JPEG ? "/pass.jpg" : "/pass.png");
  double total = 0;
  for (auto _ : state) {
    std::remove(o.new_name.c_str());
    auto t0 = std::chrono::steady_clock::now();
    int r = save_picture(p.pic, p.view.get(), &o);
    total += std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
    if (r != SAVE_OK) state.SkipWithError("save failed");
  }
  const double per = total / double(state.iterations());
  state.counters["seconds"] = per;
  state.counters["budget_ratio"] = per / budget_s;  // <= 1 meets the budget
  std::remove(o.new_name.c_str());
}

void BM_SavePassJpeg(benchmark::State& s) { save_as(s, FT_JPEG, 1.5); }
void BM_SavePassPng(benchmark::State& s) { save_as(s, FT_PNG, 2.0); }

// Peer: only encoding the drawn RGB buffer of the same view.
void BM_EncodeDrawnPng(benchmark::State& state) {
  Pass& p = pass();
  if (!p.pic) return state.SkipWithError("recording not found");
  RGBIMAGE img;
  VIEWINFO v = *p.view;
  draw_pic(p.pic, &v, p.pic->width, p.pic->height, &img);
  std::string f = p.dir + "/peer.png";
  for (auto _ : state)
    benchmark::DoNotOptimize(png_write_rgb(f.c_str(), img.width, img.height, img.rgb.data()));
  std::remove(f.c_str());
}

}  // namespace

BENCHMARK(BM_SavePassJpeg)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_SavePassPng)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_EncodeDrawnPng)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK_MAIN();
