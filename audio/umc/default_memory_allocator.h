// The codecs' default allocator: heap blocks, kept for reuse once freed.
#pragma once

#include "audio/umc/memory_allocator.h"
#include "audio/umc/mutex.h"

namespace UMC {

// Thread-safe.
class DefaultMemoryAllocator : public RuntimeClass<DefaultMemoryAllocator, MemoryAllocator> {
 public:
  static const char* ClassName() { return "DefaultMemoryAllocator"; }

  DefaultMemoryAllocator() = default;
  ~DefaultMemoryAllocator() override;

  // The alignment is a power of two of at most 1,048,576.
  Status Alloc(MemoryId* identifier, std::size_t size, std::uint32_t flags, std::uint32_t alignment) override;
  void* Lock(MemoryId identifier) override;
  Status Unlock(MemoryId identifier) override;
  Status Free(MemoryId identifier) override;
  Status Close() override;

 private:
  struct Record {
    std::uint8_t* memory;     // from ippsMalloc_8u, or null
    std::uint64_t size;       // bytes at `memory`
    MemoryId identifier;      // 0: free, the memory may be reused
    std::uint32_t alignment;  // alignment of the block inside the memory
    std::uint32_t lockCount;
    std::uint32_t freePending;  // set when freed while locked
  };
  static_assert(sizeof(Record) == 32);

  [[nodiscard]] Record* Find(MemoryId identifier);
  [[nodiscard]] Record* FindReusable(std::size_t size, std::uint32_t alignment);
  // A free record without memory, or null if the table cannot grow.
  [[nodiscard]] Record* AddRecord();
  [[nodiscard]] MemoryId NewIdentifier();

  Mutex m_mutex;
  Record* m_records = nullptr;  // from ippsMalloc_8u
  std::size_t m_recordCount = 0;
  std::size_t m_recordCapacity = 0;
  MemoryId m_lastIdentifier = 0;
};

}  // namespace UMC
