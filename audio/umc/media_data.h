// A descriptor of media bytes in memory: a buffer, the valid data in it, and their presentation time.
#pragma once

#include <cstddef>
#include <cstdint>

#include "audio/umc/runtime_class.h"
#include "audio/umc/status.h"

namespace UMC {

class MediaData : public RuntimeClass<MediaData> {
 public:
  static const char* ClassName() { return "MediaData"; }

  // Allocates its own buffer of `size` bytes unless `size` is 0; stays empty if memory is exhausted.
  explicit MediaData(std::size_t size = 0);
  ~MediaData() override;

  virtual void* GetBufferPointer() { return m_buffer; }
  virtual void* GetDataPointer() { return m_data; }
  virtual std::uint64_t GetBufferSize() const { return m_bufferSize; }
  virtual std::uint64_t GetDataSize() const { return m_dataSize; }
  virtual double GetTime() const { return m_startTime; }

  // Describes `size` bytes at `pointer`, which remain the caller's; they hold no data yet. Frees a buffer it
  // owns. Returns 0.
  virtual Status SetBufferPointer(std::uint8_t* pointer, std::size_t size);
  // Declares `size` bytes from the data pointer as valid. -995 without a buffer, -999 if they do not fit.
  virtual Status SetDataSize(std::size_t size);
  // Consumes `bytes` of the data or, if negative, restores consumed bytes; -999 if there are not that many.
  virtual Status MoveDataPointer(std::ptrdiff_t bytes);
  // Sets the times in seconds; returns 0.
  virtual Status SetTime(double start, double end);
  // -995 for a null pointer.
  virtual Status GetTime(double* start, double* end) const;
  // Empties the buffer but keeps it; returns 0.
  virtual Status Reset();
  // Releases the buffer, freeing it if owned; returns 0.
  virtual Status Close();
  // Appends as much of the data to `target` as fits there, consumes it here and copies times, frame type and
  // flags. -998 if there is no data here, -995 for a target that is null or has no buffer.
  virtual Status MoveDataTo(MediaData* target);
  // Describes the same bytes as `other`, never as their owner. Frees a buffer it owns, unless these bytes are
  // in it.
  virtual MediaData& operator=(const MediaData& other);

  // The frame type and flags of the data: words defined by the caller, which MoveDataTo and assignment copy
  // and Reset sets to 0.
  [[nodiscard]] std::uint32_t GetFrameType() const { return m_frameType; }
  void SetFrameType(std::uint32_t type) { m_frameType = type; }
  [[nodiscard]] std::uint32_t GetFlags() const { return m_flags; }
  void SetFlags(std::uint32_t flags) { m_flags = flags; }
  // Whether the data are known to be damaged (not 0): set by the caller, neither copied nor reset.
  [[nodiscard]] std::uint32_t GetInvalid() const { return m_invalid; }
  void SetInvalid(std::uint32_t invalid) { m_invalid = invalid; }

 protected:
  double m_startTime = -1.0;
  double m_endTime = -1.0;
  std::uint64_t m_bufferSize = 0;
  std::uint64_t m_dataSize = 0;
  std::uint8_t* m_buffer = nullptr;
  std::uint8_t* m_data = nullptr;
  std::uint32_t m_frameType = 0;
  std::uint32_t m_flags = 0;
  std::uint32_t m_invalid = 0;

 private:
  [[nodiscard]] std::uint64_t Consumed() const { return static_cast<std::uint64_t>(m_data - m_buffer); }
  // Whether `bytes` points into the block this object owns.
  [[nodiscard]] bool Owns(const std::uint8_t* bytes) const;
  void FreeOwnBlock();

  std::uint8_t* m_ownBlock = nullptr;  // from ippsMalloc_8u, freed with this object; null if it owns none
  std::size_t m_ownBlockSize = 0;
};

}  // namespace UMC
