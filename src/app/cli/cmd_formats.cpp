#include "app/cli/cli.h"

void cli_add_formats(CLI::App&) {}
