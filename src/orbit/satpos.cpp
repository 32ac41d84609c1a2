#include "orbit/satpos.h"

int calc_orbitconst_v2(KEPLER*, ORBIT*) { return 1; }

int calc_sat_earth_v2(const struct tm*, int, KEPLER*, ORBIT*, EPOINT*, EPOINT*, EPOINT*) {
  return -1;
}
