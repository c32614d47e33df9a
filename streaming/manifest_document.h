// Loading a manifest as an XML document.
#pragma once

#include <tinyxml2.h>

// A manifest larger than this is not loaded: a day of segments makes a hundredth of it.
inline constexpr std::size_t kMaxManifestBytes = 64u << 20;

// Loads `path` into `document`. Returns whether it is a well-formed document of acceptable size.
bool LoadManifestDocument(const char* path, tinyxml2::XMLDocument& document);
