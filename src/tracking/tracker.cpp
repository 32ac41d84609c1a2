#include "tracking/tracker.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <vector>

#include "app/log.h"
#include "app/ui_ops.h"
#include "config/prefs.h"
#include "orbit/satpos.h"
#include "reception/ethlink.h"
#include "reception/tuner.h"
#include "reception/usblink.h"
#include "tracking/recmap.h"
#include "tracking/rotor.h"
#include "tracking/rotor_board.h"
#include "tracking/rs232.h"

GLOB_G glob_g = {0, 0, 0, 10, 0, nullptr, 0, 0, 0, 0};

namespace {

constexpr double kRad2Deg = 180. / 3.14159265358979;

// ---- UI and hooks ----

TRACKER_UI g_ui{};

void entry(const char* name, const char* text) {
  if (g_ui.set_entry) g_ui.set_entry(name, text);
}
void led(const char* name, int state) {
  if (g_ui.led) g_ui.led(name, state);
}
int button(const char* name, int on, int sensitive) {
  return g_ui.button ? g_ui.button(name, on, sensitive) : 0;
}
void event(const char* kind, const char* sat, const char* detail) {
  if (g_ui.event) g_ui.event(kind, sat, detail ? detail : "");
}
void drain() { ui().drain_events(); }

int run_system(const char* command) { return std::system(command); }
int (*g_run)(const char*) = run_system;
void (*g_delimit)(int) = nullptr;

// ---- Manual timer ----

struct Timeout {
  unsigned id;
  long period_ms;
  long due_ms;
  int (*fn)(void*);
  void* data;
};
std::vector<Timeout> g_timeouts;
unsigned g_next_id = 1;
long g_now_ms = 0;

unsigned manual_add(int period_ms, int (*fn)(void*), void* data) {
  g_timeouts.push_back({g_next_id, period_ms, g_now_ms + period_ms, fn, data});
  return g_next_id++;
}
void manual_remove(unsigned id) {
  g_timeouts.erase(std::remove_if(g_timeouts.begin(), g_timeouts.end(),
                                  [id](const Timeout& t) { return t.id == id; }),
                   g_timeouts.end());
}
TRACKER_TIMER g_timer{manual_add, manual_remove};

// ---- Process-wide state of the cycle ----

TRACK* g_cached = nullptr;  // the pass list of get_newpasses
int g_in_newpasses = 0;
int g_in_track = 0;
int g_was_visible = 0;    // followed satellite visible in the previous cycle
int g_ext_up = 0;         // do_extprog: above the horizon
int g_delim_sent = 0;     // send_delimit: rising delimiter sent
unsigned g_track_id = 0;  // tracking timeout
unsigned g_sun_id = 0;    // sun timeout
unsigned g_restart_id = 0;
int g_rot_count = 0;  // rotor repeat counter
float g_step = 0;     // time step of set_positions
int g_visible_limit = 0;
SAT* g_followed = nullptr;
SAT* g_sats = nullptr;  // list of the running timeout
tm_s g_moment{};
SAT g_sun{};
std::string g_rotctld_last;  // last target rotctld acknowledged

// Seconds from b to a.
double tm_diff(const struct tm* a, const struct tm* b) {
  struct tm x = *a, y = *b;
  return difftime(timegm(&x), timegm(&y));
}

TRACK* nth_pass(TRACK* tracks, int n) {
  TRACK* t = tracks;
  for (int i = 0; t && i < n; i++) t = t->next;
  return t;
}

TRACK* selected_pass() {
  for (TRACK* t = glob_g.tracks; t; t = t->next)
    if (t->selected) return t;
  return nullptr;
}

// The angles last sent to the rotor.
void catch_pos(float* a, float* b) {
  const ROTOR& r = prefs.rotor;
  if (r.use_xy) {
    *a = r.to_rotor.x + r.offset.x;
    *b = r.to_rotor.y + r.offset.y;
  } else {
    *a = r.to_rotor.azim;
    *b = r.to_rotor.elev;
  }
}

// Shows the angles; returns the cycle's time step (seconds).
float set_positions(float, float) { return prefs.reptime; }

void send_delimit(const TRACK* pass, const SAT* sat) {
  if (!pass || !pass->selected) return;
  int up = sat->dir.elev >= prefs.elev_horiz;
  if (up == g_delim_sent) return;
  g_delim_sent = up;
  if (g_delimit) g_delimit(up);
  event("delimiter", sat->satname, up ? "rise" : "set");
}

// Starts the recording again after a type switch.
int func_startrec(void*) {
  g_restart_id = 0;
  button("Start/Stop", 1, 1);
  return 0;
}

int track_timeout(void* data) { return do_track(static_cast<SAT*>(data)); }

// Sets the type in the recording record when no panel took it.
void set_type_direct(const char* type) {
  static const struct {
    const char* name;
    SAT_TYPE type;
  } kTypes[] = {{"HRPT", HRPT},     {"NOAA20", QNOAA20}, {"NOAA21", QNOAA21}, {"AQUA", AQUA},
                {"M2HRPT", M2HRPT}, {"METOP", METOP},    {"FY3-A,B", FY3AB},  {"FY3-C", FY3C}};
  if (!g_recordinfo) return;
  for (const auto& t : kTypes)
    if (std::strcmp(t.name, type) == 0) g_recordinfo->sat_type = t.type;
}

void rotctld_output(const SAT* sat) {
  if (!prefs.rotctld_on) return;
  std::string reply;
  const DIRECTION& d = prefs.rotor.to_rotor;
  // An unchanged target is sent again only with always_send (the controller
  // holds its position; each command costs a round trip).
  char target[128];
  std::snprintf(target, sizeof target, "%s:%d %.1f %.1f", prefs.rotctld_host, prefs.rotctld_port,
                double(d.azim), double(d.elev));
  if (!prefs.rotor.always_send && g_rotctld_last == target) return;
  int st = rotctld_send_pos(prefs.rotctld_host, prefs.rotctld_port, d.azim, d.elev, &reply);
  char text[120];
  g_rotctld_last = st == 0 ? target : "";
  if (st == 0) {
    std::snprintf(text, sizeof text, "P %.1f %.1f", double(d.azim), double(d.elev));
    event("rotor", sat->satname, text);
  } else {
    std::snprintf(text, sizeof text, "rotctld %s:%d: %s", prefs.rotctld_host, prefs.rotctld_port,
                  st == -1   ? "no connection"
                  : st == -2 ? "write failed"
                             : "no reply");
    entry("Last sent:", text);
    event("rotor", sat->satname, text);
  }
}

}  // namespace

// ---- UI, timer, hooks ----

void tracker_ui_install(const TRACKER_UI* ops) { g_ui = ops ? *ops : TRACKER_UI{}; }
const TRACKER_UI& tracker_ui() { return g_ui; }

void tracker_timer_install(const TRACKER_TIMER* ops) {
  g_timer = ops ? *ops : TRACKER_TIMER{manual_add, manual_remove};
}

int tracker_timer_advance(long ms) {
  long end = g_now_ms + ms;
  int calls = 0;
  for (;;) {
    auto it =
        std::min_element(g_timeouts.begin(), g_timeouts.end(),
                         [](const Timeout& a, const Timeout& b) { return a.due_ms < b.due_ms; });
    if (it == g_timeouts.end() || it->due_ms > end) break;
    g_now_ms = it->due_ms;
    Timeout t = *it;
    it->due_ms += t.period_ms;
    calls++;
    if (!t.fn(t.data)) manual_remove(t.id);
  }
  g_now_ms = end;
  return calls;
}

int tracker_timer_count() { return int(g_timeouts.size()); }

void tracker_set_run_hook(int (*run)(const char*)) { g_run = run ? run : run_system; }
void tracker_set_delimit_hook(void (*send)(int)) { g_delimit = send; }

const tm_s& tracker_moment() { return g_moment; }
SAT* tracker_followed() { return g_followed; }

void tracker_reset() {
  if (g_track_id) g_timer.remove_timeout(g_track_id);
  if (g_sun_id) g_timer.remove_timeout(g_sun_id);
  if (g_restart_id) g_timer.remove_timeout(g_restart_id);
  g_track_id = g_sun_id = g_restart_id = 0;
  if (g_cached) Remove_Tracks(g_cached);
  g_cached = nullptr;
  glob_g.tracks = nullptr;
  glob_g.sat_changed = glob_g.rotor_pause = 0;
  g_in_newpasses = g_in_track = 0;
  g_was_visible = g_ext_up = g_delim_sent = 0;
  g_rot_count = 0;
  g_visible_limit = 0;
  g_followed = nullptr;
  g_sats = nullptr;
  g_rotctld_last.clear();
  rotctld_close();
}

// ---- Timeouts ----

// With sats: starts the tracking timeout (period 1000 * reptime ms) when none
// runs. Without: stops it, closes the received-passes map, switches the board's
// angle display off and closes the rotor's network link.
void run_track(void* widget, SAT* sats) {
  if (sats) {
    g_sats = sats;
    if (!g_track_id) {
      int period = int(1000 * prefs.reptime);
      g_track_id = g_timer.add_timeout(period > 0 ? period : 1000, track_timeout, sats);
    }
    return;
  }
  if (g_track_id) g_timer.remove_timeout(g_track_id);
  g_track_id = 0;
  if (g_recordinfo && g_recordinfo->plot_track)
    recmap(0, nullptr, g_recordinfo->plottrack_file, g_recordinfo->nrplotf, &prefs.refpos);
  recmap_close();
  if (!widget) return;
  if (g_recordinfo && g_recordinfo->usb.ftHandle) usb_write(&g_recordinfo->usb, 3, 0);
  if (g_recordinfo && g_recordinfo->eth.ena) {
    open_close_eth(0);
    char text[60];
    std::snprintf(text, sizeof text, "Close %s ", g_recordinfo->eth.ip_addr);
    entry("^Rotor connect", text);
  }
}

int do_suntrack(void*) {
  if (!g_sun.satname[0]) {
    std::snprintf(g_sun.satname, sizeof g_sun.satname, "%s", "SUN");
    g_sun.type = sun;
  }
  mom_tmms(&g_moment, float(glob_g.test_min) / 60.f, &prefs.tm_off);
  calc_satrelpos(&g_sun.pos, &g_sun.dir, &prefs.refpos, &g_sun, &g_moment, &prefs.rotor);
  track_the_sat(1.f, &g_sun, nullptr, &g_moment);
  return 1;
}

void run_sun(void*, int on) {
  entry("!Next pass", "");
  entry("!FREQ pass", "");
  if (on) {
    entry("!INFO pass", "Tracking SUN");
    if (!g_sun_id) g_sun_id = g_timer.add_timeout(1000, do_suntrack, nullptr);
  } else {
    entry("!INFO pass", "");
    if (g_sun_id) g_timer.remove_timeout(g_sun_id);
    g_sun_id = 0;
  }
}

// ---- The cycle ----

namespace {

// Positions of every satellite; follows the selected pass. 0 ends tracking.
int process_cursat(SAT* sats, const tm_s* moment) {
  for (SAT* s = sats; s; s = s->next)
    calc_satrelpos(&s->pos, &s->dir, &prefs.refpos, s, moment, &prefs.rotor);
  TRACK* pass = selected_pass();
  g_followed = pass ? pass->sat : nullptr;
  if (!g_followed) return 1;
  SAT* sat = g_followed;
  sat->skip_track = tm_diff(&moment->tm, &pass->up_time) < -10.0;
  if (!track_the_sat(g_step, sat, pass, moment)) return 0;
  if (g_recordinfo && g_recordinfo->plot_track && !sat->skip_track &&
      sat->dir.elev >= prefs.elev_horiz)
    recmap(1, &sat->pos, g_recordinfo->plottrack_file, g_recordinfo->nrplotf, &prefs.refpos);
  float a, b;
  catch_pos(&a, &b);
  g_step = set_positions(a, b);
  return 1;
}

}  // namespace

int do_track(SAT* sats) {
  if (g_in_track) return 1;
  g_in_track = 1;
  mom_tmms(&g_moment, float(glob_g.test_min) / 60.f, &prefs.tm_off);
  if (!process_cursat(sats, &g_moment)) {
    g_in_track = 0;
    run_track(nullptr, nullptr);
    return 0;
  }
  if (!glob_g.sat_changed) {
    SAT* sat = g_followed;
    if (!sat) {
      get_newpasses(sats, nullptr, 1, -1);
    } else if (!sat->skip_track) {
      int visible = sat->dir.elev >= prefs.elev_horiz;
      if (visible && !g_was_visible) event("rise", sat->satname, "");
      if (g_was_visible && !visible) {
        event("set", sat->satname, "");
        if (g_recordinfo) g_recordinfo->abort = 1;
        event("abort", sat->satname, "Aborted by tracker.");
        if (g_recordinfo && g_recordinfo->plot_track)
          recmap(0, nullptr, g_recordinfo->plottrack_file, g_recordinfo->nrplotf, &prefs.refpos);
        g_was_visible = 0;
        get_newpasses(sats, nullptr, glob_g.tracking, -1);
      } else {
        g_was_visible = visible;
      }
    }
  }
  glob_g.sat_changed = 0;
  g_in_track = 0;
  return 1;
}

void get_newpasses(SAT* sats, void* widget, int activate, int sel) {
  if (g_in_newpasses) return;
  if (!sats) {
    entry("!INFO pass", "Empty list!");
    return;
  }
  g_in_newpasses = 1;
  int res = 0;
  if (!g_cached || sel < 0) {
    glob_g.tracks = nullptr;
    if (g_cached) Remove_Tracks(g_cached);
    g_cached = nullptr;
    entry("!INFO pass", "Creating pass list...");
    drain();
    g_cached = first_passes(sats, glob_g.nr_inlist, glob_g.test_min, glob_g.elev_det);
    glob_g.tracks = g_cached;
    char text[40];
    int n = 0;
    for (TRACK* t = g_cached; t; t = t->next) n++;
    std::snprintf(text, sizeof text, "%d passes", n);
    event("passlist", nullptr, text);
    entry("!INFO pass", "Selecting sat...");
    drain();
    res = select_sat(sats, g_cached, widget, 0);
    if (g_ui.list_rows) g_ui.list_rows(g_cached);
    set_visible(g_cached, sats, -1);
  }
  if (sel >= 0 && res == 0) res = select_sat(sats, g_cached, widget, sel);
  if (res == 0)
    entry("!INFO pass", activate ? "Wait, switching..." : "");
  else
    entry("!INFO pass", res == -1 ? "No decoder connected!" : "Decoder off?");
  g_in_newpasses = 0;
  if (activate) {
    run_track(widget, nullptr);
    run_track(widget, sats);
  }
}

int select_sat(SAT* sats, TRACK* tracks, void* widget, int n) {
  for (SAT* s = sats; s; s = s->next) s->selected = 0;
  for (TRACK* t = tracks; t; t = t->next) t->selected = 0;
  TRACK* pass = nth_pass(tracks, n);
  if (!pass) return 0;
  pass->selected = 1;
  glob_g.sel_sat = n;
  SAT* sat = pass->sat;
  if (sat) sat->selected = 1;
  if (g_recordinfo) {
    g_recordinfo->scan_ver = pass->going_south ? N_S : S_N;
    g_recordinfo->scan_hor = g_recordinfo->scan_ver == N_S ? W_E : E_W;
  }
  char text[80];
  std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02dZ", pass->up_time.tm_year + 1900,
                pass->up_time.tm_mon + 1, pass->up_time.tm_mday, pass->up_time.tm_hour,
                pass->up_time.tm_min, pass->up_time.tm_sec);
  event("select", sat ? sat->satname : nullptr, text);
  if (!sat || !g_recordinfo) return 0;
  if (prefs.auto_decoder && check_connected(&g_recordinfo->usb, 0) == 0) set_sattype(sat, widget);
  if (prefs.auto_tuner) {
    int st = check_connected(&g_recordinfo->usb, 0);
    if (st) return st;
    int overflow = set_tuner(sat);
    std::snprintf(text, sizeof text, "%.1f MHz %s", double(sat->hfreq),
                  overflow ? "overflow" : "ok");
    event("tuner", sat->satname, text);
    entry("!FREQ pass", overflow ? "Set tuner: buffer overflow! " : "");
  }
  return 0;
}

const char* sattype_of_name(const char* name) {
  const char* type = nullptr;
  if (!name) return type;
  if (std::strstr(name, "NOAA 1")) type = "HRPT";
  if (std::strstr(name, "NOAA 20")) type = "NOAA20";
  if (std::strstr(name, "NOAA 21")) type = "NOAA21";
  if (std::strstr(name, "AQUA")) type = "AQUA";
  if (std::strstr(name, "METEOR")) type = "M2HRPT";
  if (std::strstr(name, "METOP")) type = "METOP";
  if (std::strstr(name, "FENGYUN")) {
    if (std::strchr(name, 'A') || std::strchr(name, 'B')) type = "FY3-A,B";
    if (std::strchr(name, 'C')) type = "FY3-C";
  }
  return type;
}

const char* set_sattype(SAT* sat, void*) {
  const char* type = sattype_of_name(sat ? sat->satname : nullptr);
  if (!type) return nullptr;
  int was_on = button("Start/Stop", -1, -1);
  if (was_on) {
    button("Start/Stop", 0, 0);
    drain();
  }
  if (!g_ui.select_recorder_type || g_ui.select_recorder_type(type) != 0) set_type_direct(type);
  event("decoder", sat->satname, type);
  if (was_on) {
    entry("!Recording ", "WAIT!");
    if (g_restart_id) g_timer.remove_timeout(g_restart_id);
    g_restart_id = g_timer.add_timeout(2000, func_startrec, nullptr);
  }
  return type;
}

int check_connected(usb_items* usb, int flag) {
  if (flag) {
    usb_close_connect(usb);
    if (usb_init_connect(usb) != 0) return -3;
  }
  unsigned char fw[4];
  return get_firmware(usb, fw);
}

int track_the_sat(float step, SAT* sat, TRACK* pass, const tm_s* moment) {
  int will_track = !sat->skip_track;
  send_delimit(pass, sat);
  int state = calc_rotpos(&sat->dir, will_track, &prefs.rotor, prefs.elev_horiz, prefs.reptime);
  float a, b;
  catch_pos(&a, &b);

  // Rotor repeat: a new target only every int(rotreptime) seconds; a pending
  // park always goes out at once.
  if (prefs.rotreptime >= 1.0f) {
    int every = int(prefs.rotreptime);
    if (moment->tm.tm_sec % every == 0)
      g_rot_count = 0;
    else
      g_rot_count++;
    g_rot_count %= every;
    if (prefs.reptime >= 1.0f && g_rot_count != 0 && state >= 0) return 1;
  }

  if (prefs.ext_prog_on) do_extprog(sat->satname, int(step), will_track, &sat->dir);

  char text[160];
  std::snprintf(text, sizeof text, "%.1f,%.1f", double(a), double(b));
  event("rotor", sat->satname, text);
  RECORDINFO* rdi = g_recordinfo;
  if (!rdi) return 1;

  if (rdi->usb.ena) {
    if (usb_init_connect(&rdi->usb) == 0 && !glob_g.rotor_pause) {
      drain();
      if (pos2godil(&rdi->usb, &prefs.rotor, a, b, prefs.display_mode)) {
        button("Start /Stop", 0, -1);
        ui().message("Error", "USB Timeout!");
        led("Send", 0);
        log_message("ERR track_the_sat\n");
        return 0;
      }
      led("Send", 2);
    }
  }

  if (rdi->uart.ena) {
    if (RS232_Open_Close(1, rdi->uart.portnr, rdi->uart.speed)) {
      std::snprintf(text, sizeof text, "Open to %d", rdi->uart.portnr);
      entry("^Rotor connect", text);
      if (!glob_g.rotor_pause) {
        drain();
        char cmd[100];
        load_cmd(cmd, sizeof cmd, rdi->uart.command, pass ? pass->pass_e1_w0 : 0, a, b);
        UART_ITEMS u{rdi->uart.portnr, rdi->uart.speed};
        if (pos2uart(&u, cmd) == 0) {
          std::string shown = cmd;
          while (!shown.empty() && (shown.back() == '\n' || shown.back() == '\r')) shown.pop_back();
          std::snprintf(text, sizeof text, "port %d:%s", rdi->uart.portnr, shown.c_str());
          entry("Last sent:", text);
          led("Send", 2);
        } else {
          entry("Last sent:", "ERR UART!");
        }
      } else {
        entry("Last sent:", "UART paused!");
      }
    } else {
      std::snprintf(text, sizeof text, "Failed: port %d", rdi->uart.portnr);
      entry("^Rotor connect", text);
      entry("Last sent:", "UART closed!");
    }
  }

  if (rdi->eth.ena) {
    std::signal(SIGPIPE, SIG_IGN);  // a peer that went away must not end the process
    if (open_close_eth(1) != 0) {
      std::snprintf(text, sizeof text, "Open to %s", rdi->eth.ip_addr);
      entry("^Rotor connect", text);
      if (!glob_g.rotor_pause) {
        char line[100];
        std::snprintf(line, sizeof line, "gotopos=%d,%.1f,%.1f\n", pass ? pass->pass_e1_w0 : 0,
                      double(a), double(b));
        if (write_eth(rdi->eth.sock, line, std::strlen(line)) < 0) {
          // The peer went away: reconnect on the next cycle.
          open_close_eth(0);
          std::snprintf(text, sizeof text, "Failed: %s", rdi->eth.ip_addr);
          entry("^Rotor connect", text);
        } else {
          led("Send", 2);
        }
      }
    } else {
      button("Start /Stop", 0, -1);
      std::snprintf(text, sizeof text, "Failed: %s", rdi->eth.ip_addr);
      entry("^Rotor connect", text);
      entry("Last sent:", "UART closed!");
    }
  } else if (rdi->eth.sock > 0) {
    open_close_eth(0);
  }

  if (!glob_g.rotor_pause) rotctld_output(sat);
  return 1;
}

// ---- External commands ----

std::string fillin_satpos(const char* tmpl, const DIRECTION* dir, const char* name, int value) {
  std::string out;
  if (!tmpl) return out;
  size_t limit = std::strlen(tmpl) + 100;
  for (const char* p = tmpl; *p && out.size() < limit;) {
    if (*p != '%') {
      out += *p++;
      continue;
    }
    if (p[1] == '%') {
      out += '%';
      p += 2;
      continue;
    }
    // Flags, width and precision.
    const char* q = p + 1;
    while (*q && std::strchr("-+ #0", *q)) q++;
    while (*q && ((*q >= '0' && *q <= '9') || *q == '.')) q++;
    std::string conv_fmt(p, size_t(q - p));
    if (conv_fmt.size() > 20) conv_fmt.resize(20);
    char buf[160];
    buf[0] = 0;
    switch (*q) {
      case 'e':
      case 'a':
      case 'x':
      case 'y': {
        double v = *q == 'e' ? dir->elev : *q == 'a' ? dir->azim : *q == 'x' ? dir->x : dir->y;
        std::snprintf(buf, sizeof buf, (conv_fmt + "f").c_str(), v * kRad2Deg);
        break;
      }
      case 'n':
        std::snprintf(buf, sizeof buf, (conv_fmt + "s").c_str(), name ? name : "");
        break;
      case 't':
        std::snprintf(buf, sizeof buf, (conv_fmt + "d").c_str(), value);
        break;
      default:  // not a conversion of ours: kept as it is
        out += conv_fmt;
        p = q;
        continue;
    }
    out += buf;
    p = q + 1;
  }
  if (out.size() > limit) out.resize(limit);
  return out;
}

std::string ext_prog(int mode, const DIRECTION* dir, const char* name, int value) {
  const char* tmpl = mode == 0   ? prefs.prog_up
                     : mode == 1 ? prefs.prog_trackingup
                     : mode == 2 ? prefs.prog_down
                                 : prefs.prog_idledown;
  if (!tmpl[0] || tmpl[0] == '!') return "";
  std::string cmd = fillin_satpos(tmpl, dir, name, value);
  event("extprog", name, cmd.c_str());
  g_run(cmd.c_str());
  return cmd;
}

void do_extprog(const char* name, int value, int tracking, const DIRECTION* dir) {
  if (tracking && dir->elev >= prefs.elev_horiz) {
    if (!g_ext_up) ext_prog(0, dir, name, value);
    g_ext_up = 1;
    ext_prog(1, dir, name, value);
  } else {
    if (g_ext_up) ext_prog(2, dir, name, value);
    g_ext_up = 0;
    ext_prog(3, dir, name, value);
  }
}

void set_visible(TRACK* tracks, SAT* sats, int n) {
  if (n >= 0) g_visible_limit = n;
  int count = 0;
  auto room = [&] { return g_visible_limit == 0 || count < g_visible_limit; };
  for (SAT* s = sats; s; s = s->next) s->visible = 0;
  for (TRACK* t = tracks; t && room(); t = t->next)
    if (t->sat && !t->sat->visible) {
      t->sat->visible = 1;
      count++;
    }
  for (SAT* s = sats; s && room(); s = s->next)
    if (!s->visible) {
      s->visible = 1;
      count++;
    }
}

// ---- hamlib rotctld ----
//
// Protocol (rotctld's default, one command a line):
//   "P az el\n"  set position   -> "RPRT 0\n" (negative number on error)
//   "p\n"        get position   -> "az\nel\n"
//   "S\n"        stop           -> "RPRT 0\n"

namespace {

int g_rotctld_sock = -1;
std::string g_rotctld_peer;

void rotctld_close_sock() {
  if (g_rotctld_sock >= 0) close(g_rotctld_sock);
  g_rotctld_sock = -1;
  g_rotctld_peer.clear();
}

int rotctld_connect(const char* host, int port) {
  std::string peer = std::string(host ? host : "") + ":" + std::to_string(port);
  if (g_rotctld_sock >= 0 && peer == g_rotctld_peer) return g_rotctld_sock;
  rotctld_close_sock();
  addrinfo hints{}, *res = nullptr;
  hints.ai_family = AF_UNSPEC;
  hints.ai_socktype = SOCK_STREAM;
  if (getaddrinfo(host, std::to_string(port).c_str(), &hints, &res) != 0 || !res) return -1;
  int s = socket(res->ai_family, res->ai_socktype, res->ai_protocol);
  if (s >= 0 && connect(s, res->ai_addr, res->ai_addrlen) != 0) {
    close(s);
    s = -1;
  }
  freeaddrinfo(res);
  if (s < 0) return -1;
  g_rotctld_sock = s;
  g_rotctld_peer = peer;
  return s;
}

// One line (without its line feed) within 2 s; false on time-out or close.
bool read_line(int s, std::string* line) {
  line->clear();
  for (;;) {
    pollfd p{s, POLLIN, 0};
    if (poll(&p, 1, 2000) <= 0) return false;
    char c;
    if (read(s, &c, 1) != 1) return false;
    if (c == '\n') return true;
    if (line->size() < 200) *line += c;
  }
}

bool send_all(int s, const std::string& text) {
  return send(s, text.data(), text.size(), MSG_NOSIGNAL) == ssize_t(text.size());
}

}  // namespace

int rotctld_send_pos(const char* host, int port, float az_deg, float el_deg, std::string* reply) {
  int s = rotctld_connect(host, port);
  if (s < 0) return -1;
  char cmd[64];
  std::snprintf(cmd, sizeof cmd, "P %.1f %.1f\n", double(az_deg), double(el_deg));
  if (!send_all(s, cmd)) {
    rotctld_close_sock();
    return -2;
  }
  std::string line;
  if (!read_line(s, &line) || line.compare(0, 5, "RPRT ") != 0) {
    rotctld_close_sock();
    return -3;
  }
  if (reply) *reply = line;
  return line == "RPRT 0" ? 0 : -3;
}

int rotctld_get_pos(const char* host, int port, float* az_deg, float* el_deg) {
  int s = rotctld_connect(host, port);
  if (s < 0) return -1;
  if (!send_all(s, "p\n")) {
    rotctld_close_sock();
    return -2;
  }
  std::string a, e;
  if (!read_line(s, &a) || !read_line(s, &e) || a.compare(0, 4, "RPRT") == 0) {
    rotctld_close_sock();
    return -3;
  }
  *az_deg = std::strtof(a.c_str(), nullptr);
  *el_deg = std::strtof(e.c_str(), nullptr);
  return 0;
}

int rotctld_stop(const char* host, int port) {
  int s = rotctld_connect(host, port);
  if (s < 0) return -1;
  if (!send_all(s, "S\n")) {
    rotctld_close_sock();
    return -2;
  }
  std::string line;
  if (!read_line(s, &line)) {
    rotctld_close_sock();
    return -3;
  }
  return line == "RPRT 0" ? 0 : -3;
}

void rotctld_close() { rotctld_close_sock(); }
