// Allocators that put a decoder under stress.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "audio/umc/default_memory_allocator.h"

namespace fmp4 {

// Has no more than so many blocks.
class ScarceAllocator : public UMC::DefaultMemoryAllocator {
 public:
  explicit ScarceAllocator(int blocks) : m_left(blocks) {}
  UMC::Status Alloc(UMC::MemoryId* id, std::size_t size, std::uint32_t flags,
                    std::uint32_t alignment) override {
    *id = 0;
    return m_left-- > 0 ? DefaultMemoryAllocator::Alloc(id, size, flags, alignment) : UMC::UMC_ERR_ALLOC;
  }

 private:
  int m_left;
};

// Moves every block to another place whenever it is unlocked. All places start cache lines, the largest
// alignment that decoders ask for.
class MovingAllocator : public UMC::MemoryAllocator {
 public:
  UMC::Status Alloc(UMC::MemoryId* id, std::size_t size, std::uint32_t, std::uint32_t) override {
    m_blocks.emplace_back((size + sizeof(Cell) - 1) / sizeof(Cell));
    *id = static_cast<UMC::MemoryId>(m_blocks.size());
    return 0;
  }
  void* Lock(UMC::MemoryId id) override {
    ++m_locks;
    return m_blocks[id - 1].data();
  }
  UMC::Status Unlock(UMC::MemoryId id) override {
    std::vector<Cell>& block = m_blocks[id - 1];
    std::vector<Cell> moved = block;
    std::memset(block.data(), 0xEE, block.size() * sizeof(Cell));
    block.swap(moved);
    --m_locks;
    ++m_moves;
    return 0;
  }
  UMC::Status Free(UMC::MemoryId) override { return 0; }
  UMC::Status Close() override { return 0; }

  // Locks currently held.
  [[nodiscard]] int Locks() const { return m_locks; }
  [[nodiscard]] int Moves() const { return m_moves; }

 private:
  struct alignas(64) Cell {
    std::uint8_t bytes[64];
  };
  std::vector<std::vector<Cell>> m_blocks;
  int m_locks = 0;
  int m_moves = 0;
};

}  // namespace fmp4
