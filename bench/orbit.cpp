// Orbit benchmarks: SGP4 propagations per second on one core (with Debian's
// pure-Python python3-sgp4 measured in the same run for the ratio), and the
// merged pass list of 14 satellites with 10 passes.
#include <benchmark/benchmark.h>

#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "config/prefs.h"
#include "orbit/passes.h"
#include "orbit/satdb.h"
#include "orbit/sgp4.h"

namespace {

double g_sgp4_rate = 0.0;  // propagations per second, from the benchmark

SAT* load(const char* selection) {
  const std::string path = std::string(PAVA_SOURCE_DIR) + "/data/weather.txt";
  FILE* fp = std::fopen(path.c_str(), "r");
  if (!fp) return nullptr;
  SAT* s = read_msat(fp, selection, nullptr);
  std::fclose(fp);
  return s;
}

void BM_Sgp4Propagate(benchmark::State& state) {
  SAT* s = load("NOAA 19");
  if (!s) return state.SkipWithError("data/weather.txt missing");
  double pos[3], vel[3];
  double t = 0.0;
  for (auto _ : state) {
    sgp4_propagate(s->kepler.sgp4_params, t, pos, vel);
    benchmark::DoNotOptimize(pos);
    benchmark::DoNotOptimize(vel);
    t += 0.1;
    if (t > 4320.0) t = -4320.0;
  }
  state.SetItemsProcessed(state.iterations());
  Remove_Sat(s);
}
BENCHMARK(BM_Sgp4Propagate);

time_t g_now = 1603756800;  // 2020-10-27 00:00 UTC, a day after the epochs
time_t fixed_now() { return g_now; }

void BM_FirstPasses14Sats10Passes(benchmark::State& state) {
  // The 14 satellites of 2020-10-26 (NOAA 21's elements are of 2024).
  SAT* list = load("NOAA 1?;NOAA 20;METOP-?;AQUA;FENGYUN 3?;METEOR-M*");
  int n = 0;
  for (SAT* s = list; s; s = s->next) n++;
  if (n != 14) return state.SkipWithError("expected 14 satellites");
  prefs.refpos = EPOINT{};
  prefs.refpos.lat = 52.0f * 3.14159265f / 180.0f;
  prefs.refpos.lon = 5.0f * 3.14159265f / 180.0f;
  prefs.elev_horiz = 0.0f;
  prefs.tm_off = TM_OFFSET{};
  orbit_set_clock(fixed_now);
  for (auto _ : state) {
    TRACK* merged = first_passes(list, 10, 0, 0);
    benchmark::DoNotOptimize(merged);
    Remove_Tracks(merged);
  }
  orbit_set_clock(nullptr);
  while (list) list = Remove_Sat(list);
}
BENCHMARK(BM_FirstPasses14Sats10Passes)->Unit(benchmark::kMillisecond);

// Keeps the SGP4 rate for the comparison printed after the run.
class RateReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& r : runs) {
      if (r.benchmark_name().find("BM_Sgp4Propagate") == 0) {
        auto it = r.counters.find("items_per_second");
        if (it != r.counters.end()) g_sgp4_rate = it->second;
      }
    }
    ConsoleReporter::ReportRuns(runs);
  }
};

// Debian's python3-sgp4 (pure Python) on the same element set.
double python_rate() {
  const char* py = access("/usr/bin/python3", X_OK) == 0 ? "/usr/bin/python3" : "python3";
  const std::string cmd = std::string(py) + " " + PAVA_SOURCE_DIR +
                          "/tests/scripts/orbit_oracle.py sgp4bench 100000 2>/dev/null";
  FILE* p = popen(cmd.c_str(), "r");
  if (!p) return 0.0;
  double rate = 0.0;
  if (std::fscanf(p, "%lf", &rate) != 1) rate = 0.0;
  pclose(p);
  return rate;
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  RateReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  if (g_sgp4_rate > 0.0) {
    const double py = python_rate();
    std::printf("SGP4 propagations per second: %.0f (target 1000000)\n", g_sgp4_rate);
    if (py > 0.0)
      std::printf("python3-sgp4 (pure Python): %.0f per second; ratio %.1f\n", py,
                  g_sgp4_rate / py);
    else
      std::printf("python3-sgp4 not available: no ratio\n");
  }
  return 0;
}
