// Loads a manifest as an XML document.
#pragma once

#include <tinyxml2.h>

#include <string_view>

#include "streaming/lists/segment_runs.h"

namespace fmp4 {

// Larger manifests are not loaded; a day in segments of one second takes a third of this.
inline constexpr std::size_t kMaxManifestBytes = 64u << 20;
// Documents that might take more memory than this are not loaded. Manifests take about 5 times the size of
// their text; a text of minimal elements would take 30 times.
inline constexpr std::size_t kMaxDocumentBytes = 192u << 20;

// Parses a text into `document`. Returns whether it is well-formed, within the limits on size and memory, and
// without elements that have an excessive number of attributes.
bool parseManifestDocument(std::string_view text, tinyxml2::XMLDocument& document);

// The same for the text without the elements that go to `runs` instead, which are most of a manifest's. They
// take no memory of the document.
bool parseManifestDocument(std::string_view text, tinyxml2::XMLDocument& document, SegmentRuns& runs);

// Loads `path` into `document`, without the elements that go to `runs`. Returns whether the file was read and
// parseManifestDocument succeeded.
bool loadManifestDocument(const char* path, tinyxml2::XMLDocument& document, SegmentRuns& runs);

}  // namespace fmp4
