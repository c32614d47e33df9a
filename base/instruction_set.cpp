#include "base/instruction_set.h"

namespace fmp4 {

#if defined(__x86_64__)
// The features that Highway lets the compiler use for each of its targets.
InstructionSet processorInstructionSet() {
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
  // Processors with these have VAES too, which Clang 14 cannot ask for.
  if (!__builtin_cpu_supports("vpclmulqdq") || !__builtin_cpu_supports("avx512vbmi") ||
      !__builtin_cpu_supports("avx512vbmi2") || !__builtin_cpu_supports("avx512bitalg") ||
      !__builtin_cpu_supports("avx512vpopcntdq"))
    return InstructionSet::Avx512;
  return InstructionSet::Avx512Clmul;
}
#else
InstructionSet processorInstructionSet() {
  return InstructionSet::Baseline;
}
#endif

}  // namespace fmp4
