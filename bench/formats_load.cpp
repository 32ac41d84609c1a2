// Loading a 15-minute HRPT recording (5400 lines, 75 MB) through open_file,
// as pava-cli info and pava do, against reading the file with cat in the same
// run (warm cache). Target: at most 0.5 s a load.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "bench_pass.h"
#include "formats/framehdr.h"
#include "formats/hrptfile.h"
#include "formats/openfile.h"

namespace {

std::string g_file;

int load_once() {
  PICINFO* pic = pic_new();
  auto view = std::make_unique<VIEWINFO>();
  std::snprintf(pic->file_name, sizeof pic->file_name, "%s", g_file.c_str());
  int r = open_file(pic, view.get(), nullptr, 0);
  int n = pic_line_count(pic);
  close_picfile(pic);
  pic_delete(pic);
  return r ? -r : n;
}

void cat_once() {
  std::string cmd = "cat '" + g_file + "' > /dev/null";
  int r = std::system(cmd.c_str());
  (void)r;
}

void BM_open_file_5400_lines(benchmark::State& st) {
  for (auto _ : st) benchmark::DoNotOptimize(load_once());
}
BENCHMARK(BM_open_file_5400_lines)->Unit(benchmark::kMillisecond)->Iterations(5);

void BM_cat_file(benchmark::State& st) {
  for (auto _ : st) cat_once();
}
BENCHMARK(BM_cat_file)->Unit(benchmark::kMillisecond)->Iterations(5);

template <class F>
double best_of(int n, F f) {
  double best = 1e9;
  for (int i = 0; i < n; i++) {
    auto t0 = std::chrono::steady_clock::now();
    f();
    double s = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
    if (s < best) best = s;
  }
  return best;
}

}  // namespace

int main(int argc, char** argv) {
  const char* tmp = std::getenv("TMPDIR");
  std::string dir = std::string(tmp && *tmp ? tmp : "/tmp") + "/pava-bench-XXXXXX";
  std::vector<char> d(dir.begin(), dir.end());
  d.push_back('\0');
  if (!mkdtemp(d.data())) return 1;
  g_file = std::string(d.data()) + "/pass_5400.hrpt";
  bench_write_hrpt_pass(g_file, 5400);
  cat_once();  // warm the cache
  int lines = load_once();
  double t_cat = best_of(3, cat_once);
  double t_load = best_of(3, [] { load_once(); });
  std::printf(
      "formats_load: %d lines, open_file %.3f s, cat %.3f s, ratio %.1f (target: open_file <= 0.5 "
      "s)\n",
      lines, t_load, t_cat, t_cat > 0 ? t_load / t_cat : 0.0);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  std::remove(g_file.c_str());
  rmdir(d.data());
  return lines == 5400 ? 0 : 1;
}
