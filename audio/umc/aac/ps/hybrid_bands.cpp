#include "audio/umc/aac/ps/hybrid_bands.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace UMC::aac {

namespace {

// The parameter band of each hybrid band: given for those of the split QMF bands; how many of the others
// belong to each parameter band from `next` on.
template <std::size_t kHybridBands, std::size_t kSplitBands, std::size_t kWidths>
constexpr std::array<std::uint8_t, kHybridBands> BandOf(const std::uint8_t (&split)[kSplitBands],
                                                        const int (&widths)[kWidths], int next) {
  std::array<std::uint8_t, kHybridBands> bandOf{};
  std::size_t k = 0;
  for (const std::uint8_t band : split) bandOf[k++] = band;
  for (const int width : widths) {
    for (int i = 0; i < width; ++i) bandOf[k++] = static_cast<std::uint8_t>(next);
    ++next;
  }
  return bandOf;
}

constexpr auto kBandOf20 =
    BandOf<71>({1, 0, 0, 1, 2, 3, 4, 5, 6, 7}, {1, 1, 1, 1, 1, 1, 2, 3, 4, 5, 12, 29}, 8);
constexpr auto kBandOf34 = BandOf<91>({0, 1, 2, 3, 4,  5,  6,  6, 7,  2,  1,  0,  10, 10, 4,  5,
                                       6, 7, 8, 9, 10, 11, 12, 9, 14, 11, 12, 13, 14, 15, 16, 13},
                                      {1, 1, 1, 1, 1, 1, 2, 2, 2, 2, 2, 3, 3, 3, 3, 4, 4, 23}, 16);

// Calls visit(k) for every k below kCount, each of a type of its own: straight code whose bands stay in
// registers.
template <std::size_t kCount, class Visit>
inline void Unroll(Visit visit) {
  [&]<std::size_t... k>(std::index_sequence<k...>) {
    (visit(std::integral_constant<std::size_t, k>()), ...);
  }
  (std::make_index_sequence<kCount>());
}

template <const auto& kBandOf>
void Spread(const float* bands, float* hybrid) {
  std::array<float, kBandOf.back() + 1> values;
  std::copy_n(bands, values.size(), values.data());
  Unroll<kBandOf.size()>([&](auto k) { hybrid[k] = values[kBandOf[k]]; });
}

template <const auto& kBandOf>
void Sum(const float* hybrid, float* bands) {
  std::array<float, kBandOf.back() + 1> sums{};
  Unroll<kBandOf.size()>([&](auto k) { sums[kBandOf[k]] += hybrid[k]; });
  std::copy_n(sums.data(), sums.size(), bands);
}

bool IsNarrow(const PsConfiguration& configuration) {
  return configuration.bands == kBandOf20.back() + 1;
}

}  // namespace

void SpreadPsBands(const PsConfiguration& configuration, const float* bands, float* hybrid) {
  (IsNarrow(configuration) ? Spread<kBandOf20> : Spread<kBandOf34>)(bands, hybrid);
}

void SumPsBands(const PsConfiguration& configuration, const float* hybrid, float* bands) {
  (IsNarrow(configuration) ? Sum<kBandOf20> : Sum<kBandOf34>)(hybrid, bands);
}

}  // namespace UMC::aac
