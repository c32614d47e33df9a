#include "audio/umc/aac/sbr/hf_adjuster.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "audio/umc/aac/sbr/hf_generator.h"
#include "audio/umc/aac/sbr/noise_table.h"
#include "dsp/high_band.h"

namespace UMC::aac {

namespace {

constexpr float kTiny = 1e-12f;            // epsilon_0
constexpr float kMaxGain = 1e5f;           // maximum gain of the limiter
constexpr float kMaxBoost = 1.584893192f;  // 4 dB
constexpr float kLimiterGains[4] = {0.70795f, 1.0f, 1.41254f, 1e10f};
constexpr float kSmoothing[kSbrSmoothedSlots + 1] = {0.33333333333333f, 0.30150283239582f, 0.21816949906249f,
                                                     0.11516383427084f, 0.03183050093751f};

constexpr auto kNoise = [] {
  std::array<Ipp32fc, kNoisePeriod + kNoiseRepeat> noise{};
  for (std::size_t i = 0; i < noise.size(); ++i) noise[i] = kSbrNoise[i % kNoisePeriod];
  return noise;
}();
static_assert(kSbrNoiseLength == kNoisePeriod);

// The values of one envelope, by subband from kx on.
struct Envelope {
  float wanted[kQmfBands];      // E_orig
  float noise[kQmfBands];       // Q
  float current[kQmfBands];     // E_curr
  bool sinusoid[kQmfBands];     // S_index: this subband has a sinusoid
  bool hasSinusoid[kQmfBands];  // S_mapped: this band contains a sinusoid
  float sine[kQmfBands];        // S_M
};

// Advances the phases of noise and sinusoids.
void PassSlots(int slots, int bands, SbrAdjusterState& state) {
  state.noiseIndex =
      static_cast<std::uint16_t>((state.noiseIndex + static_cast<std::size_t>(slots * bands)) % kNoisePeriod);
  state.sineIndex = static_cast<std::uint8_t>((state.sineIndex + slots) % 4);
}

class Adjuster {
 public:
  Adjuster(const SbrHeader& header, const SbrFrequencyTables& tables, const SbrChannelData& data,
           const SbrLevels& levels, SbrAdjusterState& state, Ipp32fc (*rows)[kQmfBands])
      : m_header(header),
        m_tables(tables),
        m_data(data),
        m_levels(levels),
        m_state(state),
        m_rows(rows + kSbrAdjustSlots) {
    for (int i = 0; i < kSbrSmoothedSlots; ++i) m_recent[i] = &state.gains[i];
  }

  void Adjust() {
    const SbrGrid& grid = m_data.grid;
    for (int i = 0; i < grid.envelopes; ++i) {
      m_index = i;
      m_transient = i == grid.transient || (i == 0 && m_state.endsInTransient);
      m_firstSlot = 2 * grid.borders[i];
      m_endSlot = 2 * grid.borders[i + 1];
      MapLevels();
      MapSinusoids();
      Measure();
      MakeGains();
      Limit();
      Apply();
    }
    Keep();
  }

 private:
  [[nodiscard]] const SbrBands<kMaxSbrBands>& Bands() const {
    return m_tables.bands[m_data.grid.highResolution[m_index]];
  }

  // Copies a value of every band to its subbands.
  template <int kMax, class T>
  void Map(const SbrBands<kMax>& bands, const T* values, T* mapped) const {
    for (int i = 0; i < bands.count; ++i) {
      std::fill(mapped + bands.borders[i] - m_tables.kx, mapped + bands.borders[i + 1] - m_tables.kx,
                values[i]);
    }
  }

  void MapLevels() {
    const SbrGrid& grid = m_data.grid;
    const bool second = grid.noiseFloors == 2 && grid.borders[m_index] >= grid.noiseBorders[1];
    Map(Bands(), m_levels.envelope[m_index], m_envelope.wanted);
    Map(m_tables.noise, m_levels.noise[second], m_envelope.noise);
  }

  // A sinusoid is in the middle of its band, from the transient on, or from the start if it continues from
  // the last frame.
  void MapSinusoids() {
    std::fill_n(m_envelope.sinusoid, m_tables.m, false);
    const auto& high = m_tables.bands[1];
    for (int i = 0; i < high.count; ++i) {
      const int subband = (high.borders[i] + high.borders[i + 1]) / 2;
      const bool started = m_index >= m_data.grid.transient || m_state.sinusoids[subband];
      m_envelope.sinusoid[subband - m_tables.kx] = m_data.sinusoids[i] && started;
    }
    bool inBand[kMaxSbrBands];
    const auto& bands = Bands();
    for (int i = 0; i < bands.count; ++i) {
      inBand[i] = std::any_of(m_envelope.sinusoid + bands.borders[i] - m_tables.kx,
                              m_envelope.sinusoid + bands.borders[i + 1] - m_tables.kx,
                              [](bool sinusoid) { return sinusoid; });
    }
    Map(bands, inBand, m_envelope.hasSinusoid);
  }

  void Measure() {
    const auto slots = static_cast<std::size_t>(m_endSlot - m_firstSlot);
    float* energies = m_envelope.current;
    BandEnergies(m_rows + m_firstSlot, slots, static_cast<std::size_t>(m_tables.kx),
                 static_cast<std::size_t>(m_tables.m), energies);
    const float scale = 1.0f / static_cast<float>(slots);
    for (int i = 0; i < m_tables.m; ++i) energies[i] *= scale;
    if (m_header.interpolFreq) return;
    float means[kMaxSbrBands];
    const auto& bands = Bands();
    for (int i = 0; i < bands.count; ++i) {
      float sum = 0;
      for (int band = bands.borders[i]; band < bands.borders[i + 1]; ++band)
        sum += energies[band - m_tables.kx];
      means[i] = sum / static_cast<float>(bands.borders[i + 1] - bands.borders[i]);
    }
    Map(bands, means, energies);
  }

  void MakeGains() {
    SbrGains& gains = m_gains[m_index];
    for (int i = 0; i < m_tables.m; ++i) {
      const float wanted = m_envelope.wanted[i], noise = m_envelope.noise[i];
      const float share = wanted / (1 + noise);
      const float signal = m_envelope.hasSinusoid[i] ? share * noise : m_transient ? wanted : share;
      gains.signal[i] = std::sqrt(signal / (1 + m_envelope.current[i]));
      gains.noise[i] = std::sqrt(share * noise);
      m_envelope.sine[i] = m_envelope.sinusoid[i] ? std::sqrt(share) : 0.0f;
    }
  }

  // Limits the gains of every limiter band, then compensates for the lost energy.
  void Limit() {
    SbrGains& gains = m_gains[m_index];
    const auto& limiter = m_tables.limiter;
    for (int band = 0; band < limiter.count; ++band) {
      const int begin = limiter.borders[band] - m_tables.kx, end = limiter.borders[band + 1] - m_tables.kx;
      float wanted = kTiny, current = kTiny;
      for (int i = begin; i < end; ++i) {
        wanted += m_envelope.wanted[i];
        current += m_envelope.current[i];
      }
      const float largest =
          std::min(kMaxGain, kLimiterGains[m_header.limiterGains] * std::sqrt(wanted / current));
      float reached = kTiny;
      for (int i = begin; i < end; ++i) {
        if (gains.signal[i] > largest) {
          gains.noise[i] *= largest / gains.signal[i];
          gains.signal[i] = largest;
        }
        reached += m_envelope.current[i] * gains.signal[i] * gains.signal[i];
        if (m_envelope.sine[i] != 0) {
          reached += m_envelope.sine[i] * m_envelope.sine[i];
        } else if (!m_transient) {
          reached += gains.noise[i] * gains.noise[i];
        }
      }
      const float boost = std::min(kMaxBoost, std::sqrt(wanted / reached));
      for (int i = begin; i < end; ++i) {
        gains.signal[i] *= boost;
        gains.noise[i] *= boost;
        m_envelope.sine[i] *= boost;
      }
    }
  }

  void Apply() {
    const SbrGains& gains = m_gains[m_index];
    if (!m_state.gainsKnown) {
      std::fill_n(m_recent, kSbrSmoothedSlots, &gains);
      m_state.gainsKnown = true;
    }
    const bool smooth = !m_header.smoothingOff && !m_transient;
    int slot = m_firstSlot;
    for (int i = 0; i < kSbrSmoothedSlots && m_firstSlot + i < m_endSlot; ++i) {
      if (smooth) {
        SbrGains factors = gains;
        Smooth(factors);
        ApplySlots(slot, slot + 1, factors);
        ++slot;
      }
      std::copy_backward(m_recent, m_recent + kSbrSmoothedSlots - 1, m_recent + kSbrSmoothedSlots);
      m_recent[0] = &gains;
    }
    SbrGains factors = gains;
    ApplySlots(slot, m_endSlot, factors);
  }

  void Smooth(SbrGains& factors) const {
    for (int i = 0; i < m_tables.m; ++i) {
      factors.signal[i] *= kSmoothing[0];
      factors.noise[i] *= kSmoothing[0];
    }
    for (int n = 0; n < kSbrSmoothedSlots; ++n) {
      for (int i = 0; i < m_tables.m; ++i) {
        factors.signal[i] += kSmoothing[n + 1] * m_recent[n]->signal[i];
        factors.noise[i] += kSmoothing[n + 1] * m_recent[n]->noise[i];
      }
    }
  }

  // Subbands with a sinusoid get no noise.
  void ApplySlots(int begin, int end, SbrGains& factors) {
    if (begin == end) return;
    for (int i = 0; i < m_tables.m; ++i) {
      if (m_transient || m_envelope.sine[i] != 0) factors.noise[i] = 0;
    }
    const auto count = static_cast<std::size_t>(end - begin);
    const auto bands = static_cast<std::size_t>(m_tables.m);
    ShapeBands(m_rows + begin, count, static_cast<std::size_t>(m_tables.kx), bands, factors.signal,
               factors.noise, kNoise.data(), (m_state.noiseIndex + 1u) % kNoisePeriod);
    AddSinusoids(begin, end);
    PassSlots(end - begin, m_tables.m, m_state);
  }

  void AddSinusoids(int begin, int end) {
    for (int i = 0; i < m_tables.m; ++i) {
      const float sine = m_envelope.sine[i];
      if (sine == 0) continue;
      const int band = m_tables.kx + i;
      // Rotates by a quarter turn per slot, in odd subbands in the other direction.
      const float imaginary = band % 2 == 0 ? sine : -sine;
      for (int slot = begin; slot < end; ++slot) {
        Ipp32fc& sample = m_rows[slot][band];
        switch ((m_state.sineIndex + slot - begin) % 4) {
          case 0:
            sample.re += sine;
            break;
          case 1:
            sample.im += imaginary;
            break;
          case 2:
            sample.re -= sine;
            break;
          default:
            sample.im -= imaginary;
        }
      }
    }
  }

  // Keeps the state after the last envelope for the next frame.
  void Keep() {
    // Gains of the last frame have moved to later places only.
    for (int i = kSbrSmoothedSlots - 1; i >= 0; --i) m_state.gains[i] = *m_recent[i];
    std::fill_n(m_state.sinusoids, kQmfBands, false);
    std::copy_n(m_envelope.sinusoid, m_tables.m, m_state.sinusoids + m_tables.kx);
    m_state.endsInTransient = m_data.grid.EndsInTransient();
  }

  const SbrHeader& m_header;
  const SbrFrequencyTables& m_tables;
  const SbrChannelData& m_data;
  const SbrLevels& m_levels;
  SbrAdjusterState& m_state;
  Ipp32fc (*m_rows)[kQmfBands];
  int m_index = 0;  // index of the current envelope
  bool m_transient = false;
  int m_firstSlot = 0, m_endSlot = 0;
  Envelope m_envelope;
  SbrGains m_gains[kMaxSbrEnvelopes];
  const SbrGains* m_recent[kSbrSmoothedSlots];  // gains of the last slots, latest first
};

}  // namespace

void AdjustSbrBand(const SbrHeader& header, const SbrFrequencyTables& tables, const SbrChannelData& data,
                   const SbrLevels& levels, SbrAdjusterState& state, Ipp32fc (*rows)[kQmfBands]) {
  Adjuster(header, tables, data, levels, state, rows).Adjust();
}

void SetSbrPhase(const SbrFrequencyTables& tables, std::uint64_t slots, SbrAdjusterState& state) {
  state.noiseIndex = 0;
  state.sineIndex = 0;
  PassSlots(static_cast<int>(slots % kNoisePeriod), tables.m, state);
}

void SkipSbrBand(const SbrFrequencyTables& tables, const SbrGrid& grid, SbrAdjusterState& state) {
  PassSlots(2 * (grid.borders[grid.envelopes] - grid.borders[0]), tables.m, state);
}

}  // namespace UMC::aac
