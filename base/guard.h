// Turns out-of-memory exceptions into status values at the interface.
#pragma once

#include <new>

namespace fmp4 {

// Returns the result of `work`, or `failure` if it runs out of memory.
template <class Result, class Work>
Result guarded(Result failure, Work work) {
  try {
    return work();
  } catch (const std::bad_alloc&) {
    return failure;
  }
}

}  // namespace fmp4
