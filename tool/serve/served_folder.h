// Files that the server delivers.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace fmp4 {

struct ServedFile {
  std::filesystem::path path;
  std::uint64_t size = 0;  // bytes, at the time of the request
};

// A folder: only its files can be requested.
class ServedFolder {
 public:
  // Throws UserError when `folder` is not a folder that can be read.
  explicit ServedFolder(const std::filesystem::path& folder);

  const std::filesystem::path& path() const { return root_; }

  // The regular file of a decoded, relative URL path ("news.m4v", "may/news.m4v"). None when there is no such
  // file or the name leads out of the folder, by "..", by an absolute path or through a link.
  std::optional<ServedFile> find(const std::string& name) const;

  // The folder of a decoded, relative path, canonical; empty for the folder itself. None as above.
  std::optional<std::filesystem::path> findFolder(const std::string& name) const;

 private:
  // What is at a path below the folder, canonical; none when there is nothing or it is not in the folder.
  std::optional<std::filesystem::path> resolve(const std::filesystem::path& relative) const;

  std::filesystem::path root_;  // canonical
};

// The media type of a file by its extension, application/octet-stream when it is unknown.
std::string contentTypeOf(const std::filesystem::path& path);

}  // namespace fmp4
