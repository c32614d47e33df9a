// What the portable part of the host library needs from the system beyond vlutil.h.
#pragma once

#include <cstdint>
#include <string>

namespace vlhost {

// Sets the error that vlOSGetLastError returns on this thread.
void setLastError(std::uint32_t error);

// The path of the configuration store; empty if the system has no location for it.
std::string storePath();

// Creates the missing parent directories of the file `path`, accessible to this user only. Returns false on
// failure (see vlOSGetLastError).
bool makeFolders(const std::string& path);

}  // namespace vlhost
