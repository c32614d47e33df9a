// Makes sync frames that are random but valid, far beyond what encoders write: every exponent strategy, delta
// bit allocation, block switching by channel, coupling of any structure that comes and goes, phase flags,
// parameters that are reused or not, in every mode, rate and size (ATSC A/52, 5.3).
#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "audio/umc/ac3/audio_block.h"
#include "audio/umc/ac3/sync_frame.h"
#include "tests/audio/bit_writer.h"

namespace fmp4 {

struct Ac3GeneratorOptions {
  int frequencyCode = 0;  // fscod
  int sizeCode = 36;      // frmsizecod
  int version = 8;        // bsid
  int mode = 7;           // acmod
  bool lfe = true;
  bool dither = false;
  bool coupling = true;
  bool phaseFlags = true;
  bool delta = true;
  bool couplingDelta = true;
  bool blockSwitch = true;
  bool dynamicRange = true;
  int lowestExponent = 5;  // keeps the level down
  int serviceType = 0;     // bsmod
  int surroundMode = 0;    // dsurmod, for mode 2/0
  int dialogueLevel = 0;   // dialnorm; 0: any
};

class Ac3Generator {
 public:
  // The first frame is silent with one channel switched: there a reference decoder recovers from an overlap
  // of its own.
  Ac3Generator(unsigned seed, Ac3GeneratorOptions options)
      : m_options(options), m_random(seed), m_preRoll(options.blockSwitch) {}

  // A complete frame, both checksums valid.
  std::vector<std::uint8_t> NextFrame();

  // The tools and modes used, by name, over all frames so far: proves that a test covers what it claims.
  const std::vector<std::string>& Seen() const { return m_seen; }

 private:
  int Random(int low, int high) {
    return low + static_cast<int>(m_random() % static_cast<unsigned>(high - low + 1));
  }
  bool Chance(int percent) { return Random(0, 99) < percent; }
  // Writes a flag that is set with this chance, or always.
  bool Flag(int percent, bool forced = false) {
    const bool set = forced || Chance(percent);
    Write(set ? 1 : 0, 1);
    return set;
  }
  void Write(int value, unsigned bits) { m_bits.Write(static_cast<std::uint64_t>(value), bits); }
  // Writes a random value and returns it.
  int Draw(int low, int high, unsigned bits) {
    const int value = Random(low, high);
    Write(value, bits);
    return value;
  }
  void Note(const std::string& what);

  bool WriteFrame();
  void WriteHeader();
  void WriteProgramme();
  void WriteBlock(bool first);
  void WriteCoupling(bool first);
  void WriteCouplingStrategy();
  void WriteCouplingCoordinates();
  void WriteRematrixing(bool forced);
  void WriteExponentSection(bool forced);
  void WriteExponents(int channel, int strategy);
  void WriteExponentGroups(int start, int exponent, int groups, int bins, std::uint8_t* exponents);
  void WriteAllocation(bool first);
  void WriteDelta(bool first);
  UMC::ac3::DeltaSegments WriteSegments(int firstBand);
  void WriteMantissas(int channel);
  void Allocate(int channel);
  std::vector<int> Coded() const;  // the coupling channel where it is in use, the others after it

  Ac3GeneratorOptions m_options;
  std::mt19937 m_random;
  bool m_preRoll;
  BitWriter m_bits;
  UMC::ac3::AudioBlock m_block{};
  UMC::ac3::SyncInfo m_sync{};
  int m_channels = 0;          // full bandwidth ones
  bool m_newStrategy = false;  // the block has a coupling strategy of its own
  bool m_noBits = false;       // nor any mantissas
  int m_percent = 100;         // of the possible maximum, so that the frame fits
  int m_left[6] = {};          // mantissas left of a group, by pointer
  std::vector<std::string> m_seen;
};

}  // namespace fmp4
