// The host's clock library.
#pragma once

#include <cstdint>

#include "vlutil.h"

extern "C" {

// Milliseconds of a clock that never goes back; where it starts is not defined.
VLHOST_API std::uint64_t vsyncGetCurMs();

}  // extern "C"
