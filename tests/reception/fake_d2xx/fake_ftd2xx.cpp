// A stand-in for FTDI's libftd2xx.so with the entry points the link loads:
// one device "D2XXFAKE" answering the board's register protocol (firmware
// "D2XX" in registers 4..7). Built as build/fake-d2xx/libftd2xx.so so that a
// test can put it on LD_LIBRARY_PATH and exercise the D2XX backend.
#include <cstdint>
#include <cstring>
#include <deque>

namespace {

struct Node {
  uint32_t Flags, Type, ID, LocId;
  char SerialNumber[16];
  char Description[64];
  void* ftHandle;
};

uint8_t g_regs[64] = {0, 0, 0, 0, 'D', '2', 'X', 'X'};
std::deque<uint8_t> g_answers;
int g_pending = 0;  // register + 1 awaiting its value
bool g_open = false;
int g_handle;

}  // namespace

extern "C" {

uint32_t FT_CreateDeviceInfoList(uint32_t* n) {
  *n = 1;
  return 0;
}

uint32_t FT_GetDeviceInfoList(Node* list, uint32_t* n) {
  std::memset(list, 0, sizeof *list);
  std::strcpy(list->SerialNumber, "D2XXFAKE");
  std::strcpy(list->Description, "Fake D2XX");
  *n = 1;
  return 0;
}

uint32_t FT_OpenEx(void* arg, uint32_t flags, void** handle) {
  if (flags != 1 || std::strcmp(static_cast<const char*>(arg), "D2XXFAKE") != 0) return 2;
  if (g_open) return 3;
  g_open = true;
  *handle = &g_handle;
  return 0;
}

uint32_t FT_SetTimeouts(void*, uint32_t, uint32_t) { return 0; }

uint32_t FT_Purge(void*, uint32_t mask) {
  if (mask & 1) g_answers.clear();
  return 0;
}

uint32_t FT_GetStatus(void*, uint32_t* rx, uint32_t* tx, uint32_t* ev) {
  *rx = uint32_t(g_answers.size());
  *tx = *ev = 0;
  return 0;
}

uint32_t FT_Read(void* h, void* buf, uint32_t n, uint32_t* got) {
  if (h != &g_handle || !g_open) return 1;
  *got = 0;
  while (*got < n && !g_answers.empty()) {
    static_cast<uint8_t*>(buf)[(*got)++] = g_answers.front();
    g_answers.pop_front();
  }
  return 0;
}

uint32_t FT_Write(void* h, const void* buf, uint32_t n, uint32_t* written) {
  if (h != &g_handle || !g_open) return 1;
  const auto* b = static_cast<const uint8_t*>(buf);
  for (uint32_t i = 0; i < n; i++) {
    if (g_pending) {
      g_regs[g_pending - 1] = b[i];
      g_pending = 0;
    } else if ((b[i] & 0xC0) == 0x40) {
      g_pending = (b[i] & 63) + 1;
    } else if ((b[i] & 0xC0) == 0xC0) {
      g_answers.push_back(g_regs[b[i] & 63]);
    }
  }
  *written = n;
  return 0;
}

uint32_t FT_Close(void* h) {
  if (h != &g_handle || !g_open) return 1;
  g_open = false;
  return 0;
}

}  // extern "C"
