// Sun and moon for the tracker: the sub-solar point (low-precision almanac
// formulas, single precision) and the moon's topocentric right ascension,
// declination and illumination (mean elements and the main periodic terms of
// Meeus, "Astronomical Algorithms", chapter 47).
#pragma once
#include <ctime>

#include "orbit/orbit_types.h"

// Sub-solar point at time (GMT): lon, lat in radians (east, north positive);
// the other fields are zero.
EPOINT calc_sun(const struct tm* time);

// The moon at time (GMT) seen from refpos (lon, lat radians; null: latitude 0
// and the Greenwich sidereal angle): lon = topocentric right ascension, lat =
// topocentric declination (radians, mean equinox of date). *pill (may be null)
// receives the illumination code: 0..100 waxing (100 full), then 100..200
// waning (200 new again). The local sidereal angle is the Greenwich angle plus
// the observer's latitude (kept so on purpose).
EPOINT calc_moon(const struct tm* time, int* pill, const EPOINT* refpos);

// Geocentric moon at time: right ascension, declination (radians, mean equinox
// of date), distance in earth radii; *pill (may be null) as in calc_moon.
void moon_geocentric(const struct tm* time, double* ra, double* dec, double* dist_er, int* pill);

// The steps of the sun model, exposed for tests. d: days from 2000-01-01 12:00
// GMT; degrees or radians as named.
float astronomersAlmanacTime(const struct tm* time);
float hourOfDay(const struct tm* time);
float meanLongitudeDegrees(float d);
float meanAnomalyRadians(float d);
float eclipticLongitudeRadians(float mean_long_deg, float mean_anom_rad);
float eclipticObliquityRadians(float d);
float rightAscensionRadian(float obliquity, float ecl_long);
float rightDeclinationRadians(float obliquity, float ecl_long);
float greenwichMeanSiderealTimeHours(float d, float hour);
float localMeanSiderealTimeRadians(float gmst_hours, float lon_deg);
float hourAngleRadians(float lmst, float ra);
// Degrees into [0, 360); radians into [0, 2pi).
float range(float deg);
double rangerad(double rad);
