#include "base/instruction_set.h"

#include <gtest/gtest.h>

namespace fmp4 {

namespace {

#if defined(__x86_64__)
// What the compiler's library finds, except VAES, which Clang 14 cannot ask for.
InstructionSet compilersInstructionSet() {
  __builtin_cpu_init();
  if (!__builtin_cpu_supports("ssse3")) return InstructionSet::Baseline;
  if (!__builtin_cpu_supports("sse4.1") || !__builtin_cpu_supports("sse4.2") ||
      !__builtin_cpu_supports("pclmul") || !__builtin_cpu_supports("aes"))
    return InstructionSet::Ssse3;
  if (!__builtin_cpu_supports("avx") || !__builtin_cpu_supports("avx2") || !__builtin_cpu_supports("bmi") ||
      !__builtin_cpu_supports("bmi2") || !__builtin_cpu_supports("fma"))
    return InstructionSet::Sse4;
  if (!__builtin_cpu_supports("avx512f") || !__builtin_cpu_supports("avx512vl") ||
      !__builtin_cpu_supports("avx512dq") || !__builtin_cpu_supports("avx512bw"))
    return InstructionSet::Avx2;
  if (!__builtin_cpu_supports("vpclmulqdq") || !__builtin_cpu_supports("avx512vbmi") ||
      !__builtin_cpu_supports("avx512vbmi2") || !__builtin_cpu_supports("avx512bitalg") ||
      !__builtin_cpu_supports("avx512vpopcntdq"))
    return InstructionSet::Avx512;
  return InstructionSet::Avx512Clmul;
}

TEST(InstructionSetOf, ThisProcessorIsWhatTheCompilersLibraryFinds) {
  EXPECT_EQ(processorInstructionSet(), compilersInstructionSet());
}
#endif

}  // namespace

}  // namespace fmp4
