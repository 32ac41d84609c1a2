// Unpacking and frame pulling of the board's USB stream, in MB/s of USB bytes
// on one core, for the three packings (target: 100 MB/s). The stream comes
// from memory through a port table of its own, so only the link is timed.
// A last case measures the CPU share of pulling a real-time paced HRPT stream
// from the board emulator.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <ctime>
#include <memory>
#include <vector>

#include "app/ui_ops.h"
#include "mem_port.h"
#include "reception/boardemu.h"
#include "reception/ftport.h"
#include "reception/usblink.h"

namespace {

constexpr double kTargetMBps = 100.0;

std::vector<uint8_t> read_all(const char* rel) {
  std::string path = std::string(PAVA_SHARED_DIR) + "/testdata/" + rel;
  std::vector<uint8_t> v;
  FILE* f = std::fopen(path.c_str(), "rb");
  if (!f) return v;
  uint8_t buf[65536];
  size_t n;
  while ((n = std::fread(buf, 1, sizeof buf, f)) > 0) v.insert(v.end(), buf, buf + n);
  std::fclose(f);
  return v;
}

// USB byte streams in the three packings.
struct Streams {
  std::vector<uint8_t> mode2, mode4, mode0;
  Streams() {
    auto hrpt = read_all("hrpt/noaa18_hrpt_2012-01-30_30frames.raw16be");
    for (size_t i = 0; i + 1 < hrpt.size(); i += 2) {
      int w = ((hrpt[i] << 8) | hrpt[i + 1]) & 0x3FF;
      uint8_t two[2];
      boardemu_pack2(w, (i / 2) % 11090 == 0, true, two);
      mode2.push_back(two[0]);
      mode2.push_back(two[1]);
    }
    auto cadu = read_all("ccsds/snpp_synchronized_cadus_2016-02-10.dat");
    // Several copies so the stream is longer than the caches.
    for (int k = 0; k < 8; k++) mode0.insert(mode0.end(), cadu.begin(), cadu.end());
    std::unique_ptr<bool[]> start(new bool[mode0.size()]());
    for (size_t i = 0; i < mode0.size(); i += 1024) start[i] = true;
    PACK4_STATE st;
    boardemu_pack4(mode0.data(), start.get(), mode0.size() / 3 * 3, &mode4, &st);
  }
};

const Streams& streams() {
  static Streams s;
  return s;
}

const std::vector<uint8_t>& stream_for(int mode) {
  return mode == 2 ? streams().mode2 : mode == 4 ? streams().mode4 : streams().mode0;
}

// Per-byte state machine alone.
void BM_Unpack(benchmark::State& state) {
  const int mode = int(state.range(0));
  const auto& s = stream_for(mode);
  USB_UNPACKER u;
  std::memset(&u, 0, sizeof u);
  u.mode = mode;
  long words = 0;
  for (auto _ : state) {
    int acc = 0, w;
    for (uint8_t b : s)
      if (usb_unpack_byte(&u, b, 0, &w)) acc += w;
    benchmark::DoNotOptimize(acc);
    words += acc;
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(s.size()));
  state.counters["MBps"] =
      benchmark::Counter(double(s.size()) * 1e-6, benchmark::Counter::kIsIterationInvariantRate);
  state.counters["ratio_to_target"] = benchmark::Counter(
      double(s.size()) * 1e-6 / kTargetMBps, benchmark::Counter::kIsIterationInvariantRate);
}

// Reads, unpacking and frame alignment, as the recorder pulls frames.
void BM_FramePull(benchmark::State& state) {
  const int mode = int(state.range(0));
  const auto& s = stream_for(mode);
  mem_port::use(&s);
  ftport_install(&mem_port::ops);
  usb_unpacker_reset();
  auto rec = std::make_unique<RECORDINFO>();
  rec->recording = 1;
  rec->port_type = usb;
  rec->sat_type = mode == 2 ? HRPT : mode == 4 ? METOP : FY3D;
  rec->fri.words_per_frame = mode == 2 ? 11090 : 1024;
  usb_init_connect(&rec->usb);
  std::vector<uint16_t> frame(size_t(rec->fri.words_per_frame));
  int64_t bytes = 0;
  for (auto _ : state) {
    size_t before = mem_port::pos;
    int st = usb_get_hrpt_frame(frame.data(), rec.get());
    benchmark::DoNotOptimize(st);
    bytes += int64_t(mem_port::pos >= before ? mem_port::pos - before
                                             : mem_port::pos + s.size() - before);
  }
  state.SetBytesProcessed(bytes);
  state.counters["MBps"] = benchmark::Counter(double(bytes) * 1e-6, benchmark::Counter::kIsRate);
  state.counters["ratio_to_target"] =
      benchmark::Counter(double(bytes) * 1e-6 / kTargetMBps, benchmark::Counter::kIsRate);
  usb_close_connect(&rec->usb);
  ftport_install(nullptr);
}

// CPU share of a real-time HRPT stream (66540 words/s) pulled from the paced
// board emulator, over 24 frames (4 s).
void BM_RealTimeHrptCpu(benchmark::State& state) {
  auto emu = std::make_unique<BOARDEMU>();
  std::string path =
      std::string(PAVA_SHARED_DIR) + "/testdata/hrpt/noaa18_hrpt_2012-01-30_30frames.raw16be";
  if (boardemu_load_raw16be(emu.get(), path.c_str()) != 0) {
    state.SkipWithError("no HRPT test data");
    return;
  }
  emu->pace = true;
  emu->loop = true;
  boardemu_attach(emu.get());
  ftport_install(ftport_emulator());
  usb_unpacker_reset();
  auto rec = std::make_unique<RECORDINFO>();
  rec->recording = 1;
  rec->port_type = usb;
  rec->sat_type = HRPT;
  rec->fri.words_per_frame = 11090;
  usb_init_connect(&rec->usb);
  ena_dat(&rec->usb);
  std::vector<uint16_t> frame(11090);
  double cpu = 0, wall = 0;
  for (auto _ : state) {
    struct timespec c0, c1, w0, w1;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &c0);
    clock_gettime(CLOCK_MONOTONIC, &w0);
    for (int k = 0; k < 24; k++) usb_get_hrpt_frame(frame.data(), rec.get());
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &c1);
    clock_gettime(CLOCK_MONOTONIC, &w1);
    cpu += double(c1.tv_sec - c0.tv_sec) + double(c1.tv_nsec - c0.tv_nsec) * 1e-9;
    wall += double(w1.tv_sec - w0.tv_sec) + double(w1.tv_nsec - w0.tv_nsec) * 1e-9;
  }
  state.counters["cpu_percent"] = wall > 0 ? 100.0 * cpu / wall : 0;
  state.counters["wall_s"] = wall;
  usb_close_connect(&rec->usb);
  ftport_install(nullptr);
  boardemu_attach(nullptr);
}

}  // namespace

BENCHMARK(BM_Unpack)->Arg(0)->Arg(2)->Arg(4);
BENCHMARK(BM_FramePull)->Arg(0)->Arg(2)->Arg(4);
BENCHMARK(BM_RealTimeHrptCpu)->Iterations(1)->Unit(benchmark::kSecond)->UseRealTime();

BENCHMARK_MAIN();
