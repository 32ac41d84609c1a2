// Helpers of the orbit tests: element sets read with the program's reader, and
// fixed moments.
#pragma once
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <ctime>
#include <string>
#include <vector>

#include "common/timeutil.h"
#include "orbit/satdb.h"
#include "orbit/satpos.h"
#include "support/testutil.h"

namespace orbit_test {

constexpr double kDeg = M_PI / 180.0;

// NOAA 19's element lines of 2020-10-26.
const std::string kL1 = "1 33591U 09005A   20300.85690046  .00000008  00000-0  29872-4 0  9998";
const std::string kL2 = "2 33591  99.1965 309.6298 0014858  69.1900 291.0860 14.12436128603681";

// The satellites of a file, or of element text, matching a selection.
inline SAT* load(const std::string& file, const char* sel) {
  FILE* fp = std::fopen(file.c_str(), "r");
  SAT* s = read_msat(fp, sel, nullptr);
  if (fp) std::fclose(fp);
  return s;
}
inline SAT* weather(const char* sel) {
  return load(testutil::source_path("data/weather.txt"), sel);
}
inline SAT* from_text(const std::string& text, const char* sel) {
  FILE* fp = fmemopen(const_cast<char*>(text.data()), text.size(), "r");
  SAT* s = read_msat(fp, sel, nullptr);
  std::fclose(fp);
  return s;
}

// An observer from degrees and metres.
inline EPOINT observer(double lat, double lon, double alt_m = 0) {
  EPOINT o{};
  o.lat = static_cast<float>(lat * kDeg);
  o.lon = static_cast<float>(lon * kDeg);
  o.alt = static_cast<float>(alt_m / 1000.0);
  return o;
}

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
inline time_t secs(struct tm t) { return pava::mktime_utc(&t); }

// Runs Debian's python3 (the oracle modules are Debian packages: the system
// interpreter goes before any python3 earlier on the path) with arguments;
// returns its output, or its errors with ok false.
inline std::string run_python(const std::vector<std::string>& args, bool* ok) {
  std::vector<std::string> argv{access("/usr/bin/python3", X_OK) == 0 ? "/usr/bin/python3"
                                                                      : "python3"};
  argv.insert(argv.end(), args.begin(), args.end());
  testutil::RunResult r = testutil::run(argv);
  *ok = r.status == 0;
  return *ok ? r.out : r.err;
}
inline bool python_has(const std::string& modules) {
  bool ok = false;
  run_python({"-c", "import " + modules}, &ok);
  return ok;
}

}  // namespace orbit_test
