#include "os/file_in_use.h"

#if defined(__linux__)
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#endif

namespace fmp4::os {

#if defined(__linux__)
// A read lease is granted only while the file is not open for writing.
bool isBeingWritten(const std::string& path) {
  const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (descriptor < 0) return false;
  const bool refused = fcntl(descriptor, F_SETLEASE, F_RDLCK) != 0 && (errno == EAGAIN || errno == EBUSY);
  close(descriptor);
  return refused;
}
#else
bool isBeingWritten(const std::string&) {
  return false;
}
#endif

}  // namespace fmp4::os
