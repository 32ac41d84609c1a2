// Fuzz target: element files. The input is an element file; its first line
// (up to 90 bytes) also serves as the selection string. Every satellite read
// is prepared and positioned once.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>

#include "orbit/satdb.h"
#include "orbit/satpos.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0 || size > 1 << 20) return 0;
  std::string text(reinterpret_cast<const char*>(data), size);
  std::string selection = text.substr(0, std::min<size_t>(text.find('\n'), 90));
  selection = selection.c_str();  // up to the first NUL
  FILE* fp = fmemopen(text.data(), text.size(), "r");
  if (!fp) return 0;
  SAT* list = read_msat(fp, "*", nullptr);
  list = read_msat(fp, selection.c_str(), list);
  std::fclose(fp);
  struct tm t {};
  t.tm_year = 120;
  t.tm_mday = 1;
  for (SAT* s = list; s; s = s->next) {
    EPOINT e{}, xyz{}, sub{};
    calc_sat_earth_v2(&t, 0, &s->kepler, &s->orbit, &e, &xyz, &sub);
    strcmpwild(s->satname, selection.c_str());
  }
  while (list) list = Remove_Sat(list);
  return 0;
}
