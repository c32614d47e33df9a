// Replacing a file's content, and looking at it.
#pragma once

#include <string>
#include <system_error>

#include "os/replace_file.h"
#include "tests/support/temp_folder.h"

namespace fmp4 {

inline std::string contentOf(const std::string& path) {
  const auto bytes = readFile(path);
  return {bytes.begin(), bytes.end()};
}

inline bool replaced(const std::string& path, const std::string& content) {
  return !os::replaceFile(path, content);
}

}  // namespace fmp4
