// The base class of all codecs.
#pragma once

#include <cstdint>
#include <memory>

#include "audio/umc/codec_params.h"
#include "audio/umc/media_data.h"
#include "audio/umc/memory_allocator.h"
#include "audio/umc/runtime_class.h"
#include "audio/umc/status.h"

namespace UMC {

// Not thread-safe.
class BaseCodec : public RuntimeClass<BaseCodec> {
 public:
  static const char* ClassName() { return "BaseCodec"; }

  BaseCodec();
  ~BaseCodec() override;

  // Uses the allocator in the parameters, else the one that was set, else one of its own. Parameters may be
  // null. -883 without memory.
  virtual Status Init(BaseCodecParams* params);
  // Operations implemented by codecs; -878 where not implemented.
  virtual Status GetFrame(MediaData* input, MediaData* output);
  virtual Status GetInfo(BaseCodecParams* params);
  virtual Status Close();
  virtual Status Reset();
  virtual Status SetParams(BaseCodecParams* params);

  // Sets the allocator to use, which must outlive the codec; before Init. -995 for null, -999 if another is
  // in use.
  virtual Status SetMemoryAllocator(MemoryAllocator* allocator);

  // Locks a block of the allocator in use: its address or null, and a status, -998 without an allocator.
  virtual void* LockMemory(MemoryId identifier);
  virtual Status UnlockMemory(MemoryId identifier);
  virtual Status FreeMemory(MemoryId identifier);
  // Stores a word that specifies how the stream is played (0: normal); returns 0.
  virtual Status SetTrickPlayMode(std::uint32_t mode);

 protected:
  MemoryAllocator* m_allocator = nullptr;     // the allocator in use
  MemoryAllocator* m_setAllocator = nullptr;  // set by SetMemoryAllocator
  std::unique_ptr<MemoryAllocator> m_ownAllocator;
  std::uint32_t m_trickPlayMode = 0;
  std::uint32_t m_reserved[25] = {};
};

class AudioCodec : public RuntimeClass<AudioCodec, BaseCodec> {
 public:
  static const char* ClassName() { return "AudioCodec"; }
};

}  // namespace UMC
