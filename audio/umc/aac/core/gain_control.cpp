#include "audio/umc/aac/core/gain_control.h"

namespace UMC::aac {

namespace {

// The windows of a frame by window sequence, and the bits of aloccode in the first and the other windows.
struct Windows {
  int count;
  unsigned firstBits, otherBits;
};
constexpr Windows kWindows[4] = {{1, 5, 5}, {2, 4, 2}, {8, 2, 2}, {2, 4, 5}};

}  // namespace

void SkipGainControlData(fmp4::BitWindow& stream, WindowSequence sequence) {
  const Windows& windows = kWindows[static_cast<int>(sequence)];
  const auto bands = stream.Read(2);  // max_band
  for (std::uint32_t band = 0; band < bands; ++band) {
    for (int window = 0; window < windows.count; ++window) {
      const auto adjustments = stream.Read(3);  // adjust_num
      for (std::uint32_t i = 0; i < adjustments; ++i) {
        stream.Read(4);                                                    // alevcode
        stream.Read(window == 0 ? windows.firstBits : windows.otherBits);  // aloccode
      }
    }
  }
}

}  // namespace UMC::aac
