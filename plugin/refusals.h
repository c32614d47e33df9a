// What of the host's descriptions cannot be recorded.
#pragma once

#include "qvr.h"

namespace fmp4 {

// The reason why the described video cannot be recorded, or null.
const char* videoRefusal(const QVRVIDEO& video);
// The reason why audio of this description cannot be recorded, or null.
const char* audioRefusal(const QVRAUDIO& audio);

}  // namespace fmp4
