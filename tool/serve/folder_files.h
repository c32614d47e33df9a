// The files and sub-folders of a served folder, for the page: no media file is opened.
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "tool/serve/served_folder.h"

namespace fmp4 {

// One entry of the list. Its files are named relative to their folder; empty when there is none.
struct FolderFile {
  // Recording: a playlist, or a manifest with media of its name. Manifest: one whose media have other names.
  enum class Kind { Recording, Media, Manifest };

  std::string name;  // of a recording the base name of its files, else the file name
  Kind kind = Kind::Media;
  std::string file;  // to ask the plug-in about: of a recording its video, else its audio, else its manifest
  std::string manifest;       // DASH
  std::string playlist;       // HLS: the master playlist if there is one, else the media playlist
  std::string audioPlaylist;  // HLS: the media playlist of separate audio
  std::uint64_t bytes = 0;    // of its media files
  std::int64_t modified = 0;  // the last change of one of its files, milliseconds since 1970
  bool inProgress = false;    // its playlist has no end yet
};

struct FolderList {
  std::string folder;  // relative to the served one, without a separator at its end; may be empty
  std::vector<std::string> folders;  // names of the folders in it
  std::vector<FolderFile> files;     // the last changed first
};

// The same as JSON (docs/json.md).
std::string folderListJson(const FolderList& list);

// Lists folders again and again: what was read of a playlist or manifest is kept until the file changes.
class FolderFiles {
 public:
  // `served` must outlive the object.
  explicit FolderFiles(const ServedFolder& served) : served_(served) {}

  // What `folder` holds, a path relative to the served folder, empty for that itself. Nothing when there is
  // no such folder in it. Hidden names (".name") and links that lead out are left out. One pass over the
  // folder; safe on several threads.
  std::optional<FolderList> list(const std::string& folder);

 private:
  struct Stamp {
    std::uint64_t size = 0;
    std::filesystem::file_time_type modified;
    bool operator==(const Stamp&) const = default;
  };
  // What was found out by reading a file: whether an .xml is a manifest, or a playlist open.
  struct Known {
    Stamp stamp;
    bool answer = false;
  };
  using Stamps = std::map<std::string, Stamp>;  // by name
  using KnownFiles = std::map<std::string, Known>;
  class Reading;

  Stamps stampsIn(const std::filesystem::path& path, const std::string& folder,
                  std::vector<std::string>& folders) const;

  const ServedFolder& served_;
  std::mutex mutex_;
  std::map<std::string, KnownFiles> known_;  // by folder
};

}  // namespace fmp4
