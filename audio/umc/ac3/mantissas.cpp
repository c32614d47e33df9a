#include "mantissas.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace UMC::ac3 {

namespace {

// Symmetric quantisers (table 7.19 to 7.23): (2 code - (levels - 1)) / levels.
constexpr float Level(int code, int levels) {
  return static_cast<float>(2 * code - (levels - 1)) / static_cast<float>(levels);
}

// Codes that stand for nothing.
constexpr float kNoLevel = 2;

template <int kLevels, unsigned kBits>
constexpr auto MakeLevels() {
  std::array<float, 1u << kBits> levels{};
  for (int code = 0; code < 1 << kBits; ++code) {
    levels[static_cast<std::size_t>(code)] = code < kLevels ? Level(code, kLevels) : kNoLevel;
  }
  return levels;
}

// Groups of mantissas under one code, the first the most significant digit.
template <int kLevels, int kSize, unsigned kBits>
constexpr auto MakeGroups() {
  std::array<std::array<float, kSize>, 1u << kBits> groups{};
  for (int code = 0; code < 1 << kBits; ++code) {
    int rest = code;
    auto& group = groups[static_cast<std::size_t>(code)];
    for (int i = kSize - 1; i >= 0; --i, rest /= kLevels) {
      group[static_cast<std::size_t>(i)] = Level(rest % kLevels, kLevels);
    }
    if (rest != 0) group.fill(kNoLevel);
  }
  return groups;
}

constexpr unsigned kThreeBits = 5, kFiveBits = 7, kSevenBits = 3, kElevenBits = 7, kFifteenBits = 4;
constexpr auto kThree = MakeGroups<3, 3, kThreeBits>();
constexpr auto kFive = MakeGroups<5, 3, kFiveBits>();
constexpr auto kEleven = MakeGroups<11, 2, kElevenBits>();
constexpr auto kSeven = MakeLevels<7, kSevenBits>();
constexpr auto kFifteen = MakeLevels<15, kFifteenBits>();

// Bits of the asymmetric quantisers, by pointer.
constexpr std::uint8_t kBits[16] = {0, 0, 0, 0, 0, 0, 5, 6, 7, 8, 9, 10, 11, 12, 14, 16};

// 2^-exponent
constexpr auto kScales = [] {
  std::array<float, kMaxExponent + 1> scales{};
  float scale = 1;
  for (float& value : scales) {
    value = scale;
    scale /= 2;
  }
  return scales;
}();

}  // namespace

bool MantissaReader::Read(CodedChannel& channel, DitherGenerator* dither) {
  // Kept in registers through the loop.
  BitWindow stream = m_stream;
  const auto take = [&stream](unsigned bits) {
    const auto code = static_cast<std::size_t>(stream.Peek(bits));
    stream.Skip(bits);
    return code;
  };
  float largest = 0;
  float* coefficients = channel.coefficients;
  for (int bin = channel.start; bin < channel.end; ++bin) {
    stream.Refill();
    float mantissa = 0;
    const unsigned pointer = channel.pointers[bin];
    switch (pointer) {
      case 0:
        coefficients[bin] = dither != nullptr ? dither->Next(channel.exponents[bin]) : 0.0f;
        continue;
      case 1:
        if (m_threeLeft == 0) {
          m_three = kThree[take(kThreeBits)].data();
          m_threeLeft = 3;
        }
        mantissa = *m_three++;
        --m_threeLeft;
        break;
      case 2:
        if (m_fiveLeft == 0) {
          m_five = kFive[take(kFiveBits)].data();
          m_fiveLeft = 3;
        }
        mantissa = *m_five++;
        --m_fiveLeft;
        break;
      case 3:
        mantissa = kSeven[take(kSevenBits)];
        break;
      case 4:
        if (m_elevenLeft == 0) {
          m_eleven = kEleven[take(kElevenBits)].data();
          m_elevenLeft = 2;
        }
        mantissa = *m_eleven++;
        --m_elevenLeft;
        break;
      case 5:
        mantissa = kFifteen[take(kFifteenBits)];
        break;
      default: {
        const unsigned bits = kBits[pointer];
        const auto code = static_cast<std::uint32_t>(take(bits));
        mantissa = static_cast<float>(static_cast<std::int32_t>(code << (32 - bits))) * 0x1p-31f;
      }
    }
    largest = std::max(largest, mantissa);
    coefficients[bin] = mantissa * kScales[channel.exponents[bin]];
  }
  std::fill(coefficients + channel.end, coefficients + kBins, 0.0f);
  m_stream = stream;
  return largest < kNoLevel;
}

}  // namespace UMC::ac3
