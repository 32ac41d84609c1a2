// Arbitrary bytes as a preferences file: parse them over the defaults, then
// format and write every item as Save_Prefs would.
#include <cstddef>
#include <cstdint>
#include <cstdio>

#include "config/prefs_items.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Load_Defaults(&prefs);
  Pref_Text(pref_items, &prefs, reinterpret_cast<const char*>(data), size);
  Pref_Finish(&prefs);
  char buf[1100];
  for (const PREFITEMS* it = pref_items; it; it = it->next) Format_Pref(it, buf, sizeof buf);
  if (FILE* fp = std::fopen("/dev/null", "w")) {
    Write_Pref(pref_items, fp);
    save_extra(fp, &prefs);
    std::fclose(fp);
  }
  return 0;
}
