// Records of the orbit subsystem shared with the picture record, the
// preferences and the tracker: points, look directions, elements.
#pragma once
#include <ctime>

// An earth point: x, y, z in km (earth-centred inertial when filled by the
// orbit model), lon/lat in radians (east and north positive), alt.
struct EPOINT {
  float x, y, z;
  float lon, lat;
  float alt;
};

// A look direction: elevation and azimuth (radians, azimuth from north through
// east), the two axes of an X/Y mount (radians), distance, height, velocity.
struct DIRECTION {
  float elev, azim;
  float x, y;
  double dist;
  double height;
  double velo;
};

enum SATTYPE { satellite = 0, sun = 1, moon = 2, calc_ext = 3 };

// A broken-down GMT time with milliseconds.
struct tm_s {
  struct tm tm;
  int ms;
};

// Double-precision elements fed to the SGP4 model.
struct tle_t {
  double epoch, xndt2o, xndd6o, bstar, xincl, xnodeo, eo, omegao, xmo, xno;
  int norad_number, bulletin_number, revolution_number;
  char classification, ephemeris_type;
  char intl_desig[9];
};

// Number of doubles of SGP4 model state kept with each element set.
constexpr int SGP4_NPARAMS = 92;

// One satellite's elements. Angles: the d_ fields in degrees, their partners in
// radians. The epoch day is kept in double precision; single precision stays
// only where a file layout stores it.
struct KEPLER {
  char name[20];
  int epoch_year;    // years since 1900
  double epoch_day;  // day of year with fraction
  float decay_rate;
  float decay_rate2;
  float bstar;
  float inclination, d_inclination;
  float raan, d_raan;
  float eccentricity;
  float perigee, d_perigee;
  float anomaly, d_anomaly;
  float motion;  // revolutions per day
  long epoch_rev;
  char ephemeris_type;
  tle_t tle;
  // Model constants prepared by the orbit model; valid when sgp4_ready.
  int sgp4_ready;
  double sgp4_params[SGP4_NPARAMS];
};

// How "now" is shifted for the trackers.
struct TM_OFFSET {
  float tz_offset;   // hours added to GMT
  float sec_offset;  // seconds added
  int sec_xoffset;
  float reptime;  // repeat interval of the caller's timer, seconds
};
