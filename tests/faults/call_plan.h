// What the layer between the program under test and its system asks at each call: see failing_calls.h.
#pragma once

#include "tests/faults/failing_calls.h"

namespace fmp4 {

// Counts a call of this kind. Returns whether it is the one that is to fail.
bool callFails(CallKind kind);

}  // namespace fmp4
