// Memory for codecs: blocks known by an identifier, whose address may change each time they are locked.
#pragma once

#include <cstddef>
#include <cstdint>

#include "audio/umc/runtime_class.h"
#include "audio/umc/status.h"

namespace UMC {

// Identifies a block; 0 is no block.
using MemoryId = std::uint32_t;

class MemoryAllocator : public RuntimeClass<MemoryAllocator> {
 public:
  static const char* ClassName() { return "MemoryAllocator"; }

  // Allocates a block of `size` bytes aligned to `alignment` and stores its identifier, or 0 on failure. -876
  // for a null identifier, zero size or an invalid alignment; -883 without memory. `flags` is for other
  // implementations.
  virtual Status Alloc(MemoryId* identifier, std::size_t size, std::uint32_t flags,
                       std::uint32_t alignment) = 0;
  // The block's address, valid until the matching Unlock; null for an unknown identifier.
  virtual void* Lock(MemoryId identifier) = 0;
  // -999 for an unknown identifier or a block that is not locked.
  virtual Status Unlock(MemoryId identifier) = 0;
  // Frees a block; a locked block is freed once it is unlocked. -999 for an unknown identifier.
  virtual Status Free(MemoryId identifier) = 0;
  // Frees all memory, even of locked blocks. Returns 0.
  virtual Status Close() = 0;
};

}  // namespace UMC
