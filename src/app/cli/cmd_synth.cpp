#include "app/cli/cli.h"

void cli_add_synth(CLI::App&) {}
