#include "audio/umc/base_codec.h"

#include <new>

#include "audio/umc/default_memory_allocator.h"

namespace UMC {

BaseCodec::BaseCodec() = default;
BaseCodec::~BaseCodec() = default;

Status BaseCodec::Init(BaseCodecParams* params) {
  const bool hasAllocator = params != nullptr && params->m_allocator != nullptr;
  MemoryAllocator* borrowed = hasAllocator ? params->m_allocator : m_setAllocator;
  if (borrowed != nullptr) {
    m_ownAllocator.reset();
    m_allocator = borrowed;
    return UMC_OK;
  }
  // An allocator borrowed from earlier parameters may no longer exist.
  if (m_ownAllocator == nullptr) m_ownAllocator.reset(new (std::nothrow) DefaultMemoryAllocator);
  m_allocator = m_ownAllocator.get();
  return m_allocator != nullptr ? UMC_OK : UMC_ERR_ALLOC;
}

Status BaseCodec::GetFrame(MediaData* /*input*/, MediaData* /*output*/) {
  return UMC_ERR_NOT_PROVIDED;
}
Status BaseCodec::GetInfo(BaseCodecParams* /*params*/) {
  return UMC_ERR_NOT_PROVIDED;
}
Status BaseCodec::Close() {
  return UMC_ERR_NOT_PROVIDED;
}
Status BaseCodec::Reset() {
  return UMC_ERR_NOT_PROVIDED;
}
Status BaseCodec::SetParams(BaseCodecParams* /*params*/) {
  return UMC_ERR_NOT_PROVIDED;
}

Status BaseCodec::SetMemoryAllocator(MemoryAllocator* allocator) {
  if (allocator == nullptr) return UMC_ERR_NULL_PTR;
  if (m_allocator != nullptr && m_allocator != allocator) return UMC_ERR_FAILED;
  m_allocator = m_setAllocator = allocator;
  return UMC_OK;
}

void* BaseCodec::LockMemory(MemoryId identifier) {
  return m_allocator == nullptr ? nullptr : m_allocator->Lock(identifier);
}

Status BaseCodec::UnlockMemory(MemoryId identifier) {
  return m_allocator == nullptr ? UMC_ERR_NOT_INITIALIZED : m_allocator->Unlock(identifier);
}

Status BaseCodec::FreeMemory(MemoryId identifier) {
  return m_allocator == nullptr ? UMC_ERR_NOT_INITIALIZED : m_allocator->Free(identifier);
}

Status BaseCodec::SetTrickPlayMode(std::uint32_t mode) {
  m_trickPlayMode = mode;
  return UMC_OK;
}

}  // namespace UMC
