#include "display/orbitbind.h"

#include "config/datadir.h"

#include <cmath>
#include <cstring>
#include <string>

#include "common/text.h"
#include "common/timeutil.h"
#include "config/prefs.h"
#include "display/georef.h"
#include "orbit/satdb.h"
#include "orbit/satpos.h"

namespace {

// Epoch of a set as seconds since 1970 (years since 1900 and day of year).
double epoch_unix(int epoch_year, double epoch_day) {
  struct tm t {};
  t.tm_year = epoch_year;
  t.tm_mday = 1;
  double base = double(pava::mktime_utc(&t));
  return base + (epoch_day - 1.0) * 86400.0;
}

// Satellite names compared without case and trailing blanks.
bool same_name(const char* a, const char* b) {
  std::string x(a), y(b);
  while (!x.empty() && x.back() == ' ') x.pop_back();
  while (!y.empty() && y.back() == ' ') y.pop_back();
  if (x.empty() || x.size() != y.size()) return false;
  for (size_t i = 0; i < x.size(); i++)
    if (std::toupper((unsigned char)x[i]) != std::toupper((unsigned char)y[i])) return false;
  return true;
}

bool have_header_elements(const KEPLER& k) {
  return k.motion > 0.0f && k.epoch_day > 0.0 && k.epoch_day < 368.0 && k.epoch_year > 0;
}

}  // namespace

FILE* open_element_file(const char* name) {
  if (!name || !*name) return nullptr;
  return std::fopen(data_file_path(name).c_str(), "r");
}

int bind_picture_orbit(PICINFO* pic, const char* tle_file, bool positions) {
  ORBIT& o = pic->orbit;
  o.valid = 0;
  o.elements = ORBIT_ELEM_NONE;
  pava::copy_text(o.elements_text, "no elements");
  const bool header = have_header_elements(pic->kepler);
  if (!pic->valid_time || !pic->xline) return 0;
  const XLINE* first = pic->xline;
  struct tm t0 = first->tm_ms.tm;
  const double pic_time = double(pava::mktime_utc(&t0)) + first->tm_ms.ms / 1000.0;

  // The header holds the epoch day as a float: a file set whose day rounds to
  // the same float is the same set, with its full precision.
  const double hdr_epoch = header ? epoch_unix(pic->kepler.epoch_year, pic->kepler.epoch_day) : 0.0;
  const float hdr_day = float(pic->kepler.epoch_day);
  KEPLER best{};
  bool found = false;
  double best_dist = 0;
  const char* name = tle_file ? tle_file : prefs.kepler_file;
  if (FILE* fp = open_element_file(name)) {
    char sname[TLE_LINEBUF];
    KEPLER k{};
    while (read_norad_next_keps(fp, sname, &k)) {
      if (!same_name(sname, pic->sat_name)) continue;
      const double ep = epoch_unix(k.epoch_year, k.epoch_day);
      if (header) {
        bool same = k.epoch_year == pic->kepler.epoch_year && float(k.epoch_day) == hdr_day;
        if (!same && ep < hdr_epoch) continue;
      }
      double dist = std::fabs(ep - pic_time);
      if (!found || dist < best_dist) best = k, best_dist = dist, found = true;
    }
    std::fclose(fp);
  }
  if (found) {
    pic->kepler = best;
    pic->kepler.sgp4_ready = 0;
    o.elements = ORBIT_ELEM_FILE;
    std::snprintf(o.elements_text, sizeof o.elements_text, "element file %.100s, epoch %02d%012.8f",
                  name, best.epoch_year % 100, best.epoch_day);
  } else if (header) {
    pic->kepler.sgp4_ready = 0;
    std::memset(&pic->kepler.tle, 0, sizeof pic->kepler.tle);
    o.elements = ORBIT_ELEM_HEADER;
    std::snprintf(o.elements_text, sizeof o.elements_text, "recording header, epoch %02d%012.8f",
                  pic->kepler.epoch_year % 100, pic->kepler.epoch_day);
  } else {
    return 0;
  }
  calc_orbitconst_v2(&pic->kepler, &o);
  if (!pic->kepler.sgp4_ready) {
    o.elements = ORBIT_ELEM_NONE;
    pava::copy_text(o.elements_text, "no elements");
    return 0;
  }
  o.max_sens_angle = pic->max_sens_angle;
  o.width_original = pic->width_original > 0 ? pic->width_original : pic->width;
  o.scan_hor = pic->scan_hor;
  o.scan_ver = pic->scan_ver;
  o.start_tm = first->tm_ms.tm;
  o.start_ms = first->tm_ms.ms;
  o.valid = 1;
  if (!positions) return 1;
  if (add_subsatpos(pic) < 0) {
    o.valid = 0;
    return 0;
  }
  free_overlay(&pic->ovlinfo);
  return 1;
}
