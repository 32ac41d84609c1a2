// The preferences: one process-wide record PREFS, and the list of items that
// ties each key of the file "pava.ini" to its field(s), default and format.
#pragma once
#include <cstdio>

#include "display/display_types.h"
#include "orbit/orbit_types.h"
#include "reception/recordinfo.h"
#include "tracking/rotor_types.h"

constexpr int PREFS_NSATS = 14;     // satellites of the tracking table
constexpr int PREFS_NFAMILIES = 4;  // "NOAA", "METOP", "METEOR", "FY3"
constexpr int PREFS_NMAPS = 3;      // stored channel maps per family
constexpr int PREFS_NCOLOURS = 13;  // Clr. colours of the tracker map
// Observer_Lon/Observer_Lat: degrees in the file, radians in memory.
constexpr double PREFS_DEG2RAD = 3.14159265358979323846 / 180.0;

// One entry of the tracking satellite table.
struct SATSEL {
  char name[40];  // satellite name (the item's default)
  char sel[8];    // "TRUE" / "FALSE" as read
  int on;         // selected for tracking
};

struct PREFS {
  // Directories noted at start and the file that was read.
  char cur_dir[300], home_dir[300], prog_dir[300];
  char prefs_file[300];

  int main_wnd_w, main_wnd_h;
  int main_wnd_x, main_wnd_y;
  int trk_wnd_x, trk_wnd_y;
  int sub_wnd_x, sub_wnd_y;
  int port_type;  // PORT_TYPE
  int parport_nr;
  int parport_base;
  int fast_parportaccess;
  int hwsel_type;
  int get_decodermode;
  int plot_track;
  char plottrack_file[300];
  int nr_trplotfiles;
  int freq_offset;
  int auto_decoder, auto_tuner;
  int usb_tracktofpga;
  int sep_track_wnd;
  float zoom_satwindow;
  int nrsat_satwindow;
  int use_usbid;
  char usb_id[30];
  int usb_fast_ftd;
  int font_size;
  int grid_color, boundary_color;  // packed 0xRRGGBB
  int linearize;
  int keep_xyrel;
  int sur_ulim, dsp_llim;  // despeckle limits
  float fix_zoomfactor;
  int hrpt_start_after_in_sync, hrpt_stop_after_out_sync;
  int hri_start_after_in_sync, hri_stop_after_out_sync;
  int hrpt_lines_per_screen;
  int rec_auto_zoom, rec_auto_shift;
  float rec_zx;
  int rec_do_live, rec_auto_zoom_keep_aspect, rec_clear_wnd_at_start;
  int rec_show_skipy, rec_line_insync_thr;
  int hrpt_scandir;  // SCANDIR of the recorder
  int hrpt_showchan;
  int hrptrec_save_rec;
  int hrptrec_auto_getkepler;
  int set_channel_at_start;
  char dir_hrpt[50], file_hrptbase[30], file_hrptext[30];
  char dir_qnoaa20[50], file_qnoaa20base[30], file_qnoaa20ext[30];
  char dir_qnoaa21[50], file_qnoaa21base[30], file_qnoaa21ext[30];
  char dir_aqua[50], file_aquabase[30], file_aquaext[30];
  char dir_mhrpt[50], file_mhrptbase[30], file_mhrptext[30];
  char dir_metop[50], file_metopbase[30], file_metopext[30];
  char dir_fy3[50], file_fy3base[30], file_fy3ext[30];
  int metfy3x;
  int file_use_satname;
  char working_dir[300];
  char kepler_file[300], coast_file[300], earthmap_file[300], placesgpx_file[300];
  UART_SET uart;
  eth_items eth;
  int ext_prog_on;
  char prog_up[200], prog_down[200], prog_trackingup[200], prog_idledown[200];
  char observer_name[40];
  EPOINT refpos;     // observer: lon/lat radians, alt
  float elev_horiz;  // radians
  int elev_det;      // degrees
  float rotreptime;
  float radio_horizon;
  ROTOR rotor;
  float utc_offset;  // hours of local time against UTC
  TM_OFFSET tm_off;
  int clr[PREFS_NCOLOURS];  // packed Clr. colours
  RGBCLR clr_rgb[PREFS_NCOLOURS];
  RGBCLR grid_clr, boundary_clr;
  int sunshadow;
  float shadow_fact;
  SATSEL sats[PREFS_NSATS];

  // Settings not stored under a key of their own.
  int log;           // write pava.log (option -log)
  float reptime;     // tracking period, seconds
  int display_mode;  // board angle display
  CLRMAPCHAN clrmaps[PREFS_NFAMILIES][PREFS_NMAPS];
  CLRMAPCHAN clrmaps_loaded[PREFS_NFAMILIES][PREFS_NMAPS];
  int precise_geolocation;  // pixel positions on the WGS 84 ellipsoid (else spherical model)

  // FTDI access: "auto" (D2XX when installed, else libftdi1), "d2xx",
  // "libftdi" or "emulator".
  char usb_backend[16];

  // hamlib rotctld rotor output (added): enabled, host name or address, port.
  int rotctld_on;
  char rotctld_host[64];
  int rotctld_port;
};

// The process-wide preferences.
extern PREFS prefs;
