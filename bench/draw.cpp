// draw_pic of a 1280 x 1024 view of a full pass (5400 lines, 5 channels of
// 2048 pixels) in false colour with grid and coast, at several zooms. The
// budget is 10 ms a drawing (median); the ratio to it is reported.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <string>

#include "display/chanmap.h"
#include "display/draw.h"
#include "display/georef.h"
#include "formats/picinfo.h"

namespace {

constexpr int kWidth = 2048, kLines = 5400, kChans = 5;
constexpr double kBudgetMs = 10.0;

// A pass from 75 N to 22 N over Europe: 1.1 km a pixel along the track,
// across the track growing towards the edges as a scanner's do.
PICINFO* make_pass() {
  static PICINFO* pic = nullptr;
  if (pic) return pic;
  pic = pic_new();
  XLINE* head = nullptr;
  XLINE* tail = nullptr;
  uint32_t seed = 12345;
  for (int y = 0; y < kLines; y++) {
    tail = Create_Xline(&head, kChans, kWidth, tail);
    tail->tm_ms.valid = 1;
    const double lat = 75.0 - y * 0.0099;
    const double coslat = std::cos(lat * M_PI / 180);
    for (int x = 0; x < kWidth; x++) {
      double s = (x - 1024) / 1024.0;
      double across = 13.0 * (s + 0.35 * s * s * s);  // degrees of arc from the track
      xline_alloc_pos(tail)[x].lon = float((8.0 + across / coslat - 0.004 * y) * M_PI / 180);
      tail->pos[x].lat = float((lat + 0.3 * s) * M_PI / 180);
      for (int c = 0; c < kChans; c++) {
        seed = seed * 1664525u + 1013904223u;
        tail->line[c][x] = uint16_t((200 + 3 * c + (x + y) % 600 + (seed >> 28)) & 1023);
      }
    }
  }
  pic_set_lines(pic, head);
  pic->width = kWidth;
  pic->height = kLines;
  pic->width_original = kWidth;
  pic->nr_chan = kChans;
  for (int c = 1; c <= kChans; c++) pic->channels_recorded[c] = 1;
  pic->file_type = FT_HRPT;
  pic->sat_type = HRPT;
  pic->valid_time = 1;
  pic->orbit.valid = 1;
  return pic;
}

void BM_DrawPic(benchmark::State& state) {
  PICINFO* pic = make_pass();
  VIEWINFO* view = new VIEWINFO();
  const float zoom = float(state.range(0)) / 4.0f;
  view->zval.zx = view->zval.zy = zoom;
  // Zoomed views look at the middle of the pass.
  view->zval.ox = zoom > 1 ? int(kWidth / 2 - kWidth / (2 * zoom)) : 0;
  view->zval.oy = zoom > 1 ? int(kLines / 2 - kLines / (2 * zoom)) : 0;
  view->lum_min = 0;
  view->lum_max = 1023;
  view->gamma = 1.0f;
  view->scan_hor = W_E;
  view->scan_ver = N_S;
  set_std_falseclr(FT_HRPT, &view->cmhc);
  view->process_data = 1;
  view->grid = int(state.range(2));
  view->boundaries = int(state.range(2));
  view->grid_clr = {0xffff, 0, 0};
  view->cont_clr = {0, 0xffff, 0};
  std::string coast = std::string(PAVA_SOURCE_DIR) + "/data/gshhs_i.b";
  DRAWOPTS opts;
  opts.coast_file = coast.c_str();
  opts.threads = int(state.range(1));
  RGBIMAGE img;
  // The overlay tables are built on the first drawing and kept after.
  int st = draw_pic(pic, view, 1280, 1024, &img, &opts);
  if (st != DRAW_OK) state.SkipWithError(draw_status_text(st));
  for (auto _ : state) {
    draw_pic(pic, view, 1280, 1024, &img, &opts);
    benchmark::DoNotOptimize(img.rgb.data());
  }
  state.counters["zoom"] = zoom;
  delete view;
}
BENCHMARK(BM_DrawPic)
    ->ArgsProduct({{4, 8, 16, 64, 2}, {1, 2}, {1}})
    ->Args({4, 1, 0})  // without grid and coast, for comparison
    ->ArgNames({"zoom_x4", "threads", "overlay"})
    ->Unit(benchmark::kMillisecond)
    ->Repetitions(5)
    ->ReportAggregatesOnly(true)
    ->ComputeStatistics("budget_ratio", [](const std::vector<double>& v) {
      std::vector<double> s = v;
      std::sort(s.begin(), s.end());
      return s[s.size() / 2] / kBudgetMs;  // median over the 10 ms budget (times in ms)
    });

// The overlay tables of the whole pass (pixel to lon/lat, lon/lat to pixel,
// grid mask) with the intermediate coastlines drawn into the mask: made once
// per picture and after every change of the orbit corrections.
void BM_CreateOverlay(benchmark::State& state) {
  PICINFO* pic = make_pass();
  std::string coast = std::string(PAVA_SOURCE_DIR) + "/data/gshhs_i.b";
  for (auto _ : state) {
    free_overlay(&pic->ovlinfo);
    FILE* f = std::fopen(coast.c_str(), "rb");
    create_overlay(f, pic);
    if (f) std::fclose(f);
  }
  state.counters["lola_scale"] = pic->ovlinfo.scale;
  state.counters["lola_cells"] = double(pic->ovlinfo.lola2xy.size());
}
BENCHMARK(BM_CreateOverlay)->Unit(benchmark::kMillisecond)->Iterations(3);

}  // namespace

BENCHMARK_MAIN();
