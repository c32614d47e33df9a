#include "audio/umc/aac/decoder_memory.h"

#include <cstddef>
#include <cstdint>
#include <new>

#include "audio/umc/aac/decoder_state.h"
#include "audio/umc/aac/sbr/sbr_decoder.h"
#include "dsp/ipps_memory.h"

namespace UMC::aac {

namespace {

// Allocates a block and locks it. Null without memory.
void* MakeBlock(MemoryAllocator& allocator, std::size_t bytes, MemoryId& id) {
  void* block = nullptr;
  if (allocator.Alloc(&id, bytes, 0, kIppsAlignment) == UMC_OK) {
    block = allocator.Lock(id);
    if (block == nullptr) allocator.Free(id);
  }
  if (block == nullptr) id = 0;
  return block;
}

void FreeBlock(MemoryAllocator& allocator, MemoryId& id) {
  if (id != 0) allocator.Free(id);
  id = 0;
}

// The address of a locked block; null for one that was not allocated.
template <class Area>
Area* LockBlock(MemoryAllocator& allocator, MemoryId id) {
  return id == 0 ? nullptr : static_cast<Area*>(allocator.Lock(id));
}

}  // namespace

Status DecoderMemory::Allocate(MemoryAllocator& allocator) {
  m_allocator = &allocator;
  if (void* state = MakeBlock(allocator, sizeof(DecoderState), m_state)) {
    new (state) DecoderState{};
    allocator.Unlock(m_state);
    if (void* work = MakeBlock(allocator, sizeof(WorkArea), m_work)) {
      new (work) WorkArea;
      allocator.Unlock(m_work);
      return UMC_OK;
    }
  }
  Free();
  return UMC_ERR_ALLOC;
}

void DecoderMemory::Free() {
  if (m_allocator == nullptr) return;
  for (MemoryId* id : {&m_state, &m_work, &m_sbr, &m_predictions}) FreeBlock(*m_allocator, *id);
  m_allocator = nullptr;
}

LockedMemory::LockedMemory(DecoderMemory& memory) : m_memory(memory) {
  if (memory.m_allocator == nullptr) return;
  MemoryAllocator& allocator = *memory.m_allocator;
  m_state = LockBlock<DecoderState>(allocator, memory.m_state);
  m_work = LockBlock<WorkArea>(allocator, memory.m_work);
  m_sbr = LockBlock<SbrArea>(allocator, memory.m_sbr);
  m_predictions = LockBlock<PredictionArea>(allocator, memory.m_predictions);
  m_complete = m_state != nullptr && m_work != nullptr && (m_sbr != nullptr || memory.m_sbr == 0) &&
               (m_predictions != nullptr || memory.m_predictions == 0);
}

LockedMemory::~LockedMemory() {
  const auto unlock = [&](const void* block, MemoryId id) {
    if (block != nullptr) m_memory.m_allocator->Unlock(id);
  };
  unlock(m_state, m_memory.m_state);
  unlock(m_work, m_memory.m_work);
  unlock(m_sbr, m_memory.m_sbr);
  unlock(m_predictions, m_memory.m_predictions);
}

bool LockedMemory::MakeSbr() {
  if (m_sbr != nullptr) return true;
  void* block = MakeBlock(*m_memory.m_allocator, sizeof(SbrArea), m_memory.m_sbr);
  if (block != nullptr) m_sbr = new (block) SbrArea{};
  return m_sbr != nullptr;
}

bool LockedMemory::MakePredictions() {
  if (m_predictions != nullptr) return true;
  void* block = MakeBlock(*m_memory.m_allocator, sizeof(PredictionArea), m_memory.m_predictions);
  if (block != nullptr) m_predictions = new (block) PredictionArea{};
  return m_predictions != nullptr;
}

}  // namespace UMC::aac
