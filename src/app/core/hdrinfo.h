// Rows (item, value) of the "File header" window: the decoded frame header of
// one picture line, and where the first reliable time code is.
#pragma once
#include <string>
#include <utility>
#include <vector>

#include "formats/framehdr.h"

using HDR_ROWS = std::vector<std::pair<std::string, std::string>>;

// The header of line (0-based) of the picture: line number, sync, frame
// number, spacecraft address and name, channel 3A/3B, day and milliseconds,
// the time, telemetry, target temperatures and the patch temperature. A line
// without a header gives the single row ("Line", "<n>: no header").
HDR_ROWS framehdr_rows(const PICINFO* pic, const VIEWINFO* view, int line);
