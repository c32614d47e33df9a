// Captions inside H.264 video: supplemental enhancement information that holds ATSC user data (ISO/IEC
// 14496-10, D.1.6; ATSC A/53 Part 4, 6.2.3).
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "captions/cc_data.h"

namespace fmp4::captions {

// The constructs in an access unit whose NAL units follow their lengths of `lengthBytes` (1 to 4); none when
// it has none. Any bytes are safe: what is damaged ends the search.
std::vector<CcConstruct> constructsInAccessUnit(std::span<const std::uint8_t> accessUnit,
                                                unsigned lengthBytes);

}  // namespace fmp4::captions
