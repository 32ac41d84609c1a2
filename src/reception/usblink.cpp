#include "reception/usblink.h"

#include <time.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "app/log.h"
#include "app/ui_ops.h"
#include "common/text.h"

namespace {

USB_UNPACKER g_unp;  // the one board's stream state
char g_serial[16];   // last serial number found by usb_list_devs
void (*g_sleep_hook)(long) = nullptr;

constexpr uint32_t kTimeoutMs = 1000;
constexpr int kDropDrain = 1001;       // dropped words between drains while aligning
constexpr int kSyncDrain = 10000;      // words between drains while waiting for sync
constexpr int kOutsyncDrain = 100;     // words between drains while waiting for loss
constexpr int kLostAfterFailures = 3;  // failed reads in a row that mean the device left
constexpr long kWordsPerLine = 11092;  // one HRPT line as the board counts it

int write_bytes(usb_items* usb, const uint8_t* b, uint32_t n) {
  uint32_t written = 0;
  if (ftport()->write(usb->ftHandle, b, n, &written) != FT_OK) return -1;
  return written < n ? 1 : 0;
}

// Opens when needed; *fresh tells whether this call opened the link.
int open_link(usb_items* usb, bool* fresh) {
  *fresh = !usb->ftHandle;
  return usb_init_connect(usb);
}

bool stored_as_bytes(int sat_type) {
  return sat_type == METOP || sat_type == FY3 || sat_type == FY3D || sat_type == QNOAA20 ||
         sat_type == QNOAA21;
}

bool copies_viterbi(int sat_type) {
  return sat_type == LRIT || sat_type == METOP || sat_type == FY3 || sat_type == QNOAA20 ||
         sat_type == QNOAA21;
}

}  // namespace

void usb_sleep_us(long us) {
  if (g_sleep_hook) {
    g_sleep_hook(us);
    return;
  }
  if (us <= 0) return;
  struct timespec ts = {time_t(us / 1000000), (us % 1000000) * 1000};
  nanosleep(&ts, nullptr);
}

void usb_set_sleep_hook(void (*hook)(long us)) { g_sleep_hook = hook; }

// ---- Device handling ----

int usb_list_ndevs(FT_DEVICE_LIST_INFO_NODE** list) {
  *list = nullptr;
  uint32_t n = 0;
  if (ftport()->create_list(&n) != FT_OK) return -1;
  if (n > 0) {
    auto* nodes = static_cast<FT_DEVICE_LIST_INFO_NODE*>(std::calloc(n, sizeof **list));
    if (!nodes) return -1;
    uint32_t filled = n;
    if (ftport()->get_list(nodes, &filled) != FT_OK) {
      std::free(nodes);
      return -1;
    }
    *list = nodes;
  }
  return int(n);
}

const char* usb_list_devs() {
  FT_DEVICE_LIST_INFO_NODE* list = nullptr;
  int n = usb_list_ndevs(&list);
  for (int i = 0; i < n && list; i++) {
    if (list[i].SerialNumber[0] || list[i].Description[0]) {
      char sn[sizeof list[i].SerialNumber + 1];
      std::memcpy(sn, list[i].SerialNumber, sizeof list[i].SerialNumber);
      sn[sizeof list[i].SerialNumber] = 0;
      pava::copy_text(g_serial, sn);
      break;
    }
  }
  std::free(list);
  return g_serial;
}

int usb_init_connect(usb_items* usb) {
  if (usb->ftHandle) return 0;
  char serial[sizeof usb->usbport_id + 1];
  if (usb->usb_use_id) {
    std::memcpy(serial, usb->usbport_id, sizeof usb->usbport_id);
    serial[sizeof usb->usbport_id] = 0;
  } else {
    pava::copy_text(serial, usb_list_devs());
  }
  void* handle = nullptr;
  if (ftport()->open_serial(serial, &handle) != FT_OK || !handle) return -1;
  ftport()->set_timeouts(handle, kTimeoutMs, kTimeoutMs);
  usb->ftHandle = handle;
  return 0;
}

void usb_close_connect(usb_items* usb) {
  if (usb->ftHandle) ftport()->close(usb->ftHandle);
  usb->ftHandle = nullptr;
}

int usb_flush_tx(usb_items* usb) {
  usb_sleep_us(100000);
  if (usb->ftHandle) ftport()->purge(usb->ftHandle, FT_PURGE_RX | FT_PURGE_TX);
  return 0;
}

void get_ftstatus(void* handle) {
  uint32_t rx = 0, tx = 0, ev = 0;
  if (handle) ftport()->get_status(handle, &rx, &tx, &ev);
  std::printf("arx=%d\n", int(rx));
}

// ---- Register protocol ----

int usb_reset_regmap(usb_items* usb) {
  const uint8_t cmd[2] = {0x00, 0x00};
  return write_bytes(usb, cmd, 2);
}

int usb_write_reg(usb_items* usb, int reg, int val) {
  bool fresh;
  if (open_link(usb, &fresh) != 0) return -1;
  if (fresh) usb_sleep_us(100000);
  const uint8_t cmd[2] = {uint8_t(0x40 | reg), uint8_t(val)};
  return write_bytes(usb, cmd, 2);
}

int usb_read_reg(usb_items* usb, int reg, unsigned char* out) {
  bool fresh;
  if (open_link(usb, &fresh) != 0) return -1;
  if (fresh) usb_sleep_us(100000);
  const uint8_t cmd = uint8_t(0xC0 | reg);
  int st = write_bytes(usb, &cmd, 1);
  if (st) return st;
  uint8_t v = 0;
  uint32_t got = 0;
  if (ftport()->read(usb->ftHandle, &v, 1, &got) != FT_OK) return -2;
  if (got < 1) return 2;
  *out = v;
  return 0;
}

int usb_read_regs(usb_items* usb, int first, int n, unsigned char* buf) {
  buf[0] = 0;
  for (int i = 0; i < n; i++)
    if (usb_read_reg(usb, first + i, buf + i) != 0) return -1;
  return 0;
}

int usb_write(usb_items* usb, int reg, int val) {
  if (usb_init_connect(usb) != 0) return -1;
  usb_reset_regmap(usb);
  return usb_write_reg(usb, reg & 63, val);
}

int usb_read(usb_items* usb, int reg) {
  if (usb_init_connect(usb) != 0) return 0;
  usb_reset_regmap(usb);
  reg %= 64;
  dis_dat(usb);
  usb_flush_tx(usb);
  unsigned char v = 0;
  return usb_read_reg(usb, reg, &v) == 0 ? v : -1;
}

int ena_dat(usb_items* usb) { return usb_write(usb, 0, usb->fast_ftd ? 2 : 0); }
int dis_dat(usb_items* usb) { return usb_write(usb, 0, usb->fast_ftd ? 3 : 1); }

int get_firmware(usb_items* usb, unsigned char* buf4) {
  if (usb_init_connect(usb) != 0) return -1;
  usb_reset_regmap(usb);
  dis_dat(usb);
  usb_flush_tx(usb);
  if (usb_read_regs(usb, 4, 4, buf4) != 0) return -2;
  return 0;
}

int get_hwswinfo(RECORDINFO* rdi, PICINFO* pci) {
  unsigned char fw[4] = {0, 0, 0, 0};
  int st = get_firmware(&rdi->usb, fw);
  std::memset(pci->firmware, 0, sizeof pci->firmware);
  std::memcpy(pci->firmware, fw, sizeof fw);
  ena_dat(&rdi->usb);
  return st;
}

int set_sat(usb_items* usb, int code) { return usb_write(usb, 1, code); }

int get_sat(usb_items* usb) {
  dis_dat(usb);
  usb_flush_tx(usb);
  return usb_read(usb, 2) & 7;
}

const SATMODE sat_modes[] = {
    {0, "HRPT", HRPT, FT_HRPT, 0},         {1, "NOAA20", QNOAA20, FT_QNOAA20, 0},
    {2, "NOAA21", QNOAA21, FT_QNOAA21, 0}, {3, "M2HRPT", M2HRPT, FT_MHRPT2, 0},
    {4, "METOP", METOP, FT_METOP, 0},      {5, "AQUA", AQUA, FT_AQUA, 0},
    {6, "FY3-A,B", FY3, FT_FY3, 0},        {11, "FY3-C", FY3, FT_FY3, 1},
};
const int sat_modes_n = int(sizeof sat_modes / sizeof sat_modes[0]);

int satmode_code(const char* name) {
  for (const SATMODE& m : sat_modes)
    if (name && !std::strcmp(name, m.name)) return m.code;
  return 0;
}

const SATMODE* satmode_readback(int code) {
  for (const SATMODE& m : sat_modes)
    if (m.code == code && !m.write_only) return &m;
  return nullptr;
}

int satmode_rsfec(int code) { return code == 1 || code == 2 || code == 4 || code == 6; }

// ---- Stream ----

USB_UNPACKER& usb_unpacker() { return g_unp; }

void usb_unpacker_reset() { std::memset(&g_unp, 0, sizeof g_unp); }

int usb_unpack_mode(int sat_type, int fast_ftd) {
  if (!fast_ftd && (sat_type == FY3 || sat_type == METOP)) return 4;
  if (sat_type == FY3D || sat_type == IQTEST) return 0;
  return 2;
}

int usb_read_block(RECORDINFO* rdi, USB_UNPACKER* u) {
  uint32_t got = 0;
  int st = rdi->usb.ftHandle ? ftport()->read(rdi->usb.ftHandle, u->buf, USB_BLOCK, &got)
                             : int(FT_INVALID_HANDLE);
  if (st != FT_OK) {
    got = 0;
    // A device that fails every read has gone (unplugged, powered off): close
    // it and stop, rather than spin until the user notices.
    if (++u->failed_reads >= kLostAfterFailures && rdi->recording) {
      u->lost = 1;
      w_dbg("USB device lost (status %d)\n", st);
      usb_close_connect(&rdi->usb);
      rdi->recording = 0;
    }
  } else {
    u->failed_reads = 0;
  }
  if (st != FT_OK || got < USB_BLOCK) {
    ui().drain_events();
    if (!rdi->recording) {
      u->nbuf = u->pos = 0;
      return 0;
    }
  }
  u->nbuf = int(got);
  u->pos = 0;
  return 1;
}

int get_usb_data(RECORDINFO* rdi, int* out) {
  USB_UNPACKER& u = g_unp;
  if (!out) {
    u.pos = u.nbuf;
    return 0;
  }
  u.mode = usb_unpack_mode(rdi->sat_type, rdi->usb.fast_ftd);
  u.stopped = 0;
  const int iq = rdi->sat_type == IQTEST;
  for (;;) {
    while (u.pos < u.nbuf)
      if (usb_unpack_byte(&u, u.buf[u.pos++], iq, out)) return 1;
    if (!usb_read_block(rdi, &u)) {
      *out = u.partial ? u.held : 0;
      u.partial = 0;
      u.stopped = 1;
      return 1;
    }
  }
}

int usb_get_hrpt_frame(uint16_t* frame, RECORDINFO* rdi) {
  if (!frame) {
    getbyte_file(nullptr);
    return 0;
  }
  USB_UNPACKER& u = g_unp;
  int n = rdi->fri.words_per_frame;
  int k = 0;
  bool started = u.start_pending != 0;
  if (started) {
    k = 1;
    n--;
  }
  u.start_pending = 0;
  if (rdi->sat_type == IQTEST) started = true;
  const int mask = stored_as_bytes(rdi->sat_type) ? 0xFF : 0x3FF;
  int word = 0, dropped = 0;
  while (n > 0) {
    if (!get_usb_data(rdi, &word)) return 0;
    if ((word & USBW_START) || rdi->ignore_sync) started = true;
    if (!started) {
      if (u.stopped) break;
      if (++dropped >= kDropDrain) {
        dropped = 0;
        ui().drain_events();
        if (!rdi->recording) break;
      }
      continue;
    }
    frame[k++] = uint16_t(word & mask);
    n--;
    if (u.stopped) {
      // Recording stopped: every further word would be 0 without a read.
      while (n-- > 0) frame[k++] = 0;
      break;
    }
  }
  return (word & USBW_INSYNC) ? 1 : 2;
}

long usb_insync_threshold(int sat_type, int n) {
  switch (sat_type) {
    case QNOAA20:
    case QNOAA21:
    case AQUA:
      return long(n) * 310576;
    case CHRPT:
      return long(n) * 22184;
    case FY3:
    case FY3D:
    case METOP:
      return long(6.5 * double(long(n) * kWordsPerLine));
    default:
      return long(n) * kWordsPerLine;
  }
}

int usb_wait_for_insync(RECORDINFO* rdi, int n) {
  if (rdi->ignore_sync) {
    rdi->force_recstart = 0;
    return 1;
  }
  if (usb_init_connect(&rdi->usb) != 0) {
    rdi->force_recstart = 0;
    return 0;
  }
  const long threshold = usb_insync_threshold(rdi->sat_type, n);
  const bool viterbi = copies_viterbi(rdi->sat_type);
  long count = 0;
  int since_drain = 0, word = 0;
  while (rdi->recording) {
    get_usb_data(rdi, &word);
    if (word & USBW_INSYNC) {
      rdi->insync = 1;
      count++;
    } else {
      rdi->insync = 0;
      count = 0;
    }
    if (viterbi) {
      rdi->vitsync = (word >> 8) & 1;
      rdi->inv_dat = (word >> 9) & 1;
    }
    if (++since_drain > kSyncDrain) {
      since_drain = 0;
      ui().drain_events();
    }
    if (rdi->force_recstart) {
      rdi->force_recstart = 0;
      return 1;
    }
    if (count >= threshold) {
      rdi->force_recstart = 0;
      return 1;
    }
  }
  rdi->force_recstart = 0;
  return 0;
}

int usb_wait_for_outsync(RECORDINFO* rdi, int n) {
  if (usb_init_connect(&rdi->usb) != 0) return 0;
  const long threshold = long(rdi->fri.words_per_line) * n;
  long count = 0;
  int since_drain = 0, word = 0;
  while (rdi->recording) {
    get_usb_data(rdi, &word);
    if (word & USBW_INSYNC)
      count = 0;
    else
      count++;
    if (++since_drain > kOutsyncDrain) {
      since_drain = 0;
      ui().drain_events();
    }
    if (count >= threshold) return 1;
  }
  return 0;
}

int getbyte_file(const char* path) {
  // Three file bytes become four mode-4 codes; bit 7 on codes 2..4, bit 6 on
  // the code where the running count modulo 1024 reaches 1.
  static FILE* fp = nullptr;
  static int codes[4];
  static int ncodes = 0, next = 0;
  static long count = 0;
  if (!path) {
    if (fp) std::fclose(fp);
    fp = nullptr;
    ncodes = next = 0;
    count = 0;
    return 0;
  }
  if (!fp && !(fp = std::fopen(path, "rb"))) return -1;
  if (next < ncodes) return codes[next++];
  int b[3];
  for (int& x : b) {
    x = std::fgetc(fp);
    if (x == EOF) {
      std::rewind(fp);
      return -1;
    }
  }
  int start[3];
  for (int& s : start) s = (++count % 1024) == 1 ? 0x40 : 0;
  codes[0] = b[0] >> 2;
  codes[1] = 0x80 | start[0] | ((b[0] & 3) << 4) | (b[1] >> 4);
  codes[2] = 0x80 | start[1] | ((b[1] & 15) << 2) | (b[2] >> 6);
  codes[3] = 0x80 | start[2] | (b[2] & 63);
  ncodes = 4;
  next = 1;
  return codes[0];
}

// ---- Dispatch by port type ----

int Open_HWConnect(RECORDINFO* rdi) {
  switch (rdi->port_type) {
    case usb:
      return usb_init_connect(&rdi->usb);
    case from_file:
      return 0;
    default:
      // Only the USB board (or a replayed file) is received from.
      return -1;
  }
}

void Close_HWConnect(RECORDINFO* rdi) {
  if (rdi->port_type == usb) usb_close_connect(&rdi->usb);
}

int get_hrpt_frame(uint16_t* frame, RECORDINFO* rdi) {
  return rdi->port_type == usb ? usb_get_hrpt_frame(frame, rdi) : 0;
}

int wait_for_insync(RECORDINFO* rdi, int n) {
  if (rdi->port_type == usb) return usb_wait_for_insync(rdi, n);
  return rdi->port_type == from_file ? 1 : 0;
}

int get_hwselected(int, RECORDINFO* rdi) { return rdi->port_type != usb; }

void usb_connect_error_text(const usb_items* usb, char* text, int size) {
  std::snprintf(text, size_t(size), "Can't connect to decoder via USB %.*s",
                int(sizeof usb->usbport_id), usb->usb_use_id ? usb->usbport_id : "");
}

void usb_report_connect_error(const RECORDINFO* rdi) {
  char text[100];
  usb_connect_error_text(&rdi->usb, text, sizeof text);
  if (rdi->batch_mode)
    std::fprintf(stderr, "%s\n.", text);
  else
    ui().message("Error", text);
}
