// CADU frame routines on arbitrary units: headers, Reed-Solomon in both bases,
// Metop packet reassembly and the FY-3 VIRR line search.
#include <cstdint>
#include <cstring>
#include <vector>

#include "ccsds/cadu.h"
#include "ccsds/fy3.h"
#include "ccsds/rs.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static std::vector<uint16_t> mline(MTP_LINE_WORDS), fline(FY3_LINE_WORDS);
  if (size == 0) return 0;
  int fill = data[0] & 1;
  mtp_reset();
  fy3_reset();
  for (size_t ofs = 1; ofs < size; ofs += CADU_LEN) {
    uint8_t f[CADU_LEN] = {0};
    size_t n = size - ofs < size_t(CADU_LEN) ? size - ofs : size_t(CADU_LEN);
    std::memcpy(f, data + ofs, n);
    VCDU v;
    read_vcduhdr(&v, f + 4);
    read_ccsds(&v);
    uint8_t g[CADU_LEN];
    std::memcpy(g, f, CADU_LEN);
    Decode_RS(g, 4, 1);
    rs_decode_frm(f);
    mtp_avhrr_frame2line(f, mline.data(), fill);
    fy3_frame2line(f, fy3_virr_day, fline.data(), fill);
  }
  return 0;
}
