#include <algorithm>
#include <cstring>
#include <initializer_list>
#include <string_view>

#include "vlutil.h"

namespace {

constexpr std::string_view kSeparators = "/\\";

struct PathParts {
  std::string_view drive, directory, name, extension;
};

PathParts split(std::string_view path) {
  PathParts parts;
  const auto isLetter = [](char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); };
  if (path.size() >= 2 && path[1] == ':' && isLetter(path[0])) {
    parts.drive = path.substr(0, 2);
    path.remove_prefix(2);
  }
  // npos + 1 is 0: no separator, no directory.
  const std::size_t nameStart = path.find_last_of(kSeparators) + 1;
  parts.directory = path.substr(0, nameStart);
  path.remove_prefix(nameStart);
  const std::size_t dot = std::min(path.rfind('.'), path.size());
  parts.name = path.substr(0, dot);
  parts.extension = path.substr(dot);
  return parts;
}

std::string_view orEmpty(const char* text) {
  return text == nullptr ? std::string_view() : text;
}

// The separator between a directory and a name: none, or the kind used in the directory.
std::string_view separatorAfter(std::string_view directory) {
  if (directory.empty() || kSeparators.find(directory.back()) != std::string_view::npos) return "";
  const std::size_t last = directory.find_last_of(kSeparators);
  return last != std::string_view::npos && directory[last] == '\\' ? "\\" : "/";
}

std::string_view dotBefore(std::string_view extension) {
  return extension.empty() || extension.front() == '.' ? "" : ".";
}

// Joins the pieces, which may alias `path`. Returns false with `path` unchanged if they do not fit.
bool join(char* path, std::size_t size, std::initializer_list<std::string_view> pieces) {
  char joined[VL_MAX_PATH] = {};
  std::size_t length = 0;
  for (const std::string_view piece : pieces) {
    if (piece.size() >= std::min(size, VL_MAX_PATH) - length) return false;
    piece.copy(joined + length, piece.size());
    length += piece.size();
  }
  std::memcpy(path, joined, length + 1);
  return true;
}

}  // namespace

std::uint32_t vlOSSplitPath(const char* path, char* drive, char* directory, char* name, char* extension) {
  const auto copyOut = [](std::string_view part, char* output) {
    if (output != nullptr) output[part.copy(output, VL_MAX_PATH - 1)] = '\0';
  };
  const std::size_t length = path == nullptr ? VL_MAX_PATH : strnlen(path, VL_MAX_PATH);
  const bool fits = length < VL_MAX_PATH;
  // The outputs may alias the path.
  char copy[VL_MAX_PATH];
  if (fits) std::memcpy(copy, path, length);
  const PathParts parts = fits ? split({copy, length}) : PathParts{};
  copyOut(parts.drive, drive);
  copyOut(parts.directory, directory);
  copyOut(parts.name, name);
  copyOut(parts.extension, extension);
  return fits ? VL_OK : VL_FAILED;
}

std::uint32_t vlOSMakePath(char* path, std::size_t size, const char* drive, const char* directory,
                           const char* name, const char* extension) {
  if (path == nullptr || size == 0) return VL_FAILED;
  const std::string_view folder = orEmpty(directory);
  const std::string_view ending = orEmpty(extension);
  if (join(path, size,
           {orEmpty(drive), folder, separatorAfter(folder), orEmpty(name), dotBefore(ending), ending})) {
    return VL_OK;
  }
  path[0] = '\0';
  return VL_FAILED;
}

std::uint32_t ChangeFileExtension(char* path, std::size_t size, const char* extension) {
  if (path == nullptr) return VL_FAILED;
  const std::size_t length = strnlen(path, size);
  if (length == size) return VL_FAILED;
  std::string_view stem(path, length);
  stem.remove_suffix(split(stem).extension.size());
  const std::string_view ending = orEmpty(extension);
  return join(path, size, {stem, dotBefore(ending), ending}) ? VL_OK : VL_FAILED;
}
