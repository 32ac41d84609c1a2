// Saving a picture: a free file name, the destination's geometry and header,
// the line loop that composes the view (channel map, luminance, zoom,
// linearisation, grid and coast burnt in) or copies raw samples, and the
// per-type header, line and finish steps.
#pragma once
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "display/display_types.h"
#include "export/imgcodec.h"
#include "formats/picinfo.h"

// Bitshift value meaning "the default of prepare_save".
constexpr int SAVE_BITSHIFT_DEFAULT = 100;

// The Save window's controls as a record.
struct SAVEOPTS {
  FILE_TYPE type = FT_PPM;  // destination file type (FT_PNG included)
  int channels[26] = {};    // "Channel select": channels 1..25 to save
  int multi_channel = 0;    // image destinations: one file per selected channel
  int use_satname = 0;
  int bitshift = SAVE_BITSHIFT_DEFAULT;
  int grid = 0, coast = 0;           // burn the 5-degree grid / coastlines in
  float zoom = 1.0f;                 // picture pixels per saved pixel (>= 1)
  int quality = 0;                   // JPEG quality; 0: the picture's jpg_quality (default 90)
  std::string dir;                   // "^Save to"; empty: the picture's work location
  std::string new_name;              // "New name": used as given when set
  const char* coast_file = nullptr;  // null: the preference Coast_File_name
};

// Destinations that hold raw samples (no screen mapping).
bool save_is_raw(int file_type);
// Extension of a destination type ("ppm", "pgm", "gif", "jpg", "png", "ras",
// "hrpt", "chrpt", "seaw", "mhrpt", "hpt", "C10"); null for other types.
const char* save_extension(int file_type);
// Channel text of a selection: the channel numbers joined by "-" ("4", "1-2").
std::string save_chan_text(const int channels[26]);

// With "Use satname": when the stored name begins with the preference prefix
// of its family (file_hrptbase / "NOAA", file_mhrptbase / "METEOR",
// file_metopbase / "METOP", file_fy3base / "FY3"), the prefix is cut from the
// last component and the satellite name put in front; blanks become '-'.
// Otherwise the last component unchanged. Into out (out_size bytes).
void convert_satname(const PICINFO* src, char* out, size_t out_size);

// A free name for a saved picture: dir (src->work_location when null; '/'
// added), the source's base name (or convert_satname's), without its
// extension, "_c" + chan_text when there is one, "_%02d" from the second try,
// "." + ext. Tries at most 1001 names. Returns 1 with the name in out, or 0.
int create_new_filename2(char* out, size_t out_size, const PICINFO* src, const char* chan_text,
                         const char* ext, int use_satname, const char* dir = nullptr);

// Default "^Bitshift": raw destinations 2 unless the source is a raw
// recording (0); image destinations from raw sources 0, -1 when lum_max is
// 256..511, -2 from 512 on; PGM sources 0.
int default_bitshift(const PICINFO* src, int dst_type, const VIEWINFO* view);

// Geometry and header fields of the destination dst (a fresh record) from the
// source, the view and the options; sview becomes the view used for saving
// (zoom, selection, scan directions). Returns 0, or -1 for a type that can't
// be written.
int prepare_save(const PICINFO* src, PICINFO* dst, const VIEWINFO* view, VIEWINFO* sview,
                 const SAVEOPTS* opts);

// Palette index of a colour in the 3-3-2 palette of indexed files (GIF, SUN)
// of a false-colour view.
int save_index332(int r, int g, int b);

// Writer state of one destination file.
struct SAVESTATE {
  dec_param gif{};
  JPEGENC_ptr jpeg;
  PNGENC* png = nullptr;
  PNG_KIND png_kind = PNG_RGB8;
  std::vector<uint16_t> words;  // raw destinations: one frame
  ~SAVESTATE();
};

// Per-type steps on dst->fp. Lines: up to three colour arrays of dst->width
// values (images) or one frame of words (raw: words_per_frame of dst->fri,
// MHRPT1: width * 6). Return 0, or -1 on a write or library error.
int write_header(PICINFO* dst, SAVESTATE* st);
int write_line(PICINFO* dst, SAVESTATE* st, const uint16_t* r, const uint16_t* g,
               const uint16_t* b);
int write_finish(PICINFO* dst, SAVESTATE* st);

// Results of Save_it and save_picture.
enum SAVE_STATUS {
  SAVE_OK = 0,
  SAVE_CANCELLED = 1,    // a valid, shorter file was kept
  SAVE_NO_CHANNELS = 2,  // "No channels selected."
  SAVE_CANT_OPEN = 3,    // "Can't open file %s."
  SAVE_WRITE_ERR = 4,    // short write (disk full), nothing kept
  SAVE_NO_NAME = 5,      // no free name in 1001 tries
  SAVE_DECLINED = 6,     // the overwrite question was answered no
  SAVE_BAD_TYPE = 7,
  SAVE_NO_PICTURE = 8
};

// The line loop: writes dst (prepared) to fname through a temporary file
// that is renamed when the file is complete, or when the user cancelled
// (then "Cancelled; %d of %d lines saved in %s." under "Info"). Progress
// "Saving..." through ui().progress. *lines_done gets the lines written.
int Save_it(PICINFO* src, PICINFO* dst, VIEWINFO* sview, const SAVEOPTS* opts, const char* fname,
            int* lines_done = nullptr);

// The whole "Save" action: checks the selection, names the file(s) (asking
// "File %s exist. Overwrite?" for an existing typed name), prepares and
// saves; the "Status" field of "Save" shows "Saved.". The names written are
// appended to *written. Errors are reported through ui().message.
int save_picture(PICINFO* src, const VIEWINFO* view, const SAVEOPTS* opts,
                 std::vector<std::string>* written = nullptr);

// The user's text of a save status ("" for SAVE_OK).
std::string save_status_text(int status, const char* fname);
