// bsi(): what a sync frame says of itself ahead of its audio blocks (ATSC A/52, 5.3.2 and 5.4.2).
#pragma once

#include <cstdint>

#include "base/bit_window.h"

namespace UMC::ac3 {

// Full bandwidth channels by audio coding mode (acmod).
inline constexpr std::uint8_t kFullChannels[8] = {2, 1, 2, 3, 3, 4, 4, 5};
inline constexpr int kDualMono = 0;  // the mode 1+1: two programmes
inline constexpr int kMono = 1;      // the mode 1/0
inline constexpr int kStereo = 2;    // the mode 2/0

struct BitStreamInformation {
  std::uint8_t version;      // bsid
  std::uint8_t serviceType;  // bsmod
  std::uint8_t mode;         // acmod
  bool lfe;
  std::uint8_t surroundMode;       // dsurmod; 0 in other modes than 2/0
  std::uint8_t dialogueLevels[2];  // dialnorm, by programme; the second is 0 where there is but one
  float centreLevel;               // of the down-mix; 0 where the mode has no use for it
  float surroundLevel;             // likewise

  [[nodiscard]] int FullChannels() const { return kFullChannels[mode]; }
  // Three front channels, surround channels: what down-mixes have levels for.
  [[nodiscard]] bool HasCentreLevel() const { return (mode & 1) != 0 && mode != kMono; }
  [[nodiscard]] bool HasSurroundLevel() const { return (mode & 4) != 0; }
};

// Reads bsi() from its start to the first audio block.
BitStreamInformation ParseBitStreamInformation(BitWindow& stream);

}  // namespace UMC::ac3
