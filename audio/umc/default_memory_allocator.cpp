#include "audio/umc/default_memory_allocator.h"

#include <algorithm>
#include <bit>
#include <limits>

#include "dsp/ipps_memory.h"

namespace UMC {

namespace {

constexpr std::uint32_t kLargestAlignment = 0x100000;
constexpr std::size_t kMinTable = 8;

std::uint8_t* Align(std::uint8_t* memory, std::uint32_t alignment) {
  const auto misalignment = reinterpret_cast<std::uintptr_t>(memory) & (alignment - 1);
  return misalignment == 0 ? memory : memory + (alignment - misalignment);
}

}  // namespace

DefaultMemoryAllocator::~DefaultMemoryAllocator() {
  DefaultMemoryAllocator::Close();
}

Status DefaultMemoryAllocator::Alloc(MemoryId* identifier, std::size_t size, std::uint32_t /*flags*/,
                                     std::uint32_t alignment) {
  ScopedLock lock(m_mutex);
  if (identifier == nullptr) return UMC_ERR_INVALID_PARAMS;
  *identifier = 0;
  if (size == 0 || !std::has_single_bit(alignment) || alignment > kLargestAlignment) {
    return UMC_ERR_INVALID_PARAMS;
  }
  Record* record = FindReusable(size, alignment);
  if (record == nullptr) {
    if (size > std::numeric_limits<std::size_t>::max() - alignment) return UMC_ERR_ALLOC;
    std::uint8_t* memory = ippsMalloc_8u(size + alignment);
    if (memory == nullptr) return UMC_ERR_ALLOC;
    record = AddRecord();
    if (record == nullptr) {
      ippsFree(memory);
      return UMC_ERR_ALLOC;
    }
    record->memory = memory;
    record->size = size + alignment;
  }
  record->identifier = NewIdentifier();
  record->alignment = alignment;
  record->lockCount = 0;
  record->freePending = 0;
  *identifier = record->identifier;
  return UMC_OK;
}

void* DefaultMemoryAllocator::Lock(MemoryId identifier) {
  ScopedLock lock(m_mutex);
  Record* record = Find(identifier);
  if (record == nullptr) return nullptr;
  ++record->lockCount;
  return Align(record->memory, record->alignment);
}

Status DefaultMemoryAllocator::Unlock(MemoryId identifier) {
  ScopedLock lock(m_mutex);
  Record* record = Find(identifier);
  if (record == nullptr || record->lockCount == 0) return UMC_ERR_FAILED;
  --record->lockCount;
  if (record->lockCount == 0 && record->freePending != 0) record->identifier = 0;
  return UMC_OK;
}

Status DefaultMemoryAllocator::Free(MemoryId identifier) {
  ScopedLock lock(m_mutex);
  Record* record = Find(identifier);
  if (record == nullptr) return UMC_ERR_FAILED;
  if (record->lockCount == 0) {
    record->identifier = 0;
  } else {
    record->freePending = 1;
  }
  return UMC_OK;
}

Status DefaultMemoryAllocator::Close() {
  ScopedLock lock(m_mutex);
  for (std::size_t i = 0; i < m_recordCount; ++i) ippsFree(m_records[i].memory);
  ippsFree(m_records);
  m_records = nullptr;
  m_recordCount = 0;
  m_recordCapacity = 0;
  return UMC_OK;
}

DefaultMemoryAllocator::Record* DefaultMemoryAllocator::Find(MemoryId identifier) {
  if (identifier == 0) return nullptr;
  Record* end = m_records + m_recordCount;
  Record* found =
      std::find_if(m_records, end, [=](const Record& record) { return record.identifier == identifier; });
  return found == end ? nullptr : found;
}

DefaultMemoryAllocator::Record* DefaultMemoryAllocator::FindReusable(std::size_t size,
                                                                     std::uint32_t alignment) {
  Record* end = m_records + m_recordCount;
  Record* found = std::find_if(m_records, end, [=](const Record& record) {
    if (record.identifier != 0) return false;
    const auto lost = static_cast<std::uint64_t>(Align(record.memory, alignment) - record.memory);
    return lost <= record.size && record.size - lost >= size;
  });
  return found == end ? nullptr : found;
}

DefaultMemoryAllocator::Record* DefaultMemoryAllocator::AddRecord() {
  if (m_recordCount == m_recordCapacity) {
    const std::size_t capacity = std::max(kMinTable, 2 * m_recordCapacity);
    auto* records = reinterpret_cast<Record*>(ippsMalloc_8u(capacity * sizeof(Record)));
    if (records == nullptr) return nullptr;
    std::copy(m_records, m_records + m_recordCount, records);
    ippsFree(m_records);
    m_records = records;
    m_recordCapacity = capacity;
  }
  Record* added = &m_records[m_recordCount++];
  *added = {};
  return added;
}

MemoryId DefaultMemoryAllocator::NewIdentifier() {
  do {
    ++m_lastIdentifier;
  } while (m_lastIdentifier == 0 || Find(m_lastIdentifier) != nullptr);
  return m_lastIdentifier;
}

}  // namespace UMC
