// The preference items and their defaults. The order of the Create_ calls is
// the order of the keys in "pava.ini".
//
// Defaults chosen here (documented in README.md, "## Preferences"):
// - windows: natural size (0x0), positions 0,0; Font_size 10;
// - decoder board on USB ("usb"), parallel port 0 at 0x378, no serial number;
// - network rotor link to 192.168.1.70 port "5000" (a private LAN address);
// - serial rotor command "AZ%.1f EL%.1f" (Easycomm style) at 9600 baud, off;
// - sync thresholds 5 lines in / 50 lines out (HRPT), 5/50 (HRI);
// - despeckle limits U=100, L=200 (10-bit scale);
// - observer "Greenwich", 0.0 E, 51.48 N, altitude 0.0 km;
// - Elev_horizon 0.0 (radians), Elev_detect 5 degrees, rotor repeat 1.0 s;
// - az/el rotor, X zero east, Y zero north, park 0/0 after 10 s, 8 steps/degree;
// - colours as packed 0xRRGGBB, Shadow_fact 0.5;
// - satellites NOAA 18/19, METOP-B/C, FENGYUN 3D and METEOR-M2 2 selected.
#include "config/prefs.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "common/text.h"
#include "config/prefs_file.h"
#include "config/prefs_items.h"

PREFS prefs;
PREFITEMS* pref_items = nullptr;

namespace {

// Zero-filled record; ends the process when memory is exhausted.
PREFITEMS* new_item(PREFITEMS** list, const char* name) {
  PREFITEMS* it = static_cast<PREFITEMS*>(std::calloc(1, sizeof(PREFITEMS)));
  if (!it) {
    std::fprintf(stderr, "FATAL ERROR: Out of memory! (Trying allocating %ld bytes...)\n",
                 static_cast<long>(sizeof(PREFITEMS)));
    std::exit(-1);
  }
  pava::copy_text(it->name, name);
  if (!*list) {
    *list = it;
  } else {
    PREFITEMS* last = *list;
    while (last->next) last = last->next;
    last->next = it;
    it->prev = last;
  }
  return it;
}

// Bounded copy of at most max characters of src into a field of size n.
void copy_default(char* dst, std::size_t n, const char* src, std::size_t max) {
  if (!dst || n == 0) return;
  char tmp[64];
  std::size_t len = src ? std::strlen(src) : 0;
  if (len > max) len = max;
  if (len > sizeof tmp - 1) len = sizeof tmp - 1;
  if (len) std::memcpy(tmp, src, len);
  tmp[len] = 0;
  pava::copy_text(dst, n, tmp);
}

}  // namespace

PREFITEMS* Create_BPref(PREFITEMS** list, const char* name, int* val, int def) {
  PREFITEMS* it = new_item(list, name);
  it->bval[0] = val;
  it->bdef[0] = def;
  if (val) *val = def;
  return it;
}

PREFITEMS* Create_IPref(PREFITEMS** list, const char* name, int* val, int def) {
  PREFITEMS* it = new_item(list, name);
  it->ival[0] = val;
  it->idef[0] = def;
  if (val) *val = def;
  return it;
}

PREFITEMS* Create_EPref(PREFITEMS** list, const char* name, int* val, int def, const ENUMTBL* tbl) {
  PREFITEMS* it = Create_IPref(list, name, val, def);
  it->enumtbl = tbl;
  return it;
}

PREFITEMS* Create_2IPref(PREFITEMS** list, const char* name, int* val1, int def1, int* val2,
                         int def2, char sep) {
  PREFITEMS* it = Create_IPref(list, name, val1, def1);
  it->ival[1] = val2;
  it->idef[1] = def2;
  it->sep = sep;
  if (val2) *val2 = def2;
  return it;
}

PREFITEMS* Create_FPref(PREFITEMS** list, const char* name, float* val1, float def1, float* val2,
                        float def2, char sep) {
  PREFITEMS* it = new_item(list, name);
  it->fval[0] = val1;
  it->fdef[0] = def1;
  if (val1) *val1 = def1;
  if (val2) {
    it->fval[1] = val2;
    it->fdef[1] = def2;
    it->sep = sep;
    *val2 = def2;
  }
  return it;
}

PREFITEMS* Create_XPref(PREFITEMS** list, const char* name, int* val, int def, int nrdig) {
  PREFITEMS* it = Create_IPref(list, name, val, def);
  it->hex_nrdig = nrdig > 0 ? nrdig : 1;
  return it;
}

PREFITEMS* Create_SPref(PREFITEMS** list, const char* name, char* val, std::size_t size,
                        const char* def, char* val2, std::size_t size2, const char* def2) {
  PREFITEMS* it = new_item(list, name);
  it->sval[0] = val;
  it->slen[0] = size;
  if (val2) {
    // Satellite items: the default names the satellite (up to 40 characters).
    copy_default(it->sdef, sizeof it->sdef, def, sizeof it->sdef - 1);
    it->sval[1] = val2;
    it->slen[1] = size2;
    copy_default(val2, size2, def2, 20);
  } else {
    copy_default(it->sdef, sizeof it->sdef, def, 20);
  }
  pava::copy_text(val, size, it->sdef);
  return it;
}

PREFITEMS* Create_CPref(PREFITEMS** list, const char* name, char* val, char def) {
  PREFITEMS* it = new_item(list, name);
  it->type = 'c';
  it->pval[0] = val;
  it->pdef[0] = def;
  if (val) *val = def;
  return it;
}

PREFITEMS* Create_TPref(PREFITEMS** list, const char* text) {
  PREFITEMS* it = new_item(list, text);
  it->type = 't';
  return it;
}

void Remove_Prefs(PREFITEMS* list) {
  while (list) {
    PREFITEMS* next = list->next;
    std::free(list);
    list = next;
  }
}

namespace {

// Port_type: how the decoder board is reached.
const ENUMTBL kPortTypes = {{unk_port, parport, ethernet, usb, from_file},
                            {"unknown", "parport", "ethernet", "usb", "file"}};
// Hrpt_Record_Scandirection: scan direction of recorded pictures.
const ENUMTBL kScanDirs = {{scan_unk, N_S, S_N, W_E, E_W}, {"unknown", "N_S", "S_N", "W_E", "E_W"}};
// Rotortype: azimuth/elevation or X/Y mount (ROTOR.use_xy).
const ENUMTBL kRotorTypes = {{0, 1}, {"AzEl", "XY"}};

struct DirRow {
  const char *dir_key, *base_key, *ext_key;
  const char* base;
};

// The satellites of the tracking table and whether they are selected at first.
struct SatRow {
  const char* name;
  bool on;
};
const SatRow kSats[PREFS_NSATS] = {
    {"NOAA 15", false},    {"NOAA 18", true},     {"NOAA 19", true},     {"NOAA 20", false},
    {"METOP-A", false},    {"METOP-B", true},     {"METOP-C", true},     {"AQUA", false},
    {"FENGYUN 3A", false}, {"FENGYUN 3B", false}, {"FENGYUN 3C", false}, {"FENGYUN 3D", true},
    {"METEOR-M 2", false}, {"METEOR-M2 2", true}};

// The Clr. colours of the tracker map, packed 0xRRGGBB.
struct ClrRow {
  const char* key;
  int rgb;
};
const ClrRow kClrs[PREFS_NCOLOURS] = {
    {"Clr.sat_mark_sel", 0xff0000},   {"Clr.sat_area_sel", 0xffff00},
    {"Clr.sat_track_sel", 0xff8000},  {"Clr.sat_scanline_sel", 0x00ff00},
    {"Clr.sat_mark_nsel", 0x800000},  {"Clr.sat_area_nsel", 0x808000},
    {"Clr.sat_track_nsel", 0x804000}, {"Clr.sat_scanline_nsel", 0x008000},
    {"Clr.ref_mark", 0x0000ff},       {"Clr.radio_hor", 0x00ffff},
    {"Clr.radio_hor_obs", 0x008080},  {"Clr.raster", 0x808080},
    {"Clr.number", 0xffffff}};

}  // namespace

PREFITEMS* Load_Defaults(PREFS* p) {
  if (p == &prefs && pref_items) {
    Remove_Prefs(pref_items);
    pref_items = nullptr;
  }
  // Keep where the file was looked for across the reset.
  char cur[sizeof p->cur_dir], home[sizeof p->home_dir], prog[sizeof p->prog_dir],
      file[sizeof p->prefs_file];
  std::memcpy(cur, p->cur_dir, sizeof cur);
  std::memcpy(home, p->home_dir, sizeof home);
  std::memcpy(prog, p->prog_dir, sizeof prog);
  std::memcpy(file, p->prefs_file, sizeof file);
  *p = PREFS{};
  std::memcpy(p->cur_dir, cur, sizeof cur);
  std::memcpy(p->home_dir, home, sizeof home);
  std::memcpy(p->prog_dir, prog, sizeof prog);
  std::memcpy(p->prefs_file, file, sizeof file);

  PREFITEMS* l = nullptr;
  PREFITEMS** L = &l;
  Create_TPref(L, "# pava.ini");
  Create_2IPref(L, "main_window_size", &p->main_wnd_w, 0, &p->main_wnd_h, 0, 'x');
  Create_2IPref(L, "main_window_position", &p->main_wnd_x, 0, &p->main_wnd_y, 0, ',');
  Create_2IPref(L, "tracker_window_position", &p->trk_wnd_x, 0, &p->trk_wnd_y, 0, ',');
  Create_2IPref(L, "sub_window_position", &p->sub_wnd_x, 0, &p->sub_wnd_y, 0, ',');
  Create_EPref(L, "Port_type", &p->port_type, usb, &kPortTypes);
  Create_IPref(L, "Parallel_port", &p->parport_nr, 0);
  Create_XPref(L, "Parallel_port_address", &p->parport_base, 0x378, 3);
  Create_BPref(L, "Fast_Parportaccess", &p->fast_parportaccess, 0);
  Create_BPref(L, "Hwtype_select", &p->hwsel_type, 0);
  Create_BPref(L, "get_decodermode", &p->get_decodermode, 0);
  Create_BPref(L, "plot_track", &p->plot_track, 0);
  Create_SPref(L, "plottrack_file", p->plottrack_file, sizeof p->plottrack_file, "plottrack");
  Create_IPref(L, "nr_trplotfiles", &p->nr_trplotfiles, 10);
  Create_IPref(L, "freq_offset", &p->freq_offset, 0);
  Create_BPref(L, "auto_decoder", &p->auto_decoder, 1);
  Create_BPref(L, "auto_tuner", &p->auto_tuner, 1);
  Create_BPref(L, "usb_tracktofpga", &p->usb_tracktofpga, 0);
  Create_BPref(L, "sep_track_wnd", &p->sep_track_wnd, 0);
  Create_FPref(L, "zoom_satwindow", &p->zoom_satwindow, 1.0f);
  Create_IPref(L, "nrsat_satwindow", &p->nrsat_satwindow, 4);
  Create_BPref(L, "use_usbid", &p->use_usbid, 0);
  Create_SPref(L, "usb_id", p->usb_id, sizeof p->usb_id, "");
  Create_BPref(L, "usb_fast_ftd", &p->usb_fast_ftd, 0);
  Create_IPref(L, "Font_size", &p->font_size, 10);
  Create_XPref(L, "Grid_color", &p->grid_color, 0xc0c0c0, 6);
  Create_XPref(L, "boundary_color", &p->boundary_color, 0xffff00, 6);
  Create_BPref(L, "Linearize", &p->linearize, 1);
  Create_BPref(L, "Keep_xy_relation", &p->keep_xyrel, 1);
  Create_2IPref(L, "Despeckle_limits", &p->sur_ulim, 100, &p->dsp_llim, 200, ',');
  Create_FPref(L, "Fixed_zoomfactor", &p->fix_zoomfactor, 1.0f);
  Create_2IPref(L, "Hrpt_Record_Start_Stop_Times", &p->hrpt_start_after_in_sync, 5,
                &p->hrpt_stop_after_out_sync, 50, ',');
  Create_2IPref(L, "Hri_Record_Start_Stop_Times", &p->hri_start_after_in_sync, 5,
                &p->hri_stop_after_out_sync, 50, ',');
  Create_IPref(L, "Hrpt_Record_Lines_per_screen", &p->hrpt_lines_per_screen, 0);
  Create_BPref(L, "record.auto_zoom", &p->rec_auto_zoom, 1);
  Create_BPref(L, "record.auto_shift", &p->rec_auto_shift, 1);
  Create_FPref(L, "record.zx", &p->rec_zx, 0.5f);
  Create_BPref(L, "record.do_live", &p->rec_do_live, 1);
  Create_BPref(L, "record.auto_zoom_keep_aspect", &p->rec_auto_zoom_keep_aspect, 1);
  Create_BPref(L, "record.clear_wnd_at_start", &p->rec_clear_wnd_at_start, 1);
  Create_BPref(L, "record.show_skipy", &p->rec_show_skipy, 0);
  Create_IPref(L, "record.line_insync_thr", &p->rec_line_insync_thr, 0);
  Create_EPref(L, "Hrpt_Record_Scandirection", &p->hrpt_scandir, N_S, &kScanDirs);
  Create_IPref(L, "Hrpt_Record_Showchan", &p->hrpt_showchan, 2);
  Create_BPref(L, "Hrptrec_Save_rec", &p->hrptrec_save_rec, 1);
  Create_BPref(L, "Hrptrec_Auto_getkepler", &p->hrptrec_auto_getkepler, 0);
  Create_BPref(L, "set_channel_at_start", &p->set_channel_at_start, 0);
  const struct {
    const char* key;
    char *dir, *base, *ext;
    std::size_t ndir, nbase, next;
    const char* def;
  } dirs[] = {
      {"Hrpt", p->dir_hrpt, p->file_hrptbase, p->file_hrptext, sizeof p->dir_hrpt,
       sizeof p->file_hrptbase, sizeof p->file_hrptext, "hrpt"},
      {"QNOAA20", p->dir_qnoaa20, p->file_qnoaa20base, p->file_qnoaa20ext, sizeof p->dir_qnoaa20,
       sizeof p->file_qnoaa20base, sizeof p->file_qnoaa20ext, "qnoaa20"},
      {"QNOAA21", p->dir_qnoaa21, p->file_qnoaa21base, p->file_qnoaa21ext, sizeof p->dir_qnoaa21,
       sizeof p->file_qnoaa21base, sizeof p->file_qnoaa21ext, "qnoaa21"},
      {"AQUA", p->dir_aqua, p->file_aquabase, p->file_aquaext, sizeof p->dir_aqua,
       sizeof p->file_aquabase, sizeof p->file_aquaext, "aqua"},
      {"Meteor", p->dir_mhrpt, p->file_mhrptbase, p->file_mhrptext, sizeof p->dir_mhrpt,
       sizeof p->file_mhrptbase, sizeof p->file_mhrptext, "meteor"},
      {"Metop", p->dir_metop, p->file_metopbase, p->file_metopext, sizeof p->dir_metop,
       sizeof p->file_metopbase, sizeof p->file_metopext, "metop"},
      {"FY3", p->dir_fy3, p->file_fy3base, p->file_fy3ext, sizeof p->dir_fy3,
       sizeof p->file_fy3base, sizeof p->file_fy3ext, "fy3"},
  };
  for (const auto& d : dirs) {
    char key[40];
    std::snprintf(key, sizeof key, "%s_File_Dir", d.key);
    Create_SPref(L, key, d.dir, d.ndir, "");
    std::snprintf(key, sizeof key, "%s_File_Base", d.key);
    Create_SPref(L, key, d.base, d.nbase, d.def);
    std::snprintf(key, sizeof key, "%s_File_Extension", d.key);
    Create_SPref(L, key, d.ext, d.next, ".dat");
  }
  Create_BPref(L, "METFY3X_format", &p->metfy3x, 0);
  Create_BPref(L, "file_use_satname", &p->file_use_satname, 1);
  Create_SPref(L, "Working_Dir", p->working_dir, sizeof p->working_dir, "");
  Create_SPref(L, "Kepler_File_name", p->kepler_file, sizeof p->kepler_file, "weather.txt");
  Create_SPref(L, "Coast_File_name", p->coast_file, sizeof p->coast_file, "gshhs_i.b");
  Create_SPref(L, "Earthmap_File_name", p->earthmap_file, sizeof p->earthmap_file, "earthmap.gif");
  Create_SPref(L, "PlacesGpx_File_name", p->placesgpx_file, sizeof p->placesgpx_file, "cities.gpx");
  Create_IPref(L, "uart.portnr", &p->uart.portnr, 0);
  Create_BPref(L, "uart.on", &p->uart.ena, 0);
  Create_SPref(L, "uart.command", p->uart.command, sizeof p->uart.command, "AZ%.1f EL%.1f");
  Create_IPref(L, "uart.speed", &p->uart.speed, 9600);
  Create_BPref(L, "eth.on", &p->eth.ena, 0);
  Create_SPref(L, "eth.ip_addr", p->eth.ip_addr, sizeof p->eth.ip_addr, "192.168.1.70");
  Create_SPref(L, "eth.port_nr", p->eth.port_nr, sizeof p->eth.port_nr, "5000");
  for (int i = 0; i < 3; i++) {
    char key[40];
    std::snprintf(key, sizeof key, "eth.nip_addr%d", i + 1);
    Create_SPref(L, key, p->eth.nip_addr[i], sizeof p->eth.nip_addr[i], "");
    std::snprintf(key, sizeof key, "eth.nport_nr%d", i + 1);
    Create_SPref(L, key, p->eth.nport_nr[i], sizeof p->eth.nport_nr[i], "");
  }
  Create_BPref(L, "track.Prog_ud_on", &p->ext_prog_on, 0);
  Create_SPref(L, "track.Prog_up", p->prog_up, sizeof p->prog_up, "");
  Create_SPref(L, "track.Prog_down", p->prog_down, sizeof p->prog_down, "");
  Create_SPref(L, "track.Prog_trackingup", p->prog_trackingup, sizeof p->prog_trackingup, "");
  Create_SPref(L, "track.Prog_idledown", p->prog_idledown, sizeof p->prog_idledown, "");
  Create_SPref(L, "Observer_Name", p->observer_name, sizeof p->observer_name, "Greenwich");
  // Degrees in the file, radians in memory: the defaults are set in radians.
  Create_FPref(L, "Observer_Lon", &p->refpos.lon, 0.0f);
  Create_FPref(L, "Observer_Lat", &p->refpos.lat, static_cast<float>(51.48 * PREFS_DEG2RAD));
  Create_FPref(L, "Observer_Alt", &p->refpos.alt, 0.0f);
  Create_FPref(L, "Elev_horizon", &p->elev_horiz, 0.0f);
  Create_IPref(L, "Elev_detect", &p->elev_det, 5);
  Create_FPref(L, "Rot_Rep_time", &p->rotreptime, 1.0f);
  Create_FPref(L, "Radio_horizon", &p->radio_horizon, 0.0f);
  Create_EPref(L, "Rotortype", &p->rotor.use_xy, 0, &kRotorTypes);
  Create_BPref(L, "X_at_Disc", &p->rotor.x_at_disc, 0);
  Create_BPref(L, "X_Dir_0", &p->rotor.x_west_is_0, 0);
  Create_BPref(L, "Y_Dir_0", &p->rotor.y_south_is_0, 0);
  Create_FPref(L, "Storm_pos_x", &p->rotor.storm.x, 0.0f);
  Create_IPref(L, "Storm_wait_x", &p->rotor.storm_wait_x, 10);
  Create_FPref(L, "Storm_pos_y", &p->rotor.storm.y, 0.0f);
  Create_IPref(L, "Storm_wait_y", &p->rotor.storm_wait_y, 10);
  Create_BPref(L, "Flip_X", &p->rotor.inv_x, 0);
  Create_BPref(L, "Flip_Y", &p->rotor.inv_y, 0);
  Create_IPref(L, "DiSEqC_Deg2step", &p->rotor.deg2step, 8);
  Create_IPref(L, "DiSEqC_Limit", &p->rotor.xy_rotorlim, 0);
  Create_FPref(L, "Localtime_UTCOffset", &p->utc_offset, 0.0f);
  Create_FPref(L, "Hour_Offset", &p->tm_off.tz_offset, 0.0f);
  Create_FPref(L, "Sec_Offset", &p->tm_off.sec_offset, 0.0f);
  for (int i = 0; i < PREFS_NCOLOURS; i++)
    Create_XPref(L, kClrs[i].key, &p->clr[i], kClrs[i].rgb, 6);
  Create_BPref(L, "Sunshadow", &p->sunshadow, 0);
  Create_FPref(L, "Shadow_fact", &p->shadow_fact, 0.5f);
  // Keys beyond the classic set, kept after it so old files stay in order.
  // Precise geolocation: pixel positions on the WGS 84 ellipsoid.
  Create_BPref(L, "precise_geolocation", &p->precise_geolocation, 1);
  // USB access to the decoder board: auto (FTDI's D2XX library when installed,
  // else libftdi1), d2xx, libftdi, emulator.
  Create_SPref(L, "usb_backend", p->usb_backend, sizeof p->usb_backend, "auto");
  // hamlib's rotctld as a rotor output (beside the network line of eth.*).
  Create_BPref(L, "rotctld.on", &p->rotctld_on, 0);
  Create_SPref(L, "rotctld.host", p->rotctld_host, sizeof p->rotctld_host, "localhost");
  Create_IPref(L, "rotctld.port", &p->rotctld_port, 4533);
  Create_TPref(L, "Sat_list");
  for (int i = 0; i < PREFS_NSATS; i++)
    Create_SPref(L, "Satellite", p->sats[i].name, sizeof p->sats[i].name, kSats[i].name,
                 p->sats[i].sel, sizeof p->sats[i].sel, kSats[i].on ? "TRUE" : "FALSE");

  // Settings without a key of their own.
  p->reptime = 1.0f;
  p->tm_off.reptime = 1.0f;
  if (p == &prefs) pref_items = l;
  Pref_Finish(p);
  return l;
}
