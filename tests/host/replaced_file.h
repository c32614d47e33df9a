// Replacing a file's content, and looking at it.
#pragma once

#include <cstdint>
#include <string>

#include "support/temp_folder.h"
#include "vlutil.h"

inline std::string contentOf(const std::string& path) {
  const auto bytes = readFile(path);
  return {bytes.begin(), bytes.end()};
}

inline std::int32_t replace(const std::string& path, const std::string& content) {
  return vlOSReplaceFile(path.c_str(), content.data(), content.size());
}
