// Access to the FTDI USB bridge of the decoder board through one small table
// of operations, with three backends: FTDI's D2XX library (loaded at run time
// when it is installed), Debian's libftdi1, and the software board emulator.
// The calls and their status values follow D2XX, so the link code reads the
// same whichever backend is in use.
#pragma once
#include <cstdint>

// Status of every operation: 0 is success (FT_OK); the others are D2XX's codes.
enum FT_STATUS_CODE {
  FT_OK = 0,
  FT_INVALID_HANDLE = 1,
  FT_DEVICE_NOT_FOUND = 2,
  FT_DEVICE_NOT_OPENED = 3,
  FT_IO_ERROR = 4,
  FT_INSUFFICIENT_RESOURCES = 5,
  FT_INVALID_PARAMETER = 6,
  FT_OTHER_ERROR = 18
};

constexpr unsigned FT_PURGE_RX = 1;
constexpr unsigned FT_PURGE_TX = 2;
constexpr unsigned FT_OPEN_BY_SERIAL_NUMBER = 1;

// One device of the enumeration, laid out as D2XX's FT_DEVICE_LIST_INFO_NODE
// (104 bytes on a 64-bit system) so that the D2XX backend fills it directly.
struct FT_DEVICE_LIST_INFO_NODE {
  uint32_t Flags;
  uint32_t Type;
  uint32_t ID;
  uint32_t LocId;
  char SerialNumber[16];
  char Description[64];
  void* ftHandle;
};
static_assert(sizeof(void*) != 8 || sizeof(FT_DEVICE_LIST_INFO_NODE) == 104,
              "D2XX device node layout");

// The operations of one backend. Every function returns an FT_STATUS_CODE.
// read blocks until n bytes arrived or the read time-out passed; a time-out is
// FT_OK with *got < n. Handles are opaque; null is never a valid handle.
struct FT_PORT_OPS {
  const char* name;  // "d2xx", "libftdi", "emulator", ...
  int (*create_list)(uint32_t* ndevs);
  int (*get_list)(FT_DEVICE_LIST_INFO_NODE* list, uint32_t* ndevs);
  int (*open_serial)(const char* serial, void** handle);
  int (*set_timeouts)(void* handle, uint32_t read_ms, uint32_t write_ms);
  int (*purge)(void* handle, uint32_t mask);
  int (*get_status)(void* handle, uint32_t* rx_queue, uint32_t* tx_queue, uint32_t* events);
  int (*read)(void* handle, void* buf, uint32_t n, uint32_t* got);
  int (*write)(void* handle, const void* buf, uint32_t n, uint32_t* written);
  int (*close)(void* handle);
};

// The backend in use. The first call selects one from the preference
// usb_backend ("auto" or empty: D2XX when libftd2xx.so can be loaded, else
// libftdi1). Never null.
const FT_PORT_OPS* ftport();

// Selects a backend by name: "auto", "d2xx", "libftdi", "emulator". Returns 0,
// or -1 when the name is unknown or the backend is not available (D2XX not
// installed); the selection is then unchanged.
int ftport_select(const char* name);

// Installs a table of operations of the caller's (tests, benchmarks, replay);
// null returns to the selection by preference at the next ftport().
void ftport_install(const FT_PORT_OPS* ops);

// The backends. ftport_d2xx returns null when libftd2xx.so cannot be loaded.
const FT_PORT_OPS* ftport_d2xx();
const FT_PORT_OPS* ftport_libftdi();
const FT_PORT_OPS* ftport_emulator();

// Capture of the bytes the host reads from the board: every byte that any
// read returns is appended to the file path until ftport_capture_stop. A
// capture replays through the emulator (boardemu_load_capture). Returns 0, or
// -1 when the file cannot be created.
int ftport_capture_start(const char* path);
void ftport_capture_stop();
