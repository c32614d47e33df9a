#include "audio/umc/ac3/exponents.h"

#include <array>
#include <cstring>

namespace UMC::ac3 {

namespace {

constexpr unsigned kGroupBits = 7;
constexpr int kGroupSize = 3;          // differences per group
constexpr unsigned kGroupCodes = 125;  // valid group codes: three differences of five values

struct Differences {
  std::int8_t values[kGroupSize];
};

constexpr std::array<Differences, 1 << kGroupBits> MakeGroups() {
  std::array<Differences, 1 << kGroupBits> groups{};
  for (unsigned i = 0; i < groups.size(); ++i) {
    groups[i] = {{static_cast<std::int8_t>(static_cast<int>(i / 25) - 2),
                  static_cast<std::int8_t>(static_cast<int>(i / 5 % 5) - 2),
                  static_cast<std::int8_t>(static_cast<int>(i % 5) - 2)}};
  }
  return groups;
}

constexpr auto kDifferences = MakeGroups();

constexpr int BinsPerDifference(ExponentStrategy strategy) {
  return 1 << (static_cast<int>(strategy) - 1);
}

// Reads from a copy of the stream, which stores of bytes cannot change.
template <int kRepeats>
bool ParseGroups(fmp4::BitWindow& stream, int groups, int exponent, std::uint8_t* out) {
  fmp4::BitWindow window = stream;
  for (int i = 0; i < groups; ++i) {
    const std::uint32_t group = window.Read(kGroupBits);
    if (group >= kGroupCodes) return false;
    for (const int difference : kDifferences[group].values) {
      exponent += difference;
      if (exponent < 0 || exponent > kMaxExponent) return false;
      std::memset(out, exponent, kRepeats);
      out += kRepeats;
    }
  }
  stream = window;
  return true;
}

// `exponent` is the reference of the first difference.
bool ParseGroups(fmp4::BitWindow& stream, ExponentStrategy strategy, int groups, int exponent,
                 std::uint8_t* out) {
  switch (strategy) {
    case ExponentStrategy::kD15:
      return ParseGroups<BinsPerDifference(ExponentStrategy::kD15)>(stream, groups, exponent, out);
    case ExponentStrategy::kD25:
      return ParseGroups<BinsPerDifference(ExponentStrategy::kD25)>(stream, groups, exponent, out);
    default:
      return ParseGroups<BinsPerDifference(ExponentStrategy::kD45)>(stream, groups, exponent, out);
  }
}

}  // namespace

bool ParseExponents(fmp4::BitWindow& stream, ExponentStrategy strategy, int end, std::uint8_t* exponents) {
  const int bins = BinsPerDifference(strategy);
  const int groupBins = kGroupSize * bins;
  exponents[0] = static_cast<std::uint8_t>(stream.Read(4));
  // The last group may extend past the end, so that all bins are covered.
  const int groups = (end - 1 + groupBins - kGroupSize) / groupBins;
  return ParseGroups(stream, strategy, groups, exponents[0], exponents + 1);
}

bool ParseCouplingExponents(fmp4::BitWindow& stream, ExponentStrategy strategy, int start, int end,
                            std::uint8_t* exponents) {
  const int bins = BinsPerDifference(strategy);
  const int reference = static_cast<int>(stream.Read(4)) * 2;
  return ParseGroups(stream, strategy, (end - start) / (kGroupSize * bins), reference, exponents + start);
}

}  // namespace UMC::ac3
