// Pass simulator: a satellite pass over the synthetic earth of scene.h,
// written in the recording formats the program reads (the HRPT family, Meteor,
// and the CCSDS record files of Metop, NOAA-20 and FY-3) as the decoder board
// and the recorder would have produced them.
#pragma once
#include <cstdint>
#include <ctime>
#include <string>
#include <vector>

#include "display/display_types.h"
#include "orbit/orbit_types.h"
#include "sim/scene.h"

// Output formats of the simulator.
enum SIM_FORMAT {
  SIM_HRPT = 0,  // NOAA HRPT recording (.hrpt)
  SIM_CHRPT,     // FY-1 CHRPT recording (10 channels)
  SIM_HPT,       // packed HRPT frames without header (.hpt)
  SIM_MHRPT1,    // Meteor MSU-MR, 256-byte frames
  SIM_MHRPT2,    // Meteor MSU-MR, 1024-byte frames with four zones
  SIM_METOP,     // Metop AVHRR packets in CADUs
  SIM_FY3,       // FY-3 VIRR lines in CADUs
  SIM_NOAA20,    // NOAA-20 record file (AVHRR-shaped packets)
  SIM_NFORMATS
};
// Format by its command-line name ("hrpt", ...); -1 when unknown.
int sim_format_from_name(const char* name);
const char* sim_format_name(int format);
// 1 when the simulator writes this format.
int sim_format_supported(int format);

// What to synthesise.
struct SIM_REQUEST {
  std::string sat;         // satellite name as in the element file ("NOAA 19")
  std::string tle_path;    // element file
  std::string coast_path;  // GSHHS file of the land mask (empty: the shipped gshhs_i.b)
  struct tm start {};      // GMT
  int start_ms = 0;
  double seconds = 0;
  int format = SIM_HRPT;
  uint32_t seed = 1;
  double clouds = 0.3;
  double bit_errors = 0;  // probability of a flipped bit
  double sync_loss = 0;   // seconds without lock in the middle of the pass
  int threads = 0;        // 0: hardware concurrency
};

// Instrument and thermal calibration of a prepared pass.
struct SIM_THERMAL {
  int prt_count[5];                     // PRT 1..4 readings (counts) of the black body
  double tbb;                           // black-body temperature the display derives from them
  int space[6];                         // space counts of channels 1..5
  int bb[6];                            // black-body counts of channels 3..5
  std::vector<float> temp_of_count[6];  // channel 3..5: temperature of each count
};

// A prepared pass.
struct SIM_PASS {
  SIM_REQUEST req;
  KEPLER kepler{};
  int lines = 0;
  double line_dt = 1.0 / 6.0;  // seconds per line
  int width = 2048;
  double max_angle = 55.4;  // degrees at the swath edge
  int spacecraft_addr = 0;
  int chan3a = 0;  // 1: channel 3A is sent instead of 3B
  int meteor = 0;  // MSU-MR: six channels, thermal counts on a linear scale
  int nchan = 5;   // channels of the instrument: 5 AVHRR, 6 MSU-MR, 10 MVISR/VIRR
  int scid = 0;    // CCSDS spacecraft identifier (Metop, NOAA-20, FY-3)
  double jd0 = 0;  // Julian date of line 0
  SIM_LANDMASK mask;
  SIM_SCENE scene;
  NOAACAL cal{};
  SIM_THERMAL th{};
};

// Earth view of one line: per pixel the geodetic position and the scene.
struct SIM_LINE {
  double jd = 0;
  double sat_lon = 0, sat_lat = 0;  // sub-satellite point, radians
  std::vector<double> lon, lat;     // radians, geodetic on WGS 84
  std::vector<SIM_SURFACE> surf;
  std::vector<uint16_t> counts[11];  // channel 1..nchan counts
};

// Reads the elements, builds the land mask under the pass and the calibration.
// Returns 0, or 1 with a message in *err.
int sim_prepare(const SIM_REQUEST& req, SIM_PASS* pass, std::string* err);

// Geometry, scene and counts of line i.
void sim_line(const SIM_PASS& pass, int i, SIM_LINE* out);

// Position of the ray at sensor angle a (radians, positive to the right of
// the flight direction) from the satellite at TEME r, v (km, km/s) at Julian
// date jd, intersected with the WGS 84 ellipsoid: geodetic lon, lat (radians)
// and the earth-fixed point (km). Returns 0 when the ray misses the earth.
int sim_ray_wgs84(const double r[3], const double v[3], double jd, double a, double* lon,
                  double* lat, double p_km[3]);

// Count of thermal channel ch (3..5) that the display's calibration turns into
// temperature t (kelvin) as closely as possible.
int sim_thermal_count(const SIM_PASS& pass, int ch, double t);

// Writes the pass to path. Returns 0, or 1 with a message.
int sim_write(const SIM_PASS& pass, const char* path, std::string* err);
