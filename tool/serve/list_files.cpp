#include "tool/serve/list_files.h"

#include <algorithm>
#include <fstream>
#include <string>

namespace fmp4 {

bool isXmlManifest(const std::filesystem::path& path) {
  std::string text(1024, '\0');
  std::ifstream file(path, std::ios::binary);
  file.read(text.data(), static_cast<std::streamsize>(text.size()));
  text.resize(static_cast<std::size_t>(std::max<std::streamsize>(file.gcount(), 0)));
  return text.find("<MPD") != std::string::npos;
}

}  // namespace fmp4
