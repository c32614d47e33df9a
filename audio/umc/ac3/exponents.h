// Exponents: differences in groups, for one, two or four bins each (ATSC A/52, 7.1).
#pragma once

#include <cstdint>

#include "base/bit_window.h"

namespace UMC::ac3 {

enum class ExponentStrategy : std::uint8_t { kReuse, kD15, kD25, kD45 };

inline constexpr int kMaxExponent = 24;

// Reads the exponents of a full bandwidth or LFE channel, the absolute first one included, for the bins from
// 0 to `end` at least. False for an exponent outside 0 to 24 or a group that stands for nothing.
bool ParseExponents(BitWindow& stream, ExponentStrategy strategy, int end, std::uint8_t* exponents);

// The same for the coupling channel, whose absolute value is the reference of the first bin only.
bool ParseCouplingExponents(BitWindow& stream, ExponentStrategy strategy, int start, int end,
                            std::uint8_t* exponents);

}  // namespace UMC::ac3
