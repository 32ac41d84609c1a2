// pava-cli synth: a synthetic pass written as a recording of the chosen type.
#include <chrono>
#include <cstdio>
#include <memory>
#include <string>

#include "app/cli/cli.h"
#include "common/timeutil.h"
#include "sim/sim.h"

namespace {

struct SynthArgs {
  std::string sat, tle, start, format = "hrpt", out, coast;
  double seconds = 0, clouds = 0.3, bit_errors = 0, sync_loss = 0;
  unsigned seed = 1;
  int threads = 0;
};

// "YYYY-MM-DDTHH:MM:SS[.fff][Z]" into GMT and milliseconds.
bool parse_start(const std::string& text, struct tm* out, int* ms) {
  int y, mo, d, h, mi;
  double s;
  char sep;
  if (std::sscanf(text.c_str(), "%d-%d-%d%c%d:%d:%lf", &y, &mo, &d, &sep, &h, &mi, &s) != 7)
    return false;
  if ((sep != 'T' && sep != ' ') || mo < 1 || mo > 12 || d < 1 || d > 31 || h < 0 || h > 23 ||
      mi < 0 || mi > 59 || !(s >= 0 && s < 60) || y < 1970 || y > 2100)
    return false;
  struct tm t {};
  t.tm_year = y - 1900;
  t.tm_mon = mo - 1;
  t.tm_mday = d;
  t.tm_hour = h;
  t.tm_min = mi;
  t.tm_sec = int(s);
  *ms = int((s - t.tm_sec) * 1000.0 + 0.5);
  if (*ms >= 1000) t.tm_sec++, *ms -= 1000;
  pava::mktime_utc(&t);
  *out = t;
  return true;
}

void run_synth(const SynthArgs& a) {
  SIM_REQUEST req;
  req.sat = a.sat;
  req.tle_path = a.tle;
  req.coast_path = a.coast;
  req.seconds = a.seconds;
  req.seed = a.seed;
  req.clouds = a.clouds;
  req.bit_errors = a.bit_errors;
  req.sync_loss = a.sync_loss;
  req.threads = a.threads;
  req.format = sim_format_from_name(a.format.c_str());
  if (req.format < 0) return cli_fail("unknown format '" + a.format + "'");
  if (!parse_start(a.start, &req.start, &req.start_ms))
    return cli_fail("start time '" + a.start + "' is not YYYY-MM-DDTHH:MM:SS[Z]");
  auto t0 = std::chrono::steady_clock::now();
  auto pass = std::make_unique<SIM_PASS>();
  std::string err;
  if (sim_prepare(req, pass.get(), &err) != 0) return cli_fail(err);
  auto t1 = std::chrono::steady_clock::now();
  if (sim_write(*pass, a.out.c_str(), &err) != 0) return cli_fail(err);
  auto t2 = std::chrono::steady_clock::now();
  json j;
  j["file"] = a.out;
  j["format"] = sim_format_name(req.format);
  j["satellite"] = req.sat;
  j["lines"] = pass->lines;
  j["start"] = cli_iso_time(req.start, req.start_ms);
  j["seconds"] = req.seconds;
  j["seed"] = req.seed;
  j["prepare_s"] = std::chrono::duration<double>(t1 - t0).count();
  j["write_s"] = std::chrono::duration<double>(t2 - t1).count();
  cli_emit(j);
}

}  // namespace

void cli_add_synth(CLI::App& app) {
  auto a = std::make_shared<SynthArgs>();
  CLI::App* s = app.add_subcommand("synth", "Write a synthetic pass as a recording");
  s->add_option("--sat", a->sat, "Satellite name in the element file")->required();
  s->add_option("--tle", a->tle, "Element file")->required();
  s->add_option("--start", a->start, "Start of the pass, UTC (YYYY-MM-DDTHH:MM:SSZ)")->required();
  s->add_option("--seconds", a->seconds, "Length of the pass")->required();
  s->add_option("--format", a->format, "hrpt|chrpt|hpt|mhrpt1|mhrpt2|metop|fy3|noaa20");
  s->add_option("-o", a->out, "Output file")->required();
  s->add_option("--seed", a->seed, "Seed of the clouds and the errors");
  s->add_option("--clouds", a->clouds, "Cloud cover 0..1");
  s->add_option("--bit-errors", a->bit_errors, "Bit error rate");
  s->add_option("--sync-loss", a->sync_loss, "Seconds without lock in the middle of the pass");
  s->add_option("--coast", a->coast, "GSHHS file of the land mask (default gshhs_i.b)");
  s->add_option("--threads", a->threads, "Worker threads (0: all cores)");
  s->callback([a] { run_synth(*a); });
}
