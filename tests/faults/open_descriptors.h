// What this process has open.
#pragma once

#include <cstddef>

namespace fmp4 {

// The number of files, and on Windows of all other handles too.
std::size_t openDescriptors();

}  // namespace fmp4
