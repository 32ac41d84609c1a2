#include "app/core/hdrinfo.h"

#include <cstdio>
#include <ctime>

#include "common/text.h"

namespace {

std::string words(const uint16_t* w, int n) {
  std::string s;
  for (int i = 0; i < n; i++) s += (i ? " " : "") + std::to_string(w[i]);
  return s;
}

}  // namespace

HDR_ROWS framehdr_rows(const PICINFO* pic, const VIEWINFO* view, int line) {
  HDR_ROWS rows;
  HRPT_FRAMEHDR h{};
  if (!pic || !get_hrpt_framehdr(pic, view, line, &h)) {
    rows.emplace_back("Line", std::to_string(line) + ": no header");
    return rows;
  }
  struct tm ref {};
  if (pic->picture_time.tm_year > 0) ref = pic->picture_time;
  interpret_framehdr(&h, &ref);
  char buf[64];
  rows.emplace_back("Line", std::to_string(line));
  rows.emplace_back("Sync",
                    words(h.sync_word, 6) + (is_hrptsync(h.sync_word, 0) ? " (ok)" : " (bad)"));
  rows.emplace_back("Minor frame", std::to_string(h.minor_framenr));
  std::snprintf(buf, sizeof buf, "%d (%s)", h.spacecraft_addr, h.sat_name);
  rows.emplace_back("Spacecraft", buf);
  rows.emplace_back("Channel 3", h.chan3ab == 'a' ? "3A" : h.chan3ab == 'b' ? "3B" : "?");
  rows.emplace_back("Day", std::to_string(h.day_count));
  rows.emplace_back("Milliseconds", std::to_string(h.msec_count));
  std::snprintf(buf, sizeof buf, "%04d-%02d-%02d %02d:%02d:%02d.%03d", h.sat_time.tm_year + 1900,
                h.sat_time.tm_mon + 1, h.sat_time.tm_mday, h.sat_time.tm_hour, h.sat_time.tm_min,
                h.sat_time.tm_sec, int(h.msec));
  rows.emplace_back("Time", buf);
  rows.emplace_back("Telemetry", words(h.telemetry, 5));
  rows.emplace_back("Target temp.", words(h.target_temp, 5));
  rows.emplace_back("Patch temp.", std::to_string(h.ch3_patchtemp));
  HRPT_FRAMEHDR first{};
  int n = search_first_reliable_frame(0, pic, view, &first);
  rows.emplace_back("First reliable frame", n > 0 ? std::to_string(n) : "none");
  return rows;
}
