#include "app/cli/cli.h"

void cli_add_tracking(CLI::App&) {}
