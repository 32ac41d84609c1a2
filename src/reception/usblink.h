// The USB link to the decoder board: opening the FTDI device, the register
// protocol, and the stream of flagged words the board sends while data is on,
// with the three operations the recorder needs (wait for sync, pull a frame,
// open/close), dispatched by port type.
//
// Register protocol (bytes host -> board; every answer is one byte back):
//   0x00 0x00        reset the board's command parser
//   0x40|r  v        write v to register r (0..63)
//   0xC0|r           read register r
//
// Flagged word produced by the unpacker for every data unit:
//   bits 0-9 data (bytes in 0-7 for CCSDS modes), bit 8 Viterbi lock and bit 9
//   inverted data (8-bit modes), bit 10 frame start, bit 11 in sync.
#pragma once
#include <cstdint>

#include "formats/picinfo.h"
#include "reception/ftport.h"
#include "reception/recordinfo.h"

constexpr int USBW_START = 0x400;   // first unit of a frame
constexpr int USBW_INSYNC = 0x800;  // in sync
constexpr int USB_BLOCK = 1024;     // bytes of one read

// ---- Device handling ----

// Number of devices (-1 when the enumeration fails). When there are devices
// *list receives a zeroed array of that many nodes filled by the backend (the
// caller frees it with free()); on a failure to fill it *list is null and -1
// is returned.
int usb_list_ndevs(FT_DEVICE_LIST_INFO_NODE** list);

// The serial number of the first device that has a serial number or a
// description, in a process-wide string (unchanged, initially empty, when no
// device qualifies). Never null.
const char* usb_list_devs();

// Opens the board: by usbport_id when usb_use_id is set, else the first device
// of usb_list_devs; sets read and write time-outs of 1000 ms. 0 when open
// (also when it already was), -1 on failure (ftHandle stays null).
int usb_init_connect(usb_items* usb);
void usb_close_connect(usb_items* usb);
// Waits 100 ms, then purges both FTDI queues. Returns 0.
int usb_flush_tx(usb_items* usb);
// Prints "arx=%d\n" with the bytes waiting in the receive queue.
void get_ftstatus(void* handle);

// ---- Register protocol ----

// Sends the parser reset: -1 write failed, 1 short write, 0 ok.
int usb_reset_regmap(usb_items* usb);
// Writes val to reg (opening the link if needed, -1 when that fails; 100 ms
// settle after a fresh open): -1 write failed, 1 short write, 0 ok.
int usb_write_reg(usb_items* usb, int reg, int val);
// Reads reg into *out, same opening rule: -1 write failed, 1 short write,
// -2 read failed, 2 nothing read, 0 ok.
int usb_read_reg(usb_items* usb, int reg, unsigned char* out);
// Reads n registers from first into buf (buf[0] cleared first); -1 at the
// first failure, else 0.
int usb_read_regs(usb_items* usb, int first, int n, unsigned char* buf);
// Opens, resets the parser and writes register reg & 63; the write's status,
// -1 when the link cannot be opened.
int usb_write(usb_items* usb, int reg, int val);
// Opens (0 when that fails), resets the parser, switches data off, flushes and
// reads register reg % 64: its value, or -1.
int usb_read(usb_items* usb, int reg);
// Data stream on (register 0 := 2 fast / 0) and off (3 fast / 1).
int ena_dat(usb_items* usb);
int dis_dat(usb_items* usb);
// Firmware bytes (registers 4..7) into buf4: 0, -1 cannot open, -2 read failed.
int get_firmware(usb_items* usb, unsigned char* buf4);
// Fills pci->firmware from the board and switches the stream on again; the
// status of get_firmware.
int get_hwswinfo(RECORDINFO* rdi, PICINFO* pci);
// Satellite mode of the board: register 1 := code; register 2 & 7.
int set_sat(usb_items* usb, int code);
int get_sat(usb_items* usb);

// One satellite mode of the board.
struct SATMODE {
  int code;          // register 1 value
  const char* name;  // mode name of the recorder panel
  SAT_TYPE sat_type;
  FILE_TYPE file_type;
  int write_only;  // not read back from register 2
};
extern const SATMODE sat_modes[];
extern const int sat_modes_n;
// The code for a mode name; 0 (HRPT) for any other name.
int satmode_code(const char* name);
// The mode read back from register 2 (codes 0..6), null for anything else.
const SATMODE* satmode_readback(int code);
// Whether the mode code allows Reed-Solomon correction (1, 2, 4, 6).
int satmode_rsfec(int code);

// ---- Stream ----

// The unpacker's state: one process-wide instance (one board per process).
struct USB_UNPACKER {
  uint8_t buf[USB_BLOCK];  // last block read
  int nbuf;                // bytes in buf
  int pos;                 // next byte of buf to consume
  int mode;                // 0, 2 or 4
  int grp_idx;             // mode 4: index within the 4-code group
  int grp_cnt;             // mode 4: continuation marker counter 0..3
  int held;                // modes 2 and 4: partial word
  int partial;             // held belongs to a word not yet complete
  uint32_t sr;             // mode 0: marker shift register
  int sync_in;             // mode 0: in sync
  int sync_pos;            // mode 0: byte position in the frame, 0..1023
  int start_pending;       // a frame start was consumed for the next frame
  int stopped;             // the last word ended a read because recording stopped
  int failed_reads;        // consecutive failed reads
  int lost;                // the device went away during a read
};
USB_UNPACKER& usb_unpacker();
// Resets the unpacker to its initial state (empty buffer, out of sync).
void usb_unpacker_reset();

// The unpack mode for a satellite type: 4 for FY3/METOP without fast mode,
// 0 for FY3D and IQTEST, 2 for everything else.
int usb_unpack_mode(int sat_type, int fast_ftd);

// Feeds one byte to the unpacker in mode u->mode; returns 1 and sets *word
// when the byte completes a word. iqtest: mode 0 passes bytes through in sync.
inline int usb_unpack_byte(USB_UNPACKER* u, unsigned b, int iqtest, int* word) {
  switch (u->mode) {
    case 0:
      if (iqtest) {
        *word = int(b) + USBW_INSYNC;
        return 1;
      }
      // Attached sync marker search; the output lags the input by three bytes
      // so a marker's first byte leaves together with its detection.
      u->sr = (u->sr << 8) + b;
      if (u->sr == 0x1ACFFC1Du) {
        if (!(u->sync_in && u->sync_pos != 3)) {
          u->sync_in = 1;
          u->sync_pos = 3;
        }
      } else if (u->sync_pos == 3) {
        u->sync_in = 0;
      }
      *word =
          int(u->sr >> 24) | (u->sync_pos == 3 ? USBW_START : 0) | (u->sync_in ? USBW_INSYNC : 0);
      u->sync_pos = (u->sync_pos + 1) & (USB_BLOCK - 1);
      return 1;
    case 4: {
      int data = b & 63;
      if (b & 0x80) {
        u->grp_idx = (u->grp_idx + 1) & 3;
        if (u->grp_cnt < 3) u->grp_cnt++;
      } else {
        u->grp_idx = 0;
        if (u->grp_cnt > 0) u->grp_cnt--;
      }
      int out;
      switch (u->grp_idx) {
        case 0:
          u->held = data * 4;
          u->partial = 1;
          return 0;
        case 1:
          out = u->held + (data >> 4);
          u->held = data * 16;
          break;
        case 2:
          out = u->held + (data >> 2);
          u->held = data * 64;
          break;
        default:
          out = u->held + data;
          break;
      }
      *word = (out & 255) | ((b & 0x40) ? USBW_START : 0) | (u->grp_cnt >= 2 ? USBW_INSYNC : 0);
      u->partial = 0;
      return 1;
    }
    default:
      // Two bytes a word: 0 0 d9 d8 d3 d2 d1 d0, then 1 x I S d7 d6 d5 d4.
      if (!(b & 0x80)) {
        u->held = int(b & 0x0F) | int((b & 0x30) << 4);
        u->partial = 1;
        return 0;
      }
      u->partial = 0;
      *word = u->held | int((b & 0x0F) << 4) | ((b & 0x10) ? USBW_START : 0) |
              ((b & 0x20) ? USBW_INSYNC : 0);
      return 1;
  }
}

// Reads the next block into u's buffer: 1 when reading goes on (the block
// may be short or empty), 0 when recording was switched off after a failed or
// short read (pending events are drained then). Three failed reads in a row
// close the link and switch recording off (u->lost).
int usb_read_block(RECORDINFO* rdi, USB_UNPACKER* u);

// Unpacks the next flagged word into *out and returns 1, reading 1024-byte
// blocks as needed (a failed or short read drains pending events; when
// recording was switched off meanwhile, *out is the word built so far, 0 if
// none, and 1 is returned). A null
// out discards the rest of the buffer and returns 0. Three failed reads in a
// row (the device went away) close the link and switch recording off.
int get_usb_data(RECORDINFO* rdi, int* out);

// Fills rdi->fri.words_per_frame words of frame, aligned on the frame-start
// flag (unless ignore_sync; IQTEST never waits). 1 when the last word was in
// sync, 2 when not. A null frame closes the file test source and returns 0.
// When recording stops during the frame, its remaining words are 0.
int usb_get_hrpt_frame(uint16_t* frame, RECORDINFO* rdi);

// The in-sync word count needed before a recording starts, for n lines of
// the satellite type (11092 words a line).
long usb_insync_threshold(int sat_type, int n);
// Waits until the threshold of consecutive in-sync words was seen or the start
// was forced: 1; 0 when recording stopped or the device cannot be opened.
int usb_wait_for_insync(RECORDINFO* rdi, int n);
// Waits for n lines' worth of consecutive out-of-sync words: 1; 0 when
// recording stopped or the device cannot be opened.
int usb_wait_for_outsync(RECORDINFO* rdi, int n);

// Mode 4 coding of a file of data bytes (test source): the next code, or -1
// at the end of the file (which rewinds it); a null path closes the file.
int getbyte_file(const char* path);

// ---- Dispatch by port type ----

// 0 when connected: usb_init_connect for USB, success for from_file, failure
// (-1) for any other port.
int Open_HWConnect(RECORDINFO* rdi);
void Close_HWConnect(RECORDINFO* rdi);
int get_hrpt_frame(uint16_t* frame, RECORDINFO* rdi);
int wait_for_insync(RECORDINFO* rdi, int n);
// True when the port is not USB.
int get_hwselected(int x, RECORDINFO* rdi);

// "Can't connect to decoder via USB %s" with usbport_id when usb_use_id is
// set, else empty; into text (size bytes).
void usb_connect_error_text(const usb_items* usb, char* text, int size);
// Reports it: "Error" dialog, or in batch mode on standard error followed by
// "\n.".
void usb_report_connect_error(const RECORDINFO* rdi);

// Sleeping of the link and the tuner, in microseconds; tests install a hook to
// record the waits instead of sleeping (null restores real sleeping).
void usb_sleep_us(long us);
void usb_set_sleep_hook(void (*hook)(long us));
