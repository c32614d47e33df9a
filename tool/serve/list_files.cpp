#include "tool/serve/list_files.h"

#include <algorithm>
#include <fstream>
#include <string>

#include "base/text.h"

namespace fmp4 {

bool isXmlManifest(const std::filesystem::path& path) {
  std::string text(1024, '\0');
  std::ifstream file(path, std::ios::binary);
  file.read(text.data(), static_cast<std::streamsize>(text.size()));
  text.resize(static_cast<std::size_t>(std::max<std::streamsize>(file.gcount(), 0)));
  return text.find("<MPD") != std::string::npos;
}

bool isOpenPlaylist(const std::filesystem::path& playlist) {
  constexpr std::string_view kEnd = "\n#EXT-X-ENDLIST\n";
  constexpr std::streamoff kTail = kEnd.size() + 1;  // lines may have Windows line ends
  std::ifstream file(playlist, std::ios::binary | std::ios::ate);
  const std::streamoff size = file.tellg();
  if (size < kTail) return true;
  std::string tail(kTail, '\0');
  file.seekg(size - kTail);
  file.read(tail.data(), kTail);
  return !plainLines(tail).ends_with(kEnd);
}

}  // namespace fmp4
