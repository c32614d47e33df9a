// Positions and sizes of open files, common to all systems.
#include <cstdint>
#include <limits>

#include "host/reference/opened_file.h"
#include "host/reference/system.h"
#include "vlutil.h"

namespace vlhost {

// Lives as long as the process: files may still be closed while static objects are destroyed.
FileTable& files() {
  static FileTable& table = *new FileTable;
  return table;
}

FileTable::Use findFile(VLHANDLE file) {
  FileTable::Use use = files().find(file);
  if (!use) setLastError(kFileErrors.notOpen);
  return use;
}

}  // namespace vlhost

using vlhost::FileTable;
using vlhost::findFile;
using vlhost::kFileErrors;

std::int64_t vlOSSeek(VLHANDLE file, std::int64_t offset, std::uint32_t origin) {
  const FileTable::Use use = findFile(file);
  if (!use) return -1;
  std::int64_t base = 0;
  if (origin == VL_SEEK_CURRENT) {
    base = use->position;
  } else if (origin == VL_SEEK_END) {
    base = vlhost::sizeOf(use->system);
    if (base < 0) return -1;
  } else if (origin != VL_SEEK_BEGIN) {
    vlhost::setLastError(kFileErrors.invalid);
    return -1;
  }
  const bool overflows = offset > 0 && base > std::numeric_limits<std::int64_t>::max() - offset;
  if (overflows || base + offset < 0) {
    vlhost::setLastError(kFileErrors.beforeStart);
    return -1;
  }
  use->position = base + offset;
  return use->position;
}

std::int64_t vlOSTell(VLHANDLE file) {
  const FileTable::Use use = findFile(file);
  return use ? use->position : -1;
}

std::uint32_t vlOSGetFileSize(VLHANDLE file, std::uint32_t* high) {
  const FileTable::Use use = findFile(file);
  // -1 splits into two halves that both signal failure.
  const auto size = static_cast<std::uint64_t>(use ? vlhost::sizeOf(use->system) : -1);
  if (high != nullptr) *high = static_cast<std::uint32_t>(size >> 32);
  return static_cast<std::uint32_t>(size);
}
