#include "os/disk_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "os/posix/claim_space.h"

namespace fmp4::os {

namespace {

std::string folderOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

template <class Call>
int repeated(Call call) {
  int result = 0;
  do result = call();
  while (result < 0 && errno == EINTR);
  return result;
}

}  // namespace

bool DiskFile::open(const std::string& path) {
  close();
  // Waiting for the other end of a pipe of this name would hang.
  file_ = repeated([&] { return ::open(path.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK); });
  return file_ != kNone;
}

bool DiskFile::sync() {
  return repeated([this] { return fdatasync(static_cast<int>(file_)); }) == 0;
}

void DiskFile::claim(std::uint64_t offset, std::uint64_t count) {
  claimSpace(static_cast<int>(file_), offset, count);
}

bool DiskFile::cut(std::uint64_t size) {
  const int file = static_cast<int>(file_);
  struct stat status = {};
  if (fstat(file, &status) != 0) return false;
  if (static_cast<std::uint64_t>(status.st_size) < size) return true;
  return repeated([&] { return ftruncate(file, static_cast<off_t>(size)); }) == 0;
}

void DiskFile::close() {
  if (file_ != kNone) ::close(static_cast<int>(file_));
  file_ = kNone;
}

bool syncName(const std::string& path) {
  const int folder = ::open(folderOf(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (folder < 0) return false;
  // File systems that return EINVAL do not cache directory entries.
  const bool isSynced = repeated([folder] { return fsync(folder); }) == 0 || errno == EINVAL;
  const int error = errno;
  ::close(folder);
  errno = error;
  return isSynced;
}

}  // namespace fmp4::os
