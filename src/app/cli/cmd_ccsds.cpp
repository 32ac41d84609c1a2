#include "app/cli/cli.h"

void cli_add_ccsds(CLI::App&) {}
