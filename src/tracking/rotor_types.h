// Rotor settings, kept in the preferences.
#pragma once
#include "orbit/orbit_types.h"

struct ROTOR {
  char version[10];
  int x_at_disc;     // the X axis sits at the dish
  int inv_x, inv_y;  // reverse the sense of a positioner
  int xy_rotorlim;   // limit of a positioner in steps; 0: none
  int deg2step;      // positioner steps per degree; 0 means 8
  int x_west_is_0, y_south_is_0;
  int use_xy;                      // X/Y mount, else azimuth/elevation
  DIRECTION to_rotor;              // degrees: what is sent
  DIRECTION storm;                 // degrees: park position
  int storm_wait_x, storm_wait_y;  // seconds before an axis parks
  DIRECTION offset;                // degrees added to what is sent
  int ena_look_ahead;
  float look_ahead, la_ae, la_xy;
  float deg_per_sec;
  int always_send;
};
