// Makes sbr_extension_data() that is random but valid: every grid, both resolutions of time, frequency and
// amplitude, coupling, every mode of the header (ISO/IEC 14496-3, 4.4.2.8).
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "audio/umc/aac/sbr/codebooks.h"
#include "audio/umc/aac/sbr/envelope.h"
#include "audio/umc/aac/sbr/frequency_tables.h"
#include "audio/umc/aac/sbr/grid.h"
#include "audio/umc/aac/sbr/header.h"
#include "tests/audio/bit_writer.h"
#include "tests/audio/ps_generator.h"

namespace fmp4 {

struct SbrGeneratorOptions {
  bool headerChanges = true;  // bands change now and then
  bool timeCoding = true;     // differences over time
  bool smoothing = true;      // may be used
  int headerPercent = 20;     // of the frames after the first, those that repeat the header
  bool sendHeader = true;     // else the data come without the header that they need
  bool crc = false;
  bool otherExtensions = true;  // unknown ones
  int coupledPercent = 50;      // of the frames of a pair
  int timeCodingPercent = 50;   // of the values that may be coded over time
  // For a single channel's frame, counted from 0: the payload of parametric stereo, if it has one.
  std::function<std::optional<PsGeneratorOptions>(int)> ps;
};

class SbrGenerator {
 public:
  // For a frame of `slots` time slots; `frequency` is twice the core's.
  SbrGenerator(unsigned seed, int channels, std::uint32_t frequency, int slots,
               const SbrGeneratorOptions& options);

  // The bytes of an extension payload: extension_type, data, fill bits.
  std::vector<std::uint8_t> NextPayload();

  // The tools and modes used in the payloads so far, by name.
  const std::set<std::string>& Seen() const { return m_seen; }
  const std::vector<std::string>& SeenOfPs() const { return m_ps.Seen(); }

 private:
  struct Channel {
    UMC::aac::SbrGrid grid{};
    int leading = 0;  // borders that count from the start
    int pointer = 0;
    bool ampRes = false;
    int lead = 0;  // where the next frame starts
    bool known = false;
    bool highResolution = false;
    std::vector<int> envelope, noise;  // the last ones, in quantiser steps
  };

  int Random(int low, int high);
  bool Chance(int percent) { return Random(0, 99) < percent; }
  void Note(const std::string& what) { m_seen.insert(what); }

  UMC::aac::SbrHeader RandomHeader();
  void WriteHeader(const UMC::aac::SbrHeader& header);
  void DrawGrid(Channel& channel);
  void WriteGrid(Channel& channel);
  void WriteDirections(Channel& channel, std::vector<bool>& directions);
  void WriteInverseFiltering();
  void WriteEnvelopes(Channel& channel, const std::vector<bool>& directions, bool balance);
  void WriteNoise(Channel& channel, const std::vector<bool>& directions, bool balance);
  void WriteValues(const std::vector<int>& values, const std::vector<int>* reference, unsigned startBits,
                   int code);
  std::vector<int> Walk(int count, int lowest, int highest, const std::vector<int>* reference, int largest);
  void WriteSinusoids();
  void WriteExtensions();
  void WritePs(const PsGeneratorOptions& options);
  void WriteData();

  std::mt19937 m_random;
  int m_channelCount;
  std::uint32_t m_frequency;
  int m_slots;
  SbrGeneratorOptions m_options;
  BitWriter m_bits;
  std::optional<UMC::aac::SbrHeader> m_header;
  UMC::aac::SbrFrequencyTables m_tables{};
  Channel m_channels[2];
  bool m_coupled = false;
  int m_frame = 0;
  PsGenerator m_ps;
  std::set<std::string> m_seen;
};

}  // namespace fmp4
