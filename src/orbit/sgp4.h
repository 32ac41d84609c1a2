// The near-earth SGP4 orbit model (Spacetrack Report No. 3, WGS-72 constants)
// and the time helpers around it: Julian dates and the Greenwich sidereal angle.
//
// Frames and units used throughout:
// - TEME: the "true equator, mean equinox" inertial frame in which SGP4 works;
//   positions in km, velocities in km/s. Rotating TEME about its z axis by the
//   Greenwich mean sidereal angle (ThetaG_JD) gives earth-fixed coordinates
//   (polar motion neglected).
// - Julian dates are UTC based (UT1 taken equal to UTC): JD = 2440587.5 +
//   seconds since 1970 / 86400.
// - Model time is minutes since the element epoch.
#pragma once
#include <ctime>

#include "orbit/orbit_types.h"

// Model error codes of sgp4_init and sgp4_propagate.
enum SGP4_ERR {
  SGP4_OK = 0,
  SGP4_ERR_ECC = 1,       // eccentricity outside [0, 0.999999] (or not a number)
  SGP4_ERR_MOTION = 2,    // mean motion not positive: no orbit
  SGP4_ERR_AXIS = 3,      // semi-major axis negative or not a number
  SGP4_ERR_SEMILATUS = 4  // semi-latus rectum not positive (orbit decayed)
};

// WGS-72 constants of the model.
constexpr double SGP4_XKMPER = 6378.135;        // earth radius, km
constexpr double SGP4_XKE = 0.0743669161;       // sqrt(GM) in earth radii^1.5 per minute
constexpr double SGP4_CK2 = 5.41308e-4;         // J2/2
constexpr double SGP4_CK4 = 0.62098875e-6;      // -3/8 J4
constexpr double SGP4_XJ3 = -0.253881e-5;       // J3
constexpr double SGP4_S = 1.01222928;           // density function parameter, earth radii
constexpr double SGP4_QOMS2T = 1.880279159e-9;  // (q0 - s)^4, earth radii^4

// Prepares the model state for the elements tle (angles in radians, xno in
// radians per minute, epoch as a Julian date). state holds SGP4_NPARAMS
// doubles and is fully written. Returns SGP4_OK or an SGP4_ERR code (the state
// is then not usable).
int sgp4_init(const tle_t* tle, double state[SGP4_NPARAMS]);

// Runs the model tsince minutes after the epoch. pos_km receives the TEME
// position in km, vel_kms (may be null) the TEME velocity in km/s. The state
// is only read, so one state may serve several callers. Returns SGP4_OK or an
// SGP4_ERR code (outputs then unchanged).
int sgp4_propagate(const double state[SGP4_NPARAMS], double tsince, double pos_km[3],
                   double vel_kms[3]);

// Julian date (UTC) of a GMT broken-down time plus milliseconds. tm is not
// modified (a normalised copy is used).
double orbit_julian_date(const struct tm* time, int ms);

// Julian date (UTC) of seconds since 1970 (with fraction).
inline double orbit_julian_unix(double t_unix) { return 2440587.5 + t_unix / 86400.0; }

// Greenwich mean sidereal angle in radians, [0, 2pi), of a Julian date (UT1
// taken equal to UTC; IAU 1982 polynomial).
double ThetaG_JD(double jd);

// a modulo b in [0, b) for b > 0.
double Modulus(double a, double b);

// TEME position (km) and velocity (km/s) of the satellite of kepler at Julian
// date jd, in double precision throughout. kepler must have been prepared
// (calc_orbitconst_v2: sgp4_ready set). vel_kms may be null. Returns SGP4_OK,
// an SGP4_ERR code, or -1 when the elements have no model state.
int orbit_teme_posvel(const KEPLER* kepler, double jd, double pos_km[3], double vel_kms[3]);

// Rotates a TEME position (km) into earth-fixed coordinates (km) at Julian
// date jd: x towards longitude 0, z towards the north pole.
void orbit_teme_to_ecef(const double teme_km[3], double jd, double ecef_km[3]);
