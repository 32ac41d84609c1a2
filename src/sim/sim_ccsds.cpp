// CCSDS record files of the simulator: Metop and NOAA-20 AVHRR packets on
// virtual channel 9, FY-3 VIRR lines on virtual channel 5, in units as the
// board delivers them (derandomised, parity not yet applied) behind the
// recorder's 1024-byte header block.
#include <algorithm>
#include <cstring>
#include <memory>

#include "ccsds/cadu.h"
#include "ccsds/qpsk_files.h"
#include "sim/cadu_writer.h"
#include "sim/rs_encode.h"
#include "sim/sim_internal.h"

namespace {

struct BitWriter {
  uint8_t* out;
  long bit = 0;
  void put(uint32_t v, int nbits) {
    for (int i = nbits - 1; i >= 0; i--, bit++)
      if ((v >> i) & 1) out[bit >> 3] |= uint8_t(0x80 >> (bit & 7));
  }
};

}  // namespace

void sim_packet_header(uint8_t* p, int apid, int seqcnt, long len, int day, uint32_t msec) {
  p[0] = uint8_t(0x08 | ((apid >> 8) & 7));
  p[1] = uint8_t(apid);
  p[2] = uint8_t(0xC0 | ((seqcnt >> 8) & 0x3F));
  p[3] = uint8_t(seqcnt);
  p[4] = uint8_t((len - 7) >> 8), p[5] = uint8_t(len - 7);
  p[6] = uint8_t(day >> 8), p[7] = uint8_t(day);
  for (int i = 0; i < 4; i++) p[8 + i] = uint8_t(msec >> (24 - 8 * i));
  p[12] = p[13] = 0;
}

std::vector<uint8_t> sim_avhrr_packet(const SIM_AVHRR_SCAN& s, int seqcnt) {
  const long words = 50 + 5 + 2048 * 5 + 5 + 5 + 50;
  std::vector<uint8_t> p(size_t(20 + (words * 10 + 7) / 8), 0);
  BitWriter w{p.data(), 160};
  for (auto& r : s.space)
    for (auto v : r) w.put(v, 10);
  for (auto v : s.ramp) w.put(v, 10);
  for (auto v : s.earth) w.put(v, 10);
  for (auto v : s.target) w.put(v, 10);
  for (auto v : s.patch) w.put(v, 10);
  for (auto& r : s.backscan)
    for (auto v : r) w.put(v, 10);
  sim_packet_header(p.data(), s.apid, seqcnt, long(p.size()), s.day, s.msec);
  return p;
}

void SIM_MPDU_PACKER::packet(const uint8_t* p, size_t n, bool starts) {
  for (size_t i = 0; i < n; i++) {
    if (fill == int(sizeof zone)) {
      on_zone(zone, fhp);
      fill = 0;
      fhp = 2047;
    }
    if (i == 0 && starts && fhp == 2047) fhp = fill;
    zone[fill++] = p[i];
  }
}

void SIM_MPDU_PACKER::flush() {
  if (fill == 0) return;
  std::memset(zone + fill, 0x55, sizeof zone - size_t(fill));
  on_zone(zone, fhp);
  fill = 0;
  fhp = 2047;
}

void sim_cadu_build(int scid, int vcid, long counter, const uint8_t* zone, int fhp, uint8_t* f) {
  std::memset(f, 0, CADU_LEN);
  f[0] = 0x1A, f[1] = 0xCF, f[2] = 0xFC, f[3] = 0x1D;
  f[4] = uint8_t(0x40 | ((scid >> 2) & 0x3F));
  f[5] = uint8_t(((scid & 3) << 6) | (vcid & 63));
  const long c = counter & 0xFFFFFF;
  f[6] = uint8_t(c >> 16), f[7] = uint8_t(c >> 8), f[8] = uint8_t(c);
  f[12] = uint8_t((fhp >> 8) & 7), f[13] = uint8_t(fhp);
  std::memcpy(f + CADU_ZONE_OFS, zone, CADU_ZONE_LEN);
  sim_rs_cadu(f);
}

namespace {

// VIRR line packet: header, the line sync 0x845BF5, zeros up to 436 bytes
// after the sync, 2048 x 10 words (pixel-interleaved), padding to 30 whole
// zones so that every line packet starts a unit.
constexpr int kVirrSyncOfs = 14;
constexpr int kVirrDataOfs = kVirrSyncOfs + 436;
constexpr int kVirrPacket = 30 * CADU_ZONE_LEN;
constexpr uint32_t kVirrSync = 0x845BF5;

// Earth-view words can form the line sync by chance; the reader would start
// a line there. Each such place loses it by a change of one count in the
// least significant bit of the word where the pattern begins.
void break_false_syncs(uint8_t* pk, long nbytes) {
  const long data_bit = long(kVirrDataOfs) * 8, end_bit = nbytes * 8;
  uint32_t sr = 0;
  for (long b = data_bit; b < end_bit; b++) {
    sr = ((sr << 1) | ((pk[b >> 3] >> (7 - (b & 7))) & 1)) & 0xFFFFFF;
    if (sr != kVirrSync) continue;
    const long start = b - 23;
    if (start < data_bit) continue;
    const long lsb = data_bit + (start - data_bit) / 10 * 10 + 9;
    pk[lsb >> 3] ^= uint8_t(0x80 >> (lsb & 7));
    b = std::max(data_bit - 1, start - 24);
    sr = 0;
  }
}

std::vector<uint8_t> virr_packet(const SIM_PASS& p, int i, const std::vector<uint16_t>& w) {
  std::vector<uint8_t> pk(kVirrPacket, 0);
  int day;
  uint32_t msec;
  sim::line_time_ccsds(p, i, &day, &msec);
  sim_packet_header(pk.data(), 0x205, i & 0x3FFF, kVirrPacket, day, msec);
  pk[kVirrSyncOfs] = uint8_t(kVirrSync >> 16);
  pk[kVirrSyncOfs + 1] = uint8_t(kVirrSync >> 8);
  pk[kVirrSyncOfs + 2] = uint8_t(kVirrSync);
  BitWriter bw{pk.data(), long(kVirrDataOfs) * 8};
  for (uint16_t v : w) bw.put(v, 10);
  break_false_syncs(pk.data(), kVirrDataOfs + 2048 * 10 * 10 / 8);
  return pk;
}

// The AVHRR scan of line i: the earth view and the calibration words the
// display reads from an HRPT frame (PRT cycle, black body, space).
void avhrr_scan(const SIM_PASS& p, int i, const SIM_LINE& l, SIM_AVHRR_SCAN* s) {
  sim::line_time_ccsds(p, i, &s->day, &s->msec);
  for (int k = 0; k < 10; k++)
    for (int c = 0; c < 5; c++) {
      s->space[k][c] = uint16_t(p.th.space[c + 1]);
      s->backscan[k][c] = uint16_t(c >= 2 ? p.th.bb[c + 1] : 0);
    }
  for (int c = 0; c < 5; c++) {
    s->ramp[c] = uint16_t((i * 37 + c * 100) % 1024);
    s->target[c] = uint16_t(i % 5 == 0 ? 2 : p.th.prt_count[i % 5]);
    s->patch[c] = 0x0A0;
  }
  for (int x = 0; x < 2048; x++)
    for (int c = 0; c < 5; c++) s->earth[5 * x + c] = l.counts[c + 1][size_t(x)];
}

// Words of a VIRR line: channel c of pixel x at 10 x + c.
void virr_words(const SIM_PASS& p, const SIM_LINE& l, std::vector<uint16_t>* out) {
  out->assign(size_t(10 * p.width), 0);
  for (int x = 0; x < p.width; x++)
    for (int c = 0; c < 10; c++) (*out)[size_t(10 * x + c)] = l.counts[c + 1][size_t(x)];
}

}  // namespace

namespace sim {

int write_ccsds(const SIM_PASS& p, FILE* fp, std::string* err) {
  const int f = p.req.format;
  const bool fy3 = f == SIM_FY3;
  const int type = fy3 ? FT_FY3 : f == SIM_NOAA20 ? FT_QNOAA20 : FT_METOP;
  std::unique_ptr<PICINFO, void (*)(PICINFO*)> pic(new_pic(p, type, fp), pic_delete);
  pic->reed_solomon = 0;  // parity as received, not applied
  // The identifier the file opener knows each type by.
  write_metfy_hdr_file(pic.get(), fp, fy3 ? "FY3x" : f == SIM_NOAA20 ? "QNO0" : "METOPx");
  pic->fp = nullptr;

  Channel ch(p);
  int loss0, loss1;
  sync_loss_lines(p, &loss0, &loss1);
  const int vcid = fy3 ? (fy3_virr_day & 15) : mtp_avhrr;
  long counter = 0;
  bool lost = false;
  uint8_t unit[CADU_LEN];
  SIM_MPDU_PACKER packer;
  packer.on_zone = [&](const uint8_t* zone, int fhp) {
    sim_cadu_build(p.scid, vcid, counter++, zone, fhp, unit);
    if (lost)
      ch.noise(unit, CADU_LEN);  // no lock: noise instead of units
    else
      ch.flip(unit, CADU_LEN);
    std::fwrite(unit, 1, CADU_LEN, fp);
  };
  for_each_line(
      p,
      [&](int i, const SIM_LINE& l, std::vector<uint16_t>* out) {
        if (fy3) {
          std::vector<uint16_t> w;
          virr_words(p, l, &w);
          std::vector<uint8_t> pk = virr_packet(p, i, w);
          out->assign(pk.begin(), pk.end());
        } else {
          auto s = std::make_unique<SIM_AVHRR_SCAN>();
          avhrr_scan(p, i, l, s.get());
          std::vector<uint8_t> pk = sim_avhrr_packet(*s, i & 0x3FFF);
          out->assign(pk.begin(), pk.end());
        }
      },
      [&](int i, std::vector<uint16_t>& bytes) {
        lost = i >= loss0 && i < loss1;
        std::vector<uint8_t> pk(bytes.begin(), bytes.end());
        packer.packet(pk.data(), pk.size());
        return true;
      });
  lost = false;
  if (!fy3) {
    // An idle packet closes the last scan: the reader completes a packet
    // when the next one begins.
    uint8_t idle[64];
    std::memset(idle, 0x55, sizeof idle);
    int day;
    uint32_t msec;
    line_time_ccsds(p, p.lines, &day, &msec);
    sim_packet_header(idle, 0x7FF, 0, sizeof idle, day, msec);
    packer.packet(idle, sizeof idle);
  }
  packer.flush();
  if (std::ferror(fp)) {
    *err = "Write error";
    return 1;
  }
  return 0;
}

}  // namespace sim
