#include "host/reference/system.h"
#include "vlutil.h"

namespace {

thread_local std::uint32_t lastError = 0;

}  // namespace

namespace vlhost {

void setLastError(std::uint32_t error) {
  lastError = error;
}

}  // namespace vlhost

std::uint32_t vlOSGetLastError() {
  return lastError;
}
