// A descriptor of media bytes in memory: a buffer, the valid data inside it, and their presentation time.
#pragma once

#include <cstddef>
#include <cstdint>

#include "audio/umc/runtime_class.h"
#include "audio/umc/status.h"

namespace UMC {

class MediaData : public RuntimeClass<MediaData> {
 public:
  static const char* ClassName() { return "MediaData"; }

  // With a size it allocates that many bytes of its own; where memory is short it stays empty.
  explicit MediaData(std::size_t size = 0);
  ~MediaData() override;

  virtual void* GetBufferPointer() { return m_buffer; }
  virtual void* GetDataPointer() { return m_data; }
  virtual std::uint64_t GetBufferSize() const { return m_bufferSize; }
  virtual std::uint64_t GetDataSize() const { return m_dataSize; }
  virtual double GetTime() const { return m_startTime; }

  // Describes `size` bytes at `pointer`, which stay the caller's; no data in them yet. Frees a buffer of
  // its own. Returns 0.
  virtual Status SetBufferPointer(std::uint8_t* pointer, std::size_t size);
  // Declares `size` bytes from the data pointer valid. -995 without a buffer, -999 when they do not fit.
  virtual Status SetDataSize(std::size_t size);
  // Consumes `bytes` of the data, or takes back what was consumed when negative; -999 when there are not so
  // many.
  virtual Status MoveDataPointer(std::ptrdiff_t bytes);
  // Times in seconds; returns 0.
  virtual Status SetTime(double start, double end);
  // -995 for a null pointer.
  virtual Status GetTime(double* start, double* end) const;
  // Empties the buffer, keeping it; returns 0.
  virtual Status Reset();
  // Gives the buffer up, freeing one of its own; returns 0.
  virtual Status Close();
  // Appends as much of the data to `target` as fits there, consumes it here and hands on times, frame type
  // and flags. -998 without data here, -995 for a target that is null or has no buffer.
  virtual Status MoveDataTo(MediaData* target);
  // Describes the same bytes as `other` and never becomes their owner. Frees a buffer of its own, unless
  // these bytes lie in it.
  virtual MediaData& operator=(const MediaData& other);

  // What kind of frame the data are, and what else is told of them: words of the caller's, which MoveDataTo
  // and assignment hand on and Reset sets to 0.
  [[nodiscard]] std::uint32_t GetFrameType() const { return m_frameType; }
  void SetFrameType(std::uint32_t type) { m_frameType = type; }
  [[nodiscard]] std::uint32_t GetFlags() const { return m_flags; }
  void SetFlags(std::uint32_t flags) { m_flags = flags; }
  // Whether the data are known to be damaged (not 0): the caller's alone, neither handed on nor reset.
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
  // Whether `bytes` points into the block of its own.
  [[nodiscard]] bool Owns(const std::uint8_t* bytes) const;
  void FreeOwnBlock();

  std::uint8_t* m_ownBlock = nullptr;  // of ippsMalloc_8u, freed with this object; null: it owns none
  std::size_t m_ownBlockSize = 0;
};

}  // namespace UMC
