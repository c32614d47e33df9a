// Memory that runs out on demand: linked in, it replaces the program's operator new.
#pragma once

#include <cstddef>

// While one is alive, allocations of exactly `bytes` bytes fail on this thread. One at a time.
class FailingNew {
 public:
  explicit FailingNew(std::size_t bytes);
  ~FailingNew();
  FailingNew(const FailingNew&) = delete;
  FailingNew& operator=(const FailingNew&) = delete;
};
