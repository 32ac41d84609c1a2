// Result codes of opening a picture file (one byte each, so that messages can
// print them as a character too). 0 is success.
#pragma once

constexpr int OPEN_DEPTH = 'd';         // 100: depth not supported
constexpr int OPEN_CANT_OPEN = 'o';     // 111: the file can't be opened
constexpr int OPEN_NO_PICTURE = 'p';    // 112: no picture found in the file
constexpr int OPEN_READ_PROBLEM = 'r';  // 114: header missing, short or absurd
constexpr int OPEN_UNKNOWN_TYPE = 't';  // 116: no reader for the file type
