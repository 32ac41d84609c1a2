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

#include "formats/framehdr.h"
#include "formats/hrptfile.h"
#include "formats/openfile.h"

namespace {

std::string g_file;

// Writes the recording with the project's writer: header words with the time
// code of 6 lines a second and five channels of 2048 samples.
void make_recording(const std::string& path, int lines) {
  PICINFO* pic = pic_new();
  pic->file_type = FT_HRPT;
  pic->width = 2048;
  pic->height = lines;
  for (int i = 0; i <= 5; i++) pic->channels_recorded[i] = 1;
  pic->picture_time.tm_year = 124;
  pic->fp = std::fopen(path.c_str(), "wb");
  write_hrpt1_hdr(pic);
  std::vector<uint16_t> w(11090);
  uint32_t s = 12345;
  for (int i = 0; i < lines; i++) {
    for (auto& v : w) {
      s = s * 1103515245u + 12345u;
      v = uint16_t((s >> 16) & 0x3FF);
    }
    for (int k = 0; k < 6; k++) w[size_t(k)] = HRPT_SYNC[k];
    w[6] = (15 << 3) | 0x200;
    w[8] = 65 << 1;
    long ms = 36000000L + i * 1000L / 6;
    w[9] = uint16_t((ms >> 20) & 0x7F), w[10] = uint16_t((ms >> 10) & 0x3FF),
    w[11] = uint16_t(ms & 0x3FF);
    write_hrpt1_line(pic, w.data(), 0x10);
  }
  std::fclose(pic->fp);
  pic->fp = nullptr;
  pic_delete(pic);
}

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
  make_recording(g_file, 5400);
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
