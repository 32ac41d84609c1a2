#include "formats/enums.h"

namespace {
const char* const kFileTypes[] = {
    "error_filetype", "unknown_filetype", "FT_SUN",     "FT_TIFF",  "FT_PPM",     "FT_PGM",
    "FT_PGM1",        "FT_GIF",           "FT_JPEG",    "FT_HRPT",  "FT_QNOAA20", "FT_QNOAA21",
    "FT_CHRPT",       "FT_SEAWIF",        "FT_HRI",     "FT_HPT",   "FT_CHPT",    "FT_MHRPT1",
    "FT_MHRPT1N",     "FT_MHRPT2",        "FT_MHRPT2N", "FT_METOP", "FT_FY3",     "FT_AQUA",
    "FT_LRIT",        "FT_IQTEST",        "FT_PNG"};
const char* const kSatTypes[] = {"sat_unk", "HRPT",    "QNOAA20", "QNOAA21", "CHRPT", "M1HRPT",
                                 "M2HRPT",  "SEASTAR", "HRI",     "LRIT",    "FY3",   "FY3AB",
                                 "FY3C",    "FY3D",    "METOP",   "AQUA",    "IQTEST"};
const char* const kScanDirs[] = {"scan_unk", "N_S", "S_N", "W_E", "E_W"};

template <int N>
const char* lookup(const char* const (&names)[N], int v) {
  return v >= 0 && v < N ? names[v] : "?";
}
}  // namespace

const char* file_type_name(int ft) { return lookup(kFileTypes, ft); }
const char* sat_type_name(int st) { return lookup(kSatTypes, st); }
const char* scandir_name(int sd) { return lookup(kScanDirs, sd); }
