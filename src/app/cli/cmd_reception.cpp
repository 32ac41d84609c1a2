// Reception subcommands: the decoder board over USB ("usb list", "usb info",
// "usb capture", "usb frames") and headless recording ("record"), with any
// FTDI backend or the board emulator.
#include <time.h>

#include <csignal>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "app/cli/cli.h"
#include "app/ui_ops.h"
#include "common/text.h"
#include "config/prefs.h"
#include "config/prefs_file.h"
#include "display/display_types.h"
#include "formats/picinfo.h"
#include "reception/boardemu.h"
#include "reception/ftport.h"
#include "reception/record.h"
#include "reception/usblink.h"

namespace {

// One receivable stream kind: satellite type, board mode code, frame length,
// source format for the emulator.
struct StreamKind {
  const char* name;
  SAT_TYPE sat;
  int code;
  int words_per_frame;
  bool hrpt_source;  // 16-bit big-endian words, else 1024-byte frames
  int packing;       // emulator packing, -1 from the mode registers
};
const StreamKind kKinds[] = {
    {"hrpt", HRPT, 0, 11090, true, -1},      {"metop", METOP, 4, 1024, false, -1},
    {"noaa20", QNOAA20, 1, 1024, false, -1}, {"noaa21", QNOAA21, 2, 1024, false, -1},
    {"aqua", AQUA, 5, 1024, false, -1},      {"fy3", FY3, 6, 1024, false, -1},
    {"fy3d", FY3D, 11, 1024, false, 0},
};

const StreamKind* kind_by_name(const std::string& n) {
  for (const StreamKind& k : kKinds)
    if (n == k.name) return &k;
  return nullptr;
}

struct UsbOpts {
  std::string backend;  // empty: the preference
  std::string serial;
  std::string emulate;  // source file for the board emulator
  std::string replay;   // capture file for the board emulator
  std::string type = "hrpt";
  bool fast = false;
};

// The link and, with --emulate/--replay, the emulated board behind it.
struct Session {
  std::unique_ptr<BOARDEMU> emu;
  std::unique_ptr<RECORDINFO> rec = std::make_unique<RECORDINFO>();
  const StreamKind* kind = nullptr;
  ~Session() {
    usb_close_connect(&rec->usb);
    if (emu) boardemu_attach(nullptr);
  }
};

void add_common(CLI::App* c, UsbOpts* o) {
  c->add_option("--backend", o->backend, "FTDI access: auto, d2xx, libftdi, emulator");
  c->add_option("--serial", o->serial, "serial number of the board (default: first found)");
  c->add_option("--emulate", o->emulate, "emulate a board streaming this recording");
  c->add_option("--replay", o->replay, "emulate a board replaying this capture");
  c->add_option("--type", o->type, "stream: hrpt, metop, noaa20, noaa21, aqua, fy3, fy3d");
  c->add_flag("--fast", o->fast, "board in the fast (FT232H) transfer mode");
}

// While frames are pulled from a replayed capture, its end stops the pull as a
// user's stop would.
RECORDINFO* g_pulling = nullptr;
void stop_at_source_end() {
  BOARDEMU* e = boardemu_attached();
  if (!g_pulling || !e) return;
  bool raw_done = !e->raw.empty() && e->raw_pos >= e->raw.size();
  if (raw_done) g_pulling->recording = 0;
}

// Sets up the backend and the record; false after a message.
bool open_session(const UsbOpts& o, Session* s) {
  cli_load_prefs();
  s->kind = kind_by_name(o.type);
  if (!s->kind) {
    cli_fail("unknown stream type " + o.type);
    return false;
  }
  if (!o.emulate.empty() || !o.replay.empty()) {
    s->emu = std::make_unique<BOARDEMU>();
    int st = !o.replay.empty() ? boardemu_load_capture(s->emu.get(), o.replay.c_str())
             : s->kind->hrpt_source
                 ? boardemu_load_raw16be(s->emu.get(), o.emulate.c_str(), s->kind->words_per_frame)
                 : boardemu_load_cadu(s->emu.get(), o.emulate.c_str());
    if (st != 0) {
      cli_fail("can't read " + (o.replay.empty() ? o.emulate : o.replay));
      return false;
    }
    s->emu->packing = s->kind->packing;
    s->emu->timeout_scale = 0.01;
    boardemu_attach(s->emu.get());
    ftport_select("emulator");
  } else if (!o.backend.empty() && ftport_select(o.backend.c_str()) != 0) {
    cli_fail("USB backend not available: " + o.backend);
    return false;
  }
  RECORDINFO* r = s->rec.get();
  r->port_type = usb;
  r->recording = 1;
  r->sat_type = s->kind->sat;
  r->fri.words_per_frame = s->kind->words_per_frame;
  r->usb.fast_ftd = o.fast;
  r->usb.usb_use_id = !o.serial.empty();
  std::snprintf(r->usb.usbport_id, sizeof r->usb.usbport_id, "%s", o.serial.c_str());
  r->batch_mode = 1;
  return true;
}

bool connect(Session* s) {
  if (usb_init_connect(&s->rec->usb) == 0) return true;
  char text[100];
  usb_connect_error_text(&s->rec->usb, text, sizeof text);
  cli_fail(text);
  return false;
}

double now_s() {
  struct timespec ts;
  clock_gettime(CLOCK_MONOTONIC, &ts);
  return double(ts.tv_sec) + double(ts.tv_nsec) * 1e-9;
}

void cmd_list(const UsbOpts& o) {
  Session s;
  if (!open_session(o, &s)) return;
  FT_DEVICE_LIST_INFO_NODE* list = nullptr;
  int n = usb_list_ndevs(&list);
  if (n < 0) {
    cli_fail("device enumeration failed");
    return;
  }
  json devs = json::array();
  for (int i = 0; i < n && list; i++) {
    std::string sn(list[i].SerialNumber,
                   strnlen(list[i].SerialNumber, sizeof list[i].SerialNumber));
    std::string de(list[i].Description, strnlen(list[i].Description, sizeof list[i].Description));
    devs.push_back(json{{"serial", sn}, {"description", de}, {"id", list[i].ID}});
  }
  std::free(list);
  cli_emit(json{{"backend", ftport()->name}, {"devices", devs}});
}

void cmd_info(const UsbOpts& o) {
  Session s;
  if (!open_session(o, &s) || !connect(&s)) return;
  unsigned char fw[4] = {0, 0, 0, 0};
  if (get_firmware(&s.rec->usb, fw) != 0) {
    cli_fail("can't read the firmware registers");
    return;
  }
  char hex[16];
  std::snprintf(hex, sizeof hex, "%02X %02X %02X %02X", fw[0], fw[1], fw[2], fw[3]);
  int code = get_sat(&s.rec->usb);
  const SATMODE* m = satmode_readback(code);
  cli_emit(json{{"backend", ftport()->name},
                {"firmware", hex},
                {"mode", code},
                {"mode_name", m ? m->name : "(other)"}});
}

void cmd_capture(const UsbOpts& o, const std::string& out, long bytes, double seconds) {
  Session s;
  if (!open_session(o, &s) || !connect(&s)) return;
  usb_items* u = &s.rec->usb;
  set_sat(u, s.kind->code);
  ena_dat(u);
  if (ftport_capture_start(out.c_str()) != 0) {
    cli_fail("can't create " + out);
    return;
  }
  std::vector<uint8_t> buf(USB_BLOCK);
  long total = 0;
  double t0 = now_s();
  while ((bytes <= 0 || total < bytes) && (seconds <= 0 || now_s() - t0 < seconds)) {
    uint32_t want = USB_BLOCK, got = 0;
    if (bytes > 0 && bytes - total < long(want)) want = uint32_t(bytes - total);
    if (ftport()->read(u->ftHandle, buf.data(), want, &got) != FT_OK) {
      cli_fail("read failed after " + std::to_string(total) + " bytes");
      break;
    }
    total += got;
  }
  ftport_capture_stop();
  dis_dat(u);
  cli_emit(json{{"file", out}, {"bytes", total}, {"seconds", now_s() - t0}});
}

void cmd_frames(const UsbOpts& o, int count) {
  Session s;
  if (!open_session(o, &s) || !connect(&s)) return;
  RECORDINFO* r = s.rec.get();
  set_sat(&r->usb, s.kind->code);
  ena_dat(&r->usb);
  usb_unpacker_reset();
  UI_OPS ops{};
  ops.drain_events = stop_at_source_end;
  ui_install(&ops);
  g_pulling = r;
  if (s.emu && s.emu->raw.empty() && count <= 0)
    count = int(s.emu->frames.size() / size_t(s.emu->words_per_frame));
  std::vector<uint16_t> frame(size_t(r->fri.words_per_frame));
  int frames = 0, in_sync = 0;
  while (r->recording && (count <= 0 || frames < count)) {
    int st = usb_get_hrpt_frame(frame.data(), r);
    if (!r->recording) break;  // the source ended inside this frame
    frames++;
    in_sync += st == 1;
  }
  g_pulling = nullptr;
  ui_install(nullptr);
  cli_emit(json{{"type", s.kind->name},
                {"frames", frames},
                {"in_sync", in_sync},
                {"out_of_sync", frames - in_sync},
                {"device_lost", usb_unpacker().lost != 0}});
}

// ---- record ----

struct RecordOpts {
  std::string type, channels, sim, device, emulate, backend, dir, log_rs;
  bool once = false, fast = false, pace = false, no_save = false, satname = false;
  int rs = -1;  // -1: on for the CCSDS types with RS-FEC, 0/1 forced
  int frames = 0, start_after = -1, stop_after = -1, abort_after = 0;
  double bit_errors = 0;
  long sync_loss_from = -1, sync_loss_frames = 0, vanish_after = -1, stall_after = -1;
};

// Targets of the signals: SIGINT/SIGTERM stop, SIGUSR1 aborts the pass as the
// tracker would.
RECORDINFO* volatile g_rec_sig = nullptr;
extern "C" void on_stop_signal(int) {
  if (g_rec_sig) g_rec_sig->recording = 0;
}
extern "C" void on_abort_signal(int) {
  if (g_rec_sig) g_rec_sig->abort = 1;
}

struct RecordRun {
  const RecordOpts* o;
};

void rec_log_stderr(void*, const char* text) { std::fprintf(stderr, "%s\n", text); }

void rec_on_frame(void* data, RECORDINFO* rdi, int, int frames) {
  const RecordOpts* o = static_cast<RecordRun*>(data)->o;
  if (o->abort_after > 0 && frames == o->abort_after) rdi->abort = 1;
}

void rec_on_pass(void*, const REC_RESULT* r) {
  cli_emit(json{{"file", r->file_name},
                {"frames", r->frames},
                {"satellite", r->sat_name},
                {"corrected", r->corrected},
                {"uncorrectable", r->uncorrectable},
                {"stop", rec_stop_name(r->stop)}});
}

void cmd_record(const RecordOpts& o) {
  cli_load_prefs();
  auto rec = std::make_unique<RECORDINFO>();
  auto view = std::make_unique<VIEWINFO>();
  PICINFO* pic = pic_new();
  std::unique_ptr<PICINFO, void (*)(PICINFO*)> pic_guard(pic, pic_delete);
  RECORDINFO* r = rec.get();
  Load_Prefs(r, nullptr, nullptr);
  char err[200];
  std::string spec = o.type + ":" + o.channels;
  int code = rec_apply_spec(r, spec.c_str(), err, sizeof err);
  if (code < 0) {
    cli_fail(err);
    return;
  }
  if (!o.dir.empty()) {
    pava::copy_text(r->work_location, o.dir.c_str());
    for (char* d : {r->dir_hrpt, r->dir_chrpt, r->dir_mhrpt, r->dir_qnoaa20, r->dir_qnoaa21,
                    r->dir_aqua, r->dir_metop, r->dir_fy3})
      d[0] = '\0';
  }
  r->batch_mode = 1;
  r->one_record = o.once;
  r->recording = 1;
  r->save_flag = !o.no_save;
  if (o.satname) r->use_satname = 1;
  if (o.start_after >= 0) r->hrpt_start_after_in_sync = o.start_after;
  if (o.stop_after >= 0) r->hrpt_stop_after_out_sync = o.stop_after;
  r->reed_solomon = o.rs >= 0 ? o.rs : satmode_rsfec(code) ? 1 : 0;
  pava::copy_text(r->fndrs, o.log_rs.c_str());
  r->usb.fast_ftd = o.fast;

  std::unique_ptr<BOARDEMU> emu;
  if (!o.sim.empty()) {
    FILE* f = std::fopen(o.sim.c_str(), "rb");
    if (!f) {
      std::fprintf(stderr, "'%s' doesn't exist.\n", o.sim.c_str());
      cli_status() = 1;
      return;
    }
    std::fclose(f);
    r->port_type = from_file;
    pava::copy_text(r->sim_file, o.sim.c_str());
  } else {
    r->port_type = usb;
    r->usb.ena = 1;
    r->usb.usb_use_id = !o.device.empty();
    pava::copy_text(r->usb.usbport_id, o.device.c_str());
    if (!o.emulate.empty()) {
      emu = std::make_unique<BOARDEMU>();
      bool hrpt_src = r->sat_type == HRPT || r->sat_type == CHRPT;
      int st = hrpt_src ? boardemu_load_raw16be(emu.get(), o.emulate.c_str(),
                                                r->sat_type == CHRPT ? 22180 : 11090)
                        : boardemu_load_cadu(emu.get(), o.emulate.c_str());
      if (st != 0) {
        cli_fail("can't read " + o.emulate);
        return;
      }
      emu->packing = r->sat_type == FY3D ? 0 : -1;
      emu->loop = o.frames > 0;
      emu->pace = o.pace;
      emu->timeout_scale = o.pace ? 1.0 : 0.01;
      emu->bit_error_rate = o.bit_errors;
      emu->sync_loss_from = o.sync_loss_from;
      emu->sync_loss_frames = o.sync_loss_frames;
      emu->vanish_after = o.vanish_after;
      emu->stall_after = o.stall_after;
      boardemu_attach(emu.get());
      ftport_select("emulator");
    } else if (!o.backend.empty() && ftport_select(o.backend.c_str()) != 0) {
      cli_fail("USB backend not available: " + o.backend);
      return;
    }
    usb_unpacker_reset();
    if (usb_init_connect(&r->usb) == 0) set_sat(&r->usb, code);
  }

  RecordRun run{&o};
  REC_CONTEXT ctx{};
  ctx.data = &run;
  ctx.log = rec_log_stderr;
  ctx.on_frame = rec_on_frame;
  ctx.on_pass = rec_on_pass;
  ctx.stop_at_file_end = 1;
  ctx.max_frames = o.frames;
  g_rec_sig = r;
  std::signal(SIGINT, on_stop_signal);
  std::signal(SIGTERM, on_stop_signal);
  std::signal(SIGUSR1, on_abort_signal);
  int st = Recordpp_Hrpt(&ctx, r, pic, view.get());
  std::signal(SIGINT, SIG_DFL);
  std::signal(SIGTERM, SIG_DFL);
  std::signal(SIGUSR1, SIG_DFL);
  g_rec_sig = nullptr;
  if (r->port_type == usb) {
    if (r->usb.ftHandle) dis_dat(&r->usb);
    usb_close_connect(&r->usb);
  }
  if (emu) boardemu_attach(nullptr);
  if (st != 0) cli_status() = 1;
}

}  // namespace

void cli_add_reception(CLI::App& app) {
  auto* usbc = app.add_subcommand("usb", "the decoder board over USB");
  usbc->require_subcommand(1);

  static UsbOpts list_o, info_o, cap_o, fr_o;
  auto* list = usbc->add_subcommand("list", "list the FTDI devices");
  add_common(list, &list_o);
  list->callback([] { cmd_list(list_o); });

  auto* info = usbc->add_subcommand("info", "firmware and satellite mode of the board");
  add_common(info, &info_o);
  info->callback([] { cmd_info(info_o); });

  static std::string cap_out;
  static long cap_bytes = 0;
  static double cap_seconds = 0;
  auto* cap = usbc->add_subcommand("capture", "capture the raw USB byte stream to a file");
  add_common(cap, &cap_o);
  cap->add_option("--out", cap_out, "capture file")->required();
  cap->add_option("--bytes", cap_bytes, "stop after this many bytes");
  cap->add_option("--seconds", cap_seconds, "stop after this many seconds");
  cap->callback([] {
    if (cap_bytes <= 0 && cap_seconds <= 0) {
      cli_fail("give --bytes or --seconds");
      return;
    }
    cmd_capture(cap_o, cap_out, cap_bytes, cap_seconds);
  });

  static int fr_count = 0;
  auto* fr = usbc->add_subcommand("frames", "pull frames from the board and count their sync");
  add_common(fr, &fr_o);
  fr->add_option("--count", fr_count,
                 "frames to pull (default: those of --emulate, all of --replay, else endless)");
  fr->callback([] { cmd_frames(fr_o, fr_count); });

  static RecordOpts rec_o;
  auto* rc = app.add_subcommand("record", "record passes from the decoder board (batch mode)");
  rc->add_option("--type", rec_o.type,
                 "hrpt, chrpt, m2hrpt, metop, noaa20, noaa21, aqua, fy3ab, fy3c, fy3d")
      ->required();
  rc->add_option("--channels", rec_o.channels, "channels: digits (0 = 10) or a for all")
      ->required();
  rc->add_flag("--once", rec_o.once, "stop after one pass");
  auto* src_sim = rc->add_option("--sim", rec_o.sim, "replay a recorded file instead of the board");
  auto* src_dev = rc->add_option("--device", rec_o.device, "serial number of the board");
  auto* src_emu = rc->add_option("--emulate", rec_o.emulate, "emulate a board streaming this file");
  src_sim->excludes(src_dev)->excludes(src_emu);
  src_dev->excludes(src_emu);
  rc->add_option("--backend", rec_o.backend, "FTDI access: auto, d2xx, libftdi, emulator");
  rc->add_flag("--fast", rec_o.fast, "board in the fast (FT232H) transfer mode");
  rc->add_option("--dir", rec_o.dir, "directory of the record files (default: preferences)");
  rc->add_option("--frames", rec_o.frames, "end a pass after this many frames (emulator loops)");
  rc->add_option("--start-after", rec_o.start_after, "in-sync lines before a pass starts");
  rc->add_option("--stop-after", rec_o.stop_after, "out-of-sync limit (0: never)");
  rc->add_option("--rs", rec_o.rs, "Reed-Solomon correction 0/1 (default: by type)");
  rc->add_flag("--no-save", rec_o.no_save, "do not write a record file");
  rc->add_flag("--satname", rec_o.satname, "rename the file after the satellite");
  rc->add_option("--log-rs", rec_o.log_rs, "Reed-Solomon log file");
  rc->add_option("--abort-after", rec_o.abort_after,
                 "abort the pass after N frames (as the tracker)");
  rc->add_flag("--pace", rec_o.pace, "emulator: stream in real time");
  rc->add_option("--bit-errors", rec_o.bit_errors, "emulator: bit error rate");
  rc->add_option("--sync-loss-from", rec_o.sync_loss_from, "emulator: first frame without sync");
  rc->add_option("--sync-loss-frames", rec_o.sync_loss_frames, "emulator: frames without sync");
  rc->add_option("--vanish-after", rec_o.vanish_after, "emulator: device gone after N bytes");
  rc->add_option("--stall-after", rec_o.stall_after, "emulator: stream stalls after N bytes");
  rc->callback([] { cmd_record(rec_o); });
}
