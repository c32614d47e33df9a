#include <cstring>

#include "vlutil.h"

// memmove and memset require valid addresses even for zero bytes.
void vlOSCopyMemory(void* destination, const void* source, std::size_t count) {
  if (count != 0) std::memmove(destination, source, count);
}

void CopyMemoryFast(void* destination, const void* source, std::size_t count) {
  vlOSCopyMemory(destination, source, count);
}

void ZeroMemoryFast(void* destination, std::size_t count) {
  if (count != 0) std::memset(destination, 0, count);
}
