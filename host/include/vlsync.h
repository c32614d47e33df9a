// The host's clock library.
#pragma once

#include <cstdint>

#include "vlutil.h"

extern "C" {

// Milliseconds of a monotonic clock; its origin is undefined.
VLHOST_API std::uint64_t vsyncGetCurMs();

}  // extern "C"
