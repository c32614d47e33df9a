// Loading a manifest as an XML document.
#pragma once

#include <tinyxml2.h>

#include <string_view>

// A manifest larger than this is not loaded: a day of segments makes a tenth of it. The document takes some
// 30 times the memory of its text.
inline constexpr std::size_t kMaxManifestBytes = 64u << 20;

// Parses a text into `document`. Returns whether it is a well-formed document of acceptable size, with no
// more attributes to an element than manifests have.
bool ParseManifestDocument(std::string_view text, tinyxml2::XMLDocument& document);

// Loads `path` into `document`. Returns whether ParseManifestDocument took its text.
bool LoadManifestDocument(const char* path, tinyxml2::XMLDocument& document);
