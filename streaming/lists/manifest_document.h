// Loads a manifest as an XML document.
#pragma once

#include <tinyxml2.h>

#include <string_view>

namespace fmp4 {

// Larger manifests are not loaded; the segments of a day take less than half of this.
inline constexpr std::size_t kMaxManifestBytes = 16u << 20;
// Documents that might take more memory than this are not loaded. Manifests take about 5 times the size of
// their text; a text of minimal elements would take 30 times.
inline constexpr std::size_t kMaxDocumentBytes = 192u << 20;

// Parses a text into `document`. Returns whether it is well-formed, within the limits on size and memory, and
// without elements that have an excessive number of attributes.
bool parseManifestDocument(std::string_view text, tinyxml2::XMLDocument& document);

// Loads `path` into `document`. Returns whether the file was read and parseManifestDocument succeeded.
bool loadManifestDocument(const char* path, tinyxml2::XMLDocument& document);

}  // namespace fmp4
