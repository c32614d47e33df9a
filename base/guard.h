// Memory that runs out is a status, never an exception, once it reaches the interface.
#pragma once

#include <new>

// What `work` returns, or `failure` when memory was short.
template <class Result, class Work>
Result guarded(Result failure, Work work) {
  try {
    return work();
  } catch (const std::bad_alloc&) {
    return failure;
  }
}
