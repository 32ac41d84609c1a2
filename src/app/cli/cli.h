// pava-cli: headless subcommands. Convention: one JSON object per result on
// standard output (one line each), messages on standard error, a non-zero exit
// status on failure.
#pragma once
#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>
#include <string>

using json = nlohmann::ordered_json;

// Prints one result object as one line on standard output.
void cli_emit(const json& j);
// Prints "pava-cli: msg" on standard error and sets the exit status (default 1).
void cli_fail(const std::string& msg, int status = 1);
// Exit status of the run (0 until a command fails).
int& cli_status();

// Each subsystem registers its subcommands with one function.
void cli_add_prefs(CLI::App& app);
void cli_add_formats(CLI::App& app);
void cli_add_ccsds(CLI::App& app);
void cli_add_orbit(CLI::App& app);
void cli_add_display(CLI::App& app);
void cli_add_export(CLI::App& app);
void cli_add_synth(CLI::App& app);
void cli_add_reception(CLI::App& app);
void cli_add_tracking(CLI::App& app);

// Reads the preferences as pava does (search order and parsing), once.
void cli_load_prefs();
// ISO 8601 UTC text with milliseconds of a broken-down UTC time.
std::string cli_iso_time(const struct tm& tm, int ms);
