#include "tests/support/controlled_new.h"

#include <malloc.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <new>

namespace fmp4 {

namespace {

std::size_t usableSize(void* memory) {
#if defined(_WIN32)
  return _msize(memory);
#else
  return malloc_usable_size(memory);
#endif
}

thread_local std::size_t failingBytes = 0;

// The allocation to fail, and whether it was reached.
struct Failing {
  bool armed = false;
  bool met = false;
  std::size_t before = 0;  // allocations that still succeed
  Failures failures = Failures::One;

  bool meets() {
    if (!armed || (met && failures == Failures::One)) return false;
    if (before != 0) {
      --before;
      return false;
    }
    met = true;
    return true;
  }
};
thread_local Failing failingAt;

std::atomic<std::int64_t> liveBytes = 0;
std::atomic<std::int64_t> peakLiveBytes = 0;
std::atomic<std::size_t> allocationCount = 0;

void* allocate(std::size_t bytes) noexcept {
  if (allocationFails(bytes)) return nullptr;
  void* memory = std::malloc(bytes ? bytes : 1);
  if (!memory) return nullptr;
  ++allocationCount;
  const auto held = static_cast<std::int64_t>(usableSize(memory));
  const std::int64_t live = liveBytes += held;
  std::int64_t peak = peakLiveBytes;
  while (live > peak && !peakLiveBytes.compare_exchange_weak(peak, live)) {
  }
  return memory;
}
void* allocateOrThrow(std::size_t bytes) {
  void* memory = allocate(bytes);
  if (!memory) throw std::bad_alloc();
  return memory;
}
// Aligned allocations also fail on demand, and are not counted.
void* allocateAligned(std::size_t bytes, std::align_val_t alignment) noexcept {
  if (allocationFails(bytes)) return nullptr;
  const auto boundary = static_cast<std::size_t>(alignment);
#if defined(_WIN32)
  return _aligned_malloc(bytes, boundary);
#else
  return std::aligned_alloc(boundary, (bytes + boundary - 1) / boundary * boundary);
#endif
}
void releaseAligned(void* memory) noexcept {
#if defined(_WIN32)
  _aligned_free(memory);
#else
  std::free(memory);
#endif
}
void release(void* memory) noexcept {
  if (memory) liveBytes -= static_cast<std::int64_t>(usableSize(memory));
  std::free(memory);
}

// Where counting began.
std::int64_t startBytes = 0;
std::size_t startAllocations = 0;

}  // namespace

bool allocationFails(std::size_t bytes) {
  return (bytes != 0 && bytes == failingBytes) || failingAt.meets();
}

FailingNew::FailingNew(std::size_t bytes) {
  failingBytes = bytes;
}
FailingNew::~FailingNew() {
  failingBytes = 0;
}

FailingNewAt::FailingNewAt(std::size_t before, Failures failures) {
  failingAt = {true, false, before, failures};
}
FailingNewAt::~FailingNewAt() {
  failingAt = {};
}
bool FailingNewAt::met() const {
  return failingAt.met;
}

CountingNew::CountingNew() {
  startAllocations = allocationCount;
  startBytes = liveBytes;
  peakLiveBytes = startBytes;
}
std::size_t CountingNew::peakBytes() const {
  return static_cast<std::size_t>(peakLiveBytes - startBytes);
}
std::size_t CountingNew::allocations() const {
  return allocationCount - startAllocations;
}

}  // namespace fmp4

using namespace fmp4;

void* operator new(std::size_t bytes) {
  return allocateOrThrow(bytes);
}
void* operator new[](std::size_t bytes) {
  return allocateOrThrow(bytes);
}
void* operator new(std::size_t bytes, const std::nothrow_t&) noexcept {
  return allocate(bytes);
}
void* operator new[](std::size_t bytes, const std::nothrow_t&) noexcept {
  return allocate(bytes);
}
void operator delete(void* memory) noexcept {
  release(memory);
}
void operator delete[](void* memory) noexcept {
  release(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
  release(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
  release(memory);
}
void operator delete(void* memory, const std::nothrow_t&) noexcept {
  release(memory);
}
void operator delete[](void* memory, const std::nothrow_t&) noexcept {
  release(memory);
}
void* operator new(std::size_t bytes, std::align_val_t alignment) {
  void* memory = allocateAligned(bytes, alignment);
  if (!memory) throw std::bad_alloc();
  return memory;
}
void* operator new(std::size_t bytes, std::align_val_t alignment, const std::nothrow_t&) noexcept {
  return allocateAligned(bytes, alignment);
}
void operator delete(void* memory, std::align_val_t) noexcept {
  releaseAligned(memory);
}
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept {
  releaseAligned(memory);
}
void operator delete(void* memory, std::align_val_t, const std::nothrow_t&) noexcept {
  releaseAligned(memory);
}
