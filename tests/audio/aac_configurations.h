// AudioSpecificConfigs of every kind (ISO/IEC 14496-3, 1.6.2.1).
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "tests/audio/bit_writer.h"

namespace fmp4 {

struct ConfigOptions {
  unsigned objectType = 2;  // of the core
  unsigned samplingIndex = 3;
  std::uint32_t frequency = 0;  // written in place of the index, hertz; 0: the index is written
  unsigned channelConfiguration = 2;
  unsigned frameLength = 1024;
  enum Signalling { kNone, kExplicit, kBackwardCompatible } signalling = kNone;  // of SBR
  bool ps = false;                                                               // with it
  unsigned extensionIndex = 3;
  std::function<void(BitWriter&)> program = {};  // writes the program config element after its tag
};

inline void writeObjectType(BitWriter& bits, unsigned type) {
  if (type < 31) {
    bits.Write(type, 5);
  } else {
    bits.Write(31, 5);
    bits.Write(type - 32, 6);
  }
}

inline std::vector<std::uint8_t> configurationOf(const ConfigOptions& options) {
  BitWriter bits;
  const bool isExplicit = options.signalling == ConfigOptions::kExplicit;
  writeObjectType(bits, isExplicit ? (options.ps ? 29 : 5) : options.objectType);
  bits.Write(options.frequency != 0 ? 15 : options.samplingIndex, 4);
  if (options.frequency != 0) bits.Write(options.frequency, 24);
  bits.Write(options.channelConfiguration, 4);
  if (isExplicit) {
    bits.Write(options.extensionIndex, 4);
    writeObjectType(bits, options.objectType);
  }
  bits.Write(options.frameLength == 960 ? 1 : 0, 1);
  bits.Write(0, 2);  // dependsOnCoreCoder, extensionFlag
  if (options.program) {
    bits.Write(0, 4);
    options.program(bits);
  }
  if (options.objectType == 20) bits.Write(0, 3);  // layerNr
  if (options.signalling == ConfigOptions::kBackwardCompatible) {
    bits.Write(0x2B7, 11);
    bits.Write(5, 5);
    bits.Write(1, 1);
    bits.Write(options.extensionIndex, 4);
    bits.Write(0x548, 11);
    bits.Write(options.ps ? 1 : 0, 1);
  }
  bits.Align();
  return bits.Bytes();
}

// With a program of `fronts` front elements: whether each is a pair, and its tag.
inline ConfigOptions programOf(std::vector<std::pair<bool, unsigned>> fronts) {
  ConfigOptions options;
  options.channelConfiguration = 0;
  options.program = [fronts](BitWriter& bits) {
    bits.Write(1, 2);
    bits.Write(3, 4);
    bits.Write(fronts.size(), 4);
    bits.Write(0, 8 + 2 + 3 + 4 + 3);
    for (const auto& [isPair, tag] : fronts) {
      bits.Write(isPair ? 1 : 0, 1);
      bits.Write(tag, 4);
    }
    bits.Align();
    bits.Write(0, 8);  // comment
  };
  return options;
}

}  // namespace fmp4
