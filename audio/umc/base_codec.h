// The bases of all codecs.
#pragma once

#include <cstdint>
#include <memory>

#include "audio/umc/codec_params.h"
#include "audio/umc/media_data.h"
#include "audio/umc/memory_allocator.h"
#include "audio/umc/runtime_class.h"
#include "audio/umc/status.h"

namespace UMC {

// A codec object is used by one thread at a time.
class BaseCodec : public RuntimeClass<BaseCodec> {
 public:
  static const char* ClassName() { return "BaseCodec"; }

  BaseCodec();
  ~BaseCodec() override;

  // Takes the allocator from the parameters; where there is none in them, the one that was set; where none
  // was set, one of its own. Parameters may be null. -883 without memory.
  virtual Status Init(BaseCodecParams* params);
  // The operations that a codec adds; -878 where it does not.
  virtual Status GetFrame(MediaData* input, MediaData* output);
  virtual Status GetInfo(BaseCodecParams* params);
  virtual Status Close();
  virtual Status Reset();
  virtual Status SetParams(BaseCodecParams* params);

  // Sets the allocator to use, which outlives the codec; before Init. -995 for null, -999 when another is in
  // use.
  virtual Status SetMemoryAllocator(MemoryAllocator* allocator);

  // A block of the allocator in use: its address or null, and a status, -998 without an allocator.
  virtual void* LockMemory(MemoryId identifier);
  virtual Status UnlockMemory(MemoryId identifier);
  virtual Status FreeMemory(MemoryId identifier);
  // Keeps a word that tells how the stream is played (0: normal); returns 0.
  virtual Status SetTrickPlayMode(std::uint32_t mode);

 protected:
  MemoryAllocator* m_allocator = nullptr;     // in use
  MemoryAllocator* m_setAllocator = nullptr;  // by SetMemoryAllocator
  std::unique_ptr<MemoryAllocator> m_ownAllocator;
  std::uint32_t m_trickPlayMode = 0;
  std::uint32_t m_reserved[25] = {};
};

class AudioCodec : public RuntimeClass<AudioCodec, BaseCodec> {
 public:
  static const char* ClassName() { return "AudioCodec"; }
};

}  // namespace UMC
