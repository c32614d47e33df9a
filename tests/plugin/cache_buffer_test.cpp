// The class that hosts derive from, used as they use it.
#include "support/cache_buffer.h"

#include <gtest/gtest.h>

namespace fmp4 {

namespace {

class Buffer : public CCacheBuffer {
 public:
  void operation1() override {}
  void operation2() override {}

  explicit Buffer(std::uint32_t divisor) { m_stepDivisor = divisor; }
  std::uint64_t increment(std::uint64_t index, std::uint32_t amount) { return m_incCBuf(index, amount); }
  void fill() {
    m_long1 = 1;
    m_long2 = 2;
    m_long3 = 1ull << 63;
    m_word1 = 4;
    m_word2 = 5;
    m_word3 = 6;
    m_word4 = 0xFFFFFFFF;
    m_long4 = 8;
    m_long5 = 9;
  }
  bool operator==(const Buffer& o) const {
    return m_long1 == o.m_long1 && m_long2 == o.m_long2 && m_long3 == o.m_long3 && m_word1 == o.m_word1 &&
           m_word2 == o.m_word2 && m_word3 == o.m_word3 && m_word4 == o.m_word4 && m_long4 == o.m_long4 &&
           m_long5 == o.m_long5 && m_stepDivisor == o.m_stepDivisor;
  }
};

TEST(CacheBuffer, WithoutADivisorTheIndexAdvancesByOneWhateverTheAmount) {
  Buffer buffer(0);
  EXPECT_EQ(buffer.increment(7, 0), 8u);
  EXPECT_EQ(buffer.increment(7, 10000), 8u);
  EXPECT_EQ(buffer.increment(~0ull, 1), 0u);
}

TEST(CacheBuffer, WithADivisorTheIndexAdvancesByCompleteSteps) {
  Buffer buffer(4096);
  EXPECT_EQ(buffer.increment(100, 10000), 102u);
  EXPECT_EQ(buffer.increment(100, 8192), 102u);
  EXPECT_EQ(buffer.increment(100, 4095), 100u) << "less than a step";
  EXPECT_EQ(buffer.increment(1ull << 40, 0xFFFFFFFF), (1ull << 40) + 1048575);
}

TEST(CacheBuffer, CopiesEveryMember) {
  Buffer buffer(4096);
  buffer.fill();
  const Buffer copy(buffer);
  EXPECT_TRUE(copy == buffer);
  Buffer assigned(1);
  EXPECT_EQ(&(assigned = buffer), &assigned);
  EXPECT_TRUE(assigned == buffer);
}

TEST(CacheBuffer, IsAsLargeAsTheHostsElements) {
  EXPECT_EQ(sizeof(CCacheBuffer), 72u);
}

}  // namespace

}  // namespace fmp4
