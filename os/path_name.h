// Converts the host's file names, UTF-8 on every system, for the C++ library, which interprets narrow names
// in the system's own encoding.
#pragma once

#include <filesystem>
#include <string>

namespace fmp4 {

inline std::filesystem::path vlPath(const std::string& name) {
  return std::u8string(name.begin(), name.end());
}

inline std::string vlName(const std::filesystem::path& path) {
  const std::u8string name = path.u8string();
  return {name.begin(), name.end()};
}

}  // namespace fmp4
