#include <gtest/gtest.h>

#include <limits>

#include "dsp/ipps_memory.h"

namespace fmp4 {

using namespace UMC;

// The address sanitizer stops at requests that no machine can meet unless configured otherwise.
extern "C" const char* __asan_default_options();
extern "C" const char* __asan_default_options() {
  return "allocator_may_return_null=1";
}

namespace {

TEST(Memory, AlignsEveryBlock) {
  for (const std::size_t length : {1u, 63u, 64u, 1000u}) {
    Ipp8u* block = ippsMalloc_8u(length);
    ASSERT_NE(nullptr, block);
    EXPECT_EQ(0u, reinterpret_cast<std::uintptr_t>(block) % kIppsAlignment);
    block[length - 1] = 1;
    ippsFree(block);
  }
  ippsFree(nullptr);
}

TEST(Memory, RejectsZeroAndTooLargeSizes) {
  EXPECT_EQ(nullptr, ippsMalloc_8u(0));
  EXPECT_EQ(nullptr, ippsMalloc_8u(std::numeric_limits<std::size_t>::max() / 4));
}

TEST(Memory, CopiesBytes) {
  const Ipp8u source[3] = {1, 2, 3};
  Ipp8u destination[3] = {};
  EXPECT_EQ(ippStsNoErr, ippsCopy_8u(source, destination, 2));
  EXPECT_EQ(2, destination[1]);
  EXPECT_EQ(0, destination[2]);
  EXPECT_EQ(ippStsNullPtrErr, ippsCopy_8u(nullptr, destination, 1));
  EXPECT_EQ(ippStsNullPtrErr, ippsCopy_8u(source, nullptr, 1));
}

}  // namespace

}  // namespace fmp4
