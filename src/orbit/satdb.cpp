#include "orbit/satdb.h"

#include <sys/stat.h>

#include <cmath>
#include <cstdlib>
#include <cstring>

#include "common/text.h"
#include "common/timeutil.h"
#include "orbit/passes.h"
#include "orbit/satpos.h"

namespace {

constexpr float kPi = 3.14159265f;  // degrees to radians in the element records
constexpr double kPiD = 3.141592653589793;

[[noreturn]] void out_of_memory() {
  std::fputs("FATAL ERROR: Out of memory! \n", stderr);
  std::exit(-1);
}

// Copies columns from..to (0-based, inclusive) of a line buffer as strncpy
// would (stopping at a terminator) and terminates the copy. The buffers are
// TLE_LINEBUF bytes, so every column range used here lies inside them; a short
// line yields whatever its buffer holds there.
void cut(const char* line, int from, int to, char* out) {
  std::strncpy(out, line + from, to - from + 1);
  out[to - from + 1] = '\0';
}

double field(const char* line, int from, int to) {
  char tmp[TLE_LINEBUF];
  cut(line, from, to, tmp);
  return std::atof(tmp);
}

// Implied-decimal number of the element lines, " 11606-4" = 0.11606e-4:
//
//   [0] sign or blank  [1..5] mantissa digits  [6] exponent sign  [7] exponent
//
// A blank at [1] means 0; [7] = '0' leaves the mantissa as it is.
float implied_decimal(const char* text) {
  if (text[1] == ' ') return 0.0f;
  const int mant = std::atoi(text);
  if (mant == 0) return 0.0f;
  float v = 1.0e-5f * mant;
  if (text[7] == '0') return v;
  const int e = text[7] - '0';
  for (int i = 0; i < e; i++) v = text[6] == '-' ? v * 0.1f : v * 10.0f;
  return v;
}

// The same in double precision, for the model's elements.
double implied_decimal_d(const char* text) {
  if (text[1] == ' ') return 0.0;
  const int mant = std::atoi(text);
  if (mant == 0) return 0.0;
  const int e = text[7] >= '0' && text[7] <= '9' ? text[7] - '0' : 0;
  return mant * 1.0e-5 * std::pow(10.0, text[6] == '-' ? -e : e);
}

// Fills kepler->tle from the text of lines 1 and 2 in double precision (the
// float fields of KEPLER lose up to a few seconds on the epoch).
void tle_from_text(const char* l1, const char* l2, KEPLER* k) {
  tle_t* t = &k->tle;
  const int y = k->epoch_year;
  t->epoch = 2415019.5 + ((y - 1) / 4 + 365.0 * y) + k->epoch_day;
  const double rad = kPiD / 180.0;
  t->xincl = field(l2, 8, 15) * rad;
  t->xnodeo = field(l2, 17, 24) * rad;
  char ecc[TLE_LINEBUF] = "0.";
  cut(l2, 26, 32, ecc + 2);
  t->eo = std::atof(ecc);
  t->omegao = field(l2, 34, 41) * rad;
  t->xmo = field(l2, 43, 50) * rad;
  t->xno = 2.0 * kPiD * field(l2, 52, 62) / 1440.0;
  t->xndt2o = 2.0 * kPiD * field(l1, 33, 42) / (1440.0 * 1440.0);
  char tmp[TLE_LINEBUF];
  cut(l1, 44, 51, tmp);
  t->xndd6o = 2.0 * kPiD * implied_decimal_d(tmp) / (1440.0 * 1440.0 * 1440.0);
  cut(l1, 53, 60, tmp);
  t->bstar = implied_decimal_d(tmp);
  t->norad_number = static_cast<int>(field(l1, 2, 6));
  t->classification = l1[7];
  cut(l1, 9, 16, t->intl_desig);
  t->bulletin_number = static_cast<int>(field(l1, 64, 67));
  t->revolution_number = static_cast<int>(field(l2, 63, 67));
  t->ephemeris_type = l1[62];
}

// Picture defaults by name. meteor_width differs between a satellite read
// from a file (1570) and one copied out of a read file by name (1540).
void set_sat_defaults(SAT* sat, int meteor_width) {
  struct DefaultRow {
    const char* part;  // substring of the name
    float angle;       // max_sens_angle, radians
    int width;         // width_original; 0: the METEOR width; -1: unchanged
    bool freq;         // frequencies from the name
  };
  // The first row whose text is in the name decides. "SEASTAR??" is a plain
  // substring, question marks included.
  static const DefaultRow rows[] = {
      {"NOAA", 0.9669124f, 2048, true},      {"METOP", 0.9669124f, 2048, true},
      {"METEOR", 0.9669124f, 0, true},       {"FENG", 0.9669124f, 2048, true},
      {"SEASTAR??", 1.017527f, 2048, false},
  };
  const DefaultRow other = {"", 0.0f, -1, false};
  const DefaultRow* row = &other;
  for (const DefaultRow& r : rows) {
    if (std::strstr(sat->satname, r.part)) {
      row = &r;
      break;
    }
  }
  sat->orbit.max_sens_angle = row->angle;
  if (row->width == 0) sat->orbit.width_original = meteor_width;
  if (row->width > 0) sat->orbit.width_original = row->width;
  if (row->freq && sat->hfreq == 0.0f) get_satfreq(sat);
}

// Full wildcard match ('*' any run, '?' any one character) in linear time:
// on a mismatch go back to the last '*' and let it swallow one more character.
bool glob_match(const char* s, const char* p) {
  const char* star = nullptr;
  const char* resume = nullptr;
  while (*s) {
    if (*p == '*') {
      star = p++;
      resume = s;
    } else if (*p == '?' || (*p && *p == *s)) {
      s++;
      p++;
    } else if (star) {
      p = star + 1;
      s = ++resume;
    } else {
      return false;
    }
  }
  while (*p == '*') p++;
  return *p == '\0';
}

OrbitClockFn g_clock = nullptr;

time_t clock_now() { return g_clock ? g_clock() : std::time(nullptr); }

}  // namespace

int read_norad_next_keps(FILE* fp, char* name_out, KEPLER* kepler_out) {
  if (!fp || !kepler_out) return 0;
  // Three rotating line buffers: the line before the previous (the name), the
  // previous (line 1) and the current one (line 2).
  char buf[3][TLE_LINEBUF] = {};
  int older = 0, prev = 1, cur = 2;
  bool found = false;
  while (std::fgets(buf[cur], 100, fp)) {
    if (std::strlen(buf[cur]) >= 99) continue;  // too long for an element line
    if (buf[prev][0] == '1' && buf[cur][0] == '2') {
      found = true;
      break;
    }
    const int oldest = older;
    older = prev;
    prev = cur;
    cur = oldest;
  }
  if (!found) return 0;
  const char* l1 = buf[prev];
  const char* l2 = buf[cur];

  // Name: cut at the first '(' and stripped of trailing blanks and line ends.
  char name[TLE_LINEBUF];
  pava::copy_text(name, buf[older]);
  if (char* paren = std::strchr(name, '(')) *paren = '\0';
  for (size_t n = std::strlen(name); n > 1; n--) {
    const char c = name[n - 1];
    if (c != ' ' && c != '\n' && c != '\r' && c != '\t') break;
    name[n - 1] = '\0';
  }
  if (name_out) pava::copy_text(name_out, TLE_LINEBUF, name);

  /* Element lines, 0-based columns:
   *   line 1: 18-19 epoch year, 20-31 epoch day, 33-42 first derivative of the
   *           mean motion, 44-51 second derivative, 53-60 B* (implied
   *           decimal), 62 ephemeris type
   *   line 2: 8-15 inclination, 17-24 RAAN, 26-32 eccentricity (implied
   *           "0."), 34-41 argument of perigee, 43-50 mean anomaly, 52-62 mean
   *           motion (rev/day), 63-67 revolution number */
  KEPLER k{};
  pava::copy_text(k.name, name);
  k.epoch_year = static_cast<int>(field(l1, 18, 19));
  if (k.epoch_year < 70) k.epoch_year += 100;
  k.epoch_day = field(l1, 20, 31);
  k.decay_rate = static_cast<float>(field(l1, 33, 42));
  k.decay_rate2 = static_cast<float>(field(l1, 44, 51));
  char tmp[TLE_LINEBUF];
  cut(l1, 53, 60, tmp);
  k.bstar = implied_decimal(tmp);
  k.ephemeris_type = l1[62];
  k.d_inclination = static_cast<float>(field(l2, 8, 15));
  k.inclination = k.d_inclination * kPi / 180.0f;
  k.d_raan = static_cast<float>(field(l2, 17, 24));
  k.raan = k.d_raan * kPi / 180.0f;
  char ecc[TLE_LINEBUF] = "0.";
  cut(l2, 26, 32, ecc + 2);
  k.eccentricity = static_cast<float>(std::atof(ecc));
  k.d_perigee = static_cast<float>(field(l2, 34, 41));
  k.perigee = k.d_perigee * kPi / 180.0f;
  k.d_anomaly = static_cast<float>(field(l2, 43, 50));
  k.anomaly = k.d_anomaly * kPi / 180.0f;
  k.motion = static_cast<float>(field(l2, 52, 62));
  k.epoch_rev = static_cast<long>(field(l2, 63, 67));
  tle_from_text(l1, l2, &k);
  *kepler_out = k;
  return 1;
}

int strcmpwild(const char* text, const char* pattern) {
  const char* s = text;
  const char* p = pattern;
  while (*s && *p) {
    if (*p == '*') {
      if (p[1] == '\0') return 0;  // a final '*' matches everything
      // The rest of the pattern against some rest of the text; when none
      // matches the text runs out and the pattern is left over.
      return glob_match(s, p) ? 0 : 3;
    }
    if (*p != '?' && *p != *s) return 1;
    s++;
    p++;
  }
  if (*s) return 2;
  while (*p == '*') p++;
  return *p ? 3 : 0;
}

SAT* read_msat(FILE* fp, const char* selection, SAT* list) {
  if (!fp) return nullptr;
  std::rewind(fp);
  char sel[91];
  pava::copy_text(sel, selection ? selection : "");
  char name[TLE_LINEBUF];
  KEPLER k;
  while (read_norad_next_keps(fp, name, &k)) {
    char pieces[91];
    std::memcpy(pieces, sel, sizeof pieces);
    char* save = nullptr;
    for (char* piece = strtok_r(pieces, ";", &save); piece; piece = strtok_r(nullptr, ";", &save)) {
      if (strcmpwild(name, piece) != 0) continue;
      SAT* sat = Create_Sat(&list);
      sat->kepler = k;
      calc_orbitconst_v2(&sat->kepler, &sat->orbit);
      pava::copy_text(sat->satname, name);
      set_sat_defaults(sat, 1570);
    }
  }
  return list;
}

FNORAD* add_noradfile(FNORAD** files, const char* path) {
  struct stat st;
  if (!path || stat(path, &st) != 0 || !S_ISREG(st.st_mode)) return nullptr;
  FILE* fp = std::fopen(path, "r");
  if (!fp) return nullptr;
  SAT* sats = read_msat(fp, "*", nullptr);
  std::fclose(fp);
  FNORAD* f = Create_Norad(files);
  f->sat = sats;
  f->fn = strdup(path);
  if (!f->fn) out_of_memory();
  for (SAT* s = sats; s; s = s->next) s->db = f;
  return f;
}

SAT* Get_Sat(FNORAD* files, const char* name) {
  if (!name) return nullptr;
  for (FNORAD* f = files; f; f = f->next)
    for (SAT* s = f->sat; s; s = s->next)
      if (std::strcmp(s->satname, name) == 0) return s;
  return nullptr;
}

SAT* add_sat_to_selected(FNORAD* files, const char* name, SAT* list) {
  const SAT* src = Get_Sat(files, name);
  if (!src) return list;
  SAT* sat = Create_Sat(&list);
  SAT* prev = sat->prev;
  *sat = *src;
  sat->prev = prev;
  sat->next = nullptr;
  sat->track = nullptr;
  sat->fp_pos = nullptr;
  set_sat_defaults(sat, 1540);
  return list;
}

SAT* Find_Sat(SAT* list, const char* name) {
  if (!name) return nullptr;
  for (SAT* s = list; s; s = s->next)
    if (std::strcmp(s->satname, name) == 0) return s;
  return nullptr;
}

SAT* prepare_track(SAT* list, const char* path, const char* selection, const SATSEL* table) {
  while (list) list = Remove_Sat(list);
  FILE* fp = path ? std::fopen(path, "r") : nullptr;
  if (!fp) return nullptr;
  if (selection && *selection) {
    list = read_msat(fp, selection, list);
  } else if (table) {
    for (int i = 0; i < PREFS_NSATS; i++)
      if (table[i].on) list = read_msat(fp, table[i].name, list);
  }
  std::fclose(fp);
  return list;
}

void get_satfreq(SAT* sat) {
  struct FreqRow {
    const char* noaa_number;  // with "NOAA" in the name: this number; null: plain name test
    const char* name;
    float hfreq, lfreq;
    char modtype;
  };
  // Later rows override earlier ones.
  static const FreqRow rows[] = {
      {"15", nullptr, 1702.5f, 137.62f, 'P'},   {"16", nullptr, 0.0f, 0.0f, 'P'},
      {"17", nullptr, 0.0f, 0.0f, 'P'},         {"18", nullptr, 1707.0f, 137.9125f, 'P'},
      {"19", nullptr, 1698.0f, 137.1f, 'P'},    {"20", nullptr, 7812.0f, 0.0f, 'Q'},
      {nullptr, "METEOR", 1700.0f, 0.0f, 'P'},  {nullptr, "METOP-A", 1701.3f, 0.0f, 'Q'},
      {nullptr, "METOP-B", 1701.3f, 0.0f, 'Q'}, {nullptr, "METOP-C", 1701.3f, 0.0f, 'Q'},
      {nullptr, "YUN 3A", 1704.5f, 0.0f, 'Q'},  {nullptr, "YUN 3B", 1704.5f, 0.0f, 'Q'},
      {nullptr, "YUN 3C", 1701.3f, 0.0f, 'Q'},
  };
  const char* n = sat->satname;
  const bool noaa = std::strstr(n, "NOAA") != nullptr;
  for (const FreqRow& r : rows) {
    const bool hit = r.noaa_number ? (noaa && std::strstr(n, r.noaa_number) != nullptr)
                                   : std::strstr(n, r.name) != nullptr;
    if (!hit) continue;
    sat->hfreq = r.hfreq;
    sat->lfreq = r.lfreq;
    sat->modtype = r.modtype;
  }
}

void kepler_d2r(KEPLER* k) {
  k->inclination = k->inclination * kPi / 180.0f;
  k->raan = k->raan * kPi / 180.0f;
  k->perigee = k->perigee * kPi / 180.0f;
  k->anomaly = k->anomaly * kPi / 180.0f;
}

void orbit_set_clock(OrbitClockFn clock) { g_clock = clock; }

void mom_tm(struct tm* tm_out, float hours_ahead, const TM_OFFSET* offset) {
  struct tm t = pava::gmtime_utc(clock_now());
  if (offset) {
    const int h = static_cast<int>(offset->tz_offset);
    t.tm_hour += h;
    t.tm_min += static_cast<int>((offset->tz_offset - h) * 60.0f);
    pava::mktime_utc(&t);
    t.tm_sec += static_cast<int>(3600.0f * hours_ahead + static_cast<int>(offset->sec_offset));
    pava::mktime_utc(&t);
  }
  *tm_out = t;
}

void mom_tmms(tm_s* tms_out, float hours_ahead, const TM_OFFSET* offset) {
  // The previous result's second and milliseconds: a timer faster than one
  // second sees the same second several times and counts milliseconds up.
  static time_t last_secs = -1;
  static int last_ms = 0;
  mom_tm(&tms_out->tm, hours_ahead, offset);
  if (!offset) {
    tms_out->ms = 0;
    return;
  }
  struct tm t = tms_out->tm;
  const time_t secs = pava::mktime_utc(&t);
  if (secs != last_secs) {
    last_ms =
        static_cast<int>(1000.0f * (offset->sec_offset - static_cast<int>(offset->sec_offset)));
  } else {
    last_ms += 100 * (static_cast<int>(offset->reptime * 10.0f) % 10);
  }
  last_secs = secs;
  tms_out->ms = last_ms;
}

SAT* Create_Sat(SAT** list) {
  SAT* s = static_cast<SAT*>(std::calloc(1, sizeof(SAT)));
  if (!s) out_of_memory();
  if (!*list) {
    *list = s;
    return s;
  }
  SAT* tail = *list;
  while (tail->next) tail = tail->next;
  tail->next = s;
  s->prev = tail;
  return s;
}

SAT* Remove_Sat(SAT* sat) {
  if (!sat) return nullptr;
  SAT* head = sat;
  while (head->prev) head = head->prev;
  if (head == sat) head = sat->next;
  if (sat->prev) sat->prev->next = sat->next;
  if (sat->next) sat->next->prev = sat->prev;
  Remove_Tracks(sat->track);
  if (sat->fp_pos) std::fclose(sat->fp_pos);
  std::free(sat);
  return head;
}

SAT* Remove_Sats(SAT* sat) {
  if (!sat) return nullptr;
  SAT* head = sat->prev;
  if (head) head->next = nullptr;
  while (sat) {
    SAT* next = sat->next;
    sat->prev = nullptr;
    Remove_Tracks(sat->track);
    if (sat->fp_pos) std::fclose(sat->fp_pos);
    std::free(sat);
    sat = next;
  }
  while (head && head->prev) head = head->prev;
  return head;
}

FNORAD* Create_Norad(FNORAD** list) {
  FNORAD* f = static_cast<FNORAD*>(std::calloc(1, sizeof(FNORAD)));
  if (!f) out_of_memory();
  if (!*list) {
    *list = f;
    return f;
  }
  FNORAD* tail = *list;
  while (tail->next) tail = tail->next;
  tail->next = f;
  f->prev = tail;
  return f;
}

FNORAD* Remove_Norad(FNORAD* files) {
  if (!files) return nullptr;
  FNORAD* head = files->prev;
  if (head) head->next = nullptr;
  while (files) {
    FNORAD* next = files->next;
    Remove_Sats(files->sat);
    std::free(files->fn);
    std::free(files);
    files = next;
  }
  while (head && head->prev) head = head->prev;
  return head;
}

void pri_sats(const SAT* list) {
  std::printf("----------------------start sats----------------------\n");
  for (const SAT* s = list; s; s = s->next) std::printf("  %s\n", s->satname);
  std::printf("----------------------end sats----------------------\n");
}

void FNORAD_pri(const FNORAD* files) {
  for (const FNORAD* f = files; f; f = f->next) {
    std::printf("File %s\n", f->fn ? f->fn : "");
    for (const SAT* s = f->sat; s; s = s->next) std::printf("  %s\n", s->satname);
  }
}
