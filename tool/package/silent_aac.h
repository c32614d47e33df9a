// AAC access units of silence.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace fmp4 {

// The access unit of silence for a configuration (AudioSpecificConfig, ISO/IEC 14496-3, 1.6.2.1): a raw data
// block with the elements of the configuration's channel layout, none with a scale factor band in use.
// Nothing for object types with other access units, and for reserved layouts.
std::optional<std::vector<std::uint8_t>> silentAccessUnit(std::span<const std::uint8_t> config);

}  // namespace fmp4
