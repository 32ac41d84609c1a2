// Test vectors kept as files of hexadecimal lines.
#pragma once
#include <cctype>
#include <cstdint>
#include <fstream>
#include <string>
#include <vector>

// The bytes of a file of hexadecimal lines; a line ends at its first
// character that is not a hexadecimal digit.
inline std::vector<uint8_t> read_hex(const std::string& path) {
  std::ifstream f(path);
  std::vector<uint8_t> out;
  for (std::string line; std::getline(f, line);)
    for (size_t i = 0; i + 1 < line.size() && std::isxdigit(uint8_t(line[i])); i += 2)
      out.push_back(uint8_t(std::stoi(line.substr(i, 2), nullptr, 16)));
  return out;
}
