#include "reception/iqrecord.h"

#include <cstdio>
#include <cstring>
#include <vector>

#include "app/log.h"
#include "app/ui_ops.h"
#include "common/text.h"
#include "formats/openfile.h"
#include "reception/iqlink.h"
#include "reception/usblink.h"

namespace {

IqDrawHook g_draw = nullptr;
IQ_RATES g_rates;

constexpr int kShowEvery = 10;  // frames between counter updates

void show(const char* name, const char* text) { ui().set_entry(IQ_WINDOW, name, text); }

void report(const RECORDINFO* rdi, const char* text) {
  if (rdi->batch_mode)
    std::fprintf(stderr, "%s\n", text);
  else
    ui().message("Error", text);
}

void port_error(const RECORDINFO* rdi) {
  char text[100];
  if (rdi->port_type == ethernet)
    std::snprintf(text, sizeof text, "Can't open Ethermet port.");
  else if (rdi->usb.usb_use_id)
    std::snprintf(text, sizeof text, "Can't open USB port %s", rdi->usb.usbport_id);
  else
    std::snprintf(text, sizeof text, "Can't open USB port.");
  report(rdi, text);
}

}  // namespace

IQ_RATES& iq_rates() { return g_rates; }

void iq_set_draw_hook(IqDrawHook hook) { g_draw = hook; }

void iq_prepare_command(RECORDINFO* rdi) {
  rdi->file_type = FT_IQTEST;
  rdi->sat_type = IQTEST;
  if (rdi->port_type == usb) set_sat(&rdi->usb, IQ_BOARD_MODE);
  for (int i = 1; i <= 25; i++) rdi->channels_recording[i] = 0;
  rdi->channels_recording[1] = 1;
}

const char* get_sat_set_but_rawd(RECORDINFO* rdi) {
  if (rdi->port_type != usb) return "(other)";
  if (get_sat(&rdi->usb) == IQ_BOARD_MODE) {
    rdi->sat_type = IQTEST;
    rdi->file_type = FT_IQTEST;
    return "IQTEST";
  }
  rdi->sat_type = sat_unk;
  return "(other)";
}

void set_rec_par_iq(RECORDINFO* rdi, PICINFO* pci) {
  rdi->file_type = FT_IQTEST;
  rdi->sat_type = IQTEST;
  if (rdi->fri.words_per_frame <= 0) rdi->fri.words_per_frame = IQ_FRAME_WORDS;
  if (pci) {
    pci->width = pci->width_original = 2048;
    pci->height = 500;
    pci->file_type = rdi->file_type;
    pci->sat_type = rdi->sat_type;
    pci->fri = rdi->fri;
    for (int i = 0; i < 26; i++) pci->channels_recorded[i] = rdi->channels_recording[i];
  }
  rdi->file_loc = rdi->dir_hrpt;
  rdi->file_prefix = "qpsk";
  rdi->file_suffix = ".dat";
}

void collect_bits(PICINFO* pci, const uint16_t* frame) {
  int counts[4];
  char text[40];
  collect_bits_counts(frame, pci ? pci->fri.words_per_frame : 0, counts, text, sizeof text);
  show("IQc", text);
}

long Recordpp_one_IQTest(RECORDINFO* rdi, PICINFO* pci) {
  const SAT_TYPE start_type = rdi->sat_type;
  if (rdi->save_flag) {
    if (!open_new_recfile(rdi->file_prefix, rdi->file_suffix, rdi)) {
      char text[160];
      std::snprintf(text, sizeof text, "Can't open file %s!", rdi->file_name);
      report(rdi, text);
      return -1;
    }
    const char* slash = std::strrchr(rdi->file_name, '/');
    show("!Recording ", slash ? slash + 1 : rdi->file_name);
    if (rdi->batch_mode) log_message("Start recording in %s.", rdi->file_name);
  } else {
    show("!Recording ", "(no save)");
  }
  const int n = rdi->fri.words_per_frame > 0 ? rdi->fri.words_per_frame : IQ_FRAME_WORDS;
  rdi->fri.words_per_frame = n;
  if (pci) pci->fri.words_per_frame = n;
  std::vector<uint16_t> frame(size_t(n), 0);
  const int height = rdi->height > 0 ? rdi->height : 500;
  rdi->abort = 0;
  long frames = 0;
  int last_status = -1, outsync = 0, row = 0;
  while (rdi->recording) {
    if (rdi->sat_type != start_type) break;
    if (!rdi->batch_mode) ui().drain_events();
    int status = usb_get_iqdata(frame.data(), rdi);
    if (!rdi->recording) break;  // a frame cut short by the stop is dropped
    if (status != last_status) {
      rdi->insync = status == 1;
      ui().set_led(IQ_WINDOW, "Sync ", status == 1 ? 0x0F0 : 0x800);
      if (last_status == 0 && status) show("!Recording ", "Restored.");
      if (last_status > 0 && !status) show("!Recording ", "No transm!");
      last_status = status;
    }
    outsync = status == 2 ? outsync + 1 : 0;
    if (rdi->sat_type != IQTEST && rdi->hrpt_stop_after_out_sync > 0 &&
        outsync > rdi->hrpt_stop_after_out_sync)
      break;
    if (rdi->abort) {
      show("!Recording ", "Aborted by tracker.");
      rdi->abort = 0;
      break;
    }
    frames++;
    if (rdi->batch_mode) {
      if (frames % kShowEvery == 0) log_message("kbytes %ld...", frames);
    } else {
      if (g_draw && rdi->sat_type == IQTEST) g_draw(frame.data(), n, row);
      row = (row + 1) % height;
      if (frames % kShowEvery == 0) {
        char text[24];
        std::snprintf(text, sizeof text, "%ld", frames);
        show("kbytes received", text);
      }
    }
    if (rdi->save_flag && rdi->sat_type == IQTEST) dump_IQ_line(rdi, frame.data());
    collect_bits(pci, frame.data());
  }
  if (!rdi->recording) ui().set_led(IQ_WINDOW, "Sync ", 0x444);
  if (rdi->save_flag) close_recfile(rdi);
  show("!Recording ", "Stop");
  if (rdi->batch_mode) log_message("Stop recording after %ld frames.", frames);
  return frames;
}

int Recordpp_IQTest(RECORDINFO* rdi, PICINFO* pci) {
  if (rdi->port_type != usb || Open_HWConnect(rdi) != 0) {
    port_error(rdi);
    return -1;
  }
  set_rec_par_iq(rdi, pci);
  iq_unpacker_reset();
  while (rdi->recording) {
    show("!Recording ", "Wait");
    if (rdi->batch_mode) log_message("Wait for in-sync.");
    if (!rdi->batch_mode) ui().drain_events();
    ena_dat(&rdi->usb);
    if (!wait_for_insync(rdi, rdi->hrpt_start_after_in_sync)) break;
    ena_dat(&rdi->usb);
    if (!rdi->batch_mode) ui().drain_events();
    set_rec_par_iq(rdi, pci);
    Recordpp_one_IQTest(rdi, pci);
    if (rdi->one_record) rdi->recording = 0;
  }
  show("!Recording ", "Off");
  if (rdi->batch_mode) log_message("End recording.");
  return 0;
}
