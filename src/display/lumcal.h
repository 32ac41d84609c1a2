// Luminance window and table, despeckling, NOAA thermal calibration and the
// temperature colour scale.
#pragma once
#include <vector>

#include "display/display_types.h"
#include "formats/picinfo.h"

// Automatic luminance window from the histogram lumstat[0..n-1]: lum_min and
// lum_max become the first and last entries (from 1 on) whose count exceeds
// 1/50 of the largest count; unchanged when none does.
void calc_lum_thresholds(const long* lumstat, int n, int* lum_min, int* lum_max);

// Luminance table of m entries mapping a value to a palette index 0..n-1 (or
// 1..n inverted): the window lum_min..lum_max stretched with gamma g (0 and
// 1: linear, in integer arithmetic). lum_max is taken one above lum_min when
// they are equal. Returns 0, or 3 when the table cannot be made.
int map_z(int lum_min, int lum_max, float g, int invert, int n, int m, std::vector<int>* table);

// Despeckled value of pixel x of line cur (up/down: the same channel's lines
// before and after; null when there is none). sur_ulim and dsp_llim are the
// limits of the view.
int get_pix(const uint16_t* up, const uint16_t* cur, const uint16_t* down, int x, int width,
            int sur_ulim, int dsp_llim);

// Calibration set of a NOAA satellite from its name ("NOAA 15"): NOAA 14, 15
// and 16 have their own, any other number gets NOAA 15's with a message shown
// once per run. Returns the number read from the name (0 when none).
int load_cal(const char* sat_name, NOAACAL* cal);
// Forgets that the fallback message was shown (tests).
void load_cal_reset_message();

// Planck radiance (mW/(m^2 sr cm^-1)) of channel ch (3..5) at temperature t
// kelvin, the band correction applied (T* = a + b t).
double noaa_radiance(const NOAACAL& cal, int ch, double t);
// Brightness temperature (kelvin) of channel ch at radiance n (the inverse of
// noaa_radiance).
double noaa_temperature(const NOAACAL& cal, int ch, double n);
// Radiance of earth count ce: linear between space (count csp, radiance Ns)
// and the black body (count cbb, radiance nbb), with the non-linearity
// correction b0 + f N + b2 N^2 (f = b1 when b1 is a whole factor near 1,
// else 1 + b1).
double noaa_count_radiance(const NOAACAL& cal, int ch, double nbb, double csp, double cbb,
                           double ce);

// The four PRT temperatures of the black body as found at a line.
struct PRTSTATE {
  int next_prt;  // PRT number of the next reading (1..4); 0: not yet known
  float t[5];    // kelvin, index 1..4
  int have;      // bit k: t[k] is set
};

// Temperatures (tenths of a kelvin) of channel ch (3..5) for every pixel of
// line `line` into out (line->width entries), from the PRT readings found up
// to this line and the black-body and space samples of the next line (or this
// one). Returns 0, or -1 when the channel is not a thermal one or the
// calibration cannot be made (no PRT readings, no gain).
int map_noaatemp(const PICINFO* pic, const XLINE* line, int ch, std::vector<int>* out);

// Colour of a temperature in tenths of a kelvin (clamped to 203..343 K):
// (r, g, b) 0..254 from the hue table. Returns the index 0..1023.
int map_temp(int tenth_k, int* r, int* g, int* b);
// Hue (degrees) of index 0..1023 of the temperature scale: rising from blue
// (cold) through green to red (warm).
float temp_hue(int index);
// Temperature (degrees Celsius) shown by a colour of the temperature palette
// with n entries, under the luminance window lum_min..lum_max.
int inv_maptemp(int r, int g, int b, int lum_min, int lum_max, int n);
