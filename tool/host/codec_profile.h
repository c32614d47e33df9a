// Names of profiles and levels in codec configurations.
#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace fmp4 {

// Empty where the configuration does not say, or says something that has no name.
struct CodecProfile {
  std::string profile;
  std::string level;
};

// Of an AVC decoder configuration record (ISO/IEC 14496-10, A.2 and A.3): "High", "4.1".
CodecProfile h264Profile(std::span<const std::uint8_t> record);
// Of an HEVC decoder configuration record (ISO/IEC 23008-2, A.3 and A.4): "Main 10", "5.1"; "5.1 High" in the
// high tier.
CodecProfile hevcProfile(std::span<const std::uint8_t> record);
// Of an AudioSpecificConfig (ISO/IEC 14496-3, 1.5.2): "LC", "HE-AAC" where SBR is signalled.
std::string aacProfile(std::span<const std::uint8_t> config);

}  // namespace fmp4
