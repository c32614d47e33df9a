// The types of boxes that code outside this folder names (ISO/IEC 14496-12, -14 and -15, QuickTime for
// captions).
#pragma once

#include <cstdint>

#include "base/fourcc.h"

namespace fmp4::box_type {

inline constexpr std::uint32_t kFtyp = Mp4FourCc("ftyp");
inline constexpr std::uint32_t kSidx = Mp4FourCc("sidx");
inline constexpr std::uint32_t kMdat = Mp4FourCc("mdat");

// The movie.
inline constexpr std::uint32_t kMoov = Mp4FourCc("moov");
inline constexpr std::uint32_t kMvex = Mp4FourCc("mvex");
inline constexpr std::uint32_t kTrak = Mp4FourCc("trak");
inline constexpr std::uint32_t kTkhd = Mp4FourCc("tkhd");
inline constexpr std::uint32_t kStsd = Mp4FourCc("stsd");

// In sample entries.
inline constexpr std::uint32_t kAvcC = Mp4FourCc("avcC");
inline constexpr std::uint32_t kHvcC = Mp4FourCc("hvcC");
inline constexpr std::uint32_t kEsds = Mp4FourCc("esds");

// A movie fragment.
inline constexpr std::uint32_t kMoof = Mp4FourCc("moof");
inline constexpr std::uint32_t kMfhd = Mp4FourCc("mfhd");
inline constexpr std::uint32_t kTraf = Mp4FourCc("traf");
inline constexpr std::uint32_t kTfhd = Mp4FourCc("tfhd");
inline constexpr std::uint32_t kTfdt = Mp4FourCc("tfdt");
inline constexpr std::uint32_t kTrun = Mp4FourCc("trun");

// In samples of caption tracks: byte pairs of CEA-608, a packet of CEA-708.
inline constexpr std::uint32_t kCdat = Mp4FourCc("cdat");
inline constexpr std::uint32_t kCcdp = Mp4FourCc("ccdp");

}  // namespace fmp4::box_type
