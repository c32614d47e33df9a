#include "support/cache_buffer.h"

CCacheBuffer::CCacheBuffer(const CCacheBuffer& other) = default;

CCacheBuffer& CCacheBuffer::operator=(const CCacheBuffer& other) = default;

std::uint64_t CCacheBuffer::m_incCBuf(std::uint64_t index, std::uint32_t amount) {
  return m_stepDivisor == 0 ? index + 1 : index + amount / m_stepDivisor;
}
