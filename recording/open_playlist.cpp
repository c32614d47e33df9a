#include "recording/open_playlist.h"

#include <fstream>
#include <string>
#include <string_view>

#include "base/text.h"
#include "os/path_name.h"
#include "recording/paths.h"

namespace fmp4 {

bool isOpenPlaylist(const std::filesystem::path& playlist) {
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

bool hasOpenPlaylist(const std::string& media) {
  return isOpenPlaylist(vlPath(videoPlaylistPath(media))) || isOpenPlaylist(vlPath(audioPlaylistPath(media)));
}

}  // namespace fmp4
