// CCSDS frames and packets; Metop AVHRR packet reassembly and conversion.
#include "ccsds/cadu.h"

#include <algorithm>
#include <cstring>

namespace {

// Bounded bit reader, most significant bit first. Reads past the end give
// zero bits, so a short or damaged packet can never be read outside its buffer.
struct BitReader {
  const uint8_t* p = nullptr;
  long nbytes = 0;
  long bit = 0;
  int get(int nbits) {
    int v = 0;
    for (int i = 0; i < nbits; i++, bit++) {
      long byte = bit >> 3;
      int b = byte < nbytes ? (p[byte] >> (7 - (bit & 7))) & 1 : 0;
      v = (v << 1) | b;
    }
    return v;
  }
};

// The unbounded process-wide readers behind extr_word/extr_word8.
const uint8_t* g_bits_ptr = nullptr;
long g_bits_pos = 0;

int next_bits(const uint8_t* ptr, int shift, int nbits) {
  if (ptr) {
    g_bits_ptr = ptr;
    g_bits_pos = shift;
  }
  if (!g_bits_ptr) return 0;
  int v = 0;
  for (int i = 0; i < nbits; i++, g_bits_pos++)
    v = (v << 1) | ((g_bits_ptr[g_bits_pos >> 3] >> (7 - (g_bits_pos & 7))) & 1);
  return v;
}

// Reassembly state of the AVHRR packets.
struct MtpState {
  uint8_t buf[MTP_PACKET_BUF];
  int pos = 0;
  int prev_cnt = -100;
  CCSDS_PACKET last{};
};
MtpState g_mtp;

// Appends n bytes, clipped so that the buffer never exceeds its size.
void mtp_append(const uint8_t* src, int n) {
  if (g_mtp.pos < 0) g_mtp.pos = 0;
  int room = MTP_PACKET_BUF - g_mtp.pos;
  if (n > room) n = room;
  if (n <= 0) return;
  std::memcpy(g_mtp.buf + g_mtp.pos, src, size_t(n));
  g_mtp.pos += n;
}

const uint16_t kHrptSync[6] = {644, 367, 860, 413, 527, 149};

}  // namespace

void read_vcduhdr(VCDU* v, const uint8_t* b) {
  v->version = b[0] >> 6;
  v->sc_id = ((b[0] << 2) & 255) + (b[1] >> 6);
  v->vc_id = b[1] & 63;
  v->cnt = (b[2] << 16) | (b[3] << 8) | b[4];
  v->replay = b[5] >> 7;
  v->spare = b[5] & 0x7F;
  v->data = b + 8;
  v->dlen = CADU_ZONE_LEN + 2;
  v->m_pdu.fhp = ((v->data[0] << 8) & 0x700) + v->data[1];
  v->m_pdu.data = v->data + 2;
  v->m_pdu.dlen = CADU_ZONE_LEN;
}

// Packet header, 14 bytes:
//   0  vvvt saaa   version (3), type, secondary header flag, APID high bits
//   1  aaaa aaaa   APID low byte
//   2  ffcc cccc   sequence flags, sequence count (14 bits with byte 3)
//   4  2 bytes     packet length
//   6  2 bytes     day since 2000-01-01
//   8  4 bytes     milliseconds of day
//   12 2 bytes     microseconds
void parse_ccsds_hdr(CCSDS_PACKET* pk, const uint8_t* p) {
  CCSDS_PRIM_HDR& h = pk->ccsds_prim_hdr;
  h.vers = p[0] >> 5;
  h.type = (p[0] >> 4) & 1;
  h.sec_hdrflg = (p[0] >> 3) & 1;
  h.apid = ((p[0] << 8) & 0x700) + p[1];
  h.seq_flg = p[2] >> 6;
  h.pckt_seqcnt = ((p[2] << 8) & 0x3F00) + p[3];
  h.pckt_len = p[4] * 256 + p[5];
  CCSDS_DATA_FLD1& f = pk->ccsds_data_fld1;
  f.sec_hdr_day = (p[6] << 8) | p[7];
  f.sec_hdr_msec = (uint32_t(p[8]) << 24) | (uint32_t(p[9]) << 16) | (uint32_t(p[10]) << 8) | p[11];
  f.sec_hdr_usec = (p[12] << 8) | p[13];
  f.sbt_sec = f.sbt_subsec = 0;
}

int read_ccsds(VCDU* v) {
  // The header must start inside the zone; its 14 bytes then lie inside the
  // unit (zone and parity follow).
  if (v->m_pdu.fhp > CADU_ZONE_LEN - 1) return -1;
  parse_ccsds_hdr(&v->ccsds, v->m_pdu.data + v->m_pdu.fhp);
  return 0;
}

int extr_word(const uint8_t* ptr, int shift) { return next_bits(ptr, shift, 10); }
int extr_word8(const uint8_t* ptr, int shift) { return next_bits(ptr, shift, 8); }

int metop_daycnt2noaa_dcnt(int day) {
  if (day < 0) day = 0;
  for (int year = 0;; year++) {
    int len = (year % 4 == 0) ? 366 : 365;
    if (day < len) break;
    day -= len;
  }
  return day + 1;
}

int fy3_daycnt2noaa_dcnt(int day) { return metop_daycnt2noaa_dcnt(day); }

// NOAA HRPT header words 0-11:
//   0-5 frame sync; 6 APID & 0x79; 7 zero; 8 day of year x 2;
//   9-11 milliseconds of day in three 10-bit words (the first + 640).
void ccsds_line_header(uint16_t* line, const CCSDS_PACKET* pk) {
  for (int i = 0; i < 6; i++) line[i] = kHrptSync[i];
  uint32_t ms = pk->ccsds_data_fld1.sec_hdr_msec;
  line[6] = uint16_t(pk->ccsds_prim_hdr.apid & 0x79);
  line[7] = 0;
  line[8] = uint16_t((metop_daycnt2noaa_dcnt(pk->ccsds_data_fld1.sec_hdr_day) * 2) & 0x3FE);
  line[9] = uint16_t(((ms >> 20) & 0x3FF) + 640);
  line[10] = uint16_t((ms >> 10) & 0x3FF);
  line[11] = uint16_t(ms & 0x3FF);
}

// AVHRR packet application data, 10-bit words from packet byte 20:
//   space view 10 samples x 5 channels, ramp calibration 5, earth view
//   2048 x 5 (channel-interleaved), IR target temperature 5, patch
//   temperature 5, IR back scan 10 x 5.
void pckt2line(const CCSDS_PACKET* hdr, const uint8_t* buf, int len, uint16_t* line) {
  APPL_DATA a{};
  BitReader br{buf + 20, std::max(0, len - 20), 0};
  for (int i = 0; i < 10; i++)
    for (int c = 0; c < 5; c++) a.det_space_view[c][i] = br.get(10);
  for (int c = 0; c < 5; c++) a.electr_ramp_cal[c] = br.get(10);
  for (int k = 0; k < 2048 * 5; k++) line[750 + k] = uint16_t(br.get(10));
  for (int c = 0; c < 5; c++) a.tlm_ir_target_temp[c] = br.get(10);
  for (int c = 0; c < 5; c++) a.tlm_patch_temp[c] = br.get(10);
  for (int i = 0; i < 10; i++)
    for (int c = 0; c < 5; c++) a.det_ir_backscan[c][i] = br.get(10);

  std::fill(line, line + 750, uint16_t(0));
  ccsds_line_header(line, hdr);
  for (int c = 0; c < 5; c++) line[12 + c] = uint16_t(a.electr_ramp_cal[c]);
  for (int c = 2; c < 5; c++) line[17 + c - 2] = uint16_t(a.tlm_ir_target_temp[c]);
  line[20] = uint16_t(a.tlm_patch_temp[2]);
  line[21] = 1;
  for (int i = 0; i < 10; i++)
    for (int c = 2; c < 5; c++) line[22 + 3 * i + (c - 2)] = uint16_t(a.det_ir_backscan[c][i]);
  for (int i = 0; i < 10; i++)
    for (int c = 0; c < 5; c++) line[52 + 5 * i + c] = uint16_t(a.det_space_view[c][i]);
}

int mtp_avhrr_frame2line(const uint8_t* frame, uint16_t* line, int fill_gaps) {
  VCDU v;
  read_vcduhdr(&v, frame + 4);
  if (v.vc_id != mtp_avhrr) return MTP_OTHER_VC;
  const uint8_t* zone = v.m_pdu.data;
  int fhp = v.m_pdu.fhp;
  if (fhp > CADU_ZONE_LEN - 1) {
    // No packet starts here: the whole zone continues the current packet. A
    // counter jump of 2 or 3 (one or two frames lost) leaves one frame's room.
    if (fill_gaps && (v.cnt == g_mtp.prev_cnt + 2 || v.cnt == g_mtp.prev_cnt + 3))
      g_mtp.pos = std::min(g_mtp.pos + CADU_ZONE_LEN, MTP_PACKET_BUF);
    mtp_append(zone, CADU_ZONE_LEN);
    g_mtp.prev_cnt = v.cnt;
    return MTP_CONTINUED;
  }
  // The end of the current packet, then the header of the one starting here.
  mtp_append(zone, fhp);
  g_mtp.prev_cnt = v.cnt;
  read_ccsds(&v);
  const CCSDS_PRIM_HDR& h = v.ccsds.ccsds_prim_hdr;
  int r = MTP_NOT_AVHRR;
  if ((h.apid == 103 || h.apid == 104) && h.seq_flg == 3) {
    pckt2line(&v.ccsds, g_mtp.buf, g_mtp.pos, line);
    r = MTP_LINE;
  }
  g_mtp.last = v.ccsds;
  g_mtp.pos = 0;
  mtp_append(zone + fhp, CADU_ZONE_LEN - fhp);
  return r;
}

int temp_qnoaa_avhrr_frame2line(const uint8_t* frame, uint16_t* line, int fill_gaps) {
  return mtp_avhrr_frame2line(frame, line, fill_gaps);
}

int mtpframe2line(const uint16_t* frame_words, uint16_t* line, int fill_gaps) {
  uint8_t b[CADU_LEN];
  for (int i = 0; i < CADU_LEN; i++) b[i] = uint8_t(frame_words[i]);
  return mtp_avhrr_frame2line(b, line, fill_gaps);
}

void mtp_reset() {
  std::memset(g_mtp.buf, 0, sizeof(g_mtp.buf));
  g_mtp.pos = 0;
  g_mtp.prev_cnt = -100;
  g_mtp.last = CCSDS_PACKET{};
}

const CCSDS_PACKET* mtp_last_packet() { return &g_mtp.last; }
int mtp_fill_pos() { return g_mtp.pos; }

namespace {
// One period (255 bytes) of the pseudo-random sequence: a(n+8) = a(n+7) ^
// a(n+5) ^ a(n+3) ^ a(n), a(0..7) = 1, first bit in the most significant place.
struct Pn {
  uint8_t seq[255];
  Pn() {
    uint8_t bits[255 * 8 + 8];
    for (int i = 0; i < 8; i++) bits[i] = 1;
    for (int n = 0; n + 8 < int(sizeof bits); n++)
      bits[n + 8] = bits[n + 7] ^ bits[n + 5] ^ bits[n + 3] ^ bits[n];
    for (int i = 0; i < 255; i++) {
      int v = 0;
      for (int k = 0; k < 8; k++) v = (v << 1) | bits[8 * i + k];
      seq[i] = uint8_t(v);
    }
  }
};
}  // namespace

void ccsds_derandomise(uint8_t* data, int n) {
  static const Pn pn;
  for (int i = 0, k = 0; i < n; i++, k = (k == 254 ? 0 : k + 1)) data[i] ^= pn.seq[k];
}
