// The synthetic earth of the pass simulator: a land mask rasterised from GSHHS
// shorelines, deterministic fractal clouds, and the radiometry of a surface
// point (albedos and brightness temperatures) under a given sun.
#pragma once
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

// Land mask on a regular lon/lat grid over a window (longitudes may run past
// 180; cells are looked up modulo 360).
struct SIM_LANDMASK {
  double west = 0, south = 0;  // degrees, corner of cell (0, 0)
  double res = 0.01;           // degrees per cell
  int nlon = 0, nlat = 0;
  std::vector<uint8_t> land;  // 1 land, 0 water; row-major from the south
};

// Rasterises the polygons of an open GSHHS file into a mask covering lon
// west..east, lat south..north (degrees; east may exceed 180) at res degrees.
// Even-odd filling per polygon, painted in order of level: levels 1 and 3
// land, 2 and 4 water. Returns the polygons used, or -1 on a damaged file or a
// window that would need more than max_cells cells.
int sim_landmask_build(FILE* fp, double west, double east, double south, double north, double res,
                       SIM_LANDMASK* mask, long max_cells = 80L * 1000 * 1000);
// 1 when the point (degrees) is land; points outside the window are water.
int sim_landmask_at(const SIM_LANDMASK& mask, double lon_deg, double lat_deg);

// Deterministic fractal value noise in [0, 1) on the unit sphere.
double sim_fbm(uint32_t seed, double x, double y, double z, int octaves, double freq);

// What the sensor sees at one earth point.
struct SIM_SURFACE {
  int land;          // 1 land, 0 water
  double cloud;      // cloud opacity 0..1
  double cos_sun;    // cosine of the solar zenith angle (negative: night)
  double albedo[2];  // channels 1 and 2 (reflectance 0..1, before the sun)
  double temp[3];    // brightness temperatures of channels 3B, 4, 5 (kelvin)
};

// Scene parameters.
struct SIM_SCENE {
  uint32_t seed = 1;
  double clouds = 0.3;  // cloud cover 0..1 (0: clear sky everywhere)
  const SIM_LANDMASK* mask = nullptr;
};

// Radiometry of the point at geodetic lon/lat (radians) with unit vector
// (x, y, z) earth-fixed, the sun's earth-fixed unit vector sun.
void sim_surface(const SIM_SCENE& scene, double lon, double lat, const double xyz[3],
                 const double sun[3], SIM_SURFACE* out);
