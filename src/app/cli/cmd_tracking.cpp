// pava-cli tracking commands:
//   rotor --to AZ,EL | --xy X,Y   one target through the configured rotor
//                                 outputs, reporting what went out on each
//   track --simulate --from TIME --hours H [--speed N]
//                                 the tracking cycle on a simulated clock,
//                                 one JSON line per event
//   track --update-elements URL [--elements PATH]
//                                 new elements through curl/wget, the old
//                                 file kept unless the new one parses
//   track --map FILE.png [--from TIME] [--current NAME] [--size WxH]
//                                 the tracker's world map at TIME (default
//                                 now) as a PNG, with the positions as JSON
// Output peers can be replaced for tests and set-up checks: --board-emulator,
// --serial-device PATH, --net HOST:PORT, --rotctld HOST:PORT.
#include <cmath>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <unistd.h>

#include "app/cli/cli.h"
#include "app/ui_ops.h"
#include "config/datadir.h"
#include "config/prefs.h"
#include "export/imgcodec.h"
#include "orbit/satdb.h"
#include "orbit/satpos.h"
#include "orbit/sunmoon.h"
#include "reception/boardemu.h"
#include "reception/ethlink.h"
#include "reception/ftport.h"
#include "reception/usblink.h"
#include "tracking/elements_update.h"
#include "tracking/rotor.h"
#include "tracking/rotor_board.h"
#include "tracking/rs232.h"
#include "tracking/tracker.h"
#include "tracking/worldmap.h"

namespace {

struct OutOpts {
  bool board_emulator = false;
  std::string serial_device;
  std::string net;
  std::string rotctld;
};

struct Session {
  std::unique_ptr<RECORDINFO> rec = std::make_unique<RECORDINFO>();
  std::unique_ptr<BOARDEMU> emu;
  RECORDINFO* saved = nullptr;
  ~Session() {
    if (rec->usb.ftHandle) usb_close_connect(&rec->usb);
    open_close_eth(&rec->eth, 0);
    RS232_Open_Close(0, rec->uart.portnr, 0);
    rotctld_close();
    if (emu) boardemu_attach(nullptr);
    usb_set_sleep_hook(nullptr);
    g_recordinfo = saved;
  }
};

void add_out_opts(CLI::App* c, OutOpts* o) {
  c->add_flag("--board-emulator", o->board_emulator, "board output to the software board");
  c->add_option("--serial-device", o->serial_device, "serial output to this device");
  c->add_option("--net", o->net, "network output to HOST:PORT");
  c->add_option("--rotctld", o->rotctld, "hamlib rotctld output to HOST:PORT");
}

bool split_hostport(const std::string& s, std::string* host, int* port) {
  size_t c = s.rfind(':');
  if (c == std::string::npos || c == 0) return false;
  *host = s.substr(0, c);
  char* end = nullptr;
  long p = std::strtol(s.c_str() + c + 1, &end, 10);
  if (*end || p < 1 || p > 65535) return false;
  *port = int(p);
  return true;
}

void no_sleep(long) {}

// Standard output sent to standard error while it lives: the lower layers'
// progress prints must not mix with the JSON lines.
struct StdoutToStderr {
  int saved;
  StdoutToStderr() {
    std::fflush(stdout);
    saved = dup(1);
    dup2(2, 1);
  }
  ~StdoutToStderr() {
    std::fflush(stdout);
    dup2(saved, 1);
    close(saved);
  }
};

// The recording record from the preferences with the option overrides.
bool open_outputs(const OutOpts& o, Session* s) {
  cli_load_prefs();
  RECORDINFO* r = s->rec.get();
  s->saved = g_recordinfo;
  g_recordinfo = r;
  r->port_type = usb;
  r->batch_mode = 1;
  r->uart = prefs.uart;
  r->eth = prefs.eth;
  r->eth.sock = 0;
  r->usb.ena = prefs.usb_tracktofpga;
  if (o.board_emulator) {
    s->emu = std::make_unique<BOARDEMU>();
    s->emu->timeout_scale = 0.001;
    boardemu_attach(s->emu.get());
    ftport_select("emulator");
    usb_set_sleep_hook(no_sleep);
    r->usb.ena = 1;
  }
  if (!o.serial_device.empty()) {
    RS232_SetDeviceName(r->uart.portnr, o.serial_device.c_str());
    r->uart.ena = 1;
  }
  if (!o.net.empty()) {
    std::string host;
    int port;
    if (!split_hostport(o.net, &host, &port) || host.size() >= sizeof r->eth.ip_addr) {
      cli_fail("--net wants HOST:PORT (host up to 19 characters): " + o.net);
      return false;
    }
    std::snprintf(r->eth.ip_addr, sizeof r->eth.ip_addr, "%s", host.c_str());
    std::snprintf(r->eth.port_nr, sizeof r->eth.port_nr, "%d", port);
    r->eth.ena = 1;
  }
  if (!o.rotctld.empty()) {
    std::string host;
    int port;
    if (!split_hostport(o.rotctld, &host, &port) || host.size() >= sizeof prefs.rotctld_host) {
      cli_fail("--rotctld wants HOST:PORT: " + o.rotctld);
      return false;
    }
    std::snprintf(prefs.rotctld_host, sizeof prefs.rotctld_host, "%s", host.c_str());
    prefs.rotctld_port = port;
    prefs.rotctld_on = 1;
  }
  return true;
}

bool parse_pair(const std::string& s, float* a, float* b) {
  char extra;
  return std::sscanf(s.c_str(), "%f,%f%c", a, b, &extra) == 2 && std::isfinite(*a) &&
         std::isfinite(*b);
}

// ---- rotor ----

struct RotorOpts {
  std::string to, xy;
  OutOpts out;
};

void cmd_rotor(const RotorOpts& o) {
  float a, b;
  bool xy = !o.xy.empty();
  if (xy == !o.to.empty()) {
    cli_fail("give one of --to AZ,EL or --xy X,Y");
    return;
  }
  if (!parse_pair(xy ? o.xy : o.to, &a, &b)) {
    cli_fail("bad angles: " + (xy ? o.xy : o.to));
    return;
  }
  Session s;
  if (!open_outputs(o.out, &s)) return;
  RECORDINFO* r = s.rec.get();
  ROTOR rotor = prefs.rotor;
  rotor.use_xy = xy;
  if (xy) {
    rotor.to_rotor.x = a;
    rotor.to_rotor.y = b;
  } else {
    rotor.to_rotor.azim = a;
    rotor.to_rotor.elev = b;
  }
  json out;
  auto redirect = std::make_unique<StdoutToStderr>();
  out["target"] = xy ? json{{"x", a}, {"y", b}} : json{{"az", a}, {"el", b}};
  bool any = false;
  if (r->usb.ena) {
    any = true;
    json j;
    int st = usb_init_connect(&r->usb);
    if (st == 0) st = pos2godil(&r->usb, &rotor, a, b, prefs.display_mode);
    j["ok"] = st == 0;
    if (s.emu) {
      json regs = json::array();
      for (const auto& w : s.emu->log.reg_writes) regs.push_back({w.first, w.second});
      j["registers"] = regs;
    }
    out["board"] = j;
  }
  if (r->uart.ena) {
    any = true;
    json j;
    j["device"] = RS232_DeviceName(r->uart.portnr);
    char cmd[100];
    load_cmd(cmd, sizeof cmd, r->uart.command, 0, a, b);
    int open = RS232_Open_Close(1, r->uart.portnr, r->uart.speed);
    UART_ITEMS u{r->uart.portnr, r->uart.speed};
    j["ok"] = open && pos2uart(&u, cmd) == 0;
    j["bytes"] = cmd;
    out["serial"] = j;
  }
  if (r->eth.ena) {
    any = true;
    json j;
    char line[100];
    std::snprintf(line, sizeof line, "gotopos=%d,%.1f,%.1f\n", 0, double(a), double(b));
    bool ok = open_close_eth(&r->eth, 1) != 0 &&
              write_eth(r->eth.sock, line, std::strlen(line)) == long(std::strlen(line));
    j["peer"] = std::string(r->eth.ip_addr) + ":" + r->eth.port_nr;
    j["ok"] = ok;
    j["line"] = line;
    out["net"] = j;
  }
  if (prefs.rotctld_on) {
    any = true;
    json j;
    float az = xy ? rotor.to_rotor.azim : a, el = xy ? rotor.to_rotor.elev : b;
    char cmd[64];
    std::snprintf(cmd, sizeof cmd, "P %.1f %.1f\n", double(az), double(el));
    std::string reply;
    int st = rotctld_send_pos(prefs.rotctld_host, prefs.rotctld_port, az, el, &reply);
    j["peer"] = std::string(prefs.rotctld_host) + ":" + std::to_string(prefs.rotctld_port);
    j["ok"] = st == 0;
    j["command"] = cmd;
    j["reply"] = reply;
    out["rotctld"] = j;
  }
  redirect.reset();
  cli_emit(out);
  if (!any) cli_fail("no rotor output is enabled");
  for (const char* k : {"board", "serial", "net", "rotctld"})
    if (out.contains(k) && !out[k]["ok"].get<bool>()) cli_fail(std::string(k) + " output failed");
}

// ---- track --simulate ----

struct TrackOpts {
  bool simulate = false;
  std::string from;
  double hours = 24;
  double speed = 0;  // 0: as fast as possible
  std::string elements, sats;
  int nr = 10;
  std::string observer;  // LAT,LON[,ALT_M]
  int elev_det = -1;
  bool no_exec = false;
  std::string map, current, size = "720x360";
  std::string park;  // AZ,EL
  std::string update_url;
  OutOpts out;
};

double g_sim_t = 0;
time_t sim_clock() { return time_t(g_sim_t); }

struct SimState {
  int rises = 0, sets = 0, aborts = 0, passlists = 0, rotor_msgs = 0;
  float last_az = 0, last_el = 0;
  std::string last_rotor;
};
SimState g_sim;
bool g_no_exec = false;
// Lines of a cycle, printed after it: what the cycle's lower layers print on
// standard output goes to standard error meanwhile, so that standard output
// stays one JSON object a line.
std::vector<json> g_pending;

// Runs fn with standard output sent to standard error.
template <typename F>
void with_stdout_on_stderr(F fn) {
  std::fflush(stdout);
  int saved = dup(1);
  dup2(2, 1);
  fn();
  std::fflush(stdout);
  dup2(saved, 1);
  close(saved);
  for (const json& j : g_pending) cli_emit(j);
  g_pending.clear();
}

std::string sim_time() {
  time_t t = sim_clock();
  struct tm tm;
  gmtime_r(&t, &tm);
  return cli_iso_time(tm, 0);
}

void sim_event(const char* kind, const char* sat, const char* detail) {
  std::string k = kind;
  if (k == "rotor") {
    // Every cycle sends a target; only changes are printed.
    if (g_sim.last_rotor == detail) return;
    g_sim.last_rotor = detail;
    g_sim.rotor_msgs++;
  }
  g_sim.rises += k == "rise";
  g_sim.sets += k == "set";
  g_sim.aborts += k == "abort";
  g_sim.passlists += k == "passlist";
  json j;
  j["time"] = sim_time();
  j["event"] = kind;
  if (sat) j["sat"] = sat;
  if (detail && *detail) j["detail"] = detail;
  if (k == "rotor") {
    j["az"] = std::round(prefs.rotor.to_rotor.azim * 10.) / 10.;
    j["el"] = std::round(prefs.rotor.to_rotor.elev * 10.) / 10.;
  }
  g_pending.push_back(j);
}

void sim_entry(const char* name, const char* text) {
  static std::map<std::string, std::string> last;
  if (last[name] == text) return;
  last[name] = text;
  if (!*text) return;
  json j;
  j["time"] = sim_time();
  j["event"] = "message";
  j["entry"] = name;
  j["text"] = text;
  g_pending.push_back(j);
}

int sim_run(const char* cmd) { return g_no_exec ? 0 : std::system(cmd); }

bool parse_iso(const std::string& text, time_t* out) {
  int y, mo, d, h = 0, mi = 0, s = 0;
  char sep = 'T';
  int n = std::sscanf(text.c_str(), "%d-%d-%d%c%d:%d:%d", &y, &mo, &d, &sep, &h, &mi, &s);
  if ((n != 3 && n != 7) || mo < 1 || mo > 12 || d < 1 || d > 31 || h < 0 || h > 23 || mi < 0 ||
      mi > 59 || s < 0 || s > 60 || y < 1970 || y > 2100)
    return false;
  struct tm tm {};
  tm.tm_year = y - 1900;
  tm.tm_mon = mo - 1;
  tm.tm_mday = d;
  tm.tm_hour = h;
  tm.tm_min = mi;
  tm.tm_sec = s;
  *out = timegm(&tm);
  return true;
}

void cmd_map(const TrackOpts& o);

void cmd_track(const TrackOpts& o) {
  if (!o.update_url.empty()) {
    cli_load_prefs();
    std::string path = o.elements.empty() ? data_file_path(prefs.kepler_file) : o.elements;
    std::string msg;
    int n = update_elements(o.update_url.c_str(), path.c_str(), &msg);
    json out;
    out["elements"] = path;
    out["sets"] = n > 0 ? n : 0;
    out["message"] = msg;
    cli_emit(out);
    if (n <= 0) cli_fail(msg);
    return;
  }
  if (!o.map.empty()) {
    cmd_map(o);
    return;
  }
  if (!o.simulate) {
    cli_fail("give --simulate or --map");
    return;
  }
  time_t start;
  if (!parse_iso(o.from, &start)) {
    cli_fail("bad --from time: " + o.from);
    return;
  }
  if (!(o.hours > 0 && o.hours <= 24 * 14) || o.speed < 0 || o.nr < 1 || o.nr > 100) {
    cli_fail("bad --hours, --speed or --nr");
    return;
  }
  Session s;
  if (!open_outputs(o.out, &s)) return;
  if (!o.observer.empty()) {
    double lat, lon, alt = 0;
    int n = std::sscanf(o.observer.c_str(), "%lf,%lf,%lf", &lat, &lon, &alt);
    if (n < 2 || std::fabs(lat) > 90 || std::fabs(lon) > 360 || !std::isfinite(alt)) {
      cli_fail("--observer wants LAT,LON[,ALT_M]: " + o.observer);
      return;
    }
    prefs.refpos = EPOINT{};
    prefs.refpos.lat = float(lat * M_PI / 180);
    prefs.refpos.lon = float(lon * M_PI / 180);
    prefs.refpos.alt = float(alt / 1000);
  }
  if (o.elev_det >= 0) prefs.elev_det = o.elev_det;
  if (!o.park.empty()) {
    float az, el;
    if (!parse_pair(o.park, &az, &el) || az < 0 || az >= 360 || el < 0 || el > 90) {
      cli_fail("--park wants AZ,EL in degrees: " + o.park);
      return;
    }
    prefs.rotor.storm.azim = az;
    prefs.rotor.storm.elev = el;
  }
  std::string elements = o.elements.empty() ? data_file_path(prefs.kepler_file) : o.elements;
  SAT* sats = prepare_track(nullptr, elements.c_str(), o.sats.empty() ? nullptr : o.sats.c_str(),
                            prefs.sats);
  if (!sats) {
    cli_fail("no satellites from " + elements);
    return;
  }
  g_sim = SimState{};
  g_no_exec = o.no_exec;
  g_sim_t = double(start);
  orbit_set_clock(sim_clock);
  TRACKER_UI ops{};
  ops.event = sim_event;
  ops.set_entry = sim_entry;
  tracker_ui_install(&ops);
  tracker_timer_install(nullptr);
  tracker_set_run_hook(sim_run);
  tracker_reset();
  glob_g = GLOB_G{};
  glob_g.nr_inlist = o.nr;
  glob_g.elev_det = prefs.elev_det;
  glob_g.tracking = 1;
  float period = prefs.reptime > 0.05f ? prefs.reptime : 1.f;
  long period_ms = long(std::lround(1000.0 * period));
  long ticks = long(o.hours * 3600.0 / period);
  run_track(nullptr, sats);
  for (long i = 0; i < ticks && cli_status() == 0; i++) {
    g_sim_t += period;
    with_stdout_on_stderr([&] { tracker_timer_advance(period_ms); });
    if (tracker_timer_count() == 0) {
      cli_fail("tracking ended");
      break;
    }
    s.rec->abort = 0;  // the recording took it
    if (s.emu) s.emu->log = BOARDEMU_LOG{};
    if (o.speed > 0) std::this_thread::sleep_for(std::chrono::duration<double>(period / o.speed));
  }
  json sum;
  sum["event"] = "summary";
  sum["time"] = sim_time();
  sum["rises"] = g_sim.rises;
  sum["sets"] = g_sim.sets;
  sum["aborts"] = g_sim.aborts;
  sum["passlists"] = g_sim.passlists;
  sum["last_target"] = {{"az", std::round(prefs.rotor.to_rotor.azim * 10.) / 10.},
                        {"el", std::round(prefs.rotor.to_rotor.elev * 10.) / 10.}};
  cli_emit(sum);
  tracker_reset();
  tracker_ui_install(nullptr);
  tracker_set_run_hook(nullptr);
  orbit_set_clock(nullptr);
  Remove_Sats(sats);
}

// The observer and satellites of the options, over the preferences.
bool set_observer(const std::string& text) {
  if (text.empty()) return true;
  double lat, lon, alt = 0;
  int n = std::sscanf(text.c_str(), "%lf,%lf,%lf", &lat, &lon, &alt);
  if (n < 2 || std::fabs(lat) > 90 || std::fabs(lon) > 360 || !std::isfinite(alt)) {
    cli_fail("--observer wants LAT,LON[,ALT_M]: " + text);
    return false;
  }
  prefs.refpos = EPOINT{};
  prefs.refpos.lat = float(lat * M_PI / 180);
  prefs.refpos.lon = float(lon * M_PI / 180);
  prefs.refpos.alt = float(alt / 1000);
  return true;
}

void cmd_map(const TrackOpts& o) {
  cli_load_prefs();
  time_t at = std::time(nullptr);
  if (!o.from.empty() && !parse_iso(o.from, &at)) {
    cli_fail("bad --from time: " + o.from);
    return;
  }
  WMAP_OPTS m = worldmap_defaults();
  char extra;
  if (std::sscanf(o.size.c_str(), "%dx%d%c", &m.width, &m.height, &extra) != 2 || m.width < 16 ||
      m.height < 16 || m.width > 8192 || m.height > 8192) {
    cli_fail("--size wants WIDTHxHEIGHT, 16 to 8192 each: " + o.size);
    return;
  }
  if (!set_observer(o.observer)) return;
  std::string elements = o.elements.empty() ? data_file_path(prefs.kepler_file) : o.elements;
  SAT* sats = prepare_track(nullptr, elements.c_str(), o.sats.empty() ? nullptr : o.sats.c_str(),
                            prefs.sats);
  if (!sats) {
    cli_fail("no satellites from " + elements);
    return;
  }
  SAT* cur = o.current.empty() ? sats : Find_Sat(sats, o.current.c_str());
  if (!cur) {
    cli_fail("no satellite " + o.current + " in the list");
    Remove_Sats(sats);
    return;
  }
  for (SAT* s = sats; s; s = s->next) s->visible = 1;
  gmtime_r(&at, &m.time);
  m.coast = worldmap_coast("gshhs_l.b");
  if (!m.coast) m.coast = worldmap_coast(prefs.coast_file);
  m.observer = &prefs.refpos;
  m.sats = sats;
  m.current = cur;
  m.radio_horizon_deg = prefs.radio_horizon;
  m.shadow_fact = prefs.shadow_fact;
  for (int i = 0; i < WC_COUNT && i < PREFS_NCOLOURS; i++) m.clr[i] = prefs.clr[i];
  std::vector<unsigned char> rgb;
  json out;
  if (draw_worldmap(m, &rgb) != 0 || png_write_rgb(o.map.c_str(), m.width, m.height, rgb.data())) {
    cli_fail("can't write " + o.map);
  } else {
    out["map"] = o.map;
    out["time"] = cli_iso_time(m.time, 0);
    out["width"] = m.width;
    out["height"] = m.height;
    out["coast"] = m.coast != nullptr;
    auto pix = [&](double lon, double lat) {
      double x, y;
      wmap_lonlat2xy(m.width, m.height, lon, lat, &x, &y);
      return json{{"lon", std::round(lon * 1000) / 1000},
                  {"lat", std::round(lat * 1000) / 1000},
                  {"x", int(std::floor(x + 1e-6))},
                  {"y", int(std::floor(y + 1e-6))}};
    };
    out["observer"] = pix(prefs.refpos.lon * 180 / M_PI, prefs.refpos.lat * 180 / M_PI);
    EPOINT sun = calc_sun(&m.time);
    out["sun"] = pix(sun.lon * 180 / M_PI, sun.lat * 180 / M_PI);
    json list = json::array();
    for (SAT* s = sats; s; s = s->next) {
      EPOINT p{};
      if (calc_onepos(s, &m.time, 0, &p, nullptr) != 0) continue;
      json j = pix(p.lon * 180 / M_PI, p.lat * 180 / M_PI);
      j["name"] = s->satname;
      j["current"] = s == cur;
      list.push_back(j);
    }
    out["sats"] = list;
    cli_emit(out);
  }
  Remove_Sats(sats);
}

}  // namespace

void cli_add_tracking(CLI::App& app) {
  auto ro = std::make_shared<RotorOpts>();
  CLI::App* r = app.add_subcommand("rotor", "send one rotor target through the configured outputs");
  r->add_option("--to", ro->to, "azimuth,elevation in degrees");
  r->add_option("--xy", ro->xy, "X,Y mount angles in degrees");
  add_out_opts(r, &ro->out);
  r->callback([ro] { cmd_rotor(*ro); });

  auto to = std::make_shared<TrackOpts>();
  CLI::App* t = app.add_subcommand("track", "run the tracking cycle");
  t->add_flag("--simulate", to->simulate, "on a simulated clock");
  t->add_option("--from", to->from, "start time, ISO 8601 UTC (--map: the moment, default now)");
  t->add_option("--update-elements", to->update_url,
                "download the element file (--elements, default: preferences') from URL");
  t->add_option("--map", to->map, "write the world map at --from to this PNG file");
  t->add_option("--current", to->current, "--map: the highlighted satellite (default: first)");
  t->add_option("--size", to->size, "--map: WIDTHxHEIGHT pixels (default 720x360)");
  t->add_option("--hours", to->hours, "simulated hours (default 24)");
  t->add_option("--speed", to->speed, "clock runs N times faster (default: as fast as possible)");
  t->add_option("--elements", to->elements, "element file (default: the preferences')");
  t->add_option("--sats", to->sats, "satellites, patterns separated by ';'");
  t->add_option("--nr", to->nr, "passes in the list (default 10)");
  t->add_option("--observer", to->observer, "observer LAT,LON[,ALT_M] (default: preferences)");
  t->add_option("--elev-det", to->elev_det, "minimum maximum elevation of a pass, degrees");
  t->add_option("--park", to->park, "park position AZ,EL in degrees (default: preferences)");
  t->add_flag("--no-exec", to->no_exec, "report external commands without running them");
  add_out_opts(t, &to->out);
  t->callback([to] { cmd_track(*to); });
}
