// Loading a manifest as an XML document.
#pragma once

#include <tinyxml2.h>

#include <string_view>

// A manifest larger than this is not loaded: a day of segments makes less than half of it.
inline constexpr std::size_t kMaxManifestBytes = 16u << 20;
// Nor one whose document might take more memory than this. Manifests take some 5 times their text; a text of
// the shortest elements would take 30 times.
inline constexpr std::size_t kMaxDocumentBytes = 192u << 20;

// Parses a text into `document`. Returns whether it is a well-formed document of acceptable size and memory,
// with no more attributes to an element than manifests have.
bool ParseManifestDocument(std::string_view text, tinyxml2::XMLDocument& document);

// Loads `path` into `document`. Returns whether ParseManifestDocument took its text.
bool LoadManifestDocument(const char* path, tinyxml2::XMLDocument& document);
