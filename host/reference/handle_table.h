// Handles that stay safe after their object is gone: a stale or invalid handle is detected, never
// dereferenced.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <limits>
#include <memory>
#include <mutex>
#include <new>
#include <optional>
#include <utility>
#include <vector>

#include "vlutil.h"

namespace vlhost {

// A table of T by handle. A handle holds its slot number, counted from 1, in the low half and the slot's
// generation in the high half. It is therefore never VL_NO_HANDLE or near VL_INVALID_HANDLE, and a reused
// slot gets a different handle. A lookup takes only the slot's own lock: threads contend only if they use the
// same handle, or open and close.
template <typename T>
class HandleTable {
  struct Slot {
    std::mutex mutex;
    std::uint32_t generation = 0;
    std::optional<T> item;
  };

 public:
  // Exclusive access to one item for the lifetime of this object. Empty if the handle is invalid.
  class Use {
   public:
    Use() = default;
    Use(std::unique_lock<std::mutex> lock, Slot* slot) : lock_(std::move(lock)), slot_(slot) {}
    explicit operator bool() const { return slot_ != nullptr; }
    T& operator*() const { return *slot_->item; }
    T* operator->() const { return &*slot_->item; }

   private:
    friend class HandleTable;
    std::unique_lock<std::mutex> lock_;
    Slot* slot_ = nullptr;
  };

  // Inserts `item`. Returns VL_INVALID_HANDLE and leaves `item` unchanged if memory or slots are exhausted.
  VLHANDLE insert(T& item) {
    const std::optional<std::uint32_t> index = takeSlot();
    if (!index) return VL_INVALID_HANDLE;
    Slot& slot = *slotAt(*index);
    const std::lock_guard<std::mutex> lock(slot.mutex);
    slot.item.emplace(std::move(item));
    return (VLHANDLE{slot.generation} << 32) | (*index + 1);
  }

  Use find(VLHANDLE handle) {
    const std::uint64_t number = handle & std::numeric_limits<std::uint32_t>::max();
    Slot* slot = number == 0 ? nullptr : slotAt(number - 1);
    if (slot == nullptr) return {};
    std::unique_lock<std::mutex> lock(slot->mutex);
    if (!slot->item || slot->generation != handle >> 32) return {};
    return Use(std::move(lock), slot);
  }

  // Waits until the item is unused, then removes and returns it; empty if the handle is invalid.
  std::optional<T> remove(VLHANDLE handle) {
    std::optional<T> item;
    {
      const Use use = find(handle);
      if (!use) return item;
      item.swap(use.slot_->item);
      ++use.slot_->generation;
    }
    const std::lock_guard<std::mutex> lock(mutex_);
    free_.push_back(static_cast<std::uint32_t>(handle) - 1);  // never allocates; see takeSlot
    return item;
  }

 private:
  static constexpr std::uint32_t kChunkSlots = 256;
  static constexpr std::uint32_t kChunks = 4096;
  using Chunk = std::array<Slot, kChunkSlots>;

  Slot* slotAt(std::uint64_t index) {
    if (index >= std::uint64_t{kChunks} * kChunkSlots) return nullptr;
    Chunk* chunk = chunks_[index / kChunkSlots].load(std::memory_order_acquire);
    return chunk == nullptr ? nullptr : &(*chunk)[index % kChunkSlots];
  }

  std::optional<std::uint32_t> takeSlot() {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (free_.empty() && !addChunk()) return std::nullopt;
    const std::uint32_t index = free_.back();
    free_.pop_back();
    return index;
  }

  // Capacity of the free list grows with the slots, so that releasing a slot cannot fail.
  bool addChunk() {
    const std::size_t count = owned_.size();
    if (count == kChunks) return false;
    try {
      free_.reserve((count + 1) * kChunkSlots);
      owned_.push_back(std::make_unique<Chunk>());
    } catch (const std::bad_alloc&) {
      return false;
    }
    for (std::uint32_t i = kChunkSlots; i-- > 0;) {
      free_.push_back(static_cast<std::uint32_t>(count) * kChunkSlots + i);
    }
    chunks_[count].store(owned_.back().get(), std::memory_order_release);
    return true;
  }

  std::mutex mutex_;  // guards owned_ and free_
  std::vector<std::unique_ptr<Chunk>> owned_;
  std::vector<std::uint32_t> free_;
  std::array<std::atomic<Chunk*>, kChunks> chunks_ = {};
};

}  // namespace vlhost
