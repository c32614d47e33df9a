#include "manifest_document.h"

#include <cstdint>
#include <memory>
#include <vector>

#include "stream.h"

bool LoadManifestDocument(const char* path, tinyxml2::XMLDocument& document) {
  Mp4Stream file;
  const VLHANDLE handle = file.open(path, MP4_MODE_READ);
  if (handle == VL_NO_HANDLE || handle == VL_INVALID_HANDLE) return false;
  const std::uint64_t size = file.size();
  if (size > kMaxManifestBytes) return false;
  std::vector<char> text(static_cast<std::size_t>(size));
  const auto count = static_cast<std::int64_t>(size);
  if (file.read(text.data(), count) != count) return false;
  return document.Parse(text.data(), text.size()) == tinyxml2::XML_SUCCESS;
}
