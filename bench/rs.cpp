// Reed-Solomon frame decoding: rs_decode_frm against Debian's libfec on the
// same 1024-byte frames (marker + four interleaved dual-basis codewords):
// clean, 4 and 16 symbol errors per codeword. Prints frames per second and
// the ratio to libfec for each case.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "ccsds/rs.h"
#include "fec_oracle.h"

namespace {

constexpr int kFrames = 64;

std::vector<std::vector<uint8_t>> make_frames(int errors) {
  std::mt19937 rng(1234 + errors);
  std::vector<std::vector<uint8_t>> frames;
  for (int k = 0; k < kFrames; k++) {
    std::vector<uint8_t> f(1024);
    f[0] = 0x1A, f[1] = 0xCF, f[2] = 0xFC, f[3] = 0x1D;
    for (int j = 0; j < 4; j++) {
      uint8_t cw[255];
      for (int i = 0; i < 223; i++) cw[i] = uint8_t(rng());
      fec_oracle::encode_ccsds(cw, cw + 223, 0);
      std::set<int> pos;
      while (int(pos.size()) < errors) pos.insert(int(rng() % 255));
      for (int p : pos) cw[p] ^= uint8_t(1 + rng() % 255);
      for (int i = 0; i < 255; i++) f[4 + 4 * i + j] = cw[i];
    }
    frames.push_back(f);
  }
  return frames;
}

// libfec has no frame entry: de-interleave, decode, interleave back the data.
int libfec_frame(uint8_t* frame) {
  int total = 0;
  for (int j = 0; j < 4; j++) {
    uint8_t cw[255];
    for (int i = 0; i < 255; i++) cw[i] = frame[4 + 4 * i + j];
    int r = fec_oracle::decode_ccsds(cw, 0);
    if (r < 0) {
      total += 256;
      continue;
    }
    total += r;
    for (int i = 0; i < 223; i++) frame[4 + 4 * i + j] = cw[i];
  }
  return total;
}

template <bool kMine>
void BM_frames(benchmark::State& state) {
  auto frames = make_frames(int(state.range(0)));
  uint8_t work[1024];
  size_t k = 0;
  for (auto _ : state) {
    std::memcpy(work, frames[k].data(), 1024);
    int r = kMine ? rs_decode_frm(work) : libfec_frame(work);
    benchmark::DoNotOptimize(r);
    benchmark::ClobberMemory();
    k = (k + 1) % frames.size();
  }
  state.SetItemsProcessed(state.iterations());
}

void BM_pava(benchmark::State& s) { BM_frames<true>(s); }
void BM_libfec(benchmark::State& s) { BM_frames<false>(s); }
BENCHMARK(BM_pava)->Arg(0)->Arg(4)->Arg(16);
BENCHMARK(BM_libfec)->Arg(0)->Arg(4)->Arg(16);

// Console output plus a record of frames per second per run.
class RatioReporter : public benchmark::ConsoleReporter {
 public:
  std::map<std::string, double> fps;
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const auto& r : runs) {
      auto it = r.counters.find("items_per_second");
      if (it != r.counters.end()) fps[r.benchmark_name()] = it->second;
    }
    ConsoleReporter::ReportRuns(runs);
  }
};

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  RatioReporter rep;
  benchmark::RunSpecifiedBenchmarks(&rep);
  for (const char* arg : {"0", "4", "16"}) {
    double a = rep.fps["BM_pava/" + std::string(arg)];
    double b = rep.fps["BM_libfec/" + std::string(arg)];
    if (a > 0 && b > 0)
      std::printf("errors/codeword %2s: pava %.0f frames/s, libfec %.0f frames/s, ratio %.2fx\n",
                  arg, a, b, a / b);
  }
  benchmark::Shutdown();
  return 0;
}
