// Where the program's data files (coastlines, elements) are found.
#pragma once
#include <string>

// The path of data file name: the installation's data directory first, then
// name as given, then beside the running program (a relocated installation,
// or the data folder of the source tree of an uninstalled build). Absolute
// names are used as given. Returns the first path that exists, else name.
std::string data_file_path(const char* name);
