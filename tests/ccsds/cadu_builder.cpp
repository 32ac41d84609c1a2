#include "cadu_builder.h"

#include <cstring>
#include <set>

#include "ccsds/cadu.h"
#include "fec_oracle.h"

namespace cadu_builder {

namespace {

struct BitWriter {
  Bytes& out;
  long bit = 0;
  void put(uint32_t v, int nbits) {
    for (int i = nbits - 1; i >= 0; i--, bit++) {
      if ((bit >> 3) >= long(out.size())) out.push_back(0);
      if ((v >> i) & 1) out[bit >> 3] |= uint8_t(0x80 >> (bit & 7));
    }
  }
};

}  // namespace

AvhrrScan make_scan(int seed, int day, uint32_t msec, int apid) {
  AvhrrScan s;
  s.apid = apid;
  s.day = day;
  s.msec = msec;
  uint32_t x = 2463534242u + uint32_t(seed) * 7919u;
  auto rnd = [&] {
    x ^= x << 13, x ^= x >> 17, x ^= x << 5;
    return uint16_t(x & 1023);
  };
  for (auto& r : s.space)
    for (auto& v : r) v = rnd();
  for (auto& v : s.ramp) v = rnd();
  for (auto& v : s.earth) v = rnd();
  for (auto& v : s.target) v = rnd();
  for (auto& v : s.patch) v = rnd();
  for (auto& r : s.backscan)
    for (auto& v : r) v = rnd();
  return s;
}

Bytes avhrr_packet(const AvhrrScan& s, int seqcnt) { return sim_avhrr_packet(s, seqcnt); }

void FrameWriter::frame(const uint8_t* zone, int fhp) {
  Bytes f = bare_unit(scid, vcid, counter, fhp, 0);
  std::memcpy(f.data() + 14, zone, 882);
  for (int j = 0; j < 4; j++) {
    uint8_t cw[255];
    for (int i = 0; i < 223; i++) cw[i] = f[size_t(4 + 4 * i + j)];
    fec_oracle::encode_ccsds(cw, cw + 223, 0);
    for (int i = 223; i < 255; i++) f[size_t(4 + 4 * i + j)] = cw[i];
  }
  if (randomise) ccsds_derandomise(f.data() + 4, 1020);
  out.insert(out.end(), f.begin(), f.end());
  counter++;
}

void FrameWriter::packets(const std::vector<Bytes>& pk) {
  SIM_MPDU_PACKER packer;
  packer.on_zone = [this](const uint8_t* zone, int fhp) { frame(zone, fhp); };
  for (const auto& p : pk) packer.packet(p.data(), p.size());
  packer.flush();
}

void FrameWriter::stream(const Bytes& data) {
  for (long ofs = 0; ofs < long(data.size()); ofs += 882) {
    uint8_t zone[882];
    std::memset(zone, 0x55, sizeof zone);
    long n = std::min<long>(882, long(data.size()) - ofs);
    std::memcpy(zone, data.data() + ofs, size_t(n));
    frame(zone, 2047);
  }
}

Bytes bare_unit(int scid, int vcid, long cnt, int fhp, uint8_t fill) {
  Bytes f(1024, 0);
  f[0] = 0x1A, f[1] = 0xCF, f[2] = 0xFC, f[3] = 0x1D;
  f[4] = uint8_t(0x40 | ((scid >> 2) & 0x3F));
  f[5] = uint8_t(((scid & 3) << 6) | (vcid & 63));
  f[6] = uint8_t(cnt >> 16), f[7] = uint8_t(cnt >> 8), f[8] = uint8_t(cnt);
  f[12] = uint8_t((fhp >> 8) & 7), f[13] = uint8_t(fhp);
  std::memset(f.data() + 14, fill, 882);
  return f;
}

void inject_errors(Bytes& units, int n, std::mt19937& rng) {
  for (size_t base = 0; base + 1024 <= units.size(); base += 1024) {
    for (int j = 0; j < 4; j++) {
      std::set<int> pos;
      while (int(pos.size()) < n) pos.insert(int(rng() % 255));
      for (int i : pos) units[base + 4 + 4 * i + j] ^= uint8_t(1 + rng() % 255);
    }
  }
}

Bytes virr_stream(const std::vector<std::vector<uint16_t>>& lines, long lead_bits, long gap_bits) {
  Bytes out;
  BitWriter w{out, 0};
  for (long i = 0; i < lead_bits; i++) w.put(0, 1);
  for (const auto& l : lines) {
    w.put(0x845BF5, 24);
    for (long i = 24; i < 436 * 8; i++) w.put(0, 1);
    for (uint16_t v : l) w.put(v, 10);
    for (long i = 0; i < gap_bits; i++) w.put(0, 1);
  }
  return out;
}

}  // namespace cadu_builder
