#include "support/testutil.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace testutil {

std::string shared_path(const std::string& rel) { return std::string(PAVA_SHARED_DIR) + "/" + rel; }
std::string source_path(const std::string& rel) { return std::string(PAVA_SOURCE_DIR) + "/" + rel; }
std::string bin_path(const std::string& program) {
  return std::string(PAVA_BIN_DIR) + "/" + program;
}

TempDir::TempDir() {
  const char* base = std::getenv("PAVA_TEST_TMP");
  std::string root = base && *base ? base : "/tmp";
  mkdir(root.c_str(), 0755);
  std::string tmpl = root + "/pava-XXXXXX";
  std::vector<char> buf(tmpl.begin(), tmpl.end());
  buf.push_back('\0');
  if (!mkdtemp(buf.data())) throw std::runtime_error("mkdtemp failed");
  path_ = buf.data();
}

TempDir::~TempDir() {
  std::string cmd = "rm -rf '" + path_ + "'";
  int r = std::system(cmd.c_str());
  (void)r;
}

namespace {
std::string slurp_fd(int fd) {
  std::string s;
  char buf[65536];
  ssize_t n;
  while ((n = read(fd, buf, sizeof buf)) > 0) s.append(buf, size_t(n));
  return s;
}
}  // namespace

RunResult run(const std::vector<std::string>& argv, const std::string& cwd,
              const std::vector<std::string>& env) {
  RunResult r;
  char outname[] = "/tmp/pava-run-out-XXXXXX";
  char errname[] = "/tmp/pava-run-err-XXXXXX";
  int ofd = mkstemp(outname), efd = mkstemp(errname);
  pid_t pid = fork();
  if (pid == 0) {
    dup2(ofd, 1);
    dup2(efd, 2);
    int nul = open("/dev/null", O_RDONLY);
    dup2(nul, 0);
    if (!cwd.empty() && chdir(cwd.c_str()) != 0) _exit(126);
    for (const auto& e : env) putenv(strdup(e.c_str()));
    std::vector<char*> args;
    for (const auto& a : argv) args.push_back(const_cast<char*>(a.c_str()));
    args.push_back(nullptr);
    execv(args[0], args.data());
    _exit(127);
  }
  int status = 0;
  waitpid(pid, &status, 0);
  lseek(ofd, 0, SEEK_SET);
  lseek(efd, 0, SEEK_SET);
  r.out = slurp_fd(ofd);
  r.err = slurp_fd(efd);
  close(ofd);
  close(efd);
  unlink(outname);
  unlink(errname);
  r.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return r;
}

std::string read_file(const std::string& path) {
  std::ifstream f(path, std::ios::binary);
  std::stringstream ss;
  ss << f.rdbuf();
  return ss.str();
}

void write_file(const std::string& path, const std::string& data) {
  std::ofstream f(path, std::ios::binary);
  f << data;
}

}  // namespace testutil
