// A decoder's memory: blocks of an allocator, which may move them between operations.
#pragma once

#include "audio/umc/memory_allocator.h"
#include "audio/umc/status.h"

namespace UMC::aac {

struct DecoderState;
struct PredictionArea;
struct SbrArea;
struct WorkArea;

// The blocks' identifiers. The state and the work area serve every stream; the other areas are made once a
// stream needs them.
class DecoderMemory {
 public:
  // Makes the blocks that every stream needs; the allocator must outlive them. -883 without memory, and then
  // there are none.
  Status Allocate(MemoryAllocator& allocator);
  // Gives all blocks back.
  void Free();

 private:
  friend class LockedMemory;

  MemoryAllocator* m_allocator = nullptr;
  MemoryId m_state = 0;
  MemoryId m_work = 0;
  MemoryId m_sbr = 0;
  MemoryId m_predictions = 0;
};

// All blocks at their places for the time of one operation.
class LockedMemory {
 public:
  explicit LockedMemory(DecoderMemory& memory);
  LockedMemory(const LockedMemory&) = delete;
  LockedMemory& operator=(const LockedMemory&) = delete;
  ~LockedMemory();

  // False without blocks.
  explicit operator bool() const { return m_complete; }
  [[nodiscard]] DecoderState& State() const { return *m_state; }
  [[nodiscard]] WorkArea& Work() const { return *m_work; }
  // Null until they are made.
  [[nodiscard]] SbrArea* Sbr() const { return m_sbr; }
  [[nodiscard]] PredictionArea* Predictions() const { return m_predictions; }

  // Make the area where there is none: the first all zeros, the second for ForgetPredictions to start. False
  // without memory.
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
