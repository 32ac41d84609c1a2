#include "app/core/keplerctl.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

// Angles in radians, as the record keeps them.
const KEPLER_FIELD kFields[] = {
    {"Epoch year", 0, 300, 1, 0, 0},
    {"Epoch day", 0, 367, 0.00001, 8, 0},
    {"Decay rate", -1, 1, 1e-8, 8, 0},
    {"Inclination", 0, 3.2, 1e-6, 6, 0},
    {"RAAN", 0, 6.3, 1e-6, 6, 0},
    {"Eccentricity", 0, 0.99, 1e-7, 7, 0},
    {"Arg. of perigee", 0, 6.3, 1e-6, 6, 0},
    {"Mean anomaly", 0, 6.3, 1e-6, 6, 0},
    {"Mean motion", 0, 20, 1e-8, 8, 0},
    {"Epoch rev.", 0, 1e7, 1, 0, 0},
    {"offset_sec", -86400, 86400, 1, 0, 1},
    {"offset_lon", -180, 180, 0.01, 2, 1},
    {nullptr, 0, 0, 0, 0, 0},
};

const KEPLER_FIELD* find(const char* name) {
  if (!name) return nullptr;
  for (const KEPLER_FIELD* f = kFields; f->name; f++)
    if (!std::strcmp(f->name, name)) return f;
  return nullptr;
}

}  // namespace

const KEPLER_FIELD* kepler_fields() { return kFields; }

double kepler_get(const PICINFO* pic, const char* name) {
  const KEPLER_FIELD* f = find(name);
  if (!pic || !f) return 0;
  const KEPLER& k = pic->kepler;
  const char* n = f->name;
  if (!std::strcmp(n, "Epoch year")) return k.epoch_year;
  if (!std::strcmp(n, "Epoch day")) return k.epoch_day;
  if (!std::strcmp(n, "Decay rate")) return k.decay_rate;
  if (!std::strcmp(n, "Inclination")) return k.inclination;
  if (!std::strcmp(n, "RAAN")) return k.raan;
  if (!std::strcmp(n, "Eccentricity")) return k.eccentricity;
  if (!std::strcmp(n, "Arg. of perigee")) return k.perigee;
  if (!std::strcmp(n, "Mean anomaly")) return k.anomaly;
  if (!std::strcmp(n, "Mean motion")) return k.motion;
  if (!std::strcmp(n, "Epoch rev.")) return double(k.epoch_rev);
  if (!std::strcmp(n, "offset_sec")) return pic->orbit.offset_sec;
  return pic->orbit.offset_lon;  // "offset_lon"
}

int kepler_set(PICINFO* pic, const char* name, double value) {
  const KEPLER_FIELD* f = find(name);
  if (!pic || !f) return -1;
  if (!(value >= f->min)) value = f->min;  // also NaN
  value = std::min(value, f->max);
  double before = kepler_get(pic, name);
  KEPLER& k = pic->kepler;
  const char* n = f->name;
  if (!std::strcmp(n, "Epoch year"))
    k.epoch_year = int(std::lround(value));
  else if (!std::strcmp(n, "Epoch day"))
    k.epoch_day = value;
  else if (!std::strcmp(n, "Decay rate"))
    k.decay_rate = float(value);
  else if (!std::strcmp(n, "Inclination"))
    k.inclination = float(value);
  else if (!std::strcmp(n, "RAAN"))
    k.raan = float(value);
  else if (!std::strcmp(n, "Eccentricity"))
    k.eccentricity = float(value);
  else if (!std::strcmp(n, "Arg. of perigee"))
    k.perigee = float(value);
  else if (!std::strcmp(n, "Mean anomaly"))
    k.anomaly = float(value);
  else if (!std::strcmp(n, "Mean motion"))
    k.motion = float(value);
  else if (!std::strcmp(n, "Epoch rev."))
    k.epoch_rev = long(std::lround(value));
  else if (!std::strcmp(n, "offset_sec"))
    pic->orbit.offset_sec = int(std::lround(value));
  else
    pic->orbit.offset_lon = float(value);
  double after = kepler_get(pic, name);
  if (after == before) return 0;
  if (!f->is_offset) k.sgp4_ready = 0;
  return 1;
}
