// Helpers shared by the tests: paths, temporary directories, running programs.
#pragma once
#include <string>
#include <vector>

namespace testutil {

// The shared test data folder (../shared/testdata) and the repository.
std::string shared_path(const std::string& rel);
std::string source_path(const std::string& rel);
std::string bin_path(const std::string& program);

// A fresh empty directory under the test temporary area, removed on destruction.
class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  const std::string& path() const { return path_; }
  std::string file(const std::string& name) const { return path_ + "/" + name; }

 private:
  std::string path_;
};

struct RunResult {
  int status = -1;  // exit status, or -1 when the program did not exit normally
  std::string out, err;
};

// Runs a program with arguments (no shell), optionally in directory cwd and with
// extra environment entries "NAME=value"; captures both output streams.
RunResult run(const std::vector<std::string>& argv, const std::string& cwd = "",
              const std::vector<std::string>& env = {});

std::string read_file(const std::string& path);
void write_file(const std::string& path, const std::string& data);

}  // namespace testutil
