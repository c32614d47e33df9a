#include "tool/serve/folder_files.h"

#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>
#include <set>
#include <string_view>
#include <system_error>
#include <tuple>
#include <utility>

#include "base/letter_case.h"
#include "os/path_name.h"
#include "recording/open_playlist.h"
#include "tool/serve/list_files.h"

namespace fmp4 {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kMostFoldersKnown = 64;

// In the order in which the file of a recording is chosen. Letter case: the plug-in's names are in lower
// case, and it says so of others.
constexpr std::array<std::string_view, 5> kMediaExtensions = {".m4v", ".mp4", ".ismv", ".m4a", ".isma"};

bool isMediaFile(const std::string& name) {
  return std::any_of(kMediaExtensions.begin(), kMediaExtensions.end(),
                     [&name](std::string_view extension) { return endsIgnoringCase(name, extension); });
}

bool isMediaPlaylist(const std::string& name) {
  return name.ends_with(".m3u8") && !name.ends_with(kMasterExtension);
}

bool isOfInterest(const std::string& name) {
  return isMediaFile(name) || name.ends_with(".m3u8") || name.ends_with(".mpd") || name.ends_with(".xml");
}

std::string baseOf(const std::string& name) {
  return name.substr(0, name.rfind('.'));
}

std::int64_t millisecondsOf(fs::file_time_type time) {
  const auto system = std::chrono::file_clock::to_sys(time).time_since_epoch();
  return std::chrono::duration_cast<std::chrono::milliseconds>(system).count();
}

const char* kindText(FolderFile::Kind kind) {
  switch (kind) {
    case FolderFile::Kind::Recording:
      return "recording";
    case FolderFile::Kind::Manifest:
      return "manifest";
    case FolderFile::Kind::Media:
      break;
  }
  return "media";
}

}  // namespace

// Makes entries of what one pass over a folder found.
class FolderFiles::Reading {
 public:
  Reading(const fs::path& folder, const Stamps& files, const KnownFiles& known)
      : folder_(folder), files_(files), before_(known) {}

  std::vector<FolderFile> entries() {
    findRecordings();
    std::vector<FolderFile> entries;
    for (const std::string& name : recordings_) entries.push_back(recording(name));
    for (const auto& [name, stamp] : files_)
      if (!used_.contains(name) && (isMediaFile(name) || isManifest(name))) entries.push_back(single(name));
    std::sort(entries.begin(), entries.end(), [](const FolderFile& a, const FolderFile& b) {
      return std::tie(b.modified, a.name) < std::tie(a.modified, b.name);
    });
    return entries;
  }
  KnownFiles takeKnown() { return std::move(known_); }

 private:
  bool has(const std::string& name) const { return files_.contains(name); }

  // What `read` says of a file, or said of it when it was as it is.
  bool answer(const std::string& name, bool (*read)(const fs::path&)) {
    const Stamp& stamp = files_.at(name);
    if (const auto now = known_.find(name); now != known_.end()) return now->second.answer;
    const auto old = before_.find(name);
    const bool kept = old != before_.end() && old->second.stamp == stamp;
    const bool says = kept ? old->second.answer : read(folder_ / vlPath(name));
    known_[name] = {stamp, says};
    return says;
  }
  bool isManifest(const std::string& name) {
    return name.ends_with(".mpd") || (name.ends_with(".xml") && answer(name, isXmlManifest));
  }
  bool hasMedia(const std::string& base) const {
    return std::any_of(kMediaExtensions.begin(), kMediaExtensions.end(),
                       [&](std::string_view extension) { return has(base + std::string(extension)); });
  }

  // The name of an audio playlist is that of its recording followed by the letter A.
  bool isAudioList(const std::string& base) const {
    return base.ends_with('A') && has(base.substr(0, base.size() - 1) + ".m3u8") && !has(base + ".m4v");
  }
  void findRecordings() {
    for (const auto& [name, stamp] : files_) {
      const std::string base = baseOf(name);
      if (isMediaPlaylist(name) ? !isAudioList(base) : isManifest(name) && hasMedia(base))
        recordings_.insert(base);
    }
  }

  // Adds a file of this name to an entry. Returns its name, empty when there is none.
  std::string take(const std::string& name, FolderFile& entry) {
    const auto file = files_.find(name);
    if (file == files_.end()) return {};
    used_.insert(name);
    entry.modified = std::max(entry.modified, millisecondsOf(file->second.modified));
    if (isMediaFile(name)) entry.bytes += file->second.size;
    return name;
  }

  FolderFile recording(const std::string& base) {
    FolderFile entry;
    entry.name = base;
    entry.kind = FolderFile::Kind::Recording;
    for (const std::string_view extension : kMediaExtensions) {
      const std::string media = take(base + std::string(extension), entry);
      if (entry.file.empty()) entry.file = media;
    }
    entry.manifest = take(base + ".mpd", entry);
    if (const std::string xml = base + ".xml"; entry.manifest.empty() && has(xml) && isManifest(xml))
      entry.manifest = take(xml, entry);
    const std::string list = take(base + ".m3u8", entry);
    entry.playlist = take(base + std::string(kMasterExtension), entry);
    if (entry.playlist.empty()) entry.playlist = list;
    entry.audioPlaylist = take(base + "A.m3u8", entry);
    entry.inProgress = !list.empty() && answer(list, isOpenPlaylist);
    if (entry.file.empty()) entry.file = entry.manifest;
    return entry;
  }

  FolderFile single(const std::string& name) {
    FolderFile entry;
    entry.name = entry.file = take(name, entry);
    if (isMediaFile(name)) return entry;
    entry.kind = FolderFile::Kind::Manifest;
    entry.manifest = name;
    return entry;
  }

  const fs::path& folder_;
  const Stamps& files_;
  const KnownFiles& before_;
  KnownFiles known_;
  std::set<std::string> recordings_;
  std::set<std::string> used_;
};

FolderFiles::Stamps FolderFiles::stampsIn(const fs::path& path, const std::string& folder,
                                          std::vector<std::string>& folders) const {
  Stamps files;
  std::error_code error;
  for (fs::directory_iterator entry(path, error), end; !error && entry != end; entry.increment(error)) {
    const std::string name = vlName(entry->path().filename());
    std::error_code ignored;
    const bool isFolder = entry->is_directory(ignored);
    if (name.starts_with('.') || (!isFolder && !isOfInterest(name))) continue;
    const std::string relative = folder.empty() ? name : folder + '/' + name;
    if (entry->is_symlink(ignored) && !served_.find(relative) && !served_.findFolder(relative)) continue;
    if (isFolder) {
      folders.push_back(name);
    } else if (entry->is_regular_file(ignored)) {
      const std::uint64_t size = entry->file_size(ignored);
      const fs::file_time_type modified = entry->last_write_time(ignored);
      if (!ignored) files[name] = {size, modified};
    }
  }
  std::sort(folders.begin(), folders.end());
  return files;
}

std::optional<FolderList> FolderFiles::list(const std::string& folder) {
  const std::optional<fs::path> path = served_.findFolder(folder);
  if (!path) return std::nullopt;
  FolderList list;
  list.folder = folder;
  while (list.folder.ends_with('/')) list.folder.pop_back();
  const Stamps files = stampsIn(*path, list.folder, list.folders);
  KnownFiles known;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (const auto kept = known_.find(list.folder); kept != known_.end()) known = kept->second;
  }
  Reading reading(*path, files, known);
  list.files = reading.entries();
  const std::lock_guard<std::mutex> lock(mutex_);
  if (known_.size() >= kMostFoldersKnown) known_.clear();
  known_[list.folder] = reading.takeKnown();
  return list;
}

std::string folderListJson(const FolderList& list) {
  nlohmann::json files = nlohmann::json::array();
  for (const FolderFile& file : list.files)
    files.push_back({{"name", file.name},
                     {"kind", kindText(file.kind)},
                     {"file", file.file},
                     {"manifest", file.manifest},
                     {"playlist", file.playlist},
                     {"audioPlaylist", file.audioPlaylist},
                     {"bytes", file.bytes},
                     {"modified", file.modified},
                     {"inProgress", file.inProgress}});
  const nlohmann::json json = {
      {"folder", list.folder}, {"folders", list.folders}, {"files", std::move(files)}};
  return json.dump(-1, ' ', true, nlohmann::json::error_handler_t::replace);
}

}  // namespace fmp4
