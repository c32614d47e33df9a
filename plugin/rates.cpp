#include "plugin/rates.h"

#include <initializer_list>

namespace fmp4 {

RateScale reduceRate(RateScale value) {
  for (const std::int64_t step : {std::int64_t{100}, std::int64_t{10}}) {
    if (value.rate % step == 0 && value.scale % step == 0) return {value.rate / step, value.scale / step};
  }
  return value;
}

FrameRate snapFrameRate(const FrameRate& nominal) {
  const auto below = [&nominal](std::uint64_t limit) {
    return nominal.numerator < limit * nominal.denominator;
  };
  const FrameRate hundredths{
      saturate<std::uint32_t>(std::uint64_t{nominal.numerator} / nominal.denominator * 100), 100};
  if (below(23)) return hundredths;
  if (below(24)) return {24000, 1001};
  if (below(25)) return {24, 1};
  if (below(29)) return {25, 1};
  if (below(30)) return {30000, 1001};
  if (below(50)) return {30, 1};
  if (below(59)) return {50, 1};
  if (below(60)) return {60000, 1001};
  if (below(61)) return {60, 1};
  return hundredths;
}

std::uint32_t timecodeRateOf(std::uint32_t rate) {
  switch (rate) {
    case 24000:
    case 2398:
      return 128;
    case 25:
    case 50:
      return 8;
    case 30:
    case 60:
      return 2;
    case 30000:
    case 60000:
    case 2997:
      return 4;
    default:
      return 1;
  }
}

}  // namespace fmp4
