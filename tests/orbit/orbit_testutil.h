// Helpers of the orbit tests: element sets read with the program's reader, and
// fixed moments.
#pragma once
#include <cstdio>
#include <ctime>
#include <string>
#include <vector>

#include "common/timeutil.h"
#include "orbit/satdb.h"
#include "orbit/satpos.h"

namespace orbit_test {

// Every element set of a file, prepared for the model.
inline std::vector<KEPLER> read_all(const std::string& path) {
  std::vector<KEPLER> out;
  FILE* fp = std::fopen(path.c_str(), "r");
  if (!fp) return out;
  KEPLER k;
  char name[TLE_LINEBUF];
  while (read_norad_next_keps(fp, name, &k)) {
    ORBIT o{};
    calc_orbitconst_v2(&k, &o);
    out.push_back(k);
  }
  std::fclose(fp);
  return out;
}

// A GMT moment from its fields.
inline struct tm utc(int y, int mo, int d, int h = 0, int mi = 0, int s = 0) {
  struct tm t {};
  t.tm_year = y - 1900, t.tm_mon = mo - 1, t.tm_mday = d, t.tm_hour = h, t.tm_min = mi,
  t.tm_sec = s;
  pava::mktime_utc(&t);
  return t;
}
inline time_t utc_time(int y, int mo, int d, int h = 0, int mi = 0, int s = 0) {
  struct tm t = utc(y, mo, d, h, mi, s);
  return pava::mktime_utc(&t);
}

inline struct tm from_unix(time_t t) { return pava::gmtime_utc(t); }

// Runs python3 (Debian's, where the oracle modules live) with a script and
// arguments; returns its output, or sets ok false.
std::string run_python(const std::vector<std::string>& args, bool* ok);

// Whether Debian's python3 has the given modules.
bool python_has(const std::string& modules);

}  // namespace orbit_test
