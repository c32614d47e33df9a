// A class that hosts look up by name in the plug-in and derive from. The plug-in itself does not use it.
#pragma once

#include <cstdint>

#include "base/compiler.h"

// The layout, the order of the virtual operations and the names are defined by the host. The meaning of the
// two operations and of the other members is known only from the host's declaration.
class VL_EXPORTED CCacheBuffer {
 public:
  CCacheBuffer(const CCacheBuffer& other);
  CCacheBuffer& operator=(const CCacheBuffer& other);
  virtual ~CCacheBuffer() = default;
  virtual void operation1() = 0;
  virtual void operation2() = 0;

 protected:
  CCacheBuffer() = default;

  // The index after `index`: advanced by one or, with a non-zero divisor, by `amount` divided by it,
  // truncated.
  std::uint64_t m_incCBuf(std::uint64_t index, std::uint32_t amount);

  std::uint64_t m_long1 = 0, m_long2 = 0, m_long3 = 0;
  std::uint32_t m_word1 = 0, m_word2 = 0, m_word3 = 0, m_word4 = 0;
  std::uint64_t m_long4 = 0, m_long5 = 0;
  std::uint32_t m_stepDivisor = 0;  // padded to 64 bits
};
static_assert(sizeof(void*) != 8 || sizeof(CCacheBuffer) == 72, "hosts free arrays of 72-byte elements");
