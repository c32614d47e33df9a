// Memory for codecs: blocks known by an identifier, which may lie elsewhere every time they are locked.
#pragma once

#include <cstddef>
#include <cstdint>

#include "audio/umc/runtime_class.h"
#include "audio/umc/status.h"

namespace UMC {

// Names a block; 0 names none.
using MemoryId = std::uint32_t;

class MemoryAllocator : public RuntimeClass<MemoryAllocator> {
 public:
  static const char* ClassName() { return "MemoryAllocator"; }

  // Makes a block of `size` bytes that starts at a multiple of `alignment` and stores its identifier, 0
  // when there is none. -876 for a null identifier, no size or a bad alignment; -883 without memory. `flags`
  // is for other implementations.
  virtual Status Alloc(MemoryId* identifier, std::size_t size, std::uint32_t flags,
                       std::uint32_t alignment) = 0;
  // The block's address, good until the matching Unlock; null for an unknown identifier.
  virtual void* Lock(MemoryId identifier) = 0;
  // -999 for an unknown identifier or a block that is not locked.
  virtual Status Unlock(MemoryId identifier) = 0;
  // Gives a block back; while it is locked, as soon as it no longer is. -999 for an unknown identifier.
  virtual Status Free(MemoryId identifier) = 0;
  // Gives all memory back, whatever is locked. Returns 0.
  virtual Status Close() = 0;
};

}  // namespace UMC
