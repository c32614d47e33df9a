#include "base_codec.h"

#include <new>

#include "default_memory_allocator.h"

namespace UMC {

BaseCodec::BaseCodec() = default;
BaseCodec::~BaseCodec() = default;

Status BaseCodec::Init(BaseCodecParams* params) {
  if (params == nullptr) return UMC_ERR_NULL_PTR;
  if (params->m_allocator != nullptr) {
    m_allocator = params->m_allocator;
    m_ownAllocator.reset();
  } else if (m_allocator == nullptr) {
    m_ownAllocator.reset(new (std::nothrow) DefaultMemoryAllocator);
    if (m_ownAllocator == nullptr) return UMC_ERR_ALLOC;
    m_allocator = m_ownAllocator.get();
  }
  return UMC_OK;
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
  m_allocator = allocator;
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
