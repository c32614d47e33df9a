// Makes payloads of parametric stereo that are random but valid: every resolution, quantiser, border and
// coding direction (ISO/IEC 14496-3, 8.4.2).
#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "audio/umc/aac/ps/data.h"
#include "tests/audio/bit_writer.h"

namespace fmp4 {

struct PsGeneratorOptions {
  int iidMode = 1;           // -1: no IID
  int iccMode = 1;           // -1: no ICC
  bool phases = false;       // IPD and OPD
  bool lowestPhases = true;  // nonzero in the bands of negative frequencies too
  int constantPhase = -1;    // in all bands, 0 to 7; -1: random
  bool singleEnvelopes = false;
  bool otherExtension = false;  // reserved extensions after the defined ones
  bool variableBorders = false;
  bool emptyFrames = false;  // some payloads have no envelopes
  int headerPeriod = 1;      // payloads between headers; the first one and every mode change have one
  int slots = 32;
};

class PsGenerator {
 public:
  explicit PsGenerator(unsigned seed) : m_random(seed) {}

  // Draws other payloads from here on.
  void Reseed(unsigned seed) { m_random.seed(seed); }
  // Appends a payload.
  void Write(const PsGeneratorOptions& options, BitWriter& bits);

  // The content of the last payload, as far as there are bands; envelopes up to the frame's end.
  const std::vector<UMC::aac::PsEnvelope>& Envelopes() const { return m_envelopes; }
  // The modes used, by name, over all payloads so far.
  const std::vector<std::string>& Seen() const { return m_seen; }

 private:
  // The indices of one parameter being sent: its codes by direction (frequency, time) and their range.
  struct Parameter;

  int Random(int low, int high) { return low + static_cast<int>(m_random() % unsigned(high - low + 1)); }
  void Note(const std::string& what);
  void WriteBorders(const PsGeneratorOptions& options, bool empty, BitWriter& bits);
  void WriteIndices(const Parameter& parameter, std::size_t envelope, BitWriter& bits);
  void WriteExtension(const PsGeneratorOptions& options, BitWriter& bits);

  std::mt19937 m_random;
  int m_payloads = 0;
  int m_iidMode = -2, m_iccMode = -2;  // of the last header
  int m_phaseMode = 0;                 // the last of IID
  bool m_modesChanged = false;
  UMC::aac::PsEnvelope m_last{};  // of the payload before
  std::vector<UMC::aac::PsEnvelope> m_envelopes;
  std::vector<std::string> m_seen;
};

}  // namespace fmp4
