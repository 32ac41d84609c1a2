#include "app/core/guistate.h"

#include <fstream>

namespace {

std::string clean(std::string s, bool key) {
  for (char& c : s)
    if (c == '\n' || c == '\r' || (key && c == '=')) c = key ? '_' : ' ';
  return s;
}

}  // namespace

std::string guistate_path(const std::string& home) {
  return home.empty() ? std::string(GUISTATE_FILE) : home + "/" + GUISTATE_FILE;
}

int guistate_read(GUISTATE* st, const std::string& path) {
  st->values.clear();
  std::ifstream in(path);
  if (!in) return 'o';
  std::string line;
  while (std::getline(in, line)) {
    if (line.size() > 1000) continue;
    if (!line.empty() && line.back() == '\r') line.pop_back();
    auto eq = line.find('=');
    if (eq == std::string::npos || eq == 0) continue;
    st->values[line.substr(0, eq)] = line.substr(eq + 1);
  }
  return 0;
}

int guistate_write(const GUISTATE& st, const std::string& path) {
  std::ofstream out(path, std::ios::trunc);
  if (!out) return 'o';
  for (const auto& kv : st.values) out << kv.first << '=' << kv.second << '\n';
  out.close();
  return out.fail() ? 'o' : 0;
}

std::string guistate_key(const std::string& window, const std::string& widget) {
  return clean(window, true) + "/" + clean(widget, true);
}

void guistate_set(GUISTATE* st, const std::string& key, const std::string& value) {
  st->values[clean(key, true)] = clean(value, false);
}

const std::string* guistate_get(const GUISTATE& st, const std::string& key) {
  auto it = st.values.find(key);
  return it == st.values.end() ? nullptr : &it->second;
}
