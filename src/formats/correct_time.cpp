// Line time repair. Times are compared in whole seconds of the year (day of
// year * 86400 + hour * 3600 + minute * 60 + second).
#include "formats/correct_time.h"

#include "common/timeutil.h"

namespace {

long year_seconds(const struct tm& t) {
  return long(t.tm_yday) * 86400 + t.tm_hour * 3600L + t.tm_min * 60L + t.tm_sec;
}

}  // namespace

int correct_time(XLINE* first, int r) {
  if (r <= 0) r = 6;
  // 1. Forward pass: valid counts the run of plausible steps (0 or 1 s) ending
  // at each line.
  int longest = 0;
  for (XLINE* l = first; l; l = l->next) {
    if (l->prev && l != first) {
      long d = year_seconds(l->tm_ms.tm) - year_seconds(l->prev->tm_ms.tm);
      l->tm_ms.valid = (d >= 0 && d < 2) ? l->prev->tm_ms.valid + 1 : 0;
    }
    if (l->tm_ms.valid > longest) longest = l->tm_ms.valid;
  }
  // 2. Lines of short runs take the time of the last anchor (run >= 4) plus
  // their distance from it at r lines a second.
  XLINE* anchor = nullptr;
  XLINE* first_anchor = nullptr;
  int t = 0;
  for (XLINE* l = first; l; l = l->next) {
    if (l->tm_ms.valid >= 4) {
      anchor = l;
      t = 0;
      if (!first_anchor) first_anchor = l;
    } else if (anchor) {
      t++;
      l->tm_ms = anchor->tm_ms;
      l->tm_ms.ms = anchor->tm_ms.ms + (1000 / r) * (t % r);
      l->tm_ms.tm.tm_sec += t / r + l->tm_ms.ms / 1000;
      l->tm_ms.ms %= 1000;
      pava::mktime_utc(&l->tm_ms.tm);
    }
  }
  // 3. Lines before the first anchor count back from it in whole seconds (the
  // milliseconds stay those of the anchor).
  if (first_anchor) {
    int k = 0;
    for (XLINE* l = first_anchor->prev; l; l = l->prev) {
      k++;
      l->tm_ms = first_anchor->tm_ms;
      l->tm_ms.tm.tm_sec -= k / r;
      pava::mktime_utc(&l->tm_ms.tm);
      if (l == first) break;
    }
  }
  // 4. Fewer than six plausible lines in a row: the times are not trusted.
  return longest > 5 ? longest : 0;
}
