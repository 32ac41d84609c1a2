#include "app/cli/cli.h"

void cli_add_prefs(CLI::App&) {}
