// Satellite positions from the SGP4 model: preparation of a satellite and its
// earth position at a moment.
#pragma once
#include <ctime>

#include "display/display_types.h"
#include "orbit/orbit_types.h"

// Prepares a satellite: period and height into orbit, the double-precision
// elements, the model state, the epoch as calendar time, the data age.
int calc_orbitconst_v2(KEPLER* kepler, ORBIT* orbit);

// Runs the model at time (GMT) + ms: earth_out the earth's rotation reference,
// xyz_out the inertial position in km, subsat_out the sub-satellite point (each
// may be null). Returns 0 on success.
int calc_sat_earth_v2(const struct tm* time, int ms, KEPLER* kepler, ORBIT* orbit,
                      EPOINT* earth_out, EPOINT* xyz_out, EPOINT* subsat_out);
