// The four-character codes by which sample entries name codecs.
#pragma once

#include <cstdint>

#include "base/fourcc.h"

namespace fmp4 {

inline constexpr std::uint32_t kAvc1 = Mp4FourCc("avc1");  // H.264 (ISO/IEC 14496-15)
inline constexpr std::uint32_t kHvc1 = Mp4FourCc("hvc1");  // HEVC (ISO/IEC 14496-15)
inline constexpr std::uint32_t kHev1 = Mp4FourCc("hev1");  // HEVC, parameter sets in its samples too
inline constexpr std::uint32_t kMp4a = Mp4FourCc("mp4a");  // MPEG-4 audio (ISO/IEC 14496-14)
inline constexpr std::uint32_t kAc3 = Mp4FourCc("ac-3");   // AC-3 (ETSI TS 102 366, annex F)
inline constexpr std::uint32_t kEac3 = Mp4FourCc("ec-3");  // E-AC-3 (ETSI TS 102 366, annex F)
inline constexpr std::uint32_t kC608 = Mp4FourCc("c608");  // CEA-608 captions (QuickTime)
inline constexpr std::uint32_t kC708 = Mp4FourCc("c708");  // CEA-708 captions (QuickTime)

}  // namespace fmp4
