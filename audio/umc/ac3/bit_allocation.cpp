#include "audio/umc/ac3/bit_allocation.h"

#include <algorithm>
#include <array>
#include <iterator>

#include "audio/umc/ac3/bit_allocation_tables.h"
#include "audio/umc/ac3/exponents.h"

namespace UMC::ac3 {

namespace {

constexpr int kBandedBins = kBandStart[kBands];

constexpr std::array<std::uint8_t, kBandedBins> MakeBandOfBin() {
  std::array<std::uint8_t, kBandedBins> bands{};
  for (int band = 0; band < kBands; ++band) {
    for (std::size_t bin = kBandStart[band]; bin < kBandStart[band + 1]; ++bin) {
      bands[bin] = static_cast<std::uint8_t>(band);
    }
  }
  return bands;
}

constexpr auto kBandOfBin = MakeBandOfBin();

// Pointers of a band's bins by exponent: an entry is a step of the level above the mask (32 units, 7.2.2.7),
// so that a larger exponent is kExponentSteps entries further back. Before the steps of kPointer there is no
// bit, after them the number of bits no longer grows.
constexpr int kExponentSteps = 4;
constexpr int kStepsBelow = kExponentSteps * kMaxExponent;
constexpr int kHighestStep = kStepsBelow + static_cast<int>(std::size(kPointer)) - 1;

constexpr auto kPointerOfStep = [] {
  std::array<std::uint8_t, kStepsBelow + kHighestStep + 1> pointers{};
  for (int step = 0; step <= kHighestStep; ++step) {
    const auto known = static_cast<std::size_t>(std::min(step, static_cast<int>(std::size(kPointer)) - 1));
    pointers[static_cast<std::size_t>(kStepsBelow + step)] = kPointer[known];
  }
  return pointers;
}();

// Levels are logarithmic: 128 units are a factor of 2 in amplitude (6 dB).
int LevelOf(std::uint8_t exponent) {
  return 3072 - (exponent << 7);
}

int AddLevels(int a, int b) {
  const int difference = std::min(std::abs(a - b) >> 1, 255);
  return std::max(a, b) + kLogAddition[difference];
}

// Compensation for the reduced masking at low frequencies (lowcomp).
int LowCompensation(int before, int level, int next, int band) {
  if (band >= 20) return std::max(before - 128, 0);
  if (level + 256 == next) return band < 7 ? 384 : 320;
  return level > next ? std::max(before - 64, 0) : before;
}

struct Range {
  int first, end;  // bands
};

// The masking by the signal, by band (7.2.2.4).
class Excitation {
 public:
  Excitation(AllocationKind kind, Range range, const int* levels, const SharedAllocation& shared,
             const ChannelAllocation& own, int rateShift, int* excitation)
      : m_kind(kind),
        m_range(range),
        m_levels(levels),
        m_excitation(excitation),
        m_fastDecay(kFastDecay[shared.fastDecay] >> rateShift),
        m_slowDecay(kSlowDecay[shared.slowDecay] >> rateShift),
        m_fastGain(kFastGain[own.fastGain]),
        m_slowGain(kSlowGain[shared.slowGain]) {
    if (kind == AllocationKind::kCoupling) {
      m_fastLeak = (shared.couplingFastLeak << 8) + 768;
      m_slowLeak = (shared.couplingSlowLeak << 8) + 768;
    }
  }

  void Compute() {
    int band = m_range.first;
    if (m_kind != AllocationKind::kCoupling) band = ComputeLow();
    for (; band < m_range.end; ++band) {
      Leak(band);
      m_excitation[band] = std::max(m_fastLeak, m_slowLeak);
    }
  }

 private:
  static constexpr int kLowEnd = 22;  // end of the bands with compensation

  // The LFE channel ends with band 6, which therefore has no next band.
  [[nodiscard]] bool HasNext(int band) const { return m_kind != AllocationKind::kLfe || band != 6; }

  void Compensate(int band) {
    if (HasNext(band))
      m_compensation = LowCompensation(m_compensation, m_levels[band], m_levels[band + 1], band);
  }

  void Leak(int band) {
    m_fastLeak = std::max(m_fastLeak - m_fastDecay, m_levels[band] - m_fastGain);
    m_slowLeak = std::max(m_slowLeak - m_slowDecay, m_levels[band] - m_slowGain);
  }

  // Returns the first band left to process.
  int ComputeLow() {
    int band = 0;
    for (; band < 2; ++band) {
      Compensate(band);
      m_excitation[band] = m_levels[band] - m_fastGain - m_compensation;
    }
    // Until the first rise there is no leak.
    for (bool falling = true; falling && band < 7; ++band) {
      Compensate(band);
      m_fastLeak = m_levels[band] - m_fastGain;
      m_slowLeak = m_levels[band] - m_slowGain;
      m_excitation[band] = m_fastLeak - m_compensation;
      falling = !HasNext(band) || m_levels[band] > m_levels[band + 1];
    }
    for (const int end = std::min(m_range.end, kLowEnd); band < end; ++band) {
      Compensate(band);
      Leak(band);
      m_excitation[band] = std::max(m_fastLeak - m_compensation, m_slowLeak);
    }
    return band;
  }

  AllocationKind m_kind;
  Range m_range;
  const int* m_levels;
  int* m_excitation;
  int m_fastDecay, m_slowDecay, m_fastGain, m_slowGain;
  int m_fastLeak = 0, m_slowLeak = 0;
  int m_compensation = 0;
};

// A band's level is the sum of the levels of its bins (7.2.2.3).
void IntegrateLevels(int start, int end, const std::uint8_t* exponents, int* levels) {
  for (int bin = start; bin < end;) {
    const int band = kBandOfBin[static_cast<std::size_t>(bin)];
    const int bandEnd = std::min<int>(kBandStart[band + 1], end);
    int level = LevelOf(exponents[bin]);
    while (++bin < bandEnd) level = AddLevels(level, LevelOf(exponents[bin]));
    levels[band] = level;
  }
}

bool ApplyDelta(const DeltaSegments& delta, int first, int* mask) {
  int band = first;
  for (int i = 0; i < delta.count; ++i) {
    band += delta.offset[i];
    if (band + delta.length[i] > kBands) return false;
    // Steps of 6 dB: -4 to -1 and 1 to 4.
    const int step = delta.step[i] >= 4 ? delta.step[i] - 3 : delta.step[i] - 4;
    for (const int end = band + delta.length[i]; band < end; ++band) mask[band] += step * 128;
  }
  return true;
}

}  // namespace

DeltaSegments ParseDeltaSegments(fmp4::BitWindow& stream) {
  DeltaSegments delta{};
  delta.count = static_cast<std::uint8_t>(stream.Read(3) + 1);
  for (int i = 0; i < delta.count; ++i) {
    delta.offset[i] = static_cast<std::uint8_t>(stream.Read(5));
    delta.length[i] = static_cast<std::uint8_t>(stream.Read(4));
    delta.step[i] = static_cast<std::uint8_t>(stream.Read(3));
  }
  return delta;
}

bool AllocateBits(AllocationKind kind, int start, int end, const std::uint8_t* exponents,
                  const SharedAllocation& shared, const ChannelAllocation& own, int frequencyCode,
                  int rateShift, std::uint8_t* pointers) {
  int levels[kBands + 1];
  int mask[kBands];
  IntegrateLevels(start, end, exponents, levels);
  const Range range = {kBandOfBin[static_cast<std::size_t>(start)],
                       kBandOfBin[static_cast<std::size_t>(end - 1)] + 1};
  Excitation(kind, range, levels, shared, own, rateShift, mask).Compute();

  const int knee = kDbPerBit[shared.dbPerBit];
  for (int band = range.first; band < range.end; ++band) {
    if (levels[band] < knee) mask[band] += (knee - levels[band]) >> 2;
    mask[band] = std::max<int>(mask[band], kHearingThreshold[frequencyCode][band >> rateShift]);
  }
  std::fill(mask + range.end, mask + kBands, 0);
  if (own.hasDelta && !ApplyDelta(own.delta, range.first, mask)) return false;

  const int snrOffset = (((shared.coarseSnrOffset - 15) << 4) + own.fineSnrOffset) << 2;
  const int floor = kFloor[shared.floor];
  for (int bin = start; bin < end;) {
    const int band = kBandOfBin[static_cast<std::size_t>(bin)];
    const int bandEnd = std::min<int>(kBandStart[band + 1], end);
    const int masked = (std::max(mask[band] - snrOffset - floor, 0) & 0x1FE0) + floor;
    const int step = std::clamp((LevelOf(0) - masked) >> 5, 0, kHighestStep);
    const std::uint8_t* const ofExponentZero = kPointerOfStep.data() + kStepsBelow + step;
    for (; bin < bandEnd; ++bin) pointers[bin] = *(ofExponentZero - kExponentSteps * exponents[bin]);
  }
  return true;
}

}  // namespace UMC::ac3
