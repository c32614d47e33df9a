// Whether somebody else is writing a file.
#pragma once

#include <string>

namespace os {

// Whether a program, this one included, has the file open for writing. False where the system cannot tell.
bool isBeingWritten(const std::string& path);

}  // namespace os
