#include "base/crc32.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <random>
#include <vector>

namespace fmp4 {

namespace {

std::vector<std::uint8_t> noise(std::size_t count) {
  std::mt19937 generator(1);
  std::vector<std::uint8_t> bytes(count);
  for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(generator());
  return bytes;
}

std::uint32_t zlibOf(std::span<const std::uint8_t> bytes) {
  return static_cast<std::uint32_t>(crc32_z(0, bytes.data(), bytes.size()));
}

class Crc32Of : public testing::TestWithParam<int> {
 protected:
  void SetUp() override { ASSERT_LE(GetParam(), static_cast<int>(InstructionSet::Avx512Clmul)); }
  std::uint32_t ours(std::span<const std::uint8_t> bytes) const {
    return crc32(bytes, std::min(static_cast<InstructionSet>(GetParam()), processorInstructionSet()));
  }
};

TEST_P(Crc32Of, EveryLengthAndAlignmentIsThatOfZlib) {
  const std::vector<std::uint8_t> bytes = noise(1024);
  for (std::size_t start = 0; start < 16; ++start) {
    for (std::size_t count = 0; count <= bytes.size() - start; ++count) {
      const auto part = std::span(bytes).subspan(start, count);
      ASSERT_EQ(ours(part), zlibOf(part)) << start << "+" << count;
    }
  }
}

TEST_P(Crc32Of, AMebibyteIsThatOfZlib) {
  const std::vector<std::uint8_t> bytes = noise(1u << 20);
  EXPECT_EQ(ours(bytes), zlibOf(bytes));
}

TEST_P(Crc32Of, DigitsIsTheCheckValueOfTheAlgorithm) {
  const std::uint8_t digits[] = {'1', '2', '3', '4', '5', '6', '7', '8', '9'};
  EXPECT_EQ(ours(digits), 0xCBF43926u);
}

// Sets that the processor lacks repeat its own.
INSTANTIATE_TEST_SUITE_P(Sets, Crc32Of, testing::Range(0, 6));

}  // namespace

}  // namespace fmp4
