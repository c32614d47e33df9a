#include "tool/viewer/overview_cache.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <string_view>
#include <system_error>
#include <vector>

#include "base/crc32.h"
#include "base/text.h"
#include "os/path_name.h"
#include "os/replace_file.h"
#include "tool/viewer/overview_file.h"

namespace fmp4 {

namespace fs = std::filesystem;

namespace {

constexpr const char* kOverviewExtension = ".overview";

// The folder that an environment variable names; empty when it names none. A relative one is not accepted
// (XDG Base Directory Specification).
fs::path folderNamedBy(std::string_view variable) {
#ifdef _WIN32
  const wchar_t* const value = _wgetenv(std::wstring(variable.begin(), variable.end()).c_str());
#else
  const char* const value = std::getenv(std::string(variable).c_str());
#endif
  fs::path folder = value ? fs::path(value) : fs::path();
  return folder.is_absolute() ? folder : fs::path();
}

fs::path cacheFolderOfUser() {
#ifdef _WIN32
  return folderNamedBy("LOCALAPPDATA");
#else
  if (fs::path folder = folderNamedBy("XDG_CACHE_HOME"); !folder.empty()) return folder;
  const fs::path home = folderNamedBy("HOME");
  return home.empty() ? home : home / ".cache";
#endif
}

// A file with the time of its last use.
struct CachedFile {
  fs::path path;
  std::uint64_t bytes = 0;
  fs::file_time_type used;
};

// What the folder holds: overviews, and what writing them left.
std::vector<CachedFile> filesIn(const fs::path& folder) {
  std::vector<CachedFile> files;
  std::error_code error;
  for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
    std::error_code ignored;
    if (vlName(entry->path().filename()).find(kOverviewExtension) == std::string::npos ||
        !entry->is_regular_file(ignored))
      continue;
    files.push_back({entry->path(), entry->file_size(ignored), entry->last_write_time(ignored)});
  }
  return files;
}

}  // namespace

fs::path overviewFolder() {
  fs::path folder = folderNamedBy("FMP4_CACHE");
  if (folder.empty() && !(folder = cacheFolderOfUser()).empty()) folder /= "fmp4";
  return folder.empty() ? folder : folder / "overviews";
}

fs::path OverviewCache::pathOf(const std::string& name) const {
  const std::uint32_t crc = crc32({reinterpret_cast<const std::uint8_t*>(name.data()), name.size()});
  return folder_ / (hexText(crc, 8) + kOverviewExtension);
}

std::optional<Overview::Finest> OverviewCache::load(const std::string& name, const std::string& key) const {
  if (folder_.empty()) return std::nullopt;
  const fs::path path = pathOf(name);
  std::error_code error;
  const std::uint64_t size = fs::file_size(path, error);
  if (error || size > maxBytes_) return std::nullopt;
  std::vector<std::uint8_t> bytes(static_cast<std::size_t>(size));
  std::ifstream file(path, std::ios::binary);
  if (!file.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(size)))
    return std::nullopt;
  auto overview = overviewOfBytes(bytes, key);
  if (overview) fs::last_write_time(path, fs::file_time_type::clock::now(), error);
  return overview;
}

void OverviewCache::store(const std::string& name, const std::string& key,
                          const Overview::Finest& overview) const {
  if (folder_.empty()) return;
  const std::string bytes = overviewBytes(overview, key);
  if (bytes.size() > maxBytes_) return;
  std::error_code ignored;
  if (fs::create_directories(folder_, ignored)) fs::permissions(folder_, fs::perms::owner_all, ignored);
  const std::string_view content = bytes;
  // One that cannot be written is made again the next time.
  static_cast<void>(os::replaceFile(vlName(pathOf(name)), {&content, 1}, os::Durability::EitherContent));
  makeRoom();
}

void OverviewCache::makeRoom() const {
  std::vector<CachedFile> files = filesIn(folder_);
  std::sort(files.begin(), files.end(),
            [](const CachedFile& a, const CachedFile& b) { return a.used > b.used; });
  std::uint64_t bytes = 0;
  for (const CachedFile& file : files) {
    bytes += file.bytes;
    std::error_code ignored;
    if (bytes > maxBytes_) fs::remove(file.path, ignored);
  }
}

}  // namespace fmp4
