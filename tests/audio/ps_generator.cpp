#include "tests/audio/ps_generator.h"

#include <algorithm>
#include <iterator>

#include "audio/umc/aac/ps/huffman_codes.h"

namespace fmp4 {

using namespace UMC;

using namespace UMC::aac;

namespace {

constexpr int kBands[3] = {10, 20, 34};
constexpr int kPhaseBands[3] = {5, 11, 17};

}  // namespace

struct PsGenerator::Parameter {
  std::string name;
  const IppsVLCTable_32s* codes[2];
  int smallestDifference;  // that of symbol 0
  int lowest, highest;
  bool wraps;  // modulo 8
  int bands;
  std::int8_t* (*indices)(PsEnvelope&);
  std::vector<int> still{};  // bands whose index is 0
  int constant = -1;
};

void PsGenerator::Note(const std::string& what) {
  if (std::find(m_seen.begin(), m_seen.end(), what) == m_seen.end()) m_seen.push_back(what);
}

void PsGenerator::WriteIndices(const Parameter& parameter, std::size_t envelope, BitWriter& bits) {
  // The first envelope after other modes has nothing to refer to.
  const bool inTime = !(m_modesChanged && envelope == 0) && Random(0, 1) == 1;
  const std::int8_t* earlier = parameter.indices(envelope == 0 ? m_last : m_envelopes[envelope - 1]);
  std::int8_t* indices = parameter.indices(m_envelopes[envelope]);
  bits.Write(inTime ? 1 : 0, 1);
  Note(parameter.name + (inTime ? " in time" : " in frequency"));
  for (int band = 0; band < parameter.bands; ++band) {
    const int reference = inTime ? earlier[band] : band > 0 ? indices[band - 1] : 0;
    // Mostly the same: payloads have to fit into fill elements.
    int index = Random(0, 4) != 0 ? reference : Random(parameter.lowest, parameter.highest);
    if (parameter.constant >= 0) index = parameter.constant;
    if (std::find(parameter.still.begin(), parameter.still.end(), band) != parameter.still.end()) index = 0;
    const int difference = parameter.wraps ? (index - reference + 8) % 8 : index - reference;
    const IppsVLCTable_32s& word = parameter.codes[inTime ? 1 : 0][difference - parameter.smallestDifference];
    bits.Write(static_cast<unsigned>(word.code), static_cast<unsigned>(word.length));
    indices[band] = static_cast<std::int8_t>(index);
  }
}

void PsGenerator::WriteBorders(const PsGeneratorOptions& options, bool empty, BitWriter& bits) {
  constexpr int kFixed[4] = {0, 1, 2, 4}, kVariable[4] = {1, 2, 3, 4};
  const bool variable = options.variableBorders && !empty && Random(0, 1) == 1;
  const int minimum = variable || empty ? 0 : 1;
  const int choice = empty || options.singleEnvelopes ? minimum : Random(minimum, 3);
  const int count = variable ? kVariable[choice] : kFixed[choice];
  bits.Write(variable ? 1 : 0, 1);
  bits.Write(static_cast<unsigned>(choice), 2);
  std::vector<int> borders;
  for (int i = 0; i < count; ++i) borders.push_back(options.slots * (i + 1) / count - 1);
  if (variable) {
    std::vector<int> slots;
    for (int slot = 0; slot < options.slots; ++slot) slots.push_back(slot);
    borders.clear();
    std::sample(slots.begin(), slots.end(), std::back_inserter(borders), count, m_random);
    for (const int border : borders) bits.Write(static_cast<unsigned>(border), 5);
  }
  m_envelopes.assign(static_cast<std::size_t>(count), PsEnvelope{});
  for (std::size_t i = 0; i < m_envelopes.size(); ++i) m_envelopes[i].border = borders[i];
  Note((variable ? "variable borders " : "fixed borders ") + std::to_string(count));
}

void PsGenerator::WriteExtension(const PsGeneratorOptions& options, BitWriter& bits) {
  BitWriter extension;
  extension.Write(0, 2);
  extension.Write(options.phases ? 1 : 0, 1);
  const int bands = kPhaseBands[m_phaseMode % 3];
  // By resolution: the bands of negative centre frequencies, and the band of the two above the highest one.
  const std::vector<int> lowest[3] = {{0, 3}, {0, 1, 6}, {0, 1, 2, 10}};
  const std::vector<int> still = options.lowestPhases ? std::vector<int>() : lowest[m_phaseMode % 3];
  const Parameter ipd = {"ipd", {kIpdFrequencyCode, kIpdTimeCode},
                         0,     0,
                         7,     true,
                         bands, [](PsEnvelope& envelope) { return envelope.ipd; },
                         still, options.constantPhase};
  const Parameter opd = {"opd", {kOpdFrequencyCode, kOpdTimeCode},
                         0,     0,
                         7,     true,
                         bands, [](PsEnvelope& envelope) { return envelope.opd; },
                         still, options.constantPhase};
  for (std::size_t i = 0; options.phases && i < m_envelopes.size(); ++i) {
    WriteIndices(ipd, i, extension);
    WriteIndices(opd, i, extension);
  }
  extension.Write(0, 1);
  if (options.otherExtension && Random(0, 1) == 1) {
    // Readers that take the next bits for further extensions find only these.
    for (int i = Random(4, 20); i > 0; --i) extension.Write(3, 2);
    Note("other extension");
  }
  extension.Align();
  const std::size_t bytes = extension.Bytes().size();
  bits.Write(std::min<std::size_t>(bytes, 15), 4);
  if (bytes >= 15) bits.Write(bytes - 15, 8);
  if (bytes >= 15) Note("long extension");
  bits.WriteBytes(extension.Bytes());
}

void PsGenerator::Write(const PsGeneratorOptions& options, BitWriter& bits) {
  m_modesChanged = options.iidMode != m_iidMode || options.iccMode != m_iccMode;
  const bool extended = options.phases || options.otherExtension;
  const bool header = m_modesChanged || m_payloads % options.headerPeriod == 0;
  bits.Write(header ? 1 : 0, 1);
  if (header) {
    bits.Write(options.iidMode >= 0 ? 1 : 0, 1);
    if (options.iidMode >= 0) bits.Write(static_cast<unsigned>(options.iidMode), 3);
    bits.Write(options.iccMode >= 0 ? 1 : 0, 1);
    if (options.iccMode >= 0) bits.Write(static_cast<unsigned>(options.iccMode), 3);
    bits.Write(extended ? 1 : 0, 1);
  }
  m_iidMode = options.iidMode;
  if (m_iidMode >= 0) m_phaseMode = m_iidMode;
  m_iccMode = options.iccMode;
  WriteBorders(options, options.emptyFrames && m_payloads > 0 && Random(0, 4) == 0, bits);
  ++m_payloads;

  if (options.iidMode >= 0) {
    const bool fine = options.iidMode >= 3;
    const int largest = fine ? 15 : 7;
    const Parameter iid = {fine ? "fine iid" : "iid",
                           {fine ? kIidFrequencyFineCode : kIidFrequencyDefaultCode,
                            fine ? kIidTimeFineCode : kIidTimeDefaultCode},
                           -2 * largest,
                           -largest,
                           largest,
                           false,
                           kBands[options.iidMode % 3],
                           [](PsEnvelope& envelope) { return envelope.iid; }};
    for (std::size_t i = 0; i < m_envelopes.size(); ++i) WriteIndices(iid, i, bits);
  }
  if (options.iccMode >= 0) {
    const Parameter icc = {"icc",
                           {kIccFrequencyCode, kIccTimeCode},
                           -7,
                           0,
                           7,
                           false,
                           kBands[options.iccMode % 3],
                           [](PsEnvelope& envelope) { return envelope.icc; }};
    for (std::size_t i = 0; i < m_envelopes.size(); ++i) WriteIndices(icc, i, bits);
  }
  if (extended) WriteExtension(options, bits);
  if (m_envelopes.empty() || m_envelopes.back().border != options.slots - 1) {
    m_envelopes.push_back(m_envelopes.empty() ? m_last : m_envelopes.back());
    m_envelopes.back().border = options.slots - 1;
    Note("envelope up to the end");
  }
  m_last = m_envelopes.back();
}

}  // namespace fmp4
