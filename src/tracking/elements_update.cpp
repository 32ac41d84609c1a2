#include "tracking/elements_update.h"

#include <spawn.h>
#include <sys/wait.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <ctime>

#include "orbit/satdb.h"

extern char** environ;

namespace {

// Runs argv without a shell; the exit status, or -1 when it could not start.
int run(const char* const* argv) {
  pid_t pid;
  if (posix_spawnp(&pid, argv[0], nullptr, nullptr, const_cast<char* const*>(argv), environ) != 0)
    return -1;
  int st = 0;
  while (waitpid(pid, &st, 0) < 0)
    if (errno != EINTR) return -1;
  return WIFEXITED(st) ? WEXITSTATUS(st) : 128;
}

double epoch_unix(const KEPLER& k) {
  struct tm t {};
  t.tm_year = k.epoch_year;
  t.tm_mday = 1;
  return double(timegm(&t)) + (k.epoch_day - 1.0) * 86400.0;
}

// Element sets of a file whose mean motion makes sense.
int count_sets(const char* path) {
  FILE* fp = std::fopen(path, "r");
  if (!fp) return 0;
  int n = 0;
  KEPLER k{};
  while (read_norad_next_keps(fp, nullptr, &k))
    if (k.motion > 0.5f && k.motion < 20.f) n++;
  std::fclose(fp);
  return n;
}

}  // namespace

int update_elements(const char* url, const char* path, std::string* msg) {
  std::string tmp = std::string(path) + ".new";
  std::remove(tmp.c_str());
  const char* curl[] = {"curl", "-fsSL", "--max-time", "60", "-o", tmp.c_str(), url, nullptr};
  const char* wget[] = {"wget", "-q", "-T", "60", "-O", tmp.c_str(), url, nullptr};
  int st = run(curl);
  if (st < 0) st = run(wget);
  auto say = [&](const std::string& text) {
    if (msg) *msg = text;
  };
  if (st < 0) {
    say("Neither curl nor wget can be run.");
    return -1;
  }
  if (st != 0) {
    std::remove(tmp.c_str());
    say(std::string("Download of ") + url + " failed.");
    return -2;
  }
  int n = count_sets(tmp.c_str());
  if (n == 0) {
    std::remove(tmp.c_str());
    say(std::string("No elements in ") + url + "; the old file is kept.");
    return -3;
  }
  if (std::rename(tmp.c_str(), path) != 0) {
    std::remove(tmp.c_str());
    say(std::string("Can't replace ") + path + ".");
    return -4;
  }
  say(std::to_string(n) + " element sets in " + path + ".");
  return n;
}

int elements_age(const char* path, double now, double* newest_days, double* oldest_days) {
  FILE* fp = std::fopen(path, "r");
  if (!fp) return 0;
  int n = 0;
  KEPLER k{};
  double newest = 0, oldest = 0;
  while (read_norad_next_keps(fp, nullptr, &k)) {
    double age = (now - epoch_unix(k)) / 86400.0;
    newest = n ? std::min(newest, age) : age;
    oldest = n ? std::max(oldest, age) : age;
    n++;
  }
  std::fclose(fp);
  *newest_days = newest;
  *oldest_days = oldest;
  return n;
}
