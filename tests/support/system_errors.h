// The values of vlOSGetLastError on each system.
#pragma once

#include <cstdint>

#if defined(_WIN32)
#include <windows.h>
#else
#include <cerrno>
#endif

namespace fmp4 {

#if defined(_WIN32)
inline constexpr std::uint32_t kErrorNotFound = ERROR_FILE_NOT_FOUND;
inline constexpr std::uint32_t kErrorNoFolder = ERROR_PATH_NOT_FOUND;
inline constexpr std::uint32_t kErrorExists = ERROR_FILE_EXISTS;
inline constexpr std::uint32_t kErrorIsFolder = ERROR_ACCESS_DENIED;
inline constexpr std::uint32_t kErrorNotOpen = ERROR_INVALID_HANDLE;
inline constexpr std::uint32_t kErrorNoAccess = ERROR_ACCESS_DENIED;
inline constexpr std::uint32_t kErrorInvalid = ERROR_INVALID_PARAMETER;
inline constexpr std::uint32_t kErrorBeforeStart = ERROR_NEGATIVE_SEEK;
#else
inline constexpr std::uint32_t kErrorNotFound = ENOENT;
inline constexpr std::uint32_t kErrorNoFolder = ENOENT;
inline constexpr std::uint32_t kErrorExists = EEXIST;
inline constexpr std::uint32_t kErrorIsFolder = EISDIR;
inline constexpr std::uint32_t kErrorNotOpen = EBADF;
inline constexpr std::uint32_t kErrorNoAccess = EBADF;
inline constexpr std::uint32_t kErrorInvalid = EINVAL;
inline constexpr std::uint32_t kErrorBeforeStart = EINVAL;
#endif

}  // namespace fmp4
