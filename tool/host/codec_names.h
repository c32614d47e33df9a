// Names of codecs.
#pragma once

#include <cstdint>
#include <string>

namespace fmp4 {

// The codec of a sample entry type: "AV1" for "av01". For an unknown type the four characters themselves.
std::string codecName(std::uint32_t sampleEntryType);

}  // namespace fmp4
