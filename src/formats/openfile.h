// Recognising picture files and opening them into the picture record.
#pragma once
#include "display/display_types.h"
#include "formats/picinfo.h"

// Kind of the file at path, by its first bytes and its name; unknown_filetype
// when it can't be opened or nothing matches.
FILE_TYPE detect_file(const char* path);

// Opens pic->file_name into pic (file_type 0: detect it). window: the main
// window, or null from the command line (then no user interface is touched).
// Returns 0, or 111 ('o') can't open, 116 ('t') unknown type, 114 ('r') read
// problem, 112 ('p') no picture, 100 ('d') depth not supported, or the reader's
// own code.
int open_file(PICINFO* pic, VIEWINFO* view, void* window, int file_type);

// Closes the picture's file and frees its lines.
void close_picfile(PICINFO* pic);
