#include "reception/emuboard.h"

#include <cstring>

#include "config/prefs.h"
#include "reception/boardemu.h"

int emulator_board_ensure() {
  if (boardemu_attached()) return 1;
  if (std::strcmp(prefs.usb_backend, "emulator") != 0) return 0;
  static BOARDEMU idle;
  boardemu_attach(&idle);
  return 1;
}
