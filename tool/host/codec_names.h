// What codecs are called.
#pragma once

#include <cstdint>
#include <string>

// The codec that the type of a sample entry stands for, "AV1" for "av01"; for a type that is not known the
// four characters themselves.
std::string codecName(std::uint32_t sampleEntryType);
