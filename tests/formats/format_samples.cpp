#include "format_samples.h"

#include <cstdio>
#include <cstring>

#include "common/timeutil.h"
#include "formats/framehdr.h"
#include "formats/hptfile.h"
#include "formats/hrptfile.h"
#include "formats/meteor.h"

namespace fmtsamples {

struct tm sample_start() {
  struct tm t {};
  t.tm_year = 124, t.tm_mon = 2, t.tm_mday = 5, t.tm_hour = 10, t.tm_min = 20, t.tm_sec = 30;
  pava::mktime_utc(&t);
  return t;
}

long line_msec(int i) {
  const struct tm t = sample_start();
  return (t.tm_hour * 3600L + t.tm_min * 60L + t.tm_sec) * 1000L + i * 1000L / 6;
}

std::vector<uint16_t> hrpt_frame(int header_len, int leader_len, int nch, int width, uint16_t word6,
                                 int day, long msec, Rng& rng) {
  std::vector<uint16_t> w(size_t(header_len + nch * width + leader_len));
  for (auto& v : w) v = rng.next10();
  if (header_len >= 12) {
    for (int i = 0; i < 6; i++) w[size_t(i)] = HRPT_SYNC[i];
    w[6] = word6;
    w[8] = uint16_t(day << 1);
    w[9] = uint16_t((msec >> 20) & 0x7F);
    w[10] = uint16_t((msec >> 10) & 0x3FF);
    w[11] = uint16_t(msec & 0x3FF);
  }
  return w;
}

namespace {

struct File {
  FILE* fp;
  explicit File(const std::string& p) : fp(std::fopen(p.c_str(), "wb")) {}
  ~File() {
    if (fp) std::fclose(fp);
  }
};

PICINFO* new_pic(int file_type, int width, int nch) {
  PICINFO* pic = pic_new();
  pic->file_type = FILE_TYPE(file_type);
  pic->width = width;
  for (int i = 0; i <= nch; i++) pic->channels_recorded[i] = 1;
  pic->picture_time = sample_start();
  pic->scan_ver = N_S;
  return pic;
}

}  // namespace

std::vector<std::vector<uint16_t>> write_hrpt_file(const std::string& path, int file_type,
                                                   int width, int nlines, uint32_t seed) {
  struct Kind {
    int type, nch, header, leader;
    const char* name;
    uint16_t word6;
  };
  // ID words: NOAA 19 (address 15), FENGYUN 1D (CHRPT 208 = 13 << 6 >> 2), SeaStar.
  static const Kind kinds[] = {{FT_HRPT, 5, 750, 100, "NOAA 19", uint16_t(0x200 | (15 << 3) | 1)},
                               {FT_CHRPT, 10, 1600, 100, "FENGYUN 1D", uint16_t(13 << 6)},
                               {FT_SEAWIF, 8, 685, 100, "Seastar", 0}};
  const Kind* k = &kinds[0];
  for (const Kind& kk : kinds)
    if (kk.type == file_type) k = &kk;
  File f(path);
  PICINFO* pic = new_pic(file_type, width, k->nch);
  pic->fp = f.fp;
  std::snprintf(pic->sat_name, sizeof pic->sat_name, "%s", k->name);
  pic->height = nlines;
  pic->ox = 100;
  pic->kepler.inclination = 1.7f;
  pic->kepler.motion = 14.12f;
  pic->orbit.offset_lon = 0.5f;
  write_hrpt1_hdr(pic);
  Rng rng(seed);
  std::vector<std::vector<uint16_t>> lines;
  const struct tm t0 = sample_start();
  for (int i = 0; i < nlines; i++) {
    lines.push_back(hrpt_frame(k->header, k->leader, k->nch, width, k->word6, t0.tm_yday + 1,
                               line_msec(i), rng));
    write_hrpt1_line(pic, lines.back().data(), i % 3 ? 0x10 : 0);
  }
  pic->fp = nullptr;
  pic_delete(pic);
  return lines;
}

std::vector<std::vector<uint16_t>> write_hpt_file(const std::string& path, int file_type,
                                                  int nlines, uint32_t seed) {
  bool chpt = file_type == FT_CHPT;
  int nch = chpt ? 10 : 5;
  File f(path);
  PICINFO* pic = new_pic(file_type, 2048, nch);
  pic->fp = f.fp;
  pic->fri = calc_hrptframeinfo(file_type, pic->channels_recorded, 2048);
  // The skipped start of the file (925 or 2000 bytes) is never read.
  std::vector<uint8_t> skip(chpt ? 2000 : 925, 0);
  std::fwrite(skip.data(), 1, skip.size(), f.fp);
  Rng rng(seed);
  std::vector<std::vector<uint16_t>> lines;
  const struct tm t0 = sample_start();
  for (int i = 0; i < nlines; i++) {
    lines.push_back(hrpt_frame(chpt ? 1600 : 750, 100, nch, 2048, uint16_t((15 << 3) | 0x200),
                               t0.tm_yday + 1, line_msec(i), rng));
    write_hpt_line(pic, lines.back().data());
  }
  pic->fp = nullptr;
  pic_delete(pic);
  return lines;
}

std::vector<std::vector<uint16_t>> write_mhrpt1_file(const std::string& path, int nlines,
                                                     bool with_header, int garbage_frames,
                                                     uint32_t seed) {
  File f(path);
  PICINFO* pic = new_pic(FT_MHRPT1, 1540, 6);
  pic->fp = f.fp;
  std::snprintf(pic->sat_name, sizeof pic->sat_name, "%s", "METEOR-M2");
  pic->height = nlines;
  if (with_header) write_hrpt1_hdr(pic);
  std::vector<uint8_t> zeros(size_t(garbage_frames) * MHRPT1_FRAME, 0);
  if (!zeros.empty()) std::fwrite(zeros.data(), 1, zeros.size(), f.fp);
  long first = std::ftell(f.fp);
  Rng rng(seed);
  std::vector<std::vector<uint16_t>> lines;
  for (int i = 0; i < nlines; i++) {
    std::vector<uint16_t> w(6 * 1540);
    for (auto& v : w) v = rng.next10();
    lines.push_back(w);
    write_mhrpt1_line(pic, w.data());
  }
  // Line times (Moscow time) into bytes 30-32 of each line's first frame.
  for (int i = 0; i < nlines; i++) {
    long s = line_msec(i) / 1000 + 3 * 3600;
    uint8_t hms[3] = {uint8_t(s / 3600), uint8_t(s / 60 % 60), uint8_t(s % 60)};
    std::fseek(f.fp, first + long(i) * MHRPT_LINEBYTES + 30, SEEK_SET);
    std::fwrite(hms, 1, 3, f.fp);
  }
  pic->fp = nullptr;
  pic_delete(pic);
  return lines;
}

std::vector<std::vector<uint16_t>> write_mhrpt2_file(const std::string& path, int nlines, int pos_a,
                                                     int pos_b, uint32_t seed) {
  File f(path);
  PICINFO* pic = new_pic(FT_MHRPT2, 1570, 6);
  pic->fp = f.fp;
  std::snprintf(pic->sat_name, sizeof pic->sat_name, "%s", "METEOR-M2 2");
  write_hrpt1_hdr(pic);
  pic->fp = nullptr;
  pic_delete(pic);
  Rng rng(seed);
  std::vector<std::vector<uint16_t>> lines;
  const int nwords = 6 * 1570;
  for (int i = 0; i < nlines; i++) {
    std::vector<uint16_t> w(static_cast<size_t>(nwords));
    for (auto& v : w) v = rng.next10();
    lines.push_back(w);
    // The line's MSU-MR bytes: groups of four pixels of one channel.
    std::vector<uint8_t> data;
    for (int w0 = 0; w0 < nwords; w0 += 24)
      for (int c = 0; c < 6; c++) {
        uint16_t q[4];
        for (int j = 0; j < 4; j++) {
          int idx = w0 + j * 6 + c;
          q[j] = idx < nwords ? w[size_t(idx)] : 0;
        }
        uint8_t b[5];
        hpt_pack(q, b);
        data.insert(data.end(), b, b + 5);
      }
    int pos = i % 2 ? pos_b : pos_a;
    std::vector<uint8_t> frames(13 * size_t(MHRPT2_FRAME), 0);
    for (int fr = 0; fr < 13; fr++) {
      uint8_t* p = &frames[size_t(fr) * MHRPT2_FRAME];
      p[0] = 0x1A, p[1] = 0xCF, p[2] = 0xFC, p[3] = 0x1D;
    }
    std::memcpy(&frames[size_t(pos)], MSU_SYNC, 8);
    long s = line_msec(i) / 1000 + 3 * 3600;
    frames[size_t(pos) + 8] = uint8_t(s / 3600);
    frames[size_t(pos) + 9] = uint8_t(s / 60 % 60);
    frames[size_t(pos) + 10] = uint8_t(s % 60);
    size_t k = 0;
    // Piece 0 from 50 bytes after the sync to the end of zone 0, then 51 zones.
    for (int b = pos + 50; b < MSU_ZONE_START[0] + MSU_ZONE_LEN[0] && k < data.size(); b++)
      frames[size_t(b)] = data[k++];
    for (int piece = 1; piece < 52; piece++) {
      int fr = piece / 4, z = piece % 4;
      for (int b = 0; b < MSU_ZONE_LEN[z] && k < data.size(); b++)
        frames[size_t(fr) * MHRPT2_FRAME + size_t(MSU_ZONE_START[z] + b)] = data[k++];
    }
    std::fwrite(frames.data(), 1, frames.size(), f.fp);
  }
  return lines;
}

std::vector<std::vector<uint16_t>> write_raw16_file(const std::string& path, bool little_endian,
                                                    int nlines, uint32_t seed) {
  File f(path);
  Rng rng(seed);
  std::vector<std::vector<uint16_t>> lines;
  const struct tm t0 = sample_start();
  for (int i = 0; i < nlines; i++) {
    // NOAA 18 (address 13), minor frames 1, 2, 3.
    uint16_t w6 = uint16_t(0x200 | (((i % 3) + 1) << 7) | (13 << 3));
    lines.push_back(hrpt_frame(750, 100, 5, 2048, w6, t0.tm_yday + 1, line_msec(i), rng));
    write_raw16_line(f.fp, little_endian ? CONT_RAW16LE : CONT_RAW16BE, lines.back().data());
  }
  return lines;
}

std::vector<std::string> sample_names() {
  return {"noaa19_sample.hrpt",   "fy1d_sample.chrpt",        "seastar_sample.seaw",
          "meteor_sample.mhrpt1", "meteor_sample.mhrpt2",     "noaa19_sample.hpt",
          "fy1d_sample.C10",      "noaa18_2024-03-05.raw16le"};
}

void write_all_samples(const std::string& dir) {
  write_hrpt_file(dir + "/noaa19_sample.hrpt", FT_HRPT, 512, 12, 1);
  write_hrpt_file(dir + "/fy1d_sample.chrpt", FT_CHRPT, 256, 8, 2);
  write_hrpt_file(dir + "/seastar_sample.seaw", FT_SEAWIF, 128, 8, 3);
  write_mhrpt1_file(dir + "/meteor_sample.mhrpt1", 7, true, 0, 4);
  write_mhrpt2_file(dir + "/meteor_sample.mhrpt2", 10, 40, 120, 5);
  write_hpt_file(dir + "/noaa19_sample.hpt", FT_HPT, 3, 6);
  write_hpt_file(dir + "/fy1d_sample.C10", FT_CHPT, 2, 7);
  write_raw16_file(dir + "/noaa18_2024-03-05.raw16le", true, 3, 8);
}

}  // namespace fmtsamples
