#include "recording/open_playlist.h"

#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

#include "base/text.h"
#include "os/path_name.h"
#include "recording/paths.h"

namespace fmp4 {

namespace {

// False when there is no such playlist.
bool lacksEnd(const std::filesystem::path& playlist) {
  constexpr std::string_view kEnd = "\n#EXT-X-ENDLIST\n";
  constexpr std::streamoff kTail = kEnd.size() + 1;  // lines may have Windows line ends
  std::ifstream file(playlist, std::ios::binary | std::ios::ate);
  if (!file) return false;
  const std::streamoff size = file.tellg();
  if (size < kTail) return true;
  std::string tail(kTail, '\0');
  file.seekg(size - kTail);
  file.read(tail.data(), kTail);
  return !plainLines(tail).ends_with(kEnd);
}

}  // namespace

bool hasOpenPlaylist(const std::string& media) {
  return lacksEnd(vlPath(videoPlaylistPath(media))) || lacksEnd(vlPath(audioPlaylistPath(media)));
}

}  // namespace fmp4
