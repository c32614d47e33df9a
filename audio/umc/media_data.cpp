#include "audio/umc/media_data.h"

#include <algorithm>
#include <functional>

#include "dsp/ipps_memory.h"

namespace UMC {

MediaData::MediaData(std::size_t size) {
  m_ownBlock = ippsMalloc_8u(size);
  if (m_ownBlock == nullptr) return;
  m_ownBlockSize = size;
  m_buffer = m_data = m_ownBlock;
  m_bufferSize = size;
}

MediaData::~MediaData() {
  MediaData::Close();
}

Status MediaData::SetBufferPointer(std::uint8_t* pointer, std::size_t size) {
  FreeOwnBlock();
  m_buffer = pointer;
  m_data = pointer;
  m_bufferSize = size;
  m_dataSize = 0;
  return UMC_OK;
}

Status MediaData::SetDataSize(std::size_t size) {
  if (m_buffer == nullptr) return UMC_ERR_NULL_PTR;
  if (size > m_bufferSize - Consumed()) return UMC_ERR_FAILED;
  m_dataSize = size;
  return UMC_OK;
}

Status MediaData::MoveDataPointer(std::ptrdiff_t bytes) {
  // The magnitude of the most negative count also fits the unsigned type.
  const std::uint64_t count =
      bytes < 0 ? std::uint64_t{0} - static_cast<std::uint64_t>(bytes) : static_cast<std::uint64_t>(bytes);
  if (count > (bytes < 0 ? Consumed() : m_dataSize)) return UMC_ERR_FAILED;
  m_data += bytes;
  m_dataSize = bytes < 0 ? m_dataSize + count : m_dataSize - count;
  return UMC_OK;
}

Status MediaData::SetTime(double start, double end) {
  m_startTime = start;
  m_endTime = end;
  return UMC_OK;
}

Status MediaData::GetTime(double* start, double* end) const {
  if (start == nullptr || end == nullptr) return UMC_ERR_NULL_PTR;
  *start = m_startTime;
  *end = m_endTime;
  return UMC_OK;
}

Status MediaData::Reset() {
  m_data = m_buffer;
  m_dataSize = 0;
  m_startTime = -1.0;
  m_endTime = -1.0;
  m_frameType = 0;
  m_flags = 0;
  return UMC_OK;
}

Status MediaData::Close() {
  return SetBufferPointer(nullptr, 0);
}

Status MediaData::MoveDataTo(MediaData* target) {
  if (m_data == nullptr || m_dataSize == 0) return UMC_ERR_NOT_INITIALIZED;
  if (target == nullptr || target->m_buffer == nullptr) return UMC_ERR_NULL_PTR;
  const std::uint64_t space = target->m_bufferSize - target->Consumed() - target->m_dataSize;
  const auto count = static_cast<std::size_t>(std::min(m_dataSize, space));
  ippsCopy_8u(m_data, target->m_data + target->m_dataSize, count);
  target->m_dataSize += count;
  target->m_startTime = m_startTime;
  target->m_endTime = m_endTime;
  target->m_frameType = m_frameType;
  target->m_flags = m_flags;
  return MoveDataPointer(static_cast<std::ptrdiff_t>(count));
}

MediaData& MediaData::operator=(const MediaData& other) {
  if (!Owns(other.m_buffer)) FreeOwnBlock();
  m_startTime = other.m_startTime;
  m_endTime = other.m_endTime;
  m_bufferSize = other.m_bufferSize;
  m_dataSize = other.m_dataSize;
  m_buffer = other.m_buffer;
  m_data = other.m_data;
  m_frameType = other.m_frameType;
  m_flags = other.m_flags;
  return *this;
}

bool MediaData::Owns(const std::uint8_t* bytes) const {
  // std::less also orders pointers into different blocks.
  const std::less<> before;
  return m_ownBlock != nullptr && !before(bytes, m_ownBlock) && before(bytes, m_ownBlock + m_ownBlockSize);
}

void MediaData::FreeOwnBlock() {
  ippsFree(m_ownBlock);
  m_ownBlock = nullptr;
  m_ownBlockSize = 0;
}

}  // namespace UMC
