// Status words of the media-file interface that this plug-in returns.
#pragma once

#include <cstdint>

namespace fmp4 {

inline constexpr std::uint32_t FMP4_E_NO_AUDIO = 0xE8021001u;
inline constexpr std::uint32_t FMP4_E_DURATION = 0xFFFFFFFEu;  // the duration of a sample is rejected
inline constexpr std::uint32_t FMP4_E_NO_STREAM_HOLDER = 0xE8022007u;
inline constexpr std::uint32_t FMP4_E_NO_VIDEO_HOLDER = 0xE8022020u;
inline constexpr std::uint32_t FMP4_E_NO_SUCH_CHANNEL = 0xE802300Fu;
inline constexpr std::uint32_t FMP4_E_BAD_FORMAT_INDEX = 0xE8023026u;
inline constexpr std::uint32_t FMP4_E_BAD_DESCRIPTOR_SIZE = 0xE8024018u;
inline constexpr std::uint32_t FMP4_E_PAST_END = 0xE8024029u;
inline constexpr std::uint32_t FMP4_E_CANNOT_CREATE = 0xE802500Cu;

// Returned by xMediaFile queries with a null object or a null result pointer.
inline constexpr std::int64_t FMP4_BAD_ARGUMENT = -33;

}  // namespace fmp4
