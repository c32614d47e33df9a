#include "audio/umc/aac/sbr/envelope.h"

#include <algorithm>
#include <cmath>

namespace UMC::aac {

namespace {

// Maximum of the start values with steps of 1.5 dB and of 3 dB: 2^63.5 and 2^63. Differences beyond that are
// a sign of damage and would lead to energies outside a float's range.
constexpr int kMaxEnvelope[2] = {127, 63};
constexpr int kMaxNoise = 30;
constexpr int kNoiseFloorOffset = 6;
constexpr int kNoisePanOffset = 12;

// Reads a start value and differences over frequency, or differences over time.
void ParseValues(fmp4::BitWindow& stream, const SbrCode (&codes)[2], bool overTime, unsigned startBits,
                 int count, std::int16_t* values) {
  if (!overTime) values[0] = static_cast<std::int16_t>(stream.Read(startBits));
  for (int i = overTime ? 0 : 1; i < count; ++i) {
    values[i] = static_cast<std::int16_t>(ReadSbrDifference(stream, codes[overTime]));
  }
}

// Accumulates differences over frequency, or adds those over time to reference(i). False beyond `largest`.
template <class Reference>
bool AddDifferences(bool overTime, int step, int count, int largest, Reference reference,
                    std::int16_t* values) {
  for (int i = 0; i < count; ++i) {
    const int base = overTime ? reference(i) : i == 0 ? 0 : values[i - 1];
    const int value = base + step * values[i];
    if (value < 0 || value > largest) return false;
    values[i] = static_cast<std::int16_t>(value);
  }
  return true;
}

// The band of another resolution that a band refers to: the last one that does not start above it.
template <int kMax>
int BandAt(const SbrBands<kMax>& bands, std::uint8_t subband) {
  const auto* end = bands.borders + bands.count;
  return static_cast<int>(std::upper_bound(bands.borders, end, subband) - bands.borders) - 1;
}

}  // namespace

void ParseSbrEnvelopes(fmp4::BitWindow& stream, const SbrCodebooks& codebooks,
                       const SbrFrequencyTables& tables, const SbrGrid& grid, bool balance,
                       SbrEnvelopeData& data) {
  const unsigned startBits = (balance ? 6 : 7) - (data.ampRes ? 1 : 0);
  for (int i = 0; i < grid.envelopes; ++i) {
    ParseValues(stream, codebooks.envelope[data.ampRes][balance], data.envelopeOverTime[i], startBits,
                tables.bands[grid.highResolution[i]].count, data.envelope[i]);
  }
}

void ParseSbrNoise(fmp4::BitWindow& stream, const SbrCodebooks& codebooks, const SbrFrequencyTables& tables,
                   const SbrGrid& grid, bool balance, SbrEnvelopeData& data) {
  for (int i = 0; i < grid.noiseFloors; ++i) {
    ParseValues(stream, codebooks.noise[balance], data.noiseOverTime[i], 5, tables.noise.count,
                data.noise[i]);
  }
}

bool DecodeSbrDifferences(const SbrFrequencyTables& tables, const SbrGrid& grid, bool balance,
                          SbrEnvelopeData& data, SbrEnvelopeMemory& memory) {
  const int step = balance ? 2 : 1;
  if (!memory.known && (data.envelopeOverTime[0] || data.noiseOverTime[0])) return false;
  for (int i = 0; i < grid.envelopes; ++i) {
    const auto& bands = tables.bands[grid.highResolution[i]];
    const auto& before = tables.bands[memory.highResolution];
    const bool sameBands = grid.highResolution[i] == memory.highResolution;
    const auto reference = [&](int band) {
      return memory.envelope[sameBands ? band : BandAt(before, bands.borders[band])];
    };
    if (!AddDifferences(data.envelopeOverTime[i], step, bands.count, kMaxEnvelope[data.ampRes], reference,
                        data.envelope[i])) {
      return false;
    }
    std::copy_n(data.envelope[i], bands.count, memory.envelope);
    memory.highResolution = grid.highResolution[i];
  }
  for (int i = 0; i < grid.noiseFloors; ++i) {
    const auto reference = [&](int band) { return memory.noise[band]; };
    if (!AddDifferences(data.noiseOverTime[i], step, tables.noise.count, kMaxNoise, reference,
                        data.noise[i])) {
      return false;
    }
    std::copy_n(data.noise[i], tables.noise.count, memory.noise);
  }
  memory.known = true;
  return true;
}

void DequantiseSbr(const SbrFrequencyTables& tables, const SbrGrid& grid, const SbrEnvelopeData& data,
                   SbrLevels& levels) {
  const float step = data.ampRes ? 1.0f : 0.5f;
  for (int i = 0; i < grid.envelopes; ++i) {
    for (int band = 0; band < tables.bands[grid.highResolution[i]].count; ++band) {
      levels.envelope[i][band] = 64 * std::exp2(step * data.envelope[i][band]);
    }
  }
  for (int i = 0; i < grid.noiseFloors; ++i) {
    for (int band = 0; band < tables.noise.count; ++band) {
      levels.noise[i][band] = std::exp2(static_cast<float>(kNoiseFloorOffset - data.noise[i][band]));
    }
  }
}

void DequantiseCoupledSbr(const SbrFrequencyTables& tables, const SbrGrid& grid, const SbrEnvelopeData& level,
                          const SbrEnvelopeData& balance, SbrLevels& left, SbrLevels& right) {
  const float step = level.ampRes ? 1.0f : 0.5f;
  const int panOffset = level.ampRes ? 12 : 24;
  for (int i = 0; i < grid.envelopes; ++i) {
    for (int band = 0; band < tables.bands[grid.highResolution[i]].count; ++band) {
      const float both = 128 * std::exp2(step * level.envelope[i][band]);
      const float pan = step * static_cast<float>(panOffset - balance.envelope[i][band]);
      left.envelope[i][band] = both / (1 + std::exp2(pan));
      right.envelope[i][band] = both / (1 + std::exp2(-pan));
    }
  }
  for (int i = 0; i < grid.noiseFloors; ++i) {
    for (int band = 0; band < tables.noise.count; ++band) {
      const float both = std::exp2(static_cast<float>(kNoiseFloorOffset + 1 - level.noise[i][band]));
      const auto pan = static_cast<float>(kNoisePanOffset - balance.noise[i][band]);
      left.noise[i][band] = both / (1 + std::exp2(pan));
      right.noise[i][band] = both / (1 + std::exp2(-pan));
    }
  }
}

}  // namespace UMC::aac
