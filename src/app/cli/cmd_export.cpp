#include "app/cli/cli.h"

void cli_add_export(CLI::App&) {}
