// A synthetic HRPT pass for the benchmarks, written with the project's own
// writer: header words with the time code of 6 lines a second and five
// channels of 2048 pseudo-random samples.
#pragma once
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "formats/framehdr.h"
#include "formats/hrptfile.h"

inline void bench_write_hrpt_pass(const std::string& path, int lines, const char* sat_name = "") {
  PICINFO* pic = pic_new();
  pic->file_type = FT_HRPT;
  pic->width = 2048;
  pic->height = lines;
  std::snprintf(pic->sat_name, sizeof pic->sat_name, "%s", sat_name);
  for (int i = 0; i <= 5; i++) pic->channels_recorded[i] = 1;
  pic->picture_time.tm_year = 124;
  pic->fp = std::fopen(path.c_str(), "wb");
  write_hrpt1_hdr(pic);
  std::vector<uint16_t> w(11090);
  uint32_t s = 12345;
  for (int i = 0; i < lines; i++) {
    for (auto& v : w) {
      s = s * 1103515245u + 12345u;
      v = uint16_t((s >> 16) & 0x3FF);
    }
    for (int k = 0; k < 6; k++) w[size_t(k)] = HRPT_SYNC[k];
    w[6] = (15 << 3) | 0x200;
    w[8] = 65 << 1;
    long ms = 36000000L + i * 1000L / 6;
    w[9] = uint16_t((ms >> 20) & 0x7F), w[10] = uint16_t((ms >> 10) & 0x3FF),
    w[11] = uint16_t(ms & 0x3FF);
    write_hrpt1_line(pic, w.data(), 0x10);
  }
  std::fclose(pic->fp);
  pic->fp = nullptr;
  pic_delete(pic);
}
