#include "reception/boardemu.h"

#include <time.h>

#include <cstdio>
#include <cstring>
#include <memory>

#include "reception/ftport.h"

constexpr size_t USB_FILLER_UNITS = 1024;  // units of filler per refill

namespace {

BOARDEMU* g_emu = nullptr;

double now_s() {
  struct timespec ts;
  clock_gettime(CLOCK_MONOTONIC, &ts);
  return double(ts.tv_sec) + double(ts.tv_nsec) * 1e-9;
}

void sleep_s(double s) {
  if (s <= 0) return;
  struct timespec ts;
  ts.tv_sec = time_t(s);
  ts.tv_nsec = long((s - double(ts.tv_sec)) * 1e9);
  nanosleep(&ts, nullptr);
}

// xorshift32: reproducible noise and bit errors from the board's seed.
uint32_t next_rand(BOARDEMU* e) {
  uint32_t x = e->rng ? e->rng : 1u;
  x ^= x << 13;
  x ^= x >> 17;
  x ^= x << 5;
  e->rng = x;
  return x;
}

bool read_file(const char* path, std::vector<uint8_t>* out) {
  FILE* f = path ? std::fopen(path, "rb") : nullptr;
  if (!f) return false;
  out->clear();
  uint8_t buf[65536];
  size_t n;
  while ((n = std::fread(buf, 1, sizeof buf, f)) > 0) out->insert(out->end(), buf, buf + n);
  std::fclose(f);
  return true;
}

// Modes whose data units are bytes; in mode 2 their bit 8 reports the Viterbi
// decoder's lock.
bool byte_mode(int code) { return code == 1 || code == 2 || code == 4 || code == 6 || code == 11; }

// Appends units packed in the current packing to the pending stream bytes.
// synced: the board is in sync (flags and Viterbi lock set); frame_start: the
// first unit starts a frame (the board's frame clock keeps marking frame
// starts while it is out of sync).
void pack_units(BOARDEMU* e, const uint16_t* units, size_t n, bool synced, bool frame_start) {
  int packing = boardemu_packing(e);
  bool bytes = byte_mode(e->regs[1]);
  switch (packing) {
    case 0:
      for (size_t i = 0; i < n; i++) e->pending.push_back(uint8_t(units[i]));
      break;
    case 4:
      if (!synced) {
        // Out of sync the continuation markers come one per code pair, which
        // keeps the host's marker counter below 2.
        // A group begun in sync is completed with zero bytes first.
        static const uint8_t kZero[2] = {0, 0};
        if (e->pack4.n)
          boardemu_pack4(kZero, nullptr, size_t(3 - e->pack4.n), &e->pending, &e->pack4);
        for (size_t i = 0; i < n; i++) {
          e->pending.push_back(uint8_t(units[i] & 63));
          e->pending.push_back(
              uint8_t(0x80 | (frame_start && i == 0 ? 0x40 : 0) | ((units[i] >> 2) & 63)));
        }
      } else {
        std::vector<uint8_t> data(n);
        std::unique_ptr<bool[]> start(new bool[n]());
        for (size_t i = 0; i < n; i++) data[i] = uint8_t(units[i]);
        if (frame_start && n) start[0] = true;
        boardemu_pack4(data.data(), start.get(), n, &e->pending, &e->pack4);
      }
      break;
    default:
      for (size_t i = 0; i < n; i++) {
        int v = units[i] & (bytes ? 0xFF : 0x3FF);
        if (bytes && synced) v |= 0x100;
        uint8_t two[2];
        boardemu_pack2(v, frame_start && i == 0, synced, two);
        e->pending.push_back(two[0]);
        e->pending.push_back(two[1]);
      }
      break;
  }
}

// Produces the next frame's worth of stream bytes.
void refill(BOARDEMU* e) {
  if (e->pending_pos >= e->pending.size()) {
    e->pending.clear();
    e->pending_pos = 0;
  }
  size_t wpf = size_t(e->words_per_frame > 0 ? e->words_per_frame : 0);
  size_t nframes = wpf ? e->frames.size() / wpf : 0;
  long f = e->frames_sent;
  if (!nframes || (size_t(f) >= nframes && !e->loop)) {
    // End of the source: no signal, out-of-sync filler.
    std::vector<uint16_t> filler(USB_FILLER_UNITS, 0);
    pack_units(e, filler.data(), filler.size(), false, false);
    return;
  }
  std::vector<uint16_t> unit(e->frames.begin() + long((size_t(f) % nframes) * wpf),
                             e->frames.begin() + long((size_t(f) % nframes + 1) * wpf));
  e->frames_sent++;
  bool lost = e->sync_loss_from >= 0 && f >= e->sync_loss_from &&
              f < e->sync_loss_from + e->sync_loss_frames;
  int bits = boardemu_packing(e) == 2 && !byte_mode(e->regs[1]) ? 10 : 8;
  if (lost) {
    for (auto& u : unit) u = uint16_t(next_rand(e) & ((1u << bits) - 1));
  } else if (e->bit_error_rate > 0) {
    uint32_t limit = uint32_t(e->bit_error_rate * 4294967295.0);
    for (auto& u : unit)
      for (int b = 0; b < bits; b++)
        if (next_rand(e) < limit) u = uint16_t(u ^ (1u << b));
  }
  pack_units(e, unit.data(), unit.size(), !lost, true);
}

// The register command parser: one byte from the host.
void parse_byte(BOARDEMU* e, uint8_t b) {
  if (e->parser) {
    int r = e->parser - 1;
    e->parser = 0;
    e->regs[r] = b;
    e->log.reg_writes.emplace_back(r, b);
    if (r == 1) e->regs[2] = b;
    if (r == 12) {
      switch (b) {
        case 128:
          e->log.serial_tx.push_back(e->regs[14]);
          break;
        case 3:
        case 1:
          e->serial_cur.push_back(e->regs[14]);
          break;
        case 0:
          if (!e->serial_cur.empty()) e->log.i2c_msgs.push_back(e->serial_cur);
          e->serial_cur.clear();
          break;
        case 0x40:
        case 0x60: {
          BOARDEMU_LOG::Diseqc d;
          d.output = b == 0x60;
          for (int i = 0; i < 4; i++) d.bytes[i] = e->regs[16 + i];
          e->log.diseqc.push_back(d);
          break;
        }
        default:
          break;
      }
    }
    return;
  }
  switch (b & 0xC0) {
    case 0x00:
      e->log.pointer_resets++;
      break;
    case 0x40:
      e->parser = (b & 63) + 1;
      break;
    case 0xC0: {
      int r = b & 63;
      e->log.reg_reads.push_back(r);
      uint8_t v = e->regs[r];
      if (r >= 4 && r <= 7) v = e->firmware[r - 4];
      if (r == 13) {
        v &= 0x7F;
        if (e->overflow_reads > 0) {
          e->overflow_reads--;
          v |= 0x80;
        }
      }
      e->answers.push_back(v);
      break;
    }
    default:
      break;
  }
}

BOARDEMU* emu_of(void* h) {
  auto* e = static_cast<BOARDEMU*>(h);
  return e && e == g_emu && e->open ? e : nullptr;
}

int e_create_list(uint32_t* n) {
  *n = g_emu && g_emu->present ? 1 : 0;
  return FT_OK;
}

int e_get_list(FT_DEVICE_LIST_INFO_NODE* list, uint32_t* n) {
  if (!g_emu || !g_emu->present || *n < 1) {
    *n = 0;
    return FT_OK;
  }
  std::memset(list, 0, sizeof *list);
  list->ID = 0x04036014u;
  list->Flags = g_emu->open ? 1 : 0;
  std::memcpy(list->SerialNumber, g_emu->serial, sizeof list->SerialNumber);
  list->SerialNumber[sizeof list->SerialNumber - 1] = 0;
  std::memcpy(list->Description, g_emu->description, sizeof list->Description);
  list->Description[sizeof list->Description - 1] = 0;
  *n = 1;
  return FT_OK;
}

int e_open(const char* serial, void** h) {
  *h = nullptr;
  if (!g_emu || !g_emu->present || !serial || std::strcmp(serial, g_emu->serial) != 0)
    return FT_DEVICE_NOT_FOUND;
  if (g_emu->open) return FT_DEVICE_NOT_OPENED;
  g_emu->open = true;
  g_emu->log.opens++;
  g_emu->read_timeout_ms = 1000;
  g_emu->parser = 0;
  g_emu->answers.clear();
  *h = g_emu;
  return FT_OK;
}

int e_timeouts(void* h, uint32_t r, uint32_t) {
  BOARDEMU* e = emu_of(h);
  if (!e) return FT_INVALID_HANDLE;
  e->read_timeout_ms = r;
  return FT_OK;
}

int e_purge(void* h, uint32_t mask) {
  BOARDEMU* e = emu_of(h);
  if (!e) return FT_INVALID_HANDLE;
  if (!e->present) return FT_IO_ERROR;
  if (mask & FT_PURGE_RX) e->answers.clear();
  e->log.purges++;
  return FT_OK;
}

int e_status(void* h, uint32_t* rx, uint32_t* tx, uint32_t* ev) {
  BOARDEMU* e = emu_of(h);
  if (!e) return FT_INVALID_HANDLE;
  *rx = uint32_t(e->answers.size());
  *tx = *ev = 0;
  return FT_OK;
}

void wait_timeout(BOARDEMU* e) { sleep_s(e->read_timeout_ms * 1e-3 * e->timeout_scale); }

int e_read(void* h, void* buf, uint32_t n, uint32_t* got) {
  *got = 0;
  BOARDEMU* e = emu_of(h);
  if (!e) return FT_INVALID_HANDLE;
  if (!e->present) return FT_IO_ERROR;
  auto* out = static_cast<uint8_t*>(buf);
  while (*got < n && !e->answers.empty()) {
    out[(*got)++] = e->answers.front();
    e->answers.erase(e->answers.begin());
  }
  bool data_on = !(e->regs[0] & 1);
  if (data_on && *got < n) {
    uint32_t want = n - *got;
    if (e->vanish_after >= 0 && e->streamed + long(want) > e->vanish_after) {
      want = uint32_t(e->streamed < e->vanish_after ? e->vanish_after - e->streamed : 0);
      if (!want) {
        e->present = false;
        return *got ? FT_OK : FT_IO_ERROR;
      }
    }
    if (e->stall_after >= 0 && e->streamed + long(want) > e->stall_after)
      want = uint32_t(e->streamed < e->stall_after ? e->stall_after - e->streamed : 0);
    if (e->pace && want) {
      // Real time: wait until the board would have sent these bytes, at most
      // one time-out; deliver what has arrived by then.
      double t = now_s();
      if (e->t_start < 0) e->t_start = t;
      double due = e->t_start + double(e->streamed + long(want)) / e->bytes_per_sec;
      double limit = t + e->read_timeout_ms * 1e-3;
      if (due > limit) {
        sleep_s(limit - t);
        double avail = (limit - e->t_start) * e->bytes_per_sec - double(e->streamed);
        want = avail > 0 ? uint32_t(avail < want ? avail : want) : 0;
      } else {
        sleep_s(due - t);
      }
    }
    while (want) {
      if (!e->raw.empty()) {
        if (e->raw_pos >= e->raw.size()) {
          if (!e->loop) break;
          e->raw_pos = 0;
        }
        uint32_t k = uint32_t(e->raw.size() - e->raw_pos);
        if (k > want) k = want;
        std::memcpy(out + *got, e->raw.data() + e->raw_pos, k);
        e->raw_pos += k;
        *got += k;
        want -= k;
        e->streamed += k;
        continue;
      }
      if (e->pending_pos >= e->pending.size()) refill(e);
      uint32_t k = uint32_t(e->pending.size() - e->pending_pos);
      if (k > want) k = want;
      std::memcpy(out + *got, e->pending.data() + e->pending_pos, k);
      e->pending_pos += k;
      *got += k;
      want -= k;
      e->streamed += k;
    }
  }
  if (*got < n) wait_timeout(e);
  return FT_OK;
}

int e_write(void* h, const void* buf, uint32_t n, uint32_t* written) {
  *written = 0;
  BOARDEMU* e = emu_of(h);
  if (!e) return FT_INVALID_HANDLE;
  if (!e->present) return FT_IO_ERROR;
  const auto* b = static_cast<const uint8_t*>(buf);
  for (uint32_t i = 0; i < n; i++) parse_byte(e, b[i]);
  *written = n;
  return FT_OK;
}

int e_close(void* h) {
  auto* e = static_cast<BOARDEMU*>(h);
  if (!e || e != g_emu || !e->open) return FT_INVALID_HANDLE;
  e->open = false;
  e->log.closes++;
  return FT_OK;
}

const FT_PORT_OPS kEmulator = {"emulator", e_create_list, e_get_list, e_open,  e_timeouts,
                               e_purge,    e_status,      e_read,     e_write, e_close};

}  // namespace

const FT_PORT_OPS* ftport_emulator() { return &kEmulator; }

void boardemu_attach(BOARDEMU* emu) {
  g_emu = emu;
  if (emu) emu->rng = emu->seed ? emu->seed : 1u;
}

BOARDEMU* boardemu_attached() { return g_emu; }

int boardemu_packing(const BOARDEMU* emu) {
  if (emu->packing == 0 || emu->packing == 2 || emu->packing == 4) return emu->packing;
  int code = emu->regs[1];
  bool fast = emu->regs[0] & 2;
  if (code == 7) return 0;
  if (!fast && (code == 4 || code == 6 || code == 11)) return 4;
  return 2;
}

void boardemu_pack2(int value, bool start, bool insync, uint8_t out[2]) {
  out[0] = uint8_t((value & 0x0F) | ((value >> 4) & 0x30));
  out[1] = uint8_t(0x80 | ((value >> 4) & 0x0F) | (start ? 0x10 : 0) | (insync ? 0x20 : 0));
}

void boardemu_pack4(const uint8_t* data, const bool* start, size_t n, std::vector<uint8_t>* out,
                    PACK4_STATE* st) {
  for (size_t i = 0; i < n; i++) {
    bool s = start && start[i];
    if (st->n < 2) {
      st->hold[st->n] = data[i];
      st->hold_start[st->n] = s;
      st->n++;
      continue;
    }
    uint8_t b0 = st->hold[0], b1 = st->hold[1], b2 = data[i];
    out->push_back(uint8_t(b0 >> 2));
    out->push_back(uint8_t(0x80 | (st->hold_start[0] ? 0x40 : 0) | ((b0 & 3) << 4) | (b1 >> 4)));
    out->push_back(uint8_t(0x80 | (st->hold_start[1] ? 0x40 : 0) | ((b1 & 15) << 2) | (b2 >> 6)));
    out->push_back(uint8_t(0x80 | (s ? 0x40 : 0) | (b2 & 63)));
    st->n = 0;
  }
}

int boardemu_load_raw16be(BOARDEMU* emu, const char* path, int words_per_frame) {
  std::vector<uint8_t> bytes;
  if (words_per_frame <= 0 || !read_file(path, &bytes)) return -1;
  size_t nframes = bytes.size() / 2 / size_t(words_per_frame);
  if (!nframes) return -1;
  emu->frames.resize(nframes * size_t(words_per_frame));
  for (size_t i = 0; i < emu->frames.size(); i++)
    emu->frames[i] = uint16_t(((bytes[2 * i] << 8) | bytes[2 * i + 1]) & 0x3FF);
  emu->words_per_frame = words_per_frame;
  return 0;
}

int boardemu_load_cadu(BOARDEMU* emu, const char* path, long header) {
  std::vector<uint8_t> bytes;
  if (header < 0 || !read_file(path, &bytes) || bytes.size() < size_t(header)) return -1;
  size_t nframes = (bytes.size() - size_t(header)) / 1024;
  if (!nframes) return -1;
  emu->frames.assign(bytes.begin() + header, bytes.begin() + header + long(nframes * 1024));
  emu->words_per_frame = 1024;
  return 0;
}

int boardemu_load_capture(BOARDEMU* emu, const char* path) {
  if (!read_file(path, &emu->raw) || emu->raw.empty()) return -1;
  emu->raw_pos = 0;
  return 0;
}
