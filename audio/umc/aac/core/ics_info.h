// ics_info(): the division of a channel stream's frame into windows, groups and bands (ISO/IEC 14496-3,
// 4.4.2.1 and 4.5.2.3).
#pragma once

#include <cstdint>

#include "audio/umc/aac/core/ltp.h"
#include "audio/umc/aac/core/prediction.h"
#include "audio/umc/aac/core/scale_factor_bands.h"
#include "base/bit_window.h"

namespace UMC::aac {

enum class WindowSequence : std::uint8_t { kOnlyLong, kLongStart, kEightShort, kLongStop };

// window_shape
inline constexpr int kSineShape = 0;
inline constexpr int kKaiserBesselShape = 1;

struct IcsInfo {
  WindowSequence sequence;
  std::uint8_t shape;
  std::uint8_t maxSfb;
  std::uint8_t groups;
  std::uint8_t groupLength[8];  // windows per group
  const BandTable* bands;       // bands of one window
  PredictionData prediction;    // all zeros if not present
  LtpData ltp;

  [[nodiscard]] bool IsShort() const { return sequence == WindowSequence::kEightShort; }
  // Number of lines in one window.
  [[nodiscard]] int WindowLines() const { return bands->offsets[bands->bands]; }
  // The index of a band among those of all groups.
  [[nodiscard]] int Band(int group, int sfb) const { return group * maxSfb + sfb; }
  [[nodiscard]] int BandCount() const { return groups * maxSfb; }
};

// Reads ics_info(). If a pair shares it, `second` is not null and receives the second channel's, which
// differs only in its long-term prediction. False if the syntax is invalid for the object type.
bool ParseIcsInfo(fmp4::BitWindow& stream, const FrameBands& bands, int objectType, IcsInfo& ics,
                  IcsInfo* second);

// Calls visit(band, firstLine, lineCount) for every band of every window, in line order.
template <class Visit>
void ForEachWindowBand(const IcsInfo& ics, Visit visit) {
  const int windowLines = ics.WindowLines();
  int window = 0;
  for (int group = 0; group < ics.groups; ++group) {
    for (int i = 0; i < ics.groupLength[group]; ++i, ++window) {
      for (int sfb = 0; sfb < ics.maxSfb; ++sfb) {
        const int start = ics.bands->offsets[sfb];
        visit(ics.Band(group, sfb), window * windowLines + start, ics.bands->offsets[sfb + 1] - start);
      }
    }
  }
}

}  // namespace UMC::aac
