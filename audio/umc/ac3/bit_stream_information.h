// bsi(): the sync frame's header before its audio blocks (ATSC A/52, 5.3.2 and 5.4.2).
#pragma once

#include <cstdint>

#include "base/bit_window.h"

namespace UMC::ac3 {

// Full bandwidth channels by audio coding mode (acmod).
inline constexpr std::uint8_t kFullChannels[8] = {2, 1, 2, 3, 3, 4, 4, 5};
inline constexpr int kDualMono = 0;  // mode 1+1: two programmes
inline constexpr int kMono = 1;      // mode 1/0
inline constexpr int kStereo = 2;    // mode 2/0

struct BitStreamInformation {
  std::uint8_t version;      // bsid
  std::uint8_t serviceType;  // bsmod
  std::uint8_t mode;         // acmod
  bool lfe;
  std::uint8_t surroundMode;       // dsurmod; 0 in modes other than 2/0
  std::uint8_t dialogueLevels[2];  // dialnorm, by programme; the second is 0 if there is only one
  float centreLevel;               // of the downmix; 0 in modes that do not use it
  float surroundLevel;             // of the downmix; 0 in modes that do not use it

  [[nodiscard]] int FullChannels() const { return kFullChannels[mode]; }
  // Whether there are three front channels, or surround channels, for which downmixes have levels.
  [[nodiscard]] bool HasCentreLevel() const { return (mode & 1) != 0 && mode != kMono; }
  [[nodiscard]] bool HasSurroundLevel() const { return (mode & 4) != 0; }
};

// Reads bsi() from its start to the first audio block.
BitStreamInformation ParseBitStreamInformation(fmp4::BitWindow& stream);

}  // namespace UMC::ac3
