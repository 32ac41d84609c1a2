// Time-zone-free calendar conversions: every time in the records is GMT.
#pragma once
#include <ctime>

namespace pava {

// Normalises tm as a UTC calendar time (fields out of range carry over) and
// returns seconds since 1970.
inline time_t mktime_utc(struct tm* tm) { return timegm(tm); }

// Broken-down UTC time of t.
inline struct tm gmtime_utc(time_t t) {
  struct tm tm {};
  gmtime_r(&t, &tm);
  return tm;
}

}  // namespace pava
