// The files that this process has open.
#pragma once

#include <cstddef>
#include <filesystem>
#include <iterator>

namespace fmp4 {

inline std::size_t openDescriptors() {
  const std::filesystem::directory_iterator all("/proc/self/fd");
  return static_cast<std::size_t>(std::distance(begin(all), end(all)));
}

}  // namespace fmp4
