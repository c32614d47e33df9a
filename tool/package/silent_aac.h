// Access units of AAC in which nothing sounds.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

// The access unit of silence for a configuration (AudioSpecificConfig, ISO/IEC 14496-3, 1.6.2.1): a raw data
// block whose elements are those of the configuration's channel layout, none with a scale factor band in use.
// Nothing for object types whose access units are built otherwise, and for layouts that are reserved.
std::optional<std::vector<std::uint8_t>> silentAccessUnit(std::span<const std::uint8_t> config);
