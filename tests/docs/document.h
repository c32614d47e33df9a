// The documents of the source tree, as lines and tables.
#pragma once

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/support/places.h"

namespace fmp4 {

// The source tree, found from its tests/data.
inline const std::filesystem::path kTree = std::filesystem::path(VL_TEST_DATA).parent_path().parent_path();

inline std::vector<std::string> linesOfFile(const std::filesystem::path& path) {
  std::ifstream file(path);
  if (!file) throw std::runtime_error(path.string() + " cannot be read");
  std::vector<std::string> lines;
  for (std::string line; std::getline(file, line);) lines.push_back(line);
  return lines;
}

// The cells of a Markdown table's row, without the white space around them; empty for any other line.
inline std::vector<std::string> cellsOf(const std::string& line) {
  std::vector<std::string> cells;
  if (line.empty() || line.front() != '|') return cells;
  for (std::size_t start = 1, end; (end = line.find('|', start)) != line.npos; start = end + 1) {
    const std::string cell = line.substr(start, end - start);
    const std::size_t first = cell.find_first_not_of(' ');
    cells.push_back(first == cell.npos ? "" : cell.substr(first, cell.find_last_not_of(' ') + 1 - first));
  }
  return cells;
}

// The text between the first two backticks; empty without them.
inline std::string codeIn(const std::string& text) {
  const std::size_t start = text.find('`'), end = text.find('`', start + 1);
  return start == text.npos || end == text.npos ? "" : text.substr(start + 1, end - start - 1);
}

}  // namespace fmp4
