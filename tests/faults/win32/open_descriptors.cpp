#include "tests/faults/open_descriptors.h"

#include <windows.h>

std::size_t fmp4::openDescriptors() {
  DWORD count = 0;
  GetProcessHandleCount(GetCurrentProcess(), &count);
  return count;
}
