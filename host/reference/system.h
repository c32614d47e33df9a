// What the portable part of the host library needs from the system beyond vlutil.h.
#pragma once

#include <cstdint>
#include <string>

namespace vlhost {

// Notes the error that vlOSGetLastError answers on this thread.
void setLastError(std::uint32_t error);

// Where the configuration store lies; empty when the system names no place for it.
std::string storePath();

// Replaces the file `path` by one that holds `text`, or makes it, folders included. Readers, and a machine
// that loses power, find either the old content or the new one. False on failure (vlOSGetLastError tells
// why); the old content then stays.
bool replaceFile(const std::string& path, const std::string& text);

}  // namespace vlhost
