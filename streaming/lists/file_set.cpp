#include "streaming/lists/file_set.h"

#include <cstring>
#include <initializer_list>

#include "streaming/lists/uri.h"
#include "vlutil.h"

namespace fmp4 {

namespace {

// The file name, split to find related files.
struct BaseName {
  char drive[VL_MAX_PATH];
  char directory[VL_MAX_PATH];
  char file[VL_MAX_PATH];

  explicit BaseName(const char* name) { vlOSSplitPath(name, drive, directory, file, nullptr); }

  // The first existing file of this base name among the extensions; empty if there is none.
  std::string firstExisting(std::initializer_list<const char*> extensions) const {
    for (const char* extension : extensions) {
      char path[VL_MAX_PATH];
      if (vlOSMakePath(path, sizeof path, drive, directory, file, extension) == VL_OK &&
          vlOSFileExists(path)) {
        return path;
      }
    }
    return {};
  }
};

// The file that a manifest refers to. Unencoded names in manifests are accepted too.
std::string mediaBeside(const std::string& folder, const std::string& reference) {
  const std::string path = folder + nameOfUri(reference), bare = folder + reference;
  return vlOSFileExists(bare.c_str()) && !vlOSFileExists(path.c_str()) ? bare : path;
}

}  // namespace

FileSet findFileSet(const char* name, bool audioOnly) {
  const auto contains = [name](const char* part) { return std::strstr(name, part) != nullptr; };
  const BaseName base(name);
  FileSet files;
  if (contains(".mpd") || contains(".xml")) {
    files.manifest = name;
    files.video = base.firstExisting({".mp4", ".m4v"});
    files.audio = base.firstExisting({".m4a"});
    return files;
  }
  if (audioOnly) {
    files.audio = name;
  } else if (contains(".mp4") || contains(".m4v")) {
    files.video = name;
  } else if (contains(".m4a")) {
    files.audio = name;
  }
  files.manifest = base.firstExisting({".mpd", ".xml"});
  return files;
}

const Manifest* LastManifest::at(const std::string& path) {
  if (path.empty()) return nullptr;
  if (path != path_) {
    manifest_ = readManifestFile(path.c_str());
    path_ = path;
  }
  return manifest_ ? &*manifest_ : nullptr;
}

const Manifest* loadManifest(FileSet& files, LastManifest& last) {
  const Manifest* const manifest = last.at(files.manifest);
  if (!manifest) return nullptr;
  const BaseName base(files.manifest.c_str());
  const std::string folder = std::string(base.drive) + base.directory;
  if (!manifest->video.baseUrl.empty()) files.video = mediaBeside(folder, manifest->video.baseUrl);
  if (!manifest->audio.baseUrl.empty()) files.audio = mediaBeside(folder, manifest->audio.baseUrl);
  return manifest;
}

}  // namespace fmp4
