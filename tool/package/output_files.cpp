#include "tool/package/output_files.h"

#include <algorithm>
#include <array>

#include "base/user_error.h"
#include "os/file_in_use.h"
#include "os/path_name.h"
#include "recording/extensions.h"

namespace fmp4 {

namespace {

// The plug-in decides by these how a recording is made.
constexpr std::array kExtensions = {".mp4", extension::kVideo, ".ismv"};

}  // namespace

OutputFiles::OutputFiles(const std::string& output) {
  const std::filesystem::path path = vlPath(output);
  const std::string ending = vlName(path.extension());
  if (std::find(kExtensions.begin(), kExtensions.end(), ending) == kExtensions.end())
    throw UserError(
        "'" + output +
        "' is no name for a recording; give one that ends in .mp4 (video and audio in files of their "
        "own, .m4v and .m4a) or .ismv (both in one file)");
  if (vlName(path.filename()).find('\\') != std::string::npos)
    throw UserError(
        "'" + output +
        "' has a backslash in its name, which hosts take for the end of a folder's; give another name");
  const auto named = [&path](const char* ending) {
    return std::filesystem::path(path).replace_extension(ending);
  };
  const bool separateAudio = ending != ".ismv";
  videoPlaylist_ = named(extension::kPlaylist);
  masterPlaylist_ = named(extension::kMasterPlaylist);
  files_ = {separateAudio ? named(extension::kVideo) : path};
  if (separateAudio) {
    audioPlaylist_ = named("");
    audioPlaylist_ += extension::kAudioPlaylistMark;
    audioPlaylist_ += extension::kPlaylist;
    files_.insert(files_.end(), {named(extension::kAudio), audioPlaylist_});
  }
  files_.insert(files_.end(), {named(separateAudio ? extension::kManifest : extension::kSmoothManifest),
                               videoPlaylist_, masterPlaylist_});
  checkLengths(output);
  previous_ = existing();
}

// The lists come last and have the longest names: better refused now than when everything else is recorded.
void OutputFiles::checkLengths(const std::string& output) const {
  constexpr std::size_t kMax = 255;  // bytes of a name in most file systems
  for (const auto& file : files_) {
    const std::string name = vlName(file.filename());
    if (name.size() > kMax)
      throw UserError("'" + output + "' is too long a name: '" + name +
                      "', which belongs to the recording, would have " + std::to_string(name.size()) +
                      " bytes, and names have at most " + std::to_string(kMax));
  }
}

void OutputFiles::check(const std::string& input, bool replace) const {
  std::error_code ignored;
  for (const auto& file : previous_) {
    if (std::filesystem::equivalent(vlPath(input), file, ignored))
      throw UserError("packaging would write over its source '" + vlName(file) +
                      "'; give another name for the output");
    if (os::isBeingWritten(vlName(file)))
      throw UserError("'" + vlName(file) +
                      "' is being written by another program; give another name for the "
                      "output, or wait for its end");
  }
  if (!previous_.empty() && !replace)
    throw UserError("'" + vlName(previous_.front()) +
                    "' exists; --force replaces that recording, or give another name for the output");
}

void OutputFiles::removeNew() const {
  std::error_code ignored;
  for (const auto& file : existing())
    if (std::find(previous_.begin(), previous_.end(), file) == previous_.end())
      std::filesystem::remove(file, ignored);
}

std::vector<std::filesystem::path> OutputFiles::existing() const {
  std::vector<std::filesystem::path> found;
  std::error_code ignored;
  for (const auto& file : files_)
    if (std::filesystem::exists(file, ignored)) found.push_back(file);
  return found;
}

}  // namespace fmp4
