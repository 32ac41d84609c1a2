// Fresh two-line elements: the element file is downloaded with an external
// tool (curl, else wget) beside the old one and replaces it only when it holds
// element sets; until then the old file stays in use.
#pragma once
#include <string>

// Downloads url into path + ".new" and renames it over path when it parsed.
// Returns the number of element sets (> 0), or -1 when neither curl nor wget
// can be run, -2 when the download failed, -3 when the download holds no
// element set, -4 when the file can't be replaced (the old file is kept in
// every failure). msg (may be null) receives a line for the user.
int update_elements(const char* url, const char* path, std::string* msg);

// Age in days of the newest and the oldest element set of the file at path
// against now (seconds since 1970). Returns the number of sets (0: none).
int elements_age(const char* path, double now, double* newest_days, double* oldest_days);
