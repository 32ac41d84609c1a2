// Enumerations shared by every subsystem. The numeric values are fixed: code
// tests ranges of them (file types 9 to 23 are raw satellite recordings).
#pragma once

enum SAT_TYPE {
  sat_unk = 0,
  HRPT = 1,
  QNOAA20 = 2,
  QNOAA21 = 3,
  CHRPT = 4,
  M1HRPT = 5,
  M2HRPT = 6,
  SEASTAR = 7,
  HRI = 8,
  LRIT = 9,
  FY3 = 10,
  FY3AB = 11,
  FY3C = 12,
  FY3D = 13,
  METOP = 14,
  AQUA = 15,
  IQTEST = 16
};

enum FILE_TYPE {
  error_filetype = 0,
  unknown_filetype = 1,
  FT_SUN = 2,
  FT_TIFF = 3,
  FT_PPM = 4,
  FT_PGM = 5,
  FT_PGM1 = 6,
  FT_GIF = 7,
  FT_JPEG = 8,
  FT_HRPT = 9,
  FT_QNOAA20 = 10,
  FT_QNOAA21 = 11,
  FT_CHRPT = 12,
  FT_SEAWIF = 13,
  FT_HRI = 14,
  FT_HPT = 15,
  FT_CHPT = 16,
  FT_MHRPT1 = 17,
  FT_MHRPT1N = 18,
  FT_MHRPT2 = 19,
  FT_MHRPT2N = 20,
  FT_METOP = 21,
  FT_FY3 = 22,
  FT_AQUA = 23,
  FT_LRIT = 24,
  FT_IQTEST = 25,
  FT_PNG = 26  // saving only: PNG pictures
};

enum SCANDIR { scan_unk = 0, N_S = 1, S_N = 2, W_E = 3, E_W = 4 };

// Names of the enumeration values as written in code ("FT_HRPT", "HRPT", "N_S");
// "?" for a value outside the enumeration.
const char* file_type_name(int ft);
const char* sat_type_name(int st);
const char* scandir_name(int sd);
