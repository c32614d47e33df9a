// A decoder's memory: blocks of an allocator, which may move between operations.
#pragma once

#include "audio/umc/memory_allocator.h"
#include "audio/umc/status.h"

namespace UMC::aac {

struct DecoderState;
struct PredictionArea;
struct SbrArea;
struct WorkArea;

// The blocks' identifiers. Every stream needs the state and the work area; the other areas are allocated on
// demand.
class DecoderMemory {
 public:
  // Allocates the blocks that every stream needs, from an allocator that must outlive them. -883 without
  // memory; no blocks are then allocated.
  Status Allocate(MemoryAllocator& allocator);
  // Frees all blocks.
  void Free();

 private:
  friend class LockedMemory;

  MemoryAllocator* m_allocator = nullptr;
  MemoryId m_state = 0;
  MemoryId m_work = 0;
  MemoryId m_sbr = 0;
  MemoryId m_predictions = 0;
};

// All blocks, locked for the duration of one operation.
class LockedMemory {
 public:
  explicit LockedMemory(DecoderMemory& memory);
  LockedMemory(const LockedMemory&) = delete;
  LockedMemory& operator=(const LockedMemory&) = delete;
  ~LockedMemory();

  // False if there are no blocks.
  explicit operator bool() const { return m_complete; }
  [[nodiscard]] DecoderState& State() const { return *m_state; }
  [[nodiscard]] WorkArea& Work() const { return *m_work; }
  // Null until allocated.
  [[nodiscard]] SbrArea* Sbr() const { return m_sbr; }
  [[nodiscard]] PredictionArea* Predictions() const { return m_predictions; }

  // Allocate the area unless it exists: the first is zeroed, the second must be initialised by
  // ResetPredictions. False without memory.
  bool MakeSbr();
  bool MakePredictions();

 private:
  DecoderMemory& m_memory;
  bool m_complete = false;
  DecoderState* m_state = nullptr;
  WorkArea* m_work = nullptr;
  SbrArea* m_sbr = nullptr;
  PredictionArea* m_predictions = nullptr;
};

}  // namespace UMC::aac
