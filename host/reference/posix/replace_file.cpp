// How a file is replaced in one step.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <memory>
#include <new>
#include <string>
#include <string_view>

#include "system.h"
#include "vlutil.h"

namespace {

// A new file beside the one it is to replace, of a name that no other process or thread uses. Gone again
// unless it was moved there.
class TemporaryFile {
 public:
  explicit TemporaryFile(const std::string& target) {
    static std::atomic<unsigned> counter = 0;
    const std::string start = target + "." + std::to_string(getpid()) + "-";
    do {
      m_path = start + std::to_string(counter++);
      m_descriptor = open(m_path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    } while (m_descriptor < 0 && (errno == EEXIST || errno == EINTR));
  }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  ~TemporaryFile() {
    if (m_descriptor < 0) return;
    close(m_descriptor);
    if (!m_isMoved) unlink(m_path.c_str());
  }

  bool isOpen() const { return m_descriptor >= 0; }

  bool write(std::string_view text) {
    std::size_t done = 0;
    while (done < text.size()) {
      const ssize_t bytes = ::write(m_descriptor, text.data() + done, text.size() - done);
      if (bytes < 0 && errno != EINTR) return false;
      if (bytes > 0) done += static_cast<std::size_t>(bytes);
    }
    return true;
  }

  // The permissions of the file it replaces, where there is one.
  bool takePermissions(const std::string& target) {
    struct stat status = {};
    if (stat(target.c_str(), &status) != 0) return errno == ENOENT;
    return fchmod(m_descriptor, status.st_mode & 07777) == 0;
  }

  bool moveTo(const std::string& target) {
    m_isMoved = fsync(m_descriptor) == 0 && rename(m_path.c_str(), target.c_str()) == 0;
    return m_isMoved;
  }

 private:
  std::string m_path;
  int m_descriptor = -1;
  bool m_isMoved = false;
};

std::string folderOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

// The file that a chain of links leads to, so that the file is replaced and the links stay.
std::string resolved(const std::string& path) {
  const std::unique_ptr<char, decltype(&std::free)> real(realpath(path.c_str(), nullptr), &std::free);
  return real == nullptr ? path : std::string(real.get());
}

// The new name lasts once the folder that holds it is on the disk.
bool syncFolder(const std::string& path) {
  const int descriptor = open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (descriptor < 0) return false;
  const bool isSynced = fsync(descriptor) == 0;
  const int error = errno;
  close(descriptor);
  errno = error;
  return isSynced;
}

bool replace(const std::string& path, std::string_view text) {
  const std::string target = resolved(path);
  TemporaryFile file(target);
  return file.isOpen() && file.write(text) && file.takePermissions(target) && file.moveTo(target) &&
         syncFolder(folderOf(target));
}

}  // namespace

std::int32_t vlOSReplaceFile(const char* path, const void* content, std::size_t count) try {
  if (path == nullptr || (content == nullptr && count != 0)) {
    vlhost::setLastError(EINVAL);
    return 0;
  }
  if (replace(path, {static_cast<const char*>(content), count})) return 1;
  vlhost::setLastError(static_cast<std::uint32_t>(errno));
  return 0;
} catch (const std::bad_alloc&) {
  vlhost::setLastError(ENOMEM);
  return 0;
}
