#include "app/cli/cli.h"

void cli_add_orbit(CLI::App&) {}
