// Open files by handle. The file position is kept here rather than by the system, so that seek and tell cost
// no system call.
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

// The open file of a handle. Empty if the handle is invalid, which vlOSGetLastError then reports.
FileTable::Use findFile(VLHANDLE file);

// Provided per system: its error codes, and the size of a file in bytes, or -1 (see vlOSGetLastError).
struct FileErrors {
  std::uint32_t notOpen, invalid, beforeStart;
};
extern const FileErrors kFileErrors;
std::int64_t sizeOf(SystemFile file);

}  // namespace vlhost
