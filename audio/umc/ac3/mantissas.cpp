#include "mantissas.h"

#include <algorithm>
#include <array>

#include "exponents.h"

namespace UMC::ac3 {

namespace {

constexpr std::size_t kMaxBits = 16;
constexpr std::size_t kMaxCodes = 128;
constexpr std::size_t kGroupRoom = 4;
constexpr std::size_t kTableSize = kMaxCodes * kGroupRoom;

// A quantiser (7.3.3).
struct Quantiser {
  std::uint32_t bits;       // of a code word
  std::uint32_t size;       // mantissas a code word, the first the most significant digit
  std::uint32_t levels;     // of a symmetric one
  std::uint32_t mask;       // of the bits among the next 32
  std::uint32_t table;      // of a symmetric one's levels
  std::uint32_t tableMask;  // of its code words; 0 for others, which have no table
};

constexpr Quantiser Symmetric(std::uint32_t pointer, std::uint32_t levels, std::uint32_t bits,
                              std::uint32_t size) {
  return {bits, size, levels, 0, static_cast<std::uint32_t>(pointer * kTableSize), kMaxCodes - 1};
}

constexpr Quantiser Asymmetric(std::uint32_t bits) {
  return {bits, 1, 0, ~0u << (32 - bits), 0, 0};
}

// By pointer; bins without bits are not read.
constexpr Quantiser kQuantisers[kPointers] = {
    {},
    Symmetric(1, 3, 5, 3),
    Symmetric(2, 5, 7, 3),
    Symmetric(3, 7, 3, 1),
    Symmetric(4, 11, 7, 2),
    Symmetric(5, 15, 4, 1),
    Asymmetric(5),
    Asymmetric(6),
    Asymmetric(7),
    Asymmetric(8),
    Asymmetric(9),
    Asymmetric(10),
    Asymmetric(11),
    Asymmetric(12),
    Asymmetric(14),
    Asymmetric(16),
};

// Stands for codes that stand for nothing.
constexpr float kNoLevel = 2;

// By symmetric pointer, code word and mantissas still to come, that one included:
// (2 code - (levels - 1)) / levels.
constexpr auto kLevels = [] {
  std::array<float, kFirstAsymmetric * kTableSize> table{};
  for (std::size_t pointer = 1; pointer < kFirstAsymmetric; ++pointer) {
    const Quantiser& quantiser = kQuantisers[pointer];
    const auto levels = static_cast<int>(quantiser.levels);
    for (int code = 0; code < 1 << quantiser.bits; ++code) {
      float* group = table.data() + pointer * kTableSize + static_cast<std::size_t>(code) * kGroupRoom;
      int rest = code;
      for (std::size_t left = 1; left <= quantiser.size; ++left, rest /= levels) {
        group[left] = static_cast<float>(2 * (rest % levels) - (levels - 1)) / static_cast<float>(levels);
      }
      if (rest != 0) std::fill(group, group + kGroupRoom, kNoLevel);
    }
  }
  return table;
}();

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

// Bits where eight bytes may be read from wherever the next ones begin. Nothing but the position is carried
// from one code word to the next.
class InnerReader {
 public:
  explicit InnerReader(const BitWindow& stream) : m_data(stream.Data()), m_position(stream.Position()) {}

  // The next 32 bits.
  [[nodiscard]] std::uint32_t Peek() const {
    return static_cast<std::uint32_t>(LoadBigEndian(m_data + m_position / 8) << m_position % 8 >> 32);
  }
  void Skip(unsigned count) { m_position += count; }
  [[nodiscard]] std::size_t Position() const { return m_position; }

 private:
  const std::uint8_t* m_data;
  std::size_t m_position;
};

// The same up to the end and beyond.
class EndReader {
 public:
  explicit EndReader(const BitWindow& stream) : m_stream(stream) {}

  std::uint32_t Peek() {
    m_stream.Refill();
    return static_cast<std::uint32_t>(m_stream.Peek(32));
  }
  void Skip(unsigned count) { m_stream.Skip(count); }
  [[nodiscard]] std::size_t Position() const { return m_stream.Position(); }

 private:
  BitWindow m_stream;
};

}  // namespace

bool MantissaReader::Read(CodedChannel& channel, DitherGenerator* dither) {
  constexpr std::size_t kReadAhead = 64;
  std::fill(channel.coefficients, channel.coefficients + kBins, 0.0f);
  const auto mostBits = static_cast<std::size_t>(channel.binCount) * kMaxBits;
  bool valid = false;
  if (m_stream.Remaining() >= mostBits + kReadAhead) {
    InnerReader reader(m_stream);
    valid = ReadWith(reader, channel);
  } else {
    EndReader reader(m_stream);
    valid = ReadWith(reader, channel);
  }
  if (dither != nullptr) {
    AddDither(channel.pointers, channel.exponents, channel.start, channel.end, *dither, channel.coefficients);
  }
  return valid;
}

// Without branches, and masks so that the compiler makes none: which quantiser a coefficient has and whether
// it begins a group is hard to foresee.
template <class Reader>
bool MantissaReader::ReadWith(Reader& reader, CodedChannel& channel) {
  Groups groups = m_groups;
  float largest = 0;
  for (int i = 0; i < channel.binCount; ++i) {
    const std::size_t bin = channel.bins[i];
    const std::size_t pointer = channel.pointers[bin];
    const Quantiser& quantiser = kQuantisers[pointer];
    const std::uint32_t next = reader.Peek();
    const std::uint32_t begins = groups.left[pointer] == 0 ? ~0u : 0u;
    const std::uint32_t group = (next >> (32u - quantiser.bits) & begins) | (groups.code[pointer] & ~begins);
    const std::uint32_t left = groups.left[pointer] | (quantiser.size & begins);
    reader.Skip(quantiser.bits & begins);
    groups.code[pointer] = group;
    groups.left[pointer] = left - 1;
    const float level = kLevels[quantiser.table + (group & quantiser.tableMask) * kGroupRoom + left];
    const float whole = static_cast<float>(static_cast<std::int32_t>(next & quantiser.mask)) * 0x1p-31f;
    const float mantissa = level + whole;  // one of them is 0
    largest = std::max(largest, mantissa);
    channel.coefficients[bin] = mantissa * kScales[channel.exponents[bin]];
  }
  m_groups = groups;
  m_stream.Seek(reader.Position());
  return largest < kNoLevel;
}

}  // namespace UMC::ac3
