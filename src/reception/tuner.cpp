#include "reception/tuner.h"

#include <cstdio>
#include <cstring>

#include "reception/usblink.h"

// The satellite record comes with the orbit subsystem; without it only the
// message and the register sequence are available.
#if __has_include("orbit/satdb.h")
#include "orbit/satdb.h"
#define PAVA_HAVE_SAT 1
#else
#define PAVA_HAVE_SAT 0
#endif

namespace {

constexpr int kRepeats = 5;
constexpr int kStatusReads = 3;
constexpr int kNameLen = 11;

SAT* g_current = nullptr;
int (*g_window_hook)(SAT*) = nullptr;

}  // namespace

char tuner_modtype(const char* name) {
  if (name && (std::strstr(name, "NOAA") || std::strstr(name, "METEOR"))) return 'P';
  return 'Q';
}

void tuner_message(uint8_t msg[TUNER_MSG_LEN], const char* name, float hfreq_mhz, char modtype,
                   int offset) {
  int f = int(10.0 * double(hfreq_mhz) + 0.5) + offset;
  msg[0] = 'S';
  msg[1] = uint8_t((f >> 8) & 0xFF);
  msg[2] = uint8_t(f & 0xFF);
  msg[3] = uint8_t(modtype);
  // The name ends at its first NUL; the rest of the field is blanks.
  bool ended = !name;
  for (int i = 0; i < kNameLen; i++) {
    if (!ended && !name[i]) ended = true;
    msg[4 + i] = ended ? uint8_t(' ') : uint8_t(name[i]);
  }
  unsigned sum = 0;
  for (int i = 0; i < TUNER_MSG_LEN - 1; i++) sum += msg[i];
  msg[TUNER_MSG_LEN - 1] = uint8_t(-sum);
}

int tuner_send(usb_items* usb, const uint8_t msg[TUNER_MSG_LEN]) {
  int overflow = 0;
  usb_init_connect(usb);
  if (usb->ftHandle) usb_reset_regmap(usb);
  for (int rep = 0; rep < kRepeats; rep++) {
    if (rep) usb_sleep_us(10000);
    for (int i = 0; i < TUNER_MSG_LEN; i++) {
      if (usb_write_reg(usb, 14, msg[i]) != 0 || usb_write_reg(usb, 12, 128) != 0) break;
      if (usb->fast_ftd) usb_sleep_us(1000);
      if (i == TUNER_MSG_LEN - 1) {
        // Status register 13, bit 7: the board's transmit buffer overflowed.
        for (int k = 0; k < kStatusReads; k++) {
          unsigned char v = 0;
          usb_read_reg(usb, 13, &v);
          overflow = (v >> 7) & 1;
          if (!overflow) break;
        }
      }
      usb_sleep_us(500);
    }
  }
  return overflow;
}

SAT* tuner_current() { return g_current; }

void tuner_set_window_hook(int (*hook)(SAT* sat)) { g_window_hook = hook; }

#if PAVA_HAVE_SAT
int set_tuner1(SAT* sat, int offset) {
  if (sat) g_current = sat;
  sat = g_current;
  if (!sat || !g_recordinfo) return 0;
  if (!sat->modtype) sat->modtype = tuner_modtype(sat->satname);
  std::printf("foffset=%d\n", offset);
  uint8_t msg[TUNER_MSG_LEN];
  tuner_message(msg, sat->satname, sat->hfreq, sat->modtype, offset);
  return tuner_send(&g_recordinfo->usb, msg);
}
#else
int set_tuner1(SAT*, int offset) {
  std::printf("foffset=%d\n", offset);
  return 0;
}
#endif

int set_tuner(SAT* sat) {
  int offset = g_window_hook ? g_window_hook(sat) : 0;
  return set_tuner1(sat, offset);
}
