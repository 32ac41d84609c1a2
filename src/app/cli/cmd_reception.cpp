#include "app/cli/cli.h"

void cli_add_reception(CLI::App&) {}
