// The keys of "pava.ini" in file order, between the title "# pava.ini" and the
// title "Sat_list" that precedes the fourteen Satellite lines. Keys added after
// the classic set start at "precise_geolocation".
#pragma once
#include <sstream>
#include <string>
#include <vector>

inline std::vector<std::string> pref_keys() {
  static const char text[] =
      "main_window_size main_window_position tracker_window_position sub_window_position "
      "Port_type Parallel_port Parallel_port_address Fast_Parportaccess Hwtype_select "
      "get_decodermode plot_track plottrack_file nr_trplotfiles freq_offset auto_decoder "
      "auto_tuner usb_tracktofpga sep_track_wnd zoom_satwindow nrsat_satwindow use_usbid usb_id "
      "usb_fast_ftd Font_size Grid_color boundary_color Linearize Keep_xy_relation "
      "Despeckle_limits Fixed_zoomfactor Hrpt_Record_Start_Stop_Times Hri_Record_Start_Stop_Times "
      "Hrpt_Record_Lines_per_screen record.auto_zoom record.auto_shift record.zx record.do_live "
      "record.auto_zoom_keep_aspect record.clear_wnd_at_start record.show_skipy "
      "record.line_insync_thr Hrpt_Record_Scandirection Hrpt_Record_Showchan Hrptrec_Save_rec "
      "Hrptrec_Auto_getkepler set_channel_at_start Hrpt_File_Dir Hrpt_File_Base "
      "Hrpt_File_Extension QNOAA20_File_Dir QNOAA20_File_Base QNOAA20_File_Extension "
      "QNOAA21_File_Dir QNOAA21_File_Base QNOAA21_File_Extension AQUA_File_Dir AQUA_File_Base "
      "AQUA_File_Extension Meteor_File_Dir Meteor_File_Base Meteor_File_Extension Metop_File_Dir "
      "Metop_File_Base Metop_File_Extension FY3_File_Dir FY3_File_Base FY3_File_Extension "
      "METFY3X_format file_use_satname Working_Dir Kepler_File_name Coast_File_name "
      "Earthmap_File_name PlacesGpx_File_name uart.portnr uart.on uart.command uart.speed eth.on "
      "eth.ip_addr eth.port_nr eth.nip_addr1 eth.nport_nr1 eth.nip_addr2 eth.nport_nr2 "
      "eth.nip_addr3 eth.nport_nr3 track.Prog_ud_on track.Prog_up track.Prog_down "
      "track.Prog_trackingup track.Prog_idledown Observer_Name Observer_Lon Observer_Lat "
      "Observer_Alt Elev_horizon Elev_detect Rot_Rep_time Radio_horizon Rotortype X_at_Disc "
      "X_Dir_0 Y_Dir_0 Storm_pos_x Storm_wait_x Storm_pos_y Storm_wait_y Flip_X Flip_Y "
      "DiSEqC_Deg2step DiSEqC_Limit Localtime_UTCOffset Hour_Offset Sec_Offset Clr.sat_mark_sel "
      "Clr.sat_area_sel Clr.sat_track_sel Clr.sat_scanline_sel Clr.sat_mark_nsel "
      "Clr.sat_area_nsel Clr.sat_track_nsel Clr.sat_scanline_nsel Clr.ref_mark Clr.radio_hor "
      "Clr.radio_hor_obs Clr.raster Clr.number Sunshadow Shadow_fact precise_geolocation "
      "usb_backend rotctld.on rotctld.host rotctld.port";
  std::istringstream in(text);
  std::vector<std::string> keys;
  for (std::string k; in >> k;) keys.push_back(k);
  return keys;
}
