// pava-cli prefs: the effective preferences as one JSON object.
//
//   pava-cli prefs               search order of pava (current, home, program dir)
//   pava-cli prefs --file F      the defaults with file F read over them
//   pava-cli prefs --write F     write them to F as pava writes "pava.ini";
//                                prints {"written": F}
//
// Every key maps to its value text exactly as the file holds it (no padding).
// "Satellite" maps to an object {name: "y"|"n"} in file order, "ClrMap" (only
// when a map is stored) to an array of the value texts.
#include <unistd.h>

#include <cstring>
#include <string>

#include "app/cli/cli.h"
#include "config/prefs_file.h"
#include "config/prefs_items.h"

namespace {

json prefs_json() {
  json out = json::object();
  json sats = json::object();
  char value[1100];
  for (const PREFITEMS* it = pref_items; it; it = it->next) {
    if (it->type == 't') continue;
    if (!std::strcmp(it->name, "Satellite") && it->sval[1]) {
      sats[it->sval[0]] = std::strcmp(it->sval[1], "TRUE") ? "n" : "y";
      continue;
    }
    Format_Pref(it, value, sizeof value);
    out[it->name] = value;
  }
  out["Satellite"] = sats;
  std::vector<std::string> maps = clrmap_values(&prefs);
  if (!maps.empty()) out["ClrMap"] = maps;
  return out;
}

struct PrefsArgs {
  std::string file;
  std::string write;
};

void run_prefs(const PrefsArgs& a) {
  if (a.file.empty()) {
    cli_load_prefs();
  } else {
    if (access(a.file.c_str(), R_OK) != 0) {
      cli_fail("can't read " + a.file);
      return;
    }
    std::memset(prefs.prefs_file, 0, sizeof prefs.prefs_file);
    if (a.file.size() >= sizeof prefs.prefs_file) {
      cli_fail("file name too long: " + a.file);
      return;
    }
    std::strcpy(prefs.prefs_file, a.file.c_str());
    Read_Pref(&prefs);
  }
  if (!a.write.empty()) {
    if (Save_Pref(&prefs, a.write.c_str()) != 0) {
      cli_fail("can't write " + a.write);
      return;
    }
    cli_emit(json{{"written", a.write}});
    return;
  }
  cli_emit(prefs_json());
}

}  // namespace

void cli_add_prefs(CLI::App& app) {
  auto args = std::make_shared<PrefsArgs>();
  CLI::App* cmd = app.add_subcommand("prefs", "print the effective preferences as one JSON object");
  cmd->add_option("--file", args->file, "read this preferences file instead of the search");
  cmd->add_option("--write", args->write, "write the preferences to this file");
  cmd->callback([args]() { run_prefs(*args); });
}
