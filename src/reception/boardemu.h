// A software model of the decoder board as the host sees it through the FTDI
// bridge: the two-byte register protocol on 64 registers, the serial, I2C and
// DiSEqC outputs driven by registers 12 to 19, and the symbol stream packed the
// way the selected mode packs it. It streams a source (frames of a recording,
// or a raw capture replayed byte for byte), can pace itself in real time, can
// inject faults, and records what the host wrote so tests can check it.
//
// Register map as modelled:
//   0      bit 0 stops the stream, bit 1 fast (FT232H) transfer mode
//   1      satellite mode code (written); 2 reads it back
//   3      angle display: 0 off, 1 show X (8, 9), 2 show Y (10, 11)
//   4..7   firmware identification
//   12     serial control: 128 sends register 14 to the tuner, 3 / 1 send it
//          as an I2C byte (1: last), 0 ends the I2C message, 0x40 / 0x60 send
//          the DiSEqC command of 16..19 on the X / Y output
//   13     serial status, bit 7 transmit buffer overflow
//   14     serial transmit data
//   16..19 DiSEqC address, command, data 0, data 1
//   20..23 generator and decoder rate dividers (low, high)
//
// Stream packing (per data unit d with flags start S and in-sync I):
//   mode 2:  byte 1 = 0 0 d9 d8 d3 d2 d1 d0      byte 2 = 1 0 I S d7 d6 d5 d4
//   mode 4:  three data bytes b0 b1 b2 as four 6-bit codes, bit 7 set on codes
//            2..4 of a group, bit 6 set on the code completing a frame's first
//            byte:  b0>>2 | (b0&3)<<4|b1>>4 | (b1&15)<<2|b2>>6 | b2&63
//   mode 0:  the data bytes as they are (1024-byte frames with their marker)
#pragma once
#include <cstdint>
#include <string>
#include <vector>

// Mode 4 packer: data bytes waiting for a complete group of three.
struct PACK4_STATE {
  uint8_t hold[2];
  bool hold_start[2];
  int n = 0;
};

// What the host wrote, as seen by the board.
struct BOARDEMU_LOG {
  std::vector<std::pair<int, int>> reg_writes;  // (register, value) in order
  std::vector<int> reg_reads;                   // registers read, in order
  int pointer_resets = 0;                       // reset commands (0x00)
  std::vector<uint8_t> serial_tx;               // bytes sent with 12 := 128
  std::vector<std::vector<uint8_t>> i2c_msgs;   // each ended by 12 := 0
  struct Diseqc {
    int output;  // 0: X (12 := 0x40), 1: Y (12 := 0x60)
    uint8_t bytes[4];
  };
  std::vector<Diseqc> diseqc;
  int purges = 0;
  int opens = 0, closes = 0;
};

struct BOARDEMU {
  // Identity on the bus.
  char serial[16] = "EMU0001";
  char description[64] = "Pava board emulator";
  uint8_t firmware[4] = {'E', 'M', 'U', '1'};

  // Source: frames of words_per_frame units (10-bit words, or bytes for the
  // CCSDS modes and mode 0), streamed in order; at the end the source starts
  // again when loop is set, else the board streams out-of-sync filler.
  std::vector<uint16_t> frames;
  int words_per_frame = 0;
  bool loop = false;
  // A capture replayed byte for byte instead of packing frames (when not empty).
  std::vector<uint8_t> raw;
  // Packing: -1 from the mode registers (code 7 -> 0; codes 4, 6, 11 without
  // fast mode -> 4; else 2), or 0, 2, 4.
  int packing = -1;

  // Timing: real-time pacing at bytes_per_sec when pace is set. Time-outs of
  // the host's reads are scaled by timeout_scale (1: real time; tests use a
  // small factor so a stalled stream costs little wall time).
  bool pace = false;
  double bytes_per_sec = 133080.0;  // HRPT: 66540 words/s, two bytes each
  double timeout_scale = 1.0;

  // Faults.
  double bit_error_rate = 0.0;  // per data bit of streamed frames
  uint32_t seed = 1;            // of the bit-error generator
  long sync_loss_from = -1;     // frame index where sync is lost ...
  long sync_loss_frames = 0;    // ... for this many frames: noise without the
                                // in-sync flag (frame starts still marked)
  long stall_after = -1;        // stream bytes after which reads time out
  long vanish_after = -1;       // stream bytes after which the device is gone
  int overflow_reads = 0;       // reads of register 13 that report overflow

  // State (read by tests).
  uint8_t regs[64] = {};
  bool present = true;  // on the bus
  bool open = false;
  BOARDEMU_LOG log;
  long streamed = 0;     // stream bytes delivered
  long frames_sent = 0;  // source frames packed so far

  // Internal.
  uint32_t read_timeout_ms = 1000;
  int parser = 0;  // pending write command register + 1, 0 when idle
  std::vector<uint8_t> answers;
  std::vector<uint8_t> pending;  // packed stream bytes not yet read
  size_t pending_pos = 0;
  size_t raw_pos = 0;
  std::vector<uint8_t> serial_cur;  // I2C bytes of the message being sent
  uint32_t rng = 1;
  double t_start = -1.0;
  PACK4_STATE pack4;
};

// Attaches emu to the emulator backend (ftport_emulator); null detaches.
// The board stays owned by the caller.
void boardemu_attach(BOARDEMU* emu);
BOARDEMU* boardemu_attached();

// Sources. HRPT words from a file of 16-bit big-endian words (the low 10 bits
// kept; 11090 words a frame); CCSDS frames of 1024 bytes from a file, skipping
// header bytes first; a raw capture. Return 0, or -1 when the file cannot be
// read or holds no whole frame.
int boardemu_load_raw16be(BOARDEMU* emu, const char* path, int words_per_frame = 11090);
int boardemu_load_cadu(BOARDEMU* emu, const char* path, long header = 0);
int boardemu_load_capture(BOARDEMU* emu, const char* path);

// The packing in force (0, 2 or 4) for the current registers.
int boardemu_packing(const BOARDEMU* emu);

// Packs one unit into mode 2's two bytes; for tests and the benchmark.
void boardemu_pack2(int value, bool start, bool insync, uint8_t out[2]);
// Packs a byte sequence into mode 4 codes, appending to out; start (may be
// null) marks a frame's first byte. st carries bytes of an incomplete group.
void boardemu_pack4(const uint8_t* data, const bool* start, size_t n, std::vector<uint8_t>* out,
                    PACK4_STATE* st);
