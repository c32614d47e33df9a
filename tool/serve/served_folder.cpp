#include "tool/serve/served_folder.h"

#include <algorithm>
#include <array>
#include <system_error>
#include <utility>

#include "base/user_error.h"
#include "os/path_name.h"

namespace fmp4 {

namespace fs = std::filesystem;

ServedFolder::ServedFolder(const fs::path& folder) {
  std::error_code error;
  if (fs::is_regular_file(folder, error))
    throw UserError("'" + vlName(folder) + "' is a file; give the folder that it is in");
  root_ = fs::canonical(folder, error);
  if (!error && !fs::is_directory(root_, error) && !error)
    error = std::make_error_code(std::errc::not_a_directory);
  if (!error) fs::directory_iterator(root_, error);
  if (error)
    throw UserError("the folder '" + vlName(folder) + "' cannot be read (" + error.message() +
                    "); check the name and its permissions");
}

std::optional<fs::path> ServedFolder::resolve(const fs::path& relative) const {
  std::error_code error;
  const fs::path path = fs::canonical(root_ / relative, error);
  if (error) return std::nullopt;
  const auto [rootEnd, ignored] = std::mismatch(root_.begin(), root_.end(), path.begin(), path.end());
  return rootEnd == root_.end() ? std::optional(path) : std::nullopt;
}

std::optional<ServedFile> ServedFolder::find(const std::string& name) const {
  // A NUL would end the name early for the operating system.
  if (name.find('\0') != std::string::npos) return std::nullopt;
  const fs::path relative = vlPath(name);
  // Some systems accept a file name followed by a separator.
  if (!relative.has_filename()) return std::nullopt;
  const std::optional<fs::path> path = resolve(relative);
  std::error_code error;
  // Opening anything but a regular file could block.
  if (!path || !fs::is_regular_file(*path, error) || error) return std::nullopt;
  const std::uint64_t size = fs::file_size(*path, error);
  if (error) return std::nullopt;
  return ServedFile{*path, size};
}

std::optional<fs::path> ServedFolder::findFolder(const std::string& name) const {
  if (name.empty()) return root_;
  if (name.find('\0') != std::string::npos) return std::nullopt;
  const std::optional<fs::path> path = resolve(vlPath(name));
  std::error_code error;
  return path && fs::is_directory(*path, error) && !error ? path : std::nullopt;
}

std::string contentTypeOf(const fs::path& path) {
  static constexpr std::array<std::pair<const char*, const char*>, 12> kTypes = {{
      {".mpd", "application/dash+xml"},
      {".xml", "application/dash+xml"},
      {".m3u8", "application/vnd.apple.mpegurl"},
      {".m4v", "video/mp4"},
      {".mp4", "video/mp4"},
      {".ismv", "video/mp4"},
      {".m4a", "audio/mp4"},
      {".isma", "audio/mp4"},
      {".html", "text/html; charset=utf-8"},
      {".css", "text/css; charset=utf-8"},
      {".js", "text/javascript; charset=utf-8"},
      {".svg", "image/svg+xml"},
  }};
  const fs::path extension = path.extension();
  for (const auto& [known, type] : kTypes)
    if (extension == known) return type;
  return "application/octet-stream";
}

}  // namespace fmp4
