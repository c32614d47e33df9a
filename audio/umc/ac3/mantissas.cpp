#include "audio/umc/ac3/mantissas.h"

#include <algorithm>
#include <array>

namespace UMC::ac3 {

// Bins whose positions are computed at once: the lengths of their code words, at most 16 bits each, add up in
// a byte.
constexpr int kRun = 8;
static_assert(kBins % kRun == 0);

// A channel's code words in a stream of eight bytes or more.
class CodeWords {
 public:
  explicit CodeWords(const fmp4::BitWindow& stream)
      : m_data(stream.Data()), m_origin(stream.Position()), m_lastByte(stream.Size() - 8) {}

  // Computes the positions of the code words of the bins from `start` to `end`; `bits` are the lengths of the
  // words that begin at each bin, 0 for all other bins.
  void Place(const std::uint8_t* bits, int start, int end) {
    constexpr std::uint64_t kOnes = 0x0101010101010101;
    std::size_t position = m_origin;
    for (int bin = start / kRun * kRun; bin < end; bin += kRun) {
      // Byte i of the product is the sum of the lengths from bin i on.
      const std::uint64_t sums = fmp4::loadBigEndian(bits + bin) * kOnes;
      const std::uint64_t total = sums >> 56;
      fmp4::storeBigEndian(total * kOnes - sums, m_offsets + bin);
      m_runs[bin / kRun] = position;
      position += total;
    }
    m_bits = position - m_origin;
  }

  // Total length of all code words. They must be within the stream before they are read.
  [[nodiscard]] std::size_t Bits() const { return m_bits; }

  // The 32 bits from the start of the code word of `bin`; zeros past the stream's end.
  [[nodiscard]] std::uint32_t At(std::size_t bin) const {
    const std::size_t position = m_runs[bin / kRun] + m_offsets[bin];
    const std::size_t byte = std::min(position / 8, m_lastByte);
    return static_cast<std::uint32_t>(fmp4::loadBigEndian(m_data + byte) << (position - 8 * byte) >> 32);
  }

 private:
  const std::uint8_t* m_data;
  std::size_t m_origin;
  std::size_t m_lastByte;
  std::size_t m_bits = 0;
  std::size_t m_runs[kBins / kRun];  // positions in the stream, bits
  std::uint8_t m_offsets[kBins];     // bits from the run's position
};

namespace {

constexpr std::size_t kPointers = 16;
// Pointers below this one have symmetric quantisers, the others two's complement (7.3.3).
constexpr std::size_t kFirstAsymmetric = 6;

// (2 code - (levels - 1)) / levels
constexpr float SymmetricLevel(unsigned code, unsigned levels) {
  return static_cast<float>(2 * static_cast<int>(code) - static_cast<int>(levels) + 1) /
         static_cast<float>(levels);
}

constexpr std::size_t kMaxGroupCodes = 128;
constexpr std::size_t kRow = 4;

// Several mantissas in one code word; the first is the most significant digit.
struct GroupKind {
  unsigned bits;
  std::size_t size;                                               // mantissas
  unsigned codes;                                                 // number of valid codes
  std::array<std::array<float, kRow>, kMaxGroupCodes> mantissas;  // by code
};

constexpr GroupKind MakeGroupKind(unsigned bits, std::size_t size, unsigned levels) {
  GroupKind kind{bits, size, 1, {}};
  for (std::size_t i = 0; i < size; ++i) kind.codes *= levels;
  for (unsigned code = 0; code < kind.codes; ++code) {
    unsigned rest = code;
    for (std::size_t i = size; i-- > 0; rest /= levels) {
      kind.mantissas[code][i] = SymmetricLevel(rest % levels, levels);
    }
  }
  return kind;
}

constexpr GroupKind kGroups[kGroupKinds] = {MakeGroupKind(5, 3, 3), MakeGroupKind(7, 3, 5),
                                            MakeGroupKind(7, 2, 11)};

// By pointer; kMantissaKinds if there are no bits.
constexpr std::uint8_t kKinds[kPointers] = {
    kMantissaKinds, 0, 1, kOwn, 2, kOwn, kOwn, kOwn, kOwn, kOwn, kOwn, kOwn, kOwn, kOwn, kOwn, kOwn,
};

// Bits of individual code words, by pointer.
constexpr std::uint8_t kOwnBits[kPointers] = {0, 0, 0, 3, 0, 4, 5, 6, 7, 8, 9, 10, 11, 12, 14, 16};

constexpr float kNoLevel = 2;

// Levels of the symmetric quantisers among these, by pointer and code; kNoLevel for invalid codes.
constexpr auto kOwnLevels = [] {
  std::array<std::array<float, 16>, kFirstAsymmetric> table{};
  for (auto& levels : table) levels.fill(kNoLevel);
  for (unsigned code = 0; code < 7; ++code) table[3][code] = SymmetricLevel(code, 7);
  for (unsigned code = 0; code < 15; ++code) table[5][code] = SymmetricLevel(code, 15);
  return table;
}();

// False for invalid codes.
bool ReadOwn(const CodedChannel& channel, const CodeWords& words, float* mantissas) {
  float largest = 0;
  for (int i = 0; i < channel.kindCounts[kOwn]; ++i) {
    const std::size_t bin = channel.kindBins[kOwn][i];
    const std::size_t pointer = channel.pointers[bin];
    const unsigned unused = 32u - kOwnBits[pointer];
    const std::uint32_t next = words.At(bin);
    const float asymmetric =
        static_cast<float>(static_cast<std::int32_t>(next >> unused << unused)) * 0x1p-31f;
    mantissas[bin] = pointer < kFirstAsymmetric ? kOwnLevels[pointer][next >> unused] : asymmetric;
    largest = std::max(largest, mantissas[bin]);
  }
  return largest < kNoLevel;
}

}  // namespace

void SortMantissas(CodedChannel& channel) {
  std::uint8_t withoutBits[kBins];
  std::uint8_t* ends[kMantissaKinds + 1];
  for (int kind = 0; kind < kMantissaKinds; ++kind) ends[kind] = channel.kindBins[kind];
  ends[kMantissaKinds] = withoutBits;
  for (int bin = channel.start; bin < channel.end; ++bin) {
    const std::uint8_t pointer = channel.pointers[bin];
    *ends[kKinds[pointer]]++ = static_cast<std::uint8_t>(bin);
    channel.ownBits[bin] = kOwnBits[pointer];
  }
  for (int kind = 0; kind < kMantissaKinds; ++kind) {
    channel.kindCounts[kind] = static_cast<std::int16_t>(ends[kind] - channel.kindBins[kind]);
  }
}

bool MantissaReader::Read(const CodedChannel& channel, float* mantissas) {
  CodeWords words(m_stream);
  Locate(channel, words);
  if (words.Bits() > m_stream.Remaining()) return false;
  const bool valid = ReadGroups<3>(channel, 0, words, mantissas) &&
                     ReadGroups<3>(channel, 1, words, mantissas) &&
                     ReadGroups<2>(channel, 2, words, mantissas) && ReadOwn(channel, words, mantissas);
  m_stream.Seek(m_stream.Position() + words.Bits());
  return valid;
}

// The lengths of all code words determine their positions, so that they can be read in any order: one loop
// for each kind, without dependencies between steps.
void MantissaReader::Locate(const CodedChannel& channel, CodeWords& words) const {
  std::uint8_t bits[kBins] = {};
  std::copy(channel.ownBits + channel.start, channel.ownBits + channel.end, bits + channel.start);
  for (std::size_t kind = 0; kind < kGroupKinds; ++kind) {
    const GroupKind& group = kGroups[kind];
    const auto count = static_cast<std::size_t>(channel.kindCounts[kind]);
    for (std::size_t i = m_rests[kind].count; i < count; i += group.size) {
      bits[channel.kindBins[kind][i]] = static_cast<std::uint8_t>(group.bits);
    }
  }
  words.Place(bits, channel.start, channel.end);
}

// False for invalid codes.
template <std::size_t kSize>
bool MantissaReader::ReadGroups(const CodedChannel& channel, std::size_t kind, const CodeWords& words,
                                float* mantissas) {
  const GroupKind& group = kGroups[kind];
  const std::uint8_t* bin = channel.kindBins[kind];
  const std::uint8_t* const end = bin + channel.kindCounts[kind];
  Rest& rest = m_rests[kind];
  const auto takeRest = [&] {
    for (; rest.count != 0 && bin != end; --rest.count) mantissas[*bin++] = *rest.next++;
  };
  unsigned largest = 0;
  const auto next = [&] {
    const unsigned code = words.At(*bin) >> (32u - group.bits);
    largest = std::max(largest, code);
    return group.mantissas[code].data();
  };
  takeRest();
  for (; end - bin >= static_cast<std::ptrdiff_t>(kSize); bin += kSize) {
    const float* values = next();
    for (std::size_t i = 0; i < kSize; ++i) mantissas[bin[i]] = values[i];
  }
  if (bin != end) {
    rest = {next(), kSize};
    takeRest();
  }
  return largest < group.codes;
}

}  // namespace UMC::ac3
