// The IQ test's stream view: unpacking and frame pulling of USB bytes in
// MB/s of input on one core, bit-reversed bytes (the default) and two-byte
// words, against the 100 MB/s target. The bytes come from memory through a
// port table of their own, so only the IQ path is timed.
#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

#include "app/ui_ops.h"
#include "reception/boardemu.h"
#include "reception/ftport.h"
#include "reception/iqlink.h"
#include "reception/usblink.h"

namespace {

constexpr double kTargetMBps = 100.0;
constexpr int kFrameWords = 1024;

std::vector<uint8_t> g_src;
size_t g_pos = 0;

int m_list(uint32_t* n) {
  *n = 1;
  return FT_OK;
}
int m_get_list(FT_DEVICE_LIST_INFO_NODE* l, uint32_t* n) {
  std::memset(l, 0, sizeof *l);
  std::strcpy(l->SerialNumber, "MEM");
  *n = 1;
  return FT_OK;
}
int m_open(const char*, void** h) {
  *h = &g_pos;
  return FT_OK;
}
int m_timeouts(void*, uint32_t, uint32_t) { return FT_OK; }
int m_purge(void*, uint32_t) { return FT_OK; }
int m_status(void*, uint32_t* a, uint32_t* b, uint32_t* c) {
  *a = *b = *c = 0;
  return FT_OK;
}
int m_read(void*, void* buf, uint32_t n, uint32_t* got) {
  auto* out = static_cast<uint8_t*>(buf);
  for (uint32_t k = 0; k < n;) {
    if (g_pos >= g_src.size()) g_pos = 0;
    uint32_t c = uint32_t(g_src.size() - g_pos);
    if (c > n - k) c = n - k;
    std::memcpy(out + k, g_src.data() + g_pos, c);
    g_pos += c;
    k += c;
  }
  *got = n;
  return FT_OK;
}
int m_write(void*, const void*, uint32_t n, uint32_t* w) {
  *w = n;
  return FT_OK;
}
int m_close(void*) { return FT_OK; }
const FT_PORT_OPS kMem = {"memory", m_list,   m_get_list, m_open,  m_timeouts,
                          m_purge,  m_status, m_read,     m_write, m_close};

// 4 MB of input: noise-like bytes, or two-byte words with a frame start
// every kFrameWords words.
void make_stream(bool words) {
  g_src.clear();
  uint32_t x = 12345;
  for (size_t i = 0; g_src.size() < (4u << 20); i++) {
    x = x * 1664525u + 1013904223u;
    if (!words) {
      g_src.push_back(uint8_t(x >> 24));
      continue;
    }
    uint8_t two[2];
    boardemu_pack2(int(x >> 22), i % kFrameWords == 0, true, two);
    g_src.push_back(two[0]);
    g_src.push_back(two[1]);
  }
  g_pos = 0;
}

// Frames pulled as the IQ recorder pulls them; arg 1: bit-reversed bytes,
// 0: two-byte words.
void BM_IqFramePull(benchmark::State& state) {
  const bool reverse = state.range(0) != 0;
  make_stream(!reverse);
  ftport_install(&kMem);
  iq_unpacker_reset();
  iq_bitreverse() = reverse ? 1 : 0;
  RECORDINFO rec{};
  rec.port_type = usb;
  rec.recording = 1;
  rec.sat_type = reverse ? IQTEST : HRPT;
  rec.fri.words_per_frame = kFrameWords;
  usb_init_connect(&rec.usb);
  std::vector<uint16_t> frame(kFrameWords);
  const double bytes_per_frame = reverse ? kFrameWords : 2.0 * kFrameWords;
  long sum = 0;
  for (auto _ : state) {
    usb_get_iqdata(frame.data(), &rec);
    sum += frame[0];
  }
  benchmark::DoNotOptimize(sum);
  state.SetBytesProcessed(int64_t(double(state.iterations()) * bytes_per_frame));
  state.counters["MBps"] =
      benchmark::Counter(bytes_per_frame * 1e-6, benchmark::Counter::kIsIterationInvariantRate);
  state.counters["ratio_to_target"] = benchmark::Counter(
      bytes_per_frame * 1e-6 / kTargetMBps, benchmark::Counter::kIsIterationInvariantRate);
  usb_close_connect(&rec.usb);
  ftport_install(nullptr);
  iq_bitreverse() = 1;
  iq_unpacker_reset();
}

}  // namespace

BENCHMARK(BM_IqFramePull)->Arg(1)->Arg(0);

BENCHMARK_MAIN();
