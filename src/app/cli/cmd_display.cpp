#include "app/cli/cli.h"

void cli_add_display(CLI::App&) {}
