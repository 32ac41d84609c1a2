// Satellite positions from the SGP4 model: preparation of a satellite, its
// earth position at a moment, look angles from the observer, X/Y mount angles
// and rotor targets.
//
// Angles are radians unless a name says otherwise; positions are TEME
// ("inertial") km; times are GMT struct tm plus milliseconds.
#pragma once
#include <ctime>

#include "display/display_types.h"
#include "orbit/orbit_types.h"
#include "tracking/rotor_types.h"

struct SAT;

// Prepares a satellite: period and height into orbit, the double-precision
// elements, the model state, the epoch as calendar time, the data age.
int calc_orbitconst_v2(KEPLER* kepler, ORBIT* orbit);

// Runs the model at time (GMT) + ms: earth_out the earth's rotation reference,
// xyz_out the inertial position in km, subsat_out the sub-satellite point (each
// may be null). Returns 0 on success.
int calc_sat_earth_v2(const struct tm* time, int ms, KEPLER* kepler, ORBIT* orbit,
                      EPOINT* earth_out, EPOINT* xyz_out, EPOINT* subsat_out);

// Fills tle from the single-precision fields of kepler (angles in radians,
// mean motion in revolutions per day), with pi written as 3.14159265.
void kepler2tle(const KEPLER* kepler, tle_t* tle);

// Sub-satellite point (lon, lat radians; geocentric latitude) of a TEME
// position (km) at Julian date jd; lon in [-pi, pi].
void orbit_subsat_point(double x, double y, double z, double jd, EPOINT* out);

// Observer position (TEME, km) at Julian date jd: observer lon/lat in radians,
// alt in km above the WGS-72 ellipsoid.
void orbit_observer_xyz(const EPOINT* observer, double jd, double xyz_km[3]);

// Elevation and azimuth of a TEME position sat_xyz (km) at time + ms from the
// observer into out (elev, azim, dist km, height km). Returns the satellite's
// height in metres (|xyz| * 1000 - 6378135).
double calceleazim_v2(int ms, const struct tm* time, const EPOINT* sat_xyz, const EPOINT* observer,
                      DIRECTION* out);

// Elevation and azimuth on a spherical earth of an object height_m metres above
// the sub-point subsat, seen from observer, into dir (dist km, height km).
// Returns the distance in metres.
double calceleazim_v1(double height_m, const EPOINT* subsat, const EPOINT* observer,
                      DIRECTION* dir);

// Position of one satellite at time + ms: sub-satellite point into subsat_out
// and TEME km into xyz_out (both may be null); for type sun the sub-solar point,
// for type moon the sub-lunar point. A forced position replaces lon/lat
// afterwards. height_m (may be null) receives the object's height in metres.
// Returns 0, or non-zero when the model failed (outputs then as they were).
int calc_onepos(SAT* sat, const struct tm* time, int ms, EPOINT* subsat_out, EPOINT* xyz_out,
                double* height_m = nullptr);

// Sub-satellite point and full look direction (elevation, azimuth, X/Y angles
// for rotor, or the default mount when rotor is null) of sat from observer at
// time. velo receives the range rate in km/s (positive receding) for orbit
// objects, 0 for the sun and moon.
void calc_satrelpos(EPOINT* subsat_out, DIRECTION* dir_out, const EPOINT* observer, SAT* sat,
                    const tm_s* time, const ROTOR* rotor = nullptr);

// X/Y mount angles (dir->x, dir->y, radians) from dir->elev and dir->azim for
// the mount of rotor (null: X axis not at the dish, no reversals).
void elevazim2xy(DIRECTION* dir, const ROTOR* rotor);

// Sets rotor->to_rotor (degrees) to the angles to send for an object in
// direction satdir (radians). Returns 1 while tracking, 0 when parked, -1
// while an axis waits to park. reptime: the caller's timer period, seconds.
int calc_rotpos(const DIRECTION* satdir, int will_track, ROTOR* rotor, float elev_horiz,
                float reptime);

// Park countdown of the X/Y axes: rearm restarts both counts from the rotor's
// waits; otherwise one idle tick (an axis whose count is zero moves to its park
// angle). Returns 1 while any count is running.
int do_xystorm(ROTOR* rotor, int rearm, float reptime);
