// An overview as the bytes of a file in the cache.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "tool/viewer/overview.h"

namespace fmp4 {

// `key`: what the overview is of; text that changes when its files do.
std::string overviewBytes(const Overview::Finest& finest, const std::string& key);

// The overview in the bytes of a file. Nothing when they are of another key or version, or damaged; they cost
// memory by their size, whatever they claim.
std::optional<Overview::Finest> overviewOfBytes(std::span<const std::uint8_t> bytes, const std::string& key);

}  // namespace fmp4
