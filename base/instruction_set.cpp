#include "base/instruction_set.h"

#if defined(__x86_64__)
#include <cpuid.h>

#include <cstdint>
#endif

namespace fmp4 {

#if defined(__x86_64__)
namespace {

// The registers of a leaf of CPUID; all 0 for one that the processor does not have.
struct Leaf {
  std::uint32_t eax = 0, ebx = 0, ecx = 0, edx = 0;

  explicit Leaf(std::uint32_t number) { __get_cpuid_count(number, 0, &eax, &ebx, &ecx, &edx); }
};

bool hasAll(std::uint32_t bits, std::uint32_t wanted) {
  return (bits & wanted) == wanted;
}

// The registers that the operating system keeps (XCR0). To be called only where it says so (OSXSAVE).
std::uint32_t keptRegisters() {
  std::uint32_t low = 0, high = 0;
  __asm__("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
  return low;
}

constexpr std::uint32_t kAvxRegisters = 0x06;     // XMM, YMM
constexpr std::uint32_t kAvx512Registers = 0xE6;  // the masks and ZMM too

}  // namespace

// The features that Highway lets the compiler use for each of its targets. Asked for here, and not of the
// compiler's library, which asks at the start of whatever it is linked to: each question costs microseconds
// in a virtual machine.
InstructionSet processorInstructionSet() {
  const Leaf basic(1), extended(7);
  if (!hasAll(basic.ecx, bit_SSSE3)) return InstructionSet::Baseline;
  if (!hasAll(basic.ecx, bit_SSE4_1 | bit_SSE4_2 | bit_PCLMUL | bit_AES)) return InstructionSet::Ssse3;
  if (!hasAll(basic.ecx, bit_OSXSAVE | bit_AVX | bit_FMA) ||
      !hasAll(extended.ebx, bit_AVX2 | bit_BMI | bit_BMI2) || !hasAll(keptRegisters(), kAvxRegisters))
    return InstructionSet::Sse4;
  if (!hasAll(extended.ebx, bit_AVX512F | bit_AVX512VL | bit_AVX512DQ | bit_AVX512BW) ||
      !hasAll(keptRegisters(), kAvx512Registers))
    return InstructionSet::Avx2;
  if (!hasAll(extended.ecx, bit_VPCLMULQDQ | bit_VAES | bit_AVX512VBMI | bit_AVX512VBMI2 | bit_AVX512BITALG |
                                bit_AVX512VPOPCNTDQ))
    return InstructionSet::Avx512;
  return InstructionSet::Avx512Clmul;
}
#else
InstructionSet processorInstructionSet() {
  return InstructionSet::Baseline;
}
#endif

}  // namespace fmp4
