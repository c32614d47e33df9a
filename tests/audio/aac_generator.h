// Makes raw data blocks that are random but valid, far beyond what encoders write: every codebook, escape,
// window sequence, shape and grouping, every tool (ISO/IEC 14496-3, 4.4.2).
#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "audio/umc/aac/core/ics_info.h"
#include "audio/umc/aac/core/scale_factor_bands.h"
#include "base/aac/audio_specific_config.h"
#include "tests/audio/bit_writer.h"
#include "tests/audio/sbr_generator.h"

namespace fmp4 {

// An element of every block.
struct GeneratedElement {
  enum Kind { kSce, kCpe, kCce, kLfe } kind;
  int tag = 0;
};

// The object type decides what else may be in a block: Main has prediction and long TNS filters, LTP
// long-term prediction, SSR gain control.
struct GeneratorOptions {
  int objectType = UMC::aac::kObjectLc;
  int samplingIndex = 3;
  int frameLength = 1024;
  std::vector<GeneratedElement> elements;
  bool writeProgram = false;  // a program config element before every block
  bool noise = false;
  bool intensity = false;
  bool midSide = false;
  bool pulse = false;
  bool tns = false;
  bool independentCoupling = false;  // coupling channels couple the signal; else spectra
  bool otherElements = false;        // data stream and fill elements in between
  std::optional<SbrGeneratorOptions> sbr;
};

// Bits that an ADTS checksum protects: the first, how many it covers, how many there are.
struct ProtectedBits {
  std::size_t start, counted, sent;
};

struct GeneratedBlock {
  std::vector<std::uint8_t> bytes;
  std::vector<ProtectedBits> protectedBits;
};

class AacGenerator {
 public:
  AacGenerator(unsigned seed, GeneratorOptions options);
  GeneratedBlock NextBlock();

  // The tools and modes used, by name, over all blocks so far: proves that a test covers what it claims.
  std::vector<std::string> Seen() const;

 private:
  int Random(int low, int high);
  bool Chance(int percent) { return Random(0, 99) < percent; }
  void Note(const std::string& what);

  void WriteBlock();
  void WriteIcsInfo(const UMC::aac::IcsInfo& ics, bool commonWindow, bool right, bool lfe);
  void WritePrediction(const UMC::aac::IcsInfo& ics);
  void WriteLtp(const UMC::aac::IcsInfo& ics);
  void WriteGainControl(const UMC::aac::IcsInfo& ics);
  UMC::aac::IcsInfo NextIcs(int element, bool lfe);
  void WriteChannel(const UMC::aac::IcsInfo& ics, bool commonWindow, bool right, bool lfe);
  std::vector<int> WriteSections(const UMC::aac::IcsInfo& ics, bool right);
  void WriteScaleFactors(const std::vector<int>& codebooks, int globalGain);
  void WriteTns(const UMC::aac::IcsInfo& ics);
  void WriteSpectrum(const UMC::aac::IcsInfo& ics, const std::vector<int>& codebooks);
  void WriteTuple(int codebook);
  void WriteDifference(int difference);
  void WriteSingle(const GeneratedElement& element, int index);
  void WritePair(const GeneratedElement& element, int index);
  void WriteCoupling(const GeneratedElement& element, int index);
  void WriteProgram();
  void WriteOther();
  void WriteSbr(std::size_t element);
  void Protect(std::size_t start, std::size_t counted);

  GeneratorOptions m_options;
  std::mt19937 m_random;
  std::mt19937 m_gainRandom;  // for gain control alone: blocks with and without it have the same audio
  BitWriter m_bits;
  GeneratedBlock m_block;
  int m_stereoMask = 0;          // ms_mask_present of the pair being written
  bool m_predictorData = false;  // predictor_data_present of the last ics_info
  int m_bandsInPercent = 100;    // of the available bands, at most
  std::vector<int> m_sequences;  // the last window sequence of every element
  std::vector<int> m_codebooks;  // of the channel stream written last
  std::vector<std::string> m_seen;
  std::vector<SbrGenerator> m_sbr;  // of every element
};

// The first blocks of a generated stream.
std::vector<GeneratedBlock> Blocks(unsigned seed, const GeneratorOptions& options, int count = 30);

// ADTS around blocks that make up one frame, 1 to 4 blocks.
struct AdtsOptions {
  int profile = 1;
  int samplingIndex = 3;
  int channelConfiguration = 2;
  bool protect = false;
};
std::vector<std::uint8_t> WrapAdts(const std::vector<GeneratedBlock>& blocks, const AdtsOptions& options);

// LOAS around one access unit (ISO/IEC 14496-3, 1.7), which can signal a frame length of 960.
std::vector<std::uint8_t> WrapLoas(const std::vector<std::uint8_t>& block, int samplingIndex, int frameLength,
                                   int channelConfiguration);

// An AudioSpecificConfig of the object type LC.
std::vector<std::uint8_t> MakeConfig(int samplingIndex, int frameLength, int channelConfiguration);

}  // namespace fmp4
