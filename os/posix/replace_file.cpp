#include "os/replace_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <new>

#include "os/disk_file.h"
#include "os/posix/claim_space.h"

namespace fmp4::os {

namespace {

// A temporary file next to the one it replaces, with a name unique across processes and threads. Deleted
// unless it was moved into place.
class TemporaryFile {
 public:
  explicit TemporaryFile(const std::string& target) {
    static std::atomic<unsigned> counter = 0;
    const std::string start = target + "." + std::to_string(getpid()) + "-";
    do {
      path_ = start + std::to_string(counter++);
      descriptor_ = open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    } while (descriptor_ < 0 && (errno == EEXIST || errno == EINTR));
  }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  ~TemporaryFile() {
    if (descriptor_ < 0) return;
    const int error = errno;
    close(descriptor_);
    if (!isMoved_) unlink(path_.c_str());
    errno = error;
  }

  bool isOpen() const { return descriptor_ >= 0; }

  bool write(std::string_view text) {
    std::size_t done = 0;
    while (done < text.size()) {
      const ssize_t bytes = ::write(descriptor_, text.data() + done, text.size() - done);
      if (bytes < 0 && errno != EINTR) return false;
      if (bytes > 0) done += static_cast<std::size_t>(bytes);
    }
    return true;
  }

  bool write(std::span<const std::string_view> parts) {
    std::size_t size = 0;
    for (const std::string_view part : parts) size += part.size();
    claimSpace(descriptor_, 0, size);
    for (const std::string_view part : parts) {
      if (!write(part)) return false;
    }
    return true;
  }

  // Keeps the permissions of the file it replaces, if there is one.
  bool takePermissions(const std::string& target) {
    struct stat status = {};
    if (stat(target.c_str(), &status) != 0) return errno == ENOENT;
    return fchmod(descriptor_, status.st_mode & 07777) == 0;
  }

  // Flush the bytes first: if the name reached the disk before them, a power failure would leave an
  // incomplete file.
  bool moveTo(const std::string& target) {
    isMoved_ = fsync(descriptor_) == 0 && rename(path_.c_str(), target.c_str()) == 0;
    return isMoved_;
  }

 private:
  std::string path_;
  int descriptor_ = -1;
  bool isMoved_ = false;
};

// Resolves a chain of symbolic links, so that the target is replaced and the links stay.
std::string resolved(const std::string& path) {
  const std::unique_ptr<char, decltype(&std::free)> real(realpath(path.c_str(), nullptr), &std::free);
  return real == nullptr ? path : std::string(real.get());
}

bool replace(const std::string& path, std::span<const std::string_view> parts, Durability durability) {
  const std::string target = resolved(path);
  TemporaryFile file(target);
  return file.isOpen() && file.write(parts) && file.takePermissions(target) && file.moveTo(target) &&
         (durability == Durability::EitherContent || syncName(target));
}

}  // namespace

std::error_code replaceFile(const std::string& path, std::span<const std::string_view> parts,
                            Durability durability) noexcept {
  try {
    if (replace(path, parts, durability)) return {};
    return {errno, std::system_category()};
  } catch (const std::bad_alloc&) {
    return {ENOMEM, std::system_category()};
  }
}

}  // namespace fmp4::os
