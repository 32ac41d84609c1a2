// Recognising picture files, opening them into the picture record, and naming
// and opening new recording files.
#pragma once
#include <cstddef>
#include <ctime>
#include <string>
#include <vector>

#include "display/display_types.h"
#include "formats/picinfo.h"

struct RECORDINFO;

// Kind of the file at path, by its first bytes and its name; unknown_filetype
// when it can't be opened or nothing matches. Headerless HRPT frames in 16-bit
// words (raw16) are FT_HPT: open_file tells them from HPT files again.
FILE_TYPE detect_file(const char* path);

// Opens pic->file_name into pic (file_type 0: detect it) and loads its lines.
// window: the main window, or null from the command line (then no user
// interface is touched). Returns 0, or 111 ('o') can't open, 116 ('t') unknown
// type, 114 ('r') read problem, 112 ('p') no picture, 100 ('d') depth not
// supported, or the reader's own code. On failure the picture is closed.
int open_file(PICINFO* pic, VIEWINFO* view, void* window, int file_type);

// Closes the picture's file and frees its lines.
void close_picfile(PICINFO* pic);

// The messages of a failed open_file: the message boxes of the file selector
// (in order; code 100 gives two) and the line on standard error of the
// command line. depth: the picture's depth, for code 100.
std::vector<std::string> open_error_boxes(int code, const char* name, int depth);
std::string open_error_cmdline(int code, const char* name);

// The part of path after the last "/", else "\", else ":", else path.
const char* strip_filename(const char* path);
// Replaces every "//" by "/" in place.
void fix_path(char* path);
// Tries dir/name in dir1, dir2, dir3 (null: skipped); true with the path of the
// first that exists in found (found_size bytes, at most 200 used).
bool search_file(const char* name, char* found, size_t found_size, const char* dir1,
                 const char* dir2, const char* dir3);

// A new, not yet existing file name dir + base + time + ext (".hpt": time
// first) in name; the time is now shifted by the preference utc_offset.
// Returns the try number (1: first name free, k + 1: suffix "_%02d" k), or 0
// after 1000 tries.
int create_new_filename(char* name, size_t name_size, const char* dir, const char* base,
                        const char* ext, int dashed_date);
int create_new_filename_at(char* name, size_t name_size, const char* dir, const char* base,
                           const char* ext, int dashed_date, time_t now);

// Creates dir and its parents; 0 on success.
int make_dir_hier(const char* dir);

// Builds the recording directory, creates it, names the file (rec->file_name)
// and opens it for writing into rec->fp. Returns the try number, or 0.
int open_new_recfile(const char* base, const char* ext, RECORDINFO* rec);
// Closes rec->fp.
void close_recfile(RECORDINFO* rec);
