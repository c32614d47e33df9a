// What the portable part of the host library needs from the system beyond vlutil.h.
#pragma once

#include <cstdint>
#include <string>

namespace vlhost {

// Notes the error that vlOSGetLastError answers on this thread.
void setLastError(std::uint32_t error);

// Where the configuration store lies; empty when the system names no place for it.
std::string storePath();

// Makes the folders that lead to the file `path`, for this user alone, where they are missing. False on
// failure (vlOSGetLastError tells why).
bool makeFolders(const std::string& path);

}  // namespace vlhost
