// Detects whether a file is being written.
#pragma once

#include <string>

namespace fmp4::os {

// Whether any process, including this one, has the file open for writing. False if the system cannot tell.
bool isBeingWritten(const std::string& path);

}  // namespace fmp4::os
