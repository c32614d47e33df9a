#include "base/aac/sampling_frequencies.h"

namespace UMC::aac {

int SamplingIndexOf(std::uint32_t frequency) {
  constexpr std::uint32_t kLowest[] = {92017, 75132, 55426, 46009, 37566, 27713,
                                       23004, 18783, 13856, 11502, 9391};
  int index = 0;
  for (const std::uint32_t lowest : kLowest) {
    if (frequency >= lowest) break;
    ++index;
  }
  return index;
}

}  // namespace UMC::aac
