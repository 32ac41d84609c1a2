#include "app/core/filmctl.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

std::vector<std::string> film_list(const std::string& folder) {
  namespace fs = std::filesystem;
  std::vector<std::string> out;
  std::error_code ec;
  fs::directory_iterator it(folder, ec);
  if (ec) return out;
  for (; it != fs::directory_iterator(); it.increment(ec)) {
    if (ec) break;
    const fs::path& p = it->path();
    std::string name = p.filename().string();
    if (name.empty() || name[0] == '.') continue;
    std::error_code fe;
    if (!it->is_regular_file(fe) || fe) continue;
    out.push_back(p.string());
  }
  std::sort(out.begin(), out.end());
  return out;
}

int film_step(int index, int step, int n) {
  if (n <= 0) return -1;
  long long i = (static_cast<long long>(index) + step) % n;
  return int(i < 0 ? i + n : i);
}

int film_index(const std::vector<std::string>& film, const std::string& file) {
  auto it = std::find(film.begin(), film.end(), file);
  return it == film.end() ? -1 : int(it - film.begin());
}
