// CCSDS channel access data units, transfer frame and source packet headers,
// and the Metop AVHRR packets turned into NOAA-HRPT-shaped lines.
//
// One unit (CADU) as stored, 1024 bytes:
//
//   0     4    attached sync marker 1A CF FC 1D
//   4     6    VCDU primary header  vvss ssss | sscc cccc | counter (24) | r.......
//   10    2    VCDU insert zone (skipped)
//   12    2    M_PDU header: 5 spare bits, 11-bit first header pointer (fhp)
//   14  882    M_PDU packet zone
//   896 128    Reed-Solomon parity, 4 x 32 interleaved
//
// A first header pointer above 881 (2047: "no packet starts here") means the
// whole zone continues the packet of earlier frames.
#pragma once
#include <cstdint>
#include <cstdio>

constexpr int CADU_LEN = 1024;
constexpr int CADU_ZONE_OFS = 14;
constexpr int CADU_ZONE_LEN = 882;
constexpr int CADU_PARITY_OFS = 896;

// Virtual channels used by the readers.
enum VCID {
  mtp_avhrr = 9,
  fy3_mersi = 19,
  fy3_virr_day = 21,
  fy3_virr_night1 = 25,
  fy3_virr_night2 = 26,
  fy3_virr_night3 = 28
};

// Source packet primary header (6 bytes).
struct CCSDS_PRIM_HDR {
  int vers;         // byte0 >> 5
  int type;         // bit 4 of byte 0
  int sec_hdrflg;   // bit 3 of byte 0
  int apid;         // 11 bits
  int seq_flg;      // byte2 >> 6; 3: unsegmented
  int pckt_seqcnt;  // 14 bits
  int pckt_len;     // bytes 4-5
};

// Secondary header: time of the packet.
struct CCSDS_DATA_FLD1 {
  int sec_hdr_day;          // days since 1 January 2000
  uint32_t sec_hdr_msec;    // milliseconds of day
  int sec_hdr_usec;         // microseconds
  int sbt_sec, sbt_subsec;  // unused
};

// Calibration words of an AVHRR packet ([channel][sample]).
struct APPL_DATA {
  int det_space_view[5][10];
  int electr_ramp_cal[5];
  int tlm_ir_target_temp[5];
  int tlm_patch_temp[5];
  int det_ir_backscan[5][10];
};

struct CCSDS_PACKET {
  CCSDS_PRIM_HDR ccsds_prim_hdr;
  CCSDS_DATA_FLD1 ccsds_data_fld1;
  APPL_DATA appl_data;
};

struct M_PDU {
  int fhp;              // first header pointer, 0..2047
  const uint8_t* data;  // packet zone
  int dlen;
};

struct VCDU {
  int version;
  int sc_id;
  int vc_id;
  int cnt;  // 24-bit frame counter
  int replay;
  int spare;
  int dlen;
  const uint8_t* data;  // byte after header and insert zone
  M_PDU m_pdu;
  CCSDS_PACKET ccsds;
};

// Parses the 6-byte VCDU header at bytes (frame + 4) and the M_PDU header
// that follows the insert zone; bytes must have 10 bytes of header and the
// zone behind it (a whole unit).
void read_vcduhdr(VCDU* vcdu, const uint8_t* bytes);

// Parses the 14-byte packet header at m_pdu.data[fhp] into vcdu->ccsds.
// Returns 0, or -1 (nothing read) when fhp lies past the packet zone.
int read_ccsds(VCDU* vcdu);

// Parses a packet header (14 bytes at p) into pk.
void parse_ccsds_hdr(CCSDS_PACKET* pk, const uint8_t* p);

// Bit readers of 10-bit (extr_word) and 8-bit (extr_word8) words, most
// significant bit first. A non-null ptr starts at bit shift of that byte; a
// null ptr returns the next word. The caller keeps the reads inside its buffer.
int extr_word(const uint8_t* ptr, int shift = 0);
int extr_word8(const uint8_t* ptr, int shift = 0);

// Day of year of a day count since 1 January 2000 (leap year every 4 years).
int metop_daycnt2noaa_dcnt(int day);
int fy3_daycnt2noaa_dcnt(int day);

// Words of a Metop line: 750 header words, then 2048 x 5 earth-view words.
constexpr int MTP_LINE_WORDS = 750 + 2048 * 5;
constexpr int MTP_PACKET_BUF = 13000;

// Results of mtp_avhrr_frame2line.
enum {
  MTP_LINE = 1,        // a line was produced
  MTP_CONTINUED = 0,   // the frame only continued a packet
  MTP_NOT_AVHRR = -1,  // a packet completed, but not AVHRR (APID, sequence flags)
  MTP_OTHER_VC = -2    // the frame is not on virtual channel 9
};

// Fills the NOAA-shaped header words 0-11 (sync, id, day, milliseconds) from
// a packet's APID and time.
void ccsds_line_header(uint16_t* line, const CCSDS_PACKET* pk);

// Converts a buffered AVHRR packet (buf, len bytes from its primary header
// on) into line (MTP_LINE_WORDS words); hdr gives the APID and time.
void pckt2line(const CCSDS_PACKET* hdr, const uint8_t* buf, int len, uint16_t* line);

// Reassembles AVHRR packets over frames (1024 bytes) in a process-wide
// 13000-byte buffer and converts a completed packet into line
// (MTP_LINE_WORDS words). fill_gaps: a counter jump of 2 or 3 leaves one
// frame's worth of room. Returns one of the MTP_ codes.
int mtp_avhrr_frame2line(const uint8_t* frame_bytes, uint16_t* line, int fill_gaps);
// The same entry under the NOAA-20/21 reader's name.
int temp_qnoaa_avhrr_frame2line(const uint8_t* frame_bytes, uint16_t* line, int fill_gaps);
// Narrows a frame of 1024 words to bytes, then mtp_avhrr_frame2line.
int mtpframe2line(const uint16_t* frame_words, uint16_t* line, int fill_gaps);
// Empties the reassembly buffer and forgets the counter (start of a file).
void mtp_reset();
// Header of the packet that began in the last frame with a packet start.
const CCSDS_PACKET* mtp_last_packet();
// Fill position of the reassembly buffer (for tests).
int mtp_fill_pos();

// The CCSDS pseudo-random sequence (x^8+x^7+x^5+x^3+1, all-ones seed) XORed
// over n bytes that follow a sync marker; applying it twice restores them.
void ccsds_derandomise(uint8_t* data, int n);
