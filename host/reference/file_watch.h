// The watch over the files of a thread.
#pragma once

#include <cstdint>

#include "vlutil.h"

namespace vlhost {

// Tell the thread's watch, if it has one.
void fileOpened(const char* path, VLHANDLE file);
void fileRead(VLHANDLE file, std::int64_t offset, const void* bytes, std::uint32_t count);

}  // namespace vlhost
