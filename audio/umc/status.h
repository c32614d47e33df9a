// Status codes of the codec framework: 0 for success, positive warnings, negative errors.
#pragma once

#include <cstdint>

namespace UMC {

using Status = std::int32_t;

inline constexpr Status UMC_OK = 0;
// GetInfo: not enough of the stream has been read to know its format.
inline constexpr Status UMC_WRN_INFO_NOT_READY = 3;
// A frame was decoded, but is damaged: its checksum does not match, or its later blocks are lost.
inline constexpr Status UMC_WRN_CRC_MISMATCH = 4;

inline constexpr Status UMC_ERR_INVALID_PARAMS = -876;
inline constexpr Status UMC_ERR_NOT_PROVIDED = -878;    // not implemented by this class
inline constexpr Status UMC_ERR_UNSUPPORTED = -879;     // stream format not recognised
inline constexpr Status UMC_ERR_INVALID_STREAM = -881;  // invalid frame
inline constexpr Status UMC_ERR_ALLOC = -883;
inline constexpr Status UMC_ERR_NOT_ENOUGH_BUFFER = -896;  // data overruns its bounds, or not enough output
                                                           // space
inline constexpr Status UMC_ERR_CONFIGURATION = -899;      // decoder configuration invalid or unsupported
inline constexpr Status UMC_ERR_NULL_PTR = -995;           // null pointer or missing buffer
inline constexpr Status UMC_ERR_NOT_ENOUGH_DATA = -996;
inline constexpr Status UMC_ERR_NOT_INITIALIZED = -998;  // no data, or no decoder state
inline constexpr Status UMC_ERR_FAILED = -999;           // size out of range

}  // namespace UMC
