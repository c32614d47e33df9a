#include "streaming/lists/manifest_document.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include "mp4box/stream.h"
#include "streaming/lists/markup.h"

namespace fmp4 {

namespace {

// Elements of manifests have fewer attributes than this. The parser compares each with all previous ones.
constexpr unsigned kMaxAttributes = 256;

// Whether an element has more attributes than allowed.
bool hasTooManyAttributes(std::string_view text) {
  std::size_t attributes = 0;
  for (std::size_t at = text.find('<'); at != text.npos; at = text.find('<', at)) {
    at = endOfMarkup(text, at, attributes);
    if (attributes > kMaxAttributes) return true;
  }
  return false;
}

// An upper bound for the memory of the document's nodes. Each "<" may start an element or other markup and
// end a text, and each attribute needs an "=".
std::size_t mostDocumentBytes(std::string_view text) {
  const auto tags = static_cast<std::size_t>(std::count(text.begin(), text.end(), '<'));
  const auto values = static_cast<std::size_t>(std::count(text.begin(), text.end(), '='));
  return tags * (sizeof(tinyxml2::XMLElement) + sizeof(tinyxml2::XMLText)) +
         values * sizeof(tinyxml2::XMLAttribute);
}

// The text of a manifest; nothing if it cannot be read or is too long.
std::optional<std::string> readManifestText(const char* path) {
  Mp4Stream file;
  const VLHANDLE handle = file.open(path, MP4_MODE_READ);
  if (handle == VL_NO_HANDLE || handle == VL_INVALID_HANDLE) return std::nullopt;
  const std::uint64_t size = file.size();
  if (size > kMaxManifestBytes) return std::nullopt;
  std::string text(static_cast<std::size_t>(size), '\0');
  const auto count = static_cast<std::int64_t>(size);
  return file.read(text.data(), count) == count ? std::optional(std::move(text)) : std::nullopt;
}

}  // namespace

bool parseManifestDocument(std::string_view text, tinyxml2::XMLDocument& document) {
  return text.size() <= kMaxManifestBytes && mostDocumentBytes(text) <= kMaxDocumentBytes &&
         !hasTooManyAttributes(text) && document.Parse(text.data(), text.size()) == tinyxml2::XML_SUCCESS;
}

bool parseManifestDocument(std::string_view text, tinyxml2::XMLDocument& document, SegmentRuns& runs) {
  return text.size() <= kMaxManifestBytes && parseManifestDocument(runs.takeFrom(text), document);
}

bool loadManifestDocument(const char* path, tinyxml2::XMLDocument& document, SegmentRuns& runs) {
  const std::optional<std::string> text = readManifestText(path);
  return text && parseManifestDocument(*text, document, runs);
}

}  // namespace fmp4
