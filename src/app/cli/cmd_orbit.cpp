// pava-cli orbit commands: elements, positions, look angles, passes, sun and
// moon. Times are ISO 8601 UTC ("2020-10-27T06:00:00Z", fraction of seconds
// allowed); angles in degrees on the command line and in the output.
#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

#include "app/cli/cli.h"
#include "common/timeutil.h"
#include "config/prefs.h"
#include "orbit/passes.h"
#include "orbit/satdb.h"
#include "orbit/satpos.h"
#include "orbit/sgp4.h"
#include "orbit/sunmoon.h"

namespace {

constexpr double kRad2Deg = 180.0 / M_PI;

// A moment: GMT broken-down time plus milliseconds.
struct Moment {
  struct tm tm;
  int ms;
};

// Parses "YYYY-MM-DDTHH:MM:SS[.fff][Z]" (a blank may replace the T).
bool parse_time(const std::string& text, Moment* out) {
  int y, mo, d, h = 0, mi = 0;
  double s = 0.0;
  char sep = 'T';
  const int n = std::sscanf(text.c_str(), "%d-%d-%d%c%d:%d:%lf", &y, &mo, &d, &sep, &h, &mi, &s);
  if (n != 3 && n != 7) return false;
  if (n == 7 && sep != 'T' && sep != ' ') return false;
  if (mo < 1 || mo > 12 || d < 1 || d > 31 || h < 0 || h > 23 || mi < 0 || mi > 59 || s < 0.0 ||
      s >= 61.0 || y < 1901 || y > 2100)
    return false;
  struct tm t {};
  t.tm_year = y - 1900;
  t.tm_mon = mo - 1;
  t.tm_mday = d;
  t.tm_hour = h;
  t.tm_min = mi;
  t.tm_sec = static_cast<int>(s);
  int ms = static_cast<int>(std::lround((s - t.tm_sec) * 1000.0));
  if (ms >= 1000) {
    t.tm_sec++;
    ms -= 1000;
  }
  pava::mktime_utc(&t);
  out->tm = t;
  out->ms = ms;
  return true;
}

// "LAT,LON,ALT_M" (degrees, metres) into an observer point (radians, km).
bool parse_observer(const std::string& text, EPOINT* obs) {
  double lat, lon, alt = 0.0;
  const int n = std::sscanf(text.c_str(), "%lf,%lf,%lf", &lat, &lon, &alt);
  if (n < 2 || !(lat >= -90.0 && lat <= 90.0) || !(lon >= -360.0 && lon <= 360.0) ||
      !std::isfinite(alt))
    return false;
  *obs = EPOINT{};
  obs->lat = static_cast<float>(lat / kRad2Deg);
  obs->lon = static_cast<float>(lon / kRad2Deg);
  obs->alt = static_cast<float>(alt / 1000.0);
  return true;
}

// The satellites of an element file matching selection; null with a message
// when the file cannot be read.
struct SatList {
  SAT* head = nullptr;
  ~SatList() {
    while (head) head = Remove_Sat(head);
  }
};

bool load_sats(const std::string& path, const std::string& selection, SatList* out) {
  FILE* fp = std::fopen(path.c_str(), "r");
  if (!fp) {
    cli_fail("NORAD-file '" + path + "' not found");
    return false;
  }
  out->head = read_msat(fp, selection.c_str(), nullptr);
  std::fclose(fp);
  return true;
}

// The one satellite named exactly name.
SAT* load_one(const std::string& path, const std::string& name, SatList* list) {
  if (!load_sats(path, name, list)) return nullptr;
  SAT* s = Find_Sat(list->head, name.c_str());
  if (!s) cli_fail("satellite '" + name + "' not in " + path);
  return s;
}

std::string iso(const struct tm& t, int ms = 0) { return cli_iso_time(t, ms); }

// The fixed "now" that the pass search reads through mom_tmms.
time_t g_now = 0;
time_t fixed_clock() { return g_now; }

json kepler_json(const SAT* s) {
  const KEPLER& k = s->kepler;
  json j;
  j["name"] = s->satname;
  j["norad"] = k.tle.norad_number;
  j["epoch"] = iso(s->orbit.ref_tm);
  j["epoch_year"] = k.epoch_year;
  j["epoch_day"] = k.epoch_day;
  j["epoch_jd"] = k.tle.epoch;
  j["decay_rate"] = k.decay_rate;
  j["decay_rate2"] = k.decay_rate2;
  j["bstar"] = k.tle.bstar;
  j["inclination"] = k.inclination;
  j["d_inclination"] = k.d_inclination;
  j["raan"] = k.raan;
  j["d_raan"] = k.d_raan;
  j["eccentricity"] = k.tle.eo;
  j["perigee"] = k.perigee;
  j["d_perigee"] = k.d_perigee;
  j["anomaly"] = k.anomaly;
  j["d_anomaly"] = k.d_anomaly;
  j["motion"] = k.motion;
  j["epoch_rev"] = k.epoch_rev;
  j["ephemeris_type"] = std::string(1, k.ephemeris_type ? k.ephemeris_type : ' ');
  j["period_s"] = s->orbit.loop_time;
  j["height_m"] = s->orbit.height;
  j["hfreq"] = s->hfreq;
  j["lfreq"] = s->lfreq;
  j["modtype"] = s->modtype ? std::string(1, s->modtype) : std::string();
  j["model_ok"] = k.sgp4_ready != 0;
  return j;
}

bool parse_times(const std::vector<std::string>& texts, std::vector<Moment>* out) {
  for (const std::string& s : texts) {
    Moment m;
    if (!parse_time(s, &m)) {
      cli_fail("bad time '" + s + "' (expected YYYY-MM-DDTHH:MM:SS[.fff]Z)");
      return false;
    }
    out->push_back(m);
  }
  return true;
}

struct PassOpts {
  std::string tle, sat, observer, from;
  int count = 0;
  double hours = 0.0;
  double min_elev = 0.0, horizon = 0.0;
};

json pass_json(const TRACK* t) {
  json j;
  j["sat"] = t->sat ? t->sat->satname : "";
  j["rise"] = iso(t->up_time);
  j["culmination"] = iso(t->maxelev_time);
  j["max_elevation"] = t->max_elev * kRad2Deg;
  j["set"] = iso(t->down_time);
  j["going_south"] = t->going_south != 0;
  j["east"] = t->pass_e1_w0 != 0;
  return j;
}

void run_passes(const PassOpts& o) {
  EPOINT obs;
  if (!parse_observer(o.observer, &obs)) return cli_fail("bad observer '" + o.observer + "'");
  Moment from;
  if (!parse_time(o.from, &from)) return cli_fail("bad time '" + o.from + "'");
  if ((o.count > 0) == (o.hours > 0.0)) return cli_fail("give one of --count N or --hours H");
  if (o.count > 1000 || o.hours > 24.0 * 31) return cli_fail("too many passes asked for");
  SatList list;
  if (!load_sats(o.tle, o.sat, &list)) return;
  if (!list.head) return cli_fail("no satellite matches '" + o.sat + "'");
  prefs.refpos = obs;
  prefs.elev_horiz = static_cast<float>(o.horizon / kRad2Deg);
  prefs.tm_off = TM_OFFSET{};
  struct tm f = from.tm;
  g_now = pava::mktime_utc(&f);
  orbit_set_clock(fixed_clock);

  if (o.count > 0 && o.min_elev == std::floor(o.min_elev)) {
    // The next passes of all satellites, merged, as the tracker builds them.
    TRACK* merged = first_passes(list.head, o.count, 0, static_cast<int>(o.min_elev));
    for (TRACK* t = merged; t; t = t->next) cli_emit(pass_json(t));
    Remove_Tracks(merged);
  } else {
    // Every pass of every satellite rising before the end (or the first
    // count), in time order.
    const float det = static_cast<float>(o.min_elev / kRad2Deg);
    const time_t end = o.hours > 0.0 ? g_now + static_cast<time_t>(o.hours * 3600.0) : 0;
    std::vector<TRACK> all;
    for (SAT* s = list.head; s; s = s->next) {
      struct tm t = from.tm;
      for (int i = 0; i < 2000; i++) {
        TRACK tr{};
        struct tm stop;
        if (!predict(s, &t, &stop, &tr, &obs, nullptr, prefs.elev_horiz, det, false)) break;
        struct tm up = tr.up_time;
        if (end && pava::mktime_utc(&up) >= end) break;
        tr.sat = s;
        all.push_back(tr);
        if (o.count > 0 && i + 1 >= o.count) break;
        t = stop;
        t.tm_min += 1;
      }
    }
    std::stable_sort(all.begin(), all.end(), [](const TRACK& a, const TRACK& b) {
      struct tm x = a.up_time, y = b.up_time;
      return pava::mktime_utc(&x) < pava::mktime_utc(&y);
    });
    if (o.count > 0 && static_cast<int>(all.size()) > o.count) all.resize(o.count);
    for (const TRACK& t : all) cli_emit(pass_json(&t));
  }
  orbit_set_clock(nullptr);
}

}  // namespace

void cli_add_orbit(CLI::App& app) {
  // tle FILE [--select PATTERNS]
  {
    auto* c = app.add_subcommand("tle", "print the parsed elements of the selected satellites");
    auto file = std::make_shared<std::string>();
    auto select = std::make_shared<std::string>("*");
    c->add_option("file", *file, "element file")->required();
    c->add_option("--select", *select, "name patterns separated by ';' (* and ? wildcards)");
    c->callback([file, select]() {
      SatList list;
      if (!load_sats(*file, *select, &list)) return;
      for (SAT* s = list.head; s; s = s->next) cli_emit(kepler_json(s));
    });
  }
  // position --tle FILE --sat NAME --at TIME...
  {
    auto* c = app.add_subcommand("position", "inertial position and sub-satellite point");
    auto file = std::make_shared<std::string>();
    auto name = std::make_shared<std::string>();
    auto at = std::make_shared<std::vector<std::string>>();
    c->add_option("--tle", *file, "element file")->required();
    c->add_option("--sat", *name, "satellite name")->required();
    c->add_option("--at", *at, "moment(s), ISO 8601 UTC")->required();
    c->callback([file, name, at]() {
      std::vector<Moment> times;
      if (!parse_times(*at, &times)) return;
      SatList list;
      SAT* s = load_one(*file, *name, &list);
      if (!s) return;
      for (const Moment& m : times) {
        const double jd = orbit_julian_date(&m.tm, m.ms);
        double pos[3], vel[3];
        const int rc = orbit_teme_posvel(&s->kepler, jd, pos, vel);
        if (rc != SGP4_OK) {
          cli_fail("model error " + std::to_string(rc) + " for " + *name + " at " +
                   iso(m.tm, m.ms));
          continue;
        }
        EPOINT sub{};
        orbit_subsat_point(pos[0], pos[1], pos[2], jd, &sub);
        json j;
        j["sat"] = s->satname;
        j["time"] = iso(m.tm, m.ms);
        j["x"] = pos[0];
        j["y"] = pos[1];
        j["z"] = pos[2];
        j["vx"] = vel[0];
        j["vy"] = vel[1];
        j["vz"] = vel[2];
        j["lon"] = sub.lon * kRad2Deg;
        j["lat"] = sub.lat * kRad2Deg;
        j["height_km"] =
            std::sqrt(pos[0] * pos[0] + pos[1] * pos[1] + pos[2] * pos[2]) - SGP4_XKMPER;
        cli_emit(j);
      }
    });
  }
  // look --tle FILE --sat NAME --observer LAT,LON,ALT_M --at TIME...
  {
    auto* c = app.add_subcommand("look", "look angles from an observer");
    auto file = std::make_shared<std::string>();
    auto name = std::make_shared<std::string>();
    auto observer = std::make_shared<std::string>();
    auto at = std::make_shared<std::vector<std::string>>();
    c->add_option("--tle", *file, "element file")->required();
    c->add_option("--sat", *name, "satellite name")->required();
    c->add_option("--observer", *observer, "LAT,LON,ALT_M (degrees, metres)")->required();
    c->add_option("--at", *at, "moment(s), ISO 8601 UTC")->required();
    c->callback([file, name, observer, at]() {
      EPOINT obs;
      if (!parse_observer(*observer, &obs)) return cli_fail("bad observer '" + *observer + "'");
      std::vector<Moment> times;
      if (!parse_times(*at, &times)) return;
      SatList list;
      SAT* s = load_one(*file, *name, &list);
      if (!s) return;
      if (!s->kepler.sgp4_ready) return cli_fail("no usable elements for " + *name);
      for (const Moment& m : times) {
        const tm_s t{m.tm, m.ms};
        EPOINT sub{};
        DIRECTION dir{};
        calc_satrelpos(&sub, &dir, &obs, s, &t, nullptr);
        json j;
        j["sat"] = s->satname;
        j["time"] = iso(m.tm, m.ms);
        j["azimuth"] = dir.azim * kRad2Deg;
        j["elevation"] = dir.elev * kRad2Deg;
        j["range_km"] = dir.dist;
        j["range_rate_kms"] = dir.velo;
        j["x"] = dir.x * kRad2Deg;
        j["y"] = dir.y * kRad2Deg;
        cli_emit(j);
      }
    });
  }
  // passes --tle FILE --sat PATTERNS --observer ... --from TIME (--count N | --hours H)
  {
    auto* c = app.add_subcommand("passes", "predicted passes over an observer, in time order");
    auto o = std::make_shared<PassOpts>();
    c->add_option("--tle", o->tle, "element file")->required();
    c->add_option("--sat", o->sat, "name patterns separated by ';'")->required();
    c->add_option("--observer", o->observer, "LAT,LON,ALT_M (degrees, metres)")->required();
    c->add_option("--from", o->from, "start, ISO 8601 UTC")->required();
    c->add_option("--count", o->count, "number of passes");
    c->add_option("--hours", o->hours, "passes rising within this many hours");
    c->add_option("--min-elev", o->min_elev, "lowest accepted maximum elevation, degrees");
    c->add_option("--horizon", o->horizon, "horizon elevation, degrees");
    c->callback([o]() { run_passes(*o); });
  }
  // sun --at TIME
  {
    auto* c = app.add_subcommand("sun", "sub-solar point");
    auto at = std::make_shared<std::vector<std::string>>();
    c->add_option("--at", *at, "moment(s), ISO 8601 UTC")->required();
    c->callback([at]() {
      std::vector<Moment> times;
      if (!parse_times(*at, &times)) return;
      for (const Moment& m : times) {
        const EPOINT p = calc_sun(&m.tm);
        json j;
        j["time"] = iso(m.tm);
        j["lon"] = p.lon * kRad2Deg;
        j["lat"] = p.lat * kRad2Deg;
        cli_emit(j);
      }
    });
  }
  // moon --at TIME [--observer LAT,LON,ALT_M]
  {
    auto* c = app.add_subcommand("moon", "topocentric right ascension, declination, illumination");
    auto at = std::make_shared<std::vector<std::string>>();
    auto observer = std::make_shared<std::string>();
    c->add_option("--at", *at, "moment(s), ISO 8601 UTC")->required();
    c->add_option("--observer", *observer, "LAT,LON,ALT_M (degrees, metres)");
    c->callback([at, observer]() {
      EPOINT obs{};
      if (!observer->empty() && !parse_observer(*observer, &obs))
        return cli_fail("bad observer '" + *observer + "'");
      std::vector<Moment> times;
      if (!parse_times(*at, &times)) return;
      for (const Moment& m : times) {
        int ill = 0;
        const EPOINT p = calc_moon(&m.tm, &ill, observer->empty() ? nullptr : &obs);
        json j;
        j["time"] = iso(m.tm);
        j["ra"] = rangerad(p.lon) * kRad2Deg;
        j["dec"] = p.lat * kRad2Deg;
        j["illumination"] = ill;
        cli_emit(j);
      }
    });
  }
}
