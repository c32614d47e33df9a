#include "support/failing_new.h"

#include <cstdlib>
#include <new>

namespace {

thread_local std::size_t failingBytes = 0;

void* allocate(std::size_t bytes) noexcept {
  if (bytes != 0 && bytes == failingBytes) return nullptr;
  return std::malloc(bytes ? bytes : 1);
}
void* allocateOrThrow(std::size_t bytes) {
  void* memory = allocate(bytes);
  if (!memory) throw std::bad_alloc();
  return memory;
}

}  // namespace

FailingNew::FailingNew(std::size_t bytes) {
  failingBytes = bytes;
}
FailingNew::~FailingNew() {
  failingBytes = 0;
}

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
  std::free(memory);
}
void operator delete[](void* memory) noexcept {
  std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
  std::free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
  std::free(memory);
}
void operator delete(void* memory, const std::nothrow_t&) noexcept {
  std::free(memory);
}
void operator delete[](void* memory, const std::nothrow_t&) noexcept {
  std::free(memory);
}
