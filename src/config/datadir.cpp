#include "config/datadir.h"

#include <sys/stat.h>
#include <unistd.h>

#include <climits>

#ifndef PAVA_DATADIR
#define PAVA_DATADIR "/usr/local/share/pava"
#endif

namespace {

bool is_file(const std::string& p) {
  struct stat st;
  return stat(p.c_str(), &st) == 0 && S_ISREG(st.st_mode);
}

// Directory of the running program ("" when unknown).
std::string exe_dir() {
  char buf[PATH_MAX];
  ssize_t n = readlink("/proc/self/exe", buf, sizeof buf - 1);
  if (n <= 0) return std::string();
  std::string p(buf, size_t(n));
  size_t slash = p.rfind('/');
  return slash == std::string::npos ? std::string() : p.substr(0, slash);
}

}  // namespace

std::string data_file_path(const char* name) {
  if (!name || !*name) return std::string();
  if (name[0] == '/') return name;
  std::string installed = std::string(PAVA_DATADIR) + "/" + name;
  if (is_file(installed)) return installed;
  if (is_file(name)) return name;
  std::string exe = exe_dir();
  if (!exe.empty()) {
    for (const char* rel : {"/../share/pava/", "/../../data/"}) {  // relocated install, source tree
      std::string p = exe + rel + name;
      if (is_file(p)) return p;
    }
  }
  return name;
}
