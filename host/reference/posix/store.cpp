// Where the configuration store lies, and how a file is replaced in one step.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <memory>
#include <string>

#include "system.h"

namespace vlhost {

namespace {

std::string environment(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? std::string() : value;
}

// A new file beside the one it is to replace. Gone again unless it was moved there.
class TemporaryFile {
 public:
  explicit TemporaryFile(const std::string& target)
      : m_path(target + ".XXXXXX"), m_descriptor(mkostemp(m_path.data(), O_CLOEXEC)) {}
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  ~TemporaryFile() {
    if (m_descriptor < 0) return;
    close(m_descriptor);
    if (!m_isMoved) unlink(m_path.c_str());
  }

  bool isOpen() const { return m_descriptor >= 0; }

  bool write(const std::string& text) {
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
  int m_descriptor;
  bool m_isMoved = false;
};

std::string folderOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

bool makeFolders(const std::string& path) {
  for (std::size_t slash = path.find('/', 1); slash != std::string::npos; slash = path.find('/', slash + 1)) {
    if (mkdir(path.substr(0, slash).c_str(), 0700) != 0 && errno != EEXIST) return false;
  }
  return true;
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

bool replace(const std::string& path, const std::string& text) {
  if (!makeFolders(path)) return false;
  const std::string target = resolved(path);
  TemporaryFile file(target);
  return file.isOpen() && file.write(text) && file.takePermissions(target) && file.moveTo(target) &&
         syncFolder(folderOf(target));
}

}  // namespace

std::string storePath() {
  if (std::string path = environment("VLHOST_CONFIG"); !path.empty()) return path;
  constexpr const char* kStore = "/vlhost/vlhost.conf";
  // A relative folder is to be ignored (XDG base directory specification).
  if (const std::string folder = environment("XDG_CONFIG_HOME"); folder.starts_with('/'))
    return folder + kStore;
  const std::string home = environment("HOME");
  return home.empty() ? std::string() : home + "/.config" + kStore;
}

bool replaceFile(const std::string& path, const std::string& text) {
  if (replace(path, text)) return true;
  setLastError(static_cast<std::uint32_t>(errno));
  return false;
}

}  // namespace vlhost
