// Synthesis of the bundled sample: the 8-minute NOAA 19 pass over western
// Europe (prepare: elements and land mask; write: 2880 HRPT lines), which the
// main job must make within 10 s.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <memory>
#include <string>

#include "sim/sim.h"

namespace {

SIM_REQUEST sample_request(int threads) {
  SIM_REQUEST r;
  r.sat = "NOAA 19";
  r.tle_path = PAVA_SOURCE_DIR "/data/weather.txt";
  r.start.tm_year = 120;
  r.start.tm_mon = 9;
  r.start.tm_mday = 26;
  r.start.tm_hour = 7;
  r.start.tm_min = 26;
  r.start.tm_sec = 30;
  r.seconds = 480;
  r.seed = 20201026;
  r.clouds = 0.3;
  r.threads = threads;
  return r;
}

void BM_SampleSynthesis(benchmark::State& state) {
  const std::string out = "/tmp/pava_bench_synth.hrpt";
  for (auto _ : state) {
    auto pass = std::make_unique<SIM_PASS>();
    std::string err;
    if (sim_prepare(sample_request(int(state.range(0))), pass.get(), &err) != 0 ||
        sim_write(*pass, out.c_str(), &err) != 0) {
      state.SkipWithError(err.c_str());
      break;
    }
    state.counters["lines"] = pass->lines;
  }
  std::remove(out.c_str());
  state.counters["limit_s"] = 10;
}
BENCHMARK(BM_SampleSynthesis)
    ->Arg(1)
    ->Arg(0)
    ->Unit(benchmark::kSecond)
    ->Iterations(1)
    ->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
