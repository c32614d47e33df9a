// The header of an ADIF file (ISO/IEC 14496-3, 1.A.2.1).
#pragma once

#include "base/aac/program_config.h"
#include "base/bit_window.h"

namespace UMC::aac {

inline constexpr std::uint32_t kAdifId = 0x41444946;  // "ADIF"

// Reads the header up to the first raw data block; `program` is the first of its programs. False if it is not
// a valid header.
bool ParseAdifHeader(fmp4::BitWindow& stream, ProgramConfig& program);

}  // namespace UMC::aac
