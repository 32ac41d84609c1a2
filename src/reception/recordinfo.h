// The recording record: state and settings of the one recording.
#pragma once
#include <cstdio>

#include "formats/enums.h"
#include "formats/picinfo.h"
#include "orbit/orbit_types.h"

enum PORT_TYPE { unk_port = 0, parport = 1, ethernet = 2, usb = 3, from_file = 4 };

// The decoder board connection.
struct USB_ITEMS {
  int ena;         // USB link enabled in the preferences
  void* ftHandle;  // open device, null while closed
  int usb_use_id;  // 1: open the device with serial number usbport_id
  char usbport_id[30];
  int fast_ftd;  // fast (FT232H) transfer mode
};
typedef USB_ITEMS usb_items;

// Serial port of the rotor.
struct UART_SET {
  int ena;
  int portnr;         // index into the serial device table
  int speed;          // baud
  char command[100];  // command template
};

// Network link to a rotor controller.
struct eth_items {
  int ena;
  char ip_addr[20];
  char port_nr[20];
  char nip_addr[3][20];
  char nport_nr[3][20];
  int sock;  // connected socket, <= 0 when closed
};

struct RECORDINFO {
  int recording;
  int one_record;
  int ignore_sync;
  int use_satname;
  int reczoom, recshift, reczoomaspect;
  int line_insync_thr;
  int autolum;
  int recclear_at_start;
  int show_skipy;
  char rec_chan[10];
  char work_location[300];
  const char* file_loc;  // points at one of the dir_ fields
  char file_name[100];
  const char* file_prefix;  // points at one of the base fields
  const char* file_suffix;  // points at one of the ext fields
  char dir_hrpt[50], file_hrptbase[30], file_hrptext[30];
  char dir_chrpt[50], file_chrptbase[30], file_chrptext[30];
  char dir_mhrpt[50], file_mhrptbase[30], file_mhrptext[30];
  char dir_qnoaa20[50], file_qnoaa20base[30], file_qnoaa20ext[30];
  char dir_qnoaa21[50], file_qnoaa21base[30], file_qnoaa21ext[30];
  char dir_aqua[50], file_aquabase[30], file_aquaext[30];
  char dir_metop[50], file_metopbase[30], file_metopext[30];
  char dir_fy3[50], file_fy3base[30], file_fy3ext[30];
  char file_hribase[30], file_hriext[30];
  FILE* fp;
  FILE_TYPE file_type;
  SAT_TYPE sat_type;
  SCANDIR scan_hor, scan_ver;
  int channels_recording[26];
  int sh_recchan;
  int do_live;
  char sat_name[40];
  int height;
  int hwsel_type, sel_hw, gen1_dec0;
  int save_flag;
  int encrypted;
  int record_all;
  int reed_solomon;
  int hrpt_start_after_in_sync, hrpt_stop_after_out_sync;
  int hri_start_after_in_sync, hri_stop_after_out_sync;
  int metop_start_after_in_sync, metop_stop_after_out_sync;
  int vitsync;
  int insync;
  int plot_track;
  char plottrack_file[300];
  int nrplotf;
  int show_tracked;
  int satwnd;
  int show_nrsats;
  int ena_man_gen, ena_punc_gen, ena_rand_gen;
  int ena_man_dec, ena_punc_dec, ena_rand_dec;
  int syncpunc_dec;
  int inv_dat;
  int batch_mode;
  int auto_get_kepler;
  KEPLER kepler;
  PORT_TYPE port_type;
  USB_ITEMS usb;
  UART_SET uart;
  eth_items eth;
  int parport_base;
  int fast_parportaccess;
  int sim_record;
  char sim_file[300];
  int force_recstart;
  int abort;
  FRAMEINFO fri;
  char fndrs[50];
  int freq_offset;
};

// The process-wide recording record (set at start-up).
extern RECORDINFO* g_recordinfo;
