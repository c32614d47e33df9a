// The messages that recording reports, and how it reports them.
#pragma once

#include "vlutil.h"

namespace fmp4::messages {

inline constexpr char kOffsetTooLarge[] = "The composition offset is too large";
inline constexpr char kNoVideoBuffer[] = "fmp4 - Failed to allocate video buffer for writing";
inline constexpr char kNoCc608Buffer[] = "fmp4 - Failed to allocate cc608 buffer for writing";
inline constexpr char kNoCc708Buffer[] = "fmp4 - Failed to allocate cc708 buffer for writing";

inline void reportError(const char* text) {
  ErrFmtOut(VL_LOG_ERROR, 0, 0, "ERROR(vlx_fmp4): %s\n", text);
}

}  // namespace fmp4::messages
