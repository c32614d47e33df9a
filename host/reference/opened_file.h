// Open files by their handles. A file's position is kept here rather than by the system: moving and asking
// for it cost no system call.
#pragma once

#include <cstdint>

#include "host/reference/handle_table.h"
#include "vlutil.h"

namespace vlhost {

#if defined(_WIN32)
using SystemFile = void*;  // HANDLE
#else
using SystemFile = int;  // descriptor
#endif

struct OpenedFile {
  SystemFile system;
  std::int64_t position;  // bytes from the start
};

using FileTable = HandleTable<OpenedFile>;

FileTable& files();

// An open file; none for a handle that names none, which vlOSGetLastError then tells.
FileTable::Use findFile(VLHANDLE file);

// What the system brings along: the numbers of its errors, and the size of a file in bytes, or -1
// (vlOSGetLastError tells why).
struct FileErrors {
  std::uint32_t notOpen, invalid, beforeStart;
};
extern const FileErrors kFileErrors;
std::int64_t sizeOf(SystemFile file);

}  // namespace vlhost
