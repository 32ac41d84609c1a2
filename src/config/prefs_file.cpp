// Reading and writing "pava.ini".
//
// A line of the file:
//
//   key<blanks>=<blanks>value<blanks>[#comment]
//
// at most 999 characters (the rest of a longer line is dropped), cut at a
// carriage return and at "#"; a line without "=" is ignored. The key is the
// first token split at blank, tab, newline and "=". Numbers use a decimal
// point (the process keeps the POSIX locale).
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "app/ui_ops.h"
#include "common/text.h"
#include "config/prefs_file.h"
#include "config/prefs_items.h"

namespace {

constexpr std::size_t kMaxLine = 999;
const char* const kFamilies[PREFS_NFAMILIES] = {"NOAA", "METOP", "METEOR", "FY3"};
const char* const kMapNames[PREFS_NMAPS] = {"CMap A", "CMap B", "CMap C"};

bool is_blank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

// Decimal integer; a bad number gives 0, out-of-range values are clamped.
// (Kept out of line: GCC 12 sees a false dangling end pointer when inlined.)
__attribute__((noinline)) int parse_int(const char* s, std::size_t* used = nullptr) {
  char* e = nullptr;
  long long v = std::strtoll(s, &e, 10);
  if (used) *used = static_cast<std::size_t>(e - s);
  if (v > INT_MAX) return INT_MAX;
  if (v < INT_MIN) return INT_MIN;
  return static_cast<int>(v);
}

// Hexadecimal: the low 32 bits of the number.
int parse_hex(const char* s) {
  unsigned long long v = std::strtoull(s, nullptr, 16);
  if (v > 0xffffffffULL) v = 0xffffffffULL;
  return static_cast<int>(static_cast<unsigned int>(v));
}

// Float; not finite gives 0, beyond the float range is clamped.
__attribute__((noinline)) float parse_float(const char* s, std::size_t* used = nullptr) {
  char* e = nullptr;
  double v = std::strtod(s, &e);
  if (used) *used = static_cast<std::size_t>(e - s);
  if (!std::isfinite(v)) return 0.0f;
  if (v > FLT_MAX) return FLT_MAX;
  if (v < -FLT_MAX) return -FLT_MAX;
  return static_cast<float>(v);
}

bool is_angle_key(const char* name) {
  return !std::strcmp(name, "Observer_Lon") || !std::strcmp(name, "Observer_Lat");
}

bool is_bool_true(const char* name, const char* v) {
  if (!std::strcmp(name, "X_Dir_0")) return !std::strcmp(v, "west");
  if (!std::strcmp(name, "Y_Dir_0")) return !std::strcmp(v, "south");
  return v[0] == 'y' || !std::strncmp(v, "on", 2) || v[0] == '1';
}

const char* bool_text(const char* name, int on) {
  if (!std::strcmp(name, "X_Dir_0")) return on ? "west" : "east";
  if (!std::strcmp(name, "Y_Dir_0")) return on ? "south" : "north";
  return on ? "yes" : "no";
}

// Name of value v in an enumeration table, or null.
const char* enum_name(const ENUMTBL* t, int v) {
  for (int k = 0; k < 8; k++) {
    if (!t->s[k][0]) break;
    if (t->i[k] == v) return t->s[k];
  }
  return nullptr;
}

// Satellite value: "name" y|n.
void set_satellite(PREFITEMS* items, const char* value) {
  const char* q1 = std::strchr(value, '"');
  if (!q1) return;
  const char* q2 = std::strchr(q1 + 1, '"');
  if (!q2) return;
  std::string name(q1 + 1, q2);
  const char* flag = q2 + 1;
  while (*flag == ' ' || *flag == '\t') flag++;
  for (PREFITEMS* it = items; it; it = it->next) {
    if (std::strcmp(it->name, "Satellite") || !it->sval[1]) continue;
    if (name != it->sdef) continue;
    pava::copy_text(it->sval[1], it->slen[1], *flag == 'y' ? "TRUE" : "FALSE");
    return;
  }
}

// The item list that targets p: the global list for prefs, else a fresh one
// (built without disturbing p's values; the caller frees it).
PREFITEMS* items_for(PREFS* p, bool* owned) {
  *owned = false;
  if (p == &prefs && pref_items) return pref_items;
  PREFS* keep = new PREFS(*p);
  PREFITEMS* l = Load_Defaults(p);
  *p = *keep;
  delete keep;
  *owned = (p != &prefs);
  return l;
}

// Splits a byte stream into lines of at most kMaxLine characters.
struct LineCutter {
  PREFITEMS* items;
  PREFS* p;
  std::string line;
  bool overflow = false;

  void feed(const char* data, std::size_t len) {
    for (std::size_t i = 0; i < len; i++) {
      char c = data[i];
      if (c == '\n') {
        flush();
        continue;
      }
      if (line.size() < kMaxLine)
        line.push_back(c);
      else
        overflow = true;
    }
  }
  void flush() {
    Pref_Line(items, p, line.c_str());
    line.clear();
    overflow = false;
  }
};

}  // namespace

RGBCLR int2gdkclr(int packed) {
  unsigned int v = static_cast<unsigned int>(packed);
  RGBCLR c;
  c.red = static_cast<uint16_t>(((v >> 16) & 0xff) * 257);
  c.green = static_cast<uint16_t>(((v >> 8) & 0xff) * 257);
  c.blue = static_cast<uint16_t>((v & 0xff) * 257);
  return c;
}

int Set_Pref(PREFITEMS* items, const char* key, const char* value) {
  if (!key || !value) return 0;
  if (!std::strcmp(key, "Satellite")) {
    set_satellite(items, value);
    return 1;
  }
  PREFITEMS* it = items;
  for (; it; it = it->next)
    if (it->type != 't' && !std::strcmp(it->name, key)) break;
  if (!it) return 0;

  if (it->type == 'c') {
    if (it->pval[0]) *it->pval[0] = value[0];
  } else if (it->bval[0]) {
    *it->bval[0] = is_bool_true(it->name, value) ? 1 : 0;
  } else if (it->ival[0] && it->enumtbl) {
    for (int k = 0; k < 8; k++) {
      if (!it->enumtbl->s[k][0]) break;
      if (!std::strcmp(it->enumtbl->s[k], value)) {
        *it->ival[0] = it->enumtbl->i[k];
        break;
      }
    }
  } else if (it->ival[0] && it->hex_nrdig) {
    *it->ival[0] = parse_hex(value);
  } else if (it->ival[0]) {
    std::size_t used = 0;
    *it->ival[0] = parse_int(value, &used);
    if (it->ival[1]) {
      const char* s = std::strchr(value + used, it->sep);
      *it->ival[1] = (it->sep && s) ? parse_int(s + 1) : 0;
    }
  } else if (it->fval[0]) {
    std::size_t used = 0;
    float v = parse_float(value, &used);
    if (is_angle_key(it->name)) v = static_cast<float>(v * PREFS_DEG2RAD);
    *it->fval[0] = v;
    if (it->fval[1]) {
      const char* s = std::strchr(value + used, it->sep);
      *it->fval[1] = (it->sep && s) ? parse_float(s + 1) : 0.0f;
    }
  } else if (it->sval[0]) {
    pava::copy_text(it->sval[0], it->slen[0], value);
  }
  return 1;
}

void Pref_Line(PREFITEMS* items, PREFS* p, const char* text) {
  char line[kMaxLine + 1];
  pava::copy_text(line, sizeof line, text);
  if (char* cr = std::strchr(line, '\r')) *cr = 0;
  if (char* hash = std::strchr(line, '#')) *hash = 0;
  char* eq = std::strchr(line, '=');
  if (!eq) return;
  char* value = eq + 1;
  while (*value == ' ' || *value == '\t') value++;
  std::size_t n = std::strlen(value);
  while (n > 0 && is_blank(value[n - 1])) value[--n] = 0;
  // Key: first token, split at blank, newline, tab and "=".
  char* key = line;
  while (*key == ' ' || *key == '\t' || *key == '\n') key++;
  std::size_t klen = std::strcspn(key, " \n\t=");
  if (klen == 0) return;
  key[klen] = 0;  // within the line: at worst overwrites the "=" itself
  if (!Set_Pref(items, key, value)) parse_extra(key, value, p);
}

void Pref_Text(PREFITEMS* items, PREFS* p, const char* data, std::size_t len) {
  LineCutter cut{items, p, {}};
  cut.feed(data, len);
  if (!cut.line.empty()) cut.flush();
}

void Pref_Finish(PREFS* p) {
  if (p->shadow_fact > 1.0f) p->shadow_fact = 1.0f;
  for (auto& s : p->sats) s.on = !std::strcmp(s.sel, "TRUE");
  for (int i = 0; i < PREFS_NCOLOURS; i++) p->clr_rgb[i] = int2gdkclr(p->clr[i]);
  p->grid_clr = int2gdkclr(p->grid_color);
  p->boundary_clr = int2gdkclr(p->boundary_color);
  std::memcpy(p->clrmaps_loaded, p->clrmaps, sizeof p->clrmaps);
}

int Read_Pref(PREFS* p) {
  PREFITEMS* items = Load_Defaults(p);
  if (p->prefs_file[0]) {
    // Only a regular file: a device such as /dev/zero would never end.
    struct stat st;
    FILE* fp = nullptr;
    if (stat(p->prefs_file, &st) == 0 && S_ISREG(st.st_mode)) fp = std::fopen(p->prefs_file, "rb");
    if (fp) {
      LineCutter cut{items, p, {}};
      char buf[4096];
      std::size_t n;
      while ((n = std::fread(buf, 1, sizeof buf, fp)) > 0) cut.feed(buf, n);
      if (!cut.line.empty()) cut.flush();
      std::fclose(fp);
    }
  }
  Pref_Finish(p);
  if (p != &prefs) Remove_Prefs(items);
  return 1;
}

// ---- colour maps ----------------------------------------------------------
//
// ClrMap = M<map 1..3> "<family>" gamma[<g>] offs[<r>,<g>,<b>] C<ch>[<r>,<g>,<b>] ...

int parse_extra(const char* key, const char* value, PREFS* p) {
  if (std::strcmp(key, "ClrMap")) return 0;
  int m = 0;
  char fam[64] = "";
  float gamma = 0;
  int ro = 0, go = 0, bo = 0, used = 0;
  if (std::sscanf(value, "M%d \"%63[^\"]\" gamma[%f] offs[%d,%d,%d]%n", &m, fam, &gamma, &ro, &go,
                  &bo, &used) < 6 ||
      used == 0)
    return 0;
  int f = -1;
  for (int k = 0; k < PREFS_NFAMILIES; k++)
    if (!std::strcmp(fam, kFamilies[k])) f = k;
  if (f < 0 || m < 1 || m > PREFS_NMAPS) return 0;
  CLRMAPCHAN& c = p->clrmaps[f][m - 1];
  c = CLRMAPCHAN{};
  pava::copy_text(c.satname, kFamilies[f]);
  pava::copy_text(c.mapname, kMapNames[m - 1]);
  c.gamma = std::isfinite(gamma) ? gamma : 0.0f;
  c.red_offset = ro;
  c.green_offset = go;
  c.blue_offset = bo;
  const char* s = value + used;
  for (;;) {
    while (*s == ' ' || *s == '\t') s++;
    int ch = 0, n = 0;
    float r = 0, g = 0, b = 0;
    if (std::sscanf(s, "C%d[%f,%f,%f]%n", &ch, &r, &g, &b, &n) < 4 || n == 0) break;
    s += n;
    if (ch < 0 || ch >= 26) continue;
    c.on[ch] = 1;
    c.red[ch] = std::isfinite(r) ? r : 0.0f;
    c.green[ch] = std::isfinite(g) ? g : 0.0f;
    c.blue[ch] = std::isfinite(b) ? b : 0.0f;
  }
  return 1;
}

std::vector<std::string> clrmap_values(const PREFS* p) {
  std::vector<std::string> out;
  for (int f = 0; f < PREFS_NFAMILIES; f++) {
    for (int m = 0; m < PREFS_NMAPS; m++) {
      const CLRMAPCHAN& c = p->clrmaps[f][m];
      bool any = false;
      for (int ch = 0; ch < 26; ch++) any = any || c.on[ch];
      if (!any) continue;
      std::string v = pava::strprintf("M%d \"%s\" gamma[%.1f] offs[%d,%d,%d]", m + 1, kFamilies[f],
                                      c.gamma, c.red_offset, c.green_offset, c.blue_offset);
      for (int ch = 0; ch < 26; ch++)
        if (c.on[ch])
          v += pava::strprintf(" C%d[%.2f,%.2f,%.2f]", ch, c.red[ch], c.green[ch], c.blue[ch]);
      out.push_back(v);
    }
  }
  return out;
}

void save_extra(FILE* fp, const PREFS* p) {
  for (const std::string& v : clrmap_values(p))
    std::fprintf(fp, "%-30s = %s\n", "ClrMap", v.c_str());
}

// ---- writing --------------------------------------------------------------

void Format_Pref(const PREFITEMS* it, char* buf, std::size_t size) {
  if (!buf || size == 0) return;
  buf[0] = 0;
  if (it->type == 't') {
    std::snprintf(buf, size, "%s", it->name);
  } else if (it->type == 'c') {
    std::snprintf(buf, size, "%c", it->pval[0] ? *it->pval[0] : ' ');
  } else if (it->bval[0]) {
    std::snprintf(buf, size, "%s", bool_text(it->name, *it->bval[0]));
  } else if (it->ival[0] && it->enumtbl) {
    const char* n = enum_name(it->enumtbl, *it->ival[0]);
    if (n)
      std::snprintf(buf, size, "%s", n);
    else
      std::snprintf(buf, size, "%d", *it->ival[0]);
  } else if (it->ival[0] && it->hex_nrdig) {
    std::snprintf(buf, size, "%0*x", it->hex_nrdig, static_cast<unsigned int>(*it->ival[0]));
  } else if (it->ival[0] && it->ival[1]) {
    std::snprintf(buf, size, "%d%c%d", *it->ival[0], it->sep, *it->ival[1]);
  } else if (it->ival[0]) {
    std::snprintf(buf, size, "%d", *it->ival[0]);
  } else if (it->fval[0]) {
    double a = *it->fval[0];
    // Degrees rounded to float first: a value typed in degrees is written
    // back as typed (33.5, not 33.500002).
    if (is_angle_key(it->name)) a = static_cast<float>(a / PREFS_DEG2RAD);
    if (it->fval[1])
      std::snprintf(buf, size, "%f%c%f", a, it->sep, static_cast<double>(*it->fval[1]));
    else
      std::snprintf(buf, size, "%f", a);
  } else if (it->sval[0] && it->sval[1]) {
    std::snprintf(buf, size, "\"%s\" %c", it->sval[0],
                  !std::strcmp(it->sval[1], "TRUE") ? 'y' : 'n');
  } else if (it->sval[0]) {
    std::snprintf(buf, size, "%s", it->sval[0]);
  }
}

void Write_Pref(PREFITEMS* items, FILE* fp) {
  int width = 0;
  for (PREFITEMS* it = items; it; it = it->next)
    if (it->type != 't') width = std::max(width, static_cast<int>(std::strlen(it->name)));
  std::fprintf(fp, "#Preferences pava\n");
  char value[1100];
  for (PREFITEMS* it = items; it; it = it->next) {
    Format_Pref(it, value, sizeof value);
    if (it->type == 't')
      std::fprintf(fp, "%s\n", value);
    else if (it->ival[0] && it->enumtbl && !enum_name(it->enumtbl, *it->ival[0]))
      std::fprintf(fp, "%s = %d\n", it->name, *it->ival[0]);
    else
      std::fprintf(fp, "%-*s = %s\n", width, it->name, value);
  }
}

int Save_Pref(PREFS* p, const char* fname) {
  // Satellite selections go back to their texts before writing.
  for (auto& s : p->sats) pava::copy_text(s.sel, s.on ? "TRUE" : "FALSE");
  bool owned = false;
  PREFITEMS* items = items_for(p, &owned);

  std::string tmp = std::string(fname) + ".XXXXXX";
  bool ok = false;
  int fd = mkstemp(&tmp[0]);
  if (fd >= 0) {
    struct stat st;
    if (stat(fname, &st) == 0) {
      fchmod(fd, st.st_mode & 07777);
    } else {
      mode_t mask = umask(0);
      umask(mask);
      fchmod(fd, 0666 & ~mask);
    }
    if (FILE* fp = fdopen(fd, "w")) {
      Write_Pref(items, fp);
      save_extra(fp, p);
      bool written = std::fflush(fp) == 0 && !std::ferror(fp);
      written = (std::fclose(fp) == 0) && written;
      ok = written && std::rename(tmp.c_str(), fname) == 0;
    } else {
      close(fd);
    }
    if (!ok) unlink(tmp.c_str());
  }
  if (owned) Remove_Prefs(items);
  if (!ok) {
    std::string msg = pava::strprintf("Can't open pref-file %s.", fname);
    ui().message("Error", msg.c_str());
    return 'o';
  }
  return 0;
}

int Save_Prefs() {
  std::string name = prefs.prefs_file[0] ? std::string(prefs.prefs_file)
                     : prefs.cur_dir[0]  ? pava::strprintf("%s%c%s", prefs.cur_dir, '/', "pava.ini")
                                         : std::string("pava.ini");
  return Save_Pref(&prefs, name.c_str());
}
