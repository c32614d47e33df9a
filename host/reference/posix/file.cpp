// Files based on POSIX descriptors.
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <optional>
#include <utility>

#include "host/reference/file_watch.h"
#include "host/reference/opened_file.h"
#include "host/reference/system.h"
#include "vlutil.h"

static_assert(sizeof(off_t) == sizeof(std::int64_t), "files may be larger than 2 GiB");

using vlhost::files;
using vlhost::FileTable;
using vlhost::findFile;
using vlhost::OpenedFile;

namespace {

void fail(int error) {
  vlhost::setLastError(static_cast<std::uint32_t>(error));
}

// The flags of open(2), or nullopt for an invalid combination.
std::optional<int> openFlags(std::uint32_t access, std::uint32_t disposition) {
  const bool reads = (access & VL_GENERIC_READ) != 0;
  const bool writes = (access & VL_GENERIC_WRITE) != 0;
  if (!reads && !writes) return std::nullopt;
  // Waiting for the other end of a pipe of this name would hang the host.
  const int flags = O_CLOEXEC | O_NOCTTY | O_NONBLOCK | (!writes ? O_RDONLY : reads ? O_RDWR : O_WRONLY);
  switch (disposition) {
    case VL_OPEN_EXISTING:
      return flags;
    case VL_OPEN_ALWAYS:
      return writes ? flags | O_CREAT : flags;
    case VL_CREATE_NEW:
      if (writes) return flags | O_CREAT | O_EXCL;
      return std::nullopt;
    case VL_CREATE_ALWAYS:
      if (writes) return flags | O_CREAT | O_TRUNC;
      return std::nullopt;
    default:
      return std::nullopt;
  }
}

// Raises the soft limit on open files to the hard limit. Returns false if it is there already.
bool raiseDescriptorLimit() {
  rlimit limit = {};
  if (getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur >= limit.rlim_max) return false;
  limit.rlim_cur = limit.rlim_max;
  return setrlimit(RLIMIT_NOFILE, &limit) == 0;
}

int openDescriptor(const char* path, int flags) {
  bool mayRaise = true;
  for (;;) {
    const int descriptor = open(path, flags, 0666);
    if (descriptor >= 0) return descriptor;
    if (errno == EINTR) continue;
    if (errno != EMFILE || !mayRaise) return -1;
    mayRaise = false;
    if (!raiseDescriptorLimit()) {
      errno = EMFILE;
      return -1;
    }
  }
}

// Returns 0 if the file can be read and written at any offset, otherwise the error.
int checkSeekable(int descriptor) {
  struct stat status = {};
  if (fstat(descriptor, &status) != 0) return errno;
  if (S_ISDIR(status.st_mode)) return EISDIR;
  return lseek(descriptor, 0, SEEK_CUR) < 0 ? errno : 0;
}

// Repeats `transfer(bytes done so far)` until `count` bytes are transferred, it returns 0 (end of file) or
// fails. Advances the position by the number of bytes transferred and returns it; `error` is 0 or the error.
template <typename Transfer>
std::uint32_t transferAll(OpenedFile& file, std::uint32_t count, int& error, Transfer transfer) {
  std::uint32_t done = 0;
  error = 0;
  while (done < count) {
    const ssize_t bytes = transfer(done);
    if (bytes > 0) {
      done += static_cast<std::uint32_t>(bytes);
      file.position += bytes;
    } else if (bytes == 0) {
      break;
    } else if (errno != EINTR) {
      error = errno;
      break;
    }
  }
  return done;
}

}  // namespace

const vlhost::FileErrors vlhost::kFileErrors = {EBADF, EINVAL, EINVAL};

std::int64_t vlhost::sizeOf(SystemFile descriptor) {
  struct stat status = {};
  if (fstat(descriptor, &status) == 0) return status.st_size;
  fail(errno);
  return -1;
}

VLHANDLE vlOSCreateFile(const char* path, std::uint32_t access, std::uint32_t /*share*/, void* /*security*/,
                        std::uint32_t disposition, std::uint32_t /*attributes*/, VLHANDLE /*templateFile*/) {
  const std::optional<int> flags = openFlags(access, disposition);
  if (path == nullptr || !flags) {
    fail(EINVAL);
    return VL_INVALID_HANDLE;
  }
  OpenedFile file = {openDescriptor(path, *flags), 0};
  if (file.system < 0) {
    fail(errno);
    return VL_INVALID_HANDLE;
  }
  int error = checkSeekable(file.system);
  if (error == 0) {
    const VLHANDLE handle = files().insert(file);
    if (handle != VL_INVALID_HANDLE) {
      vlhost::fileOpened(path, handle);
      return handle;
    }
    error = ENOMEM;
  }
  close(file.system);
  fail(error);
  return VL_INVALID_HANDLE;
}

std::int32_t vlOSReadFile(VLHANDLE file, void* buffer, std::uint32_t count, std::uint32_t* done) {
  if (done != nullptr) *done = 0;
  const FileTable::Use use = findFile(file);
  if (!use) return 0;
  if (buffer == nullptr && count != 0) {
    fail(EFAULT);
    return 0;
  }
  int error = 0;
  const std::int64_t start = use->position;
  const std::uint32_t bytes = transferAll(*use, count, error, [&](std::uint32_t offset) {
    return pread(use->system, static_cast<std::uint8_t*>(buffer) + offset, count - offset, use->position);
  });
  if (done != nullptr) *done = bytes;
  vlhost::fileRead(file, start, buffer, bytes);
  if (error == 0) return 1;
  fail(error);
  return 0;
}

std::int32_t vlOSWriteFile(VLHANDLE file, const void* buffer, std::uint32_t count, std::uint32_t* done) {
  if (done != nullptr) *done = 0;
  const FileTable::Use use = findFile(file);
  if (!use) return 0;
  if (buffer == nullptr && count != 0) {
    fail(EFAULT);
    return 0;
  }
  int error = 0;
  const std::uint32_t bytes = transferAll(*use, count, error, [&](std::uint32_t offset) {
    return pwrite(use->system, static_cast<const std::uint8_t*>(buffer) + offset, count - offset,
                  use->position);
  });
  if (done != nullptr) *done = bytes;
  if (bytes == count) return 1;
  fail(error != 0 ? error : EIO);
  return 0;
}

std::int32_t vlOSCloseFile(VLHANDLE file) {
  const std::optional<OpenedFile> removed = files().remove(file);
  if (!removed) {
    fail(EBADF);
    return 0;
  }
  // The descriptor is released even if close returns EINTR; any other error is a delayed write failure.
  if (close(removed->system) == 0 || errno == EINTR) return 1;
  fail(errno);
  return 0;
}

std::int32_t vlOSFileExists(const char* path) {
  struct stat status = {};
  return path != nullptr && stat(path, &status) == 0 && !S_ISDIR(status.st_mode) ? 1 : 0;
}
