// Exponents: differences in groups, each for one, two or four bins (ATSC A/52, 7.1).
#pragma once

#include <cstdint>

#include "base/bit_window.h"

namespace UMC::ac3 {

enum class ExponentStrategy : std::uint8_t { kReuse, kD15, kD25, kD45 };

inline constexpr int kMaxExponent = 24;

// Reads the exponents of a full bandwidth or LFE channel, including the absolute first one, for the bins from
// 0 to at least `end`. False for an exponent outside 0 to 24 or an invalid group.
bool ParseExponents(fmp4::BitWindow& stream, ExponentStrategy strategy, int end, std::uint8_t* exponents);

// The same for the coupling channel, whose absolute value is only a reference for the first bin.
bool ParseCouplingExponents(fmp4::BitWindow& stream, ExponentStrategy strategy, int start, int end,
                            std::uint8_t* exponents);

}  // namespace UMC::ac3
