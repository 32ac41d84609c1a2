#include <unistd.h>

#include <cstdio>
#include <ctime>

#include "app/cli/cli.h"
#include "app/core/options.h"
#include "config/prefs_file.h"

namespace {

using AddFn = void (*)(CLI::App&);

// Subcommand groups, one row per subsystem.
const AddFn kCommands[] = {cli_add_prefs, cli_add_formats,   cli_add_ccsds,
                           cli_add_orbit, cli_add_display,   cli_add_export,
                           cli_add_synth, cli_add_reception, cli_add_tracking};

int g_status = 0;
bool g_prefs_loaded = false;

}  // namespace

void cli_emit(const json& j) {
  std::string s = j.dump(-1, ' ', false, json::error_handler_t::replace);
  std::fwrite(s.data(), 1, s.size(), stdout);
  std::fputc('\n', stdout);
}

void cli_fail(const std::string& msg, int status) {
  std::fprintf(stderr, "pava-cli: %s\n", msg.c_str());
  g_status = status;
}

int& cli_status() { return g_status; }

void cli_load_prefs() {
  if (g_prefs_loaded) return;
  g_prefs_loaded = true;
  // The program directory is that of the executable itself.
  char self[4096];
  ssize_t n = readlink("/proc/self/exe", self, sizeof self - 1);
  if (n > 0) {
    self[n] = 0;
    Read_Prefs(self);
  } else {
    Read_Prefs("pava-cli");
  }
}

std::string cli_iso_time(const struct tm& tm, int ms) {
  char buf[64];
  std::snprintf(buf, sizeof buf, "%04d-%02d-%02dT%02d:%02d:%02d.%03dZ", tm.tm_year + 1900,
                tm.tm_mon + 1, tm.tm_mday, tm.tm_hour, tm.tm_min, tm.tm_sec, ms);
  return buf;
}

int main(int argc, char** argv) {
  CLI::App app{"pava-cli: headless tools of the Pava weather-satellite station", "pava-cli"};
  app.require_subcommand(1);
  bool version = false;
  app.add_flag("--version", version, "print the version as JSON and exit");
  app.preparse_callback([&](size_t) {});
  for (AddFn add : kCommands) add(app);
  // --version works without a subcommand.
  for (int i = 1; i < argc; i++) {
    if (std::string(argv[i]) == "--version") {
      cli_emit(json{{"program", "pava-cli"}, {"version", PAVA_RELEASE}});
      return 0;
    }
  }
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& e) {
    return app.exit(e);
  }
  std::fflush(stdout);
  return g_status;
}
