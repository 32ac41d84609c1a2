// The recording engine.
#include "reception/record.h"

#include <algorithm>
#include <cctype>
#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "app/log.h"
#include "app/ui_ops.h"
#include "ccsds/cadu.h"
#include "ccsds/fy3.h"
#include "ccsds/qpsk_files.h"
#include "ccsds/rs.h"
#include "common/text.h"
#include "config/prefs.h"
#include "export/save.h"
#include "formats/framehdr.h"
#include "formats/hrptfile.h"
#include "formats/meteor.h"
#include "formats/openfile.h"
#include "reception/usblink.h"

namespace {

int (*g_frame_source)(uint16_t*, RECORDINFO*) = nullptr;

// Directory of the record file with its '/' (file_loc points here).
char g_file_loc[52];

void set_entry(const RECORDINFO* rdi, const char* name, const char* text) {
  if (!rdi->batch_mode) ui().set_entry(REC_PANEL, name, text);
}
void set_led(const RECORDINFO* rdi, const char* name, int rgb) {
  if (!rdi->batch_mode) ui().set_led(REC_PANEL, name, rgb);
}

void rec_log(const REC_CONTEXT* ctx, const char* fmt, ...) __attribute__((format(printf, 2, 3)));
void rec_log(const REC_CONTEXT* ctx, const char* fmt, ...) {
  char text[300];
  va_list ap;
  va_start(ap, fmt);
  std::vsnprintf(text, sizeof text, fmt, ap);
  va_end(ap);
  if (ctx && ctx->log)
    ctx->log(ctx->data, text);
  else
    log_message("%s", text);
}

void drain(const RECORDINFO* rdi) {
  if (!rdi->batch_mode) ui().drain_events();
}

bool is_ccsds(int t) { return t == METOP || t == FY3 || t == FY3D || t == QNOAA20 || t == QNOAA21; }

// Family shown while the satellite is not yet identified.
const char* family_name(int file_type) {
  switch (file_type) {
    case FT_HRPT:
      return "NOAA";
    case FT_QNOAA20:
      return "QPSK NOAA20";
    case FT_QNOAA21:
      return "QPSK NOAA21";
    case FT_MHRPT2:
      return "METEOR2";
    case FT_METOP:
      return "METOP";
    case FT_FY3:
      return "Fengyun";
    case FT_AQUA:
      return "AQUA";
    default:
      return "Unknown";
  }
}

// Words of the line buffer of a type; 0 when the type can't be recorded.
size_t line_words(int sat_type, int words_per_frame) {
  switch (sat_type) {
    case M1HRPT:
    case M2HRPT:
      return size_t(50) * size_t(words_per_frame);
    case METOP:
    case QNOAA20:
    case QNOAA21:
      return 25932 / 2;
    case AQUA:
    case FY3:
    case FY3D:
      return 600000 / 2;
    case HRPT:
    case CHRPT:
      return size_t(words_per_frame);
    default:
      return 0;
  }
}

// Identification of the satellite: the same non-zero identifier five times
// running. Answers -1 once found.
struct SatSearch {
  int last = 0, count = 0, done = 0;
};
int get_hrptsat_name(SatSearch* s, const uint16_t* frame, RECORDINFO* rdi) {
  if (s->done) return -1;
  int id = frm2id(frame, rdi->file_type);
  if (id != 0 && id == s->last) {
    if (++s->count >= 5) {
      // The name table knows FY-3D under the FY-3 family.
      pava::copy_text(rdi->sat_name, xrptid2name(id, rdi->sat_type == FY3D ? FY3 : rdi->sat_type));
      s->done = 1;
      set_entry(rdi, "!Last rec. ", rdi->sat_name);
      return 1;
    }
  } else {
    s->last = id;
    s->count = id ? 1 : 0;
  }
  set_entry(rdi, "!Last rec. ", family_name(rdi->file_type));
  return 0;
}

// Header of the record file for the picture's type.
int write_rec_header(PICINFO* pci, FILE* fp) {
  switch (pci->file_type) {
    case FT_METOP:
      return write_metophdr_file(pci, fp);
    case FT_FY3:
      return write_fy3hdr_file(pci, fp);
    case FT_QNOAA20:
    case FT_QNOAA21:
      return write_qnoaahdr_file(pci, fp);
    case FT_AQUA:
      return write_aquahdr_file(pci, fp);
    default:
      return write_hrpt1_hdr(pci);
  }
}

// Replay state of frame_from_file.
struct Replay {
  FILE* fp = nullptr;
  std::string name;
  FILE_TYPE type = unknown_filetype;
  long start = 0;  // first frame
  int frame_bytes = 0;
  std::vector<uint8_t> buf;
};
Replay g_replay;

}  // namespace

const char* rec_stop_name(int why) {
  static const char* const kNames[] = {"none",        "stopped", "type changed",
                                       "out of sync", "aborted", "device lost",
                                       "end of data", "file",    "frames"};
  return why >= 0 && why <= REC_STOP_FRAMES ? kNames[why] : "?";
}

double rec_frame_rate(int sat_type) {
  switch (sat_type) {
    case HRPT:
    case CHRPT:
      return 6.0;  // lines a second
    case M1HRPT:
      return 300.0;  // 665.4 kbit/s in 256-byte frames
    case M2HRPT:
      return 81.0;
    case METOP:
      return 284.0;  // 2.33 Mbit/s of 1024-byte units
    case FY3:
    case FY3D:
      return 342.0;
    default:
      return 1830.0;  // NOAA-20/21, Aqua: 15 Mbit/s
  }
}

void rec_set_frame_source(int (*src)(uint16_t*, RECORDINFO*)) { g_frame_source = src; }

void set_rec_par(RECORDINFO* rdi, PICINFO* pci) {
  if (rdi->port_type == from_file) {
    FILE_TYPE ft = detect_file(rdi->sim_file);
    if (ft == FT_MHRPT1 || ft == FT_MHRPT2) {
      rdi->sat_type = ft == FT_MHRPT1 ? M1HRPT : M2HRPT;
      rdi->file_type = ft;
      pci->fri.inter_chan = 6;
    }
  }
  pci->width = rdi->sat_type == M1HRPT ? 1540 : rdi->sat_type == M2HRPT ? 1570 : 2048;
  pci->width_original = pci->width;
  pci->height = 500;
  pci->clrmap.size = 1024;
  pci->file_type = rdi->file_type;
  pci->sat_type = rdi->sat_type;
  if (rdi->port_type == usb || rdi->port_type == from_file) {
    int last = -1;
    switch (rdi->sat_type) {
      case HRPT:
      case METOP:
        last = 5;
        break;
      case QNOAA20:
      case QNOAA21:
      case CHRPT:
      case FY3:
      case FY3D:
        last = 10;
        break;
      case M1HRPT:
      case M2HRPT:
        last = 6;
        break;
      case AQUA:
        last = 1;
        break;
      default:
        break;
    }
    if (last >= 0)
      for (int k = 0; k < 26; k++) rdi->channels_recording[k] = k <= last;
  }
  std::memcpy(pci->channels_recorded, rdi->channels_recording, sizeof pci->channels_recorded);
  pci->fri = calc_hrptframeinfo(rdi->file_type, pci->channels_recorded, pci->width);
  rdi->fri = pci->fri;

  const char* dir = rdi->dir_hrpt;
  rdi->file_prefix = rdi->file_hrptbase;
  rdi->file_suffix = rdi->file_hrptext;
  switch (rdi->file_type) {
    case FT_CHRPT:
      dir = rdi->dir_chrpt, rdi->file_prefix = rdi->file_chrptbase;
      rdi->file_suffix = rdi->file_chrptext;
      break;
    case FT_MHRPT1:
    case FT_MHRPT2:
      dir = rdi->dir_mhrpt, rdi->file_prefix = rdi->file_mhrptbase;
      rdi->file_suffix = rdi->file_mhrptext;
      break;
    case FT_QNOAA20:
      dir = rdi->dir_qnoaa20, rdi->file_prefix = rdi->file_qnoaa20base;
      rdi->file_suffix = rdi->file_qnoaa20ext;
      break;
    case FT_QNOAA21:
      dir = rdi->dir_qnoaa21, rdi->file_prefix = rdi->file_qnoaa21base;
      rdi->file_suffix = rdi->file_qnoaa21ext;
      break;
    case FT_AQUA:
      dir = rdi->dir_aqua, rdi->file_prefix = rdi->file_aquabase;
      rdi->file_suffix = rdi->file_aquaext;
      break;
    case FT_METOP:
      dir = rdi->dir_metop;
      rdi->file_prefix = prefs.metfy3x ? "MetopA" : rdi->file_metopbase;
      rdi->file_suffix = rdi->file_metopext;
      break;
    case FT_FY3:
      dir = rdi->dir_fy3;
      rdi->file_prefix = prefs.metfy3x ? "FY3A" : rdi->file_fy3base;
      rdi->file_suffix = rdi->file_fy3ext;
      break;
    default:
      break;
  }
  size_t n = std::strlen(dir);
  if (n > 0 && dir[n - 1] != '/')
    std::snprintf(g_file_loc, sizeof g_file_loc, "%.50s%c", dir, '/');
  else
    pava::copy_text(g_file_loc, dir);
  rdi->file_loc = g_file_loc;
}

int frame_from_file(uint16_t* frame, RECORDINFO* rdi, int* wrapped) {
  Replay& r = g_replay;
  if (wrapped) *wrapped = 0;
  if (!frame) {
    if (r.fp) std::fclose(r.fp);
    r = Replay{};
    return 0;
  }
  const int n = rdi->fri.words_per_frame;
  if (!r.fp || r.name != rdi->sim_file) {
    if (r.fp) std::fclose(r.fp);
    r = Replay{};
    r.name = rdi->sim_file;
    r.fp = std::fopen(rdi->sim_file, "rb");
    r.type = detect_file(rdi->sim_file);
    switch (r.type) {
      case FT_HRPT:
      case FT_CHRPT: {
        // Line records: 7-byte prefix, packed groups of four words.
        r.start = HRPT_HDRSIZE;
        r.frame_bytes = HRPT_PREFIX + (n + 3) / 4 * 5;
        break;
      }
      case FT_MHRPT1:
        r.start = 256, r.frame_bytes = MHRPT1_FRAME;
        break;
      case FT_MHRPT2:
        r.start = 1024, r.frame_bytes = MHRPT2_FRAME;
        break;
      case FT_METOP:
      case FT_FY3:
      case FT_AQUA:
      case FT_QNOAA20:
      case FT_QNOAA21: {
        r.frame_bytes = QPSK_HDR_LEN;
        uint8_t b[QPSK_HDR_LEN];
        if (r.fp && std::fread(b, 1, sizeof b, r.fp) == sizeof b && qpsk_is_hdr_block(b))
          r.start = QPSK_HDR_LEN;
        break;
      }
      default:  // raw 16-bit big-endian frames
        r.frame_bytes = 2 * n;
        break;
    }
    if (r.fp) std::fseek(r.fp, r.start, SEEK_SET);
    r.buf.assign(size_t(r.frame_bytes > 0 ? r.frame_bytes : 1), 0);
  }
  std::memset(frame, 0, size_t(n) * sizeof *frame);
  if (!r.fp || r.frame_bytes <= 0) {
    if (wrapped) *wrapped = 1;
    return 1;
  }
  bool rewound = false;
  while (std::fread(r.buf.data(), 1, r.buf.size(), r.fp) != r.buf.size()) {
    if (rewound) {  // not even one frame in the file
      if (wrapped) *wrapped = 1;
      return 1;
    }
    std::fseek(r.fp, r.start, SEEK_SET);
    rewound = true;
  }
  if (rewound && wrapped) *wrapped = 1;
  const uint8_t* b = r.buf.data();
  switch (r.type) {
    case FT_HRPT:
    case FT_CHRPT:
      for (int g = 0; g * 4 < n; g++) {
        uint16_t w[4];
        hrpt1_unpack(b + HRPT_PREFIX + 5 * g, w);
        for (int k = 0; k < 4 && g * 4 + k < n; k++) frame[g * 4 + k] = w[k];
      }
      break;
    case FT_MHRPT1:
    case FT_MHRPT2:
    case FT_METOP:
    case FT_FY3:
    case FT_AQUA:
    case FT_QNOAA20:
    case FT_QNOAA21:
      for (int i = 0; i < n && i < r.frame_bytes; i++) frame[i] = b[i];
      break;
    default:
      for (int i = 0; i < n; i++) frame[i] = uint16_t(((b[2 * i] << 8) | b[2 * i + 1]) & 0x3FF);
      break;
  }
  return 1;
}

int dump_METOPx_line(PICINFO* pci, const uint16_t* frame) {
  if (!pci->fp) return 0;
  int n = pci->fri.words_per_frame;
  if (n <= 0) return 0;
  std::vector<uint8_t> b(static_cast<size_t>(n));
  for (int i = 0; i < n; i++) b[size_t(i)] = uint8_t(frame[i]);
  std::fwrite(b.data(), 1, b.size(), pci->fp);
  return 1;
}

int mtpframe2line_sim(const uint16_t* frame, uint16_t* line, int n) {
  static int filled = 0;
  if (n % 10 != 0) return 0;
  for (int i = 10; i < 800; i++)
    for (int k = 0; k < 4; k++) {
      line[filled++] = frame[i];
      if (filled >= 11090) {
        filled = 0;
        return 1;
      }
    }
  return 0;
}

int rec_apply_spec(RECORDINFO* rdi, const char* spec, char* err, int size) {
  struct Kind {
    const char* name;
    SAT_TYPE sat;
    FILE_TYPE file;
    int code;
  };
  static const Kind kKinds[] = {
      {"hrpt", HRPT, FT_HRPT, 0},         {"chrpt", CHRPT, FT_CHRPT, 0},
      {"m2hrpt", M2HRPT, FT_MHRPT2, 3},   {"metop", METOP, FT_METOP, 4},
      {"noaa20", QNOAA20, FT_QNOAA20, 1}, {"noaa21", QNOAA21, FT_QNOAA21, 2},
      {"aqua", AQUA, FT_AQUA, 5},         {"fy3ab", FY3, FT_FY3, 6},
      {"fy3c", FY3, FT_FY3, 11},          {"fy3d", FY3D, FT_FY3, 0}};
  std::string s = spec ? spec : "";
  std::string type = "hrpt", chans = s;
  size_t colon = s.find(':');
  if (colon != std::string::npos) type = s.substr(0, colon), chans = s.substr(colon + 1);
  for (char& c : type) c = char(std::tolower(static_cast<unsigned char>(c)));
  const Kind* kind = nullptr;
  for (const Kind& k : kKinds)
    if (type == k.name) kind = &k;
  if (!kind) {
    std::snprintf(err, size_t(size), "unknown satellite type '%s'", type.c_str());
    return -1;
  }
  if (chans.find('c') != std::string::npos && kind->sat == HRPT) kind = &kKinds[1];
  int ch[26] = {0};
  bool any = false;
  for (char c : chans) {
    if (c >= '0' && c <= '9') {
      ch[c == '0' ? 10 : c - '0'] = 1;
      any = true;
    } else if (c == 'a') {
      for (int k = 1; k <= 25; k++) ch[k] = 1;
      any = true;
    } else if (c != 'c' && c != 'g' && c != ',') {
      std::snprintf(err, size_t(size), "bad channel '%c' in '%s'", c, chans.c_str());
      return -1;
    }
  }
  if (!any) {
    std::snprintf(err, size_t(size), "no channels in '%s'", s.c_str());
    return -1;
  }
  ch[0] = 1;
  std::memcpy(rdi->channels_recording, ch, sizeof ch);
  rdi->sat_type = kind->sat;
  rdi->file_type = kind->file;
  return kind->code;
}

int Recordpp_one_Hrpt(const REC_CONTEXT* ctx, RECORDINFO* rdi, PICINFO* pci, VIEWINFO* vwi,
                      REC_RESULT* res) {
  REC_RESULT local{};
  if (!res) res = &local;
  *res = REC_RESULT{};
  const int sat_type0 = rdi->sat_type;
  const size_t nline = line_words(sat_type0, rdi->fri.words_per_frame);
  if (nline == 0 || rdi->fri.words_per_frame <= 0) {
    std::printf("ERR: sattype=%d\n", sat_type0);
    res->stop = REC_STOP_FILE;
    return res->stop;
  }
  // 1. Live lines per screen and the out-of-sync limit in frames.
  const int lines_per_screen = prefs.hrpt_lines_per_screen ? prefs.hrpt_lines_per_screen : 7200;
  int factor = 1;
  switch (sat_type0) {
    case QNOAA20:
    case QNOAA21:
    case FY3:
    case METOP:
    case AQUA:
      factor = 36;
      break;
    case CHRPT:
      factor = 2;
      break;
    case M1HRPT:
    case M2HRPT:
      factor = 14;
      break;
    default:
      break;
  }
  const long wait_outsync = long(rdi->hrpt_stop_after_out_sync) * factor;

  // 2. Reed-Solomon log.
  FILE* rsfp = nullptr;
  if (rdi->fndrs[0]) {
    rsfp = std::fopen(rdi->fndrs, "w");
    if (rsfp) {
      std::fprintf(stderr, "Opened %s for RS logging\n", rdi->fndrs);
      std::fprintf(rsfp, "Satellite: %s\n", family_name(pci->file_type));
      std::fprintf(rsfp, "%-8s %-8s %-8s\n", "line nr", "Corr.", "Uncorr.");
    } else {
      std::fprintf(stderr, "Cannot open '%s' for RS logging.\n", rdi->fndrs);
    }
  }
  auto close_rs = [&] {
    if (rsfp) std::fclose(rsfp);
    rsfp = nullptr;
  };

  // 3. The record file and its header.
  close_picfile(pci);
  rdi->sat_name[0] = '\0';
  pci->sat_name[0] = '\0';
  if (rdi->save_flag) {
    if (!open_new_recfile(rdi->file_prefix, rdi->file_suffix, rdi)) {
      char text[200];
      std::snprintf(text, sizeof text, "Can't open file %s!", rdi->file_name);
      if (rdi->batch_mode)
        std::fprintf(stderr, "%s\n", text);
      else
        ui().message("Error", text);
      close_rs();
      res->stop = REC_STOP_FILE;
      return res->stop;
    }
    const char* base = std::strrchr(rdi->file_name, '/');
    base = base ? base + 1 : rdi->file_name;
    set_entry(rdi, "!Recording ", base);
    if (rdi->batch_mode) rec_log(ctx, "Start recording in %s.", rdi->file_name);
    if (rdi->port_type == usb) get_hwswinfo(rdi, pci);
    pci->scan_hor = rdi->scan_hor;
    pci->scan_ver = rdi->scan_ver;
    std::memcpy(pci->channels_recorded, rdi->channels_recording, sizeof pci->channels_recorded);
    pci->file_type = rdi->file_type;
    pci->sat_type = rdi->sat_type;
    pava::copy_text(pci->sat_name, rdi->sat_name);
    pci->fp = rdi->fp;
    time_t now = std::time(nullptr);
    struct tm t {};
    if (!gmtime_r(&now, &t)) localtime_r(&now, &t);
    pci->picture_time = t;
    pci->orbit.start_tm = t;
    pci->orbit.start_tm_sat = t;
    pci->height = 0;
    pci->kepler = rdi->kepler;
    pci->reed_solomon = rdi->reed_solomon;
    write_rec_header(pci, rdi->fp);
    pci->fri = rdi->fri;
  } else {
    set_entry(rdi, "!Recording ", "(no save)");
  }

  // 4. Buffers, live display, identification.
  const int wpf = rdi->fri.words_per_frame;
  std::vector<uint16_t> frame(size_t(wpf) + 16, 0);
  std::vector<uint16_t> line(nline + 16, 0);
  std::vector<uint8_t> bytes(size_t(wpf) + 16, 0);
  MSU_UNPACK msu{};
  SatSearch search;
  rdi->abort = 0;
  if (ctx && ctx->clear_live && rdi->recclear_at_start) ctx->clear_live(ctx->data);
  if (sat_type0 == METOP || sat_type0 == QNOAA20 || sat_type0 == QNOAA21 || sat_type0 == AQUA)
    mtp_reset();
  if (sat_type0 == FY3 || sat_type0 == FY3D) fy3_reset();

  const int skipy = rdi->show_skipy > 0 ? rdi->show_skipy : 1;
  int frames = 0, nline_nr = 0, prev_line = 0, frame_cnt = 0, out_cnt = 0;
  int last_status = -1;
  long corrected = 0, uncorrectable = 0;
  int live_y = 0;
  int sh_chan = rdi->sh_recchan;
  int stop = REC_STOP_USER;
  const bool pace = ctx && ctx->pace_replay && rdi->port_type == from_file && !g_frame_source;
  const auto t0 = std::chrono::steady_clock::now();
  const double rate = rec_frame_rate(sat_type0);

  // 5. The frame loop.
  while (rdi->recording) {
    if (rdi->sat_type != sat_type0) {
      rdi->abort = 0;
      w_dbg("sattype: is %d  was %d. stop!\n", rdi->sat_type, sat_type0);
      stop = REC_STOP_TYPE;
      break;
    }
    if (rdi->sh_recchan != sh_chan) sh_chan = rdi->sh_recchan;
    drain(rdi);

    // A replay keeps the board's pace; the window stays alive meanwhile.
    while (pace && rdi->recording) {
      double due = frames / rate;
      double now = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
      if (now >= due) break;
      std::this_thread::sleep_for(std::chrono::duration<double>(std::min(due - now, 0.02)));
      drain(rdi);
    }
    if (!rdi->recording) break;
    int status;
    if (g_frame_source) {
      status = g_frame_source(frame.data(), rdi);
    } else if (rdi->port_type == from_file) {
      int wrapped = 0;
      status = frame_from_file(frame.data(), rdi, &wrapped);
      if (wrapped) {
        if (ctx && ctx->stop_at_file_end) {
          stop = REC_STOP_END;
          break;
        }
        nline_nr = prev_line = frame_cnt = 0;
      }
    } else {
      status = get_hrpt_frame(frame.data(), rdi);
      if (usb_unpacker().lost) {
        stop = REC_STOP_DEVICE;
        break;
      }
    }
    if (!rdi->recording) break;  // stopped while the frame was pulled

    if (is_ccsds(sat_type0) && rdi->reed_solomon) {
      int r = rs_decode_frm2(frame.data(), 0);
      corrected += r & 255;
      uncorrectable += (r >> 8) & 255;
    }

    if (status != last_status) {
      rdi->insync = status == 1;
      set_led(rdi, "Sync ", status == 1 ? 0x0F0 : 0x800);
      if (last_status >= 0) {
        if (status != 0 && last_status == 0) set_entry(rdi, "!Recording ", "Restored.");
        if (status == 0) set_entry(rdi, "!Recording ", "No transm!");
      }
      last_status = status;
    }

    if (status == 2)
      out_cnt++;
    else
      out_cnt = 0;
    if (wait_outsync != 0 && out_cnt > wait_outsync) {
      rdi->abort = 0;
      stop = REC_STOP_OUTSYNC;
      break;
    }
    if (rdi->abort) {
      set_entry(rdi, "!Recording ", "Aborted by tracker.");
      rdi->abort = 0;
      stop = REC_STOP_ABORT;
      break;
    }

    get_hrptsat_name(&search, frame.data(), rdi);

    if (rdi->batch_mode) {
      if (++nline_nr % 10 == 0) rec_log(ctx, "Line %d...", nline_nr);
    } else {
      for (int i = 0; i < wpf; i++) bytes[size_t(i)] = uint8_t(frame[size_t(i)]);
      const int nw = int(nline);
      switch (sat_type0) {
        case M1HRPT:
          if (m1hrpt_is_startframe(bytes.data())) {
            frame_cnt = 0;
            nline_nr++;
            msu = MSU_UNPACK{};
          }
          mn1frame2line(bytes.data(), frame_cnt % 50, line.data(), nw, &msu);
          frame_cnt = (frame_cnt + 1) % 50;
          break;
        case M2HRPT: {
          frame_cnt++;
          int pos = m2hrpt_is_startframe(bytes.data());
          if (pos) {
            frame_cnt = 0;
            nline_nr++;
            msu = MSU_UNPACK{};
          }
          for (int z = 0; z < 4; z++)
            mn2frame2line(bytes.data(), MSU_ZONE_START[z], MSU_ZONE_LEN[z], frame_cnt * 4 + z,
                          line.data(), nw, &msu);
          break;
        }
        case METOP:
        case QNOAA20:
        case QNOAA21:
        case AQUA:
          if (mtpframe2line(frame.data(), line.data(), vwi ? vwi->destrip : 0) > 0) nline_nr++;
          break;
        case FY3:
        case FY3D:
          if (fy3frame2line(frame.data(), 21, line.data(), vwi ? vwi->destrip : 0)) nline_nr++;
          break;
        default:
          std::memcpy(line.data(), frame.data(), size_t(wpf) * sizeof(uint16_t));
          nline_nr++;
          break;
      }
      if (nline_nr != prev_line && (nline_nr % skipy == 0 || sh_chan == 0)) {
        char text[60];
        std::snprintf(text, sizeof text, "Corr=%4ld  Uncorr=%3ld", corrected, uncorrectable);
        set_entry(rdi, "!RS-Error", text);
        if (rsfp) {
          std::fprintf(rsfp, "%-8d %-8ld %-8ld\n", nline_nr, corrected, uncorrectable);
          std::fflush(rsfp);
        }
        if (ctx && ctx->show_line) {
          ctx->show_line(ctx->data, line.data(), nw, live_y, pci);
          live_y = (live_y + 1) % lines_per_screen;
        }
        if (nline_nr % 10 == 0) {
          std::snprintf(text, sizeof text, "%d", nline_nr);
          set_entry(rdi, "Line   ", text);
        }
      }
      prev_line = nline_nr;
    }

    if (rdi->save_flag) {
      switch (sat_type0) {
        case M1HRPT:
        case M2HRPT:
          dump_mhrpt1_line(pci, frame.data());
          break;
        case HRPT:
        case CHRPT:
          write_hrpt1_line(pci, frame.data(), status == 1 ? 16 : 0);
          break;
        case AQUA:
          dump_METOPx_line(pci, frame.data());
          break;
        default:
          dump_METOP_line(pci, frame.data());
          break;
      }
    }
    frames++;
    if (ctx && ctx->on_frame) ctx->on_frame(ctx->data, rdi, status, frames);
    if (ctx && ctx->max_frames > 0 && frames >= ctx->max_frames) {
      stop = REC_STOP_FRAMES;
      break;
    }
  }
  if (stop == REC_STOP_USER && usb_unpacker().lost && rdi->port_type == usb) stop = REC_STOP_DEVICE;

  // 6. End of the pass.
  if (!rdi->recording) set_led(rdi, "Sync ", 0x444);
  if (sat_type0 == M1HRPT || sat_type0 == M2HRPT) frames /= 50;
  if (rdi->port_type == from_file) frame_from_file(nullptr, rdi, nullptr);
  set_entry(rdi, "!Recording ", "Stop");
  if (stop == REC_STOP_DEVICE) {
    char text[100];
    usb_connect_error_text(&rdi->usb, text, sizeof text);
    std::string msg = std::string("Lost connection: ") + text;
    if (rdi->batch_mode)
      std::fprintf(stderr, "%s\n", msg.c_str());
    else
      ui().message("Error", msg.c_str());
  }

  // 7. Header rewrite with the final counts, rename after the satellite.
  if (rdi->save_flag && rdi->fp) {
    std::fflush(rdi->fp);
    close_recfile(rdi);
    pci->fp = nullptr;
    FILE* fp = std::fopen(rdi->file_name, "rb+");
    if (fp) {
      pci->fp = fp;
      pci->kepler = rdi->kepler;
      pci->height = frames;
      pava::copy_text(pci->sat_name, rdi->sat_name);
      pci->reed_solomon = rdi->reed_solomon;
      write_rec_header(pci, fp);
      std::fclose(fp);
      pci->fp = nullptr;
      pci->fri = rdi->fri;
    }
    if (rdi->use_satname) {
      std::string path = rdi->file_name;
      size_t slash = path.rfind('/');
      std::string dir = slash == std::string::npos ? "" : path.substr(0, slash + 1);
      PICINFO* tmp = pic_new();
      pava::copy_text(tmp->file_name, path.substr(dir.size()).c_str());
      pava::copy_text(tmp->sat_name, rdi->sat_name);
      char out[200];
      convert_satname(tmp, out, sizeof out);
      pic_delete(tmp);
      std::string renamed = dir + out;
      if (renamed != path && renamed.size() < sizeof rdi->file_name) {
        std::remove(renamed.c_str());
        if (std::rename(path.c_str(), renamed.c_str()) == 0)
          pava::copy_text(rdi->file_name, renamed.c_str());
      }
    }
    if (rdi->batch_mode) rec_log(ctx, "Stop recording after %d frames.", frames);
    pava::copy_text(res->file_name, rdi->file_name);
  }
  close_rs();

  pava::copy_text(res->sat_name, rdi->sat_name);
  res->frames = frames;
  res->corrected = int(corrected);
  res->uncorrectable = int(uncorrectable);
  res->stop = stop;
  if (ctx && ctx->on_pass) ctx->on_pass(ctx->data, res);
  return stop;
}

namespace {

// The board's mode read back (preference get_decodermode, USB only).
void get_sat_set_but(const REC_CONTEXT* ctx, RECORDINFO* rdi) {
  if (!prefs.get_decodermode || rdi->port_type != usb) return;
  const SATMODE* m = satmode_readback(get_sat(&rdi->usb));
  if (m) {
    rdi->sat_type = m->sat_type;
    rdi->file_type = m->file_type;
  } else {
    rdi->sat_type = sat_unk;
  }
  if (ctx && ctx->set_mode_button) ctx->set_mode_button(ctx->data, m ? m->name : "(other)");
}

}  // namespace

int Recordpp_Hrpt(const REC_CONTEXT* ctx, RECORDINFO* rdi, PICINFO* pci, VIEWINFO* vwi) {
  // 1. The hardware.
  if (Open_HWConnect(rdi) != 0) {
    switch (rdi->port_type) {
      case from_file:
        std::fputs("Open file problem\n", stderr);
        break;
      case parport: {
        char text[100];
        std::snprintf(text, sizeof text, "Can't access \nParallel port with address %x !",
                      unsigned(rdi->parport_base));
        if (ctx && ctx->main_window)
          ui().message("Error", text);
        else
          std::fprintf(stderr, "%s\n", text);
        break;
      }
      case ethernet:
        if (ctx && ctx->main_window)
          ui().message("Error", "Can't open Ethermet port.");
        else
          std::fputs("Can't open Ethermet port.\n", stderr);
        break;
      case usb:
      default:
        usb_report_connect_error(rdi);
        break;
    }
    return -1;
  }
  // 2. Channels into the picture; the shown channel must be a recorded one.
  std::memcpy(pci->channels_recorded, rdi->channels_recording, sizeof pci->channels_recorded);
  if (vwi) std::memset(vwi->channel_selected, 0, sizeof vwi->channel_selected);
  if (rdi->sh_recchan < 0) rdi->sh_recchan = 0;
  if (rdi->sh_recchan > 25) rdi->sh_recchan = 25;
  if (rdi->sh_recchan != 0 && !rdi->channels_recording[rdi->sh_recchan]) {
    for (int k = 1; k <= 25; k++)
      if (rdi->channels_recording[k]) {
        rdi->sh_recchan = k;
        if (ctx && ctx->set_show_channel) ctx->set_show_channel(ctx->data, k);
        break;
      }
  }
  // 3. Something to record.
  bool any = false;
  for (int k = 1; k <= 25; k++) any = any || rdi->channels_recording[k];
  if (!any) {
    if (rdi->batch_mode || !(ctx && ctx->main_window))
      std::fputs("Error: No channels selected.\n", stderr);
    else
      ui().message("Error", "No channels selected!");
    return -1;
  }
  // 4. Passes.
  if (rdi->port_type == usb) usb_unpacker().lost = 0;
  set_rec_par(rdi, pci);
  while (rdi->recording) {
    set_entry(rdi, "!Recording ", "Wait");
    if (rdi->batch_mode) rec_log(ctx, "Wait for in-sync.");
    get_sat_set_but(ctx, rdi);
    drain(rdi);
    if (rdi->port_type == usb) ena_dat(&rdi->usb);
    if (!g_frame_source && !wait_for_insync(rdi, rdi->hrpt_start_after_in_sync)) break;
    get_sat_set_but(ctx, rdi);
    if (rdi->port_type == usb) ena_dat(&rdi->usb);
    drain(rdi);
    set_rec_par(rdi, pci);
    Recordpp_one_Hrpt(ctx, rdi, pci, vwi, nullptr);
    if (rdi->port_type == usb && usb_unpacker().lost) rdi->recording = 0;
    if (rdi->one_record) {
      rdi->recording = 0;
      if (!(ctx && ctx->main_window)) return 0;
      if (ctx->quit_main) ctx->quit_main(ctx->data);
    }
  }
  // 5. Done.
  set_entry(rdi, "!Recording ", "Off");
  if (!rdi->batch_mode && rdi->save_flag && ctx && ctx->open_recorded && rdi->file_name[0])
    ctx->open_recorded(ctx->data, rdi->file_name, rdi->file_type == FT_FY3 ? FT_FY3 : 0);
  if (rdi->batch_mode) rec_log(ctx, "End recording.");
  return 0;
}

int rec_panel_abort(RECORDINFO* rdi) {
  if (rdi->insync) return 1;
  rdi->abort = 1;
  return 0;
}

void rec_panel_channels(RECORDINFO* rdi, const int pressed[5], int all) {
  int* ch = rdi->channels_recording;
  for (int k = 1; k <= 25; k++) ch[k] = 0;
  auto on = [&](int i) { return all || pressed[i] ? 1 : 0; };
  switch (rdi->file_type) {
    case FT_HRPT:
    case FT_METOP:
      for (int i = 0; i < 5; i++) ch[i + 1] = on(i);
      break;
    case FT_CHRPT:
      for (int i = 0; i < 5; i++) ch[2 * i + 1] = ch[2 * i + 2] = on(i);
      break;
    case FT_QNOAA20:
    case FT_QNOAA21:
    case FT_AQUA:
      for (int k = 1; k <= 10; k++) ch[k] = 1;
      break;
    case FT_MHRPT1:
    case FT_MHRPT2:
      for (int k = 1; k <= 6; k++) ch[k] = 1;
      break;
    case FT_FY3:
      for (int k = 1; k <= 25; k++) ch[k] = 1;
      break;
    default:
      break;
  }
  ch[0] = 1;
}

REC_AUTO_PLAN rec_auto_plan(const char* spec, int sat_type) {
  REC_AUTO_PLAN p{};
  if (!spec) spec = "";
  p.sat_type = std::strchr(spec, 'c') ? int(CHRPT) : sat_type;
  for (const char* c = spec; *c; c++) {
    if (*c >= '0' && *c <= '9') {
      int d = *c == '0' ? 10 : *c - '0';
      if (p.sat_type == CHRPT) d = (d - 1) / 2 + 1;
      if (d >= 1 && d <= 5) p.button[d] = 1;
    } else if (*c == 'a') {
      p.all = 1;
    } else if (*c == 'g') {
      p.generator = 1;
    }
  }
  return p;
}
