// Counts memory and makes it run out on demand: linked in, it replaces the program's operator new.
#pragma once

#include <cstddef>

namespace fmp4 {

// While one is alive, allocations of exactly `bytes` bytes fail on this thread. One at a time.
class FailingNew {
 public:
  explicit FailingNew(std::size_t bytes);
  ~FailingNew();
  FailingNew(const FailingNew&) = delete;
  FailingNew& operator=(const FailingNew&) = delete;
};

enum class Failures { One, AllFromThere };

// While one is alive, an allocation of this thread fails after `before` more have succeeded, and optionally
// so do all that follow it. One at a time.
class FailingNewAt {
 public:
  explicit FailingNewAt(std::size_t before, Failures failures = Failures::One);
  ~FailingNewAt();
  FailingNewAt(const FailingNewAt&) = delete;
  FailingNewAt& operator=(const FailingNewAt&) = delete;

  // Whether the allocation was requested.
  bool met() const;
};

// Whether an allocation of so many bytes by this thread is one that is to fail: for what allocates in other
// ways.
bool allocationFails(std::size_t bytes);

// Counts the allocations of all threads from its creation on. One at a time.
class CountingNew {
 public:
  CountingNew();
  CountingNew(const CountingNew&) = delete;
  CountingNew& operator=(const CountingNew&) = delete;

  // The peak memory in use beyond what was in use at the beginning, in bytes.
  std::size_t peakBytes() const;
  // The number of allocations.
  std::size_t allocations() const;
};

}  // namespace fmp4
