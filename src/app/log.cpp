#include "app/log.h"

#include <sys/stat.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "common/text.h"

namespace {

struct LogState {
  std::string home;
  int enabled = 0;
  std::string path;  // made at the first message
};
LogState g_log;

int g_debug_on = 1;
DebugSink g_sink = nullptr;
void* g_sink_data = nullptr;
std::string g_debug_text;

constexpr int kDebugMax = 144;

bool file_exists(const std::string& p) {
  struct stat st;
  return stat(p.c_str(), &st) == 0;
}

}  // namespace

namespace pava {
std::string strprintf(const char* fmt, ...) {
  va_list ap;
  va_start(ap, fmt);
  va_list ap2;
  va_copy(ap2, ap);
  int n = std::vsnprintf(nullptr, 0, fmt, ap);
  va_end(ap);
  std::string s;
  if (n > 0) {
    s.resize(size_t(n) + 1);
    std::vsnprintf(&s[0], s.size(), fmt, ap2);
    s.resize(size_t(n));
  }
  va_end(ap2);
  return s;
}
}  // namespace pava

void fatal_error() {
  std::fputs("Fatal error! Program aborted.\n", stderr);
  std::exit(-1);
}

void nonfatal_error(const char* text) { std::fprintf(stderr, "Error: %s\n", text ? text : ""); }

void log_configure(const char* home_dir, int enabled) {
  g_log.home = home_dir ? home_dir : "";
  g_log.enabled = enabled;
  g_log.path.clear();
}

void log_message(const char* fmt, ...) {
  time_t now = std::time(nullptr);
  struct tm tm {};
  gmtime_r(&now, &tm);
  char stamp[64];
  asctime_r(&tm, stamp);
  if (char* nl = std::strchr(stamp, '\n')) *nl = '\0';

  FILE* out = nullptr;
  if (g_log.enabled) {
    if (g_log.path.empty())
      g_log.path = pava::strprintf("%s%c%s", g_log.home.c_str(), '/', "pava.log");
    out = std::fopen(g_log.path.c_str(), "a");
  }
  FILE* fp = out ? out : stdout;
  std::fprintf(fp, "%s  ", stamp);
  va_list ap;
  va_start(ap, fmt);
  std::vfprintf(fp, fmt, ap);
  va_end(ap);
  std::fputc('\n', fp);
  if (out)
    std::fclose(out);
  else
    std::fflush(stdout);
}

int enable_debug(int n) {
  if (n > 0) g_debug_on = 1;
  if (n < 0) g_debug_on = 0;
  return g_debug_on;
}

void w_dbg(const char* fmt, ...) {
  if (!g_debug_on) return;
  char buf[kDebugMax + 8];
  va_list ap;
  va_start(ap, fmt);
  int n = std::vsnprintf(buf, kDebugMax + 1, fmt, ap);
  va_end(ap);
  if (n >= kDebugMax) {
    buf[kDebugMax] = '\0';
    std::strcat(buf, "...\n");
  }
  if (g_sink)
    g_sink(buf, g_sink_data);
  else
    g_debug_text += buf;
}

void debug_set_sink(DebugSink sink, void* data) {
  g_sink = sink;
  g_sink_data = data;
}

const std::string& debug_text() { return g_debug_text; }
void debug_clear() { g_debug_text.clear(); }

std::string debug_save(const std::string& text, const char* dir) {
  std::string prefix = (dir && *dir) ? std::string(dir) + "/" : std::string();
  for (int i = 1; i < 100000; i++) {
    std::string name = pava::strprintf("dbg_%d.txt", i);
    std::string path = prefix + name;
    if (file_exists(path)) continue;
    FILE* fp = std::fopen(path.c_str(), "w");
    if (!fp) return std::string();
    bool ok = std::fwrite(text.data(), 1, text.size(), fp) == text.size();
    ok = (std::fclose(fp) == 0) && ok;
    return ok ? name : std::string();
  }
  return std::string();
}
