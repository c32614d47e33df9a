#include "mantissas.h"

#include <algorithm>
#include <array>

namespace UMC::ac3 {

namespace {

// A quantiser (7.3.3): symmetric ones have so many levels, and up to three mantissas under one code word, the
// first the most significant digit.
struct Quantiser {
  int levels;
  std::uint8_t bits;
  std::uint8_t size;  // mantissas a code word
};
// By pointer; bins without bits have one of a single level, 0.
constexpr Quantiser kQuantisers[16] = {{1, 0, 1},  {3, 5, 3},  {5, 7, 3},  {7, 3, 1}, {11, 7, 2}, {15, 4, 1},
                                       {0, 5, 1},  {0, 6, 1},  {0, 7, 1},  {0, 8, 1}, {0, 9, 1},  {0, 10, 1},
                                       {0, 11, 1}, {0, 12, 1}, {0, 14, 1}, {0, 16, 1}};
constexpr std::size_t kMaxBits = 16;

// Stands for codes that stand for nothing.
constexpr float kNoLevel = 2;

constexpr std::size_t kMaxCodes = 128;
constexpr std::size_t kGroupRoom = 4;

// By symmetric pointer, code word and mantissas still to come, that one included.
constexpr auto kLevels = [] {
  std::array<std::array<std::array<float, kGroupRoom>, kMaxCodes>, kFirstAsymmetric> tables{};
  for (std::size_t pointer = 0; pointer < kFirstAsymmetric; ++pointer) {
    const Quantiser& quantiser = kQuantisers[pointer];
    for (int code = 0; code < 1 << quantiser.bits; ++code) {
      auto& group = tables[pointer][static_cast<std::size_t>(code)];
      int rest = code;
      for (std::size_t left = 1; left <= quantiser.size; ++left, rest /= quantiser.levels) {
        const int level = 2 * (rest % quantiser.levels) - (quantiser.levels - 1);
        group[left] = static_cast<float>(level) / static_cast<float>(quantiser.levels);
      }
      if (rest != 0) group.fill(kNoLevel);
    }
  }
  return tables;
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
  const auto mostBits = static_cast<std::size_t>(channel.end - channel.start) * kMaxBits;
  bool valid = false;
  if (m_stream.Remaining() >= mostBits + kReadAhead) {
    InnerReader reader(m_stream);
    valid = ReadWith(reader, channel);
  } else {
    EndReader reader(m_stream);
    valid = ReadWith(reader, channel);
  }
  std::fill(channel.coefficients + channel.end, channel.coefficients + kBins, 0.0f);
  if (dither != nullptr) {
    AddDither(channel.pointers, channel.exponents, channel.start, channel.end, *dither, channel.coefficients);
  }
  return valid;
}

// Without branches: which quantiser a coefficient has, and whether it begins a group, is hard to foresee.
template <class Reader>
bool MantissaReader::ReadWith(Reader& reader, CodedChannel& channel) {
  Groups groups = m_groups;
  float largest = 0;
  for (int bin = channel.start; bin < channel.end; ++bin) {
    const unsigned pointer = channel.pointers[bin];
    const Quantiser& quantiser = kQuantisers[pointer];
    const unsigned unused = 32u - quantiser.bits;
    const unsigned symmetric = pointer < kFirstAsymmetric ? pointer : 0;
    const std::uint32_t next = reader.Peek();
    const bool begins = groups.left[symmetric] == 0;
    const auto code = static_cast<std::uint32_t>(std::uint64_t{next} >> unused);
    const std::uint32_t group = (begins ? code : groups.code[symmetric]) & (kMaxCodes - 1);
    const std::uint32_t left = begins ? quantiser.size : groups.left[symmetric];
    reader.Skip(begins ? quantiser.bits : 0u);
    groups.code[symmetric] = group;
    groups.left[symmetric] = left - 1;
    const float level = kLevels[symmetric][group][left];
    const auto whole = static_cast<std::int32_t>(static_cast<std::uint32_t>(std::uint64_t{code} << unused));
    const float asymmetric = static_cast<float>(whole) * 0x1p-31f;
    const float mantissa = pointer < kFirstAsymmetric ? level : asymmetric;
    largest = std::max(largest, mantissa);
    channel.coefficients[bin] = mantissa * kScales[channel.exponents[bin]];
  }
  m_groups = groups;
  m_stream.Seek(reader.Position());
  return largest < kNoLevel;
}

}  // namespace UMC::ac3
